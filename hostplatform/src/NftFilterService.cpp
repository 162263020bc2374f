// The filter service of the Linux host platform: runs the commands of NftRules through one libnftables
// context and defines the FRM_ calls on top of them.

#include "NftFilterService.h"

#include <nftables/libnftables.h>

#include <memory>
#include <optional>
#include <vector>

#include "HostPorts.h"
#include "NftRules.h"
#include "platform/FrmApi.h"

namespace hostplatform {
namespace {

using nft::Change;

constexpr int32_t kRefused = -1;

struct ContextDeleter {
    void operator()(nft_ctx *context) const { nft_ctx_free(context); }
};
using Context = std::unique_ptr<nft_ctx, ContextDeleter>;

// The context lives from nftOpen to nftClose; without it every request is refused.
Context &context() {
    static Context instance;
    return instance;
}

// Whether the open table serves every bridge of the network namespace rather than ours alone.
bool &everyBridge() {
    static bool instance = false;
    return instance;
}

// Runs the commands as one transaction; true when nftables took them. nftables' reason for refusing goes to
// `error` when one is given.
bool run(const std::string &commands, std::string *error = nullptr) {
    nft_ctx *const active = context().get();
    if (active == nullptr) {
        return false;
    }
    const bool taken = nft_run_cmd_from_buffer(active, commands.c_str()) == 0;
    // Reading the buffer also empties it for the next command.
    const char *const reason = nft_ctx_get_error_buffer(active);
    if (!taken && error != nullptr) {
        *error = reason;
    }
    return taken;
}

int32_t answer(const std::string &commands) {
    return run(commands) ? 0 : kRefused;
}

std::optional<Change> changeOf(uint32_t operation) {
    if (operation == FILTER_OP_ENABLE) {
        return Change::Add;
    }
    if (operation == FILTER_OP_DISABLE) {
        return Change::Delete;
    }
    return std::nullopt;
}

std::optional<std::string_view> portName(uint32_t port) {
    const auto name = portInterfaceName(port);
    if (!name || !nft::fitsCommand(*name)) {
        return std::nullopt;
    }
    return name;
}

// The forward filters that name an ingress port: refused for a port without a name or a missing MAC or
// address.
template <typename Build>
int32_t onPort(uint32_t port, const uint8_t *mac, const uint8_t *address, Build build) {
    const auto name = portName(port);
    if (!name || mac == nullptr || address == nullptr) {
        return kRefused;
    }
    return answer(build(*name, nft::MacAddress(mac, 6), nft::Ip6Address(address, 16)));
}

int32_t permitAddress(Change change, const uint8_t *address) {
    if (address == nullptr) {
        return kRefused;
    }
    return answer(nft::permitAddress(change, nft::Ip6Address(address, 16)));
}

int32_t permitMacAddress(Change change, const uint8_t *mac, const uint8_t *address) {
    if (mac == nullptr || address == nullptr) {
        return kRefused;
    }
    return answer(nft::permitMacAddress(change, nft::MacAddress(mac, 6), nft::Ip6Address(address, 16)));
}

int32_t permitPortMacAddress(Change change, uint32_t port, const uint8_t *mac, const uint8_t *address) {
    return onPort(port, mac, address, [change](auto name, auto macBytes, auto addressBytes) {
        return nft::permitPortMacAddress(change, name, macBytes, addressBytes);
    });
}

int32_t permitPortMacAddressVlan(Change change, uint32_t port, const uint8_t *mac, const uint8_t *address,
                                 uint32_t vlan) {
    const bool untagged = portUntaggedVlan(port) == vlan;
    return onPort(port, mac, address, [change, vlan, untagged](auto name, auto macBytes, auto addressBytes) {
        return nft::permitPortMacAddressVlan(change, name, macBytes, addressBytes, vlan, untagged);
    });
}

int32_t exemptVlan(Change change, uint16_t vlan) {
    std::vector<std::string_view> untaggedPorts;
    for (uint32_t port = 1; port <= portCount(); ++port) {
        if (const auto name = portName(port); name && portUntaggedVlan(port) == vlan) {
            untaggedPorts.push_back(*name);
        }
    }
    return answer(nft::exemptVlan(change, vlan, untaggedPorts));
}

int32_t denyAllIp6(uint32_t operation, uint32_t port) {
    const auto change = changeOf(operation);
    const auto name = portName(port);
    if (!change || !name) {
        return kRefused;
    }
    return answer(nft::denyAllIp6(*change, *name));
}

}  // namespace

bool nftOpen(std::string &error) {
    const auto bridge = bridgeName();
    if (!nft::fitsCommand(bridge)) {
        error = "the bridge's name \"" + std::string(bridge) + "\" cannot stand in an nftables command";
        return false;
    }
    if (!context()) {
        context().reset(nft_ctx_new(NFT_CTX_DEFAULT));
        if (!context()) {
            error = "libnftables gave no context";
            return false;
        }
        nft_ctx_buffer_error(context().get());
    }
    // A kernel without the bridge meta expressions refuses the table that is limited to our bridge; the table
    // then serves every bridge of the network namespace, which is the daemon's alone where it runs in one.
    everyBridge() = !run(nft::openTable(bridge));
    return !everyBridge() || run(nft::openTable(std::nullopt), &error);
}

bool nftTableServesEveryBridge() {
    return everyBridge();
}

void nftClose() {
    run(nft::closeTable());
    context().reset();
}

int nftSetDhcp6Interception(bool on) {
    return answer(nft::dhcp6Interception(on ? Change::Add : Change::Delete));
}

}  // namespace hostplatform

using hostplatform::nft::Change;

extern "C" {

int32_t FRM_InstallGlobalForwardIp6AddrOnlyFilterResource(const uint8_t *address) {
    return hostplatform::permitAddress(Change::Add, address);
}
int32_t FRM_RemoveGlobalForwardIp6AddrOnlyFilterResource(const uint8_t *address) {
    return hostplatform::permitAddress(Change::Delete, address);
}
int32_t FRM_InstallGlobalForwardIp6AddrFilterResource(const uint8_t *mac, const uint8_t *address) {
    return hostplatform::permitMacAddress(Change::Add, mac, address);
}
int32_t FRM_RemoveGlobalForwardIp6AddrFilterResource(const uint8_t *mac, const uint8_t *address) {
    return hostplatform::permitMacAddress(Change::Delete, mac, address);
}
int32_t FRM_InstallForwardIp6AddrFilterResource(uint32_t port, const uint8_t *mac, const uint8_t *address) {
    return hostplatform::permitPortMacAddress(Change::Add, port, mac, address);
}
int32_t FRM_RemoveForwardIp6AddrFilterResource(uint32_t port, const uint8_t *mac, const uint8_t *address) {
    return hostplatform::permitPortMacAddress(Change::Delete, port, mac, address);
}
int32_t FRM_InstallForwardIp6AddrFilterResource_new(uint32_t port, const uint8_t *mac, const uint8_t *address,
                                                    uint32_t vlan) {
    return hostplatform::permitPortMacAddressVlan(Change::Add, port, mac, address, vlan);
}
int32_t FRM_RemoveForwardIp6AddrFilterResource_new(uint32_t port, const uint8_t *mac, const uint8_t *address,
                                                   uint32_t vlan) {
    return hostplatform::permitPortMacAddressVlan(Change::Delete, port, mac, address, vlan);
}

// On a switch this filter traps DHCPv6 to the CPU ahead of the deny-all filters, so that clients on guarded
// ports, which have no permitted address yet, still reach the daemon. Here nothing needs trapping: the
// daemon's packet sockets on the ports see every frame before the bridge's filters do, and the frames it
// sends out through them never pass those filters. Whether the bridge itself forwards DHCPv6 follows the
// packet registration (nftSetDhcp6Interception). So the call changes no rule and only checks its operation.
int32_t FRM_OperateDhcp6FilterResource(uint32_t operation) {
    return hostplatform::changeOf(operation) ? 0 : hostplatform::kRefused;
}

int32_t FRM_InstallGlobalForwardIcmp6NdFilterResource(void) {
    return hostplatform::answer(hostplatform::nft::neighbourDiscovery(Change::Add));
}
int32_t FRM_RemoveGlobalForwardIcmp6NdFilterResource(void) {
    return hostplatform::answer(hostplatform::nft::neighbourDiscovery(Change::Delete));
}
int32_t FRM_OperatePortDenyAllIp6FilterResource(uint32_t operation, uint32_t port) {
    return hostplatform::denyAllIp6(operation, port);
}
int32_t FRM_InstallGlobalForwardIp6VidOnlyFilterResource(uint16_t vlan) {
    return hostplatform::exemptVlan(Change::Add, vlan);
}
int32_t FRM_RemoveGlobalForwardIp6VidOnlyFilterResource(uint16_t vlan) {
    return hostplatform::exemptVlan(Change::Delete, vlan);
}
}
