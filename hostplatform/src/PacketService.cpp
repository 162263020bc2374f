// The packet and port service of the host platform: packet registrations and the delivery of received
// frames, sending out of ports, the forwarding database and the VLAN membership of the ports.

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "FrameTagging.h"
#include "HostState.h"
#include "NftFilterService.h"
#include "platform/SmdPacketApi.h"
#include "platform/SwitchHelperApi.h"
#include "platform_support/FrameLayout.h"
#include "platform_support/PortListBits.h"
#include "platform_support/Udp6Checksum.h"
#include "platform_support/WireFormat.h"

namespace hostplatform {
namespace {

constexpr int32_t kFailed = -1;
// A registration mode with this bit set leaves the bridge forwarding the matching frames itself.
constexpr uint32_t kModeSwitchForwards = 0x2;
constexpr uint32_t kAggregationBit = 0x80000000U;
constexpr uint16_t kHighestVlan = 4094;
constexpr size_t kLargestFrame = 9216;
constexpr size_t kUntaggedEtherTypeOffset = 12;
constexpr uint16_t kKindPlain = 0;
constexpr uint16_t kKindTagged = 1;

PacketRegistration *registrationFor(const PktMatchDescriptor &descriptor) {
    auto &registrations = host().registrations;
    const auto found = std::find_if(registrations.begin(), registrations.end(), [&](const auto &r) {
        return std::memcmp(&r.descriptor, &descriptor, sizeof descriptor) == 0;
    });
    return found != registrations.end() ? &*found : nullptr;
}

// The bridge keeps forwarding DHCPv6 only while every registration leaves it to.
int32_t interceptAsRegistered() {
    const auto &registrations = host().registrations;
    const bool intercept = std::any_of(registrations.begin(), registrations.end(),
                                       [](const auto &r) { return (r.mode & kModeSwitchForwards) == 0; });
    return nftSetDhcp6Interception(intercept) == 0 ? 0 : kFailed;
}

const BridgePort *portAt(uint32_t portIndex) {
    const auto &ports = host().bridge.ports;
    if (portIndex == 0 || portIndex > ports.size() || ports[portIndex - 1].ifindex == 0) {
        return nullptr;
    }
    return &ports[portIndex - 1];
}

int32_t sendOutOf(uint32_t portIndex, const uint8_t *frame, uint32_t length, uint16_t vlanId) {
    const BridgePort *port = (portIndex & kAggregationBit) == 0 ? portAt(portIndex) : nullptr;
    if (port == nullptr || frame == nullptr || vlanId == 0 || vlanId > kHighestVlan) {
        return kFailed;
    }
    static std::vector<uint8_t> scratch;
    const auto out = egressFrame({frame, length}, vlanId, port->untaggedOut.test(vlanId), scratch);
    return !out.empty() && host().packets.send(port->ifindex, out) == 0 ? 0 : kFailed;
}

}  // namespace

void deliverFrame(void * /*context*/, const ReceivedFrame &received) {
    auto &state = host();
    const auto portIndex = portOfInterface(state.bridge, received.ifindex);
    if (!portIndex || received.bytes.size() > kLargestFrame) {
        ++state.framesNotHandedOver;
        return;
    }
    // What the bridge would not admit on this port is not the daemon's business either.
    const BridgePort &port = state.bridge.ports[*portIndex - 1];
    const uint16_t vlan = received.vlanTag.value_or(port.pvid);
    if (vlan == 0 || vlan > kHighestVlan || !port.vlans.test(vlan)) {
        ++state.framesNotHandedOver;
        return;
    }
    const auto layout = platform_support::classifyFrame(received.bytes);
    const auto registration =
        std::find_if(state.registrations.begin(), state.registrations.end(), [&](const auto &r) {
            return layout && platform_support::registrationMatches(r.descriptor, *layout);
        });
    if (registration == state.registrations.end()) {
        ++state.framesNotHandedOver;
        return;
    }
    // The daemon is handed frames 2 bytes past a 4-byte boundary, so that the IP header behind a 14-byte
    // Ethernet header is aligned; it may change the frame in place.
    alignas(4) static std::array<uint8_t, kLargestFrame + 2> storage;
    uint8_t *frame = storage.data() + 2;
    std::memcpy(frame, received.bytes.data(), received.bytes.size());
    if (received.checksumPending && layout->ipProtocol == platform_support::kIpProtocolUdp &&
        !platform_support::completeUdpChecksum({frame, received.bytes.size()},
                                               layout->etherTypeOffset + sizeof(uint16_t))) {
        return;
    }
    PktRecvTag tag{};
    tag.vlanId = vlan;
    tag.portIndex = *portIndex;
    const uint16_t kind = layout->etherTypeOffset == kUntaggedEtherTypeOffset ? kKindPlain : kKindTagged;
    registration->callback(frame, static_cast<uint32_t>(received.bytes.size()), tag,
                           platform_support::recvInfoFor(*layout, kind));
}

}  // namespace hostplatform

using hostplatform::host;

extern "C" {

int32_t smdVDPktRegister(uint32_t /*unit*/, const PktMatchDescriptor *descriptor, uint32_t mode,
                         PktRecvCallback callback) {
    if (descriptor == nullptr || callback == nullptr ||
        hostplatform::registrationFor(*descriptor) != nullptr) {
        return hostplatform::kFailed;
    }
    host().registrations.push_back({*descriptor, mode, callback});
    return hostplatform::interceptAsRegistered();
}

int32_t smdVDPktRegRunning(uint32_t /*unit*/, const PktMatchDescriptor *descriptor, uint32_t mode) {
    auto *registration = descriptor != nullptr ? hostplatform::registrationFor(*descriptor) : nullptr;
    if (registration == nullptr) {
        return hostplatform::kFailed;
    }
    registration->mode = mode;
    return hostplatform::interceptAsRegistered();
}

int32_t smdVDPktSendPort(const uint8_t *frame, uint32_t length, const PktRecvInfo * /*info*/, uint16_t vlanId,
                         uint32_t portIndex, uint32_t /*flags*/) {
    return hostplatform::sendOutOf(portIndex, frame, length, vlanId);
}

int32_t smdVDPktSendPortlist(const uint8_t *frame, uint32_t length, const PktRecvInfo * /*info*/,
                             uint16_t vlanId, const PortList *ports, uint32_t /*flags*/) {
    if (ports == nullptr) {
        return hostplatform::kFailed;
    }
    int32_t result = 0;
    for (const uint32_t port : platform_support::portsOf(*ports)) {
        if (hostplatform::sendOutOf(port, frame, length, vlanId) != 0) {
            result = hostplatform::kFailed;
        }
    }
    return result;
}

int32_t smdVDMacGet(MacTableQuery *query) {
    if (query == nullptr) {
        return hostplatform::kFailed;
    }
    const auto &bridge = host().bridge;
    hostplatform::Mac mac{};
    std::memcpy(mac.data(), query->mac, mac.size());
    auto found = bridge.fdb.find(hostplatform::fdbKey(mac, query->vlanId));
    if (found == bridge.fdb.end()) {
        found = bridge.fdb.find(hostplatform::fdbKey(mac, 0));  // learned before VLAN filtering was on
    }
    const auto port =
        found != bridge.fdb.end() ? hostplatform::portOfInterface(bridge, found->second) : std::nullopt;
    if (!port) {
        return hostplatform::kFailed;
    }
    // Bonds are bridge ports like any other, so the table never answers with a link aggregation.
    query->flags = 0;
    query->port = *port;
    return 0;
}

int32_t smdVDLinktrapRegPort(uint32_t /*unit*/, uint32_t /*flags*/, LinkChangeCallback callback) {
    host().linkChange = callback;
    return 0;
}

int32_t VLAN_Api_PortList_Get(uint32_t vlanId, PortList *members, uint32_t /*flags*/) {
    if (members == nullptr || vlanId == 0 || vlanId > hostplatform::kHighestVlan) {
        return hostplatform::kFailed;
    }
    *members = PortList{};
    const auto &ports = host().bridge.ports;
    for (size_t i = 0; i < ports.size(); ++i) {
        if (ports[i].ifindex != 0 && ports[i].vlans.test(vlanId)) {
            platform_support::addPort(*members, static_cast<uint32_t>(i + 1));
        }
    }
    return vd_portlist_plnull(members) != 0 ? hostplatform::kFailed : 0;
}

int32_t lac_ap_2_ag_hi_hi_excpt_cur(const PortList *members, PortList *egress, uint16_t ingressPortIndex) {
    if (members == nullptr || egress == nullptr) {
        return hostplatform::kFailed;
    }
    *egress = *members;
    platform_support::removePort(*egress, uint32_t{ingressPortIndex} + 1);
    return 0;
}

int32_t vlan_exist(uint32_t vlanId) {
    PortList members{};
    return VLAN_Api_PortList_Get(vlanId, &members, 0) == 0 ? 1 : 0;
}
}
