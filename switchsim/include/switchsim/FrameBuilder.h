#pragma once
// Builds Ethernet frames carrying IPv6 UDP datagrams, with the lengths and the UDP checksum filled in.

#include <array>
#include <cstdint>
#include <optional>

#include "switchsim/Observations.h"

namespace switchsim {

struct Udp6Frame {
    MacAddress destinationMac{};
    MacAddress sourceMac{};
    std::optional<uint16_t> vlanTag;  // an 802.1Q tag with this VLAN id
    Ipv6Bytes sourceIp{};
    Ipv6Bytes destinationIp{};
    uint16_t sourcePort = 0;
    uint16_t destinationPort = 0;
    Bytes payload;
};

Bytes buildUdp6Frame(const Udp6Frame &frame);

// Parses an IPv6 address text; throws std::invalid_argument when it is not one.
Ipv6Bytes ipv6(const char *text);
// Parses "aa:bb:cc:dd:ee:ff"; throws std::invalid_argument when it is not a MAC address.
MacAddress mac(const char *text);

}  // namespace switchsim
