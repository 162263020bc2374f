// VLANs exempted from source guard: each exempt VLAN has its VLAN-only filter, and a VLAN whose filter the
// service refuses is reported and keeps its state.

#include <gmock/gmock.h>

#include <cstring>
#include <initializer_list>

#include "source_guard/ExemptVlans.h"
#include "support/DaemonTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr uint32_t kAdd = 0;

VlanBitmap vlans(std::initializer_list<VlanId> ids) {
    VlanBitmap bitmap{};
    for (const VlanId id : ids) {
        vlanBitmapAdd(bitmap, id);
    }
    return bitmap;
}

class ExemptVlansTest : public DaemonTest {
  protected:
    void SetUp() override { startDaemon(); }

    int32_t configure(uint32_t operation, std::initializer_list<VlanId> ids) {
        const VlanBitmap requested = vlans(ids);
        failed = {};
        return ip6_source_guard_vlanlist_config(operation, &requested, &failed);
    }
    [[nodiscard]] size_t calls() const { return sw.filterCalls().size(); }

    VlanBitmap failed{};
};

TEST_F(ExemptVlansTest, EachVlanIsRequestedOnceAndOnlyInsideOneTo4094) {
    EXPECT_EQ(configure(kAdd, {0, 10, 4094, 4095}), 0);
    EXPECT_THAT(sw.installedFilters(), ElementsAre("forward vlan 10", "forward vlan 4094"));
    const size_t before = calls();
    EXPECT_EQ(configure(kAdd, {10}), 0);
    EXPECT_EQ(configure(kExemptVlansRemove, {20}), 0);
    EXPECT_EQ(calls(), before);

    VlanBitmap listed{};
    no_ip6_source_guard_vlanlist_get(&listed);
    const VlanBitmap exempt = vlans({10, 4094});
    EXPECT_EQ(std::memcmp(&listed, &exempt, sizeof listed), 0);
    EXPECT_EQ(no_ip6_source_guard_vlan_get(10), 1);
    EXPECT_EQ(no_ip6_source_guard_vlan_get(11), 0);
    EXPECT_EQ(configure(kExemptVlansRemove, {10, 4094}), 0);
    EXPECT_THAT(sw.installedFilters(), IsEmpty());
}

TEST_F(ExemptVlansTest, RefusedVlanIsReportedAndKeepsItsStateWhileTheOthersGoOn) {
    sw.failFilterCall("FRM_InstallGlobalForwardIp6VidOnlyFilterResource", -3);
    EXPECT_EQ(configure(kAdd, {30, 31}), -1);
    const VlanBitmap refused = vlans({30});
    EXPECT_EQ(std::memcmp(&failed, &refused, sizeof failed), 0);
    EXPECT_EQ(no_ip6_source_guard_vlan_get(30), 0);
    EXPECT_EQ(no_ip6_source_guard_vlan_get(31), 1);

    sw.failFilterCall("FRM_RemoveGlobalForwardIp6VidOnlyFilterResource", -3);
    EXPECT_EQ(configure(kExemptVlansRemove, {31}), -1);
    EXPECT_EQ(no_ip6_source_guard_vlan_get(31), 1);
}

TEST_F(ExemptVlansTest, FlagSetWithoutAFilterIsTakenAtItsWord) {
    EXPECT_EQ(operate_no_ip6_source_guard_vlan(40, 1), 0);
    EXPECT_EQ(operate_no_ip6_source_guard_vlan(4096, 1), -1);
    EXPECT_EQ(no_ip6_source_guard_vlan_get(4096), -1);
    EXPECT_EQ(configure(kAdd, {40}), 0);
    EXPECT_THAT(sw.filterCalls(), IsEmpty());
    // Taking it out asks for a filter that was never installed.
    EXPECT_EQ(configure(kExemptVlansRemove, {40}), -1);
    EXPECT_EQ(sw.filterCalls().size(), 1U);
}

}  // namespace
