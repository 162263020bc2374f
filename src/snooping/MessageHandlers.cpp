#include "snooping/MessageHandlers.h"

#include <cstring>
#include <optional>

#include "core/DebugTrace.h"
#include "core/FrameStatistics.h"
#include "core/GlobalState.h"
#include "core/MacText.h"
#include "platform/VosApi.h"
#include "relay_option/Forwarding.h"
#include "snooping/BindingFilter.h"
#include "snooping/ClientTable.h"
#include "snooping/LeaseExtraction.h"

namespace {

constexpr char kZeroMac[] = "\r\n client mac = 0, drop dhcpv6 %s msg";
constexpr char kLimitReached[] = "\r\n user number reaches max of port or vlan, drop dhcpv6 %s msg";
constexpr char kRecorded[] = "\r\n receive dhcpv6 %s msg, record user: mac %s, vlan %d, port %s";
constexpr char kReleased[] = "\r\n receive dhcpv6 %s msg, delete user: mac %s";
constexpr char kUntrustedPort[] = "\r\n dhcpv6 %s msg comes from untrust port, drop msg.";
constexpr char kNoRecord[] = "\r\n receive dhcpv6 %s msg but found no record of user: mac %s";
constexpr char kSamePort[] = "\r\n dhcpv6 %s msg port same as request msg port, delete user: mac %s";
constexpr char kLearned[] = "\r\n dhcpv6 %s msg to user: mac %s";
constexpr char kTrustedClient[] = "\r\n user in trust port, do not record user: mac %s";

constexpr uint32_t kPendingLifetime = 180;

const char *nameOf(const MessageContext &context) {
    return dhcp6MessageName(context.message->type);
}

bool trusted(PortIndex port) {
    return portTrustMode[portSlot(port)] == 1;
}

// The MAC is all zero: nothing can be recorded under it.
bool refuseZeroMac(const MessageContext &context, const uint8_t *mac) {
    if (!macIsZero(mac)) {
        return false;
    }
    dhcp6snooping_debug_printf(kZeroMac, nameOf(context));
    countFrameDropped(mgmt::Counter::DroppedZeroMac);
    return true;
}

void sendToServers(const MessageContext &context) {
    dhcp6snoopingSendToServers(context.packet, static_cast<uint16_t>(context.vlanId), portSlot(context.port),
                               context.payloadOffset);
}

void sendToClient(const MessageContext &context) {
    dhcp6snoopingSendToClient(context.packet, static_cast<uint16_t>(context.vlanId), portSlot(context.port));
}

// When the port or the VLAN is full, only a client already recorded there may go on: the limit that
// stops the message, or nothing when it may go on.
std::optional<mgmt::Counter> limitReached(const MessageContext &context, const uint8_t *mac) {
    const uint32_t slot = portSlot(context.port);
    const bool portFull = portClientCount[slot] >= portMaxNum[slot];
    const bool vlanFull = vlanClientCount[context.vlanId] >= vlanMaxNum[context.vlanId];
    if (!portFull && !vlanFull) {
        return std::nullopt;
    }
    const ClientEntry *entry = clientFind(mac);
    if (portFull && (entry == nullptr || entry->portIndex != context.port)) {
        return mgmt::Counter::DroppedPortLimit;
    }
    if (vlanFull && (entry == nullptr || entry->vlanId != context.vlanId)) {
        return mgmt::Counter::DroppedVlanLimit;
    }
    return std::nullopt;
}

void dropFromUntrustedPort(const MessageContext &context) {
    dhcp6snooping_debug_printf(kUntrustedPort, nameOf(context));
    countFrameDropped(mgmt::Counter::DroppedServerMessageOnUntrustedPort);
}

void record(const MessageContext &context, const uint8_t *mac) {
    ClientEntry *entry = clientFind(mac);
    // A client that moved starts afresh: its counts, filters and bindings belonged to its old place.
    if (entry != nullptr && (entry->vlanId != context.vlanId || entry->portIndex != context.port)) {
        clientDelete(mac);
        entry = nullptr;
    }
    if (entry == nullptr) {
        entry = clientFindOrCreate(mac);
    }
    if (entry == nullptr) {
        countEvent(context.port, mgmt::Counter::ClientsNotRecordedTableFull);
        return;
    }
    entry->vlanId = context.vlanId;
    entry->portIndex = context.port;
    clientCount(entry);
    if (entry->acked == 0) {
        entry->pendingLifetime = kPendingLifetime;
        entry->lastUpdate = vosUpSeconds();
    }
    if (dhcp6snoopingTraceOn()) {
        char portName[PORT_NAME_TEXT_SIZE] = {};
        transPort2EtherPort(entry->portIndex, portName);
        dhcp6snooping_debug_printf(kRecorded, nameOf(context), macText(mac).text,
                                   static_cast<int>(context.vlanId), portName);
    }
}

// The bindings of the message, extracted into a list that lives only while the message is handled.
class ExtractedBindings {
  public:
    ExtractedBindings(const MessageContext &context, uint32_t finalFlag)
        : usable_(leaseExtractSettings(&settings_, context.message->options, context.message->optionsLength,
                                       finalFlag) == 1) {}
    ~ExtractedBindings() { addressListClear(&settings_.addresses, addressListFreeItem); }
    ExtractedBindings(const ExtractedBindings &) = delete;
    ExtractedBindings &operator=(const ExtractedBindings &) = delete;

    [[nodiscard]] bool usable() const { return usable_; }
    [[nodiscard]] const AddressList &list() const { return settings_.addresses; }

  private:
    LeaseSettings settings_{};
    bool usable_;
};

void merge(ClientEntry &entry, const AddressList &extracted) {
    const uint32_t before = entry.addresses.count;
    for (uint32_t i = 0; i < extracted.count; ++i) {
        addressListStoreBinding(entry.addresses, *addressAt(extracted, i));
    }
    const uint32_t learned = entry.addresses.count - before;
    countEvent(entry.portIndex, mgmt::Counter::BindingsLearned, learned);
    countEvent(entry.portIndex, mgmt::Counter::BindingsRenewed, extracted.count - learned);
}

}  // namespace

void handleClientMessage(const MessageContext &context) {
    const uint8_t *mac = context.packet->frame + kSourceMacOffset;
    if (refuseZeroMac(context, mac)) {
        return;
    }
    if (!trusted(context.port)) {
        if (const auto limit = limitReached(context, mac)) {
            dhcp6snooping_debug_printf(kLimitReached, nameOf(context));
            countFrameDropped(*limit);
            return;
        }
        record(context, mac);
    }
    sendToServers(context);
}

void handleRelease(const MessageContext &context) {
    const uint8_t *mac = context.packet->frame + kSourceMacOffset;
    if (refuseZeroMac(context, mac)) {
        return;
    }
    if (ClientEntry *entry = clientFind(mac)) {
        const auto forgotten = context.message->type == MSG_RELEASE ? mgmt::Counter::BindingsReleased
                                                                    : mgmt::Counter::BindingsDeclined;
        {
            const ExtractedBindings released(context, /*finalFlag=*/0);
            for (uint32_t i = 0; i < released.list().count; ++i) {
                ClientAddress *known =
                    addressListFindBinding(entry->addresses, *addressAt(released.list(), i));
                if (known == nullptr) {
                    continue;
                }
                // The guard mode of the port the message came in on decides, and the recorded port's filter
                // goes along with the binding.
                countEvent(entry->portIndex, forgotten);
                clientForgetBinding(*entry, *known, context.port, [&](const ClientAddress &) {
                    if (dhcp6snoopingTraceOn()) {
                        dhcp6snooping_debug_printf(kReleased, nameOf(context), macText(mac).text);
                    }
                });
            }
        }
        clientDeleteIfBare(*entry);
    }
    sendToServers(context);
}

void handleReply(const MessageContext &context) {
    const uint8_t *mac = context.packet->frame + kDestinationMacOffset;
    if (refuseZeroMac(context, mac)) {
        return;
    }
    if (!trusted(context.port)) {
        dropFromUntrustedPort(context);
        return;
    }
    ClientEntry *entry = clientFind(mac);
    if (entry == nullptr) {
        if (dhcp6snoopingTraceOn()) {
            dhcp6snooping_debug_printf(kNoRecord, nameOf(context), macText(mac).text);
        }
        sendToClient(context);
        return;
    }
    if (entry->portIndex == context.port) {
        if (dhcp6snoopingTraceOn()) {
            dhcp6snooping_debug_printf(kSamePort, nameOf(context), macText(mac).text);
        }
        clientDelete(entry->mac);
        countFrameDropped(mgmt::Counter::DroppedReplyOnClientPort);
        return;
    }
    {
        const ExtractedBindings granted(context, /*finalFlag=*/1);
        if (granted.usable()) {
            merge(*entry, granted.list());
            entry->lastUpdate = vosUpSeconds();
            entry->acked = 1;
            if (dhcp6snoopingTraceOn()) {
                dhcp6snooping_debug_printf(kLearned, nameOf(context), macText(mac).text);
            }
            // Every REPLY installs the filters of all the client's addresses again, the renewed ones
            // included.
            for (uint32_t i = 0; i < entry->addresses.count; ++i) {
                const ClientAddress &record = *addressAt(entry->addresses, i);
                if (bindingHasFilter(*entry, record, entry->portIndex)) {
                    bindingFilterInstall(*entry, record);
                }
            }
        }
    }
    if (isTablePort(entry->portIndex) && trusted(entry->portIndex)) {
        if (dhcp6snoopingTraceOn()) {
            dhcp6snooping_debug_printf(kTrustedClient, macText(mac).text);
        }
        clientDelete(entry->mac);
    }
    sendToClient(context);
}

void handleServerMessage(const MessageContext &context) {
    if (!trusted(context.port)) {
        dropFromUntrustedPort(context);
        return;
    }
    sendToClient(context);
}
