#pragma once
// The daemon's counters: for every frame it is handed, whether it passed (by message type) or why it was
// dropped, and beside them what became of bindings and of the filter-service requests, per port. Counting
// is an increment in a fixed table; nothing on the packet path allocates or formats for it. A drop is also
// told to a listener, when the platform set one, which may log it.

#include <cstdint>

#include "core/SharedTypes.h"
#include "mgmt_protocol/Statistics.h"

extern "C" {

// One dropped frame: the port (0 when out of the port table), the VLAN, the DHCPv6 message type (0 when
// the message could not be read), the frame's source MAC (null when the frame is too short for one) and
// the reason, a mgmt::Counter of the dropped group.
struct DropNotice {
    uint32_t port;
    uint32_t vlan;
    uint32_t messageType;
    const uint8_t *sourceMac;
    uint32_t reason;
};
typedef void (*DropListener)(const DropNotice *notice);

// Every drop from now on is told to `listener` (null: to none), on the daemon's thread, while the frame
// is being handled.
void dhcp6snoopingDropListen(DropListener listener);

// The counters of `port` (1 to 224), in mgmt::Counter order; those of port 0 count the frames whose port
// lay outside the table. Null for any other port.
const uint64_t *dhcp6snoopingCounters(uint32_t port);

// Every counter back to 0.
void dhcp6snoopingCountersClear(void);
}

// The frame being handled, with its source MAC (null when the frame is too short for one): the counts
// below that speak of "the frame" go to its port and message type.
void countFrameBegin(PortIndex port, uint32_t vlan, const uint8_t *sourceMac);
// Its message type, once the message was found in it.
void countFrameType(uint8_t messageType);
// The frame was sent on: counted as passed under its message type.
void countFramePassed();
// The frame was dropped for `reason`.
void countFrameDropped(mgmt::Counter reason);
// `count` events of `counter` on `port` (a binding learned, a filter requested, ...); a port outside the
// table counts under port 0.
void countEvent(PortIndex port, mgmt::Counter counter, uint64_t count = 1);
