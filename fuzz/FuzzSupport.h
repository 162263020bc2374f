#pragma once
// What the fuzz targets share: a reader over the input, the simulated switch with the daemon started on it
// once for the whole run, and the way back to the defaults between inputs.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/SharedTypes.h"
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
    uint32_t be32() {
        const uint32_t high = be16();
        return high << 16 | be16();
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

// The bytes of a value in the processor's order, as remote calls carry them, and a value read from the
// bytes from `offset` on (the bytes there, fewer when they end first, with zeros after them).
template <typename T>
switchsim::Bytes bytesOf(T value) {
    switchsim::Bytes bytes(sizeof value);
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}
template <typename T = uint32_t>
T valueAt(const switchsim::Bytes &bytes, size_t offset = 0) {
    T value{};
    std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(offset),
                std::min(sizeof value, bytes.size() - offset), reinterpret_cast<uint8_t *>(&value));
    return value;
}

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

// Plays `count` inputs of `size` bytes from a seeded generator, as a unit test does with a fuzz target's
// check. Returns the number and the failure of the first input that fails, or nothing.
std::optional<std::string> playRandomInputs(int count, size_t size,
                                            const std::function<std::optional<std::string>(Input &)> &play);

// What a child process returned, and whether it exited saying that it succeeded.
struct ChildOutcome {
    bool succeeded = false;
    std::string text;
};
// Runs `work` in a child process, a copy of this one with its daemon and switch, so that whatever it does
// leaves this process as it was. `work` fills in its text and says whether it succeeded; a child that dies
// comes back as a failure with the text it had written, none.
ChildOutcome inChildProcess(const std::function<bool(std::string &text)> &work);

// The set of these VLANs.
VlanBitmap vlanBitmapOf(std::initializer_list<VlanId> vlans);

// Sets the format of option 18 (`interfaceId`) or 37 and its value: the bytes of an address, a text, or a
// template for the user-defined format. Returns the daemon's answer.
int32_t setRelayOptionFormat(bool interfaceId, uint32_t format, std::string_view value = {});
// Switches option 18 (`interfaceId`) or 37 on or off. Returns the daemon's answer.
int32_t enableRelayOption(bool interfaceId, bool on);

// Removes in bulk the clients a selector of `kind` names with this port, VLAN, MAC and address (none: zeros).
// Returns the daemon's answer.
int32_t removeClients(uint32_t kind, uint32_t port, uint32_t vlan, const uint8_t *mac = nullptr,
                      const uint8_t *address = nullptr);

// The daemon's section of the running configuration, written whole.
std::string runningConfig();

// Everything a setting operation, a remote call or a MIB request may change, as one value: the running
// configuration, the bytes of the settings tables, the client counts, the relay option record and the MIB
// binding rows, the exempt-VLAN flags, and the filters that `sw` holds.
struct DaemonState {
    std::string runningConfig;
    std::vector<uint8_t> tables;
    std::vector<uint32_t> exemptVlans;
    std::vector<switchsim::Filter> filters;
    bool operator==(const DaemonState &) const = default;
};
DaemonState daemonState(const switchsim::Switch &sw);

// Whether the client table keeps its promises: every client has a MAC, only acknowledged clients hold
// bindings, every port count equals the clients counted there, a VLAN count is never above them (a VLAN
// reset zeroes it while its clients stay), and every entry is in the table or free.
bool clientTableConsistent();

}  // namespace fuzz
