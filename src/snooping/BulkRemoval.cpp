#include "snooping/BulkRemoval.h"

#include <cstring>

#include "core/DebugTrace.h"
#include "core/FrameStatistics.h"
#include "platform/VosApi.h"
#include "snooping/ClientTable.h"

namespace {

constexpr char kTakingLong[] = "\r\ntoo many ipv6-source-guard filters to release, it's taking long!!";
constexpr char kGivingUp[] = "\r\nhas been releasing ipv6-source-guard filters for 30 seconds, stop process";
constexpr uint32_t kWarnAfterSeconds = 10;
constexpr uint32_t kStopAfterSeconds = 30;

enum class Step { GoOn, Stop };

// Warns once the run has lasted 10 seconds, at every check, and asks to stop at 30.
Step checkTime(uint32_t start) {
    const uint32_t elapsed = vosUpSeconds() - start;
    if (elapsed >= kWarnAfterSeconds) {
        dhcp6snooping_debug_printf(kTakingLong);
    }
    if (elapsed >= kStopAfterSeconds) {
        dhcp6snooping_debug_printf(kGivingUp);
        return Step::Stop;
    }
    return Step::GoOn;
}

bool selects(const ClientEntry &entry, const DeleteSelector &selector) {
    switch (selector.kind) {
        case DELETE_BY_PORT:
            return entry.portIndex == selector.portIndex;
        case DELETE_BY_VLAN:
            return entry.vlanId == selector.vlanId;
        case DELETE_BY_MAC:
            return std::memcmp(entry.mac, selector.mac, kMacSize) == 0;
        default:
            return true;
    }
}

ClientAddress *findAddress(const ClientEntry &entry, const uint8_t *address) {
    for (uint32_t i = 0; i < entry.addresses.count; ++i) {
        if (std::memcmp(addressAt(entry.addresses, i)->address, address, sizeof ClientAddress::address) ==
            0) {
            return addressAt(entry.addresses, i);
        }
    }
    return nullptr;
}

}  // namespace

int32_t deleteClientsCounted(DeleteSelector selector, mgmt::Counter cause) {
    const uint32_t start = vosUpSeconds();
    for (ClientEntry *entry = clientFirst(); entry != nullptr;) {
        ClientEntry *next = clientAfter(entry->mac);
        if (selector.kind > DELETE_ALL) {
            return -1;
        }
        if (selector.kind == DELETE_BY_ADDRESS) {
            if (ClientAddress *record = findAddress(*entry, selector.address)) {
                countEvent(entry->portIndex, cause);
                clientForgetBinding(*entry, *record, entry->portIndex, [](const ClientAddress &) {});
                clientDeleteIfBare(*entry);
                return 0;
            }
        } else if (selects(*entry, selector)) {
            countEvent(entry->portIndex, cause, entry->addresses.count);
            clientDelete(entry->mac);
        } else {
            entry = next;
            continue;
        }
        if (checkTime(start) == Step::Stop) {
            return 0;
        }
        entry = next;
    }
    return 0;
}

extern "C" {

int32_t dhcp6snoopingDeleteByData(DeleteSelector selector) {
    return deleteClientsCounted(selector, mgmt::Counter::BindingsRemovedClear);
}
}
