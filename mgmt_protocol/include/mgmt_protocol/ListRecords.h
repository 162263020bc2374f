#pragma once
// Whole lists that the platform answers in one exchange, read from the daemon without a trace line: the
// ports of the switch with their settings (type 10) and the VLANs whose settings or counts are not the
// defaults (type 11). A list request carries no data; its reply carries the records back to back, each of a
// fixed size with every field in network byte order:
//
//   port record, 36 bytes: u32 port, u32 source-guard mode, u32 client limit, u32 clients, u8 trusted,
//                          u8 name length, u16 zero, 16 bytes of name (zero-padded)
//   VLAN record, 12 bytes: u16 VLAN, u16 zero, u32 client limit, u32 clients

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

Bytes encodePortList(const std::vector<PortSettings> &ports);
Bytes encodeVlanList(const std::vector<VlanSettings> &vlans);
// The records of a reply's data; nothing when it is not a whole number of records or a name is too long.
std::optional<std::vector<PortSettings>> decodePortList(std::span<const uint8_t> data);
std::optional<std::vector<VlanSettings>> decodeVlanList(std::span<const uint8_t> data);

}  // namespace mgmt
