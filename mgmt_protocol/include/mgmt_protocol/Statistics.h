#pragma once
// What the daemon counts, per port, and how the counts travel. Every decision taken on a received frame
// counts once: the frame passed (by its message type) or was dropped (by the reason); beside them count
// what became of bindings and of the filter-service requests. The daemon keeps the counters in the order
// of Counter; the names below are the keys of the command line's JSON and the labels of the metrics.
//
// Statistics (type 16) carry no request data. The reply starts with u32 counter count, u32 zero, u64
// frames the receive ring dropped, u64 frames the platform did not hand to the daemon, then one record a
// port: u32 port (0: frames of no port the daemon knows), u8 name length, 3 zero bytes, 16 bytes of name,
// u64 frames source guard dropped, and the u64 counters in Counter order; all in network byte order.
// Clearing them (type 17) carries nothing either. The trace (type 18) is switched by one byte, 1 on, 0 off.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mgmt_protocol/ListRecords.h"
#include "mgmt_protocol/ManagementHeader.h"

namespace mgmt {

inline constexpr uint16_t kStatisticsMessage = 16;
inline constexpr uint16_t kClearStatisticsMessage = 17;
inline constexpr uint16_t kTraceMessage = 18;

enum class Counter : uint8_t {
    // Passed, by message type.
    PassedSolicit,
    PassedAdvertise,
    PassedRequest,
    PassedConfirm,
    PassedRenew,
    PassedRebind,
    PassedReply,
    PassedRelease,
    PassedDecline,
    PassedReconfigure,
    PassedInformationRequest,
    PassedRelayForward,
    PassedRelayReply,
    // Dropped, by reason.
    DroppedServerMessageOnUntrustedPort,
    DroppedReplyOnClientPort,
    DroppedPortLimit,
    DroppedVlanLimit,
    DroppedZeroMac,
    DroppedMalformed,
    DroppedUnknownType,
    DroppedNotSnooped,
    DroppedSnoopingOff,
    DroppedRelayOptionPresent,
    DroppedRelayOptionFailed,
    DroppedNoEgressPort,
    DroppedDestinationOnIngress,
    DroppedSendFailed,
    // What became of bindings and clients.
    BindingsLearned,
    BindingsRenewed,
    BindingsReleased,
    BindingsDeclined,
    BindingsExpired,
    BindingsRemovedLinkDown,
    BindingsRemovedClear,
    ClientsExpiredWaiting,
    ClientsNotRecordedTableFull,
    // Filter-service requests.
    FilterInstalls,
    FilterInstallFailures,
    FilterRemovals,
    FilterRemovalFailures,
    Count
};
inline constexpr size_t kCounterCount = static_cast<size_t>(Counter::Count);

enum class CounterGroup : uint8_t { Passed, Dropped, Bindings, Filters };

struct CounterName {
    CounterGroup group;
    std::string_view key;  // lower case, words joined by '_'
};

// In Counter order.
inline constexpr std::array<CounterName, kCounterCount> kCounterNames = {{
    {CounterGroup::Passed, "solicit"},
    {CounterGroup::Passed, "advertise"},
    {CounterGroup::Passed, "request"},
    {CounterGroup::Passed, "confirm"},
    {CounterGroup::Passed, "renew"},
    {CounterGroup::Passed, "rebind"},
    {CounterGroup::Passed, "reply"},
    {CounterGroup::Passed, "release"},
    {CounterGroup::Passed, "decline"},
    {CounterGroup::Passed, "reconfigure"},
    {CounterGroup::Passed, "information_request"},
    {CounterGroup::Passed, "relay_forward"},
    {CounterGroup::Passed, "relay_reply"},
    {CounterGroup::Dropped, "server_message_on_untrusted_port"},
    {CounterGroup::Dropped, "reply_on_client_port"},
    {CounterGroup::Dropped, "port_limit"},
    {CounterGroup::Dropped, "vlan_limit"},
    {CounterGroup::Dropped, "zero_mac"},
    {CounterGroup::Dropped, "malformed"},
    {CounterGroup::Dropped, "unknown_type"},
    {CounterGroup::Dropped, "not_snooped"},
    {CounterGroup::Dropped, "snooping_off"},
    {CounterGroup::Dropped, "relay_option_present"},
    {CounterGroup::Dropped, "relay_option_failed"},
    {CounterGroup::Dropped, "no_egress_port"},
    {CounterGroup::Dropped, "destination_on_ingress_port"},
    {CounterGroup::Dropped, "send_failed"},
    {CounterGroup::Bindings, "learned"},
    {CounterGroup::Bindings, "renewed"},
    {CounterGroup::Bindings, "released"},
    {CounterGroup::Bindings, "declined"},
    {CounterGroup::Bindings, "expired"},
    {CounterGroup::Bindings, "removed_link_down"},
    {CounterGroup::Bindings, "removed_clear"},
    {CounterGroup::Bindings, "waiting_clients_expired"},
    {CounterGroup::Bindings, "clients_not_recorded_table_full"},
    {CounterGroup::Filters, "install_requests"},
    {CounterGroup::Filters, "install_failures"},
    {CounterGroup::Filters, "remove_requests"},
    {CounterGroup::Filters, "remove_failures"},
}};

inline constexpr std::array<std::string_view, 4> kGroupKeys = {"passed", "dropped", "bindings", "filters"};

constexpr std::string_view groupKey(CounterGroup group) {
    return kGroupKeys[static_cast<size_t>(group)];
}

// The passed counter of a DHCPv6 message type (1 to 13, whose counters stand first and in type order);
// nothing for another type.
constexpr std::optional<Counter> passedCounterOf(uint8_t messageType) {
    constexpr uint8_t kFirst = 1;
    constexpr uint8_t kLast = static_cast<uint8_t>(Counter::PassedRelayReply) + kFirst;
    if (messageType < kFirst || messageType > kLast) {
        return std::nullopt;
    }
    return static_cast<Counter>(messageType - kFirst);
}

using CounterValues = std::array<uint64_t, kCounterCount>;

struct PortStatistics {
    uint32_t port = 0;  // 0: frames of no port the daemon knows
    std::string name;   // at most kPortNameSize bytes
    uint64_t guardDropped = 0;
    CounterValues counters{};

    bool operator==(const PortStatistics &) const = default;
};

struct Statistics {
    uint64_t ringDropped = 0;
    uint64_t notHandedOver = 0;
    std::vector<PortStatistics> ports;

    bool operator==(const Statistics &) const = default;
};

Bytes encodeStatistics(const Statistics &statistics);
// Nothing when the data is cut short, or its counter count is not this build's.
std::optional<Statistics> decodeStatistics(std::span<const uint8_t> data);

// The sum over every port.
PortStatistics totalOf(const Statistics &statistics);

}  // namespace mgmt
