// Clients taken back from a binding database: on a guarded port they count, age and get their filters as
// if a REPLY had just been merged; every place a REPLY could not have put them is refused and changes
// nothing.

#include <gmock/gmock.h>

#include <cstring>

#include "mgmt/PortVlanSettings.h"
#include "snooping/ClientRestore.h"
#include "source_guard/PortMode.h"
#include "support/SnoopingTest.h"

namespace {

using namespace switchsim;
using namespace ::testing;

class ClientRestoreTest : public SnoopingTest {
  protected:
    static ClientAddress record(const char *address, uint32_t prefixLength, uint32_t secondsLeft) {
        ClientAddress record{};
        std::memcpy(record.address, switchsim::ipv6(address).data(), sizeof record.address);
        record.prefixLength = prefixLength;
        record.preferredLifetime = 300;
        record.validLifetime = secondsLeft;
        return record;
    }

    static int32_t restore(const MacAddress &client, uint32_t port, uint32_t vlan,
                           std::initializer_list<ClientAddress> records) {
        const std::vector<ClientAddress> list(records);
        return clientRestore(client.data(), vlan, port, list.data(), static_cast<uint32_t>(list.size()));
    }
};

TEST_F(ClientRestoreTest, OnAGuardedPortTheClientCountsAgesAndHasTheFilterOfEachAddress) {
    ASSERT_EQ(set_ip6_source_guard_port_mode(3, SOURCE_GUARD_IPV6_MAC_VLAN), 0);
    ASSERT_EQ(restore(kClient, 3, kVlan,
                      {record("2001:db8::a", 128, 20), record("2001:db8:1::", 56, 40),
                       record("2001:db8::b", 128, 0)}),
              0);
    EXPECT_THAT(bindingsOf(kClient), ElementsAre("2001:db8::a/128 300/20", "2001:db8:1::/56 300/40"));
    EXPECT_EQ(portClientCount[2], 1);
    EXPECT_EQ(vlanClientCount[kVlan], 1);
    EXPECT_THAT(addressFilters(), ElementsAre(Filter::forward(ipv6("2001:db8::a"), kClient, 3, kVlan)));
    // It ages like a learned client: the address goes with its filter, then the prefix with the client.
    tick(20);
    EXPECT_THAT(bindingsOf(kClient), ElementsAre(StartsWith("2001:db8:1::/56")));
    EXPECT_THAT(addressFilters(), IsEmpty());
    tick(20);
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
    EXPECT_EQ(portClientCount[2], 0);
}

TEST_F(ClientRestoreTest, APlaceNoReplyCouldHaveFilledIsRefusedAndChangesNothing) {
    ASSERT_EQ(dhcp6snooping_port_maxclients(5, 1), 0);
    ASSERT_EQ(restore(kOtherClient, 5, kVlan, {record("2001:db8::c", 128, 60)}), 0);
    const MacAddress zero{};
    const MacAddress third = mac("02:00:00:00:00:03");
    const struct {
        const char *why;
        MacAddress client;
        uint32_t port;
        uint32_t vlan;
        uint32_t secondsLeft;
    } refused[] = {
        {"a zero MAC", zero, 3, kVlan, 60},
        {"a MAC the table has", kOtherClient, 3, kVlan, 60},
        {"a trusted port", third, kServerPort, kVlan, 60},
        {"a port without a table entry", third, 225, kVlan, 60},
        {"VLAN 4095", third, 3, 4095, 60},
        {"a full port", third, 5, kVlan, 60},
        {"nothing left of the lease", third, 3, kVlan, 0},
    };
    for (const auto &c : refused) {
        EXPECT_EQ(restore(c.client, c.port, c.vlan, {record("2001:db8::d", 128, c.secondsLeft)}), -1)
            << c.why;
    }
    EXPECT_EQ(clientFind(third.data()), nullptr);
    EXPECT_EQ(vlanClientCount[kVlan], 1);
    dhcp6snoopingStop();
    EXPECT_EQ(restore(third, 3, kVlan, {record("2001:db8::d", 128, 60)}), -1) << "snooping off";
}

}  // namespace
