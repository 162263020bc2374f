#include "switchsim/Switch.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "SimState.h"
#include "mgmt_protocol/ManagementHeader.h"
#include "platform/PlatformVariables.h"

namespace switchsim {

namespace {

constexpr uint32_t kMaxPorts = 224;
SimState *active = nullptr;

// Empties a record and gives its memory back.
template <typename Record>
void release(Record &record) {
    Record().swap(record);
}

bool aimedAt(const FilterTarget &target, const Filter &filter) {
    return target.port.value_or(filter.port) == filter.port &&
           target.vlan.value_or(filter.vlan) == filter.vlan;
}

}  // namespace

SimState &activeSim() {
    if (active == nullptr) {
        std::fputs("switchsim: a platform call was made while no simulated switch exists\n", stderr);
        std::abort();
    }
    return *active;
}

void FailurePlan::add(std::string_view call, int32_t result, uint32_t times, const FilterTarget &target) {
    planned_.insert_or_assign(std::string(call), Planned{result, times, target});
}

std::optional<int32_t> FailurePlan::take(std::string_view call, const Filter &filter) {
    const auto found = planned_.find(call);
    if (found == planned_.end() || found->second.times == 0 || !aimedAt(found->second.target, filter)) {
        return std::nullopt;
    }
    --found->second.times;
    return found->second.result;
}

void FailurePlan::clear() {
    planned_.clear();
}

Switch::Switch(const SwitchConfig &config) : state_(std::make_unique<SimState>()) {
    if (active != nullptr) {
        throw std::logic_error("switchsim: only one simulated switch may exist at a time");
    }
    if (config.portCount == 0 || config.portCount > kMaxPorts) {
        throw std::invalid_argument("switchsim: a switch has 1 to 224 ports");
    }
    state_->config = config;
    gul_max_port_num = config.portCount;
    std::memset(g_smdMsgRecvBuffer, 0, sizeof g_smdMsgRecvBuffer);
    active = state_.get();
}

Switch::~Switch() {
    active = nullptr;
    gul_max_port_num = 0;
}

void Switch::setModuleLogLevel(uint32_t moduleId, uint32_t highestLevel) {
    state_->moduleLevels[moduleId] = highestLevel;
}

void Switch::echoConsole(bool on) {
    state_->echoConsole = on;
}

void Switch::failMsgInit(int32_t result) {
    state_->failures.add("vosMsgInit", result, 1);
}

void Switch::failPacketRegistration(std::string_view call, int32_t result, uint32_t times) {
    if (call != "smdVDPktRegister" && call != "smdVDPktRegRunning") {
        throw std::invalid_argument("switchsim: not a packet registration call: " + std::string(call));
    }
    state_->failures.add(call, result, times);
}

void Switch::failAllocations(uint32_t times) {
    state_->failures.add("vosCalloc", 0, times);
}

void Switch::failFilterCall(std::string_view function, int32_t result, uint32_t times,
                            const FilterTarget &target) {
    if (!function.starts_with("FRM_")) {
        throw std::invalid_argument("switchsim: not a filter service call: " + std::string(function));
    }
    state_->failures.add(function, result, times, target);
}

void Switch::queueMessage(Bytes message) {
    if (message.size() > SMD_MSG_RECV_BUFFER_SIZE) {
        throw std::invalid_argument("switchsim: a management message is at most 7712 bytes");
    }
    state_->events.emplace_back(MessageEvent{std::move(message)});
}

void Switch::queueRemoteCall(uint32_t callNumber, const std::vector<Bytes> &arguments) {
    queueMessage(mgmt::encodeRemoteCall(callNumber, arguments));
}

void Switch::queueReceiveFailure(int32_t result) {
    state_->events.emplace_back(ReceiveFailureEvent{result});
}

void Switch::queueTimerTicks(uint32_t count) {
    state_->events.insert(state_->events.end(), count, TimerTickEvent{});
}

void Switch::queueLinkChange(uint32_t port, uint32_t status) {
    state_->events.emplace_back(LinkChangeEvent{port, status});
}

void Switch::queueFrame(uint32_t port, uint32_t vlan, Bytes frame, uint16_t frameKind) {
    state_->events.emplace_back(FrameEvent{port, vlan, std::move(frame), frameKind});
}

void Switch::queueRunningConfigRequest(uint32_t capacity) {
    state_->events.emplace_back(RunningConfigEvent{capacity});
}

void Switch::advanceClockOnEachRead(uint32_t seconds) {
    state_->secondsPerClockRead = seconds;
}

void Switch::clearFaults() {
    state_->failures.clear();
}

void Switch::clearRecords() {
    SimState &sim = *state_;
    release(sim.lifecycle);
    release(sim.registrationCalls);
    release(sim.switchedFrames);
    release(sim.macLookups);
    release(sim.sentFrames);
    release(sim.filterCalls);
    release(sim.remoteCallDebugLines);
    release(sim.replies);
    release(sim.console);
    release(sim.syslog);
    release(sim.runningConfigAnswers);
}

bool Switch::idle() const {
    return state_->events.empty();
}

std::optional<int> Switch::runMain(int (*main)(int, char **), const std::vector<std::string> &arguments) {
    std::vector<std::string> storage(arguments);
    std::vector<char *> argv;
    argv.reserve(storage.size() + 1);
    for (std::string &argument : storage) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    const SendCheckScope scope(state_->sendCheck, SendCheck::always);
    try {
        return main(static_cast<int>(storage.size()), argv.data());
    } catch (const QueueDrained &) {
        return std::nullopt;
    }
}

void Switch::runUntilIdle(void (*serveNextMessage)()) {
    const SendCheckScope scope(state_->sendCheck, SendCheck::always);
    try {
        while (!idle()) {
            serveNextMessage();
        }
    } catch (const QueueDrained &) {
        // The last events were callbacks; the daemon is waiting for its next message.
    }
}

const std::vector<std::string> &Switch::lifecycleCalls() const {
    return state_->lifecycle;
}
const std::vector<PacketRegistration> &Switch::packetRegistrations() const {
    return state_->registrationCalls;
}
const std::vector<FilterCall> &Switch::filterCalls() const {
    return state_->filterCalls;
}
std::vector<Filter> Switch::installedFilters() const {
    return {state_->installedFilters.begin(), state_->installedFilters.end()};
}
const std::vector<SyslogLine> &Switch::syslogLines() const {
    return state_->syslog;
}
const std::vector<std::string> &Switch::consoleLines() const {
    return state_->console;
}
const std::vector<Reply> &Switch::replies() const {
    return state_->replies;
}
uint32_t Switch::remoteCallsServed() const {
    return state_->remoteCallsServed;
}
const std::vector<RemoteCallDebugLine> &Switch::remoteCallDebugLines() const {
    return state_->remoteCallDebugLines;
}
const std::vector<RunningConfigAnswer> &Switch::runningConfigAnswers() const {
    return state_->runningConfigAnswers;
}
const std::vector<SwitchedFrame> &Switch::switchedFrames() const {
    return state_->switchedFrames;
}
void Switch::clearInstalledFilters() {
    state_->installedFilters.clear();
}
void Switch::keepAddressFilters(bool keep) {
    state_->keepAddressFilters = keep;
}

uint64_t Switch::addressFilterCallCount() const {
    return state_->addressFilterCallCount;
}

uint32_t Switch::upSeconds() const {
    return state_->upSeconds;
}

}  // namespace switchsim
