#include "platform_support/FrameLayout.h"

#include "platform_support/WireFormat.h"

namespace platform_support {
namespace {

uint16_t be16(std::span<const uint8_t> bytes, size_t offset) {
    return static_cast<uint16_t>(bytes[offset] << 8 | bytes[offset + 1]);
}

bool isVlanTag(uint16_t etherType) {
    return etherType == kEtherTypeVlan || etherType == 0x88A8 || etherType == 0x9100;
}

}  // namespace

std::optional<FrameLayout> classifyFrame(std::span<const uint8_t> frame) {
    size_t offset = kEtherTypeOffset;
    if (frame.size() < offset + 2) {
        return std::nullopt;
    }
    while (isVlanTag(be16(frame, offset)) && frame.size() - offset >= kVlanTagSize + 2) {
        offset += kVlanTagSize;
    }
    FrameLayout layout;
    layout.etherType = be16(frame, offset);
    layout.etherTypeOffset = static_cast<uint16_t>(offset);
    const size_t ip = offset + 2;
    if (layout.etherType != kEtherTypeIpv6 || frame.size() - ip < kIpv6HeaderSize) {
        return layout;
    }
    layout.ipProtocol = frame[ip + kIpv6NextHeaderOffset];
    const size_t udp = ip + kIpv6HeaderSize;
    if (layout.ipProtocol != kIpProtocolUdp || frame.size() - udp < kUdpHeaderSize) {
        return layout;
    }
    layout.udpDestinationPort = be16(frame, udp + kUdpDestinationPortOffset);
    layout.payloadOffset = static_cast<uint16_t>(udp + kUdpHeaderSize);
    return layout;
}

PktRecvInfo recvInfoFor(const FrameLayout &layout, uint16_t frameKind) {
    PktRecvInfo info{};
    info.etherTypeOffset = layout.etherTypeOffset;
    info.payloadOffset = layout.payloadOffset;
    info.frameKind = frameKind;
    return info;
}

bool registrationMatches(const PktMatchDescriptor &descriptor, const FrameLayout &layout) {
    const uint16_t flags = descriptor.matchFlags;
    return ((flags & PKT_MATCH_ETHER_TYPE) == 0 || layout.etherType == descriptor.etherType) &&
           ((flags & PKT_MATCH_IP_PROTOCOL) == 0 || layout.ipProtocol == descriptor.ipProtocol) &&
           ((flags & PKT_MATCH_UDP_PORT) == 0 || layout.udpDestinationPort == descriptor.udpPort);
}

}  // namespace platform_support
