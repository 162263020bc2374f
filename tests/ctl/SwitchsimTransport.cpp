#include "SwitchsimTransport.h"

#include "ClientListing.h"
#include "StatisticsListing.h"
#include "core/FrameStatistics.h"
#include "core/MainLoop.h"
#include "mgmt_protocol/ListRecords.h"
#include "mgmt_protocol/PlatformLists.h"
#include "mgmt_protocol/Statistics.h"
#include "platform/PlatformVariables.h"
#include "platform/SwitchHelperApi.h"
#include "platform/SyslogApi.h"
#include "switchsim/ConfigInterpreter.h"

namespace ctltest {
namespace {

std::vector<mgmt::NamedPort> switchPorts() {
    std::vector<mgmt::NamedPort> ports;
    for (uint32_t port = 1; port <= gul_max_port_num; ++port) {
        char name[PORT_NAME_TEXT_SIZE] = {};
        transPort2String(port, name);
        ports.push_back({port, name});
    }
    return ports;
}

// The daemon's trace is its module's output at the debug level.
constexpr uint32_t kTraceModule = 54;
constexpr uint32_t kTraceLevel = 7;

mgmt::Bytes withData(uint16_t type, int32_t result, const mgmt::Bytes &data) {
    return mgmt::encodePlatformReply(type, result,
                                     {reinterpret_cast<const char *>(data.data()), data.size()});
}

}  // namespace

mgmt::Bytes SwitchsimTransport::exchange(const mgmt::Bytes &request) {
    const uint16_t type = mgmt::messageType(request);
    const auto serve = [this] { sw_.runUntilIdle(dhcp6snoopingServeNextMessage); };
    const mgmt::ReadCall read = [this, &serve](uint32_t number, const std::vector<mgmt::Bytes> &arguments) {
        sw_.queueRemoteCall(number, arguments);
        serve();
        return mgmt::decodeRemoteCall(sw_.replies().back().message);
    };
    const auto text = mgmt::messageText(request);
    switch (type) {
        case mgmt::kRemoteCallMessage:
            sw_.queueMessage(request);
            serve();
            return sw_.replies().back().message;
        case mgmt::kRunningConfigMessage:
            sw_.queueRunningConfigRequest(1U << 17U);
            serve();
            return mgmt::encodePlatformReply(type, 0, sw_.runningConfigAnswers().back().text);
        case mgmt::kPortNamesMessage: {
            std::vector<std::string> names;
            for (const auto &port : switchPorts()) {
                names.push_back(port.name);
            }
            return mgmt::encodePortNamesReply(names);
        }
        case mgmt::kPortListMessage:
            return withData(type, 0, mgmt::encodePortList(mgmt::readPortList(switchPorts(), read)));
        case mgmt::kVlanListMessage:
            return withData(type, 0, mgmt::encodeVlanList(mgmt::readVlanList(read, [](uint32_t v) {
                                return vlan_exist(v) != 0;
                            })));
        case mgmt::kClientPageMessage:
            return withData(type, 0,
                            mgmt::encodeClientPage(listing::clientPage(
                                {reinterpret_cast<const uint8_t *>(text.data()), text.size()})));
        case mgmt::kGlobalMessage: {
            sw_.queueRunningConfigRequest(1U << 17U);
            serve();
            auto global = mgmt::readGlobal(read, sw_.runningConfigAnswers().back().text);
            if (global) {
                global->trace = syslogModuleSwitch(kTraceModule, kTraceLevel) != 0;
            }
            return withData(type, global ? 0 : mgmt::kRefused,
                            global ? mgmt::encodeGlobal(*global) : mgmt::Bytes{});
        }
        case mgmt::kBindingListMessage: {
            const auto bindings = mgmt::readBindings(read);
            return withData(type, bindings ? 0 : mgmt::kRefused,
                            bindings ? mgmt::encodeBindingList(*bindings) : mgmt::Bytes{});
        }
        case mgmt::kExemptVlanListMessage: {
            const auto vlans = mgmt::readExemptVlans(read);
            return withData(type, vlans ? 0 : mgmt::kRefused,
                            vlans ? mgmt::encodeExemptVlanList(*vlans) : mgmt::Bytes{});
        }
        case mgmt::kApplyConfigMessage: {
            const auto errors = switchsim::applyConfigText(sw_, text, dhcp6snoopingServeNextMessage);
            std::string described;
            for (const auto &error : errors) {
                described += "line " + std::to_string(error.lineNumber) + ": " + error.reason + "\n";
            }
            return mgmt::encodePlatformReply(type, static_cast<int32_t>(errors.size()), described);
        }
        case mgmt::kStatisticsMessage:
            return withData(type, 0, mgmt::encodeStatistics(listing::statistics(switchPorts())));
        case mgmt::kClearStatisticsMessage:
            dhcp6snoopingCountersClear();
            return mgmt::encodePlatformReply(type, 0, "");
        case mgmt::kTraceMessage:
            sw_.setModuleLogLevel(kTraceModule,
                                  text == std::string_view("\1", 1) ? kTraceLevel : kTraceLevel - 1);
            return mgmt::encodePlatformReply(type, 0, "");
        default:
            return mgmt::encodePlatformReply(type, mgmt::kRefused, "");
    }
}

}  // namespace ctltest
