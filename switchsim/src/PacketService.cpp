// The packet and port service of the simulated switch: packet registrations and the delivery of trapped
// frames, link-change registration and the ports that exist.

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "SimState.h"
#include "platform/SmdPacketApi.h"
#include "platform_support/FrameLayout.h"
#include "switchsim/FrameCheck.h"

namespace switchsim {

using namespace platform_support;  // NOLINT(google-build-using-namespace)
namespace {

// A registration mode with this bit set leaves the switch forwarding the matching frames itself.
constexpr uint32_t kModeSwitchForwards = 0x2;
constexpr int32_t kFailed = -1;

std::string describe(const char *call, uint32_t unit, const PktMatchDescriptor &descriptor, uint32_t mode) {
    return std::string(call) + "(" + std::to_string(unit) + ", udp " + std::to_string(descriptor.udpPort) +
           " index " + std::to_string(descriptor.registrationIndex) + ", mode " + std::to_string(mode) + ")";
}

PacketRegistration record(const char *call, uint32_t unit, const PktMatchDescriptor &descriptor,
                          uint32_t mode, bool withCallback) {
    PacketRegistration registration;
    registration.call = call;
    registration.unit = unit;
    std::memcpy(registration.descriptor.data(), &descriptor, sizeof descriptor);
    registration.mode = mode;
    registration.withCallback = withCallback;
    return registration;
}

ActiveRegistration *findRegistration(SimState &sim, const PktMatchDescriptor &descriptor) {
    const auto found = std::find_if(sim.registrations.begin(), sim.registrations.end(), [&](const auto &r) {
        return std::memcmp(&r.descriptor, &descriptor, sizeof descriptor) == 0;
    });
    return found != sim.registrations.end() ? &*found : nullptr;
}

}  // namespace

void deliverFrame(SimState &sim, const FrameEvent &event) {
    const auto layout = classifyFrame(event.frame);
    const auto registration =
        std::find_if(sim.registrations.begin(), sim.registrations.end(),
                     [&](const auto &r) { return layout && registrationMatches(r.descriptor, *layout); });
    if (registration == sim.registrations.end() || (registration->mode & kModeSwitchForwards) != 0) {
        sim.switchedFrames.push_back({event.port, event.vlan, event.frame});
    }
    if (registration == sim.registrations.end()) {
        return;
    }
    // The packet engine hands frames over 2 bytes past a 4-byte boundary, so that the IP header behind a
    // 14-byte Ethernet header is aligned. Storage from new[] is aligned for every fundamental type, so 2
    // bytes into it is such a place; the buffer ends where the frame ends, so that a read past the frame
    // is an overflow that AddressSanitizer reports.
    const auto storage = std::make_unique<uint8_t[]>(event.frame.size() + 2);
    uint8_t *frame = storage.get() + 2;
    std::memcpy(frame, event.frame.data(), event.frame.size());
    PktRecvTag tag{};
    tag.vlanId = event.vlan;
    tag.portIndex = event.port;
    // The frame is judged before the daemon sees it, since the daemon may change it in place. Without kept
    // frames (a benchmark) nothing is checked, so nothing is judged either.
    SendCheck check = SendCheck::off;
    if (sim.keepSentFrames) {
        check = frameFault(event.frame) ? SendCheck::handlingBrokenFrame : SendCheck::handlingSoundFrame;
    }
    const SendCheckScope scope(sim.sendCheck, check);
    registration->callback(frame, static_cast<uint32_t>(event.frame.size()), tag,
                           recvInfoFor(*layout, event.kind));
}

}  // namespace switchsim

using switchsim::activeSim;

extern "C" {

int32_t smdVDPktRegister(uint32_t unit, const PktMatchDescriptor *descriptor, uint32_t mode,
                         PktRecvCallback callback) {
    auto &sim = activeSim();
    if (descriptor == nullptr) {
        return switchsim::kFailed;
    }
    sim.lifecycle.push_back(switchsim::describe("smdVDPktRegister", unit, *descriptor, mode));
    auto registration = switchsim::record("smdVDPktRegister", unit, *descriptor, mode, callback != nullptr);
    if (const auto failure = sim.failures.take("smdVDPktRegister")) {
        registration.result = *failure;
    } else if (callback == nullptr || switchsim::findRegistration(sim, *descriptor) != nullptr) {
        registration.result = switchsim::kFailed;
    } else {
        sim.registrations.push_back({*descriptor, mode, callback});
    }
    sim.registrationCalls.push_back(registration);
    return registration.result;
}

int32_t smdVDPktRegRunning(uint32_t unit, const PktMatchDescriptor *descriptor, uint32_t mode) {
    auto &sim = activeSim();
    if (descriptor == nullptr) {
        return switchsim::kFailed;
    }
    sim.lifecycle.push_back(switchsim::describe("smdVDPktRegRunning", unit, *descriptor, mode));
    auto registration = switchsim::record("smdVDPktRegRunning", unit, *descriptor, mode, false);
    if (const auto failure = sim.failures.take("smdVDPktRegRunning")) {
        registration.result = *failure;
    } else if (auto *active = switchsim::findRegistration(sim, *descriptor)) {
        active->mode = mode;
    } else {
        registration.result = switchsim::kFailed;
    }
    sim.registrationCalls.push_back(registration);
    return registration.result;
}

int32_t smdVDLinktrapRegPort(uint32_t unit, uint32_t flags, LinkChangeCallback callback) {
    auto &sim = activeSim();
    sim.lifecycle.push_back("smdVDLinktrapRegPort(" + std::to_string(unit) + ", " + std::to_string(flags) +
                            ")");
    sim.linkChangeCallback = callback;
    return 0;
}

int32_t smdVDPortExist(uint32_t portIndex) {
    const auto &config = activeSim().config;
    return portIndex >= 1 && portIndex <= config.portCount &&
                   std::find(config.absentPorts.begin(), config.absentPorts.end(), portIndex) ==
                       config.absentPorts.end()
               ? 1
               : 0;
}
}
