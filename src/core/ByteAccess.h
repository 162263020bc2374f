#pragma once
// Reads of multi-byte fields out of byte buffers, never through a cast pointer, so that alignment and
// aliasing never matter.

#include <cstdint>
#include <cstring>

// A 16-bit field stored in the processor's own byte order.
inline uint16_t loadHostU16(const uint8_t *field) {
    uint16_t value;
    std::memcpy(&value, field, sizeof value);
    return value;
}

// A 16-bit field in network byte order.
inline uint16_t loadBe16(const uint8_t *field) {
    return static_cast<uint16_t>(field[0] << 8 | field[1]);
}

// A 32-bit field in network byte order.
inline uint32_t loadBe32(const uint8_t *field) {
    return static_cast<uint32_t>(field[0]) << 24 | static_cast<uint32_t>(field[1]) << 16 |
           static_cast<uint32_t>(field[2]) << 8 | field[3];
}
