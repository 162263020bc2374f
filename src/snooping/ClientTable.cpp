#include "snooping/ClientTable.h"

#include <cstring>

#include "core/DebugTrace.h"
#include "core/GlobalState.h"
#include "snooping/BindingFilter.h"

namespace {

constexpr char kPoolExhausted[] = "\r\n lstGet failed, no enough node space.";

ClientEntry *asEntry(void *record) {
    return static_cast<ClientEntry *>(record);
}

uint64_t macOrder(const uint8_t *mac) {
    uint64_t order = 0;
    for (uint32_t i = 0; i < kMacSize; ++i) {
        order = order << 8 | mac[i];
    }
    return order;
}

void decrementIfPositive(uint16_t &count) {
    if (count != 0) {
        --count;
    }
}

void uncount(ClientEntry &entry) {
    if (entry.counted != 1) {
        return;
    }
    if (isTablePort(entry.portIndex)) {
        decrementIfPositive(portClientCount[portSlot(entry.portIndex)]);
    }
    if (entry.vlanId < kVlanTableSize) {
        decrementIfPositive(vlanClientCount[entry.vlanId]);
    }
    entry.counted = 0;
}

// Only an acknowledged client can have filters.
void removeFilters(const ClientEntry &entry) {
    if (entry.acked != 1) {
        return;
    }
    for (uint32_t i = 0; i < entry.addresses.count; ++i) {
        clientForgetBindingFilter(entry, *addressAt(entry.addresses, i), entry.portIndex);
    }
}

}  // namespace

extern "C" {

AvlNode *clientTable = nullptr;
ClientNodePool clientNodePool;

void clientNodePoolInit(void) {
    clientTable = nullptr;
    lstInit(&clientNodePool.freeList);
    for (ClientEntry &node : clientNodePool.nodes) {
        node = {};
        lstAdd(&clientNodePool.freeList, &node.linkage.free);
    }
}

int32_t clientMacCompare(const void *entry, const void *key) {
    // Every step of a lookup compares; six bytes read as one big-endian number order the same as byte by
    // byte and cost no call.
    const uint64_t wanted = macOrder(static_cast<const uint8_t *>(key));
    const uint64_t held = macOrder(static_cast<const ClientEntry *>(entry)->mac);
    return wanted < held ? -1 : (wanted > held ? 1 : 0);
}

ClientEntry *clientFind(const uint8_t *mac) {
    if (mac == nullptr) {
        return nullptr;
    }
    return asEntry(avlSearch(clientTable, mac, clientMacCompare));
}

ClientEntry *clientFindOrCreate(const uint8_t *mac) {
    if (mac == nullptr) {
        return nullptr;
    }
    if (ClientEntry *existing = clientFind(mac)) {
        return existing;
    }
    LstNode *node = lstGet(&clientNodePool.freeList);
    if (node == nullptr) {
        dhcp6snooping_debug_printf(kPoolExhausted);
        return nullptr;
    }
    auto *entry = reinterpret_cast<ClientEntry *>(node);
    if (avlInsert(&clientTable, &entry->linkage.tree, mac, clientMacCompare) != 0) {
        lstAdd(&clientNodePool.freeList, node);
        return nullptr;
    }
    std::memcpy(entry->mac, mac, kMacSize);
    entry->acked = 0;
    entry->counted = 0;
    return entry;
}

int32_t clientDelete(const uint8_t *mac) {
    if (mac == nullptr) {
        return -1;
    }
    // The MAC may live in the entry being removed: keep the key apart from it.
    uint8_t key[kMacSize];
    std::memcpy(key, mac, kMacSize);
    if (clientFind(key) == nullptr) {
        return 0;
    }
    ClientEntry *entry = asEntry(avlDelete(&clientTable, key, clientMacCompare));
    if (entry == nullptr) {
        return 0;
    }
    uncount(*entry);
    removeFilters(*entry);
    addressListClear(&entry->addresses, addressListFreeItem);
    *entry = {};
    lstAdd(&clientNodePool.freeList, &entry->linkage.free);
    return 0;
}

int32_t clientDeleteAll(void) {
    while (ClientEntry *entry = clientFirst()) {
        clientDelete(entry->mac);
    }
    return 0;
}

void clientCount(ClientEntry *entry) {
    if (entry->counted != 0 || !isTablePort(entry->portIndex) || entry->vlanId >= kVlanTableSize) {
        return;
    }
    entry->counted = 1;
    ++portClientCount[portSlot(entry->portIndex)];
    ++vlanClientCount[entry->vlanId];
}

ClientEntry *clientFirst(void) {
    return asEntry(avlMinimumGet(clientTable));
}

ClientEntry *clientAfter(const uint8_t *mac) {
    if (mac == nullptr) {
        return nullptr;
    }
    return asEntry(avlSuccessorGet(clientTable, mac, clientMacCompare));
}
}

void clientForgetBindingFilter(const ClientEntry &entry, const ClientAddress &record,
                               PortIndex guardPortIndex) {
    // A RELEASE that comes in on an unguarded port, a trusted uplink say, must not leave the filter of the
    // client's guarded port without its binding.
    if (bindingHasFilter(entry, record, guardPortIndex) || bindingHasFilter(entry, record, entry.portIndex)) {
        bindingFilterRemove(entry, record);
    }
}

bool clientDeleteIfBare(ClientEntry &entry) {
    if (entry.acked != 1 || entry.addresses.count != 0) {
        return false;
    }
    clientDelete(entry.mac);
    return true;
}
