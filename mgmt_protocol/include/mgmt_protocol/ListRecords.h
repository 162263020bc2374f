#pragma once
// Whole lists that the platform answers in one exchange, read from the daemon without a trace line: the
// ports of the switch with their settings (type 10), the VLANs whose settings or counts are not the
// defaults (type 11), and the clients a page at a time (type 12). The port and VLAN requests carry no data;
// their replies carry records back to back, each of a fixed size with every field in network byte order:
//
//   port record, 36 bytes: u32 port, u32 source-guard mode, u32 client limit, u32 clients, u8 trusted,
//                          u8 name length, u16 zero, 16 bytes of name (zero-padded)
//   VLAN record, 12 bytes: u16 VLAN, u16 zero, u32 client limit, u32 clients
//
// A client page request carries the MAC after which the page starts (all zero: from the first client in
// MAC order). Its reply starts with u32 client count, u8 1 when more clients follow, 3 zero bytes, then per
// client: 6 bytes of MAC, u8 1 while it waits for its REPLY, u8 address count, u32 VLAN, u32 port, and per
// address 16 bytes of address, u32 prefix length, u32 seconds of valid lifetime left.
//
// The global settings (type 13) come as u8 snooping on, u8 fast removal at port down, u8 trace on, u8 zero,
// u32 static bindings, then for option 18 and then option 37: u8 enabled, u8 format, u16 length and the
// value as text (the address, the string or the template). The static bindings (type 14) come as 32-byte
// records: 16 bytes of address, 6 bytes of MAC (zero: none), u16 zero, u32 port (0: every port), u32 VLAN (0:
// none); the exempt VLANs (type 15) as one u16 each.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "mgmt_protocol/ManagementHeader.h"

namespace mgmt {

inline constexpr uint16_t kPortListMessage = 10;
inline constexpr uint16_t kVlanListMessage = 11;
inline constexpr uint16_t kClientPageMessage = 12;
inline constexpr uint16_t kGlobalMessage = 13;
inline constexpr uint16_t kBindingListMessage = 14;
inline constexpr uint16_t kExemptVlanListMessage = 15;

inline constexpr size_t kPortRecordSize = 36;
inline constexpr size_t kPortNameSize = 16;
inline constexpr size_t kVlanRecordSize = 12;

struct PortSettings {
    uint32_t port = 0;
    std::string name;  // at most kPortNameSize bytes
    bool trusted = false;
    uint32_t guardMode = 0;
    uint32_t maxClients = 0;
    uint32_t clients = 0;

    bool operator==(const PortSettings &) const = default;
};

struct VlanSettings {
    uint32_t vlan = 0;
    uint32_t maxClients = 0;
    uint32_t clients = 0;

    bool operator==(const VlanSettings &) const = default;
};

struct ClientAddressView {
    std::array<uint8_t, 16> address{};
    uint32_t prefixLength = 0;
    uint32_t validSecondsLeft = 0;

    bool operator==(const ClientAddressView &) const = default;
};

struct ClientView {
    std::array<uint8_t, 6> mac{};
    bool waiting = false;  // for the REPLY to its REQUEST; it counts against the limits all the same
    uint32_t vlan = 0;
    uint32_t port = 0;
    std::vector<ClientAddressView> addresses;  // at most 255

    bool operator==(const ClientView &) const = default;
};

struct ClientPage {
    std::vector<ClientView> clients;
    bool more = false;

    bool operator==(const ClientPage &) const = default;
};

// The most bytes a client page takes; a page ends before the client that would not fit.
inline constexpr size_t kClientPageBytes = size_t{64} << 10U;

Bytes encodeClientPage(const ClientPage &page);
std::optional<ClientPage> decodeClientPage(std::span<const uint8_t> data);
// The size `client` takes in a page.
size_t clientRecordSize(const ClientView &client);

struct OptionSettings {
    bool enabled = false;
    uint32_t format = 0;
    std::string value;  // the address, the string or the template, as text

    bool operator==(const OptionSettings &) const = default;
};

struct GlobalSettings {
    bool snooping = false;
    bool fastRemove = false;
    bool trace = false;  // the platform's: the daemon's trace lines reach the log
    uint32_t staticBindings = 0;
    OptionSettings interfaceId;
    OptionSettings remoteId;

    bool operator==(const GlobalSettings &) const = default;
};

struct BindingView {
    std::array<uint8_t, 16> address{};
    std::array<uint8_t, 6> mac{};  // all zero: any MAC
    uint32_t port = 0;             // 0: every port
    uint32_t vlan = 0;             // 0: any VLAN

    bool operator==(const BindingView &) const = default;
};

Bytes encodeGlobal(const GlobalSettings &global);
std::optional<GlobalSettings> decodeGlobal(std::span<const uint8_t> data);
Bytes encodeBindingList(const std::vector<BindingView> &bindings);
std::optional<std::vector<BindingView>> decodeBindingList(std::span<const uint8_t> data);
Bytes encodeExemptVlanList(const std::vector<uint32_t> &vlans);
std::optional<std::vector<uint32_t>> decodeExemptVlanList(std::span<const uint8_t> data);

Bytes encodePortList(const std::vector<PortSettings> &ports);
Bytes encodeVlanList(const std::vector<VlanSettings> &vlans);
// The records of a reply's data; nothing when it is not a whole number of records or a name is too long.
std::optional<std::vector<PortSettings>> decodePortList(std::span<const uint8_t> data);
std::optional<std::vector<VlanSettings>> decodeVlanList(std::span<const uint8_t> data);

}  // namespace mgmt
