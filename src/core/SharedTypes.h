#pragma once
// Types and table sizes that every subsystem of the daemon shares.

#include <cstdint>

// 1-based switch port number; per-port tables are indexed by PortIndex - 1.
using PortIndex = uint32_t;
// VLAN identifier; per-VLAN tables are indexed by the id itself, and operations accept 1..4094.
using VlanId = uint32_t;

inline constexpr uint32_t kPortTableSize = 224;
inline constexpr uint32_t kVlanTableSize = 4096;
inline constexpr VlanId kFirstVlan = 1;
inline constexpr VlanId kLastVlan = 4094;
inline constexpr uint32_t kMaxClients = 2048;

inline constexpr uint32_t kMacSize = 6;

// True for a PortIndex that has an entry in the per-port tables.
inline constexpr bool isTablePort(PortIndex portIndex) {
    return portIndex >= 1 && portIndex <= kPortTableSize;
}

// The entry of a PortIndex in the per-port tables; the one place where a port number becomes an index.
inline constexpr uint32_t portSlot(PortIndex portIndex) {
    return portIndex - 1;
}

// True for a VLAN id that operations accept.
inline constexpr bool isUsableVlan(VlanId vlanId) {
    return vlanId >= kFirstVlan && vlanId <= kLastVlan;
}

// True for the all-zero MAC address, which stands for "no MAC".
inline bool macIsZero(const uint8_t *mac) {
    for (uint32_t i = 0; i < kMacSize; ++i) {
        if (mac[i] != 0) {
            return false;
        }
    }
    return true;
}

// The private enterprise number of the project: the enterprise of every option 37 the daemon adds and the
// root of its MIB module.
inline constexpr uint32_t kPrivateEnterpriseNumber = 32473;

// The daemon's module number at the system log service.
inline constexpr uint32_t kDhcp6SnoopingModuleId = 54;

// A set of VLANs: VLAN v is bit (7 - v % 8) of byte v / 8, so the most significant bit of byte 0 is VLAN 0.
// Only VLANs 1 to 4094 are ever looked at.
struct VlanBitmap {
    uint8_t bits[kVlanTableSize / 8];
};
static_assert(sizeof(VlanBitmap) == 512);

inline bool vlanBitmapHas(const VlanBitmap &bitmap, VlanId vlanId) {
    return (bitmap.bits[vlanId / 8] & (0x80U >> (vlanId % 8))) != 0;
}

inline void vlanBitmapAdd(VlanBitmap &bitmap, VlanId vlanId) {
    bitmap.bits[vlanId / 8] |= static_cast<uint8_t>(0x80U >> (vlanId % 8));
}

// An IPv6 address or prefix, 16 bytes in network order, passed by value.
struct Ipv6Address {
    uint8_t octets[16];
};
static_assert(sizeof(Ipv6Address) == 16);
