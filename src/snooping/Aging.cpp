#include "snooping/Aging.h"

extern "C" {

int32_t dhcp6snoopingTimerCallback(void) {
    // No binding is learned yet, so there is nothing to age.
    return 0;
}

int32_t dhcp6snoopingLinkChange(uint32_t /*portIndex*/, uint32_t /*status*/) {
    // No client is learned yet, so a port going down has nothing to lose.
    return 0;
}
}
