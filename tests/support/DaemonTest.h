#pragma once
// A test that runs the daemon on a fresh simulated switch.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/MainLoop.h"
#include "core/SharedTypes.h"
#include "core/Startup.h"
#include "platform/VosApi.h"
#include "snooping/AddressList.h"
#include "switchsim/Switch.h"

// Address records written out for comparison: "2001:db8::1/128 600/900" (preferred/valid lifetime).
inline std::vector<std::string> bindingTexts(const AddressList &list) {
    std::vector<std::string> texts;
    for (uint32_t i = 0; i < list.count; ++i) {
        const ClientAddress &record = *addressAt(list, i);
        char address[64] = {};
        vosInetNtop(VOS_AF_INET6, record.address, address, sizeof address);
        texts.push_back(std::string(address) + "/" + std::to_string(record.prefixLength) + " " +
                        std::to_string(record.preferredLifetime) + "/" +
                        std::to_string(record.validLifetime));
    }
    return texts;
}

class DaemonTest : public ::testing::Test {
  protected:
    static constexpr uint32_t kTraceLevel = 7;

    DaemonTest() = default;
    explicit DaemonTest(const switchsim::SwitchConfig &config) : sw(config) {}

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

// A DaemonTest with the daemon started.
class StartedDaemonTest : public DaemonTest {
  protected:
    using DaemonTest::DaemonTest;
    void SetUp() override { startDaemon(); }
};
