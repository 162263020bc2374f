#include "snooping/Dhcp6Snooping.h"

extern "C" int32_t dhcp6snoopingRegPktProcess(uint8_t * /*frame*/, uint32_t /*length*/, PktRecvTag /*tag*/,
                                              PktRecvInfo /*info*/) {
    // Nothing is snooped yet: the daemon starts with snooping off.
    return 0;
}
