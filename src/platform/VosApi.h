#pragma once
// Operating-system helpers of the switch platform: process start, the management message queue, the
// periodic timer, the clock, address text conversion, the console and the heap.

#include <cstddef>
#include <cstdint>

extern "C" {

// Address family passed to vosInetNtop and vosInetPton for IPv6.
inline constexpr int32_t VOS_AF_INET6 = 10;

// Timeout of vosMsgRecv that waits without a time limit.
inline constexpr int32_t VOS_WAIT_FOREVER = -1;

// Where a received message came from. vosMsgRecv fills it and vosMsgResp takes it back unchanged; its
// content belongs to the platform.
struct VosMsgReplyAddress {
    uint8_t opaque[32];
};

// Running-configuration callback: appends the caller's section to the zero-terminated `text` and lowers
// *remaining by what it appended. Returns 0, or 0xFFFFFFFF when the section was not written whole.
typedef uint32_t (*VosBldrunCallback)(char *text, uint32_t *remaining);

// Periodic timer callback.
typedef int32_t (*VosTimerCallback)(void);

int32_t smdProcessInit(const char *programPath);

int32_t vosMsgInit(const char *queueName, uint32_t maxMessages, uint32_t *queueHandle);
// Waits for the next message and returns its length, or a value <= 0 on failure. The platform may run
// the process's registered callbacks (packets, timer, link changes, MIB, running configuration) from
// inside this wait, one at a time, on the caller's thread.
int32_t vosMsgRecv(uint32_t queueHandle, void *buffer, uint32_t bufferSize, int32_t timeoutMs,
                   VosMsgReplyAddress *from);
int32_t vosMsgResp(uint32_t queueHandle, int32_t result, const void *message, uint32_t length,
                   const VosMsgReplyAddress *to);
int32_t vosMsgRegisterBldrun(VosBldrunCallback callback);

// `periodic` 1 repeats the callback every `periodMs` milliseconds.
int32_t vosTimerRegister(uint32_t periodic, uint32_t periodMs, VosTimerCallback callback,
                         uint32_t *timerHandle, uint32_t flags);

// Seconds since the system started; never goes backwards.
uint32_t vosUpSeconds(void);

int32_t vosInetNtop(int32_t family, const void *address, char *text, uint32_t textSize);
int32_t vosInetPton(int32_t family, const char *text, void *address);

// Prints on the process's console.
int32_t vosPrintf(const char *format, ...) __attribute__((format(printf, 1, 2)));
const char *vosProcessGetName(void);

void *vosCalloc(size_t count, size_t size);
void vosFree(void *memory);
}
