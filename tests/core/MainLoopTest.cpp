#include <gmock/gmock.h>

#include <cstring>

#include "platform/RmWrapApi.h"
#include "support/DaemonTest.h"
#include "switchsim/RemoteCallMessage.h"

namespace {

using ::testing::ElementsAre;

std::string resultName(const ::testing::TestParamInfo<int32_t> &info) {
    return (info.param < 0 ? "Minus" : "") + std::to_string(info.param < 0 ? -info.param : info.param);
}
using ::testing::IsEmpty;

constexpr uint32_t kTestCall = 7000;
constexpr uint32_t kUnservedCall = 7001;

// What the test wrapper answers; it also marks its first argument so that the reply can be checked to
// carry the processed message.
int32_t wrapperResult = 0;

int32_t testWrapper(void * /*context*/, RemoteCallArg *args, uint32_t ulArgsNum) {
    if (ulArgsNum > 0) {
        std::memcpy(args[0].data, "done", 4);
    }
    return wrapperResult;
}

class MainLoopTest : public DaemonTest {
  protected:
    void SetUp() override {
        startDaemon();
        // Another process's range, so that the test's wrapper stands beside the daemon's calls.
        ASSERT_EQ(smdRMWrapInit(kTestCall, kTestCall + 2), 0);
        ASSERT_EQ(smdRmWrapRegister(kTestCall, 0, testWrapper), 0);
    }

    // A type-2 message of just a header whose data length is `dataLength`.
    static switchsim::Bytes headerOnly(uint16_t type, uint16_t dataLength) {
        switchsim::Bytes message(switchsim::kRemoteCallHeaderSize, 0);
        std::memcpy(message.data(), &type, sizeof type);
        std::memcpy(&message[switchsim::kRemoteCallDataLengthOffset], &dataLength, sizeof dataLength);
        return message;
    }
};

TEST_F(MainLoopTest, MessageOfAnotherTypeIsLoggedWithItsTypeAndGetsNoReply) {
    sw.queueMessage(headerOnly(5, 0));
    serve();

    EXPECT_THAT(sw.consoleLines(), ElementsAre("\r\nmain:vosMsgRecv receive unkown msg 5"));
    EXPECT_EQ(sw.remoteCallsServed(), 0U);
    EXPECT_THAT(sw.replies(), IsEmpty());
}

TEST_F(MainLoopTest, NoReplyIsSentWhenTheServiceAnswersMinus1017) {
    wrapperResult = -1017;
    sw.queueRemoteCall(kTestCall, {switchsim::Bytes(4)});
    serve();

    EXPECT_EQ(sw.remoteCallsServed(), 1U);
    EXPECT_THAT(sw.replies(), IsEmpty());
}

class ReplyTest : public MainLoopTest, public ::testing::WithParamInterface<int32_t> {};

TEST_P(ReplyTest, AnyOtherResultIsRepliedWithTheProcessedMessage) {
    wrapperResult = GetParam();
    sw.queueRemoteCall(kTestCall, {switchsim::Bytes(4), switchsim::Bytes{1, 2, 3}});
    serve();

    ASSERT_EQ(sw.replies().size(), 1U);
    const switchsim::Reply &reply = sw.replies()[0];
    EXPECT_EQ(reply.result, GetParam());
    EXPECT_EQ(reply.length, switchsim::kRemoteCallHeaderSize + 4 + 4 + 4 + 3);
    const auto decoded = switchsim::decodeRemoteCall(reply.message);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->result, GetParam());
    EXPECT_THAT(decoded->arguments,
                ElementsAre(switchsim::Bytes{'d', 'o', 'n', 'e'}, switchsim::Bytes{1, 2, 3}));
}

INSTANTIATE_TEST_SUITE_P(Results, ReplyTest, ::testing::Values(0, 1, 6, -1, -1001, -1016, -1018), resultName);

TEST_F(MainLoopTest, ReplyLengthIsTheDataLengthTheServiceLeftPlusTheHeader) {
    // The service answers a call it has no wrapper for without any data.
    sw.queueRemoteCall(kUnservedCall, {switchsim::Bytes(8)});
    serve();

    ASSERT_EQ(sw.replies().size(), 1U);
    EXPECT_EQ(sw.replies()[0].result, -1);
    EXPECT_EQ(sw.replies()[0].length, switchsim::kRemoteCallHeaderSize);
}

TEST_F(MainLoopTest, ReplyNeverReachesPastTheReceiveBuffer) {
    // A header claiming more data than was received: the service refuses it and leaves it as it came.
    sw.queueMessage(headerOnly(2, 0xFFFF));
    serve();

    ASSERT_EQ(sw.replies().size(), 1U);
    EXPECT_EQ(sw.replies()[0].length, 7712U);
}

class ReceiveFailureTest : public MainLoopTest, public ::testing::WithParamInterface<int32_t> {};

TEST_P(ReceiveFailureTest, IsPrintedAndTheNextMessageIsServed) {
    wrapperResult = 0;
    sw.queueReceiveFailure(GetParam());
    sw.queueRemoteCall(kTestCall, {});
    serve();

    EXPECT_THAT(sw.consoleLines(),
                ElementsAre("\r\nmain:vosMsgRecv failed iRet = " + std::to_string(GetParam())));
    EXPECT_EQ(sw.replies().size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Results, ReceiveFailureTest, ::testing::Values(0, -1, -3), resultName);

TEST_F(MainLoopTest, CallbackEventsRunInsideTheWaitForTheNextMessage) {
    wrapperResult = 0;
    sw.queueTimerTicks(2);
    sw.queueLinkChange(3, 0);
    sw.queueRunningConfigRequest(100);
    sw.queueRemoteCall(kTestCall, {});
    sw.queueTimerTicks(1);
    serve();

    EXPECT_EQ(sw.upSeconds(), 3U);
    EXPECT_EQ(sw.replies().size(), 1U);
    ASSERT_EQ(sw.runningConfigAnswers().size(), 1U);
    EXPECT_EQ(sw.runningConfigAnswers()[0].result, 0U);
    EXPECT_EQ(sw.runningConfigAnswers()[0].text, "");
    EXPECT_EQ(sw.runningConfigAnswers()[0].remaining, 100U);
    EXPECT_TRUE(sw.idle());
}

}  // namespace
