#include "OperatorView.h"

#include <cstdio>
#include <string>

#include "core/GlobalState.h"
#include "core/MacText.h"
#include "platform/VosApi.h"

namespace {

constexpr uint32_t kAddressTextSize = 64;

// The daemon counts lifetimes down only when its timer ages the client; what is left now also takes off
// the seconds since then.
uint32_t secondsLeft(uint32_t atLastUpdate, const ClientEntry &entry, uint32_t now) {
    const uint32_t since = now - entry.lastUpdate;
    return atLastUpdate > since ? atLastUpdate - since : 0;
}

std::string stateOf(const ClientEntry &entry, uint32_t now) {
    if (entry.acked == 1) {
        return "acked";
    }
    return "pending, " + std::to_string(secondsLeft(entry.pendingLifetime, entry, now)) + " s left";
}

std::string bindingText(const ClientAddress &record) {
    char address[kAddressTextSize] = {};
    vosInetNtop(VOS_AF_INET6, record.address, address, kAddressTextSize);
    return std::string(address) + "/" + std::to_string(record.prefixLength);
}

}  // namespace

std::vector<const ClientEntry *> clientsInMacOrder() {
    std::vector<const ClientEntry *> clients;
    for (const ClientEntry *entry = clientFirst(); entry != nullptr; entry = clientAfter(entry->mac)) {
        clients.push_back(entry);
    }
    return clients;
}

void printClientTable(uint32_t now) {
    std::printf("  %-17s  %4s  %4s  %s\n", "MAC", "VLAN", "port", "state / binding, valid lifetime left");
    for (const ClientEntry *entry : clientsInMacOrder()) {
        std::printf("  %-17s  %4u  %4u  %s\n", macText(entry->mac).text, entry->vlanId, entry->portIndex,
                    stateOf(*entry, now).c_str());
        for (uint32_t i = 0; i < entry->addresses.count; ++i) {
            const ClientAddress &record = *addressAt(entry->addresses, i);
            std::printf("  %-29s  %-26s %u s\n", "", bindingText(record).c_str(),
                        secondsLeft(record.validLifetime, *entry, now));
        }
    }
}

void printClientCounts() {
    std::string ports;
    for (uint32_t port0 = 0; port0 < kPortTableSize; ++port0) {
        if (portClientCount[port0] != 0) {
            ports += (ports.empty() ? " port " : ", port ") + std::to_string(port0 + 1) + ": " +
                     std::to_string(portClientCount[port0]);
        }
    }
    std::string vlans;
    for (uint32_t vlan = 0; vlan < kVlanTableSize; ++vlan) {
        if (vlanClientCount[vlan] != 0) {
            vlans += (vlans.empty() ? " VLAN " : ", VLAN ") + std::to_string(vlan) + ": " +
                     std::to_string(vlanClientCount[vlan]);
        }
    }
    std::printf("  clients counted on%s; in%s\n", ports.c_str(), vlans.c_str());
}

void printFilters(const switchsim::Switch &sw) {
    std::printf("  filters installed:\n");
    for (const switchsim::Filter &filter : sw.installedFilters()) {
        std::printf("    %s\n", filter.text().c_str());
    }
}
