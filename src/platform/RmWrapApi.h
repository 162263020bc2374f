#pragma once
// The remote-call wrapper service, which carries numbered calls from the command-line process to the
// wrappers that a process registered, and their results back.

#include <cstddef>
#include <cstdint>

extern "C" {

// One argument of a remote call, packed back to back at 12 bytes each: the pointer to the argument's data
// starts at byte 4 and is therefore unaligned.
struct __attribute__((packed)) RemoteCallArg {
    uint32_t word;  // the service's own
    void *data;
};
static_assert(sizeof(RemoteCallArg) == 12);
static_assert(offsetof(RemoteCallArg, data) == 4);

typedef int32_t (*RmWrapper)(void *context, RemoteCallArg *args, uint32_t ulArgsNum);

// Reserves the call numbers first to end - 1 for this process.
int32_t smdRMWrapInit(uint32_t firstCall, uint32_t endCall);
int32_t smdRmWrapRegister(uint32_t callNumber, uint32_t flags, RmWrapper wrapper);
int32_t smdDebugPrintf(uint32_t level, const char *format, ...) __attribute__((format(printf, 2, 3)));
// Serves the remote-call message in place: calls its wrapper, writes the outputs into the message and
// returns the wrapper's result. The message's data length (u16 at offset 14) is what is to go back.
int32_t smdCfgRmWrapProcess(void *message);
}
