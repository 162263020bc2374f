#pragma once
// VLAN and text helpers of the switch platform.

#include <cstdint>

extern "C" {

// Non-zero when the VLAN exists on the switch.
int32_t vlan_exist(uint32_t vlanId);
// Parses a VLAN list text into `ids`, closed by a 0 entry. 0 on success.
int32_t Str2ShortArray(const char *text, uint16_t *ids, uint32_t capacity, uint32_t lowest, uint32_t highest);
// Writes the list {count, ids..., 0} as text lines into consecutive 128-byte slots of `lines`; returns the
// number of lines.
int32_t shortArray2string(const uint16_t *list, char *lines, uint32_t lineLength, uint32_t flags);
int32_t stricmp(const char *left, const char *right);
int32_t strtoipAddr(const char *text, int32_t octets[4]);
// 0 for an IPv6 address that may not be bound.
int32_t checkIpv6Valid(const uint8_t address[16]);
}
