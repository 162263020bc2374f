#pragma once
// The port and VLAN lists as a platform reads them from the daemon: through the daemon's own read calls,
// one port or VLAN after another, in this process. Every platform answers the list requests with these.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "mgmt_protocol/ListRecords.h"

namespace mgmt {

// One remote call served in this process: its reply with the outputs written in, or nothing.
using ReadCall =
    std::function<std::optional<DecodedRemoteCall>(uint32_t callNumber, const std::vector<Bytes> &arguments)>;

struct NamedPort {
    uint32_t port = 0;
    std::string name;
};

// The settings and counts of `ports`; a port the daemon will not read (one that has just left) is left out.
std::vector<PortSettings> readPortList(const std::vector<NamedPort> &ports, const ReadCall &read);

// The VLANs whose client limit is not the default and that `vlanExists` (as the running configuration
// writes them), and every VLAN that counts clients.
std::vector<VlanSettings> readVlanList(const ReadCall &read, const std::function<bool(uint32_t)> &vlanExists);

// The global settings and both options; the template of a user-defined format is taken from
// `runningConfig`, as the settings record holds only its parsed fields.
std::optional<GlobalSettings> readGlobal(const ReadCall &read, const std::string &runningConfig);

// Every static binding, read a page at a time.
std::optional<std::vector<BindingView>> readBindings(const ReadCall &read);

std::optional<std::vector<uint32_t>> readExemptVlans(const ReadCall &read);

}  // namespace mgmt
