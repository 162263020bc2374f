#pragma once
// The packet hook through which the switch hands DHCPv6 frames to the daemon.

#include <cstdint>

#include "platform/SmdPacketApi.h"

extern "C" {

// Receives one DHCPv6 frame trapped by the packet service. Returns 0 once the frame is handled.
int32_t dhcp6snoopingRegPktProcess(uint8_t *frame, uint32_t length, PktRecvTag tag, PktRecvInfo info);
}
