// Arbitrary frames through the whole receive callback, interleaved with everything else that changes the
// daemon's state on a switch: settings, snooping on and off, the MAC table, timer ticks, links going down,
// tracing, bulk removal, VLAN resets and failures of memory, filters and sends.
//
// An input starts with one byte that chooses which of four static bindings are added first, then holds
// operations, each an opcode byte and its arguments:
//   0 frame       port, VLAN, flags (0x10 kind 1, 0x20 kind 2), payload offset, length (16 bits), bytes
//   1 port        port, setting (trust, guard mode, port limit, VLAN limit), value
//   2 snooping    on when odd
//   3 learn MAC   last MAC byte, VLAN, port (above the port count: the aggregation group)
//   4 ticks       count
//   5 link        port, status
//   6 trace       on when odd
//   7 failure     what, count
//   8 bulk        kind, argument
//   9 VLAN reset  VLAN
// Until a failure is planned, the switch must hold exactly the filters the daemon's state implies after
// every operation, and none after the reset; after every input the client table must keep its promises
// (see clientTableConsistent).

#include <algorithm>
#include <array>
#include <memory>

#include "FilterInvariant.h"
#include "FuzzSupport.h"
#include "mgmt/PortVlanSettings.h"
#include "snooping/Dhcp6Snooping.h"
#include "snooping/SnoopingOnOff.h"
#include "source_guard/PortMode.h"
#include "source_guard/StaticBindings.h"

namespace {

using namespace fuzz;

constexpr uint32_t kTraceLevel = 7;

Ipv6Address addressOf(uint8_t last) {
    return {{0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, last}};
}

// Bindings for every port with and without a MAC, for port 3 with a VLAN and for port 5 without: the last
// byte of the address, the last byte of the MAC (0: no MAC), the port and the VLAN.
constexpr uint8_t kBindings[4][4] = {{1, 0, 0, 0}, {2, 1, 3, 1}, {3, 2, 0, 0}, {4, 0, 5, 0}};

void addBindings(uint8_t chosen) {
    for (uint32_t i = 0; i < 4; ++i) {
        const uint8_t *binding = kBindings[i];
        const uint8_t mac[kMacSize] = {2, 0, 0, 0, 0, binding[1]};
        if ((chosen & (1U << i)) != 0) {
            ip6v6_source_guard_bind_node_add(addressOf(binding[0]), binding[1] != 0 ? mac : nullptr,
                                             binding[2], binding[3]);
        }
    }
}

constexpr std::array<std::string_view, 8> kFilterCalls = {
    "FRM_InstallForwardIp6AddrFilterResource_new",  "FRM_RemoveForwardIp6AddrFilterResource_new",
    "FRM_OperatePortDenyAllIp6FilterResource",      "FRM_InstallGlobalForwardIp6AddrOnlyFilterResource",
    "FRM_RemoveGlobalForwardIp6AddrFilterResource", "FRM_InstallForwardIp6AddrFilterResource",
    "FRM_RemoveGlobalForwardIcmp6NdFilterResource", "FRM_OperateDhcp6FilterResource",
};

// The packet service hands frames over 2 bytes past a 4-byte boundary; the frame ends where the buffer
// ends, so that any read past it is caught.
void deliverFrame(Input &input) {
    const uint32_t port = portOf(input.byte());
    const uint32_t vlan = vlanOf(input.byte());
    const uint8_t flags = input.byte();
    const uint16_t kind = (flags & 0x20) != 0 ? 2 : ((flags & 0x10) != 0 ? 1 : 0);
    PktRecvInfo info{};
    info.etherTypeOffset = 12;
    info.payloadOffset = input.byte();
    info.frameKind = kind;
    const auto [bytes, length] = input.take(input.be16());
    const auto buffer = std::make_unique<uint8_t[]>(length + 2);
    uint8_t *frame = std::copy_n(bytes, length, buffer.get() + 2) - length;
    dhcp6snoopingRegPktProcess(frame, static_cast<uint32_t>(length), PktRecvTag{vlan, port, {}}, info);
}

void changeSetting(Input &input) {
    const uint32_t port = portOf(input.byte());
    const uint8_t setting = input.byte();
    const uint8_t value = input.byte();
    setting % 4 == 0   ? dhcp6snooping_port_mode(port, value % 3)
    : setting % 4 == 1 ? set_ip6_source_guard_port_mode(port, value % 6)
    : setting % 4 == 2 ? dhcp6snooping_port_maxclients(port, value % 4)
                       : dhcp6snooping_vlan_maxclients(vlanOf(setting / 4), value % 4);
}

void learnMac(Input &input) {
    const switchsim::MacAddress mac = {2, 0, 0, 0, 0, input.byte()};
    const uint32_t vlan = vlanOf(input.byte());
    const uint8_t where = input.byte();
    if (where >= kPorts) {
        fuzzSwitch().learnMacOnAggregation(mac, vlan, kAggregation);
    } else {
        fuzzSwitch().learnMac(mac, vlan, portOf(where));
    }
}

void planFailure(Input &input) {
    const uint8_t what = input.byte();
    const uint32_t times = 1 + input.byte() % 4;
    if (what % 3 == 0) {
        fuzzSwitch().failAllocations(times);
    } else if (what % 3 == 1) {
        fuzzSwitch().failFilterCall(kFilterCalls[(what / 3) % kFilterCalls.size()], -3, times);
    } else {
        fuzzSwitch().failFrameSend((what / 3) % 2 == 0 ? "smdVDPktSendPort" : "smdVDPktSendPortlist", -1,
                                   times);
    }
}

// Returns whether the operation planned a failure, after which filters may rightly be missing or left over.
bool apply(Input &input) {
    using Operation = void (*)(Input &);
    static constexpr Operation kOperations[] = {
        deliverFrame,
        changeSetting,
        [](Input &in) { (in.byte() % 2 != 0) ? dhcp6snoopingStart() : dhcp6snoopingStop(); },
        learnMac,
        [](Input &in) {
            fuzzSwitch().queueTimerTicks(in.byte());
            serve();
        },
        [](Input &in) {
            const uint32_t port = portOf(in.byte());
            fuzzSwitch().queueLinkChange(port, in.byte() % 2);
            serve();
        },
        [](Input &in) {
            fuzzSwitch().setModuleLogLevel(kDhcp6SnoopingModuleId, in.byte() % 2 != 0 ? kTraceLevel : 0);
        },
        planFailure,
        [](Input &in) {
            const uint32_t kind = in.byte() % 6;
            const uint8_t argument = in.byte();
            const uint8_t mac[kMacSize] = {2, 0, 0, 0, 0, argument};
            removeClients(kind, portOf(argument), vlanOf(argument), mac, addressOf(argument).octets);
        },
        [](Input &in) {
            const VlanBitmap vlans = vlanBitmapOf({static_cast<VlanId>(vlanOf(in.byte()))});
            dhcp6snooping_vlan_reset(&vlans);
        },
    };
    const Operation operation = kOperations[input.byte() % std::size(kOperations)];
    operation(input);
    return operation == planFailure;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzzSwitch();
    Input input(data, size);
    addBindings(input.byte());
    bool failurePlanned = false;
    while (!input.empty()) {
        failurePlanned = apply(input) || failurePlanned;
        if (!failurePlanned) {
            requireInvariant("after an operation");
        }
    }
    require(clientTableConsistent());
    resetAll(/*filtersMustBeGone=*/!failurePlanned);
    return 0;
}
