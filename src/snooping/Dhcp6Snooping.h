#pragma once
// The packet hook through which the switch hands DHCPv6 frames to the daemon, and the decision taken for
// each of them: drop it, or learn from it and send it on toward the servers or toward the client.

#include <cstdint>

#include "platform/SmdPacketApi.h"
#include "snooping/SnoopPacket.h"

extern "C" {

// Receives one trapped frame. Returns 0 once the frame is handled; a frame of a kind other than 0 or 1 is
// left alone and its kind is returned.
int32_t dhcp6snoopingRegPktProcess(uint8_t *frame, uint32_t length, PktRecvTag tag, PktRecvInfo info);

// Judges one frame while snooping is on; `ingress` is the 0-based receiving port. Returns 0.
int32_t dhcp6snoopingPktSnoop(SnoopPacket *packet, uint32_t payloadOffset, uint32_t vlanId, uint32_t ingress);
}
