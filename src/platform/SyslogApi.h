#pragma once
// The switch's system log service.

#include <cstdint>

extern "C" {

// Non-zero when output of `moduleId` at `level` is switched on.
int32_t syslogModuleSwitch(uint32_t moduleId, uint32_t level);
// Delivers one line.
int32_t syslogSendInfo(uint32_t moduleId, uint32_t level, const char *name, const char *text,
                       const char *detail, uint32_t arg1, uint32_t arg2, uint32_t arg3);
}
