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
