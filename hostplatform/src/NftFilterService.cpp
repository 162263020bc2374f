// The filter service of the Linux host platform: runs the commands of NftRules through one libnftables
// context and defines the FRM_ calls on top of them.

#include "NftFilterService.h"

#include <nftables/libnftables.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>
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
bool run(std::string_view commands, std::string *error = nullptr, std::string *output = nullptr) {
    nft_ctx *const active = context().get();
    if (active == nullptr) {
        return false;
    }
    const bool taken = nft_run_cmd_from_buffer(active, std::string(commands).c_str()) == 0;
    // Reading the buffers also empties them for the next command.
    const char *const reason = nft_ctx_get_error_buffer(active);
    const char *const printed = nft_ctx_get_output_buffer(active);
    if (!taken && error != nullptr) {
        *error = reason;
    }
    if (output != nullptr && printed != nullptr) {
        *output = printed;
    }
    return taken;
}

// Calls `each` with every line of `commands`, without its line end.
template <typename Each>
void forEachLine(std::string_view commands, Each each) {
    while (!commands.empty()) {
        const size_t end = std::min(commands.find('\n'), commands.size());
        each(commands.substr(0, end));
        commands.remove_prefix(std::min(end + 1, commands.size()));
    }
}

// The elements of the sets as the service asked for them, and the element commands not yet sent. A request
// is answered from this record at once, as nftables would answer it (adding is idempotent, deleting what is
// not there is refused); the kernel gets the changes of a whole event-loop turn as one transaction at
// nftCommit, so that a guarded port with thousands of clients switched off costs one transaction, not
// thousands.
struct TableRecord {
    std::unordered_set<std::string> elements;
    // The table made anew, until the first commit: it goes with the first turn's changes, so that a table
    // left by an earlier run (or a crashed one) is replaced by the full new one at once.
    std::string opening;
    std::string pending;
    // The elements the pending commands touch, each with whether the table held it before them.
    std::unordered_map<std::string, bool> heldBefore;
};
TableRecord &record() {
    static TableRecord instance;
    return instance;
}

void apply(const nft::ElementLine &line) {
    if (line.change == Change::Add) {
        record().elements.emplace(line.element);
    } else {
        record().elements.erase(std::string(line.element));
    }
}

bool holdsAll(std::string_view commands) {
    bool all = true;
    forEachLine(commands, [&all](std::string_view text) {
        const auto line = nft::elementLine(text);
        all = all && line && record().elements.contains(std::string(line->element));
    });
    return all;
}

// Puts the element commands into the record and the pending transaction: refused, changing nothing, when
// there is no table, no command, or one of the elements to delete is not there.
int32_t request(Change change, const std::optional<std::string> &commands) {
    if (!context() || !commands || (change == Change::Delete && !holdsAll(*commands))) {
        return kRefused;
    }
    auto &table = record();
    forEachLine(*commands, [&table](std::string_view text) {
        if (const auto line = nft::elementLine(text)) {
            const std::string element(line->element);
            table.heldBefore.try_emplace(element, table.elements.contains(element));
            apply(*line);
        }
    });
    table.pending += *commands;
    return 0;
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

// A request whose element names ports, or depends on their PVIDs: its command as the ports are now, or
// nothing when a port it names has no name.
using PortBoundCommand = std::function<std::optional<std::string>(Change)>;

// Each port-bound element in the table, by its request, with the command that deletes it as it stands in
// the table (empty while it is not there, its port having no name), so that a renamed port, a changed PVID
// or a port that left or came back is followed (nftRefreshPorts).
struct PortBoundElement {
    PortBoundCommand command;
    std::string removal;
};
std::map<std::string, PortBoundElement> &portBoundElements() {
    static std::map<std::string, PortBoundElement> elements;
    return elements;
}

// The key of a request: its kind and the values it was made with, as the daemon passed them.
std::string keyOf(const char *kind, uint32_t port, const uint8_t *mac, const uint8_t *address,
                  uint32_t vlan) {
    std::string key = kind;
    std::array<char, 16> number{};
    for (const auto &[bytes, size] : {std::pair{mac, 6}, std::pair{address, 16}}) {
        for (int i = 0; bytes != nullptr && i < size; ++i) {
            std::snprintf(number.data(), number.size(), "%02x", bytes[i]);
            key += number.data();
        }
        key += '/';
    }
    return key + std::to_string(port) + "/" + std::to_string(vlan);
}

int32_t changePortBound(const std::string &key, Change change, PortBoundCommand command) {
    auto &elements = portBoundElements();
    const auto found = elements.find(key);
    if (change == Change::Add) {
        if (request(Change::Add, command(Change::Add)) != 0) {
            return kRefused;
        }
        std::string removal = command(Change::Delete).value_or("");
        elements[key] = {std::move(command), std::move(removal)};
        return 0;
    }
    if (found != elements.end()) {
        // Taken out as it stands in the table, whatever the ports are called now.
        if (!found->second.removal.empty() && request(Change::Delete, found->second.removal) != 0) {
            return kRefused;
        }
        elements.erase(found);
        return 0;
    }
    return request(Change::Delete, command(Change::Delete));
}

// The forward filters that name an ingress port: refused for a port without a name or a missing MAC or
// address.
template <typename Build>
int32_t onPort(const char *kind, Change change, uint32_t port, const uint8_t *mac, const uint8_t *address,
               uint32_t vlan, Build build) {
    if (mac == nullptr || address == nullptr) {
        return kRefused;
    }
    // The command is made again whenever the ports change, long after the caller's bytes are gone: it keeps
    // copies of them.
    std::array<uint8_t, 6> macCopy{};
    std::array<uint8_t, 16> addressCopy{};
    std::copy_n(mac, macCopy.size(), macCopy.begin());
    std::copy_n(address, addressCopy.size(), addressCopy.begin());
    return changePortBound(keyOf(kind, port, mac, address, vlan), change,
                           [port, macCopy, addressCopy, build](Change asked) -> std::optional<std::string> {
                               const auto name = portName(port);
                               if (!name) {
                                   return std::nullopt;
                               }
                               return build(asked, *name, nft::MacAddress(macCopy),
                                            nft::Ip6Address(addressCopy));
                           });
}

int32_t permitAddress(Change change, const uint8_t *address) {
    if (address == nullptr) {
        return kRefused;
    }
    return request(change, nft::permitAddress(change, nft::Ip6Address(address, 16)));
}

int32_t permitMacAddress(Change change, const uint8_t *mac, const uint8_t *address) {
    if (mac == nullptr || address == nullptr) {
        return kRefused;
    }
    return request(change,
                   nft::permitMacAddress(change, nft::MacAddress(mac, 6), nft::Ip6Address(address, 16)));
}

int32_t permitPortMacAddress(Change change, uint32_t port, const uint8_t *mac, const uint8_t *address) {
    return onPort("port-mac-ip", change, port, mac, address, 0,
                  [](Change asked, auto name, auto macBytes, auto addressBytes) {
                      return nft::permitPortMacAddress(asked, name, macBytes, addressBytes);
                  });
}

int32_t permitPortMacAddressVlan(Change change, uint32_t port, const uint8_t *mac, const uint8_t *address,
                                 uint32_t vlan) {
    return onPort("port-mac-ip-vlan", change, port, mac, address, vlan,
                  [port, vlan](Change asked, auto name, auto macBytes, auto addressBytes) {
                      const bool untagged = portUntaggedVlan(port) == vlan;
                      return nft::permitPortMacAddressVlan(asked, name, macBytes, addressBytes, vlan,
                                                           untagged);
                  });
}

int32_t exemptVlan(Change change, uint16_t vlan) {
    return changePortBound(keyOf("exempt-vlan", 0, nullptr, nullptr, vlan), change, [vlan](Change asked) {
        std::vector<std::string_view> untaggedPorts;
        for (uint32_t port = 1; port <= portCount(); ++port) {
            if (const auto name = portName(port); name && portUntaggedVlan(port) == vlan) {
                untaggedPorts.push_back(*name);
            }
        }
        return std::optional<std::string>(nft::exemptVlan(asked, vlan, untaggedPorts));
    });
}

int32_t denyAllIp6(uint32_t operation, uint32_t port) {
    const auto change = changeOf(operation);
    if (!change || !portName(port)) {
        return kRefused;
    }
    return changePortBound(keyOf("deny-all", port, nullptr, nullptr, 0), *change,
                           [port](Change asked) -> std::optional<std::string> {
                               const auto name = portName(port);
                               return name ? std::optional<std::string>(nft::denyAllIp6(asked, *name))
                                           : std::nullopt;
                           });
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
        nft_ctx_buffer_output(context().get());
    }
    portBoundElements().clear();  // the table is made anew, empty
    record() = {};
    // A kernel without the bridge meta expressions refuses the table that is limited to our bridge; the table
    // then serves every bridge of the network namespace, which is the daemon's alone where it runs in one.
    // The kernel is only asked whether it would take the table: it is made at the first commit.
    nft_ctx_set_dry_run(context().get(), true);
    everyBridge() = !run(nft::openTable(bridge));
    const bool taken = !everyBridge() || run(nft::openTable(std::nullopt), &error);
    nft_ctx_set_dry_run(context().get(), false);
    record().opening = nft::openTable(everyBridge() ? std::nullopt : std::optional(bridge));
    return taken;
}

void nftRefreshPorts() {
    for (auto &[key, element] : portBoundElements()) {
        std::string removal = element.command(Change::Delete).value_or("");
        if (removal == element.removal) {
            continue;
        }
        if (holdsAll(element.removal)) {
            request(Change::Delete, element.removal);
        }
        request(Change::Add, element.command(Change::Add));
        element.removal = std::move(removal);
    }
}

size_t nftCommit() {
    auto &table = record();
    if (table.pending.empty() && table.opening.empty()) {
        return 0;
    }
    const std::string opening = std::exchange(table.opening, {});
    const std::string batch = std::exchange(table.pending, {});
    const auto touched = std::exchange(table.heldBefore, {});
    if (run(opening + batch)) {
        return 0;
    }
    // Refused whole: the record goes back to what the table held, and each command is tried on its own so
    // that one the kernel will not take costs no other.
    for (const auto &[element, held] : touched) {
        apply({held ? Change::Add : Change::Delete, element});
    }
    size_t refused = opening.empty() || run(opening) ? 0 : 1;
    forEachLine(batch, [&refused](std::string_view text) {
        if (!run(std::string(text) + "\n")) {
            ++refused;
        } else if (const auto line = nft::elementLine(text)) {
            apply(*line);
        }
    });
    return refused;
}

std::map<std::string, uint64_t> nftGuardDrops() {
    std::string listing;
    // Until the first commit the table is not the kernel's yet: nothing was dropped by it.
    if (!record().opening.empty() || !run(nft::listCounters(), nullptr, &listing)) {
        return {};
    }
    return nft::packetsByCounter(listing);
}

void nftResetGuardDrops() {
    if (record().opening.empty()) {
        run(nft::resetCounters());
    }
}

bool nftTableServesEveryBridge() {
    return everyBridge();
}

void nftClose() {
    run(nft::closeTable());
    portBoundElements().clear();
    record() = {};
    context().reset();
}

int nftSetDhcp6Interception(bool on) {
    const std::string off = nft::dhcp6Interception(Change::Delete);
    if (!on && !holdsAll(off)) {
        return context() ? 0 : kRefused;  // switching off is idempotent
    }
    return request(on ? Change::Add : Change::Delete, on ? nft::dhcp6Interception(Change::Add) : off);
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
    return hostplatform::request(Change::Add, hostplatform::nft::neighbourDiscovery(Change::Add));
}
int32_t FRM_RemoveGlobalForwardIcmp6NdFilterResource(void) {
    return hostplatform::request(Change::Delete, hostplatform::nft::neighbourDiscovery(Change::Delete));
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
