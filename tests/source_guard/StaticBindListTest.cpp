// Whether a learned address is served by a static binding instead of a filter of its own.

#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "source_guard/StaticBindList.h"
#include "switchsim/FrameBuilder.h"

namespace {

using switchsim::ipv6;
using switchsim::mac;

StaticBindEntry makeBinding(const char *ip, const char *macText) {
    StaticBindEntry binding{};
    std::memcpy(binding.ip, ipv6(ip).data(), sizeof binding.ip);
    if (macText != nullptr) {
        std::memcpy(binding.mac, mac(macText).data(), sizeof binding.mac);
    }
    return binding;
}

const auto kClientM = mac("02:00:00:00:00:01");
const auto kOtherClient = mac("02:00:00:00:00:02");
const auto kAddressA = ipv6("2001:db8::a");
const auto kAddressB = ipv6("2001:db8::b");
const auto kAddressC = ipv6("2001:db8::c");

TEST(StaticBindList, EmptyListCoversNothing) {
    EXPECT_EQ(staticBindCount, 0U);
    EXPECT_EQ(staticBindCovers(kClientM.data(), kAddressA.data()), 0U);
    EXPECT_EQ(staticBindCoversOther(kClientM.data(), kAddressA.data(), nullptr), 0U);
}

TEST(StaticBindList, BindingCoversItsAddressForAnyoneAndEveryAddressOfItsMac) {
    StaticBindEntry noMac = makeBinding("2001:db8::a", nullptr);
    StaticBindEntry withMac = makeBinding("2001:db8::b", "02:00:00:00:00:01");
    staticBindInsertNewest(&noMac);
    staticBindInsertNewest(&withMac);
    EXPECT_EQ(staticBindCount, 2U);
    EXPECT_EQ(staticBindList.next, &withMac);
    EXPECT_EQ(staticBindList.prev, &noMac);

    EXPECT_EQ(staticBindCovers(kOtherClient.data(), kAddressA.data()), 1U);
    EXPECT_EQ(staticBindCovers(kOtherClient.data(), kAddressB.data()), 1U);
    EXPECT_EQ(staticBindCovers(kOtherClient.data(), kAddressC.data()), 0U);
    EXPECT_EQ(staticBindCovers(kClientM.data(), kAddressC.data()), 1U);

    EXPECT_EQ(staticBindCoversOther(kOtherClient.data(), kAddressA.data(), &noMac), 0U);
    EXPECT_EQ(staticBindCoversOther(kClientM.data(), kAddressC.data(), &withMac), 0U);
    EXPECT_EQ(staticBindCoversOther(kClientM.data(), kAddressA.data(), &withMac), 1U);

    staticBindUnlink(&withMac);
    EXPECT_EQ(staticBindCovers(kClientM.data(), kAddressC.data()), 0U);
    staticBindUnlink(&noMac);
    EXPECT_EQ(staticBindCount, 0U);
    EXPECT_EQ(staticBindList.next, &staticBindList);
}

}  // namespace
