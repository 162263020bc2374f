#include "snooping/Aging.h"

#include "core/DebugTrace.h"
#include "core/FrameStatistics.h"
#include "core/GlobalState.h"
#include "core/MacText.h"
#include "platform/VosApi.h"
#include "snooping/BulkRemoval.h"
#include "snooping/ClientTable.h"

namespace {

constexpr char kBindingExpired[] = "\r\n dhcpv6 snooping timer delete user:mac %s, ipv6 address/prefix : %s";
constexpr char kAckedClientEmpty[] = "\r\n dhcpv6 snooping timer delete ack user:mac %s.";
constexpr char kPendingClientExpired[] = "\r\n dhcpv6 snooping timer delete unack user:mac %s.";
constexpr uint32_t kAddressTextSize = 64;

// What is left of `remaining` after `elapsed` seconds; a second or less left counts as run out.
uint32_t countDown(uint32_t remaining, uint32_t elapsed) {
    return remaining > elapsed ? remaining - elapsed : 0;
}

bool runOut(uint32_t remaining) {
    return remaining <= 1;
}

void traceExpired(const ClientEntry &entry, const ClientAddress &record) {
    if (!dhcp6snoopingTraceOn()) {
        return;
    }
    char address[kAddressTextSize] = {};
    vosInetNtop(VOS_AF_INET6, record.address, address, kAddressTextSize);
    dhcp6snooping_debug_printf(kBindingExpired, macText(entry.mac).text, address);
}

void ageBindings(ClientEntry &entry, uint32_t elapsed) {
    AddressList &list = entry.addresses;
    for (uint32_t i = 0; i < list.count;) {
        ClientAddress &record = *addressAt(list, i);
        record.validLifetime = countDown(record.validLifetime, elapsed);
        if (runOut(record.validLifetime)) {
            // The record that follows moves into this place and is looked at next.
            countEvent(entry.portIndex, mgmt::Counter::BindingsExpired);
            clientForgetBinding(entry, record, entry.portIndex,
                                [&entry](const ClientAddress &expired) { traceExpired(entry, expired); });
        } else {
            ++i;
        }
    }
}

void age(ClientEntry &entry) {
    const uint32_t now = vosUpSeconds();
    const uint32_t elapsed = now - entry.lastUpdate;
    entry.lastUpdate = now;
    ageBindings(entry, elapsed);
    if (entry.acked == 1) {
        if (entry.addresses.count == 0) {
            dhcp6snooping_debug_printf(kAckedClientEmpty, macText(entry.mac).text);
            clientDelete(entry.mac);
        }
        return;
    }
    entry.pendingLifetime = countDown(entry.pendingLifetime, elapsed);
    if (runOut(entry.pendingLifetime)) {
        dhcp6snooping_debug_printf(kPendingClientExpired, macText(entry.mac).text);
        countEvent(entry.portIndex, mgmt::Counter::ClientsExpiredWaiting);
        clientDelete(entry.mac);
    }
}

}  // namespace

extern "C" {

int32_t dhcp6snoopingTimerCallback(void) {
    dhcp6snoopingTimerAge();
    return 0;
}

int32_t dhcp6snoopingTimerAge(void) {
    for (ClientEntry *entry = clientFirst(); entry != nullptr;) {
        ClientEntry *next = clientAfter(entry->mac);
        age(*entry);
        entry = next;
    }
    return 0;
}

int32_t dhcp6snoopingLinkChange(uint32_t portIndex, uint32_t status) {
    if (status != 0 || portDownRemoveSwitch == 0) {
        return 0;
    }
    DeleteSelector selector{};
    selector.kind = DELETE_BY_PORT;
    selector.portIndex = portIndex;
    deleteClientsCounted(selector, mgmt::Counter::BindingsRemovedLinkDown);
    return 0;
}
}
