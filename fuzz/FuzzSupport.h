#pragma once
// What the fuzz targets share: a reader over the input, the simulated switch with the daemon started on it
// once for the whole run, and the way back to the defaults between inputs.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "switchsim/Switch.h"

namespace fuzz {

inline constexpr uint32_t kPorts = 24;
inline constexpr uint32_t kVlans = 4;
// Ports 23 and 24 form this link-aggregation group.
inline constexpr uint32_t kAggregation = 1;

// The input, read front to back; past its end every byte reads 0.
class Input {
  public:
    Input(const uint8_t *data, size_t size) : data_(data), size_(size) {}
    [[nodiscard]] bool empty() const { return size_ == 0; }
    uint8_t byte() { return size_ == 0 ? 0 : (--size_, *data_++); }
    uint16_t be16() {
        const uint8_t high = byte();
        return static_cast<uint16_t>(high << 8 | byte());
    }
    // Up to `wanted` bytes, fewer when the input ends first.
    std::pair<const uint8_t *, size_t> take(size_t wanted) {
        const size_t length = std::min(wanted, size_);
        size_ -= length;
        return {std::exchange(data_, data_ + length), length};
    }

  private:
    const uint8_t *data_;
    size_t size_;
};

inline uint32_t portOf(uint8_t selector) {
    return 1 + selector % kPorts;
}
inline uint32_t vlanOf(uint8_t selector) {
    return 1 + selector % kVlans;
}

// Ends the run, as a crash would, when a promise is broken.
inline void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// A 24-port switch whose VLANs 1 to 4 hold every port, with the daemon started on it.
switchsim::Switch &fuzzSwitch();
// Lets the daemon take every queued event.
void serve();

// Brings the daemon back to its defaults through the operations an operator would use, and the switch to
// what it was, forgetting everything it recorded, so that the next input starts afresh and memory stays
// flat. With `filtersMustBeGone` the switch must then hold no filter of the daemon's; whatever it holds is
// dropped before the next input.
void resetAll(bool filtersMustBeGone);

}  // namespace fuzz
