#include "SourceGuardSequence.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <set>
#include <vector>

#include "core/GlobalState.h"
#include "mgmt/PortVlanSettings.h"
#include "platform/VosApi.h"
#include "snooping/BulkRemoval.h"
#include "snooping/ClientTable.h"
#include "snooping/SnoopingOnOff.h"
#include "source_guard/ExemptVlans.h"
#include "source_guard/PortMode.h"
#include "source_guard/StaticBindList.h"
#include "source_guard/StaticBindings.h"
#include "switchsim/Dhcp6FrameBuilder.h"

namespace fuzz {
namespace {

using switchsim::Bytes;
using switchsim::MacAddress;
namespace dhcp6 = switchsim::dhcp6;

constexpr uint32_t kServerPort = 1;
constexpr uint32_t kClientVlan = 1;
constexpr uint32_t kClientPorts = 5;  // ports 2 to 6
constexpr uint8_t kClients = 8;
constexpr uint8_t kAddresses = 8;
constexpr uint32_t kExemptVlans = 3;
const MacAddress kServer = {2, 0, 0, 0, 0, 0xfe};

MacAddress clientMac(uint8_t selector) {
    return {2, 0, 0, 0, 0, static_cast<uint8_t>(1 + selector % kClients)};
}

switchsim::Ipv6Bytes addressOf(uint8_t selector) {
    switchsim::Ipv6Bytes address = {0x20, 0x01, 0x0d, 0xb8};
    address[15] = static_cast<uint8_t>(1 + selector % kAddresses);
    return address;
}

Ipv6Address asAddress(const switchsim::Ipv6Bytes &bytes) {
    Ipv6Address address;
    std::copy(bytes.begin(), bytes.end(), address.octets);
    return address;
}

uint32_t clientPortOf(uint8_t selector) {
    return 2 + selector % kClientPorts;
}

void deliver(uint32_t port, const dhcp6::Dhcp6Frame &frame) {
    fuzzSwitch().queueFrame(port, kClientVlan, dhcp6::buildDhcp6Frame(frame).bytes);
    serve();
}

// A client on a port asks, and the server grants it up to three of the addresses and perhaps a prefix.
void exchange(Input &input) {
    const MacAddress client = clientMac(input.byte());
    const uint32_t port = clientPortOf(input.byte());
    const uint8_t grant = input.byte();
    const uint32_t valid = 5 + input.byte() % 40;
    fuzzSwitch().learnMac(client, kClientVlan, port);
    deliver(port, dhcp6::fromClient(dhcp6::SOLICIT, client, {}));
    Bytes addresses;
    for (uint8_t i = 0; i < 3; ++i) {
        if ((grant & (1U << i)) != 0) {
            addresses = dhcp6::join({addresses, dhcp6::iaAddress(addressOf(grant >> 3 | i), valid, valid)});
        }
    }
    Bytes options = dhcp6::iaNa(1, 0, 0, addresses);
    if ((grant & 0x80) != 0) {
        options = dhcp6::join(
            {options,
             dhcp6::iaPd(2, 0, 0, dhcp6::iaPrefix(valid, valid, 56, switchsim::ipv6("2001:db8:100::")))});
    }
    deliver(kServerPort, dhcp6::fromServer(dhcp6::REPLY, kServer, client, options));
}

// A recorded client gives one address back, from the port it was recorded on.
void release(Input &input) {
    const MacAddress client = clientMac(input.byte());
    const switchsim::Ipv6Bytes address = addressOf(input.byte());
    const ClientEntry *entry = clientFind(client.data());
    if (entry == nullptr) {
        return;
    }
    deliver(entry->portIndex,
            dhcp6::fromClient(dhcp6::RELEASE, client, dhcp6::iaNa(1, 0, 0, dhcp6::iaAddress(address, 0, 0))));
}

void addBinding(Input &input) {
    const uint8_t macSelector = input.byte();
    const uint8_t portSelector = input.byte();
    const MacAddress mac = macSelector % 2 == 0 ? MacAddress{} : clientMac(macSelector / 2);
    const uint32_t port = portSelector % 3 == 0 ? 0 : clientPortOf(portSelector);
    ip6v6_source_guard_bind_node_add(asAddress(addressOf(input.byte())), mac.data(), port, input.byte() % 3);
}

void exemptVlan(Input &input) {
    const uint8_t choice = input.byte();
    VlanBitmap requested{};
    VlanBitmap failed{};
    vlanBitmapAdd(requested, 1 + choice / 2 % kExemptVlans);
    ip6_source_guard_vlanlist_config(choice % 2 == 0 ? kExemptVlansRemove : 0, &requested, &failed);
}

void removeInBulk(Input &input) {
    DeleteSelector selector{};
    selector.kind = input.byte() % 5;
    const uint8_t argument = input.byte();
    selector.portIndex = clientPortOf(argument);
    selector.vlanId = kClientVlan;
    const MacAddress mac = clientMac(argument);
    std::copy(mac.begin(), mac.end(), selector.mac);
    const switchsim::Ipv6Bytes address = addressOf(argument);
    std::copy(address.begin(), address.end(), selector.address);
    dhcp6snoopingDeleteByData(selector);
}

void step(Input &input) {
    switch (input.byte() % 12) {
        case 0:
            exchange(input);
            break;
        case 1:
            release(input);
            break;
        case 2:
            set_ip6_source_guard_port_mode(clientPortOf(input.byte()), 1 + input.byte() % 4);
            break;
        case 3:
            dhcp6snooping_port_mode(clientPortOf(input.byte()), input.byte() % 2);
            break;
        case 4:
            addBinding(input);
            break;
        case 5:
            ip6v6_source_guard_bind_node_delete(asAddress(addressOf(input.byte())));
            break;
        case 6:
            ip6v6_source_guard_bind_node_delete_all();
            break;
        case 7:
            exemptVlan(input);
            break;
        case 8:
            fuzzSwitch().queueTimerTicks(1 + input.byte() % 40);
            serve();
            break;
        case 9:
            removeInBulk(input);
            break;
        case 10:
            (input.byte() % 2 != 0) ? dhcp6snoopingStart() : dhcp6snoopingStop();
            break;
        default:
            fuzzSwitch().queueLinkChange(clientPortOf(input.byte()), 0);
            serve();
            break;
    }
}

std::string addressText(const uint8_t *address) {
    char text[64] = {};
    vosInetNtop(VOS_AF_INET6, address, text, sizeof text);
    return text;
}

std::string macText(const uint8_t *mac) {
    char text[18] = {};
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4],
                  mac[5]);
    return text;
}

std::string forwardFilter(const uint8_t *address, const uint8_t *mac, uint32_t port, uint32_t vlan) {
    std::string filter = "forward ip6 " + addressText(address);
    if (mac != nullptr) {
        filter += " mac " + macText(mac);
    }
    if (port != 0) {
        filter += " port " + std::to_string(port);
    }
    if (vlan != 0) {
        filter += " vlan " + std::to_string(vlan);
    }
    return filter;
}

bool guarded(uint32_t port) {
    return ip6_source_guard_port_enabled(port) != 0;
}

// What the switch must hold for the daemon's state as it is now.
std::set<std::string> impliedFilters() {
    std::set<std::string> filters;
    if (dhcp6snoopingOnOff == 1) {
        filters.insert({"dhcp6-trap", "forward icmp6-nd"});
    }
    for (uint32_t port = 1; port <= kPorts; ++port) {
        if (guarded(port)) {
            filters.insert("deny-all-ip6 port " + std::to_string(port));
        }
    }
    for (const StaticBindEntry *binding = staticBindList.next; binding != &staticBindList;
         binding = binding->next) {
        if (binding->port != 0 && guarded(binding->port)) {
            filters.insert(forwardFilter(binding->ip, binding->mac, binding->port, binding->vlan));
        } else if (binding->port == 0 && ip6_source_guard_any_port_enabled() != 0) {
            filters.insert(
                forwardFilter(binding->ip, macIsZero(binding->mac) ? nullptr : binding->mac, 0, 0));
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
    for (uint32_t vlan = kFirstVlan; vlan <= kLastVlan; ++vlan) {
        if (no_ip6_source_guard_vlan_get(vlan) == 1) {
            filters.insert("forward vlan " + std::to_string(vlan));
        }
    }
    return filters;
}

std::optional<std::string> mismatch(const std::string &when) {
    const std::vector<std::string> installed = fuzzSwitch().installedFilters();
    const std::set<std::string> held(installed.begin(), installed.end());
    const std::set<std::string> implied = impliedFilters();
    if (held != implied) {
        std::string text = when + ": the switch holds";
        std::vector<std::string> extra;
        std::ranges::set_difference(held, implied, std::back_inserter(extra));
        for (const std::string &filter : extra) {
            text += " [" + filter + "]";
        }
        text += " too many, and lacks";
        std::vector<std::string> missing;
        std::ranges::set_difference(implied, held, std::back_inserter(missing));
        for (const std::string &filter : missing) {
            text += " [" + filter + "]";
        }
        return text;
    }
    uint32_t counted[kPortTableSize] = {};
    for (const ClientEntry *entry = clientFirst(); entry != nullptr; entry = clientAfter(entry->mac)) {
        counted[portSlot(entry->portIndex)] += entry->counted;
    }
    for (uint32_t port = 1; port <= kPorts; ++port) {
        uint32_t maximum = 0;
        uint32_t count = 0;
        dhcp6snooping_port_maxclients_get(port, &maximum, &count);
        if (count != counted[portSlot(port)]) {
            return when + ": port " + std::to_string(port) + " counts " + std::to_string(count) +
                   " clients, the "
                   "table holds " +
                   std::to_string(counted[portSlot(port)]);
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> playSourceGuardSequence(Input &input) {
    fuzzSwitch().learnMac(kServer, kClientVlan, kServerPort);
    dhcp6snooping_port_mode(kServerPort, 1);
    dhcp6snoopingStart();
    std::optional<std::string> failure;
    for (uint32_t number = 1; !input.empty() && !failure; ++number) {
        step(input);
        failure = mismatch("after step " + std::to_string(number));
    }
    resetAll(/*filtersMustBeGone=*/!failure);
    return failure;
}

}  // namespace fuzz
