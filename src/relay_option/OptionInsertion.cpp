#include "relay_option/OptionInsertion.h"

#include <cstring>

#include "core/ByteCursor.h"
#include "core/DebugTrace.h"
#include "core/FrameStatistics.h"
#include "core/SharedTypes.h"
#include "platform/SmdPacketApi.h"
#include "platform/SystemFactsApi.h"
#include "platform/VosApi.h"
#include "relay_option/InfoOptionConfig.h"
#include "snooping/Dhcp6Options.h"

namespace {

constexpr char kNoMemory[] = "\r\n drop packet due to information option processing malloc";
constexpr char kTooLong[] = "\r\n drop packet due to information option processing length";
constexpr char kFailed[] = "\r\n information option process failed, drop packet.";
constexpr char kStrategyDrop[] = "\r\n information option strategy = drop, drop dhcp request message ";
constexpr char kInterfaceIdFailed[] = "\r\n option InterfaceId format failed, not appeded ";
constexpr char kRemoteIdFailed[] = "\r\n option RemoteId format failed, not appeded ";
constexpr char kAreaTooLong[] =
    "\r\n dhcpv6 information option 18/37 add failed, the packet too long, greater than 1500 after added ";

constexpr uint32_t kWorkingBufferSize = kLongestOptionFrame + 2 * kOptionBufferSize;
constexpr uint32_t kIpv6HeaderSize = 40;
constexpr uint32_t kIpv6PayloadLengthAt = 4;
constexpr uint32_t kIpv6SourceAt = 8;
constexpr uint32_t kIpv6DestinationAt = 24;
constexpr uint32_t kUdpHeaderSize = 8;
constexpr uint32_t kUdpLengthAt = 4;
constexpr uint32_t kUdpChecksumAt = 6;
constexpr uint8_t kNextHeaderUdp = 17;

uint8_t *workingBuffer = nullptr;

// Message types that travel toward the servers and carry relay information.
bool takesOptions(uint8_t msgType) {
    switch (msgType) {
        case MSG_SOLICIT:
        case MSG_REQUEST:
        case MSG_CONFIRM:
        case MSG_RENEW:
        case MSG_REBIND:
        case MSG_INFORMATION_REQUEST:
        case MSG_RELAY_FORWARD:
            return true;
        default:
            return false;
    }
}

// The content of one option by its format; false when a template would not render.
bool writeContent(ByteWriter &writer, InfoOptionFields fields, const PacketContext &context,
                  const RenderFacts &facts) {
    switch (fields.format) {
        case FORMAT_IPV4_ADDRESS:
            return writer.bytes(fields.value, 4);
        case FORMAT_IPV6_ADDRESS:
            return writer.bytes(fields.value, 16);
        case FORMAT_DEFAULT: {
            // A zero byte, the ingress port, then the system name, which is empty.
            const uint8_t content[2] = {0, static_cast<uint8_t>(context.portIndex0 + 1U)};
            return writer.bytes(content, sizeof content);
        }
        case FORMAT_STRING:
            return writer.bytes(fields.value,
                                static_cast<uint32_t>(strnlen(reinterpret_cast<const char *>(fields.value),
                                                              kOptionValueSize - 1)));
        case FORMAT_USER_DEFINED: {
            if (fields.storedTemplate == nullptr) {
                char text[kSwitchMacTextLength + 1];
                switchMacText(facts.systemMac, text);
                return writer.bytes(text, kSwitchMacTextLength);
            }
            uint32_t written = 0;
            if (dhcp6snoopingTemplateRender(fields.storedTemplate, &context, &facts, writer.position(),
                                            writer.room(), &written) != 0) {
                return false;
            }
            return writer.advance(written);
        }
        default:
            return true;
    }
}

enum class Outcome { GoOn, Send, Drop };

// Adds one option to the options area, replacing one of the same code under the replace strategy.
Outcome addOption(uint16_t code, InfoOptionFields fields, uint8_t *area, uint32_t &length,
                  const PacketContext &context, const RenderFacts &facts) {
    uint32_t existingLength = 0;
    OptionCursor cursor{};
    auto *existing = const_cast<uint8_t *>(dhcp6FindOption(code, &existingLength, area, length, &cursor));
    if (existing != nullptr && infoOptionConfig.strategy == STRATEGY_DROP) {
        dhcp6snooping_debug_printf(kStrategyDrop);
        return Outcome::Drop;
    }
    if (existing != nullptr && infoOptionConfig.strategy == STRATEGY_KEEP) {
        return Outcome::Send;
    }
    // The option is written straight behind the area, at most 512 bytes of it, and only taken into the area
    // once it is whole and fits there.
    ByteWriter writer(area + length, kOptionBufferSize);
    bool built = writer.beginOption(code);
    if (code == kOptionRemoteId) {
        built = built && writer.be32(kPrivateEnterpriseNumber);
    }
    if (!built || !writeContent(writer, fields, context, facts) || !writer.endOption()) {
        dhcp6snooping_debug_printf(code == kOptionInterfaceId ? kInterfaceIdFailed : kRemoteIdFailed);
        return Outcome::Send;
    }
    const uint32_t replaced = existing != nullptr ? kOptionHeaderSize + existingLength : 0;
    if (length - replaced + writer.written() > kLongestOptionsArea) {
        dhcp6snooping_debug_printf(kAreaTooLong);
        return Outcome::Send;
    }
    // What follows the replaced option, the new one included, moves down over it.
    if (existing != nullptr) {
        const uint8_t *after = existing + replaced;
        std::memmove(existing, after, static_cast<size_t>(area + length + writer.written() - after));
    }
    length = length - replaced + writer.written();
    return Outcome::GoOn;
}

// The one's-complement sum of a byte area as 16-bit words in network order; an odd last byte is the high
// byte of a word whose low byte is 0. Words are added as they lie in memory, four bytes at a time, and the
// result turned into network order at the end: the sum does not depend on the order the bytes are added in.
uint32_t dataSum(const uint8_t *bytes, uint32_t length) {
    uint64_t sum = 0;
    uint32_t i = 0;
    for (; i + 4 <= length; i += 4) {
        uint32_t word;
        std::memcpy(&word, bytes + i, sizeof word);
        sum += word;
    }
    uint8_t tail[4] = {};
    std::memcpy(tail, bytes + i, length - i);
    uint32_t word;
    std::memcpy(&word, tail, sizeof word);
    sum += word;
    while (sum > 0xFFFF) {
        sum = (sum & 0xFFFF) + (sum >> 16);
    }
    const auto native = static_cast<uint16_t>(sum);
    uint8_t networkOrder[2];
    std::memcpy(networkOrder, &native, sizeof native);
    return loadBe16(networkOrder);
}

uint16_t fold(uint32_t sum) {
    while (sum > 0xFFFF) {
        sum = (sum & 0xFFFF) + (sum >> 16);
    }
    return static_cast<uint16_t>(~sum);
}

// Copies a frame in 32-byte blocks the compiler turns into vector moves; left to a plain copy of an unknown
// length it emits a string move whose start-up costs more than a whole frame of vector moves.
void copyFrame(uint8_t *to, const uint8_t *from, uint32_t length) {
    constexpr uint32_t kBlock = 32;
    uint32_t i = 0;
    for (; i + kBlock <= length; i += kBlock) {
        std::memcpy(to + i, from + i, kBlock);
    }
    for (; i < length; ++i) {
        to[i] = from[i];
    }
}

void storeBe16(uint8_t *field, uint16_t value) {
    field[0] = static_cast<uint8_t>(value >> 8);
    field[1] = static_cast<uint8_t>(value);
}

void addToBe16(uint8_t *field, int32_t growth) {
    storeBe16(field, static_cast<uint16_t>(loadBe16(field) + growth));
}

// The facts a user-defined option is made of, read once per frame, the client identifier from the message as
// received; the other formats need none of them, and the packet path does not pay for them then.
RenderFacts gatherFacts(const PacketContext &context, const Dhcp6Message &received) {
    RenderFacts facts{};
    facts.systemName = "";
    const auto userDefined = [](const InfoOptionFields &fields) {
        return fields.enable == 1 && fields.format == FORMAT_USER_DEFINED;
    };
    if (!userDefined(interfaceIdFields(infoOptionConfig)) && !userDefined(remoteIdFields(infoOptionConfig))) {
        return facts;
    }
    getSysMacAdress(facts.systemMac);
    l3ifSwPrimIpGet(context.switchInterface, &facts.systemIpv4);
    smdVDPortSnmpToUser(context.portIndex0 + 1U, &facts.slot, &facts.subslot, &facts.port);
    uint32_t length = 0;
    facts.clientId =
        dhcp6FindOption(kOptionClientId, &length, received.options, received.optionsLength, nullptr);
    return facts;
}

}  // namespace

uint16_t udp6Checksum(const uint8_t *source, const uint8_t *destination, const uint8_t *datagram,
                      uint16_t length) {
    const uint32_t pseudoHeader = dataSum(source, 16) + dataSum(destination, 16) + kNextHeaderUdp + length;
    const uint16_t checksum = fold(pseudoHeader + dataSum(datagram, length));
    return checksum == 0 ? 0xFFFF : checksum;
}

extern "C" {

bool dhcp6snoopingInfoOptionsEnabled(void) {
    return infoOptionConfig.interfaceIdEnable == 1 || infoOptionConfig.remoteIdEnable == 1;
}

int32_t dhcp6snoopingInfoOptionBuild(uint8_t msgType, uint8_t *area, uint32_t length, uint32_t *newLength,
                                     const PacketContext *context, const RenderFacts *facts) {
    *newLength = length;
    const struct {
        uint16_t code;
        InfoOptionFields fields;
    } options[] = {
        {kOptionInterfaceId, interfaceIdFields(infoOptionConfig)},
        {kOptionRemoteId, remoteIdFields(infoOptionConfig)},
    };
    for (const auto &option : options) {
        if (option.fields.enable != 1 || !takesOptions(msgType)) {
            continue;
        }
        switch (addOption(option.code, option.fields, area, *newLength, *context, *facts)) {
            case Outcome::GoOn:
                break;
            case Outcome::Send:
                return 0;
            case Outcome::Drop:
                return -1;
        }
    }
    return 0;
}

SnoopPacket *dhcp6snoopingInfoOptionInsert(SnoopPacket *packet, uint32_t payloadOffset, uint16_t vlanId,
                                           uint32_t ingress) {
    if (workingBuffer == nullptr) {
        workingBuffer = static_cast<uint8_t *>(vosCalloc(1, kWorkingBufferSize));
        if (workingBuffer == nullptr) {
            dhcp6snooping_debug_printf(kNoMemory);
            countFrameDropped(mgmt::Counter::DroppedRelayOptionFailed);
            return nullptr;
        }
    }
    const uint32_t frameLength = packet->length;
    if (frameLength > kLongestOptionFrame) {
        dhcp6snooping_debug_printf(kTooLong);
        countFrameDropped(mgmt::Counter::DroppedRelayOptionFailed);
        return nullptr;
    }
    // The IPv6 and UDP headers must lie whole between the EtherType and the message.
    const uint32_t ipv6Start = packet->info.etherTypeOffset + 2U;
    Dhcp6Message received{};
    if (payloadOffset < kUdpHeaderSize || ipv6Start + kIpv6HeaderSize > payloadOffset - kUdpHeaderSize ||
        !dhcp6LocateMessage(packet->frame, frameLength, payloadOffset, &received)) {
        dhcp6snooping_debug_printf(kFailed);
        countFrameDropped(mgmt::Counter::DroppedRelayOptionFailed);
        return nullptr;
    }
    const PacketContext context{getSWByVLAN(vlanId), vlanId, static_cast<uint16_t>(ingress)};
    const RenderFacts facts = gatherFacts(context, received);
    copyFrame(workingBuffer, packet->frame, frameLength);

    uint8_t *message = workingBuffer + payloadOffset;
    uint32_t newLength = 0;
    if (dhcp6snoopingInfoOptionBuild(message[0], message + kMessageHeaderSize, received.optionsLength,
                                     &newLength, &context, &facts) != 0) {
        // Only the drop strategy refuses to build: the message already carried one of our options.
        dhcp6snooping_debug_printf(kFailed);
        countFrameDropped(mgmt::Counter::DroppedRelayOptionPresent);
        return nullptr;
    }
    const int32_t growth = static_cast<int32_t>(newLength) - static_cast<int32_t>(received.optionsLength);
    const auto newFrameLength = static_cast<uint32_t>(static_cast<int32_t>(frameLength) + growth);
    uint8_t *udp = message - kUdpHeaderSize;
    uint8_t *ipv6 = workingBuffer + ipv6Start;
    storeBe16(udp + kUdpChecksumAt, 0);
    addToBe16(udp + kUdpLengthAt, growth);
    addToBe16(ipv6 + kIpv6PayloadLengthAt, growth);
    const auto udpLength = static_cast<uint16_t>(newFrameLength - payloadOffset + kUdpHeaderSize);
    storeBe16(udp + kUdpChecksumAt,
              udp6Checksum(ipv6 + kIpv6SourceAt, ipv6 + kIpv6DestinationAt, udp, udpLength));
    packet->frame = workingBuffer;
    packet->length = newFrameLength;
    return packet;
}
}
