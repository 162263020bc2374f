#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/PlatformVariables.h"
#include "platform/SmdPacketApi.h"
#include "switchsim/Switch.h"

namespace {

TEST(SwitchBuildTest, PortsExistFromOneToThePortCountUnlessBuiltAbsent) {
    switchsim::Switch sw(switchsim::SwitchConfig{.portCount = 8, .absentPorts = {2, 8}});

    EXPECT_EQ(gul_max_port_num, 8U);
    EXPECT_EQ(smdVDPortExist(0), 0);
    EXPECT_NE(smdVDPortExist(1), 0);
    EXPECT_EQ(smdVDPortExist(2), 0);
    EXPECT_NE(smdVDPortExist(7), 0);
    EXPECT_EQ(smdVDPortExist(8), 0);
    EXPECT_EQ(smdVDPortExist(9), 0);
}

TEST(SwitchBuildTest, OneSwitchAtATimeWithOneTo224Ports) {
    EXPECT_THROW(switchsim::Switch(switchsim::SwitchConfig{.portCount = 0, .absentPorts = {}}),
                 std::invalid_argument);
    EXPECT_THROW(switchsim::Switch(switchsim::SwitchConfig{.portCount = 225, .absentPorts = {}}),
                 std::invalid_argument);
    switchsim::Switch sw(switchsim::SwitchConfig{.portCount = 224, .absentPorts = {}});
    EXPECT_THROW(switchsim::Switch(), std::logic_error);
}

}  // namespace
