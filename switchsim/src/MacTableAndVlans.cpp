// The VLANs, link-aggregation groups, MAC address table and port names of the simulated switch, as the
// test builds them and as the daemon reads them to decide where a frame goes.

#include <algorithm>
#include <cstring>
#include <set>
#include <stdexcept>
#include <string>

#include "SimState.h"
#include "Text.h"
#include "platform/SmdPacketApi.h"
#include "platform/SwitchHelperApi.h"
#include "platform_support/PortListBits.h"

namespace switchsim {
namespace {

constexpr int32_t kFailed = -1;
constexpr uint32_t kHighestVlan = 4094;
constexpr uint32_t kHighestAggregation = 0x7FFFFFFF;

}  // namespace

void requirePort(const SimState &sim, uint32_t port) {
    if (port == 0 || port > sim.config.portCount) {
        throw std::invalid_argument("switchsim: no port " + std::to_string(port) + " on this switch");
    }
}

void requireVlan(uint32_t vlanId) {
    if (vlanId == 0 || vlanId > kHighestVlan) {
        throw std::invalid_argument("switchsim: a VLAN id is 1 to 4094, not " + std::to_string(vlanId));
    }
}

void Switch::addVlan(uint32_t vlanId, std::vector<uint32_t> memberPorts) {
    requireVlan(vlanId);
    for (const uint32_t port : memberPorts) {
        requirePort(*state_, port);
    }
    state_->vlans.insert_or_assign(vlanId, std::move(memberPorts));
}

void Switch::addAggregation(uint32_t aggregationId, const std::vector<uint32_t> &memberPorts) {
    if (aggregationId == 0 || aggregationId > kHighestAggregation) {
        throw std::invalid_argument("switchsim: an aggregation id is 1 to 0x7FFFFFFF");
    }
    auto &ofPort = state_->aggregationOfPort;
    for (const uint32_t port : memberPorts) {
        requirePort(*state_, port);
        const auto found = ofPort.find(port);
        if (found != ofPort.end() && found->second != aggregationId) {
            throw std::invalid_argument("switchsim: port " + std::to_string(port) + " is in aggregation " +
                                        std::to_string(found->second) + " already");
        }
    }
    std::erase_if(ofPort, [&](const auto &entry) { return entry.second == aggregationId; });
    for (const uint32_t port : memberPorts) {
        ofPort[port] = aggregationId;
    }
    state_->aggregations.insert(aggregationId);
}

void Switch::learnMac(const MacAddress &mac, uint32_t vlanId, uint32_t port) {
    requireVlan(vlanId);
    requirePort(*state_, port);
    state_->macTable.insert_or_assign({mac, vlanId}, MacEntry{false, port});
}

void Switch::learnMacOnAggregation(const MacAddress &mac, uint32_t vlanId, uint32_t aggregationId) {
    requireVlan(vlanId);
    if (!state_->aggregations.contains(aggregationId)) {
        throw std::invalid_argument("switchsim: no aggregation " + std::to_string(aggregationId));
    }
    state_->macTable.insert_or_assign({mac, vlanId}, MacEntry{true, aggregationId});
}

void Switch::clearMacTable() {
    state_->macTable.clear();
}

void Switch::setPortName(uint32_t port, std::string name) {
    requirePort(*state_, port);
    state_->portNames.insert_or_assign(port, std::move(name));
}

const std::vector<MacLookup> &Switch::macLookups() const {
    return state_->macLookups;
}

}  // namespace switchsim

using switchsim::activeSim;

extern "C" {

int32_t smdVDMacGet(MacTableQuery *query) {
    auto &sim = activeSim();
    if (query == nullptr) {
        return switchsim::kFailed;
    }
    switchsim::MacAddress mac{};
    std::memcpy(mac.data(), query->mac, mac.size());
    const auto found = sim.macTable.find({mac, query->vlanId});
    if (sim.keepSentFrames) {
        sim.macLookups.push_back({switchsim::macText(query->mac), query->vlanId, query->port,
                                  found != sim.macTable.end() ? 0 : switchsim::kFailed});
    }
    if (found == sim.macTable.end()) {
        return switchsim::kFailed;
    }
    if (found->second.onAggregation) {
        query->flags |= MAC_TABLE_LEARNED_ON_AGGREGATION;
        query->aggregationId = found->second.portOrAggregation;
    } else {
        query->flags = 0;
        query->port = found->second.portOrAggregation;
    }
    return 0;
}

int32_t VLAN_Api_PortList_Get(uint32_t vlanId, PortList *members, uint32_t /*flags*/) {
    const auto &vlans = activeSim().vlans;
    if (members == nullptr) {
        return switchsim::kFailed;
    }
    *members = PortList{};
    const auto found = vlans.find(vlanId);
    if (found == vlans.end()) {
        return switchsim::kFailed;
    }
    for (const uint32_t port : found->second) {
        platform_support::addPort(*members, port);
    }
    return 0;
}

int32_t lac_ap_2_ag_hi_hi_excpt_cur(const PortList *members, PortList *egress, uint16_t ingressPortIndex) {
    const auto &ofPort = activeSim().aggregationOfPort;
    if (members == nullptr || egress == nullptr) {
        return switchsim::kFailed;
    }
    const PortList from = *members;  // egress may be the member list itself
    *egress = PortList{};
    const uint32_t ingress = uint32_t{ingressPortIndex} + 1;
    if (ofPort.empty()) {
        *egress = from;
        platform_support::removePort(*egress, ingress);
        return 0;
    }
    const auto ingressGroup = ofPort.find(ingress);
    // Groups that already send through a port, or that the frame came in on; ports are visited in
    // ascending order, so each group sends through its lowest-numbered member in the list.
    std::set<uint32_t> groupsDone;
    if (ingressGroup != ofPort.end()) {
        groupsDone.insert(ingressGroup->second);
    }
    for (const uint32_t port : platform_support::portsOf(from)) {
        const auto group = ofPort.find(port);
        if (port == ingress || (group != ofPort.end() && !groupsDone.insert(group->second).second)) {
            continue;
        }
        platform_support::addPort(*egress, port);
    }
    return 0;
}

int32_t transPort2EtherPort(uint32_t portIndex, char name[PORT_NAME_TEXT_SIZE]) {
    const auto &sim = activeSim();
    if (name == nullptr) {
        return switchsim::kFailed;
    }
    name[0] = '\0';
    if (portIndex == 0 || portIndex > sim.config.portCount) {
        return switchsim::kFailed;
    }
    const auto named = sim.portNames.find(portIndex);
    const std::string text =
        named != sim.portNames.end() ? named->second : "ethernet1/0/" + std::to_string(portIndex);
    const size_t length = std::min<size_t>(text.size(), PORT_NAME_TEXT_SIZE - 1);
    std::memcpy(name, text.data(), length);
    name[length] = '\0';
    return 0;
}

int32_t vlan_exist(uint32_t vlanId) {
    return activeSim().vlans.contains(vlanId) ? 1 : 0;
}
}
