#pragma once
// What the simulated switch records of the daemon's calls, for tests and the demo to look at.

#include <array>
#include <compare>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "platform/SmdPacketApi.h"

namespace switchsim {

using Bytes = std::vector<uint8_t>;
using MacAddress = std::array<uint8_t, 6>;
using Ipv6Bytes = std::array<uint8_t, 16>;

// One call of smdVDPktRegister or smdVDPktRegRunning, with the descriptor's bytes as passed.
struct PacketRegistration {
    std::string call;
    uint32_t unit = 0;
    std::array<uint8_t, 36> descriptor{};
    uint32_t mode = 0;
    bool withCallback = false;
    int32_t result = 0;
};

// One line handed to the system log service.
struct SyslogLine {
    uint32_t module = 0;
    uint32_t level = 0;
    std::string name;
    std::string text;
    std::string detail;
};

// One reply sent with vosMsgResp: the first `length` bytes of the message.
struct Reply {
    int32_t result = 0;
    uint32_t length = 0;
    Bytes message;
};

// What a filter of the filter resource service does, and so which fields of a Filter it uses.
enum class FilterKind : uint8_t {
    // Set with FRM_OperatePortDenyAllIp6FilterResource: IPv6 from `port` is dropped unless forwarded.
    DenyAllIp6,
    // Set with FRM_OperateDhcp6FilterResource: DHCPv6 frames go to the CPU. No fields.
    Dhcp6Trap,
    // FRM_*GlobalForwardIcmp6NdFilterResource: neighbour discovery is forwarded on every port. No fields.
    NeighbourDiscovery,
    // FRM_*Forward*Ip6Addr*: IPv6 from `address` is forwarded. `mac` is the MAC the call carries, nothing
    // for the global address-only calls, which carry none; `port` is 0 for the global calls; `vlan` is 0
    // unless the call is one of the _new calls, which carry it.
    ForwardIp6,
    // FRM_*GlobalForwardIp6VidOnlyFilterResource: IPv6 is forwarded on `vlan` whatever its source.
    ExemptVlan,
};

// A filter as the filter service holds it; the fields a kind does not use are zero (or nothing). Filters
// order by kind, in the order declared (that of their text), and then by the fields in the order declared.
struct Filter {
    FilterKind kind = FilterKind::Dhcp6Trap;
    Ipv6Bytes address{};
    std::optional<MacAddress> mac{};
    uint32_t port = 0;
    uint32_t vlan = 0;

    static Filter dhcp6Trap() { return {.kind = FilterKind::Dhcp6Trap}; }
    static Filter neighbourDiscovery() { return {.kind = FilterKind::NeighbourDiscovery}; }
    static Filter exemptVlan(uint32_t vlan) { return {.kind = FilterKind::ExemptVlan, .vlan = vlan}; }
    static Filter denyAll(uint32_t port) { return {.kind = FilterKind::DenyAllIp6, .port = port}; }
    static Filter forward(const Ipv6Bytes &address, std::optional<MacAddress> mac = std::nullopt,
                          uint32_t port = 0, uint32_t vlan = 0) {
        return {FilterKind::ForwardIp6, address, mac, port, vlan};
    }

    // clang-tidy takes the 0 that a defaulted <=> compares with for a null pointer.
    // NOLINTNEXTLINE(modernize-use-nullptr)
    auto operator<=>(const Filter &) const = default;

    // For messages only, e.g. "forward ip6 2001:db8::1 mac 02:00:00:00:00:01 port 3 vlan 10",
    // "deny-all-ip6 port 3", "forward vlan 10", "dhcp6-trap", "forward icmp6-nd"; fields that are zero or
    // nothing are left out.
    [[nodiscard]] std::string text() const;
};

// Writes text(), so that test failures show the filter.
std::ostream &operator<<(std::ostream &out, const Filter &filter);

enum class FilterChange : uint8_t { Install, Remove };

// One call of the filter resource service. A null address or MAC, which the service refuses with -1, reads
// as zeros in `filter`.
struct FilterCall {
    std::string function;
    // What the call asks for. The FRM_Operate calls ask it by their operation code, FILTER_OP_ENABLE to
    // install and FILTER_OP_DISABLE to remove; any other code asks for nothing and is refused with -1.
    std::optional<FilterChange> change{};
    // The operation code of an FRM_Operate call as passed; nothing for the other calls.
    std::optional<uint32_t> operation{};
    Filter filter{};
    int32_t result = 0;

    // "function: install filter = result"; an unknown operation code shows as "operation N".
    [[nodiscard]] std::string text() const;
};

// One line of the remote-call wrapper service's debug output.
struct RemoteCallDebugLine {
    uint32_t level = 0;
    std::string text;
};

// One answer of the running-configuration callback.
struct RunningConfigAnswer {
    uint32_t result = 0;
    std::string text;
    uint32_t remaining = 0;
};

// A frame that the switch forwarded in hardware, without the daemon.
struct SwitchedFrame {
    uint32_t ingressPort = 0;
    uint32_t vlan = 0;
    Bytes frame;
};

// One call of smdVDMacGet: the inputs of the query as passed, and the answer.
struct MacLookup {
    std::string mac;
    uint32_t vlan = 0;
    uint32_t port = 0;
    int32_t result = 0;
};

// A frame the daemon sent with smdVDPktSendPort or smdVDPktSendPortlist.
struct SentFrame {
    uint16_t vlan = 0;
    // The single port value as passed (bit 31 set: aggregation group `value & 0x7FFFFFFF`), or the ports of
    // the list in ascending order.
    std::vector<uint32_t> ports;
    bool toPortList = false;
    Bytes bytes;
    PktRecvInfo info{};
    uint32_t flags = 0;
};

}  // namespace switchsim
