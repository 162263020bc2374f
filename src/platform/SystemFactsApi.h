#pragma once
// Facts about the switch itself, used to fill the relay information options.

#include <cstdint>

extern "C" {

// The switch interface that serves `vlanId`.
uint32_t getSWByVLAN(uint16_t vlanId);
int32_t getSysMacAdress(uint8_t mac[6]);
// The primary IPv4 address of a switch interface, first octet in the most significant byte.
int32_t l3ifSwPrimIpGet(uint32_t switchInterface, uint32_t *ipv4);
}
