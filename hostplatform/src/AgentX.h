#pragma once
// The MIB module served to net-snmp's snmpd as an AgentX subagent, inside the daemon's one thread: the
// subagent's sockets are waited on with the daemon's other events, and every request snmpd forwards is
// served by the MIB engine through the module's handlers between the daemon's events, as the simulated
// switch's agent serves it.

#include <memory>
#include <string>

#include "platform_support/MibEngine.h"

namespace hostplatform {

// Connects to the master agent at `socket` (net-snmp's transport text) and registers the module's subtree.
// A master that is not there yet, or goes away, is tried again every few seconds; the subtree is
// registered again on each new connection.
void agentxStart(const std::string &socket, std::shared_ptr<const mibengine::MibModule> module);

// For the event wait: puts the subagent's sockets into the epoll set `events` (and takes out the ones it
// closed), and gives the most milliseconds to wait before the subagent's timers are due (-1: no limit).
// Without a subagent it does nothing and gives -1.
int agentxWaitLimit(int events);
// Whether `descriptor` is one of the subagent's sockets; if so, reads what is waiting on it and serves it.
bool agentxServe(int descriptor);
// Runs the subagent's timers that are due: reconnection, pings, requests that timed out.
void agentxRunTimers();

}  // namespace hostplatform
