#pragma once
// Renders a user-defined template into the option being built: its literals as they are, each keyword as a
// fact about the switch, the ingress port, the VLAN or the client.

#include <cstdint>

#include "relay_option/OptionTemplate.h"

extern "C" {

// Where a packet came from, as the option builder knows it.
struct PacketContext {
    uint32_t switchInterface;  // the switch interface serving the VLAN
    uint16_t vlanId;
    uint16_t portIndex0;  // PortIndex - 1 of the ingress port
};

// The facts gathered once per packet before any option is built.
struct RenderFacts {
    uint32_t frame;  // always 0
    uint32_t slot;
    uint32_t subslot;
    uint32_t port;
    uint32_t systemIpv4;  // first octet in the most significant byte
    uint8_t systemMac[6];
    const uint8_t *clientId;  // header of the message's Client Identifier option as received, or null
    const char *systemName;   // empty
};

// Renders `tmpl` into `out`, at most `space` bytes, and sets *written to the bytes written. Returns 0, or -1
// when the VLAN or the port of `context` is out of range or the content does not fit; nothing is written
// past the piece that would not fit.
int32_t dhcp6snoopingTemplateRender(const OptionTemplate *tmpl, const PacketContext *context,
                                    const RenderFacts *facts, uint8_t *out, uint32_t space,
                                    uint32_t *written);
}

// A MAC address as 12 lower-case hexadecimal digits, no separators, into `text` (13 bytes with the zero).
inline constexpr uint32_t kSwitchMacTextLength = 12;
void switchMacText(const uint8_t *mac, char (&text)[kSwitchMacTextLength + 1]);

// The text of an interface type code, "Unkown" for a code without one.
const char *interfaceTypeText(uint32_t typeCode);
