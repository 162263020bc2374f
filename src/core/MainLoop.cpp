#include "core/MainLoop.h"

#include <algorithm>

#include "core/ByteAccess.h"
#include "mgmt_protocol/MessageLayout.h"
#include "platform/PlatformVariables.h"
#include "platform/RmWrapApi.h"
#include "platform/VosApi.h"

namespace {

constexpr char kLoopName[] = "main";
constexpr char kRecvFailed[] = "\r\n%s:vosMsgRecv failed iRet = %d";
constexpr char kUnknownMessage[] = "\r\n%s:vosMsgRecv receive unkown msg %d";

// Management message header: the type, and the length of the data behind the 24-byte header.
constexpr uint32_t kMessageTypeOffset = mgmt::kTypeOffset;
constexpr uint32_t kDataLengthOffset = mgmt::kDataLengthOffset;
constexpr uint32_t kMessageHeaderSize = mgmt::kHeaderSize;
constexpr uint16_t kRemoteCallMessage = mgmt::kRemoteCallMessage;
// What the remote-call wrapper service answers when no reply is to be sent.
constexpr int32_t kNoReply = -1017;

}  // namespace

extern "C" {

uint32_t dhcp6snoopingMsgQueue;

void dhcp6snoopingServeNextMessage(void) {
    VosMsgReplyAddress from{};
    const int32_t received = vosMsgRecv(dhcp6snoopingMsgQueue, g_smdMsgRecvBuffer, SMD_MSG_RECV_BUFFER_SIZE,
                                        VOS_WAIT_FOREVER, &from);
    if (received <= 0) {
        vosPrintf(kRecvFailed, kLoopName, received);
        return;
    }
    // A message shorter than its header leaves the last message's bytes behind it; they are not this
    // message's type or length.
    if (static_cast<uint32_t>(received) < kMessageHeaderSize) {
        std::fill(g_smdMsgRecvBuffer + received, g_smdMsgRecvBuffer + kMessageHeaderSize, 0);
    }
    const uint16_t type = loadHostU16(g_smdMsgRecvBuffer + kMessageTypeOffset);
    if (type != kRemoteCallMessage) {
        vosPrintf(kUnknownMessage, kLoopName, type);
        return;
    }
    const int32_t result = smdCfgRmWrapProcess(g_smdMsgRecvBuffer);
    if (result == kNoReply) {
        return;
    }
    // The service leaves in the header how much is to go back; the reply never reaches past the buffer,
    // whatever that field holds.
    const uint32_t length = std::min<uint32_t>(
        loadHostU16(g_smdMsgRecvBuffer + kDataLengthOffset) + kMessageHeaderSize, SMD_MSG_RECV_BUFFER_SIZE);
    vosMsgResp(dhcp6snoopingMsgQueue, result, g_smdMsgRecvBuffer, length, &from);
}
}
