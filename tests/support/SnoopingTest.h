#pragma once
// A test with snooping on, on a 24-port switch: VLAN 10 holds ports 1 to 8, and a DHCPv6 server sits
// behind trusted port 1, where the switch has learned its MAC.

#include <bit>

#include "core/GlobalState.h"
#include "snooping/ClientTable.h"
#include "support/DaemonTest.h"
#include "switchsim/Dhcp6FrameBuilder.h"

class SnoopingTest : public DaemonTest {
  protected:
    static constexpr uint32_t kVlan = 10;
    static constexpr uint32_t kServerPort = 1;

    void SetUp() override {
        sw.addVlan(kVlan, {1, 2, 3, 4, 5, 6, 7, 8});
        sw.learnMac(kServer, kVlan, kServerPort);
        startDaemon();
        ASSERT_EQ(dhcp6snooping_port_mode(kServerPort, 1), 0);
        dhcp6snoopingStart();
        traceOn();
    }

    void clientSends(uint8_t type, const switchsim::MacAddress &client, uint32_t port,
                     const switchsim::Bytes &options = {}, uint32_t vlan = kVlan) {
        deliver(port, switchsim::dhcp6::fromClient(type, client, options), vlan);
    }
    void serverSends(uint8_t type, const switchsim::MacAddress &client, uint32_t port,
                     const switchsim::Bytes &options = {}) {
        deliver(port, switchsim::dhcp6::fromServer(type, kServer, client, options));
    }
    void deliver(uint32_t port, const switchsim::dhcp6::Dhcp6Frame &frame, uint32_t vlan = kVlan) {
        sw.queueFrame(port, vlan, switchsim::dhcp6::buildDhcp6Frame(frame).bytes);
        serve();
    }
    // A REQUEST of the client on `port` and the server's REPLY granting `granted`.
    void acknowledge(const switchsim::MacAddress &client, uint32_t port, const switchsim::Bytes &granted) {
        clientSends(switchsim::dhcp6::REQUEST, client, port);
        serverSends(switchsim::dhcp6::REPLY, client, kServerPort, granted);
    }
    void tick(uint32_t seconds) {
        sw.queueTimerTicks(seconds);
        serve();
    }

    // The ports each frame sent since the last look went out of, in order; clears the record.
    std::vector<std::vector<uint32_t>> takeSent() {
        std::vector<std::vector<uint32_t>> ports;
        for (const auto &frame : sw.sentFrames()) {
            ports.push_back(frame.ports);
        }
        sw.clearSentFrames();
        return ports;
    }

    // The filters in place for single addresses, and with `denyAll` the ports' deny-all filters, without
    // those of snooping itself.
    [[nodiscard]] std::vector<switchsim::Filter> addressFilters(bool denyAll = false) const {
        using enum switchsim::FilterKind;
        std::vector<switchsim::Filter> filters = sw.installedFilters();
        std::erase_if(filters, [denyAll](const switchsim::Filter &filter) {
            return filter.kind != ForwardIp6 && !(denyAll && filter.kind == DenyAllIp6);
        });
        return filters;
    }

    static Ipv6Address ip(const char *text) { return std::bit_cast<Ipv6Address>(switchsim::ipv6(text)); }

    // The bindings of the client, or nothing without a client.
    static std::vector<std::string> bindingsOf(const switchsim::MacAddress &client) {
        const ClientEntry *entry = clientFind(client.data());
        return entry != nullptr ? bindingTexts(entry->addresses) : std::vector<std::string>{};
    }

    const switchsim::MacAddress kServer = switchsim::mac("00:00:5e:00:53:ff");
    const switchsim::MacAddress kClient = switchsim::mac("02:00:00:00:00:01");
    const switchsim::MacAddress kOtherClient = switchsim::mac("02:00:00:00:00:02");
};
