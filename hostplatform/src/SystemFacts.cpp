// Facts about the switch itself for the relay information options: on a Linux host the bridge is the one
// switch interface of every VLAN, and its MAC and IPv4 address are the switch's.

#include <cstring>

#include "HostState.h"
#include "platform/SystemFactsApi.h"

extern "C" {

uint32_t getSWByVLAN(uint16_t /*vlanId*/) {
    return hostplatform::host().bridge.ifindex;
}

int32_t getSysMacAdress(uint8_t mac[6]) {
    if (mac == nullptr) {
        return -1;
    }
    std::memcpy(mac, hostplatform::host().bridge.mac.data(), hostplatform::host().bridge.mac.size());
    return 0;
}

int32_t l3ifSwPrimIpGet(uint32_t switchInterface, uint32_t *ipv4) {
    const auto &bridge = hostplatform::host().bridge;
    if (ipv4 == nullptr || switchInterface != bridge.ifindex || bridge.ipv4 == 0) {
        return -1;
    }
    *ipv4 = bridge.ipv4;
    return 0;
}
}
