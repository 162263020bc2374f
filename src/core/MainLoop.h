#pragma once
// The daemon's main loop over its management message queue.

#include <cstdint>

extern "C" {

// Queue handle obtained at start-up and used for every receive and reply.
extern uint32_t dhcp6snoopingMsgQueue;

// One turn of the main loop: waits for the next management message (the platform runs the registered
// callbacks from inside that wait), serves it and replies unless the service says no reply is due.
void dhcp6snoopingServeNextMessage(void);
}
