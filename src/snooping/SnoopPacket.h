#pragma once
// One received DHCPv6 frame as the daemon passes it around while it decides and sends.

#include <cstddef>
#include <cstdint>

#include "platform/SmdPacketApi.h"

extern "C" {

struct SnoopPacket {
    uint8_t *frame;
    uint32_t length;
    uint32_t vlanId;     // low 16 bits of the first word of the packet service's per-frame record
    uint32_t portIndex;  // low 16 bits of its second word: the 1-based receiving port
    uint8_t recordRest[8];
    PktRecvInfo info;  // handed back unchanged to the send calls
};
static_assert(offsetof(SnoopPacket, length) == sizeof(uint8_t *));
static_assert(offsetof(SnoopPacket, recordRest) == sizeof(uint8_t *) + 12);
static_assert(offsetof(SnoopPacket, info) == sizeof(uint8_t *) + 20);
}

// Ethernet addresses at the start of every frame.
inline constexpr uint32_t kDestinationMacOffset = 0;
inline constexpr uint32_t kSourceMacOffset = 6;
inline constexpr uint32_t kEthernetAddressesSize = 12;
