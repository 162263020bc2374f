#pragma once
// The fields of the list records, written and read in network byte order.

#include <arpa/inet.h>

#include <cstddef>
#include <cstdint>
#include <span>

#include "mgmt_protocol/ManagementHeader.h"

namespace mgmt {

inline void putBe16(Bytes &out, uint16_t value) {
    out.push_back(static_cast<uint8_t>(value >> 8U));
    out.push_back(static_cast<uint8_t>(value));
}

inline void putBe32(Bytes &out, uint32_t value) {
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        out.push_back(static_cast<uint8_t>(value >> shift));
    }
}

inline void putBe64(Bytes &out, uint64_t value) {
    putBe32(out, static_cast<uint32_t>(value >> 32U));
    putBe32(out, static_cast<uint32_t>(value));
}

inline uint16_t be16(std::span<const uint8_t> bytes, size_t offset) {
    return ntohs(loadAt<uint16_t>(bytes, offset));
}

inline uint32_t be32(std::span<const uint8_t> bytes, size_t offset) {
    return ntohl(loadAt<uint32_t>(bytes, offset));
}

inline uint64_t be64(std::span<const uint8_t> bytes, size_t offset) {
    return (uint64_t{be32(bytes, offset)} << 32U) | be32(bytes, offset + 4);
}

}  // namespace mgmt
