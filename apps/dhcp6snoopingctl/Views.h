#pragma once
// What the show commands read from the daemon, as JSON values: the same objects are printed as JSON for
// scripts or as text for people.

#include <nlohmann/json.hpp>
#include <ostream>

#include "DaemonLink.h"

namespace ctl {

nlohmann::json globalView(DaemonLink &daemon);
nlohmann::json portsView(DaemonLink &daemon);
// The VLANs of the bridge whose client limit is not the default, and those that have clients.
nlohmann::json vlansView(DaemonLink &daemon);
// Prints the clients in MAC order, each with its addresses and prefixes and their lease time left, as JSON
// (indented by `indent`, on one line for -1) or as text; those waiting for their REPLY, which count
// against the limits too, are marked and have none yet.
void printClients(DaemonLink &daemon, std::ostream &out, bool asJson, int indent);
nlohmann::json bindingsView(DaemonLink &daemon);
nlohmann::json exemptVlansView(DaemonLink &daemon);
// Where the daemon keeps its boot configuration and binding database, and how old each file is.
nlohmann::json storageView(DaemonLink &daemon);

// The view as lines of text for a terminal.
std::string viewText(const std::string &view, const nlohmann::json &value);

}  // namespace ctl
