#include "HostFacts.h"

#include "HostState.h"
#include "NftFilterService.h"
#include "NftRules.h"

namespace hostplatform {

std::vector<mgmt::NamedPort> bridgePorts() {
    const auto &ports = host().bridge.ports;
    std::vector<mgmt::NamedPort> named;
    for (uint32_t port = 1; port <= ports.size(); ++port) {
        if (ports[port - 1].ifindex != 0) {
            named.push_back({port, ports[port - 1].name});
        }
    }
    return named;
}

std::string_view portNameOf(uint32_t port) {
    const auto &ports = host().bridge.ports;
    return port >= 1 && port <= ports.size() ? std::string_view(ports[port - 1].name) : std::string_view();
}

GuardDrops::GuardDrops() : byCounter_(nftGuardDrops()) {}

uint64_t GuardDrops::onPort(const std::string &name) const {
    const auto found = byCounter_.find(nft::guardDropCounter(name));
    return found != byCounter_.end() ? found->second : 0;
}

PacketPathLosses packetPathLosses() {
    auto &state = host();
    state.framesDropped += state.packets.droppedSinceLastAsked();
    return {state.framesDropped, state.framesNotHandedOver};
}

void clearHostCounts() {
    auto &state = host();
    nftResetGuardDrops();
    static_cast<void>(state.packets.droppedSinceLastAsked());
    state.framesDropped = 0;
    state.framesNotHandedOver = 0;
}

}  // namespace hostplatform
