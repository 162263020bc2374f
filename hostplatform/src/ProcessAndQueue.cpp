// Process start, the management queue, the timer and the clock of the host platform. Everything the daemon
// is told of (frames, timer ticks, link changes, running-configuration requests) is served from inside its
// wait in vosMsgRecv, on its own thread, one at a time; a stop signal, or a wait that fails, ends the process
// there through one path (stopProcess), after the executable's stop work and taking the daemon's filters
// out of the bridge.

#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <sys/timerfd.h>
#include <syslog.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <utility>

#include "AgentX.h"
#include "DropLog.h"
#include "HostLifecycle.h"
#include "HostState.h"
#include "MgmtReplies.h"
#include "NftFilterService.h"
#include "platform/PlatformVariables.h"
#include "platform/VosApi.h"

namespace hostplatform {
namespace {

constexpr uint32_t kQueueHandle = 1;
constexpr uint32_t kTimerHandle = 1;
constexpr int32_t kFailed = -1;
// Ticks missed while the daemon was busy are made up, but never more than a minute's worth at once.
constexpr uint64_t kMostTicksMadeUp = 60;
// The largest request taken: configuration text of a few thousand lines.
constexpr size_t kLargestRequest = 1U << 20U;

// What a reply address holds on this platform: the connection the request came on.
struct ReplyTo {
    int connection;
};
static_assert(sizeof(ReplyTo) <= sizeof(VosMsgReplyAddress::opaque));

bool watch(int descriptor) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = descriptor;
    return epoll_ctl(host().events, EPOLL_CTL_ADD, descriptor, &event) == 0;
}

bool start(HostState &state, std::string &error) {
    auto settings = loadSettings(error);
    if (!settings) {
        return false;
    }
    state.settings = std::move(*settings);
    if (state.settings.trace) {
        // A test bed without a system log still sees the trace on standard error.
        openlog(state.processName.c_str(), LOG_PID | LOG_PERROR, LOG_DAEMON);
    }
    state.bridge.name = state.settings.bridge;
    if (!state.netlink.open(state.bridge, error) || !nftOpen(error) || !state.packets.open(error)) {
        return false;
    }
    if (nftTableServesEveryBridge()) {
        logLine(LOG_WARNING, "the kernel cannot limit nftables rules to bridge " + state.bridge.name +
                                 ": the filters apply to every bridge of this network namespace");
    }
    gul_max_port_num = static_cast<uint32_t>(state.bridge.ports.size());
    // A peer that went away is told by the send that failed, not by a signal that ends the process.
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t handled;
    sigemptyset(&handled);
    for (const int signal : {SIGTERM, SIGINT, SIGQUIT, SIGHUP}) {
        sigaddset(&handled, signal);
    }
    sigprocmask(SIG_BLOCK, &handled, nullptr);
    state.signals = signalfd(-1, &handled, SFD_CLOEXEC | SFD_NONBLOCK);
    state.events = epoll_create1(EPOLL_CLOEXEC);
    if (state.signals < 0 || state.events < 0 || !watch(state.signals) ||
        !watch(state.netlink.noticeDescriptor()) || !watch(state.packets.descriptor())) {
        error = std::string("event set: ") + std::strerror(errno);
        return false;
    }
    return true;
}

double secondsNow() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

void handleFrames(HostState &state) {
    const double start = secondsNow();
    state.framesHandled += state.packets.drain(deliverFrame, nullptr);
    state.secondsHandling += secondsNow() - start;
}

[[noreturn]] void stopProcess(HostState &state, int code) {
    for (const auto &work : state.stopWork) {
        work();
    }
    state.framesDropped += state.packets.droppedSinceLastAsked();
    char rate[160];
    std::snprintf(
        rate, sizeof rate,
        "frames handled: %llu in %.3f s of work (%.0f a second); dropped by the ring: %llu",
        static_cast<unsigned long long>(state.framesHandled), state.secondsHandling,
        state.secondsHandling > 0 ? static_cast<double>(state.framesHandled) / state.secondsHandling : 0.0,
        static_cast<unsigned long long>(state.framesDropped));
    logLine(LOG_INFO, rate);
    std::fprintf(stderr, "%s: %s\n", state.processName.c_str(), rate);
    logLine(LOG_INFO, "stopping; the filters of the daemon are taken out of bridge " + state.bridge.name);
    nftClose();
    state.mgmt.close();
    std::exit(code);
}

// A stop signal ends the process; SIGHUP runs the executable's work for it.
void serveSignal(HostState &state) {
    signalfd_siginfo signal{};
    if (read(state.signals, &signal, sizeof signal) != sizeof signal) {
        return;
    }
    if (signal.ssi_signo != SIGHUP) {
        stopProcess(state, EXIT_SUCCESS);
    }
    logLine(LOG_NOTICE, "SIGHUP: reloading");
    for (const auto &work : state.hangupWork) {
        work();
    }
}

void tick(HostState &state) {
    uint64_t expirations = 0;
    if (read(state.timerTicks, &expirations, sizeof expirations) != sizeof expirations ||
        state.timer == nullptr) {
        return;
    }
    for (uint64_t i = 0; i < std::min(expirations, kMostTicksMadeUp); ++i) {
        state.timer();
    }
    for (const auto &work : state.secondWork) {
        work();
    }
    logUntoldDrops();
    state.mgmt.closeIdle(secondsNow());
}

void serveNotices(HostState &state) {
    const bool portsMayHaveChanged = state.netlink.serveNotices(state.bridge, [&state](LinkChange change) {
        gul_max_port_num = static_cast<uint32_t>(state.bridge.ports.size());
        if (state.linkChange != nullptr) {
            state.linkChange(change.port, change.status);
        }
    });
    // The filters follow ports that were renamed, changed their PVID, left or came back; the MAC table's
    // notices, which a flood brings by the thousand, cannot change a port.
    if (portsMayHaveChanged) {
        // A port that joins with its link down is a port all the same, numbered after the others.
        gul_max_port_num = static_cast<uint32_t>(state.bridge.ports.size());
        nftRefreshPorts();
    }
}

// The filter changes of a turn go to the kernel in one transaction before the daemon waits again or answers
// the request that asked for them, so that what a reply reports is in force when it arrives.
void commitFilters() {
    if (const size_t refused = nftCommit(); refused > 0) {
        logLine(LOG_ERR, "nftables refused " + std::to_string(refused) +
                             " filter changes; the filters they asked for are not in force");
    }
}

// A connection whose reply cannot be sent has lost its peer and is closed. The filters the request changed
// are in force before the reply leaves.
void answerOrDrop(HostState &state, int connection, std::span<const uint8_t> reply) {
    commitFilters();
    if (state.mgmt.reply(connection, reply) != 0) {
        state.mgmt.drop(connection);
    }
}

// Serves a request of a connection that the platform answers itself; answers the length of a request that
// is the daemon's (now in `buffer`), or 0. Every message is answered: one the daemon is not to see gets
// its header back with a result that says why.
int32_t serveConnection(HostState &state, int connection, std::span<uint8_t> buffer) {
    const long length = state.mgmt.receive(connection, state.request, kLargestRequest, secondsNow());
    if (length == 0) {
        state.mgmt.drop(connection);
        return 0;
    }
    if (length < 0) {
        return 0;
    }
    const auto user = state.mgmt.userOf(connection);
    state.channel = user ? "ctl (uid " + std::to_string(*user) + ")" : "ctl";
    if (static_cast<size_t>(length) > state.request.size()) {
        answerOrDrop(state, connection, refusedReply(state.request));  // larger than any request can be
        return 0;
    }
    if (mgmt::messageVersion(state.request) != mgmt::kProtocolVersion) {
        answerOrDrop(state, connection, refusedReply(state.request, mgmt::kWrongVersion));
        return 0;
    }
    if (const auto answer = platformReply(state.request, state)) {
        answerOrDrop(state, connection, *answer);
        return 0;
    }
    // The daemon serves remote calls alone, and only those whose arguments have the sizes its wrappers
    // read and write; any other message would get no reply, or be read as zeros where it falls short.
    const auto verdict = mgmt::screenRemoteCall(state.request);
    if (state.request.size() > buffer.size() ||
        mgmt::messageType(state.request) != mgmt::kRemoteCallMessage ||
        verdict != mgmt::CallVerdict::kServe) {
        answerOrDrop(
            state, connection,
            refusedReply(state.request, verdict == mgmt::CallVerdict::kWrongSize ? mgmt::kWrongArgumentSize
                                                                                 : mgmt::kRefused));
        return 0;
    }
    // Nothing of an earlier request or reply, perhaps another user's, stays behind this one, and the result
    // reads as a refusal until the wrapper service writes the call's own.
    std::fill(std::copy(state.request.begin(), state.request.end(), buffer.begin()), buffer.end(), 0);
    mgmt::storeAt(buffer, mgmt::kResultOffset, mgmt::kRefused);
    return static_cast<int32_t>(length);
}

}  // namespace

HostState &host() {
    static HostState state;
    return state;
}

const HostSettings &hostSettings() {
    return host().settings;
}

void everySecond(std::function<void()> work) {
    host().secondWork.push_back(std::move(work));
}

void atStop(std::function<void()> work) {
    host().stopWork.push_back(std::move(work));
}

void onHangup(std::function<void()> work) {
    host().hangupWork.push_back(std::move(work));
}

void answerRequest(uint16_t type, RequestAnswer answer) {
    host().requestAnswers[type] = std::move(answer);
}

const std::string &requestChannel() {
    return host().channel;
}

void reportReady() {
    commitFilters();
    sd_notify(0, "READY=1");
}

}  // namespace hostplatform

using hostplatform::host;

extern "C" {

int32_t smdProcessInit(const char *programPath) {
    auto &state = host();
    const std::string path = programPath != nullptr ? programPath : "dhcp6snooping";
    state.processName = path.substr(path.find_last_of('/') + 1);
    openlog(state.processName.c_str(), LOG_PID, LOG_DAEMON);
    std::string error;
    state.ready = hostplatform::start(state, error);
    if (!state.ready) {
        hostplatform::logLine(LOG_ERR, "cannot start: " + error);
        std::fprintf(stderr, "%s: cannot start: %s\n", state.processName.c_str(), error.c_str());
        return hostplatform::kFailed;
    }
    hostplatform::logLine(LOG_INFO, "serving bridge " + state.bridge.name + " with " +
                                        std::to_string(gul_max_port_num) + " ports");
    return 0;
}

const char *vosProcessGetName(void) {
    return host().processName.c_str();
}

int32_t vosMsgInit(const char *queueName, uint32_t maxMessages, uint32_t *queueHandle) {
    auto &state = host();
    std::string error;
    if (!state.ready || queueName == nullptr || queueHandle == nullptr) {
        return hostplatform::kFailed;
    }
    if (!state.mgmt.open(state.settings.socketPath, state.settings.socketGroup, static_cast<int>(maxMessages),
                         error) ||
        !hostplatform::watch(state.mgmt.listenDescriptor())) {
        hostplatform::logLine(LOG_ERR, error);
        std::fprintf(stderr, "%s: %s\n", state.processName.c_str(), error.c_str());
        return hostplatform::kFailed;
    }
    *queueHandle = hostplatform::kQueueHandle;
    return 0;
}

int32_t vosMsgRecv(uint32_t queueHandle, void *buffer, uint32_t bufferSize, int32_t /*timeoutMs*/,
                   VosMsgReplyAddress *from) {
    auto &state = host();
    if (queueHandle != hostplatform::kQueueHandle || buffer == nullptr) {
        return hostplatform::kFailed;
    }
    const std::span<uint8_t> into(static_cast<uint8_t *>(buffer), bufferSize);
    std::array<epoll_event, 16> ready{};
    for (;;) {
        hostplatform::commitFilters();
        const int count = epoll_wait(state.events, ready.data(), static_cast<int>(ready.size()),
                                     hostplatform::agentxWaitLimit(state.events));
        hostplatform::agentxRunTimers();
        if (count < 0 && errno != EINTR) {
            hostplatform::logLine(LOG_ERR, std::string("waiting for events: ") + std::strerror(errno));
            hostplatform::stopProcess(state, EXIT_FAILURE);
        }
        for (int i = 0; i < count; ++i) {
            const int descriptor = ready[static_cast<size_t>(i)].data.fd;
            if (descriptor == state.packets.descriptor()) {
                hostplatform::handleFrames(state);
            } else if (descriptor == state.netlink.noticeDescriptor()) {
                hostplatform::serveNotices(state);
            } else if (descriptor == state.timerTicks) {
                hostplatform::tick(state);
            } else if (descriptor == state.signals) {
                hostplatform::serveSignal(state);
            } else if (descriptor == state.mgmt.listenDescriptor()) {
                if (const int connection = state.mgmt.accept(hostplatform::secondsNow()); connection >= 0) {
                    hostplatform::watch(connection);
                }
            } else if (hostplatform::agentxServe(descriptor)) {
                continue;
            } else if (const int32_t length = hostplatform::serveConnection(state, descriptor, into);
                       length > 0) {
                // Level-triggered: whatever else was ready is reported again by the next wait.
                if (from != nullptr) {
                    *from = VosMsgReplyAddress{};
                    const hostplatform::ReplyTo to{descriptor};
                    std::memcpy(from->opaque, &to, sizeof to);
                }
                state.lastRequestLength = static_cast<size_t>(length);
                return length;
            }
        }
    }
}

int32_t vosMsgResp(uint32_t queueHandle, int32_t /*result*/, const void *message, uint32_t length,
                   const VosMsgReplyAddress *to) {
    if (queueHandle != hostplatform::kQueueHandle || message == nullptr || to == nullptr) {
        return hostplatform::kFailed;
    }
    hostplatform::commitFilters();
    hostplatform::ReplyTo replyTo{};
    std::memcpy(&replyTo, to->opaque, sizeof replyTo);
    // A remote call's reply is its request with the outputs written in, never longer: whatever length its
    // header declares, nothing beyond what the caller sent goes back.
    const size_t sent = std::min<size_t>(length, host().lastRequestLength);
    return host().mgmt.reply(replyTo.connection, {static_cast<const uint8_t *>(message), sent});
}

int32_t vosMsgRegisterBldrun(VosBldrunCallback callback) {
    host().runningConfig = callback;
    return 0;
}

int32_t vosTimerRegister(uint32_t periodic, uint32_t periodMs, VosTimerCallback callback,
                         uint32_t *timerHandle, uint32_t /*flags*/) {
    auto &state = host();
    if (callback == nullptr || periodMs == 0 || state.timerTicks >= 0) {
        return hostplatform::kFailed;
    }
    state.timerTicks = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
    itimerspec every{};
    every.it_value.tv_sec = periodMs / 1000;
    every.it_value.tv_nsec = static_cast<long>(periodMs % 1000) * 1000000L;
    if (periodic != 0) {
        every.it_interval = every.it_value;
    }
    if (state.timerTicks < 0 || timerfd_settime(state.timerTicks, 0, &every, nullptr) != 0 ||
        !hostplatform::watch(state.timerTicks)) {
        return hostplatform::kFailed;
    }
    state.timer = callback;
    if (timerHandle != nullptr) {
        *timerHandle = hostplatform::kTimerHandle;
    }
    return 0;
}

uint32_t vosUpSeconds(void) {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<uint32_t>(now.tv_sec);
}

int32_t vosPrintf(const char *format, ...) {
    va_list args;
    va_start(args, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start has run just above
    const int written = std::vfprintf(stderr, format, args);
    va_end(args);
    std::fflush(stderr);
    return written;
}

void *vosCalloc(size_t count, size_t size) {
    return std::calloc(count, size);
}

void vosFree(void *memory) {
    std::free(memory);
}
}
