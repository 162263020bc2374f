#include "switchsim/ConfigInterpreter.h"

#include <algorithm>

#include "platform/PlatformVariables.h"
#include "platform/SwitchHelperApi.h"

namespace switchsim {

std::vector<mgmt::ConfigLineError> applyConfigText(Switch &sw, std::string_view text,
                                                   void (*serveNextMessage)()) {
    const mgmt::CallDaemon callDaemon = [&sw, serveNextMessage](uint32_t callNumber,
                                                                const std::vector<Bytes> &arguments) {
        const size_t before = sw.replies().size();
        sw.queueRemoteCall(callNumber, arguments);
        sw.runUntilIdle(serveNextMessage);
        return sw.replies().size() == before + 1 ? std::optional<int32_t>(sw.replies().back().result)
                                                 : std::nullopt;
    };
    // The simulated switch writes no blank before a port's name; one or more typed there are taken too.
    const mgmt::FindPort findPort = [](std::string_view name) -> std::optional<uint32_t> {
        name.remove_prefix(std::min(name.find_first_not_of(' '), name.size()));
        for (uint32_t port = 1; port <= gul_max_port_num; ++port) {
            char portName[PORT_NAME_TEXT_SIZE] = {};
            if (transPort2String(port, portName) == 0 && name == portName) {
                return port;
            }
        }
        return std::nullopt;
    };
    return mgmt::applyConfigText(text, callDaemon, findPort);
}

}  // namespace switchsim
