#include "relay_option/Forwarding.h"

#include <algorithm>
#include <cstring>

#include "core/DebugTrace.h"
#include "core/FrameStatistics.h"
#include "core/GlobalState.h"
#include "platform/PlatformVariables.h"
#include "relay_option/OptionInsertion.h"

namespace {

constexpr char kNoSendPort[] = "\r\n Send packet failed, can't find any send port";

constexpr uint32_t kNoEgress = 0xFFFF;
constexpr uint32_t kAggregationBit = 0x80000000U;
constexpr uint32_t kSendFlags = 1;
constexpr uint8_t kBroadcast[kMacSize] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

enum class Direction { ToServers, ToClient };

// The 0-based port (or aggregation value less 1) behind which the frame's destination was learned, or
// kNoEgress. Looking toward the servers, the lookup is told the ingress port.
uint32_t egressOf(const SnoopPacket &packet, uint16_t vlanId, uint32_t ingress, Direction direction) {
    const uint8_t *destination = packet.frame + kDestinationMacOffset;
    if (std::memcmp(destination, kBroadcast, kMacSize) == 0) {
        return kNoEgress;
    }
    MacTableQuery query{};
    std::memcpy(query.mac, destination, kMacSize);
    query.vlanId = vlanId;
    query.port = direction == Direction::ToServers ? ingress : 0;
    if (smdVDMacGet(&query) != 0) {
        return kNoEgress;
    }
    if ((query.flags & MAC_TABLE_LEARNED_ON_AGGREGATION) != 0) {
        return (query.aggregationId | kAggregationBit) - 1;
    }
    return query.port - 1;
}

void clearPort(PortList &list, uint32_t index) {
    if (index / 8 < sizeof list.bits) {
        list.bits[index / 8] &= static_cast<uint8_t>(~(0x80U >> (index % 8)));
    }
}

// The result of a send: 0 and the frame counted as passed, or -1 and counted as dropped.
int32_t counted(int32_t serviceResult) {
    if (serviceResult != 0) {
        countFrameDropped(mgmt::Counter::DroppedSendFailed);
        return -1;
    }
    countFramePassed();
    return 0;
}

// Out of the one port, unless that is where the frame came from: its destination is then already there.
int32_t sendToPort(const SnoopPacket &packet, uint16_t vlanId, uint32_t egress, uint32_t ingress) {
    if (egress == ingress) {
        countFrameDropped(mgmt::Counter::DroppedDestinationOnIngress);
        return 0;
    }
    return counted(
        smdVDPktSendPort(packet.frame, packet.length, &packet.info, vlanId, egress + 1, kSendFlags));
}

// To every member of the VLAN but the ingress port, each link aggregation once.
int32_t flood(const SnoopPacket &packet, uint16_t vlanId, uint32_t ingress) {
    PortList members{};
    PortList egress{};
    VLAN_Api_PortList_Get(vlanId, &members, 0);
    lac_ap_2_ag_hi_hi_excpt_cur(&members, &egress, static_cast<uint16_t>(ingress));
    members = egress;
    clearPort(members, ingress);
    if (vd_portlist_plnull(&members) != 0) {
        dhcp6snooping_debug_printf(kNoSendPort);
        countFrameDropped(mgmt::Counter::DroppedNoEgressPort);
        return 0;
    }
    return counted(
        smdVDPktSendPortlist(packet.frame, packet.length, &packet.info, vlanId, &members, kSendFlags));
}

}  // namespace

extern "C" {

int32_t dhcp6snoopingSendToServers(SnoopPacket *packet, uint16_t vlanId, uint32_t ingress,
                                   uint32_t payloadOffset) {
    if (dhcp6snoopingInfoOptionsEnabled()) {
        packet = dhcp6snoopingInfoOptionInsert(packet, payloadOffset, vlanId, ingress);
        if (packet == nullptr) {
            return 0;
        }
    }
    const uint32_t egress = egressOf(*packet, vlanId, ingress, Direction::ToServers);
    // Only a server behind a trusted port gets the frame alone; anything else might be a rogue listener.
    if (egress != kNoEgress && egress < gul_max_port_num && egress < kPortTableSize &&
        portTrustMode[egress] == 1) {
        return sendToPort(*packet, vlanId, egress, ingress);
    }
    return flood(*packet, vlanId, ingress);
}

int32_t dhcp6snoopingSendToClient(SnoopPacket *packet, uint16_t vlanId, uint32_t ingress) {
    const uint32_t egress = egressOf(*packet, vlanId, ingress, Direction::ToClient);
    if (egress != kNoEgress) {
        return sendToPort(*packet, vlanId, egress, ingress);
    }
    return flood(*packet, vlanId, ingress);
}
}
