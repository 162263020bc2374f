// The daemon on a Linux host: the bridge named in the platform's settings is the switch. The process takes
// no options: it starts the daemon, enters the boot configuration, takes back the clients of its binding
// database, tells systemd that it is ready, and serves until SIGTERM. SIGHUP makes the configuration the
// boot configuration's again, through its differences, keeping the learned clients.

#include <syslog.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "BindingDatabase.h"
#include "ClientListing.h"
#include "ConfigChangeLog.h"
#include "ConfigService.h"
#include "DropLog.h"
#include "HostLifecycle.h"
#include "HostStatistics.h"
#include "MetricsFile.h"
#include "core/FrameStatistics.h"
#include "core/MainLoop.h"
#include "core/Startup.h"
#include "mgmt_protocol/Statistics.h"
#include "snooping/Dhcp6Options.h"

namespace {

// The boot configuration's text; an empty one when there is no file.
std::string bootConfiguration() {
    const std::string &path = hostplatform::hostSettings().bootConfig;
    std::ifstream file(path);
    if (!file) {
        hostplatform::logLine(LOG_INFO, "no boot configuration at " + path + ": the defaults hold");
        return "";
    }
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

// Enters the boot configuration line by line, as a switch boots: a refused line is logged and the others
// are entered all the same.
void enterBootConfiguration() {
    const std::string &path = hostplatform::hostSettings().bootConfig;
    const hostplatform::ConfigChangeLog change("boot configuration " + path);
    const auto refused = hostplatform::enterConfigText(bootConfiguration());
    for (const auto &error : refused) {
        hostplatform::logLine(LOG_ERR, "boot configuration " + path + " " + hostplatform::describe(error));
    }
    hostplatform::logLine(
        refused.empty() ? LOG_NOTICE : LOG_ERR,
        "boot configuration " + path + " entered, " + std::to_string(refused.size()) + " lines refused");
}

// On SIGHUP the configuration becomes the boot configuration's, whole or not at all.
void replaceWithBootConfiguration() {
    const std::string &path = hostplatform::hostSettings().bootConfig;
    const hostplatform::ConfigChangeLog change("boot configuration " + path + " on SIGHUP");
    const auto refused = hostplatform::replaceConfigText(bootConfiguration());
    for (const auto &error : refused) {
        hostplatform::logLine(LOG_ERR, "boot configuration " + path + " " + hostplatform::describe(error));
    }
    hostplatform::logLine(refused.empty() ? LOG_NOTICE : LOG_ERR,
                          refused.empty()
                              ? "the configuration is the boot configuration " + path + " again"
                              : "the boot configuration " + path + " was refused; nothing changed");
}

// Every frame the daemon drops is logged, a few a second for each reason.
void logDroppedFrame(const DropNotice *notice) {
    hostplatform::logDrop(
        {notice->port, notice->vlan,
         notice->messageType != 0 ? dhcp6MessageName(static_cast<uint8_t>(notice->messageType)) : "frame",
         notice->sourceMac, mgmt::kCounterNames[notice->reason].key});
}

void answerStatisticsRequests() {
    hostplatform::answerRequest(mgmt::kStatisticsMessage, [](std::span<const uint8_t>) {
        return mgmt::encodeStatistics(hoststats::statistics());
    });
    hostplatform::answerRequest(mgmt::kClearStatisticsMessage, [](std::span<const uint8_t>) {
        hoststats::clear();
        hostplatform::logLine(
            LOG_NOTICE,
            std::string("the statistics cleared through ").append(hostplatform::requestChannel()));
        return mgmt::Bytes{};
    });
}

}  // namespace

int main(int argc, char *argv[]) {
    if (argc > 1) {
        const bool help = std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0;
        std::fprintf(help ? stdout : stderr,
                     "usage: %s\n"
                     "DHCPv6 snooping and IPv6 source guard on a Linux bridge. It takes no options: the\n"
                     "bridge, the management socket, the boot configuration and the binding database are\n"
                     "set in /etc/dhcp6snooping/platform.conf (or the file DHCP6SNOOPING_PLATFORM_CONF\n"
                     "names), the rest with dhcp6snoopingctl(8). See dhcp6snooping(8).\n",
                     argv[0]);
        return help ? 0 : 2;
    }
    if (dhcp6snoopingStartup(argv[0]) != 0) {
        return EXIT_FAILURE;
    }
    enterBootConfiguration();
    const std::string &database = hostplatform::hostSettings().bindingDatabase;
    bindingdb::restore(database);
    bindingdb::keepWritten(database);
    hostplatform::onHangup(replaceWithBootConfiguration);
    hostplatform::answerRequest(mgmt::kClientPageMessage, [](std::span<const uint8_t> request) {
        return mgmt::encodeClientPage(listing::clientPage(request));
    });
    answerStatisticsRequests();
    dhcp6snoopingDropListen(logDroppedFrame);
    if (const auto &settings = hostplatform::hostSettings(); !settings.metricsFile.empty()) {
        metrics::keepWritten(settings.metricsFile, settings.metricsInterval);
    }
    // The filters of the boot configuration and of the clients taken back go to the kernel together, in
    // the transaction that replaces a table an earlier run left behind.
    hostplatform::reportReady();
    for (;;) {
        dhcp6snoopingServeNextMessage();
    }
}
