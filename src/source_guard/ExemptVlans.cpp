#include "source_guard/ExemptVlans.h"

#include "platform/FrmApi.h"

namespace {

constexpr int32_t kRefused = -1;

bool filterHeld[kVlanTableSize];

// The service's answer to one VLAN-only filter call, remembered when it took the filter or gave it back.
int32_t changeFilter(VlanId vlanId, bool install) {
    const auto vlan = static_cast<uint16_t>(vlanId);
    const int32_t answer = install ? FRM_InstallGlobalForwardIp6VidOnlyFilterResource(vlan)
                                   : FRM_RemoveGlobalForwardIp6VidOnlyFilterResource(vlan);
    if (answer == 0) {
        filterHeld[vlanId] = install;
    }
    return answer;
}

}  // namespace

extern "C" {

uint32_t ipv6SourceGuardDisabledVlan[kVlanTableSize];

int32_t ip6_source_guard_vlanlist_config(uint32_t operation, const VlanBitmap *requested,
                                         VlanBitmap *failed) {
    if (requested == nullptr || failed == nullptr) {
        return kRefused;
    }
    const bool remove = operation == kExemptVlansRemove;
    int32_t result = 0;
    for (VlanId vlanId = kFirstVlan; vlanId <= kLastVlan; ++vlanId) {
        uint32_t &flag = ipv6SourceGuardDisabledVlan[vlanId];
        if (!vlanBitmapHas(*requested, vlanId) || (remove ? flag == 0 : flag == 1)) {
            continue;
        }
        if (changeFilter(vlanId, !remove) == 0) {
            flag = remove ? 0 : 1;
        } else {
            vlanBitmapAdd(*failed, vlanId);
            result = kRefused;
        }
    }
    return result;
}

int32_t ip6_source_guard_vlanlist_replace(const uint16_t *ids, uint32_t count) {
    VlanBitmap listed{};
    for (uint32_t i = 0; i < count; ++i) {
        if (ids[i] < kVlanTableSize) {
            vlanBitmapAdd(listed, ids[i]);
        }
    }
    int32_t result = 0;
    for (VlanId vlanId = kFirstVlan; vlanId <= kLastVlan; ++vlanId) {
        uint32_t &flag = ipv6SourceGuardDisabledVlan[vlanId];
        const bool wanted = vlanBitmapHas(listed, vlanId);
        if (flag == 1 && !wanted) {
            flag = 0;
            result = changeFilter(vlanId, /*install=*/false);
        } else if (flag == 0 && wanted) {
            flag = 1;
            result = changeFilter(vlanId, /*install=*/true);
        }
    }
    return result;
}

int32_t no_ip6_source_guard_vlanlist_get(VlanBitmap *vlans) {
    if (vlans == nullptr) {
        return kRefused;
    }
    *vlans = {};
    for (VlanId vlanId = kFirstVlan; vlanId <= kLastVlan; ++vlanId) {
        if (ipv6SourceGuardDisabledVlan[vlanId] != 0) {
            vlanBitmapAdd(*vlans, vlanId);
        }
    }
    return 0;
}

int32_t no_ip6_source_guard_vlan_get(uint32_t vlanId) {
    return vlanId < kVlanTableSize ? static_cast<int32_t>(ipv6SourceGuardDisabledVlan[vlanId]) : kRefused;
}

int32_t operate_no_ip6_source_guard_vlan(uint32_t vlanId, uint32_t flag) {
    if (vlanId >= kVlanTableSize) {
        return kRefused;
    }
    ipv6SourceGuardDisabledVlan[vlanId] = flag;
    return 0;
}

uint32_t ip6_source_guard_vlan_filter_held(uint32_t vlanId) {
    return vlanId < kVlanTableSize && filterHeld[vlanId] ? 1 : 0;
}

int32_t ip6_source_guard_vlan_filters_release(void) {
    int32_t released = 0;
    for (VlanId vlanId = 0; vlanId < kVlanTableSize; ++vlanId) {
        if (filterHeld[vlanId] && ipv6SourceGuardDisabledVlan[vlanId] == 0 &&
            changeFilter(vlanId, /*install=*/false) == 0) {
            ++released;
        }
    }
    return released;
}
}
