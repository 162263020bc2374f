#pragma once
// The serving side of the remote-call wrapper service, the same on every platform: the call numbers a
// process reserved, the wrapper registered for each, and the serving of one remote-call message in place.

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "platform/RmWrapApi.h"

namespace mgmt {

class WrapperTable {
  public:
    static constexpr int32_t kRefused = -1;

    // Reserves the call numbers first to end - 1; refused for an empty range.
    int32_t reserve(uint32_t firstCall, uint32_t endCall);
    // Registers the wrapper of a reserved call number that has none yet.
    int32_t add(uint32_t callNumber, RmWrapper wrapper);

    // Serves the remote-call message of `length` bytes at `message`: calls its wrapper, writes the outputs
    // over the arguments and the result into the header, and answers the result. A message whose fields do
    // not fit its length is left as it came and refused; one for a call without a wrapper is refused and
    // goes back with no data.
    int32_t serve(uint8_t *message, size_t length) const;

  private:
    std::vector<std::pair<uint32_t, uint32_t>> ranges_;
    std::map<uint32_t, RmWrapper> wrappers_;
};

}  // namespace mgmt
