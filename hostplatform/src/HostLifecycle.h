#pragma once
// What the daemon's executable adds to the platform on a Linux host: work at every second and at the stop,
// the platform's settings, and the report to systemd that the daemon is ready.

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "HostSettings.h"

namespace hostplatform {

// Writes a line to the system log at `priority` (SyslogService.cpp).
void logLine(int priority, const std::string &text);

// The settings the platform started with.
const HostSettings &hostSettings();

// `work` runs on the daemon's thread once a second, after the daemon's own tick.
void everySecond(std::function<void()> work);

// `work` runs once when the process stops on SIGTERM, SIGINT or SIGQUIT, before the filters are taken out
// of the bridge; it is the one way out of the process, for errors too.
void atStop(std::function<void()> work);

// `work` runs on SIGHUP, on the daemon's thread.
void onHangup(std::function<void()> work);

// Management requests of `type` are answered with `answer`'s data for the data of the request, on the
// daemon's thread and without a trace line: a list that only the executable can read.
using RequestAnswer = std::function<std::vector<uint8_t>(std::span<const uint8_t> request)>;
void answerRequest(uint16_t type, RequestAnswer answer);
// Who sent the request being answered, as the logs name it: "ctl (uid 0)".
const std::string &requestChannel();

// Puts the filters asked for so far in force, then tells systemd, when it started the daemon, that the
// daemon is ready.
void reportReady();

}  // namespace hostplatform
