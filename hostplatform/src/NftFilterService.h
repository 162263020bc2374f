#pragma once
// The filter service of the Linux host platform: the daemon's forwarding filters as nftables rules of the
// bridge family, in a table of the daemon's own. The FRM_ calls (platform/FrmApi.h) are defined on top of it.

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace hostplatform {

// Prepares our table, empty of filters, in place of one left behind by an earlier run: the kernel is asked
// whether it takes the table now, and gets it with the first nftCommit, together with the filters asked for
// until then, in one transaction. Until that commit a table of an earlier run stays as it was. False, with
// the reason in `error`, when nftables refuses.
bool nftOpen(std::string &error);

// Brings the elements that name ports, or depend on their PVIDs, in line with the ports as they are now: a
// port renamed, its PVID changed, a port gone or come back. The changes go with the next nftCommit.
void nftRefreshPorts();

// The FRM_ calls are answered at once from the service's record of the table; their changes reach the
// kernel here, all of them in one transaction, so that no frame meets a table half changed. Should the
// kernel refuse the transaction, each change is made on its own and the record follows what it took.
// Answers how many changes the kernel refused (0 when all were made).
size_t nftCommit();

// The packets each of source guard's drop counters counted (nft::guardDropCounter names them), and the
// counters set back to 0.
std::map<std::string, uint64_t> nftGuardDrops();
void nftResetGuardDrops();

// True when the kernel refused a table limited to our bridge and the open table serves the frames of every
// bridge in the network namespace.
bool nftTableServesEveryBridge();

// Deletes the daemon's table with every rule in it.
void nftClose();

// While on, the bridge forwards no DHCPv6 message between its ports: the daemon receives them and forwards
// or drops them itself. Answers 0 when the change was taken (it reaches the kernel with the next
// nftCommit).
int nftSetDhcp6Interception(bool on);

}  // namespace hostplatform
