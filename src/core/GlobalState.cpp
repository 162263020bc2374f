#include "core/GlobalState.h"

#include <algorithm>

#include "snooping/ClientTable.h"
#include "source_guard/SourceGuardMode.h"

extern "C" {

uint32_t dhcp6snoopingOnOff = 0;
uint32_t portTrustMode[kPortTableSize];
uint32_t portIpSourceGuardMode[kPortTableSize];
uint16_t portMaxNum[kPortTableSize];
uint16_t portClientCount[kPortTableSize];
uint16_t vlanMaxNum[kVlanTableSize];
uint16_t vlanClientCount[kVlanTableSize];
uint32_t dhcp6snoopingPortDownAction = 1;
uint32_t portDownRemoveSwitch = 1;

int dhcp6snooping_init(void) {
    clientNodePoolInit();
    std::ranges::fill(portTrustMode, 0U);
    std::ranges::fill(portIpSourceGuardMode, SOURCE_GUARD_NONE);
    std::ranges::fill(portMaxNum, kDefaultClientLimit);
    std::ranges::fill(portClientCount, 0);
    std::ranges::fill(vlanMaxNum, kDefaultClientLimit);
    std::ranges::fill(vlanClientCount, 0);
    return 0;
}
}
