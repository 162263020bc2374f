// dhcp6snooping-sim: the daemon on a simulated 24-port switch. It starts the daemon, plays a short
// scenario through the switch and prints what the switch saw.

#include <cstdio>
#include <string>

#include "core/SharedTypes.h"
#include "core/Startup.h"
#include "switchsim/Dhcp6FrameBuilder.h"
#include "switchsim/RemoteCallMessage.h"
#include "switchsim/Switch.h"

namespace {

using switchsim::Switch;

constexpr uint32_t kPorts = 24;
constexpr uint32_t kClientPort = 3;
constexpr uint16_t kClientVlan = 10;

// A console or log text on one line: its leading and trailing line breaks dropped, inner ones shown as " | ".
std::string oneLine(const std::string &text) {
    const size_t first = text.find_first_not_of("\r\n");
    const size_t last = text.find_last_not_of("\r\n");
    if (first == std::string::npos) {
        return {};
    }
    std::string line;
    for (const char c : text.substr(first, last - first + 1)) {
        if (c != '\r') {
            line += c == '\n' ? std::string(" | ") : std::string(1, c);
        }
    }
    return line;
}

void heading(const char *title) {
    std::printf("\n== %s ==\n", title);
}

// A SOLICIT from the client with transaction id 0x123456 and an Elapsed Time of 0.
switchsim::Bytes solicitFrame() {
    namespace dhcp6 = switchsim::dhcp6;
    auto frame =
        dhcp6::fromClient(dhcp6::SOLICIT, switchsim::mac("00:00:5e:00:53:01"), dhcp6::elapsedTime(0));
    frame.transactionId = 0x123456;
    return dhcp6::buildDhcp6Frame(frame).bytes;
}

void printStartup(const Switch &sw) {
    heading("start-up: what the daemon asked of the platform, in order");
    for (const std::string &call : sw.lifecycleCalls()) {
        std::printf("  %s\n", call.c_str());
    }
    heading("packet registrations");
    for (const auto &registration : sw.packetRegistrations()) {
        std::printf("  %s unit %u mode %u%s -> %d\n    descriptor:", registration.call.c_str(),
                    registration.unit, registration.mode,
                    registration.mode == 3 ? " (the switch keeps forwarding DHCPv6)" : "",
                    registration.result);
        for (const uint8_t byte : registration.descriptor) {
            std::printf(" %02x", byte);
        }
        std::printf("\n");
    }
}

void printScenarioResults(const Switch &sw) {
    heading("frames the switch forwarded itself while snooping is off");
    for (const auto &frame : sw.switchedFrames()) {
        std::printf("  %zu-byte frame in on port %u, VLAN %u\n", frame.frame.size(), frame.ingressPort,
                    frame.vlan);
    }
    heading("replies to management messages");
    for (const auto &reply : sw.replies()) {
        std::printf("  result %d, %u bytes\n", reply.result, reply.length);
    }
    heading("running configuration");
    for (const auto &answer : sw.runningConfigAnswers()) {
        std::printf("  result %u, %zu characters%s\n", answer.result, answer.text.size(),
                    answer.text.empty() ? " (every setting is at its default)" : "");
    }
    heading("console");
    for (const std::string &line : sw.consoleLines()) {
        std::printf("  %s\n", oneLine(line).c_str());
    }
    heading("system log");
    for (const auto &line : sw.syslogLines()) {
        std::printf("  module %u level %u %s: %s\n", line.module, line.level, line.name.c_str(),
                    oneLine(line.text).c_str());
    }
    if (sw.syslogLines().empty()) {
        std::printf("  (nothing)\n");
    }
    std::printf("\nclock: %u s up; filters in place: %zu\n", sw.upSeconds(), sw.installedFilters().size());
}

}  // namespace

int main() {
    Switch sw(switchsim::SwitchConfig{.portCount = kPorts, .absentPorts = {}});
    sw.setModuleLogLevel(kDhcp6SnoopingModuleId, 7);

    std::printf("dhcp6snooping on a simulated %u-port switch; snooping starts off.\n", kPorts);
    std::printf(
        "Scenario: a client's SOLICIT on port %u, VLAN %u; three timer ticks; the link of port %u goes\n"
        "down; a management message of an unknown type; a remote call no wrapper serves; a failed\n"
        "receive; a running-configuration request.\n",
        kClientPort, kClientVlan, kClientPort);
    sw.queueFrame(kClientPort, kClientVlan, solicitFrame());
    sw.queueTimerTicks(3);
    sw.queueLinkChange(kClientPort, 0);
    switchsim::Bytes unknownType(switchsim::kRemoteCallHeaderSize, 0);
    unknownType[0] = 5;  // a message type the daemon does not serve
    sw.queueMessage(unknownType);
    sw.queueRemoteCall(6250, {});
    sw.queueReceiveFailure(-3);
    sw.queueRunningConfigRequest(4096);

    const auto result = sw.runMain(dhcp6snoopingMain, {"/sbin/dhcp6snooping"});
    printStartup(sw);
    printScenarioResults(sw);
    if (result) {
        std::printf("\nthe daemon ended with %d\n", *result);
        return 1;
    }
    std::printf("\nthe daemon is waiting for its next message.\n");
    return 0;
}
