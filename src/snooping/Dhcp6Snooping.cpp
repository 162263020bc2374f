#include "snooping/Dhcp6Snooping.h"

#include <cstring>

#include "core/DebugTrace.h"
#include "core/FrameStatistics.h"
#include "core/GlobalState.h"
#include "relay_option/Forwarding.h"
#include "snooping/Dhcp6Options.h"
#include "snooping/MessageHandlers.h"

namespace {

constexpr int kAlignmentAssertionLine = 4704;
constexpr uint16_t kSnoopedKindPlain = 0;
constexpr uint16_t kSnoopedKindTagged = 1;
constexpr uint32_t kWordLowBits = 0xFFFF;

const uint8_t *sourceMacOf(const uint8_t *frame, uint32_t length) {
    return length >= kEthernetAddressesSize ? frame + kSourceMacOffset : nullptr;
}

}  // namespace

extern "C" {

// NOLINTNEXTLINE(readability-non-const-parameter): the packet service's callback type hands a writable frame
int32_t dhcp6snoopingRegPktProcess(uint8_t *frame, uint32_t length, PktRecvTag tag, PktRecvInfo info) {
    if (reinterpret_cast<uintptr_t>(frame) % 4 != 2) {
        dhcp6snoopingAssertFailed("IP_ALLIGN == ((ulong_t)pkt) % 4", "dhcp6snoopingRegPktProcess",
                                  kAlignmentAssertionLine);
    }
    SnoopPacket packet{frame, length, tag.vlanId & kWordLowBits, tag.portIndex & kWordLowBits, {}, info};
    countFrameBegin(packet.portIndex, packet.vlanId, sourceMacOf(frame, length));
    if (info.frameKind != kSnoopedKindPlain && info.frameKind != kSnoopedKindTagged) {
        countFrameDropped(mgmt::Counter::DroppedNotSnooped);
        return info.frameKind;
    }
    std::memcpy(packet.recordRest, tag.reserved, sizeof packet.recordRest);
    if (dhcp6snoopingOnOff != 1) {
        countFrameDropped(mgmt::Counter::DroppedSnoopingOff);
        return 0;
    }
    dhcp6snoopingPktSnoop(&packet, info.payloadOffset, packet.vlanId, packet.portIndex - 1);
    return 0;
}

int32_t dhcp6snoopingPktSnoop(SnoopPacket *packet, uint32_t payloadOffset, uint32_t vlanId,
                              uint32_t ingress) {
    countFrameBegin(ingress + 1, vlanId, sourceMacOf(packet->frame, packet->length));
    // The packet service delivers only ports 1..224 and VLANs below 4096; anything else is left alone
    // rather than used as a table index.
    if (ingress >= kPortTableSize || vlanId >= kVlanTableSize) {
        countFrameDropped(mgmt::Counter::DroppedNotSnooped);
        return 0;
    }
    Dhcp6Message message{};
    // A frame too short for its Ethernet addresses or for the message header is dropped unread.
    if (packet->length < kEthernetAddressesSize ||
        !dhcp6LocateMessage(packet->frame, packet->length, payloadOffset, &message)) {
        countFrameDropped(mgmt::Counter::DroppedMalformed);
        return 0;
    }
    countFrameType(message.type);
    const MessageContext context{packet, &message, payloadOffset, vlanId, ingress + 1};
    switch (message.type) {
        case MSG_SOLICIT:
        case MSG_REQUEST:
        case MSG_CONFIRM:
        case MSG_RENEW:
        case MSG_REBIND:
            handleClientMessage(context);
            break;
        case MSG_REPLY:
            handleReply(context);
            break;
        case MSG_RELEASE:
        case MSG_DECLINE:
            handleRelease(context);
            break;
        case MSG_ADVERTISE:
        case MSG_RECONFIGURE:
        case MSG_RELAY_REPLY:
            handleServerMessage(context);
            break;
        case MSG_INFORMATION_REQUEST:
        case MSG_RELAY_FORWARD:
            dhcp6snoopingSendToServers(packet, static_cast<uint16_t>(vlanId), ingress, payloadOffset);
            break;
        default:
            countFrameDropped(mgmt::Counter::DroppedUnknownType);
            break;
    }
    return 0;
}
}
