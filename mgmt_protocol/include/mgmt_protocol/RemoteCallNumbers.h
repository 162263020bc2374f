#pragma once
// The numbers of the daemon's remote calls, as a command-line process addresses them. The daemon registers
// one wrapper per number, in this order; the arguments of each are laid out as its operation takes them.

#include <cstdint>

namespace mgmt {

enum RemoteCallNumber : uint32_t {
    kStartSnooping = 6250,
    kStopSnooping = 6251,
    kBindingCount = 6252,
    kAddBinding = 6253,
    kAddBindingForSnmp = 6254,
    kCheckBinding = 6255,
    kDeleteBinding = 6256,
    kDeleteBindingForSnmp = 6257,
    kDeleteAllBindings = 6258,
    kDeleteAllBindingsForSnmp = 6259,
    kSetGuardMode = 6260,
    kSetPortTrust = 6261,
    kGetGuardMode = 6262,
    kSetPortMaxClients = 6263,
    kSetVlanMaxClients = 6264,
    kClientWalk = 6265,
    kPortMaxClientsGet = 6266,
    kVlanMaxClientsGet = 6267,
    kBindingByAddress = 6268,
    kPortTrustGet = 6269,
    kGlobalInfoGet = 6270,
    kSetFastRemove = 6271,
    kResetVlanCounts = 6272,
    kDeleteClients = 6273,
    kResetConfig = 6274,
    kExemptVlanGet = 6275,
    kSetExemptVlan = 6276,
    kBindingPage = 6277,
    kExemptVlansGet = 6278,
    kConfigureExemptVlans = 6279,
    kInfoOptionGet = 6280,
    kSetInfoOption = 6281,
};

}  // namespace mgmt
