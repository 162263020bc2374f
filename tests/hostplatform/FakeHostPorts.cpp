// The bridge of the host platform's tests: "br-test" with ports 1 to 3, named "port1" to "port3" until a
// test renames one, each with PVID 1.

#include "FakeHostPorts.h"

#include <array>
#include <string>

#include "HostPorts.h"

namespace hostplatform {

namespace {
std::array<std::string, 3> kPorts = {"port1", "port2", "port3"};
}

void renameFakePort(uint32_t portIndex, std::string name) {
    kPorts.at(portIndex - 1) = std::move(name);
}

std::string_view bridgeName() {
    return "br-test";
}

uint32_t portCount() {
    return kPorts.size();
}

std::optional<uint16_t> portUntaggedVlan(uint32_t portIndex) {
    return portInterfaceName(portIndex) ? std::optional<uint16_t>(1) : std::nullopt;
}

std::optional<std::string_view> portInterfaceName(uint32_t portIndex) {
    if (portIndex < 1 || portIndex > kPorts.size()) {
        return std::nullopt;
    }
    return kPorts[portIndex - 1];
}

}  // namespace hostplatform
