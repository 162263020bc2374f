#pragma once
// A test that runs the daemon on a fresh simulated switch.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/MainLoop.h"
#include "core/SharedTypes.h"
#include "core/Startup.h"
#include "switchsim/Switch.h"

class DaemonTest : public ::testing::Test {
  protected:
    static constexpr uint32_t kTraceLevel = 7;

    void startDaemon() { ASSERT_EQ(dhcp6snoopingStartup("/sbin/dhcp6snooping"), 0); }
    // Lets the daemon take every queued event.
    void serve() { sw.runUntilIdle(dhcp6snoopingServeNextMessage); }
    void traceOn() { sw.setModuleLogLevel(kDhcp6SnoopingModuleId, kTraceLevel); }

    // The texts of the daemon's trace lines, in order.
    [[nodiscard]] std::vector<std::string> traces() const {
        std::vector<std::string> texts;
        for (const auto &line : sw.syslogLines()) {
            if (line.module == kDhcp6SnoopingModuleId && line.level == kTraceLevel) {
                texts.push_back(line.text);
            }
        }
        return texts;
    }

    switchsim::Switch sw;
};
