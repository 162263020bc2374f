// The send calls of the simulated packet service: each frame the daemon sends out of a port, an aggregation
// group or a port list is recorded with where it went and held to the wire format (SendCheck), or only
// counted when the test keeps no frames.

#include <cstdio>
#include <cstdlib>
#include <span>
#include <stdexcept>
#include <string>

#include "SimState.h"
#include "platform/SmdPacketApi.h"
#include "platform_support/PortListBits.h"
#include "switchsim/FrameCheck.h"

namespace switchsim {
namespace {

constexpr int32_t kFailed = -1;

// Where one send goes: a single port value, or a port list.
struct Destination {
    bool toPortList = false;
    uint32_t port = 0;
    const PortList *list = nullptr;

    [[nodiscard]] bool valid() const { return !toPortList || list != nullptr; }
    [[nodiscard]] std::vector<uint32_t> ports() const {
        return toPortList ? platform_support::portsOf(*list) : std::vector<uint32_t>{port};
    }
};

// Aborts when the daemon sends a broken frame where it had no broken frame to pass on (SendCheck).
void checkSent(const SimState &sim, const char *call, std::span<const uint8_t> frame) {
    if (sim.sendCheck != SendCheck::always && sim.sendCheck != SendCheck::handlingSoundFrame) {
        return;
    }
    const auto fault = sentFrameFault(frame);
    if (!fault) {
        return;
    }
    std::fprintf(stderr, "switchsim: the daemon sent a broken frame: %s\n", fault->c_str());
    std::fprintf(
        stderr, "switchsim: %s, %s; the %zu bytes sent:", call,
        sim.sendCheck == SendCheck::always ? "while handling no frame" : "while handling a sound frame",
        frame.size());
    for (const uint8_t byte : frame) {
        std::fprintf(stderr, " %02x", byte);
    }
    std::fputs("\n", stderr);
    std::abort();
}

// Serves one send: a planned failure, a refused argument, or the frame counted and, when frames are kept,
// checked and recorded. Only a kept frame costs an allocation or a check.
int32_t send(const char *call, const uint8_t *frame, uint32_t length, const PktRecvInfo *info,
             uint16_t vlanId, const Destination &destination, uint32_t flags) {
    auto &sim = activeSim();
    if (const auto failure = sim.failures.take(call)) {
        return *failure;
    }
    if (frame == nullptr || info == nullptr || !destination.valid()) {
        return kFailed;
    }
    ++sim.sentFrameCount;
    if (sim.keepSentFrames) {
        checkSent(sim, call, {frame, length});
        sim.sentFrames.push_back({vlanId, destination.ports(), destination.toPortList,
                                  Bytes(frame, frame + length), *info, flags});
    }
    return 0;
}

}  // namespace

void Switch::failFrameSend(std::string_view call, int32_t result, uint32_t times) {
    if (call != "smdVDPktSendPort" && call != "smdVDPktSendPortlist") {
        throw std::invalid_argument("switchsim: not a frame send call: " + std::string(call));
    }
    state_->failures.add(call, result, times);
}

void Switch::keepSentFrames(bool keep) {
    state_->keepSentFrames = keep;
}

const std::vector<SentFrame> &Switch::sentFrames() const {
    return state_->sentFrames;
}

uint64_t Switch::sentFrameCount() const {
    return state_->sentFrameCount;
}

void Switch::clearSentFrames() {
    state_->sentFrames.clear();
    state_->sentFrameCount = 0;
}

}  // namespace switchsim

extern "C" {

int32_t smdVDPktSendPort(const uint8_t *frame, uint32_t length, const PktRecvInfo *info, uint16_t vlanId,
                         uint32_t portIndex, uint32_t flags) {
    return switchsim::send(__func__, frame, length, info, vlanId, {false, portIndex, nullptr}, flags);
}

int32_t smdVDPktSendPortlist(const uint8_t *frame, uint32_t length, const PktRecvInfo *info, uint16_t vlanId,
                             const PortList *ports, uint32_t flags) {
    return switchsim::send(__func__, frame, length, info, vlanId, {true, 0, ports}, flags);
}
}
