#pragma once
// What the host platform knows of its bridge: the member interfaces that are the switch's ports, their
// VLANs, the bridge's forwarding database and its own addresses. Netlink keeps it current; the platform
// calls answer from it without a system call.

#include <array>
#include <bitset>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace hostplatform {

using Mac = std::array<uint8_t, 6>;

inline constexpr uint32_t kMaxPorts = 224;
inline constexpr uint32_t kVlanSlots = 4096;
inline constexpr uint16_t kDefaultVlan = 1;

struct BridgePort {
    uint32_t ifindex = 0;
    std::string name;
    bool linkUp = false;
    uint16_t pvid = 0;                    // 0: untagged frames are not admitted
    std::bitset<kVlanSlots> vlans;        // VLANs the port is a member of
    std::bitset<kVlanSlots> untaggedOut;  // VLANs the port sends untagged
};

struct BridgeModel {
    std::string name;
    uint32_t ifindex = 0;
    Mac mac{};
    uint32_t ipv4 = 0;  // first octet in the most significant byte; 0 when the bridge has none
    // A bridge without VLAN filtering is one VLAN, the default VLAN 1, on every port, untagged.
    bool vlanFiltering = false;
    // Port p is ports[p - 1]. A port that leaves the bridge keeps its number, with ifindex 0, so that the
    // daemon's per-port settings never move to another interface.
    std::vector<BridgePort> ports;
    // Forwarding database: (MAC, VLAN) to the interface the bridge learned it on.
    std::unordered_map<uint64_t, uint32_t> fdb;
};

// The key of a forwarding-database entry.
uint64_t fdbKey(const Mac &mac, uint16_t vlan);

// The port (1-based) of an interface, or nothing when it is not a port of the bridge.
std::optional<uint32_t> portOfInterface(const BridgeModel &model, uint32_t ifindex);

}  // namespace hostplatform
