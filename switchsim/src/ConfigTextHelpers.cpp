// The text helpers the simulated switch gives its processes for their running-configuration sections:
// module names and port names as the command line writes them.

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "SimState.h"
#include "platform/SmdPacketApi.h"
#include "platform/SwitchHelperApi.h"

namespace switchsim {
namespace {

constexpr int32_t kFailed = -1;
constexpr uint32_t kSnoopingModule = 54;
constexpr char kEthernetPrefix[] = "ethernet";

void copyText(const std::string &text, char *out, size_t size) {
    const size_t length = std::min(text.size(), size - 1);
    std::memcpy(out, text.data(), length);
    out[length] = '\0';
}

// The port as written after "interface ethernet": its name without that word.
bool portText(uint32_t portIndex, std::string &text) {
    char name[PORT_NAME_TEXT_SIZE] = {};
    if (transPort2EtherPort(portIndex, name) != 0) {
        return false;
    }
    text = name;
    if (text.starts_with(kEthernetPrefix)) {
        text.erase(0, std::strlen(kEthernetPrefix));
    }
    return true;
}

}  // namespace

void Switch::failModuleName(uint32_t times) {
    state_->failures.add("get_str_by_mid", 0, times);
}

}  // namespace switchsim

extern "C" {

const char *get_str_by_mid(uint32_t moduleId) {
    if (switchsim::activeSim().failures.take("get_str_by_mid")) {
        return nullptr;
    }
    return moduleId == switchsim::kSnoopingModule ? "DHCPV6-SNOOPING" : nullptr;
}

int32_t transPort2String(uint32_t portIndex, char name[PORT_NAME_TEXT_SIZE]) {
    std::string text;
    if (name == nullptr || !switchsim::portText(portIndex, text)) {
        return switchsim::kFailed;
    }
    switchsim::copyText(text, name, PORT_NAME_TEXT_SIZE);
    return 0;
}

int32_t transPort2InterfaceDesc(uint32_t portIndex, char line[PORT_INTERFACE_DESC_TEXT_SIZE]) {
    std::string text;
    if (line == nullptr || !switchsim::portText(portIndex, text)) {
        return switchsim::kFailed;
    }
    switchsim::copyText("interface ethernet" + text, line, PORT_INTERFACE_DESC_TEXT_SIZE);
    return 0;
}
}
