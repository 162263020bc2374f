#include <gmock/gmock.h>

#include "platform/PacketRegistration.h"
#include "support/DaemonTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PacketRegistrationTest : public DaemonTest {
  protected:
    // The log lines that report registration failures.
    [[nodiscard]] std::vector<std::string> failureLines() const {
        std::vector<std::string> texts;
        for (const auto &line : sw.syslogLines()) {
            EXPECT_EQ(line.module, 54U);
            EXPECT_EQ(line.level, 2U);
            EXPECT_EQ(line.name, "init");
            EXPECT_EQ(line.detail, line.text);
            texts.push_back(line.text);
        }
        return texts;
    }
};

struct ModeCase {
    uint32_t initial;
    uint32_t running;
    const char *call;
    uint32_t mode;
};

class RegistrationModeTest : public PacketRegistrationTest, public ::testing::WithParamInterface<ModeCase> {};

TEST_P(RegistrationModeTest, SubmitsBothDescriptorsInTheModeOfItsFlags) {
    const ModeCase &c = GetParam();
    if (c.initial != 1) {
        ASSERT_EQ(dhcp6snoopingPktRegister(1, 0), 0);
    }
    const size_t before = sw.packetRegistrations().size();

    EXPECT_EQ(dhcp6snoopingPktRegister(c.initial, c.running), 0);

    const auto &calls = sw.packetRegistrations();
    ASSERT_EQ(calls.size(), before + 2);
    for (size_t i = before; i < calls.size(); ++i) {
        EXPECT_EQ(calls[i].call, c.call);
        EXPECT_EQ(calls[i].mode, c.mode);
        EXPECT_EQ(calls[i].result, 0);
        // A move of mode names the registration by the very descriptor it was made with.
        EXPECT_EQ(calls[i].descriptor, calls[i - before].descriptor);
    }
    EXPECT_THAT(sw.syslogLines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Flags, RegistrationModeTest,
    ::testing::Values(ModeCase{1, 0, "smdVDPktRegister", 3}, ModeCase{1, 1, "smdVDPktRegister", 3},
                      ModeCase{0, 1, "smdVDPktRegRunning", 1}, ModeCase{2, 1, "smdVDPktRegRunning", 1},
                      ModeCase{0, 0, "smdVDPktRegRunning", 3}, ModeCase{0, 2, "smdVDPktRegRunning", 3}),
    [](const auto &param) {
        return "Initial" + std::to_string(param.param.initial) + "Running" +
               std::to_string(param.param.running);
    });

TEST_F(PacketRegistrationTest, EachFailedRegistrationIsLoggedAndTheSecondIsStillAttempted) {
    sw.failPacketRegistration("smdVDPktRegister", -1, 2);

    EXPECT_EQ(dhcp6snoopingPktRegister(1, 0), 0);

    EXPECT_EQ(sw.packetRegistrations().size(), 2U);
    EXPECT_THAT(failureLines(), ElementsAre("smdVDPktRegister 1 failed.", "smdVDPktRegister 2 failed."));
}

TEST_F(PacketRegistrationTest, FailureOfTheFirstLeavesTheSecondRegistered) {
    sw.failPacketRegistration("smdVDPktRegister", -1, 1);

    startDaemon();

    ASSERT_EQ(sw.packetRegistrations().size(), 2U);
    EXPECT_EQ(sw.packetRegistrations()[1].result, 0);
    EXPECT_THAT(failureLines(), ElementsAre("smdVDPktRegister 1 failed."));
}

TEST_F(PacketRegistrationTest, FailedModeMovesNameTheRunningFlag) {
    ASSERT_EQ(dhcp6snoopingPktRegister(1, 0), 0);
    sw.failPacketRegistration("smdVDPktRegRunning", -1, 4);

    EXPECT_EQ(dhcp6snoopingPktRegister(0, 1), 0);
    EXPECT_EQ(dhcp6snoopingPktRegister(0, 0), 0);

    EXPECT_THAT(failureLines(), ElementsAre("smdVDPktRegRunning 1 failed.", "smdVDPktRegRunning 1 failed.",
                                            "smdVDPktRegRunning 0 failed.", "smdVDPktRegRunning 0 failed."));
}

}  // namespace
