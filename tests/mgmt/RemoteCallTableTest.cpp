// The remote calls as the command line makes them: by number through the main loop, with their arguments
// in a message and their outputs coming back in the reply.

#include <gmock/gmock.h>

#include "mgmt/RemoteCallTable.h"
#include "mgmt_protocol/ManagementHeader.h"
#include "support/SnoopingTest.h"

namespace {

using switchsim::Bytes;
using ::testing::Contains;

using fuzz::bytesOf;
using fuzz::valueAt;

// The remote-call service's debug lines as "level text".
std::vector<std::string> debugLines(const switchsim::Switch &sw) {
    std::vector<std::string> lines;
    for (const auto &line : sw.remoteCallDebugLines()) {
        lines.push_back(std::to_string(line.level) + " " + line.text);
    }
    return lines;
}

class RemoteCallTableTest : public SnoopingTest {
  protected:
    // Makes the call and returns the decoded reply.
    mgmt::DecodedRemoteCall call(uint32_t number, const std::vector<Bytes> &arguments) {
        sw.queueRemoteCall(number, arguments);
        serve();
        return mgmt::decodeRemoteCall(sw.replies().back().message).value();
    }
};

TEST_F(RemoteCallTableTest, EveryCallAnswersByNumberAndAWrongArgumentCountChangesNothing) {
    clientSends(switchsim::dhcp6::SOLICIT, kClient, 3);
    for (uint32_t number = kFirstRemoteCall; number < kEndRemoteCall; ++number) {
        // Exactly one argument count reaches the operation; every other count answers -1001 untouched.
        uint32_t accepted = 0;
        for (uint32_t count = 0; count <= 7; ++count) {
            const fuzz::DaemonState before = fuzz::daemonState(sw);
            const std::vector<Bytes> arguments(count, Bytes(600, 0));
            if (call(number, arguments).result == kWrongArgumentCount) {
                EXPECT_EQ(fuzz::daemonState(sw), before) << number << " with " << count;
            } else {
                ++accepted;
            }
        }
        EXPECT_EQ(accepted, 1U) << number;
    }
    EXPECT_THAT(debugLines(sw), Contains("1024 dhcp6snoopingWrap_port_mode:start"));
    EXPECT_THAT(debugLines(sw), Contains("2048 dhcp6snoopingWrap_port_mode:ulArgsNum 0 error"));
}

TEST_F(RemoteCallTableTest, SettersTakeTheirArgumentsAndGettersAnswerInTheReply) {
    EXPECT_EQ(call(6263, {bytesOf(3U), bytesOf(7U)}).result, 0);   // port 3 limit 7
    EXPECT_EQ(call(6261, {bytesOf(4U), bytesOf(1U)}).result, 0);   // trust port 4
    EXPECT_EQ(call(6260, {bytesOf(4U), bytesOf(2U)}).result, -1);  // a trusted port is not guarded
    clientSends(switchsim::dhcp6::SOLICIT, kClient, 3);
    const auto limit = call(6266, {bytesOf(3U), bytesOf(99U), bytesOf(99U)});
    EXPECT_EQ(limit.result, 0);
    EXPECT_EQ(valueAt(limit.arguments[1]), 7U);
    EXPECT_EQ(valueAt(limit.arguments[2]), 1U);
    const auto trust = call(6269, {bytesOf(4U), bytesOf(99U)});
    EXPECT_EQ(valueAt(trust.arguments[1]), 1U);
    const auto info = call(6270, {Bytes(8)});
    EXPECT_EQ(valueAt(info.arguments[0]), 1U);  // snooping is on
    EXPECT_EQ(call(6271, {bytesOf(0U)}).result, 0);
    EXPECT_EQ(dhcp6snoopingPortDownAction, 0U);
    // The count of bindings, and a page of them, come back as outputs.
    const Bytes address = {0x20, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    EXPECT_EQ(call(6253, {address, Bytes(6), bytesOf(0U), bytesOf(0U)}).result, 0);
    EXPECT_EQ(valueAt(call(6252, {Bytes(4)}).arguments[0]), 1U);
    const auto page = call(6277, {Bytes{1, 0}, Bytes(2), Bytes(2), Bytes(size_t{64} * 32)});
    EXPECT_EQ(page.arguments[2][0], 1);
    EXPECT_EQ(page.arguments[3][15], 1);
    // A delete selector by port takes the client away.
    Bytes selector(36);
    selector[8] = 3;
    EXPECT_EQ(call(6273, {selector}).result, 0);
    EXPECT_EQ(clientFind(kClient.data()), nullptr);
}

class RegistrationTest : public DaemonTest, public ::testing::WithParamInterface<const char *> {};

TEST_P(RegistrationTest, FailureIsTracedAtLevel4AndTheCallsNotRegisteredAreNotServed) {
    const bool initFails = std::string(GetParam()) == "smdRMWrapInit";
    sw.failRemoteCallService(GetParam(), -2, 3);
    startDaemon();
    EXPECT_THAT(debugLines(sw),
                ::testing::ElementsAre(initFails ? "4 dhcp6snoopingRmWrapFunction:smdRMWrapInit failed"
                                                 : "4 dhcp6snoopingRmWrapFunction:register failed"));
    // Without the range nothing is served; with three registrations refused, only those three are not.
    for (const uint32_t number : {6250U, 6253U}) {
        sw.queueRemoteCall(number, {});
        serve();
        const bool served = !initFails && number == 6253;
        EXPECT_EQ(sw.replies().back().result, served ? kWrongArgumentCount : -1) << number;
    }
}

INSTANTIATE_TEST_SUITE_P(Calls, RegistrationTest, ::testing::Values("smdRMWrapInit", "smdRmWrapRegister"));

}  // namespace
