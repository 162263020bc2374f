#pragma once
// A line in the system log for each frame the daemon drops, naming the port, VLAN, MAC, message type and
// reason, but no more than a few a second for each reason: a flood then costs a handful of lines a second
// and one line a second that says how many drops went untold.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace hostplatform {

struct DroppedFrame {
    uint32_t port = 0;  // 0: none the daemon knows
    uint32_t vlan = 0;
    std::string_view messageType;  // its name, as the trace writes it
    const uint8_t *mac = nullptr;  // the source MAC, six bytes; null when the frame had none
    std::string_view reason;       // the reason's key, words joined by '_'
};

class DropLog {
  public:
    static constexpr uint32_t kLinesPerReasonPerSecond = 5;

    // The line for `frame`, dropped on the port named `portName` in second `second` (of a monotonic clock),
    // or nothing when its reason has had its lines in that second.
    std::optional<std::string> note(const DroppedFrame &frame, std::string_view portName, uint64_t second);
    // One line per reason that had drops go untold, saying how many, and the count started afresh.
    std::vector<std::string> untold();

  private:
    struct PerReason {
        uint64_t second = 0;
        uint32_t lines = 0;
        uint64_t untold = 0;
    };
    std::map<std::string, PerReason, std::less<>> reasons_;
};

// Logs `frame` through the platform's one DropLog, at LOG_INFO; the second tick logs what went untold.
void logDrop(const DroppedFrame &frame);
void logUntoldDrops();

}  // namespace hostplatform
