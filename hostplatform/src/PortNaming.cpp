// Ports as the host names them: by their interface names, numbered in the bridge's stable order, with their
// kind of medium read from the link speed the kernel reports.

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include "HostPorts.h"
#include "HostState.h"
#include "PortTypeCode.h"
#include "platform/SmdPacketApi.h"

namespace hostplatform {
namespace {

constexpr int32_t kFailed = -1;
constexpr uint32_t kSnoopingModule = 54;
constexpr char kInterfacePrefix[] = "interface ethernet ";
constexpr uint32_t kSlot = 1;
constexpr uint32_t kSubslot = 0;

// Writes `text` into `out` of `size` bytes, cut short if need be; false for an unknown port.
bool nameInto(uint32_t portIndex, const char *prefix, char *out, size_t size) {
    const auto name = portInterfaceName(portIndex);
    if (!name || out == nullptr) {
        return false;
    }
    std::snprintf(out, size, "%s%.*s", prefix, static_cast<int>(name->size()), name->data());
    return true;
}

}  // namespace

std::string_view bridgeName() {
    return host().bridge.name;
}

std::optional<std::string_view> portInterfaceName(uint32_t portIndex) {
    const auto &ports = host().bridge.ports;
    if (portIndex == 0 || portIndex > ports.size() || ports[portIndex - 1].ifindex == 0) {
        return std::nullopt;
    }
    return ports[portIndex - 1].name;
}

uint32_t portCount() {
    return static_cast<uint32_t>(host().bridge.ports.size());
}

std::optional<uint16_t> portUntaggedVlan(uint32_t portIndex) {
    const auto &ports = host().bridge.ports;
    if (!portInterfaceName(portIndex) || ports[portIndex - 1].pvid == 0) {
        return std::nullopt;
    }
    return ports[portIndex - 1].pvid;
}

}  // namespace hostplatform

extern "C" {

int32_t smdVDPortExist(uint32_t portIndex) {
    return hostplatform::portInterfaceName(portIndex) ? 1 : 0;
}

int32_t transPort2EtherPort(uint32_t portIndex, char name[PORT_NAME_TEXT_SIZE]) {
    return hostplatform::nameInto(portIndex, "", name, PORT_NAME_TEXT_SIZE) ? 0 : hostplatform::kFailed;
}

int32_t transPort2String(uint32_t portIndex, char name[PORT_NAME_TEXT_SIZE]) {
    return hostplatform::nameInto(portIndex, "", name, PORT_NAME_TEXT_SIZE) ? 0 : hostplatform::kFailed;
}

int32_t transPort2InterfaceDesc(uint32_t portIndex, char line[PORT_INTERFACE_DESC_TEXT_SIZE]) {
    return hostplatform::nameInto(portIndex, hostplatform::kInterfacePrefix, line,
                                  PORT_INTERFACE_DESC_TEXT_SIZE)
               ? 0
               : hostplatform::kFailed;
}

int32_t smdVDPortTypeGet(uint16_t portIndex, uint32_t *typeCode) {
    const auto name = hostplatform::portInterfaceName(portIndex);
    if (!name || typeCode == nullptr) {
        return hostplatform::kFailed;
    }
    std::ifstream speedFile("/sys/class/net/" + std::string(*name) + "/speed");
    long megabits = 0;
    speedFile >> megabits;
    *typeCode = hostplatform::portTypeCodeForSpeed(speedFile ? megabits : 0);
    return 0;
}

int32_t smdVDPortSnmpToUser(uint32_t portIndex, uint32_t *slot, uint32_t *subslot, uint32_t *port) {
    if (!hostplatform::portInterfaceName(portIndex) || slot == nullptr || subslot == nullptr ||
        port == nullptr) {
        return hostplatform::kFailed;
    }
    *slot = hostplatform::kSlot;
    *subslot = hostplatform::kSubslot;
    *port = portIndex;
    return 0;
}

const char *get_str_by_mid(uint32_t moduleId) {
    return moduleId == hostplatform::kSnoopingModule ? "DHCPV6-SNOOPING" : nullptr;
}
}
