// The process, message queue, timer and clock calls of the simulated switch. Queued events are delivered
// from inside vosMsgRecv.

#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "SimState.h"
#include "platform/VosApi.h"

namespace switchsim {
namespace {

constexpr uint32_t kQueueHandle = 7;
constexpr uint32_t kTimerHandle = 1;
constexpr int32_t kFailed = -1;

std::string call(const char *name, const std::string &arguments) {
    return std::string(name) + "(" + arguments + ")";
}

void answerRunningConfig(SimState &sim, uint32_t capacity) {
    if (sim.runningConfigCallback == nullptr) {
        return;
    }
    // One byte more than offered, so that even a zero capacity gives the callback a terminated text.
    std::vector<char> text(static_cast<size_t>(capacity) + 1, '\0');
    uint32_t remaining = capacity;
    const uint32_t result = sim.runningConfigCallback(text.data(), &remaining);
    sim.runningConfigAnswers.push_back({result, std::string(text.data()), remaining});
}

// Runs one event that does not end the wait. The daemon is in the switch's hands while it runs, so what it
// sends is checked (a frame delivered narrows that to sound frames).
void runCallbackEvent(SimState &sim, const Event &event) {
    const SendCheckScope scope(sim.sendCheck, SendCheck::always);
    std::visit(
        [&sim](const auto &e) {
            using E = std::decay_t<decltype(e)>;
            if constexpr (std::is_same_v<E, TimerTickEvent>) {
                ++sim.upSeconds;
                if (sim.timerCallback != nullptr) {
                    sim.timerCallback();
                }
            } else if constexpr (std::is_same_v<E, LinkChangeEvent>) {
                if (sim.linkChangeCallback != nullptr) {
                    sim.linkChangeCallback(e.port, e.status);
                }
            } else if constexpr (std::is_same_v<E, FrameEvent>) {
                deliverFrame(sim, e);
            } else if constexpr (std::is_same_v<E, RunningConfigEvent>) {
                answerRunningConfig(sim, e.capacity);
            }
        },
        event);
}

}  // namespace
}  // namespace switchsim

using switchsim::activeSim;

extern "C" {

int32_t smdProcessInit(const char *programPath) {
    auto &sim = activeSim();
    const std::string path = programPath != nullptr ? programPath : "";
    sim.processName = path.substr(path.find_last_of('/') + 1);
    sim.lifecycle.push_back(switchsim::call("smdProcessInit", path));
    return 0;
}

const char *vosProcessGetName(void) {
    return activeSim().processName.c_str();
}

int32_t vosMsgInit(const char *queueName, uint32_t maxMessages, uint32_t *queueHandle) {
    auto &sim = activeSim();
    sim.lifecycle.push_back(switchsim::call(
        "vosMsgInit",
        std::string(queueName != nullptr ? queueName : "null") + ", " + std::to_string(maxMessages)));
    if (const auto failure = sim.failures.take("vosMsgInit")) {
        return *failure;
    }
    if (queueName == nullptr || queueHandle == nullptr) {
        return switchsim::kFailed;
    }
    sim.queueHandle = switchsim::kQueueHandle;
    *queueHandle = switchsim::kQueueHandle;
    return 0;
}

int32_t vosMsgRecv(uint32_t queueHandle, void *buffer, uint32_t bufferSize, int32_t /*timeoutMs*/,
                   VosMsgReplyAddress *from) {
    auto &sim = activeSim();
    if (sim.queueHandle != queueHandle || buffer == nullptr) {
        return switchsim::kFailed;
    }
    while (!sim.events.empty()) {
        switchsim::Event event = std::move(sim.events.front());
        sim.events.pop_front();
        if (const auto *failure = std::get_if<switchsim::ReceiveFailureEvent>(&event)) {
            return failure->result;
        }
        if (const auto *message = std::get_if<switchsim::MessageEvent>(&event)) {
            const auto length = static_cast<uint32_t>(message->message.size());
            if (length > bufferSize) {
                return switchsim::kFailed;
            }
            if (length != 0) {
                std::memcpy(buffer, message->message.data(), length);
            }
            if (from != nullptr) {
                *from = VosMsgReplyAddress{};
            }
            sim.deliveredMessageLength = length;
            return static_cast<int32_t>(length);
        }
        switchsim::runCallbackEvent(sim, event);
    }
    throw switchsim::QueueDrained{};
}

int32_t vosMsgResp(uint32_t queueHandle, int32_t result, const void *message, uint32_t length,
                   const VosMsgReplyAddress * /*to*/) {
    auto &sim = activeSim();
    if (sim.queueHandle != queueHandle || message == nullptr) {
        return switchsim::kFailed;
    }
    const auto *bytes = static_cast<const uint8_t *>(message);
    sim.replies.push_back({result, length, switchsim::Bytes(bytes, bytes + length)});
    return 0;
}

int32_t vosMsgRegisterBldrun(VosBldrunCallback callback) {
    auto &sim = activeSim();
    sim.lifecycle.emplace_back("vosMsgRegisterBldrun()");
    sim.runningConfigCallback = callback;
    return 0;
}

int32_t vosTimerRegister(uint32_t periodic, uint32_t periodMs, VosTimerCallback callback,
                         uint32_t *timerHandle, uint32_t flags) {
    auto &sim = activeSim();
    sim.lifecycle.push_back(switchsim::call(
        "vosTimerRegister",
        std::to_string(periodic) + ", " + std::to_string(periodMs) + ", " + std::to_string(flags)));
    sim.timerCallback = callback;
    if (timerHandle != nullptr) {
        *timerHandle = switchsim::kTimerHandle;
    }
    return 0;
}

uint32_t vosUpSeconds(void) {
    auto &sim = activeSim();
    sim.upSeconds += sim.secondsPerClockRead;
    return sim.upSeconds;
}
}
