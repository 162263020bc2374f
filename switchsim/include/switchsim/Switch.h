#pragma once
// switchsim: an in-process switch platform. It defines every platform call the daemon makes and lets a
// test build a switch, drive the daemon the way the switch would and observe what the switch saw.
//
// One Switch exists at a time; while it lives, the platform calls act on it. Events queued on it reach
// the daemon from inside the daemon's wait in vosMsgRecv, one at a time, on the daemon's thread: a
// management message or a receive failure ends the wait, and the other events (timer ticks, link changes,
// frames, running-configuration requests) run the registered callbacks within it.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "switchsim/Observations.h"

namespace switchsim {

struct SwitchConfig {
    uint32_t portCount = 24;
    std::vector<uint32_t> absentPorts;  // ports of 1..portCount for which smdVDPortExist answers 0
};

// The calls of a filter service function that a planned failure is aimed at: those whose filter
// (Observations.h) has this port and this VLAN; one not given matches any.
struct FilterTarget {
    std::optional<uint32_t> port{};
    std::optional<uint32_t> vlan{};
};

struct SimState;

class Switch {
  public:
    explicit Switch(const SwitchConfig &config = {});
    ~Switch();
    Switch(const Switch &) = delete;
    Switch &operator=(const Switch &) = delete;

    // Building.
    // Output of `moduleId` is switched on for levels up to `highestLevel` (by default up to 6, so the
    // debug level 7 is off).
    void setModuleLogLevel(uint32_t moduleId, uint32_t highestLevel);
    // Also write console output to standard error as it is printed.
    void echoConsole(bool on);
    // The VLAN exists with these member ports; adding it again replaces its members.
    void addVlan(uint32_t vlanId, std::vector<uint32_t> memberPorts);
    // A link-aggregation group (id 1 to 0x7FFFFFFF); a port is in one group at most. Adding it again
    // replaces its members.
    void addAggregation(uint32_t aggregationId, const std::vector<uint32_t> &memberPorts);
    // MAC table entries; each replaces any earlier entry of the address in that VLAN.
    void learnMac(const MacAddress &mac, uint32_t vlanId, uint32_t port);
    void learnMacOnAggregation(const MacAddress &mac, uint32_t vlanId, uint32_t aggregationId);
    // Ages every entry out of the MAC table.
    void clearMacTable();
    // The name transPort2EtherPort writes for the port; by default port p is "ethernet1/0/p".
    void setPortName(uint32_t port, std::string name);

    // Facts about the switch itself, which the daemon reads to fill the relay information options. Each
    // setter replaces the earlier value.
    // The switch interface serving the VLAN (getSWByVLAN); by default VLAN v is served by interface v.
    void setSwitchInterface(uint32_t vlanId, uint32_t interfaceId);
    // The system MAC address (getSysMacAdress); by default 00:00:5e:00:53:00.
    void setSystemMac(const MacAddress &mac);
    // The primary IPv4 address of a switch interface (l3ifSwPrimIpGet), first octet most significant, or
    // as text ("192.0.2.1"; anything else throws std::invalid_argument). By default an interface has none,
    // which the call answers as 0.
    void setInterfaceIpv4(uint32_t interfaceId, uint32_t ipv4);
    void setInterfaceIpv4(uint32_t interfaceId, std::string_view ipv4);
    // How the user numbers a port (smdVDPortSnmpToUser); by default port p is slot 1, subslot 0, port p.
    void setUserPortNumbering(uint32_t port, uint32_t slot, uint32_t subslot, uint32_t userPort);
    // A port's medium and speed code (smdVDPortTypeGet): 0, 1 and 5 Fast Ethernet; 2, 3 and 6 Gigabit;
    // 8 2.5G; 9 5G; 4 10G; 10 25G; 11 40G; 12 100G; any other is unknown. By default 2, Gigabit.
    void setPortType(uint32_t port, uint32_t typeCode);

    // Fault injection. The next `times` calls answer `result` and change nothing.
    void failMsgInit(int32_t result);
    // `call` is "smdVDPktRegister" or "smdVDPktRegRunning".
    void failPacketRegistration(std::string_view call, int32_t result, uint32_t times = 1);
    // The next `times` calls of vosCalloc find no memory.
    void failAllocations(uint32_t times = 1);
    // The blocks that vosCalloc has handed out and vosFree not yet taken back, since the process started.
    [[nodiscard]] static int64_t allocatedBlocks();
    // `function` is the name of one of the FRM_ calls. Aimed at a target, only the calls that match it fail
    // and count towards `times`; the others are served as usual.
    void failFilterCall(std::string_view function, int32_t result, uint32_t times = 1,
                        const FilterTarget &target = {});
    // `call` is "smdVDPktSendPort" or "smdVDPktSendPortlist"; a failed send is not recorded.
    void failFrameSend(std::string_view call, int32_t result, uint32_t times = 1);
    // `call` is "smdRMWrapInit" or "smdRmWrapRegister".
    void failRemoteCallService(std::string_view call, int32_t result, uint32_t times = 1);
    // The next `times` calls of get_str_by_mid know no module name.
    void failModuleName(uint32_t times = 1);
    // Forgets every failure still planned.
    void clearFaults();

    // Driving.
    void queueMessage(Bytes message);
    void queueRemoteCall(uint32_t callNumber, const std::vector<Bytes> &arguments);
    void queueReceiveFailure(int32_t result);
    // Each tick advances the clock by one second and then runs the timer callback.
    void queueTimerTicks(uint32_t count = 1);
    void queueLinkChange(uint32_t port, uint32_t status);
    void queueFrame(uint32_t port, uint32_t vlan, Bytes frame, uint16_t frameKind = 0);
    void queueRunningConfigRequest(uint32_t capacity);
    // From now on every vosUpSeconds call first moves the clock on by `seconds`, so that a long operation
    // sees time pass while it runs; 0 stops it.
    void advanceClockOnEachRead(uint32_t seconds);
    [[nodiscard]] bool idle() const;
    // Runs the process main with `arguments` as its argument vector until it returns or has taken every
    // queued event. Returns main's result, or nothing when main was still serving.
    std::optional<int> runMain(int (*main)(int, char **), const std::vector<std::string> &arguments);
    // Runs turns of the main loop until every queued event is taken.
    void runUntilIdle(void (*serveNextMessage)());

    // Observing.
    // Process, queue and hook registration calls, in the order made, with their arguments.
    [[nodiscard]] const std::vector<std::string> &lifecycleCalls() const;
    [[nodiscard]] const std::vector<PacketRegistration> &packetRegistrations() const;
    [[nodiscard]] const std::vector<FilterCall> &filterCalls() const;
    // The filters in place now, in sorted order.
    [[nodiscard]] std::vector<Filter> installedFilters() const;
    // Takes every filter out of the filter service, as its restart would.
    void clearInstalledFilters();
    // With `keep` false, the calls that install or remove a filter for one address succeed at once and are
    // only counted, for benchmarks: no call is recorded and no filter kept.
    void keepAddressFilters(bool keep);
    [[nodiscard]] uint64_t addressFilterCallCount() const;
    [[nodiscard]] const std::vector<SyslogLine> &syslogLines() const;
    [[nodiscard]] const std::vector<std::string> &consoleLines() const;
    [[nodiscard]] const std::vector<Reply> &replies() const;
    [[nodiscard]] uint32_t remoteCallsServed() const;
    [[nodiscard]] const std::vector<RemoteCallDebugLine> &remoteCallDebugLines() const;
    [[nodiscard]] const std::vector<RunningConfigAnswer> &runningConfigAnswers() const;
    [[nodiscard]] const std::vector<SwitchedFrame> &switchedFrames() const;
    [[nodiscard]] const std::vector<MacLookup> &macLookups() const;
    // Frames the daemon sent, in the order sent, while keeping them is on (the default). Off, only the
    // count grows and MAC lookups are not recorded either, so that a benchmark sends without the switch
    // allocating.
    // While frames are kept, each one the daemon sends is read with frameFault (switchsim/FrameCheck.h)
    // when the switch is running the daemon (runMain, runUntilIdle, a queued event): if the daemon was
    // handling a frame the switch delivered and that frame was sound, or was handling no frame at all, a
    // broken frame sent is a broken contract of the daemon, and the process prints what is wrong on
    // standard error and aborts, as a sanitizer does. A broken frame delivered may be passed on as it is.
    // A test or a fuzzer that calls the receive callback itself leaves the switch unaware of the frame
    // being handled, and such sends are not checked.
    void keepSentFrames(bool keep);
    [[nodiscard]] const std::vector<SentFrame> &sentFrames() const;
    // Frames sent since the switch was built or the sent frames were last cleared, kept or not.
    [[nodiscard]] uint64_t sentFrameCount() const;
    void clearSentFrames();
    [[nodiscard]] uint32_t upSeconds() const;
    // Drops everything observed so far (calls, lines, replies, frames, lookups) and releases its memory, so
    // that a switch that lives through many runs, a fuzzer's, stays at a steady size. What the switch is
    // (VLANs, MAC table, filters in place, registrations) stays.
    void clearRecords();

  private:
    std::unique_ptr<SimState> state_;
};

}  // namespace switchsim
