#include "Soak.h"

#include <algorithm>
#include <array>
#include <random>

#include "ConfigRoundTrip.h"
#include "FilterInvariant.h"
#include "FuzzSupport.h"
#include "core/MainLoop.h"
#include "mgmt/ConfigReset.h"
#include "mgmt/PortVlanSettings.h"
#include "relay_option/InfoOptionConfig.h"
#include "snooping/ClientTable.h"
#include "snooping/SnoopingOnOff.h"
#include "source_guard/ExemptVlans.h"
#include "source_guard/PortMode.h"
#include "source_guard/StaticBindList.h"
#include "source_guard/StaticBindings.h"
#include "switchsim/ConfigInterpreter.h"
#include "switchsim/Dhcp6FrameBuilder.h"

namespace fuzz {
namespace {

using namespace switchsim;
using namespace switchsim::dhcp6;

constexpr uint32_t kServerPort = 1, kFirstClientPort = 2;
const MacAddress kServer = {2, 0, 0, 0, 0, 0xfe};

MacAddress clientMac(uint32_t client) {
    return {0x02, 0x5a, 0, 0, static_cast<uint8_t>(client >> 8), static_cast<uint8_t>(client)};
}

// The address `number` (1 to 3) a server grants to a client, and the /56 it may delegate to it.
Ipv6Bytes clientAddress(uint32_t client, uint8_t number) {
    return {0x20,
            0x01,
            0x0d,
            0xb8,
            0,
            0x0a,
            0,
            0,
            0,
            0,
            0,
            0,
            static_cast<uint8_t>(client >> 8),
            static_cast<uint8_t>(client),
            0,
            number};
}
Ipv6Bytes clientPrefix(uint32_t client) {
    return {0x20, 0x01, 0x0d, 0xb8, static_cast<uint8_t>(0x40 | client >> 8), static_cast<uint8_t>(client)};
}

class Churn {
  public:
    Churn(uint32_t seed, SoakFigures &figures) : random_(seed), figures_(figures) {}

    // One step; true when it changed the configuration.
    bool step() {
        const uint32_t roll = below(1000);
        if (roll < 560) {
            for (uint32_t clients = 1 + below(64); clients > 0; --clients) {
                exchangeOrRenew();
            }
            return false;
        }
        if (roll < 680) {
            giveBack(roll < 640 ? RELEASE : DECLINE);
            return false;
        }
        if (roll < 684) {
            flapLink();
            return false;
        }
        if (roll < 800) {
            changeBindings();
        } else if (roll < 880) {
            set_ip6_source_guard_port_mode(clientPort(), below(5) < 2 ? SOURCE_GUARD_NONE : 1 + below(3));
        } else if (roll < 930) {
            const VlanBitmap vlans = vlanBitmapOf({static_cast<VlanId>(vlanOf(below(kVlans)))});
            VlanBitmap failed{};
            ip6_source_guard_vlanlist_config(below(2) == 0 ? kExemptVlansRemove : 0, &vlans, &failed);
        } else if (roll < 998) {
            changeRelayOptions();
        } else if (roll < 999) {
            dhcp6snoopingStop();
            dhcp6snoopingStart();
        } else {
            dhcp6snooping_reset_config();
            startWithTrustedServer();
        }
        return true;
    }

    void startWithTrustedServer() {
        dhcp6snooping_port_mode(kServerPort, 1);
        dhcp6snoopingStart();
    }

    // Lets `seconds` pass, one timer tick each.
    void pass(uint32_t seconds) {
        fuzzSwitch().queueTimerTicks(seconds);
        serve();
    }

    uint32_t below(uint32_t bound) { return std::uniform_int_distribution<uint32_t>(0, bound - 1)(random_); }

  private:
    uint32_t clientPort() { return kFirstClientPort + below(kPorts - kFirstClientPort + 1); }

    static void deliver(uint32_t port, uint32_t vlan, const Dhcp6Frame &frame) {
        fuzzSwitch().queueFrame(port, vlan, buildDhcp6Frame(frame).bytes);
        serve();
    }

    // The server's REPLY granting the client its addresses and perhaps a prefix for `valid` seconds.
    static Bytes grant(uint32_t client, uint8_t addresses, bool prefix, uint32_t valid) {
        Bytes granted;
        for (uint8_t number = 1; number <= addresses; ++number) {
            granted = join({granted, iaAddress(clientAddress(client, number), valid / 2, valid)});
        }
        const Bytes delegated =
            iaPd(2, valid / 2, valid * 4 / 5, iaPrefix(valid / 2, valid, 56, clientPrefix(client)));
        return join({clientId(duidLl(clientMac(client))), iaNa(1, valid / 2, valid * 4 / 5, granted),
                     prefix ? delegated : Bytes{}});
    }

    // A client new on a port (or moving to it) asks and is granted; one already there renews.
    void exchangeOrRenew() {
        const uint32_t client = below(kMaxClients);
        const MacAddress mac = clientMac(client);
        const ClientEntry *entry = clientFind(mac.data());
        const auto addresses = static_cast<uint8_t>(1 + below(3));
        const bool prefix = below(4) == 0;
        const uint32_t valid = 7200 + below(22 * 3600);
        if (entry != nullptr && entry->acked == 1 && below(4) != 0) {
            const uint32_t vlan = entry->vlanId;
            deliver(entry->portIndex, vlan, fromClient(RENEW, mac, clientId(duidLl(mac))));
            deliver(kServerPort, vlan,
                    fromServer(REPLY, kServer, mac, grant(client, addresses, prefix, valid)));
            ++figures_.renewals;
            return;
        }
        const uint32_t port = clientPort();
        const uint32_t vlan = vlanOf(static_cast<uint8_t>(below(kVlans)));
        deliver(port, vlan, fromClient(SOLICIT, mac, clientId(duidLl(mac))));
        deliver(port, vlan, fromClient(REQUEST, mac, clientId(duidLl(mac))));
        deliver(kServerPort, vlan, fromServer(REPLY, kServer, mac, grant(client, addresses, prefix, valid)));
        ++figures_.exchanges;
    }

    // A client gives one of its addresses back, mostly on its own port, now and then through the trusted
    // uplink as a relay would bring it.
    void giveBack(uint8_t type) {
        const uint32_t client = below(kMaxClients);
        const MacAddress mac = clientMac(client);
        const ClientEntry *entry = clientFind(mac.data());
        if (entry == nullptr || entry->addresses.count == 0) {
            return;
        }
        const ClientAddress &record = *addressAt(entry->addresses, below(entry->addresses.count));
        Ipv6Bytes address{};
        std::copy_n(record.address, address.size(), address.begin());
        const uint32_t port = below(4) == 0 ? kServerPort : entry->portIndex;
        deliver(port, entry->vlanId, fromClient(type, mac, iaNa(1, 0, 0, iaAddress(address, 0, 0))));
    }

    void flapLink() {
        const uint32_t port = clientPort();
        fuzzSwitch().queueLinkChange(port, 0);
        fuzzSwitch().queueLinkChange(port, 1);
        serve();
    }

    // Bindings come and go: some take over a client's address or MAC, some hold for every port.
    void changeBindings() {
        if (staticBindCount > 0 && below(5) < 2) {
            StaticBindEntry *binding = staticBindList.next;
            for (uint32_t skip = below(staticBindCount); skip > 0; --skip) {
                binding = binding->next;
            }
            Ipv6Address ip;
            std::copy_n(binding->ip, sizeof ip.octets, ip.octets);
            ip6v6_source_guard_bind_node_delete(ip);
            return;
        }
        if (staticBindCount > 48) {
            ip6v6_source_guard_bind_node_delete_all();
            return;
        }
        const uint32_t client = below(kMaxClients);
        const ClientEntry *entry = clientFind(clientMac(client).data());
        Ipv6Address ip{};
        if (entry != nullptr && entry->addresses.count != 0 && below(2) == 0) {
            std::copy_n(addressAt(entry->addresses, 0)->address, sizeof ip.octets, ip.octets);
        } else {
            const Ipv6Bytes spare = clientAddress(client, static_cast<uint8_t>(0x10 + below(16)));
            std::copy(spare.begin(), spare.end(), ip.octets);
        }
        const MacAddress mac = clientMac(below(3) == 0 ? client : below(kMaxClients));
        const uint32_t port = below(2) == 0 ? 0 : (entry != nullptr ? entry->portIndex : clientPort());
        const uint32_t vlan = port != 0 && below(2) == 0 ? vlanOf(static_cast<uint8_t>(below(kVlans))) : 0;
        ip6v6_source_guard_bind_node_add(ip, below(3) == 0 ? nullptr : mac.data(), port, vlan);
    }

    void changeRelayOptions() {
        static constexpr std::pair<uint32_t, std::string_view> kFormats[] = {
            {FORMAT_DEFAULT, {}}, {FORMAT_STRING, "soak"}, {FORMAT_USER_DEFINED, "%portname/%cvlan"}};
        const bool interfaceId = below(2) == 0;
        if (below(2) == 0) {
            enableRelayOption(interfaceId, below(2) == 0);
        } else {
            const auto &[format, value] = kFormats[below(std::size(kFormats))];
            setRelayOptionFormat(interfaceId, format, value);
        }
    }

    std::mt19937 random_;
    SoakFigures &figures_;
};

// The blocks the daemon's state owns: each client's address records and their array, each binding, each
// stored template.
int64_t ownedBlocks() {
    int64_t blocks = staticBindCount;
    blocks += infoOptionConfig.interfaceIdTemplate != nullptr ? 1 : 0;
    blocks += infoOptionConfig.remoteIdTemplate != nullptr ? 1 : 0;
    for (const ClientEntry *entry = clientFirst(); entry != nullptr; entry = clientAfter(entry->mac)) {
        blocks += entry->addresses.count + (entry->addresses.capacity != 0 ? 1 : 0);
    }
    return blocks;
}

// Enters `configured` on a copy of the daemon brought to its defaults, in a child process, so that the
// soak goes on with its clients. Returns what differed, or nothing.
std::optional<std::string> roundTripInChild(const std::string &configured) {
    const ChildOutcome outcome = inChildProcess([&configured](std::string &text) {
        resetAll(/*filtersMustBeGone=*/true);
        const auto errors = applyConfigText(fuzzSwitch(), configured, dhcp6snoopingServeNextMessage);
        const auto differs = enteredDiffers(configured, errors, runningConfig());
        text = differs.value_or("");
        return !differs;
    });
    if (outcome.succeeded) {
        return std::nullopt;
    }
    return outcome.text.empty() ? "the round trip's process died" : outcome.text;
}

std::optional<std::string> checked(uint32_t step, bool configurationChanged, int64_t baseline) {
    const std::string when = "step " + std::to_string(step);
    if (auto broken = invariantBroken(when)) {
        return broken;
    }
    const int64_t unowned = Switch::allocatedBlocks() - baseline - ownedBlocks();
    if (unowned != 0) {
        return when + ": " + std::to_string(unowned) + " block(s) from the platform belong to nothing";
    }
    if (configurationChanged) {
        if (auto differs = roundTripInChild(runningConfig())) {
            return when + ": the running configuration did not come back: " + *differs;
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> playSoak(uint32_t simulatedSeconds, uint32_t seed, SoakFigures &figures) {
    Switch &sw = fuzzSwitch();
    Churn churn(seed, figures);
    churn.startWithTrustedServer();
    // The option stage takes its working buffer once, for good: let it, so that every block counted from
    // here on belongs to the state.
    enableRelayOption(/*interfaceId=*/true, true);
    sw.queueFrame(kFirstClientPort, 1, buildDhcp6Frame(fromClient(SOLICIT, clientMac(0), {})).bytes);
    serve();
    enableRelayOption(/*interfaceId=*/true, false);
    const int64_t baseline = Switch::allocatedBlocks() - ownedBlocks();

    std::optional<std::string> failure;
    while (!failure && figures.simulatedSeconds < simulatedSeconds) {
        const bool configurationChanged = churn.step();
        const uint32_t seconds = 1 + churn.below(15);
        churn.pass(seconds);
        figures.simulatedSeconds += seconds;
        ++figures.steps;
        figures.configurationChanges += configurationChanged ? 1 : 0;
        figures.peakClients = std::max(figures.peakClients, kMaxClients - clientNodePool.freeList.count);
        figures.peakFilters =
            std::max(figures.peakFilters, static_cast<uint32_t>(sw.installedFilters().size()));
        failure = checked(figures.steps, configurationChanged, baseline);
        sw.clearRecords();
    }
    resetAll(/*filtersMustBeGone=*/!failure);
    return failure;
}

}  // namespace fuzz
