#include "running_config/RunningConfig.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "core/GlobalState.h"
#include "mgmt_protocol/Vocabulary.h"
#include "platform/PlatformVariables.h"
#include "platform/SmdPacketApi.h"
#include "platform/SwitchHelperApi.h"
#include "platform/VosApi.h"
#include "relay_option/InfoOptionConfig.h"
#include "source_guard/ExemptVlans.h"
#include "source_guard/SourceGuardMode.h"
#include "source_guard/StaticBindList.h"

namespace {

constexpr uint32_t kIncomplete = 0xFFFFFFFF;
constexpr char kHeader[] = "![%s]\r\n";
constexpr uint32_t kAddressTextSize = 64;
constexpr uint32_t kVlanLineLength = 110;
constexpr uint32_t kVlanLineSlot = 128;
constexpr uint32_t kVlanLineSlots = 410;
// A block of lines, a port's at most: its interface line and four more.
constexpr uint32_t kPieceSize = 512;

// The section being written: every piece goes whole or not at all, and the header goes before the first.
class Section {
  public:
    Section(char *text, uint32_t *remaining, const char *moduleName)
        : end_(text + std::strlen(text)), remaining_(remaining), moduleName_(moduleName) {}

    // Appends a piece formatted like printf; false, with nothing appended, when it does not fit.
    bool add(const char *format, ...) __attribute__((format(printf, 2, 3))) {
        char piece[kPieceSize];
        va_list args;
        va_start(args, format);
        // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start has run just above
        const int length = std::vsnprintf(piece, sizeof piece, format, args);
        va_end(args);
        return length >= 0 && append(std::string_view(piece, static_cast<size_t>(length)));
    }

  private:
    bool append(std::string_view piece) {
        if (!started_) {
            char header[kPieceSize];
            const int length = std::snprintf(header, sizeof header, kHeader, moduleName_);
            started_ = true;
            if (length < 0 || !put(std::string_view(header, static_cast<size_t>(length)))) {
                return false;
            }
        }
        return put(piece);
    }
    bool put(std::string_view piece) {
        if (*remaining_ <= piece.size()) {
            return false;
        }
        std::memcpy(end_, piece.data(), piece.size());
        end_ += piece.size();
        *end_ = '\0';
        *remaining_ -= static_cast<uint32_t>(piece.size());
        return true;
    }

    char *end_;
    uint32_t *remaining_;
    const char *moduleName_;
    bool started_ = false;
};

// The guard line of a port in `mode`; empty for a port without source guard.
std::string guardLine(uint32_t mode) {
    if (mode < SOURCE_GUARD_IPV6 || mode > SOURCE_GUARD_IPV6_MAC_VLAN) {
        return "";
    }
    return "ipv6-source-guard " + std::string(mgmt::nameOf(mgmt::kGuardModeNames, mode)) + "\r\n";
}

// The name of an option format, as a text that ends in a zero.
const char *formatName(uint32_t format) {
    return mgmt::nameOf(mgmt::kOptionFormatNames, format).data();
}

static_assert(mgmt::valueNamed(mgmt::kGuardModeNames, "ipv6") == SOURCE_GUARD_IPV6 &&
              mgmt::valueNamed(mgmt::kGuardModeNames, "ipv6-mac") == SOURCE_GUARD_IPV6_MAC &&
              mgmt::valueNamed(mgmt::kGuardModeNames, "ipv6-mac-vlan") == SOURCE_GUARD_IPV6_MAC_VLAN &&
              mgmt::valueNamed(mgmt::kGuardModeNames, "none") == SOURCE_GUARD_NONE);
static_assert(mgmt::valueNamed(mgmt::kOptionFormatNames, "ipv4-address") == FORMAT_IPV4_ADDRESS &&
              mgmt::valueNamed(mgmt::kOptionFormatNames, "ipv6-address") == FORMAT_IPV6_ADDRESS &&
              mgmt::valueNamed(mgmt::kOptionFormatNames, "default") == FORMAT_DEFAULT &&
              mgmt::valueNamed(mgmt::kOptionFormatNames, "string") == FORMAT_STRING &&
              mgmt::valueNamed(mgmt::kOptionFormatNames, "user-defined") == FORMAT_USER_DEFINED);
static_assert(mgmt::kMostClients == kDefaultClientLimit);

bool writePorts(Section &section) {
    for (PortIndex port = 1; port <= gul_max_port_num && isTablePort(port); ++port) {
        const uint32_t slot = portSlot(port);
        const bool trusted = portTrustMode[slot] == 1;
        if (smdVDPortExist(port) == 0 || (!trusted && portMaxNum[slot] == kDefaultClientLimit &&
                                          portIpSourceGuardMode[slot] == SOURCE_GUARD_NONE)) {
            continue;
        }
        char interface[PORT_INTERFACE_DESC_TEXT_SIZE] = {};
        transPort2InterfaceDesc(port, interface);
        interface[PORT_INTERFACE_DESC_TEXT_SIZE - 1] = '\0';
        char limit[64] = "";
        if (portMaxNum[slot] != kDefaultClientLimit) {
            std::snprintf(limit, sizeof limit, "dhcpv6-snooping max-clients %d\r\n", portMaxNum[slot]);
        }
        if (!section.add("%s\r\n%s%s%sexit\r\n", interface, trusted ? "dhcpv6-snooping trust\r\n" : "",
                         guardLine(portIpSourceGuardMode[slot]).c_str(), limit)) {
            return false;
        }
    }
    return true;
}

bool writeVlans(Section &section) {
    for (VlanId vlan = kFirstVlan; vlan <= kLastVlan; ++vlan) {
        if (vlanMaxNum[vlan] != kDefaultClientLimit && vlan_exist(vlan) != 0 &&
            !section.add("vlan %d\r\ndhcpv6-snooping max-clients %d\r\nexit\r\n", static_cast<int>(vlan),
                         vlanMaxNum[vlan])) {
            return false;
        }
    }
    return true;
}

// The enable line and the format line of one option; `name` is "interface-id" or "remote-id".
bool writeOption(Section &section, InfoOptionFields fields, int optionCode, const char *name) {
    if (fields.enable != 0 && !section.add("dhcpv6-snooping information option %d\r\n", optionCode)) {
        return false;
    }
    const uint8_t *value = fields.value;
    switch (fields.format) {
        case FORMAT_IPV4_ADDRESS:
            return section.add("dhcpv6-snooping information %s %s %d.%d.%d.%d\r\n", name,
                               formatName(FORMAT_IPV4_ADDRESS), value[0], value[1], value[2], value[3]);
        case FORMAT_IPV6_ADDRESS: {
            char address[kAddressTextSize] = {};
            vosInetNtop(VOS_AF_INET6, value, address, kAddressTextSize);
            return section.add("dhcpv6-snooping information %s %s %s\r\n", name,
                               formatName(FORMAT_IPV6_ADDRESS), address);
        }
        case FORMAT_STRING:
            return section.add("dhcpv6-snooping information %s %s \"%.128s\"\r\n", name,
                               formatName(FORMAT_STRING), reinterpret_cast<const char *>(value));
        case FORMAT_USER_DEFINED:
            return fields.storedTemplate == nullptr ||
                   section.add("dhcpv6-snooping information %s %s \"%.128s\"\r\n", name,
                               formatName(FORMAT_USER_DEFINED), fields.storedTemplate->text);
        default:
            return true;
    }
}

bool writeExemptVlans(Section &section) {
    auto *vlans = static_cast<uint16_t *>(vosCalloc(kVlanTableSize, sizeof(uint16_t)));
    auto *lines = static_cast<char *>(vosCalloc(kVlanLineSlots, kVlanLineSlot));
    bool written = vlans != nullptr && lines != nullptr;
    if (written) {
        uint16_t count = 0;
        for (VlanId vlan = kFirstVlan; vlan <= kLastVlan; ++vlan) {
            if (ipv6SourceGuardDisabledVlan[vlan] != 0) {
                vlans[1 + count++] = static_cast<uint16_t>(vlan);
            }
        }
        vlans[0] = count;
        const int32_t lineCount = count != 0 ? shortArray2string(vlans, lines, kVlanLineLength, 0) : 0;
        for (int32_t line = 0; line < lineCount && line < static_cast<int32_t>(kVlanLineSlots) && written;
             ++line) {
            char *text = lines + static_cast<size_t>(line) * kVlanLineSlot;
            text[kVlanLineSlot - 1] = '\0';
            written = section.add("no ipv6-source-guard bind vlan %s\r\n", text);
        }
    }
    vosFree(vlans);
    vosFree(lines);
    return written;
}

bool writeBindings(Section &section) {
    for (const StaticBindEntry *binding = staticBindList.next; binding != &staticBindList;
         binding = binding->next) {
        char address[kAddressTextSize] = {};
        vosInetNtop(VOS_AF_INET6, binding->ip, address, kAddressTextSize);
        if (macIsZero(binding->mac)) {
            if (!section.add("ipv6-source-guard bind ip %s\r\n", address)) {
                return false;
            }
            continue;
        }
        char mac[MAC_TEXT_SIZE] = {};
        macToStr(binding->mac, mac);
        mac[MAC_TEXT_SIZE - 1] = '\0';
        if (binding->port == 0) {
            if (!section.add("ipv6-source-guard bind ip %s mac %s\r\n", address, mac)) {
                return false;
            }
            continue;
        }
        char port[PORT_NAME_TEXT_SIZE] = {};
        transPort2String(binding->port, port);
        port[PORT_NAME_TEXT_SIZE - 1] = '\0';
        const bool added =
            binding->vlan != 0
                ? section.add("ipv6-source-guard bind ip %s mac %s interface ethernet %s vlan %d\r\n",
                              address, mac, port, static_cast<int>(binding->vlan))
                : section.add("ipv6-source-guard bind ip %s mac %s interface ethernet %s\r\n", address, mac,
                              port);
        if (!added) {
            return false;
        }
    }
    return true;
}

}  // namespace

extern "C" uint32_t dhcp6snoopingBuildRunningConfig(char *text, uint32_t *remaining) {
    if (text == nullptr || remaining == nullptr || *remaining < 1) {
        return kIncomplete;
    }
    const char *moduleName = get_str_by_mid(kDhcp6SnoopingModuleId);
    if (moduleName == nullptr) {
        return kIncomplete;
    }
    Section section(text, remaining, moduleName);
    const bool whole = (dhcp6snoopingOnOff == 0 || section.add("dhcpv6-snooping\r\n")) &&
                       (dhcp6snoopingPortDownAction != 0 ||
                        section.add("no dhcpv6-snooping port-down-action fast-remove\r\n")) &&
                       writePorts(section) && writeVlans(section) &&
                       writeOption(section, interfaceIdFields(infoOptionConfig), 18, "interface-id") &&
                       writeOption(section, remoteIdFields(infoOptionConfig), 37, "remote-id") &&
                       writeExemptVlans(section) && writeBindings(section);
    return whole ? 0 : kIncomplete;
}
