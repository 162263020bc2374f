#include "SourceGuardSequence.h"

#include <bit>

#include "FilterInvariant.h"
#include "core/GlobalState.h"
#include "mgmt/PortVlanSettings.h"
#include "snooping/ClientTable.h"
#include "snooping/SnoopingOnOff.h"
#include "source_guard/ExemptVlans.h"
#include "source_guard/PortMode.h"
#include "source_guard/StaticBindList.h"
#include "source_guard/StaticBindings.h"
#include "switchsim/Dhcp6FrameBuilder.h"

namespace fuzz {
namespace {

using namespace switchsim;
using namespace switchsim::dhcp6;

// The server's port and the clients' VLAN; the clients use ports 2 to 6, 8 MACs and 8 addresses, and VLANs 1
// to 3 may be exempted.
constexpr uint32_t kServerSwitchPort = 1, kClientVlan = 1, kClientPorts = 5, kExemptVlans = 3;
constexpr uint8_t kClients = 8, kAddresses = 8;
const MacAddress kServer = {2, 0, 0, 0, 0, 0xfe};

MacAddress clientMac(uint8_t selector) {
    return {2, 0, 0, 0, 0, static_cast<uint8_t>(1 + selector % kClients)};
}

Ipv6Bytes addressOf(uint8_t selector) {
    return {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0,
            0,    0,    0,    0,    0, 0, 0, static_cast<uint8_t>(1 + selector % kAddresses)};
}

uint32_t clientPortOf(uint8_t selector) {
    return 2 + selector % kClientPorts;
}

void deliver(uint32_t port, const Dhcp6Frame &frame) {
    fuzzSwitch().queueFrame(port, kClientVlan, buildDhcp6Frame(frame).bytes);
    serve();
}

// A client on a port asks, and the server grants it up to three of the addresses and perhaps a prefix.
void exchange(Input &input) {
    const MacAddress client = clientMac(input.byte());
    const uint32_t port = clientPortOf(input.byte());
    const uint8_t grant = input.byte();
    const uint32_t valid = 5 + input.byte() % 40;
    fuzzSwitch().learnMac(client, kClientVlan, port);
    deliver(port, fromClient(SOLICIT, client, {}));
    Bytes addresses;
    for (uint8_t i = 0; i < 3; ++i) {
        if ((grant & (1U << i)) != 0) {
            addresses = join({addresses, iaAddress(addressOf(grant >> 3 | i), valid, valid)});
        }
    }
    const Bytes prefix = iaPd(2, 0, 0, iaPrefix(valid, valid, 56, ipv6("2001:db8:100::")));
    const Bytes options = join({iaNa(1, 0, 0, addresses), (grant & 0x80) != 0 ? prefix : Bytes{}});
    deliver(kServerSwitchPort, fromServer(REPLY, kServer, client, options));
}

// A recorded client gives one address back, from the port it was recorded on.
void release(Input &input) {
    const MacAddress client = clientMac(input.byte());
    const Ipv6Bytes address = addressOf(input.byte());
    if (const ClientEntry *entry = clientFind(client.data())) {
        deliver(entry->portIndex, fromClient(RELEASE, client, iaNa(1, 0, 0, iaAddress(address, 0, 0))));
    }
}

void addBinding(Input &input) {
    const uint8_t macSelector = input.byte();
    const uint8_t portSelector = input.byte();
    const MacAddress mac = macSelector % 2 == 0 ? MacAddress{} : clientMac(macSelector / 2);
    const uint32_t port = portSelector % 3 == 0 ? 0 : clientPortOf(portSelector);
    const auto address = std::bit_cast<Ipv6Address>(addressOf(input.byte()));
    ip6v6_source_guard_bind_node_add(address, mac.data(), port, input.byte() % 3);
}

void exemptVlan(Input &input) {
    const uint8_t choice = input.byte();
    const VlanBitmap requested = vlanBitmapOf({static_cast<VlanId>(1 + choice / 2 % kExemptVlans)});
    VlanBitmap failed{};
    ip6_source_guard_vlanlist_config(choice % 2 == 0 ? kExemptVlansRemove : 0, &requested, &failed);
}

void step(Input &input) {
    using Step = void (*)(Input &);
    static constexpr Step kSteps[] = {
        exchange,
        release,
        [](Input &in) { set_ip6_source_guard_port_mode(clientPortOf(in.byte()), 1 + in.byte() % 4); },
        [](Input &in) { dhcp6snooping_port_mode(clientPortOf(in.byte()), in.byte() % 2); },
        addBinding,
        [](Input &in) {
            ip6v6_source_guard_bind_node_delete(std::bit_cast<Ipv6Address>(addressOf(in.byte())));
        },
        [](Input &) { ip6v6_source_guard_bind_node_delete_all(); },
        exemptVlan,
        [](Input &in) {
            fuzzSwitch().queueTimerTicks(1 + in.byte() % 40);
            serve();
        },
        [](Input &in) {
            const uint32_t kind = in.byte() % 5;
            const uint8_t argument = in.byte();
            removeClients(kind, clientPortOf(argument), kClientVlan, clientMac(argument).data(),
                          addressOf(argument).data());
        },
        [](Input &in) { (in.byte() % 2 != 0) ? dhcp6snoopingStart() : dhcp6snoopingStop(); },
        [](Input &in) {
            fuzzSwitch().queueLinkChange(clientPortOf(in.byte()), 0);
            serve();
        },
    };
    kSteps[input.byte() % std::size(kSteps)](input);
}

}  // namespace

std::optional<std::string> playSourceGuardSequence(Input &input) {
    return playObservedSourceGuardSequence(input, {});
}

std::optional<std::string> playObservedSourceGuardSequence(Input &input,
                                                           const std::function<void()> &afterStep) {
    fuzzSwitch().learnMac(kServer, kClientVlan, kServerSwitchPort);
    dhcp6snooping_port_mode(kServerSwitchPort, 1);
    dhcp6snoopingStart();
    std::optional<std::string> failure;
    for (uint32_t number = 1; !input.empty() && !failure; ++number) {
        step(input);
        if (afterStep) {
            afterStep();
        }
        failure = invariantBroken("after step " + std::to_string(number));
    }
    resetAll(/*filtersMustBeGone=*/!failure);
    return failure;
}

}  // namespace fuzz
