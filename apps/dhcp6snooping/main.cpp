// The daemon on a Linux host: the bridge named in the platform's settings is the switch. The process takes
// no options; it is configured through dhcp6snoopingctl and stopped with SIGTERM.

#include <cstdio>
#include <cstring>

#include "core/Startup.h"

int main(int argc, char *argv[]) {
    if (argc > 1) {
        const bool help = std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0;
        std::fprintf(help ? stdout : stderr,
                     "usage: %s\n"
                     "DHCPv6 snooping and IPv6 source guard on a Linux bridge. It takes no options: the\n"
                     "bridge and the management socket are set in /etc/dhcp6snooping/platform.conf (or the\n"
                     "file DHCP6SNOOPING_PLATFORM_CONF names), the rest with dhcp6snoopingctl(8).\n"
                     "See dhcp6snooping(8).\n",
                     argv[0]);
        return help ? 0 : 2;
    }
    return dhcp6snoopingMain(argc, argv);
}
