#pragma once
// What the daemon does with each kind of DHCPv6 message while snooping is on.

#include <cstdint>

#include "core/SharedTypes.h"
#include "snooping/Dhcp6Options.h"
#include "snooping/SnoopPacket.h"

struct MessageContext {
    SnoopPacket *packet;
    const Dhcp6Message *message;
    uint32_t payloadOffset;
    VlanId vlanId;
    PortIndex port;  // the receiving port
};

// SOLICIT, REQUEST, CONFIRM, RENEW, REBIND: limit and record the client on an untrusted port, then send
// toward the servers.
void handleClientMessage(const MessageContext &context);
// RELEASE, DECLINE: forget the bindings named, then send toward the servers from any port.
void handleRelease(const MessageContext &context);
// REPLY: only from a trusted port; learn the bindings granted, then send toward the client.
void handleReply(const MessageContext &context);
// ADVERTISE, RECONFIGURE, RELAY_REPLY: only from a trusted port, toward the client.
void handleServerMessage(const MessageContext &context);
