#pragma once
// The state of the simulated switch that the platform calls act on.

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/RmWrapApi.h"
#include "platform/SmdPacketApi.h"
#include "platform/VosApi.h"
#include "switchsim/Switch.h"

namespace switchsim {

struct MessageEvent {
    Bytes message;
};
struct ReceiveFailureEvent {
    int32_t result;
};
struct TimerTickEvent {};
struct LinkChangeEvent {
    uint32_t port;
    uint32_t status;
};
struct FrameEvent {
    uint32_t port;
    uint32_t vlan;
    Bytes frame;
    uint16_t kind;
};
struct RunningConfigEvent {
    uint32_t capacity;
};
using Event = std::variant<MessageEvent, ReceiveFailureEvent, TimerTickEvent, LinkChangeEvent, FrameEvent,
                           RunningConfigEvent>;

// Thrown out of vosMsgRecv when no event is left: the real wait would never end, so the simulation ends
// the daemon's turn instead.
struct QueueDrained {};

// Results that named platform calls answer instead of doing their work.
class FailurePlan {
  public:
    void add(std::string_view call, int32_t result, uint32_t times);
    // The result to answer for this call of `call`, when one is planned.
    std::optional<int32_t> take(std::string_view call);
    void clear();

  private:
    struct Planned {
        int32_t result;
        uint32_t times;
    };
    std::map<std::string, Planned, std::less<>> planned_;
};

struct ActiveRegistration {
    PktMatchDescriptor descriptor;
    uint32_t mode;
    PktRecvCallback callback;
};

// Where the MAC table learned an address: on a port, or on a link-aggregation group.
struct MacEntry {
    bool onAggregation = false;
    uint32_t portOrAggregation = 0;
};

struct SimState {
    SwitchConfig config;
    std::map<uint32_t, uint32_t> moduleLevels;
    bool echoConsole = false;
    FailurePlan failures;
    std::deque<Event> events;

    // Process, queue and hooks.
    std::vector<std::string> lifecycle;
    std::string processName;
    std::optional<uint32_t> queueHandle;
    uint32_t deliveredMessageLength = 0;
    uint32_t upSeconds = 0;
    uint32_t secondsPerClockRead = 0;
    VosBldrunCallback runningConfigCallback = nullptr;
    VosTimerCallback timerCallback = nullptr;
    LinkChangeCallback linkChangeCallback = nullptr;

    // Packet service.
    std::vector<PacketRegistration> registrationCalls;
    std::vector<ActiveRegistration> registrations;
    std::vector<SwitchedFrame> switchedFrames;

    // VLANs, link aggregation, the MAC table and port names.
    std::map<uint32_t, std::vector<uint32_t>> vlans;
    std::map<uint32_t, uint32_t> aggregationOfPort;
    std::set<uint32_t> aggregations;
    std::map<std::pair<MacAddress, uint32_t>, MacEntry> macTable;
    std::map<uint32_t, std::string> portNames;
    std::vector<MacLookup> macLookups;

    // Frames the daemon sent.
    bool keepSentFrames = true;
    std::vector<SentFrame> sentFrames;
    uint64_t sentFrameCount = 0;

    // Filter service.
    std::vector<FilterCall> filterCalls;
    std::set<std::string> installedFilters;
    bool keepAddressFilters = true;
    uint64_t addressFilterCallCount = 0;

    // Remote-call wrapper service.
    std::vector<std::pair<uint32_t, uint32_t>> remoteCallRanges;
    std::map<uint32_t, RmWrapper> wrappers;
    uint32_t remoteCallsServed = 0;
    std::vector<RemoteCallDebugLine> remoteCallDebugLines;

    // What the daemon answered and printed.
    std::vector<Reply> replies;
    std::vector<std::string> console;
    std::vector<SyslogLine> syslog;
    std::vector<RunningConfigAnswer> runningConfigAnswers;
};

// The state of the Switch that exists now; a platform call made without one is a broken test and aborts.
SimState &activeSim();

// Hands a frame to the packet registration that matches it, or switches it in hardware.
void deliverFrame(SimState &sim, const FrameEvent &event);

}  // namespace switchsim
