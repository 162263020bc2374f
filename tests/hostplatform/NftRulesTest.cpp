// The nftables commands of the host platform's filter service: one row per request and kind, each with the
// exact text nftables is handed, and every set a request touches defined by the table.

#include <arpa/inet.h>
#include <gmock/gmock.h>

#include <array>
#include <map>
#include <sstream>
#include <vector>

#include "NftRules.h"

namespace {

using namespace hostplatform::nft;
using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::Not;

std::array<uint8_t, 16> ip(const char *text) {
    std::array<uint8_t, 16> address{};
    inet_pton(AF_INET6, text, address.data());
    return address;
}

constexpr std::array<uint8_t, 6> kMac = {0x02, 0x00, 0x5e, 0x0a, 0xb0, 0x01};
constexpr std::array<uint8_t, 6> kNoMac = {};
constexpr std::array<std::string_view, 2> kTwoPorts = {"port1", "port2"};
const auto kAddress = ip("2001:db8::10");

struct Row {
    const char *request;
    std::string command;
    const char *expected;
};

const Row kRows[] = {
    // The drop counter is named after the name's bytes in hexadecimal ("port1"), and stays behind.
    {"deny-all on", denyAllIp6(Change::Add, "port1"),
     "add counter bridge dhcp6snooping guard_drop_706f727431\n"
     "add element bridge dhcp6snooping guarded_ports { \"port1\" }\n"
     "add element bridge dhcp6snooping guard_drop_counters { \"port1\" : \"guard_drop_706f727431\" }\n"},
    {"deny-all off", denyAllIp6(Change::Delete, "port1"),
     "delete element bridge dhcp6snooping guarded_ports { \"port1\" }\n"
     "delete element bridge dhcp6snooping guard_drop_counters { \"port1\" : \"guard_drop_706f727431\" }\n"},
    {"kind 1 install", permitAddress(Change::Add, kAddress),
     "add element bridge dhcp6snooping permit_ip { 2001:db8::10 }\n"},
    {"kind 1 remove", permitAddress(Change::Delete, ip("fe80::1:2:3:4")),
     "delete element bridge dhcp6snooping permit_ip { fe80::1:2:3:4 }\n"},
    {"kind 2 install", permitMacAddress(Change::Add, kMac, kAddress),
     "add element bridge dhcp6snooping permit_mac_ip { 02:00:5e:0a:b0:01 . 2001:db8::10 }\n"},
    {"kind 2 remove without a MAC", permitMacAddress(Change::Delete, kNoMac, kAddress),
     "delete element bridge dhcp6snooping permit_any_mac_ip { 2001:db8::10 }\n"},
    {"kind 3 install", permitPortMacAddress(Change::Add, "port2", kMac, kAddress),
     "add element bridge dhcp6snooping permit_port_mac_ip { \"port2\" . 02:00:5e:0a:b0:01 . 2001:db8::10 "
     "}\n"},
    {"kind 3 install without a MAC", permitPortMacAddress(Change::Add, "port2", kNoMac, kAddress),
     "add element bridge dhcp6snooping permit_port_any_mac_ip { \"port2\" . 2001:db8::10 }\n"},
    {"kind 4 install", permitPortMacAddressVlan(Change::Add, "port3", kMac, kAddress, 4094, false),
     "add element bridge dhcp6snooping permit_port_mac_ip_vlan "
     "{ \"port3\" . 02:00:5e:0a:b0:01 . 2001:db8::10 . 4094 }\n"},
    {"kind 4 install without a MAC in the port's PVID",
     permitPortMacAddressVlan(Change::Add, "port3", kNoMac, kAddress, 1, true),
     "add element bridge dhcp6snooping permit_port_any_mac_ip_vlan { \"port3\" . 2001:db8::10 . 1 }\n"
     "add element bridge dhcp6snooping permit_port_any_mac_ip_untagged { \"port3\" . 2001:db8::10 }\n"},
    {"kind 4 remove in the port's PVID",
     permitPortMacAddressVlan(Change::Delete, "port3", kMac, kAddress, 1, true),
     "delete element bridge dhcp6snooping permit_port_mac_ip_vlan "
     "{ \"port3\" . 02:00:5e:0a:b0:01 . 2001:db8::10 . 1 }\n"
     "delete element bridge dhcp6snooping permit_port_mac_ip_untagged "
     "{ \"port3\" . 02:00:5e:0a:b0:01 . 2001:db8::10 }\n"},
    {"exempt VLAN install", exemptVlan(Change::Add, 20, {}),
     "add element bridge dhcp6snooping exempt_vlans { 20 }\n"},
    {"exempt VLAN remove, the PVID of two ports", exemptVlan(Change::Delete, 20, kTwoPorts),
     "delete element bridge dhcp6snooping exempt_vlans { 20 }\n"
     "delete element bridge dhcp6snooping exempt_untagged_ports { \"port1\" }\n"
     "delete element bridge dhcp6snooping exempt_untagged_ports { \"port2\" }\n"},
    {"neighbour discovery install", neighbourDiscovery(Change::Add),
     "add element bridge dhcp6snooping neighbour_discovery { nd-router-solicit, nd-router-advert, "
     "nd-neighbor-solicit, nd-neighbor-advert, nd-redirect }\n"},
    {"neighbour discovery remove", neighbourDiscovery(Change::Delete),
     "delete element bridge dhcp6snooping neighbour_discovery { nd-router-solicit, nd-router-advert, "
     "nd-neighbor-solicit, nd-neighbor-advert, nd-redirect }\n"},
    {"interception on", dhcp6Interception(Change::Add),
     "add element bridge dhcp6snooping dhcp6_interception { ip6 }\n"},
    {"interception off", dhcp6Interception(Change::Delete),
     "delete element bridge dhcp6snooping dhcp6_interception { ip6 }\n"},
    {"close", closeTable(), "delete table bridge dhcp6snooping\n"},
};

TEST(NftRulesTest, EachRequestIsItsCommand) {
    for (const auto &row : kRows) {
        EXPECT_EQ(row.command, row.expected) << row.request;
    }
}

// The set each element command names as its fifth word ("add element bridge dhcp6snooping SET { .. }").
std::vector<std::string> setsNamed(const std::string &commands) {
    std::vector<std::string> sets;
    std::istringstream lines(commands);
    for (std::string line; std::getline(lines, line);) {
        if (!elementLine(line)) {
            continue;
        }
        std::istringstream words(line);
        std::string word;
        for (int i = 0; i < 5; ++i) {
            words >> word;
        }
        sets.push_back(word);
    }
    return sets;
}

TEST(NftRulesTest, TheTableDefinesEverySetTheRequestsTouchAndRunsOnTheBridgeItIsOpenedFor) {
    EXPECT_THAT(openTable(std::nullopt), Not(HasSubstr("ibrname")));
    const std::string table = openTable("br-test");
    EXPECT_THAT(table, HasSubstr("meta ibrname != \"br-test\" return"));
    for (const auto &row : kRows) {
        if (row.command == closeTable()) {
            continue;
        }
        for (const auto &set : setsNamed(row.command)) {
            EXPECT_THAT(table, AnyOf(HasSubstr("\tset " + set + " { typeof "),
                                     HasSubstr("\tmap " + set + " { type ")))
                << row.request;
        }
    }
}

TEST(NftRulesTest, GuardDropsAreReadFromTheCountersListing) {
    // As nftables prints "list counters table": counters of two ports, one never dropped anything.
    const std::string listing =
        "table bridge dhcp6snooping {\n"
        "\tcounter guard_drop_706f727431 {\n\t\tpackets 3 bytes 342\n\t}\n\n"
        "\tcounter guard_drop_706f727432 {\n\t\tpackets 0 bytes 0\n\t}\n}\n";
    const std::map<std::string, uint64_t> expected = {{guardDropCounter("port1"), 3},
                                                      {guardDropCounter("port2"), 0}};
    EXPECT_EQ(packetsByCounter(listing), expected);
    EXPECT_TRUE(packetsByCounter("").empty());
    // Names that differ only where a counter name could not hold them still get counters of their own.
    EXPECT_NE(guardDropCounter("eth0.10"), guardDropCounter("eth0_10"));
}

TEST(NftRulesTest, OnlyNamesThatStayInsideTheirQuotesFitACommand) {
    const std::pair<std::string_view, bool> names[] = {
        {"port1", true}, {"eth0.10", true}, {"", false}, {"a\"b", false}, {"a\\b", false},
    };
    for (const auto &[name, fits] : names) {
        EXPECT_EQ(fitsCommand(name), fits) << name;
    }
}

}  // namespace
