#include "platform/PlatformVariables.h"

extern "C" {

uint32_t gul_max_port_num = 0;
alignas(8) uint8_t g_smdMsgRecvBuffer[SMD_MSG_RECV_BUFFER_SIZE];
}
