// The port table (every port of the switch is a row) and the VLAN table (walked over the VLANs that exist).
// Reads come from the settings tables; every change goes through the settings operations, as the command
// line's do, so both apply the same rules.

#include "core/GlobalState.h"
#include "mgmt/PortVlanSettings.h"
#include "mib/MibHandlers.h"
#include "mib/MibRegistry.h"
#include "mib/MibSupport.h"
#include "platform/PlatformVariables.h"
#include "platform/SwitchHelperApi.h"
#include "source_guard/PortMode.h"

namespace {

constexpr uint32_t kTrusted = 1, kUntrusted = 2;
constexpr uint32_t kMostClients = 2048;

bool isPortRow(uint32_t port) {
    return port != 0 && port <= gul_max_port_num;
}

bool isVlanRow(uint32_t vlanId) {
    return vlanId != 0 && vlanId <= kLastVlan;
}

// Moves the request to the next port; past the last one there is no next instance.
uint32_t nextPort(MibRequest *request) {
    const uint32_t moved = ccdNextSimpleIndex(request);
    return request->index[0] > gul_max_port_num ? ccdErrorNoNextInstance() : moved;
}

uint32_t answerPort(uint32_t mode, MibRequest *request) {
    const uint32_t port = request->index[0];
    if (!isPortRow(port)) {
        return ccdErrorNoSuchInstance();
    }
    switch (request->objectId) {
        case MIB_PORT_INDEX:
            ulongSet(request, port);
            break;
        case MIB_PORT_TRUST_MODE:
            ulongSet(request, portTrustMode[portSlot(port)] == 1 ? kTrusted : kUntrusted);
            break;
        case MIB_PORT_MAX_NUM:
            ulongSet(request, portMaxNum[portSlot(port)]);
            break;
        default: {
            const uint32_t guardMode = portIpSourceGuardMode[portSlot(port)];
            if (guardMode < SOURCE_GUARD_IPV6 || guardMode > SOURCE_GUARD_NONE) {
                return ccdErrorRequestMap(mode);
            }
            ulongSet(request, guardMode);
            break;
        }
    }
    return 0;
}

uint32_t testPort(MibRequest *request) {
    const uint32_t value = ulongGet(request);
    MibVerdict verdict(isPortRow(request->index[0]) ? 0 : ccdErrorNoSuchInstance());
    switch (request->objectId) {
        case MIB_PORT_TRUST_MODE:
            return verdict.fails(value != kTrusted && value != kUntrusted, ccdErrorWrongValue()).result();
        case MIB_PORT_MAX_NUM:
            return verdict.fails(value > kMostClients, ccdErrorWrongValue()).result();
        case MIB_PORT_SOURCE_GUARD_MODE:
            return verdict.fails(value == 0 || value > SOURCE_GUARD_NONE, ccdErrorWrongValue()).result();
        default:
            return 0;
    }
}

uint32_t setPort(MibRequest *request) {
    const uint32_t port = request->index[0];
    const uint32_t value = ulongGet(request);
    switch (request->objectId) {
        case MIB_PORT_TRUST_MODE:
            return static_cast<uint32_t>(dhcp6snooping_port_mode(port, value == kTrusted ? 1 : 0));
        case MIB_PORT_MAX_NUM:
            return static_cast<uint32_t>(dhcp6snooping_port_maxclients(port, value));
        case MIB_PORT_SOURCE_GUARD_MODE:
            return value >= SOURCE_GUARD_IPV6 && value <= SOURCE_GUARD_NONE
                       ? static_cast<uint32_t>(set_ip6_source_guard_port_mode(port, value))
                       : 0;
        default:
            return 0;
    }
}

// Moves the request to the first existing VLAN after its own.
uint32_t nextVlan(MibRequest *request) {
    if (request->indexLength == 0) {
        request->indexLength = 1;
    }
    for (uint32_t vlanId = request->index[0] + 1; vlanId <= kLastVlan && vlanId != 0; ++vlanId) {
        if (vlan_exist(vlanId) == 1) {
            request->index[0] = vlanId;
            return 0;
        }
    }
    return ccdErrorNoNextInstance();
}

uint32_t answerVlan(uint32_t /*mode*/, MibRequest *request) {
    const uint32_t vlanId = request->index[0];
    if (!isVlanRow(vlanId)) {
        return ccdErrorNoSuchInstance();
    }
    ulongSet(request, request->objectId == MIB_VLAN_INDEX ? vlanId : vlanMaxNum[vlanId]);
    return 0;
}

uint32_t testVlan(MibRequest *request) {
    if (request->objectId == MIB_VLAN_INDEX) {
        return 0;
    }
    const uint32_t vlanId = request->index[0];
    return MibVerdict(isVlanRow(vlanId) && vlan_exist(vlanId) != 0 ? 0 : ccdErrorNoSuchInstance())
        .fails(ulongGet(request) > kMostClients, ccdErrorWrongValue())
        .result();
}

uint32_t setVlan(MibRequest *request) {
    return request->objectId == MIB_VLAN_MAX_NUM
               ? static_cast<uint32_t>(dhcp6snooping_vlan_maxclients(request->index[0], ulongGet(request)))
               : 0;
}

}  // namespace

extern "C" {

uint32_t dhcp6snoopingMibPortHandler(uint32_t mode, MibRequest *request) {
    static constexpr MibGroupParts kParts = {
        .serves =
            [](uint16_t object) { return object >= MIB_PORT_INDEX && object <= MIB_PORT_SOURCE_GUARD_MODE; },
        .next = nextPort,
        .get = answerPort,
        .test = testPort,
        .set = setPort,
    };
    return mibServe(mode, request, kParts);
}

uint32_t dhcp6snoopingMibVlanHandler(uint32_t mode, MibRequest *request) {
    static constexpr MibGroupParts kParts = {
        .serves = [](uint16_t object) { return object == MIB_VLAN_INDEX || object == MIB_VLAN_MAX_NUM; },
        .next = nextVlan,
        .get = answerVlan,
        .test = testVlan,
        .set = setVlan,
    };
    return mibServe(mode, request, kParts);
}
}
