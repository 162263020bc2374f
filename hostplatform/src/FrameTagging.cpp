#include "FrameTagging.h"

#include <algorithm>

namespace hostplatform {
namespace {

constexpr size_t kMacPairBytes = 12;
constexpr uint8_t kVlanTpidHigh = 0x81;
constexpr uint8_t kVlanTpidLow = 0x00;

}  // namespace

std::span<const uint8_t> egressFrame(std::span<const uint8_t> frame, uint16_t vlan, bool untagged,
                                     std::vector<uint8_t> &scratch) {
    if (frame.size() < kMacPairBytes) {
        return {};
    }
    if (untagged) {
        return frame;
    }
    scratch.assign(frame.begin(), frame.begin() + kMacPairBytes);
    scratch.insert(scratch.end(), {kVlanTpidHigh, kVlanTpidLow, static_cast<uint8_t>(vlan >> 8U & 0x0FU),
                                   static_cast<uint8_t>(vlan & 0xFFU)});
    scratch.insert(scratch.end(), frame.begin() + kMacPairBytes, frame.end());
    return scratch;
}

}  // namespace hostplatform
