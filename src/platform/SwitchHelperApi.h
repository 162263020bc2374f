#pragma once
// VLAN and text helpers of the switch platform.

#include <cstdint>

extern "C" {

// Non-zero when the VLAN exists on the switch.
int32_t vlan_exist(uint32_t vlanId);
// Parses a VLAN list text into `ids`, which has room for `capacity` ids and the closing 0 entry; every id
// must lie in [lowest, highest]. 0 on success; a refused text leaves `ids` undefined.
int32_t Str2ShortArray(const char *text, uint16_t *ids, uint32_t capacity, uint32_t lowest, uint32_t highest);
// Writes the list {count, ids..., 0} as text lines into consecutive 128-byte slots of `lines`; returns the
// number of lines.
int32_t shortArray2string(const uint16_t *list, char *lines, uint32_t lineLength, uint32_t flags);
int32_t stricmp(const char *left, const char *right);
// Reads a dotted quad ("192.0.2.1") into its four numbers, the first one first. 0 on success; any other text
// answers non-zero and leaves `octets` as they were.
int32_t strtoipAddr(const char *text, int32_t octets[4]);
// 0 for an IPv6 address that may not be bound (the unspecified address, the loopback address, a multicast
// address); 1 for any other.
int32_t checkIpv6Valid(const uint8_t address[16]);
}
