// dhcp6snooping-sim: the daemon on a simulated 24-port switch. A server behind a trusted port hands out
// addresses and a prefix to three clients while a rogue server tries to answer too; one client moves, one
// releases an address, an address runs out and a link goes down. Each event is printed with where the
// daemon sent the frame, its trace lines and the filters it changed; at the end, the client table, the
// running configuration, and the MIB module as a manager walks it after creating a static binding.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "Narrator.h"
#include "OperatorView.h"
#include "core/MainLoop.h"
#include "core/SharedTypes.h"
#include "core/Startup.h"
#include "mgmt/PortVlanSettings.h"
#include "relay_option/InfoOptionConfig.h"
#include "snooping/Dhcp6Options.h"
#include "snooping/SnoopingOnOff.h"
#include "source_guard/ExemptVlans.h"
#include "source_guard/PortMode.h"
#include "source_guard/StaticBindings.h"
#include "switchsim/Dhcp6FrameBuilder.h"
#include "switchsim/MibAgent.h"
#include "switchsim/Switch.h"

namespace {

namespace dhcp6 = switchsim::dhcp6;
using switchsim::Bytes;
using switchsim::ipv6;
using switchsim::mac;

constexpr uint32_t kPorts = 24;
constexpr uint32_t kVlan = 10;
constexpr uint32_t kServerPort = 1;
constexpr uint32_t kRoguePort = 7;
constexpr uint32_t kGuardedPorts[] = {3, 4};
constexpr uint32_t kExemptVlan = 20;
constexpr uint32_t kTraceLevel = 7;

struct Host {
    const char *name;
    switchsim::MacAddress mac;
};

// A client with what it asks for in its SOLICIT and what the server grants it.
struct Client {
    Host host;
    Bytes ask;
    Bytes grant;
};

// The DHCPv6 side of the scenario: every message goes through the narrator, the clients' with their client
// identifier, the servers' with their server identifier and the client's.
class Exchanges {
  public:
    Exchanges(Narrator &narrator, Host server) : narrator_(narrator), server_(server) {}

    void clientSends(const Host &client, uint32_t port, uint8_t type, const Bytes &options) {
        const Bytes all = dhcp6::join({dhcp6::clientId(dhcp6::duidLl(client.mac)), options});
        narrator_.deliver(std::string(client.name) + " " + dhcp6MessageName(type), port,
                          dhcp6::fromClient(type, client.mac, all));
    }
    void serverSends(const Host &server, uint32_t port, uint8_t type, const Host &client,
                     const Bytes &options) {
        const Bytes all = dhcp6::join({dhcp6::serverId(dhcp6::duidLl(server.mac)),
                                       dhcp6::clientId(dhcp6::duidLl(client.mac)), options});
        narrator_.deliver(std::string(server.name) + " " + dhcp6MessageName(type) + " to " + client.name,
                          port, dhcp6::fromServer(type, server.mac, client.mac, all));
    }

    // SOLICIT from the client, ADVERTISE from the server.
    void solicit(const Client &client, uint32_t port) {
        clientSends(client.host, port, dhcp6::SOLICIT, client.ask);
        serverSends(server_, kServerPort, dhcp6::ADVERTISE, client.host, client.grant);
    }
    // REQUEST from the client, REPLY from the server: the client holds its grant.
    void request(const Client &client, uint32_t port) {
        clientSends(client.host, port, dhcp6::REQUEST,
                    dhcp6::join({dhcp6::serverId(dhcp6::duidLl(server_.mac)), client.grant}));
        serverSends(server_, kServerPort, dhcp6::REPLY, client.host, client.grant);
    }
    void fullExchange(const Client &client, uint32_t port) {
        solicit(client, port);
        request(client, port);
    }

  private:
    Narrator &narrator_;
    Host server_;
};

Ipv6Address asAddress(const switchsim::Ipv6Bytes &bytes) {
    Ipv6Address address;
    std::copy(bytes.begin(), bytes.end(), address.octets);
    return address;
}

void heading(const char *title) {
    std::printf("== %s ==\n", title);
}

void buildSwitch(switchsim::Switch &sw, const Host &server) {
    std::vector<uint32_t> members;
    for (uint32_t port = 1; port <= kPorts; ++port) {
        members.push_back(port);
    }
    sw.addVlan(kVlan, members);
    // The server has been on the network for a while: the switch knows where it is.
    sw.learnMac(server.mac, kVlan, kServerPort);
}

// The operator trusts the server's port and puts the client ports under IPv6 source guard, through the
// operations the command line calls.
void configurePorts() {
    dhcp6snooping_port_mode(kServerPort, 1);
    for (const uint32_t port : kGuardedPorts) {
        set_ip6_source_guard_port_mode(port, SOURCE_GUARD_IPV6_MAC_VLAN);
    }
}

// Option 18 carries the client's port and VLAN as a template renders them, option 37 a fixed text.
void configureRelayOptions() {
    InfoOptionConfig config{};
    config.interfaceIdEnable = 1;
    config.remoteIdEnable = 1;
    config.interfaceIdFormat = FORMAT_USER_DEFINED;
    config.remoteIdFormat = FORMAT_STRING;
    std::snprintf(reinterpret_cast<char *>(config.interfaceIdValue), kOptionValueSize, "%%portname/%%cvlan");
    std::snprintf(reinterpret_cast<char *>(config.remoteIdValue), kOptionValueSize, "switch-a");
    for (const uint32_t selector : {SELECT_INTERFACE_ID_FORMAT, SELECT_REMOTE_ID_FORMAT,
                                    SELECT_INTERFACE_ID_ENABLE, SELECT_REMOTE_ID_ENABLE}) {
        dhcp6snoopingGlobalDhcp6InfoCfg(selector, &config);
    }
}

// The hosts of the scenario; their MACs are 00:00:5e:00:53:xx. A gets two addresses, one of them short-lived;
// B an address and a delegated /56; C one address.
struct Cast {
    Host server{"server", mac("00:00:5e:00:53:01")};
    Host rogue{"rogue", mac("00:00:5e:00:53:66")};
    switchsim::Ipv6Bytes boundAddressOfA = ipv6("2001:db8:10::a1");
    Client a{{"A", mac("00:00:5e:00:53:0a")},
             dhcp6::iaNa(1, 0, 0),
             dhcp6::iaNa(1, 0, 0,
                         dhcp6::join({dhcp6::iaAddress(boundAddressOfA, 150, 300),
                                      dhcp6::iaAddress(ipv6("2001:db8:10::a2"), 15, 30)}))};
    switchsim::Ipv6Bytes addressOfB = ipv6("2001:db8:10::b1");
    Client b{{"B", mac("00:00:5e:00:53:0b")},
             dhcp6::join({dhcp6::iaNa(2, 0, 0), dhcp6::iaPd(3, 0, 0)}),
             dhcp6::join({dhcp6::iaNa(2, 0, 0, dhcp6::iaAddress(addressOfB, 1800, 3600)),
                          dhcp6::iaPd(3, 0, 0, dhcp6::iaPrefix(43200, 86400, 56, ipv6("2001:db8:b00::")))})};
    Client c{{"C", mac("00:00:5e:00:53:0c")},
             dhcp6::iaNa(4, 0, 0),
             dhcp6::iaNa(4, 0, 0, dhcp6::iaAddress(ipv6("2001:db8:10::c1"), 1800, 3600))};
    Bytes rogueGrant = dhcp6::iaNa(1, 0, 0, dhcp6::iaAddress(ipv6("2001:db8:bad::1"), 3600, 7200));
    // B gives its address back; lifetimes in a RELEASE mean nothing and are left at 0.
    Bytes releaseOfB = dhcp6::join({dhcp6::serverId(dhcp6::duidLl(server.mac)),
                                    dhcp6::iaNa(2, 0, 0, dhcp6::iaAddress(addressOfB, 0, 0))});
};

void playScenario(switchsim::Switch &sw, const Cast &cast) {
    Narrator narrator(sw, kVlan);
    Exchanges exchanges(narrator, cast.server);

    heading("1. a DHCPv6 server behind port 1; snooping on");
    configurePorts();
    dhcp6snoopingStart();
    narrator.report("port 1 trusted, ports 3 and 4 guarded (ipv6-mac-vlan), snooping switched on");

    heading("2. client A on port 3: two addresses, valid 300 s and 30 s");
    exchanges.fullExchange(cast.a, 3);

    heading("3. client B on port 4: an address and a delegated /56");
    exchanges.fullExchange(cast.b, 4);

    heading("4. a rogue server on untrusted port 7 answers A");
    exchanges.serverSends(cast.rogue, kRoguePort, dhcp6::ADVERTISE, cast.a.host, cast.rogueGrant);
    exchanges.serverSends(cast.rogue, kRoguePort, dhcp6::REPLY, cast.a.host, cast.rogueGrant);

    heading("5. client C solicits on port 5, then moves to port 6 and requests there");
    exchanges.solicit(cast.c, 5);
    exchanges.request(cast.c, 6);

    heading("6. client B releases its address");
    exchanges.clientSends(cast.b.host, 4, dhcp6::RELEASE, cast.releaseOfB);

    heading("7. relay options: 18 with the template %portname/%cvlan, 37 as the text \"switch-a\"; C renews");
    configureRelayOptions();
    narrator.report("options 18 and 37 switched on");
    exchanges.clientSends(cast.c.host, 6, dhcp6::RENEW, cast.c.grant);

    heading("8. the operator binds A's first address statically for every port, and exempts VLAN 20");
    const Ipv6Address boundAddress = asAddress(cast.boundAddressOfA);
    ip6v6_source_guard_bind_node_add(boundAddress, /*mac=*/nullptr, /*port=*/0, /*vlan=*/0);
    narrator.report("binding 2001:db8:10::a1 added: it serves A's address in place of A's own filter");
    VlanBitmap exempt{};
    VlanBitmap failed{};
    vlanBitmapAdd(exempt, kExemptVlan);
    ip6_source_guard_vlanlist_config(/*operation=*/0, &exempt, &failed);
    narrator.report("VLAN 20 exempted from source guard");
    ip6v6_source_guard_bind_node_delete(boundAddress);
    narrator.report("binding 2001:db8:10::a1 deleted: A's own filter comes back");

    heading("9. time passes");
    narrator.passTime(31);

    heading("10. the link of C's port goes down");
    narrator.linkDown(6);
}

void printOperatorView(switchsim::Switch &sw) {
    heading("11. what the operator sees");
    printClientTable(sw.upSeconds());
    printClientCounts();
    printFilters(sw);
    // The daemon's section of the running configuration, as the switch's configuration manager asks for it.
    constexpr uint32_t kRunningConfigSpace = 8192;
    sw.queueRunningConfigRequest(kRunningConfigSpace);
    sw.runUntilIdle(dhcp6snoopingServeNextMessage);
    std::printf("  running configuration:\n");
    const std::string &text = sw.runningConfigAnswers().back().text;
    for (size_t start = 0; start < text.size();) {
        const size_t end = text.find("\r\n", start);
        std::printf("    %s\n", text.substr(start, end - start).c_str());
        start = end == std::string::npos ? text.size() : end + 2;
    }
}

// A manager binds an address through the binding table (its columns, then row status createAndGo) and walks
// the whole module.
void playMibManager(switchsim::Switch &sw) {
    heading("12. an SNMP manager binds 2001:db8:10::b9 to B's MAC on port 4, row 1, and walks the module");
    const auto column = [](uint32_t number) {
        return switchsim::Oid{1, 3, 6, 1, 4, 1, kPrivateEnterpriseNumber, 1, 2, 4, 9, 7, 1, number, 1};
    };
    using switchsim::MibValue;
    const switchsim::MibSetResult created =
        switchsim::mibSet(sw, {{column(1), MibValue::integer(1)},
                               {column(2), MibValue::text("2001:db8:10::b9")},
                               {column(3), MibValue::text("00:00:5e:00:53:0b")},
                               {column(4), MibValue::integer(4)},
                               {column(5), MibValue::integer(kVlan)},
                               {column(6), MibValue::integer(4) /* createAndGo */}});
    std::printf("  set answered %u\n", created.code);
    for (const switchsim::MibVarBind &varBind : switchsim::mibWalk(sw)) {
        std::printf("  %s\n", switchsim::mibVarBindText(varBind).c_str());
    }
}

}  // namespace

int main() {
    const Cast cast;
    switchsim::Switch sw(switchsim::SwitchConfig{.portCount = kPorts, .absentPorts = {}});
    buildSwitch(sw, cast.server);
    if (dhcp6snoopingStartup("/sbin/dhcp6snooping") != 0) {
        std::fprintf(stderr, "dhcp6snooping-sim: the daemon did not start\n");
        return 1;
    }
    sw.setModuleLogLevel(kDhcp6SnoopingModuleId, kTraceLevel);

    std::printf("dhcp6snooping on a simulated %u-port switch, VLAN %u = ports 1-%u, daemon trace on.\n",
                kPorts, kVlan, kPorts);
    std::printf("MACs 00:00:5e:00:53:xx: server :01, rogue :66, clients A :0a, B :0b, C :0c.\n");
    playScenario(sw, cast);
    printOperatorView(sw);
    playMibManager(sw);
    return 0;
}
