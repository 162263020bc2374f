#pragma once
// Adds the relay information options 18 and 37 to a client message on its way to the servers. The frame is
// copied into one working buffer, the options go at the end of the message's own options area, and the IPv6
// payload length, the UDP length and the UDP checksum are made to agree with the new bytes.

#include <cstdint>

#include "relay_option/OptionRendering.h"
#include "snooping/SnoopPacket.h"

// The longest frame the stage takes, and the most one option may take, its header included.
inline constexpr uint32_t kLongestOptionFrame = 2048;
inline constexpr uint32_t kOptionBufferSize = 512;
// The most the options area of a message may hold once options are added.
inline constexpr uint32_t kLongestOptionsArea = 1500;

extern "C" {

// True while option 18 or 37 is to be added, so that the stage runs at all.
bool dhcp6snoopingInfoOptionsEnabled(void);

// Points `packet` at a copy of its frame with the options added and the lengths and checksum fixed, and
// returns it; null when the frame is to be dropped (traced): no working buffer, a frame over 2048 bytes,
// offsets that leave no room for the IPv6 and UDP headers, or an option present under the drop strategy.
// `ingress` is the 0-based receiving port.
SnoopPacket *dhcp6snoopingInfoOptionInsert(SnoopPacket *packet, uint32_t payloadOffset, uint16_t vlanId,
                                           uint32_t ingress);

// Adds the enabled options to the options area [area, area + length) of a message of `msgType`, which must
// have room for 1024 bytes more, and sets *newLength to the area's length after each change. Returns 0 when
// the frame is to be sent, -1 when it is to be dropped.
int32_t dhcp6snoopingInfoOptionBuild(uint8_t msgType, uint8_t *area, uint32_t length, uint32_t *newLength,
                                     const PacketContext *context, const RenderFacts *facts);
}

// The UDP checksum of a datagram over IPv6 between two addresses, as sent: a computed 0 is sent as 0xFFFF.
uint16_t udp6Checksum(const uint8_t *source, const uint8_t *destination, const uint8_t *datagram,
                      uint16_t length);
