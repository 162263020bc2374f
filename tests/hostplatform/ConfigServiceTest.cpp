// Configuration text entered in the daemon's own process on a Linux host: a check runs on a copy of the
// daemon and reports every line that would be refused, with its number and reason, while nothing changes
// here; a whole entry changes nothing unless every line is taken.

#include <gmock/gmock.h>

#include <string>

#include "ConfigService.h"
#include "HostState.h"
#include "core/GlobalState.h"
#include "mgmt/RemoteCallTable.h"
#include "platform/PlatformVariables.h"
#include "running_config/RunningConfig.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

std::string runningConfig() {
    std::string text(1 << 16, '\0');
    auto remaining = static_cast<uint32_t>(text.size() - 1);
    dhcp6snoopingBuildRunningConfig(text.data(), &remaining);
    return text.substr(0, text.find('\0'));
}

std::vector<std::string> described(const std::vector<mgmt::ConfigLineError> &errors) {
    std::vector<std::string> texts;
    texts.reserve(errors.size());
    for (const auto &error : errors) {
        texts.push_back(hostplatform::describe(error));
    }
    return texts;
}

TEST(ConfigService, ACheckChangesNothingHereAndAWholeEntryIsAllOrNothing) {
    auto &bridge = hostplatform::host().bridge;
    bridge.ports.resize(2);
    bridge.ports[0].ifindex = 7;
    bridge.ports[0].name = "swp1";
    bridge.ports[1].ifindex = 8;
    bridge.ports[1].name = "swp2";
    gul_max_port_num = 2;
    ASSERT_EQ(dhcp6snooping_init(), 0);
    ASSERT_EQ(dhcp6snoopingRmWrapFunction(), 0);
    const std::string defaults = runningConfig();
    const std::string refused =
        "interface ethernet swp1\n"
        " dhcpv6-snooping trust\n"
        "exit\n"
        "interface ethernet swp2\n"
        " dhcpv6-snooping max-clients 99999999\n"
        "exit\n"
        "interface ethernet swp9\n";
    const auto expected =
        ElementsAre("line 5: dhcpv6-snooping max-clients 99999999: max-clients: 99999999 is above 2048",
                    "line 7: interface ethernet swp9: no such port: swp9");
    EXPECT_THAT(described(hostplatform::checkConfigText(refused)), expected);
    EXPECT_EQ(runningConfig(), defaults) << "the check changed the daemon";
    EXPECT_THAT(described(hostplatform::enterConfigTextWhole(refused)), expected);
    EXPECT_EQ(runningConfig(), defaults) << "a refused text was entered in part";

    const std::string taken = "interface ethernet swp1\n dhcpv6-snooping trust\nexit\n";
    EXPECT_THAT(hostplatform::checkConfigText(taken), IsEmpty());
    EXPECT_THAT(runningConfig(), Not(HasSubstr("dhcpv6-snooping trust")));
    EXPECT_THAT(hostplatform::enterConfigTextWhole(taken), IsEmpty());
    EXPECT_THAT(runningConfig(), HasSubstr("interface ethernet swp1\r\ndhcpv6-snooping trust\r\nexit"));
}

}  // namespace
