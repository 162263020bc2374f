#pragma once
// Where the headers of a received frame lie, as the switch's packet engine finds them.

#include <cstdint>
#include <optional>
#include <span>

#include "platform/SmdPacketApi.h"

namespace platform_support {

struct FrameLayout {
    uint16_t etherType = 0;
    uint16_t etherTypeOffset = 0;       // the EtherType field after the VLAN tags
    std::optional<uint8_t> ipProtocol;  // an IPv6 frame's next header
    std::optional<uint16_t> udpDestinationPort;
    uint16_t payloadOffset = 0;  // the UDP payload, when the frame is UDP over IPv6
};

// Nothing when the frame is too short for an Ethernet header; the fields of layers that the frame does not
// hold whole stay unset.
std::optional<FrameLayout> classifyFrame(std::span<const uint8_t> frame);

// What the packet engine reports with a frame of this layout when it hands the frame to a process. Every
// place that needs those offsets asks here, so the delivered frames and the built ones always agree.
PktRecvInfo recvInfoFor(const FrameLayout &layout, uint16_t frameKind);

// Whether a packet registration's descriptor selects a frame of this layout: each field that its match
// flags name must be equal.
bool registrationMatches(const PktMatchDescriptor &descriptor, const FrameLayout &layout);

}  // namespace platform_support
