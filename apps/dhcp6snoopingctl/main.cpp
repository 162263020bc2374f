// dhcp6snoopingctl: the command line of the dhcp6snooping daemon on a Linux host. It configures the daemon in
// the running-configuration syntax and shows what the daemon knows, as text or, with --json, as JSON.

#include <iostream>
#include <memory>

#include "Commands.h"
#include "Transport.h"

int main(int argc, char *argv[]) {
    return ctl::runCommandLine(
        {argv + 1, argv + argc},
        [](const std::string &path) { return std::make_unique<ctl::SocketTransport>(path); }, std::cin,
        std::cout, std::cerr);
}
