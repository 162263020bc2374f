#pragma once
// Variables that the switch platform's library defines and the daemon only reads.

#include <cstdint>

extern "C" {

inline constexpr uint32_t SMD_MSG_RECV_BUFFER_SIZE = 7712;

// Number of ports of this switch, at most 224; ports are numbered 1 to gul_max_port_num.
extern uint32_t gul_max_port_num;

// The buffer into which the process receives its management messages.
extern uint8_t g_smdMsgRecvBuffer[SMD_MSG_RECV_BUFFER_SIZE];
}
