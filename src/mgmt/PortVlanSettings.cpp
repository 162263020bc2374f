#include "mgmt/PortVlanSettings.h"

#include <cstring>

#include "core/GlobalState.h"
#include "platform/PlatformVariables.h"
#include "snooping/ClientTable.h"
#include "source_guard/SourceGuardMode.h"

namespace {

constexpr int32_t kRefused = -1;

// A port that the switch has: the getters answer only for those.
bool isSwitchPort(uint32_t port) {
    return isTablePort(port) && port <= gul_max_port_num;
}

bool isClientLimit(uint32_t maximum) {
    return maximum <= kMaxClients;
}

}  // namespace

extern "C" {

int32_t dhcp6snooping_port_mode(uint32_t port, uint32_t trust) {
    if (!isTablePort(port) || trust > 1) {
        return kRefused;
    }
    uint32_t &mode = portTrustMode[portSlot(port)];
    if (trust == mode) {
        return 0;
    }
    // A port under source guard serves clients; a server behind it would be trusted around the guard.
    if (trust == 1 && portIpSourceGuardMode[portSlot(port)] != SOURCE_GUARD_NONE) {
        return kRefused;
    }
    mode = trust;
    return 0;
}

int32_t dhcp6snooping_port_mode_get(uint32_t port, uint32_t *trust) {
    if (!isSwitchPort(port) || trust == nullptr) {
        return kRefused;
    }
    *trust = portTrustMode[portSlot(port)];
    return 0;
}

int32_t dhcp6snooping_port_maxclients(uint32_t port, uint32_t maximum) {
    if (!isTablePort(port) || !isClientLimit(maximum)) {
        return kRefused;
    }
    portMaxNum[portSlot(port)] = static_cast<uint16_t>(maximum);
    return 0;
}

int32_t dhcp6snooping_port_maxclients_get(uint32_t port, uint32_t *maximum, uint32_t *count) {
    if (!isSwitchPort(port) || maximum == nullptr || count == nullptr) {
        return kRefused;
    }
    *maximum = portMaxNum[portSlot(port)];
    *count = portClientCount[portSlot(port)];
    return 0;
}

int32_t dhcp6snooping_vlan_maxclients(uint32_t vlanId, uint32_t maximum) {
    if (!isUsableVlan(vlanId) || !isClientLimit(maximum)) {
        return kRefused;
    }
    vlanMaxNum[vlanId] = static_cast<uint16_t>(maximum);
    return 0;
}

int32_t dhcp6snooping_vlan_maxclients_get(uint32_t vlanId, uint32_t *maximum, uint32_t *count) {
    if (!isUsableVlan(vlanId) || maximum == nullptr || count == nullptr) {
        return kRefused;
    }
    *maximum = vlanMaxNum[vlanId];
    *count = vlanClientCount[vlanId];
    return 0;
}

int32_t dhcp6snooping_vlan_reset(const VlanBitmap *vlans) {
    if (vlans == nullptr) {
        return 0;
    }
    for (VlanId vlanId = kFirstVlan; vlanId <= kLastVlan; ++vlanId) {
        if (vlanBitmapHas(*vlans, vlanId)) {
            vlanMaxNum[vlanId] = kDefaultClientLimit;
            vlanClientCount[vlanId] = 0;
        }
    }
    return 0;
}

int32_t dhcp6snoopingGlobalInfoGet(GlobalInfo *info) {
    if (info == nullptr) {
        return kRefused;
    }
    *info = {dhcp6snoopingOnOff, dhcp6snoopingPortDownAction};
    return 0;
}

int32_t dhcp6snoopingFastRemoveCfg(uint32_t value) {
    dhcp6snoopingPortDownAction = value;
    return 0;
}

int32_t dhcp6snooping_get_nextclients_ext(uint8_t *mac, uint32_t *vlanId, uint32_t *port, uint32_t *count,
                                          ClientAddressSummary *summaries, uint32_t *lifetimes) {
    if (mac == nullptr || vlanId == nullptr || port == nullptr || count == nullptr) {
        return kRefused;
    }
    const ClientEntry *entry = macIsZero(mac) ? clientFirst() : clientAfter(mac);
    while (entry != nullptr && entry->acked == 0) {
        entry = clientAfter(entry->mac);
    }
    if (entry == nullptr) {
        return kRefused;
    }
    std::memcpy(mac, entry->mac, kMacSize);
    *vlanId = entry->vlanId;
    *port = entry->portIndex;
    uint32_t written = 0;
    const AddressList &list = entry->addresses;
    for (uint32_t i = 0; i < list.count && written < kClientSummaryLimit; ++i) {
        const ClientAddress *record = addressAt(list, i);
        if (record == nullptr) {
            continue;
        }
        if (summaries != nullptr) {
            std::memcpy(&summaries[written], record, sizeof(ClientAddressSummary));
        }
        if (lifetimes != nullptr) {
            lifetimes[written] = record->validLifetime;
        }
        ++written;
    }
    *count = written;
    return 0;
}
}
