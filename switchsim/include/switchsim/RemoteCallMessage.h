#pragma once
// The management message that carries a remote call on the simulated switch, in the processor's own byte
// order:
//
//   0  u16 message type (2)          8  u32 argument count        16  i32 result, written by the service
//   2  u16 zero                     12  u16 zero                  20  u32 zero
//   4  u32 call number              14  u16 data length           24  data: per argument a u32 length,
//                                                                     then that many bytes
//
// The service calls the wrapper with a pointer to each argument's bytes, so outputs are written in place
// and go back in the reply. A call that the service cannot serve goes back with no data.

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "switchsim/Observations.h"

namespace switchsim {

inline constexpr uint16_t kRemoteCallMessageType = 2;
inline constexpr uint32_t kRemoteCallHeaderSize = 24;
inline constexpr uint32_t kRemoteCallNumberOffset = 4;
inline constexpr uint32_t kRemoteCallArgCountOffset = 8;
inline constexpr uint32_t kRemoteCallDataLengthOffset = 14;
inline constexpr uint32_t kRemoteCallResultOffset = 16;

Bytes encodeRemoteCall(uint32_t callNumber, const std::vector<Bytes> &arguments);

struct DecodedRemoteCall {
    uint32_t callNumber = 0;
    int32_t result = 0;
    std::vector<Bytes> arguments;
};

// Reads a remote-call message or reply; nothing when its fields do not fit its length.
std::optional<DecodedRemoteCall> decodeRemoteCall(std::span<const uint8_t> message);

}  // namespace switchsim
