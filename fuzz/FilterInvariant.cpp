#include "FilterInvariant.h"

#include <bit>
#include <cstdio>
#include <cstring>
#include <vector>

#include "FuzzSupport.h"
#include "core/GlobalState.h"
#include "platform/PlatformVariables.h"
#include "snooping/ClientTable.h"
#include "source_guard/ExemptVlans.h"
#include "source_guard/SourceGuardMode.h"
#include "source_guard/StaticBindList.h"

namespace fuzz {
namespace {

using switchsim::Filter;

bool guarded(uint32_t port) {
    return isTablePort(port) && portIpSourceGuardMode[portSlot(port)] != SOURCE_GUARD_NONE;
}

bool switchPort(uint32_t port) {
    return port >= 1 && port <= gul_max_port_num;
}

bool anyGuarded(bool (*among)(uint32_t)) {
    for (uint32_t port = 1; port <= kPortTableSize; ++port) {
        if (among(port) && guarded(port)) {
            return true;
        }
    }
    return false;
}

// Whether the port rules say that the binding has its filter: a binding of one of the switch's ports while
// that port is guarded, a binding for every port while a switch port is guarded, no binding while no port
// at all is. Nothing where they cannot tell.
std::optional<bool> ruledBindingFilter(const StaticBindEntry &binding) {
    if (binding.port != 0) {
        return switchPort(binding.port) || !isTablePort(binding.port)
                   ? std::optional<bool>(guarded(binding.port))
                   : std::nullopt;
    }
    if (anyGuarded(switchPort)) {
        return true;
    }
    return anyGuarded([](uint32_t) { return true; }) ? std::nullopt : std::optional<bool>(false);
}

Filter forwardFilter(const uint8_t (&address)[16], const uint8_t *mac, uint32_t port, uint32_t vlan) {
    std::optional<switchsim::MacAddress> from;
    if (mac != nullptr) {
        from = switchsim::MacAddress{};
        std::memcpy(from->data(), mac, from->size());
    }
    return Filter::forward(std::bit_cast<switchsim::Ipv6Bytes>(address), from, port, vlan);
}

Filter bindingFilter(const StaticBindEntry &binding) {
    if (binding.port != 0) {
        return forwardFilter(binding.ip, binding.mac, binding.port, binding.vlan);
    }
    return forwardFilter(binding.ip, macIsZero(binding.mac) ? nullptr : binding.mac, 0, 0);
}

// The filters of `from` that `other` lacks, each in brackets.
std::string lacking(const std::set<Filter> &from, const std::set<Filter> &other) {
    std::string text;
    for (const Filter &filter : from) {
        if (!other.contains(filter)) {
            text.append(" [").append(filter.text()).append("]");
        }
    }
    return text;
}

}  // namespace

std::set<Filter> impliedFilters() {
    std::set<Filter> filters;
    if (dhcp6snoopingOnOff == 1) {
        filters.insert({Filter::dhcp6Trap(), Filter::neighbourDiscovery()});
    }
    for (uint32_t port = 1; port <= kPortTableSize; ++port) {
        if (guarded(port)) {
            filters.insert(Filter::denyAll(port));
        }
    }
    for (const StaticBindEntry *binding = staticBindList.next; binding != &staticBindList;
         binding = binding->next) {
        if (ruledBindingFilter(*binding).value_or(binding->filterInstalled != 0)) {
            filters.insert(bindingFilter(*binding));
        }
    }
    for (const ClientEntry *entry = clientFirst(); entry != nullptr; entry = clientAfter(entry->mac)) {
        for (uint32_t i = 0; i < entry->addresses.count; ++i) {
            const ClientAddress &record = *addressAt(entry->addresses, i);
            if (record.prefixLength == kAddressPrefixLength && guarded(entry->portIndex) &&
                staticBindCovers(entry->mac, record.address) == 0) {
                filters.insert(forwardFilter(record.address, entry->mac, entry->portIndex, entry->vlanId));
            }
        }
    }
    for (uint32_t vlan = 0; vlan < kVlanTableSize; ++vlan) {
        if (ip6_source_guard_vlan_filter_held(vlan) != 0) {
            filters.insert(Filter::exemptVlan(vlan));
        }
    }
    return filters;
}

std::optional<std::string> invariantBroken(const std::string &when) {
    const std::vector<Filter> installed = fuzzSwitch().installedFilters();
    const std::set<Filter> held(installed.begin(), installed.end());
    const std::set<Filter> implied = impliedFilters();
    if (held != implied) {
        return when + ": the switch holds" + lacking(held, implied) + " too many, and lacks" +
               lacking(implied, held);
    }
    for (const StaticBindEntry *binding = staticBindList.next; binding != &staticBindList;
         binding = binding->next) {
        const std::optional<bool> ruled = ruledBindingFilter(*binding);
        if (ruled && *ruled != (binding->filterInstalled != 0)) {
            return when + ": a binding remembers its filter [" + bindingFilter(*binding).text() + "] as " +
                   (binding->filterInstalled != 0 ? "installed" : "absent") + " against its port's mode";
        }
    }
    if (!clientTableConsistent()) {
        return when + ": the client table and its counts disagree (see clientTableConsistent)";
    }
    return std::nullopt;
}

void requireInvariant(const char *when) {
    if (const auto broken = invariantBroken(when)) {
        std::fprintf(stderr, "%s\n", broken->c_str());
        std::abort();
    }
}

}  // namespace fuzz
