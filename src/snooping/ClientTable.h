#pragma once
// The learned clients: one entry per client MAC, taken from a fixed pool of nodes and kept in a tree ordered
// by MAC, so that lookups are fast and every reader can walk the clients in MAC order.

#include <cstddef>
#include <cstdint>

#include "core/SharedTypes.h"
#include "platform/ContainerApi.h"
#include "snooping/AddressList.h"

extern "C" {

// The tree links an entry while it is in the table, the free list while it is in the pool; never both.
union ClientLinkage {
    AvlNode tree;
    LstNode free;
};

struct ClientEntry {
    ClientLinkage linkage;     // first, where the containers expect their node header
    uint32_t vlanId;           // VLAN on which the client was last recorded
    uint32_t portIndex;        // port on which the client was last recorded; 0 = none
    uint8_t mac[6];            // the key
    uint32_t pendingLifetime;  // seconds left to an unacknowledged client
    uint32_t lastUpdate;       // vosUpSeconds of the last aging step, recording or acknowledgement
    uint32_t acked;            // 1 once a REPLY with usable bindings was merged; only then has it bindings
    uint32_t counted;          // 1 while included in portClientCount and vlanClientCount
    AddressList addresses;
};
static_assert(offsetof(ClientEntry, linkage) == 0);

struct ClientNodePool {
    ClientEntry nodes[kMaxClients];
    LstList freeList;
};

extern AvlNode *clientTable;
extern ClientNodePool clientNodePool;

// Puts every node of the pool on the free list, in ascending order, with an empty table.
void clientNodePoolInit(void);

// Orders entries by MAC, byte by byte as unsigned values: -1 when `key` sorts before the entry's MAC, 1
// after.
int32_t clientMacCompare(const void *entry, const void *key);

// The entry of `mac`, or null (also for a null MAC).
ClientEntry *clientFind(const uint8_t *mac);
// The entry of `mac`, or a new zeroed entry holding only the MAC; null when the pool is exhausted (traced) or
// the MAC is null.
ClientEntry *clientFindOrCreate(const uint8_t *mac);
// Removes the client of `mac` with everything it caused: its counts, then the filters of its addresses, then
// the addresses. Returns -1 for a null MAC, otherwise 0, also when there is no such client.
int32_t clientDelete(const uint8_t *mac);
// Removes every client. Returns 0.
int32_t clientDeleteAll(void);

// Counts the client on its recorded port and VLAN, once: nothing happens while it is counted already.
void clientCount(ClientEntry *entry);

// Walks in MAC order: the first client, and the client after `mac` (which need not be in the table). Fetch
// the next one before acting on the current one, and the current one may be deleted.
ClientEntry *clientFirst(void);
ClientEntry *clientAfter(const uint8_t *mac);
}

// Removes the filter of one of the client's bindings when it has one (see clientForgetBinding).
void clientForgetBindingFilter(const ClientEntry &entry, const ClientAddress &record,
                               PortIndex guardPortIndex);

// Forgets one binding of `entry`, in the order every path that removes a single binding keeps: its filter
// first, when it has one (the guard mode of port `guardPortIndex` deciding: the client's recorded port, or
// the receiving port of a RELEASE or DECLINE; a filter that the recorded port's guard installed goes with
// the binding whatever the receiving port says), then `announce(record)` for the caller's trace line, then
// the record itself, which is freed.
template <typename Announce>
void clientForgetBinding(ClientEntry &entry, ClientAddress &record, PortIndex guardPortIndex,
                         Announce announce) {
    clientForgetBindingFilter(entry, record, guardPortIndex);
    announce(record);
    addressListRemove(&entry.addresses, &record, addressListFreeItem);
}

// Removes an acknowledged client whose last binding has gone; true when it went.
bool clientDeleteIfBare(ClientEntry &entry);
