#pragma once
// The filter service of the Linux host platform: the daemon's forwarding filters as nftables rules of the
// bridge family, in a table of the daemon's own. The FRM_ calls (platform/FrmApi.h) are defined on top of it.

#include <string>

namespace hostplatform {

// Removes a table of ours left behind by an earlier run and creates it anew, empty of filters. False, with
// the reason in `error`, when nftables refuses.
bool nftOpen(std::string &error);

// Brings the elements that name ports, or depend on their PVIDs, in line with the ports as they are now: a
// port renamed, its PVID changed, a port gone or come back. The changes go to the kernel as one
// transaction.
void nftRefreshPorts();

// True when the kernel refused a table limited to our bridge and the open table serves the frames of every
// bridge in the network namespace.
bool nftTableServesEveryBridge();

// Deletes the daemon's table with every rule in it.
void nftClose();

// While on, the bridge forwards no DHCPv6 message between its ports: the daemon receives them and forwards
// or drops them itself. Answers 0 when nftables took the change.
int nftSetDhcp6Interception(bool on);

}  // namespace hostplatform
