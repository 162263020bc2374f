#pragma once
// What the platform tells the executable about the host, for the statistics and the metrics: the bridge's
// ports, what source guard dropped on each, and what the packet path lost before the daemon saw it.

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "mgmt_protocol/PlatformLists.h"

namespace hostplatform {

// The ports of the bridge, by number; a port that has left the bridge is not listed.
std::vector<mgmt::NamedPort> bridgePorts();
// The name of port `port`; empty for a number the bridge never gave.
std::string_view portNameOf(uint32_t port);

// The frames source guard dropped on each port since the counts were last cleared: read from the kernel
// once, then looked up by port name.
class GuardDrops {
  public:
    GuardDrops();
    [[nodiscard]] uint64_t onPort(const std::string &name) const;

  private:
    std::map<std::string, uint64_t> byCounter_;
};

// Frames the receive ring dropped because the daemon did not read them in time, and frames it received
// that the platform did not hand to the daemon (not on a port's VLAN, or matching no registration).
struct PacketPathLosses {
    uint64_t ringDropped = 0;
    uint64_t notHandedOver = 0;
};
PacketPathLosses packetPathLosses();

// Source guard's drop counts and the packet path's losses back to 0.
void clearHostCounts();

}  // namespace hostplatform
