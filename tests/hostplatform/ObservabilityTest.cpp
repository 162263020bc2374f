// What the daemon tells an operator on a Linux host, without a daemon: the metrics file as Prometheus'
// promtool reads it, and the drop log's limit of lines a second for each reason.

#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "DropLog.h"
#include "MetricsText.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

// Counters on two ports, one of them with a name the format must escape, and on no known port.
mgmt::Statistics someStatistics() {
    mgmt::Statistics statistics{7, 2, {}};
    mgmt::PortStatistics none{0, "", 0, {}};
    none.counters[static_cast<size_t>(mgmt::Counter::DroppedNotSnooped)] = 1;
    mgmt::PortStatistics swp1{1, "swp1", 0, {}};
    swp1.counters[static_cast<size_t>(mgmt::Counter::PassedSolicit)] = 12;
    mgmt::PortStatistics odd{2, "a\"b\\c", 4, {}};
    odd.counters[static_cast<size_t>(mgmt::Counter::DroppedPortLimit)] = 1204;
    statistics.ports = {none, swp1, odd};
    return statistics;
}

metrics::Gauges someGauges() {
    metrics::Gauges gauges;
    gauges.clientsByPort = {{"swp1", 0}, {"a\"b\\c", 5}};
    gauges.clientsByVlan = {{10, 5}};
    gauges.bindings = 9;
    gauges.filtersInstalled = 3;
    gauges.bindingDatabaseAgeSeconds = 4.5;
    gauges.startTimeSeconds = 1764130000;
    gauges.version = "1.0.0";
    return gauges;
}

TEST(MetricsText, NamesEveryCounterWithItsLabelsAndPromtoolAcceptsIt) {
    const std::string text = metrics::metricsText(someStatistics(), someGauges());
    for (const char *line : {
             "dhcp6snooping_frames_passed_total{port=\"swp1\",type=\"solicit\"} 12\n",
             "dhcp6snooping_frames_dropped_total{port=\"a\\\"b\\\\c\",reason=\"port_limit\"} 1204\n",
             "dhcp6snooping_frames_dropped_total{port=\"none\",reason=\"not_snooped\"} 1\n",
             "dhcp6snooping_binding_events_total{port=\"swp1\",event=\"learned\"} 0\n",
             "dhcp6snooping_source_guard_dropped_frames_total{port=\"a\\\"b\\\\c\"} 4\n",
             "dhcp6snooping_receive_ring_dropped_frames_total 7\n",
             "dhcp6snooping_vlan_clients{vlan=\"10\"} 5\n",
             "dhcp6snooping_binding_database_age_seconds 4.500\n",
             "dhcp6snooping_build_info{version=\"1.0.0\"} 1\n",
             "# TYPE dhcp6snooping_clients gauge\n",
         }) {
        EXPECT_THAT(text, HasSubstr(line));
    }
    EXPECT_THAT(text, Not(HasSubstr("source_guard_dropped_frames_total{port=\"none\"}")));

    const std::filesystem::path promtool = "/usr/bin/promtool";
    if (!std::filesystem::exists(promtool)) {
        GTEST_SKIP() << "no promtool here (Debian's prometheus package): the format was not checked";
    }
    const std::string path = std::filesystem::temp_directory_path() / "dhcp6snooping-metrics.prom";
    std::ofstream(path) << text;
    const std::string command = promtool.string() + " check metrics < " + path + " 2>&1";
    FILE *checker = popen(command.c_str(), "r");
    ASSERT_NE(checker, nullptr);
    std::string said;
    std::array<char, 256> chunk{};
    while (std::fgets(chunk.data(), chunk.size(), checker) != nullptr) {
        said += chunk.data();
    }
    EXPECT_EQ(pclose(checker), 0) << said;
    EXPECT_EQ(said, "");
    std::filesystem::remove(path);
}

TEST(DropLog, AFloodCostsAFewLinesASecondForEachReasonAndOneThatCountsTheRest) {
    const uint8_t mac[6] = {2, 0, 0, 0, 0, 9};
    hostplatform::DropLog log;
    const hostplatform::DroppedFrame limit{4, 10, "SOLICIT", mac, "port_limit"};
    const hostplatform::DroppedFrame rogue{4, 10, "ADVERTISE", nullptr, "server_message_on_untrusted_port"};
    EXPECT_EQ(log.note(limit, "swp4", 100),
              "dropped SOLICIT from 02:00:00:00:00:09 on port swp4 VLAN 10: port limit");
    for (int i = 1; i < 1000; ++i) {
        EXPECT_EQ(log.note(limit, "swp4", 100).has_value(), i < 5) << i;
    }
    EXPECT_EQ(log.note(rogue, "swp4", 100),
              "dropped ADVERTISE on port swp4 VLAN 10: server message on untrusted port")
        << "another reason has lines of its own";
    EXPECT_EQ(log.untold(),
              std::vector<std::string>{"995 more frames dropped (port limit) without a line each"});
    EXPECT_TRUE(log.untold().empty()) << "told once";
    EXPECT_TRUE(log.note(limit, "swp4", 101).has_value()) << "a new second, new lines";
}

}  // namespace
