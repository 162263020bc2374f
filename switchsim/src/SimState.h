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

#include "mgmt_protocol/WrapperTable.h"
#include "platform/RmWrapApi.h"
#include "platform/SmdPacketApi.h"
#include "platform/VosApi.h"
#include "platform_support/MibEngine.h"
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
    // A target is for filter service calls only (Switch::failFilterCall).
    void add(std::string_view call, int32_t result, uint32_t times, const FilterTarget &target = {});
    // The result to answer for this call of `call`, when one is planned and, for a filter service call, is
    // aimed at the `filter` it asks for.
    std::optional<int32_t> take(std::string_view call, const Filter &filter = {});
    void clear();

  private:
    struct Planned {
        int32_t result;
        uint32_t times;
        FilterTarget target;
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

// The user's numbering of a port, as smdVDPortSnmpToUser answers it.
struct UserPortNumber {
    uint32_t slot = 0;
    uint32_t subslot = 0;
    uint32_t port = 0;
};

// Whether a frame the daemon sends now must be sound (switchsim/FrameCheck.h). The daemon passes on
// whatever it was given, so a frame it sends can only be held to the wire format when the frame it is
// handling was sound.
enum class SendCheck : uint8_t {
    // The daemon was called by someone other than switchsim (a test or a fuzzer calling its receive
    // callback directly), or sent frames are not kept: what it is handling is unknown, nothing is checked.
    off,
    // switchsim is running the daemon and delivering no frame: whatever it sends is its own and is checked.
    always,
    // Inside the delivery of a sound frame: what the daemon sends must be sound too.
    handlingSoundFrame,
    // Inside the delivery of a broken frame, which the daemon may pass on as it is.
    handlingBrokenFrame,
};

// Sets the send check for as long as it lives and then puts the earlier one back, whichever way the scope
// is left (a drained queue leaves by an exception).
class SendCheckScope {
  public:
    SendCheckScope(SendCheck &check, SendCheck during) : check_(check), before_(check) { check_ = during; }
    ~SendCheckScope() { check_ = before_; }
    SendCheckScope(const SendCheckScope &) = delete;
    SendCheckScope &operator=(const SendCheckScope &) = delete;
    SendCheckScope(SendCheckScope &&) = delete;
    SendCheckScope &operator=(SendCheckScope &&) = delete;

  private:
    SendCheck &check_;
    SendCheck before_;
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

    // Facts about the switch itself, for the relay information options. What is not set here takes its
    // default: VLAN v is served by switch interface v, an interface has no IPv4 address (0), port p is
    // numbered slot 1, subslot 0, port p, and a port is Gigabit Ethernet (type code 2).
    std::map<uint32_t, uint32_t> switchInterfaceOfVlan;
    MacAddress systemMac = {0x00, 0x00, 0x5e, 0x00, 0x53, 0x00};
    std::map<uint32_t, uint32_t> interfaceIpv4;
    std::map<uint32_t, UserPortNumber> userPortNumbers;
    std::map<uint32_t, uint32_t> portTypes;

    // Frames the daemon sent.
    bool keepSentFrames = true;
    SendCheck sendCheck = SendCheck::off;
    std::vector<SentFrame> sentFrames;
    uint64_t sentFrameCount = 0;

    // Filter service.
    std::vector<FilterCall> filterCalls;
    std::set<Filter> installedFilters;
    bool keepAddressFilters = true;
    uint64_t addressFilterCallCount = 0;

    // Remote-call wrapper service.
    mgmt::WrapperTable wrappers;
    uint32_t remoteCallsServed = 0;
    std::vector<RemoteCallDebugLine> remoteCallDebugLines;

    // What the daemon answered and printed.
    std::vector<Reply> replies;
    std::vector<std::string> console;
    std::vector<SyslogLine> syslog;
    std::vector<RunningConfigAnswer> runningConfigAnswers;

    // The MIB agent's registered module; none until the daemon registers one.
    std::shared_ptr<const mibengine::MibModule> mibModule;
};

// The state of the Switch that exists now; a platform call made without one is a broken test and aborts.
SimState &activeSim();

// Throw std::invalid_argument for a port this switch does not have, or a VLAN id outside 1 to 4094.
void requirePort(const SimState &sim, uint32_t port);
void requireVlan(uint32_t vlanId);

// Hands a frame to the packet registration that matches it, or switches it in hardware.
void deliverFrame(SimState &sim, const FrameEvent &event);

}  // namespace switchsim
