#pragma once
// Removing clients in bulk: those of a port, of a VLAN, one MAC, every client, or the one binding of an
// address. Each removal may release filters in the switch's hardware, so a long run warns and gives up.

#include <cstddef>
#include <cstdint>

#include "mgmt_protocol/Statistics.h"

extern "C" {

enum DeleteKind : uint32_t {
    DELETE_BY_PORT = 0,
    DELETE_BY_ADDRESS = 1,
    DELETE_BY_VLAN = 2,
    DELETE_BY_MAC = 3,
    DELETE_ALL = 4,
};

// Which clients to remove; also the argument of the remote call that asks for it, so its bytes are fixed.
struct DeleteSelector {
    uint32_t kind;        // a DeleteKind
    uint32_t vlanId;      // DELETE_BY_VLAN
    uint32_t portIndex;   // DELETE_BY_PORT
    uint8_t address[16];  // DELETE_BY_ADDRESS; the prefix length is not compared
    uint8_t mac[6];       // DELETE_BY_MAC
    uint8_t reserved[2];
};
static_assert(sizeof(DeleteSelector) == 36);
static_assert(offsetof(DeleteSelector, vlanId) == 4);
static_assert(offsetof(DeleteSelector, portIndex) == 8);
static_assert(offsetof(DeleteSelector, address) == 12);
static_assert(offsetof(DeleteSelector, mac) == 28);

// Removes what the selector names, walking the clients in MAC order. By address, only the first client
// holding the address loses that binding (and the client goes when it was its last). Warns from 10 seconds
// on and stops after 30, leaving the clients not yet visited. Returns 0, or -1 for an unknown kind when
// there is at least one client.
int32_t dhcp6snoopingDeleteByData(DeleteSelector selector);
}

// dhcp6snoopingDeleteByData, counting every binding it removes under `cause`.
int32_t deleteClientsCounted(DeleteSelector selector, mgmt::Counter cause);
