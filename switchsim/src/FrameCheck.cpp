#include "switchsim/FrameCheck.h"

#include <array>
#include <cstddef>
#include <cstdio>

namespace switchsim {
namespace {

// Every constant the reading needs, taken from the wire formats themselves rather than from the builder's
// WireFormat.h, so that a wrong value there cannot hide behind the same value here.
constexpr size_t kEthernetHeader = 14;     // destination, source, EtherType
constexpr size_t kEthernetTypeField = 12;  // where the EtherType (or the tag's TPID) lies
constexpr size_t kDot1qTag = 4;            // TPID and tag control
constexpr uint16_t kDot1qTpid = 0x8100;    // an 802.1Q tag
constexpr uint16_t kDot1adTpid = 0x88A8;   // a service tag, as stacked tags start
constexpr uint16_t kOldStackedTpid = 0x9100;
constexpr uint16_t kIpv6EtherType = 0x86DD;
constexpr size_t kIpv6Header = 40;
constexpr size_t kIpv6PayloadLengthField = 4;
constexpr size_t kIpv6NextHeaderField = 6;
constexpr size_t kIpv6SourceField = 8;  // then the 16-byte destination at 24
constexpr size_t kIpv6AddressesSize = 32;
constexpr uint8_t kUdpProtocol = 17;
constexpr size_t kUdpHeader = 8;
constexpr size_t kUdpLengthField = 4;
constexpr size_t kUdpChecksumField = 6;
constexpr uint8_t kRelayForward = 12;
constexpr uint8_t kRelayReply = 13;
constexpr size_t kRelayHeader = 34;   // msg-type, hop-count, link-address, peer-address
constexpr size_t kMessageHeader = 4;  // msg-type, transaction-id
constexpr size_t kOptionHeader = 4;   // option-code, option-len

uint16_t read16(std::span<const uint8_t> bytes, size_t at) {
    return static_cast<uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

bool isTagTpid(uint16_t value) {
    return value == kDot1qTpid || value == kDot1adTpid || value == kOldStackedTpid;
}

// The RFC 1071 sum of 16-bit big-endian words, an odd last byte padded with a zero, carries not yet folded.
uint64_t wordSum(std::span<const uint8_t> bytes) {
    uint64_t sum = 0;
    size_t i = 0;
    for (; i + 1 < bytes.size(); i += 2) {
        sum += read16(bytes, i);
    }
    if (i < bytes.size()) {
        sum += static_cast<uint64_t>(bytes[i]) << 8;
    }
    return sum;
}

// The checksum a sender computes over the pseudo-header (source, destination, UDP length, next header 17)
// and the datagram with its checksum field taken as zero, a computed zero sent as 0xFFFF.
uint16_t expectedChecksum(std::span<const uint8_t> addresses, std::span<const uint8_t> datagram) {
    uint64_t sum = wordSum(addresses) + datagram.size() + kUdpProtocol;
    sum += wordSum(datagram) - read16(datagram, kUdpChecksumField);
    while (sum > 0xFFFF) {
        sum = (sum & 0xFFFF) + (sum >> 16);
    }
    const auto checksum = static_cast<uint16_t>(~sum & 0xFFFF);
    return checksum == 0 ? 0xFFFF : checksum;
}

std::string hex16(uint16_t value) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "0x%04x", value);
    return text.data();
}

std::string number(size_t value) {
    return std::to_string(value);
}

// Walks the options from `at` to the end of `message`, whose offsets in the frame start at `base`.
std::optional<std::string> optionsFault(std::span<const uint8_t> message, size_t at, size_t base) {
    while (at < message.size()) {
        const size_t left = message.size() - at;
        if (left < kOptionHeader) {
            std::string fault = number(left);
            fault += " byte(s) at frame offset ";
            fault += number(base + at);
            fault += " after the last option are too few for an option header";
            return fault;
        }
        const uint16_t code = read16(message, at);
        const uint16_t length = read16(message, at + 2);
        if (length > left - kOptionHeader) {
            std::string fault = "option ";
            fault += number(code);
            fault += " at frame offset ";
            fault += number(base + at);
            fault += " claims ";
            fault += number(length);
            fault += " data bytes, but only ";
            fault += number(left - kOptionHeader);
            fault += " follow its header";
            return fault;
        }
        at += kOptionHeader + length;
    }
    return std::nullopt;
}

// Whether the frame is read whole, or as the daemon must keep a frame it sends (see sentFrameFault).
enum class Reading { whole, sent };

std::optional<std::string> dhcp6Fault(std::span<const uint8_t> message, size_t base, Reading reading) {
    if (message.empty()) {
        return "the UDP datagram carries no DHCPv6 message";
    }
    const uint8_t type = message[0];
    if (reading == Reading::sent && type == kRelayForward) {
        return std::nullopt;
    }
    const size_t header = type == kRelayForward || type == kRelayReply ? kRelayHeader : kMessageHeader;
    if (message.size() < header) {
        std::string fault = "DHCPv6 message type ";
        fault += number(type);
        fault += " of ";
        fault += number(message.size());
        fault += " bytes is shorter than its ";
        fault += number(header);
        fault += "-byte header";
        return fault;
    }
    return optionsFault(message, header, base);
}

std::optional<std::string> udpFault(std::span<const uint8_t> ip, size_t base, Reading reading) {
    const std::span<const uint8_t> datagram = ip.subspan(kIpv6Header);
    if (datagram.size() < kUdpHeader) {
        std::string fault = "the IPv6 payload of ";
        fault += number(datagram.size());
        fault += " bytes is shorter than a UDP header";
        return fault;
    }
    const uint16_t udpLength = read16(datagram, kUdpLengthField);
    if (udpLength != datagram.size()) {
        std::string fault = "UDP length ";
        fault += number(udpLength);
        fault += ", but the IPv6 payload is ";
        fault += number(datagram.size());
        fault += " bytes";
        return fault;
    }
    const uint16_t sent = read16(datagram, kUdpChecksumField);
    if (sent == 0) {
        return std::string("UDP checksum 0, which means no checksum and is not allowed over IPv6");
    }
    const uint16_t expected = expectedChecksum(ip.subspan(kIpv6SourceField, kIpv6AddressesSize), datagram);
    if (sent != expected) {
        std::string fault = "UDP checksum ";
        fault += hex16(sent);
        fault += ", but the datagram sums to ";
        fault += hex16(expected);
        return fault;
    }
    return dhcp6Fault(datagram.subspan(kUdpHeader), base + kIpv6Header + kUdpHeader, reading);
}

std::optional<std::string> fault(std::span<const uint8_t> frame, Reading reading) {
    if (frame.size() < kEthernetHeader) {
        std::string fault = "a frame of ";
        fault += number(frame.size());
        fault += " bytes is shorter than an Ethernet header";
        return fault;
    }
    size_t typeAt = kEthernetTypeField;
    if (read16(frame, typeAt) == kDot1qTpid) {
        typeAt += kDot1qTag;
        if (frame.size() < typeAt + 2) {
            return std::string("the frame ends inside its 802.1Q tag");
        }
        if (isTagTpid(read16(frame, typeAt))) {
            return std::string("the frame carries more than one VLAN tag");
        }
    }
    const uint16_t etherType = read16(frame, typeAt);
    if (etherType != kIpv6EtherType) {
        std::string fault = "EtherType ";
        fault += hex16(etherType);
        fault += " is not IPv6";
        return fault;
    }
    const size_t ipAt = typeAt + 2;
    const std::span<const uint8_t> ip = frame.subspan(ipAt);
    if (ip.size() < kIpv6Header) {
        std::string fault = "only ";
        fault += number(ip.size());
        fault += " bytes follow the EtherType, fewer than an IPv6 header";
        return fault;
    }
    if (ip[0] >> 4 != 6) {
        std::string fault = "IP version ";
        fault += number(ip[0] >> 4U);
        fault += " in an IPv6 frame";
        return fault;
    }
    if (ip[kIpv6NextHeaderField] != kUdpProtocol) {
        std::string fault = "next header ";
        fault += number(ip[kIpv6NextHeaderField]);
        fault += " is not UDP";
        return fault;
    }
    const uint16_t payloadLength = read16(ip, kIpv6PayloadLengthField);
    if (payloadLength != ip.size() - kIpv6Header) {
        std::string fault = "IPv6 payload length ";
        fault += number(payloadLength);
        fault += ", but ";
        fault += number(ip.size() - kIpv6Header);
        fault += " bytes follow the IPv6 header";
        return fault;
    }
    return udpFault(ip, ipAt, reading);
}

}  // namespace

std::optional<std::string> frameFault(std::span<const uint8_t> frame) {
    return fault(frame, Reading::whole);
}

std::optional<std::string> sentFrameFault(std::span<const uint8_t> frame) {
    return fault(frame, Reading::sent);
}

}  // namespace switchsim
