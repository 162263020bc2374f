// The filter resource service of the simulated switch. It records every call with the filter it asks for
// and keeps the set of filters in place: installing a filter that is there already answers 0, removing one
// that is not there answers kNoSuchFilter.

#include <cstring>
#include <ostream>
#include <string>

#include "SimState.h"
#include "Text.h"
#include "platform/FrmApi.h"

namespace switchsim {
namespace {

constexpr int32_t kBadArgument = -1;
constexpr int32_t kNoSuchFilter = -2;

// Serves one call: a planned failure, a refused argument, or the change to the filters in place.
int32_t serve(FilterCall call, bool argumentsValid) {
    auto &sim = activeSim();
    if (const auto failure = sim.failures.take(call.function, call.filter)) {
        call.result = *failure;
    } else if (!argumentsValid || !call.change) {
        call.result = kBadArgument;
    } else if (*call.change == FilterChange::Install) {
        sim.installedFilters.insert(call.filter);
    } else if (sim.installedFilters.erase(call.filter) == 0) {
        call.result = kNoSuchFilter;
    }
    sim.filterCalls.push_back(std::move(call));
    return sim.filterCalls.back().result;
}

int32_t ask(const char *function, FilterChange change, const Filter &filter, bool argumentsValid = true) {
    return serve({.function = function, .change = change, .filter = filter}, argumentsValid);
}

// While address filters are only counted, a call succeeds at once and nothing of it is kept.
bool onlyCounted() {
    auto &sim = activeSim();
    ++sim.addressFilterCallCount;
    return !sim.keepAddressFilters;
}

// The address or MAC a call passed; a null one, which the call is refused for, as zeros.
Ipv6Bytes addressAt(const uint8_t *address) {
    Ipv6Bytes bytes{};
    if (address != nullptr) {
        std::memcpy(bytes.data(), address, bytes.size());
    }
    return bytes;
}
MacAddress macAt(const uint8_t *mac) {
    MacAddress bytes{};
    if (mac != nullptr) {
        std::memcpy(bytes.data(), mac, bytes.size());
    }
    return bytes;
}

// The global address-only calls, which carry no MAC.
int32_t addressOnly(const char *function, FilterChange change, const uint8_t *address) {
    if (onlyCounted()) {
        return 0;
    }
    return ask(function, change, Filter::forward(addressAt(address)), address != nullptr);
}

// The other calls for one address: the global ones carry no port, and only the _new ones carry a VLAN.
int32_t addressAndMac(const char *function, FilterChange change, const uint8_t *mac, const uint8_t *address,
                      uint32_t port = 0, uint32_t vlan = 0) {
    if (onlyCounted()) {
        return 0;
    }
    return ask(function, change, Filter::forward(addressAt(address), macAt(mac), port, vlan),
               mac != nullptr && address != nullptr);
}

std::optional<FilterChange> changeOf(uint32_t operation) {
    if (operation == FILTER_OP_ENABLE) {
        return FilterChange::Install;
    }
    if (operation == FILTER_OP_DISABLE) {
        return FilterChange::Remove;
    }
    return std::nullopt;
}

// The calls that switch a filter on with FILTER_OP_ENABLE and off with FILTER_OP_DISABLE.
int32_t operate(const char *function, uint32_t operation, const Filter &filter) {
    return serve(
        {.function = function, .change = changeOf(operation), .operation = operation, .filter = filter},
        true);
}

std::string forwardText(const Filter &filter) {
    std::string text = "forward ip6 " + ipv6Text(filter.address.data());
    if (filter.mac) {
        text += " mac " + macText(filter.mac->data());
    }
    if (filter.port != 0) {
        text += " port " + std::to_string(filter.port);
    }
    if (filter.vlan != 0) {
        text += " vlan " + std::to_string(filter.vlan);
    }
    return text;
}

std::string askedText(const FilterCall &call) {
    if (!call.change) {
        return "operation " + std::to_string(call.operation.value_or(0));
    }
    return *call.change == FilterChange::Install ? "install" : "remove";
}

}  // namespace

std::string Filter::text() const {
    switch (kind) {
        case FilterKind::Dhcp6Trap:
            return "dhcp6-trap";
        case FilterKind::NeighbourDiscovery:
            return "forward icmp6-nd";
        case FilterKind::ExemptVlan:
            return "forward vlan " + std::to_string(vlan);
        case FilterKind::DenyAllIp6:
            return "deny-all-ip6 port " + std::to_string(port);
        case FilterKind::ForwardIp6:
            break;
    }
    return forwardText(*this);
}

std::ostream &operator<<(std::ostream &out, const Filter &filter) {
    return out << filter.text();
}

std::string FilterCall::text() const {
    return function + ": " + askedText(*this) + " " + filter.text() + " = " + std::to_string(result);
}

}  // namespace switchsim

using switchsim::Filter;
using switchsim::FilterChange;

extern "C" {

int32_t FRM_InstallGlobalForwardIp6AddrOnlyFilterResource(const uint8_t *address) {
    return switchsim::addressOnly(__func__, FilterChange::Install, address);
}
int32_t FRM_RemoveGlobalForwardIp6AddrOnlyFilterResource(const uint8_t *address) {
    return switchsim::addressOnly(__func__, FilterChange::Remove, address);
}
int32_t FRM_InstallGlobalForwardIp6AddrFilterResource(const uint8_t *mac, const uint8_t *address) {
    return switchsim::addressAndMac(__func__, FilterChange::Install, mac, address);
}
int32_t FRM_RemoveGlobalForwardIp6AddrFilterResource(const uint8_t *mac, const uint8_t *address) {
    return switchsim::addressAndMac(__func__, FilterChange::Remove, mac, address);
}
int32_t FRM_InstallForwardIp6AddrFilterResource(uint32_t port, const uint8_t *mac, const uint8_t *address) {
    return switchsim::addressAndMac(__func__, FilterChange::Install, mac, address, port);
}
int32_t FRM_RemoveForwardIp6AddrFilterResource(uint32_t port, const uint8_t *mac, const uint8_t *address) {
    return switchsim::addressAndMac(__func__, FilterChange::Remove, mac, address, port);
}
int32_t FRM_InstallForwardIp6AddrFilterResource_new(uint32_t port, const uint8_t *mac, const uint8_t *address,
                                                    uint32_t vlan) {
    return switchsim::addressAndMac(__func__, FilterChange::Install, mac, address, port, vlan);
}
int32_t FRM_RemoveForwardIp6AddrFilterResource_new(uint32_t port, const uint8_t *mac, const uint8_t *address,
                                                   uint32_t vlan) {
    return switchsim::addressAndMac(__func__, FilterChange::Remove, mac, address, port, vlan);
}
int32_t FRM_OperateDhcp6FilterResource(uint32_t operation) {
    return switchsim::operate(__func__, operation, Filter::dhcp6Trap());
}
int32_t FRM_InstallGlobalForwardIcmp6NdFilterResource(void) {
    return switchsim::ask(__func__, FilterChange::Install, Filter::neighbourDiscovery());
}
int32_t FRM_RemoveGlobalForwardIcmp6NdFilterResource(void) {
    return switchsim::ask(__func__, FilterChange::Remove, Filter::neighbourDiscovery());
}
int32_t FRM_OperatePortDenyAllIp6FilterResource(uint32_t operation, uint32_t port) {
    return switchsim::operate(__func__, operation, Filter::denyAll(port));
}
int32_t FRM_InstallGlobalForwardIp6VidOnlyFilterResource(uint16_t vlan) {
    return switchsim::ask(__func__, FilterChange::Install, Filter::exemptVlan(vlan));
}
int32_t FRM_RemoveGlobalForwardIp6VidOnlyFilterResource(uint16_t vlan) {
    return switchsim::ask(__func__, FilterChange::Remove, Filter::exemptVlan(vlan));
}
}
