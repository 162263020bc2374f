// Facts about the simulated switch itself, as the daemon reads them to fill the relay information
// options: the switch interface serving a VLAN, the system MAC address, an interface's primary IPv4
// address, the user's numbering of a port and a port's medium and speed.

#include <arpa/inet.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include "SimState.h"
#include "platform/SmdPacketApi.h"
#include "platform/SystemFactsApi.h"

namespace switchsim {
namespace {

constexpr int32_t kFailed = -1;
constexpr uint32_t kDefaultSlot = 1;
constexpr uint32_t kDefaultSubslot = 0;
constexpr uint32_t kGigabitEthernet = 2;

// A port the daemon may ask about: the calls answer for every port of the switch, present or not, as the
// port naming calls do.
bool inRange(const SimState &sim, uint32_t port) {
    return port >= 1 && port <= sim.config.portCount;
}

}  // namespace

void Switch::setSwitchInterface(uint32_t vlanId, uint32_t interfaceId) {
    requireVlan(vlanId);
    state_->switchInterfaceOfVlan.insert_or_assign(vlanId, interfaceId);
}

void Switch::setSystemMac(const MacAddress &mac) {
    state_->systemMac = mac;
}

void Switch::setInterfaceIpv4(uint32_t interfaceId, uint32_t ipv4) {
    state_->interfaceIpv4.insert_or_assign(interfaceId, ipv4);
}

void Switch::setInterfaceIpv4(uint32_t interfaceId, std::string_view ipv4) {
    const std::string text(ipv4);
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) != 1) {
        throw std::invalid_argument("switchsim: not an IPv4 address: " + text);
    }
    setInterfaceIpv4(interfaceId, ntohl(address.s_addr));
}

void Switch::setUserPortNumbering(uint32_t port, uint32_t slot, uint32_t subslot, uint32_t userPort) {
    requirePort(*state_, port);
    state_->userPortNumbers.insert_or_assign(port, UserPortNumber{slot, subslot, userPort});
}

void Switch::setPortType(uint32_t port, uint32_t typeCode) {
    requirePort(*state_, port);
    state_->portTypes.insert_or_assign(port, typeCode);
}

}  // namespace switchsim

using switchsim::activeSim;

extern "C" {

uint32_t getSWByVLAN(uint16_t vlanId) {
    const auto &served = activeSim().switchInterfaceOfVlan;
    const auto found = served.find(vlanId);
    return found != served.end() ? found->second : vlanId;
}

int32_t getSysMacAdress(uint8_t mac[6]) {
    const auto &sim = activeSim();
    if (mac == nullptr) {
        return switchsim::kFailed;
    }
    std::memcpy(mac, sim.systemMac.data(), sim.systemMac.size());
    return 0;
}

int32_t l3ifSwPrimIpGet(uint32_t switchInterface, uint32_t *ipv4) {
    const auto &addresses = activeSim().interfaceIpv4;
    if (ipv4 == nullptr) {
        return switchsim::kFailed;
    }
    const auto found = addresses.find(switchInterface);
    *ipv4 = found != addresses.end() ? found->second : 0;
    return 0;
}

int32_t smdVDPortSnmpToUser(uint32_t portIndex, uint32_t *slot, uint32_t *subslot, uint32_t *port) {
    const auto &sim = activeSim();
    if (slot == nullptr || subslot == nullptr || port == nullptr || !switchsim::inRange(sim, portIndex)) {
        return switchsim::kFailed;
    }
    const auto found = sim.userPortNumbers.find(portIndex);
    const switchsim::UserPortNumber number =
        found != sim.userPortNumbers.end()
            ? found->second
            : switchsim::UserPortNumber{switchsim::kDefaultSlot, switchsim::kDefaultSubslot, portIndex};
    *slot = number.slot;
    *subslot = number.subslot;
    *port = number.port;
    return 0;
}

int32_t smdVDPortTypeGet(uint16_t portIndex, uint32_t *typeCode) {
    const auto &sim = activeSim();
    if (typeCode == nullptr || !switchsim::inRange(sim, portIndex)) {
        return switchsim::kFailed;
    }
    const auto found = sim.portTypes.find(portIndex);
    *typeCode = found != sim.portTypes.end() ? found->second : switchsim::kGigabitEthernet;
    return 0;
}
}
