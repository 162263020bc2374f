#pragma once
// A test that acts as a process of its own on the simulated switch: it opens a queue and waits on it, so
// that the switch runs the callbacks the test registered from inside that wait.

#include <cstdint>

#include "platform/VosApi.h"

namespace testqueue {

inline uint32_t queue = 0;

// Opens the test's own queue; 0 when done.
inline int32_t open() {
    return vosMsgInit("/test", 1, &queue);
}

// One turn of the test process: waits on its queue.
inline void waitForMessage() {
    uint8_t buffer[64];
    VosMsgReplyAddress from{};
    vosMsgRecv(queue, buffer, sizeof buffer, VOS_WAIT_FOREVER, &from);
}

}  // namespace testqueue
