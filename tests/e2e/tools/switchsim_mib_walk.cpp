// Prints the MIB module as the simulated switch's agent walks it, one "OID = value" line per object, for a
// switch of the ports named (all in VLAN 1, as on a bridge without VLAN filtering) running the daemon with
// the configuration of a file: what the end-to-end test compares snmpd's walk of the host with.
// usage: switchsim_mib_walk PORT[,PORT...] CONFIG_FILE

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "core/MainLoop.h"
#include "core/Startup.h"
#include "switchsim/ConfigInterpreter.h"
#include "switchsim/MibAgent.h"
#include "switchsim/Switch.h"

int main(int argc, char *argv[]) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s PORT[,PORT...] CONFIG_FILE\n", argv[0]);
        return 2;
    }
    std::vector<std::string> names;
    std::istringstream listed(argv[1]);
    for (std::string name; std::getline(listed, name, ',');) {
        names.push_back(name);
    }
    std::ifstream file(argv[2]);
    const std::string config((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (!file) {
        std::fprintf(stderr, "%s: cannot read %s\n", argv[0], argv[2]);
        return 1;
    }
    switchsim::SwitchConfig layout;
    layout.portCount = static_cast<uint32_t>(names.size());
    switchsim::Switch sw(layout);
    std::vector<uint32_t> ports;
    for (uint32_t port = 1; port <= names.size(); ++port) {
        sw.setPortName(port, names[port - 1]);
        ports.push_back(port);
    }
    sw.addVlan(1, ports);
    if (dhcp6snoopingStartup("/sbin/dhcp6snooping") != 0) {
        std::fprintf(stderr, "%s: the daemon did not start\n", argv[0]);
        return 1;
    }
    for (const auto &error : switchsim::applyConfigText(sw, config, dhcp6snoopingServeNextMessage)) {
        std::fprintf(stderr, "%s: line %u: %s\n", argv[2], error.lineNumber, error.reason.c_str());
        return 1;
    }
    sw.runUntilIdle(dhcp6snoopingServeNextMessage);
    for (const auto &varBind : switchsim::mibWalk(sw)) {
        std::puts(switchsim::mibVarBindText(varBind).c_str());
    }
    return 0;
}
