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
// After every input the counts must match the table.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "FuzzSupport.h"
#include "core/GlobalState.h"
#include "mgmt/PortVlanSettings.h"
#include "snooping/BulkRemoval.h"
#include "snooping/ClientTable.h"
#include "snooping/Dhcp6Snooping.h"
#include "snooping/SnoopingOnOff.h"
#include "source_guard/PortMode.h"
#include "source_guard/StaticBindings.h"

namespace {

using namespace fuzz;

constexpr uint32_t kTraceLevel = 7;

std::array<uint8_t, 16> addressOf(uint8_t last) {
    std::array<uint8_t, 16> address = {0x20, 0x01, 0x0d, 0xb8};
    address[15] = last;
    return address;
}

// Bindings for every port with and without a MAC, for port 3 with a VLAN and for port 5 without.
struct Binding {
    uint8_t addressLast;
    uint8_t macLast;  // 0: no MAC
    uint32_t port;
    uint32_t vlan;
};
constexpr std::array<Binding, 4> kBindings = {{{1, 0, 0, 0}, {2, 1, 3, 1}, {3, 2, 0, 0}, {4, 0, 5, 0}}};

void addBindings(uint8_t chosen) {
    for (size_t i = 0; i < kBindings.size(); ++i) {
        if ((chosen & (1U << i)) == 0) {
            continue;
        }
        const Binding &binding = kBindings[i];
        const auto address = addressOf(binding.addressLast);
        Ipv6Address ip;
        std::memcpy(ip.octets, address.data(), address.size());
        const uint8_t mac[kMacSize] = {2, 0, 0, 0, 0, binding.macLast};
        ip6v6_source_guard_bind_node_add(ip, binding.macLast != 0 ? mac : nullptr, binding.port,
                                         binding.vlan);
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
    const uint8_t payloadOffset = input.byte();
    const size_t wanted = input.be16();
    const auto [bytes, length] = input.take(wanted);
    const auto buffer = std::make_unique<uint8_t[]>(length + 2);
    uint8_t *frame = buffer.get() + 2;
    if (length != 0) {
        std::memcpy(frame, bytes, length);
    }
    PktRecvTag tag{};
    tag.vlanId = vlan;
    tag.portIndex = port;
    PktRecvInfo info{};
    info.payloadOffset = payloadOffset;
    info.etherTypeOffset = 12;
    info.frameKind = (flags & 0x20) != 0 ? 2 : ((flags & 0x10) != 0 ? 1 : 0);
    dhcp6snoopingRegPktProcess(frame, static_cast<uint32_t>(length), tag, info);
}

void changeSetting(Input &input) {
    const uint32_t port = portOf(input.byte());
    const uint8_t setting = input.byte();
    const uint8_t value = input.byte();
    switch (setting % 4) {
        case 0:
            dhcp6snooping_port_mode(port, value % 3);
            break;
        case 1:
            set_ip6_source_guard_port_mode(port, value % 6);
            break;
        case 2:
            dhcp6snooping_port_maxclients(port, value % 4);
            break;
        default:
            dhcp6snooping_vlan_maxclients(vlanOf(setting / 4), value % 4);
            break;
    }
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
    switch (what % 3) {
        case 0:
            fuzzSwitch().failAllocations(times);
            break;
        case 1:
            fuzzSwitch().failFilterCall(kFilterCalls[(what / 3) % kFilterCalls.size()], -3, times);
            break;
        default:
            fuzzSwitch().failFrameSend((what / 3) % 2 == 0 ? "smdVDPktSendPort" : "smdVDPktSendPortlist", -1,
                                       times);
            break;
    }
}

void removeInBulk(Input &input) {
    DeleteSelector selector{};
    selector.kind = input.byte() % 6;
    const uint8_t argument = input.byte();
    selector.portIndex = portOf(argument);
    selector.vlanId = vlanOf(argument);
    selector.mac[0] = 2;
    selector.mac[5] = argument;
    const auto address = addressOf(argument);
    std::memcpy(selector.address, address.data(), address.size());
    dhcp6snoopingDeleteByData(selector);
}

void apply(Input &input) {
    switchsim::Switch &sw = fuzzSwitch();
    switch (input.byte() % 10) {
        case 0:
            deliverFrame(input);
            break;
        case 1:
            changeSetting(input);
            break;
        case 2:
            (input.byte() % 2 != 0) ? dhcp6snoopingStart() : dhcp6snoopingStop();
            break;
        case 3:
            learnMac(input);
            break;
        case 4:
            sw.queueTimerTicks(input.byte());
            serve();
            break;
        case 5: {
            const uint32_t port = portOf(input.byte());
            sw.queueLinkChange(port, input.byte() % 2);
            serve();
            break;
        }
        case 6:
            sw.setModuleLogLevel(kDhcp6SnoopingModuleId, input.byte() % 2 != 0 ? kTraceLevel : 0);
            break;
        case 7:
            planFailure(input);
            break;
        case 8:
            removeInBulk(input);
            break;
        default: {
            VlanBitmap vlans{};
            vlanBitmapAdd(vlans, vlanOf(input.byte()));
            dhcp6snooping_vlan_reset(&vlans);
            break;
        }
    }
}

// Every port count equals the clients counted there; a VLAN count is never above them (a VLAN reset zeroes
// it while its clients stay); only acknowledged clients hold bindings; every node is in the table or free.
void requireTableConsistent() {
    uint32_t perPort[kPortTableSize] = {};
    uint32_t perVlan[kVlanTableSize] = {};
    uint32_t clients = 0;
    for (const ClientEntry *entry = clientFirst(); entry != nullptr; entry = clientAfter(entry->mac)) {
        ++clients;
        require(!macIsZero(entry->mac));
        require(entry->addresses.count == 0 || entry->acked == 1);
        if (entry->counted == 1) {
            ++perPort[portSlot(entry->portIndex)];
            ++perVlan[entry->vlanId];
        }
    }
    require(clients + clientNodePool.freeList.count == kMaxClients);
    for (uint32_t slot = 0; slot < kPortTableSize; ++slot) {
        require(perPort[slot] == portClientCount[slot]);
    }
    for (uint32_t vlan = 0; vlan < kVlanTableSize; ++vlan) {
        require(vlanClientCount[vlan] <= perVlan[vlan]);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzzSwitch();
    Input input(data, size);
    addBindings(input.byte());
    while (!input.empty()) {
        apply(input);
    }
    requireTableConsistent();
    // A RELEASE that comes in on another port than its client's leaves the filter to that port's guard
    // mode, so frames from anywhere may leave filters behind; the source-guard sequence target checks them.
    resetAll(/*filtersMustBeGone=*/false);
    return 0;
}
