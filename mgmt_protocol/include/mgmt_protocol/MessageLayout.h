#pragma once
// Where the fields of a management message lie, the message types and the results that the platform
// itself answers with. The daemon reads its messages through these same constants, so a field cannot move
// on one side only.
//
//   0  u16 message type              8  u32 argument count        16  i32 result, written by the server
//   2  u16 protocol version         12  u16 zero                  20  u32 zero
//   4  u32 call number              14  u16 data length           24  data

#include <cstddef>
#include <cstdint>

namespace mgmt {

inline constexpr uint16_t kRemoteCallMessage = 2;
inline constexpr uint16_t kRunningConfigMessage = 3;
inline constexpr uint16_t kPortNamesMessage = 4;
inline constexpr uint16_t kCheckConfigMessage = 5;
inline constexpr uint16_t kApplyConfigMessage = 6;
inline constexpr uint16_t kSaveConfigMessage = 7;
inline constexpr uint16_t kStoragePathsMessage = 8;
inline constexpr uint16_t kReplaceConfigMessage = 9;

// The version this build speaks. A peer of another version is answered with kWrongVersion and this
// version in the reply's version field, and nothing else is done.
inline constexpr uint16_t kProtocolVersion = 1;

inline constexpr size_t kHeaderSize = 24;
inline constexpr size_t kTypeOffset = 0;
inline constexpr size_t kVersionOffset = 2;
inline constexpr size_t kCallNumberOffset = 4;
inline constexpr size_t kArgCountOffset = 8;
inline constexpr size_t kDataLengthOffset = 14;
inline constexpr size_t kResultOffset = 16;

// Results of a remote call. The daemon answers kWrongArgumentCount itself; the platform answers the others
// before the daemon sees the message, which then changes nothing.
inline constexpr int32_t kRefused = -1;
inline constexpr int32_t kWrongArgumentCount = -1001;
inline constexpr int32_t kWrongArgumentSize = -1002;
inline constexpr int32_t kWrongVersion = -1003;

}  // namespace mgmt
