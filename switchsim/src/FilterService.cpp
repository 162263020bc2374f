// The filter resource service of the simulated switch. It records every call with its arguments in the
// order passed and keeps the set of filters in place: installing a filter that is there already answers
// 0, removing one that is not there answers kNoSuchFilter.

#include <string>

#include "SimState.h"
#include "Text.h"
#include "platform/FrmApi.h"

namespace switchsim {
namespace {

constexpr int32_t kBadArgument = -1;
constexpr int32_t kNoSuchFilter = -2;

enum class Change { Install, Remove };

std::string join(std::initializer_list<std::string> parts) {
    std::string text;
    for (const std::string &part : parts) {
        text += (text.empty() ? "" : ", ") + part;
    }
    return text;
}

// Serves one call: a planned failure, a refused argument, or the change to the filters in place.
int32_t serve(const char *function, std::string arguments, bool argumentsValid, Change change,
              const std::string &filter) {
    auto &sim = activeSim();
    int32_t result = 0;
    if (const auto failure = sim.failures.take(function)) {
        result = *failure;
    } else if (!argumentsValid) {
        result = kBadArgument;
    } else if (change == Change::Install) {
        sim.installedFilters.insert(filter);
    } else if (sim.installedFilters.erase(filter) == 0) {
        result = kNoSuchFilter;
    }
    sim.filterCalls.push_back({function, std::move(arguments), result});
    return result;
}

// While address filters are only counted, a call succeeds at once and nothing of it is kept.
bool onlyCounted() {
    auto &sim = activeSim();
    ++sim.addressFilterCallCount;
    return !sim.keepAddressFilters;
}

std::string forward(const uint8_t *address, const uint8_t *mac, const std::string &port,
                    const std::string &vlan) {
    std::string filter = "forward ip6 " + ipv6Text(address);
    if (mac != nullptr) {
        filter += " mac " + macText(mac);
    }
    if (!port.empty()) {
        filter += " port " + port;
    }
    if (!vlan.empty()) {
        filter += " vlan " + vlan;
    }
    return filter;
}

int32_t globalIp(const char *function, Change change, const uint8_t *address) {
    if (onlyCounted()) {
        return 0;
    }
    return serve(function, ipv6Text(address), address != nullptr, change, forward(address, nullptr, "", ""));
}

int32_t globalIpMac(const char *function, Change change, const uint8_t *mac, const uint8_t *address) {
    if (onlyCounted()) {
        return 0;
    }
    return serve(function, join({macText(mac), ipv6Text(address)}), mac != nullptr && address != nullptr,
                 change, forward(address, mac, "", ""));
}

int32_t portIpMac(const char *function, Change change, uint32_t port, const uint8_t *mac,
                  const uint8_t *address) {
    if (onlyCounted()) {
        return 0;
    }
    const std::string portText = std::to_string(port);
    return serve(function, join({portText, macText(mac), ipv6Text(address)}),
                 mac != nullptr && address != nullptr, change, forward(address, mac, portText, ""));
}

int32_t portIpMacVlan(const char *function, Change change, uint32_t port, const uint8_t *mac,
                      const uint8_t *address, uint32_t vlan) {
    if (onlyCounted()) {
        return 0;
    }
    const std::string portText = std::to_string(port);
    const std::string vlanText = std::to_string(vlan);
    return serve(function, join({portText, macText(mac), ipv6Text(address), vlanText}),
                 mac != nullptr && address != nullptr, change, forward(address, mac, portText, vlanText));
}

// The calls that switch a filter on with FILTER_OP_ENABLE and off with FILTER_OP_DISABLE.
int32_t operate(const char *function, std::string arguments, uint32_t operation, const std::string &filter) {
    const bool known = operation == FILTER_OP_ENABLE || operation == FILTER_OP_DISABLE;
    return serve(function, std::move(arguments), known,
                 operation == FILTER_OP_ENABLE ? Change::Install : Change::Remove, filter);
}

std::string vlanOnly(uint16_t vlan) {
    return "forward vlan " + std::to_string(vlan);
}

constexpr char kNeighbourDiscovery[] = "forward icmp6-nd";

}  // namespace
}  // namespace switchsim

using switchsim::Change;

extern "C" {

int32_t FRM_InstallGlobalForwardIp6AddrOnlyFilterResource(const uint8_t *address) {
    return switchsim::globalIp(__func__, Change::Install, address);
}
int32_t FRM_RemoveGlobalForwardIp6AddrOnlyFilterResource(const uint8_t *address) {
    return switchsim::globalIp(__func__, Change::Remove, address);
}
int32_t FRM_InstallGlobalForwardIp6AddrFilterResource(const uint8_t *mac, const uint8_t *address) {
    return switchsim::globalIpMac(__func__, Change::Install, mac, address);
}
int32_t FRM_RemoveGlobalForwardIp6AddrFilterResource(const uint8_t *mac, const uint8_t *address) {
    return switchsim::globalIpMac(__func__, Change::Remove, mac, address);
}
int32_t FRM_InstallForwardIp6AddrFilterResource(uint32_t port, const uint8_t *mac, const uint8_t *address) {
    return switchsim::portIpMac(__func__, Change::Install, port, mac, address);
}
int32_t FRM_RemoveForwardIp6AddrFilterResource(uint32_t port, const uint8_t *mac, const uint8_t *address) {
    return switchsim::portIpMac(__func__, Change::Remove, port, mac, address);
}
int32_t FRM_InstallForwardIp6AddrFilterResource_new(uint32_t port, const uint8_t *mac, const uint8_t *address,
                                                    uint32_t vlan) {
    return switchsim::portIpMacVlan(__func__, Change::Install, port, mac, address, vlan);
}
int32_t FRM_RemoveForwardIp6AddrFilterResource_new(uint32_t port, const uint8_t *mac, const uint8_t *address,
                                                   uint32_t vlan) {
    return switchsim::portIpMacVlan(__func__, Change::Remove, port, mac, address, vlan);
}
int32_t FRM_OperateDhcp6FilterResource(uint32_t operation) {
    return switchsim::operate(__func__, std::to_string(operation), operation, "dhcp6-trap");
}
int32_t FRM_InstallGlobalForwardIcmp6NdFilterResource(void) {
    return switchsim::serve(__func__, "", true, Change::Install, switchsim::kNeighbourDiscovery);
}
int32_t FRM_RemoveGlobalForwardIcmp6NdFilterResource(void) {
    return switchsim::serve(__func__, "", true, Change::Remove, switchsim::kNeighbourDiscovery);
}
int32_t FRM_OperatePortDenyAllIp6FilterResource(uint32_t operation, uint32_t port) {
    return switchsim::operate(__func__, std::to_string(operation) + ", " + std::to_string(port), operation,
                              "deny-all-ip6 port " + std::to_string(port));
}
int32_t FRM_InstallGlobalForwardIp6VidOnlyFilterResource(uint16_t vlan) {
    return switchsim::serve(__func__, std::to_string(vlan), true, Change::Install, switchsim::vlanOnly(vlan));
}
int32_t FRM_RemoveGlobalForwardIp6VidOnlyFilterResource(uint16_t vlan) {
    return switchsim::serve(__func__, std::to_string(vlan), true, Change::Remove, switchsim::vlanOnly(vlan));
}
}
