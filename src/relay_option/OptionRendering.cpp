#include "relay_option/OptionRendering.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/ByteCursor.h"
#include "core/SharedTypes.h"
#include "platform/PlatformVariables.h"
#include "platform/SmdPacketApi.h"

namespace {

constexpr uint32_t kScratchSize = 260;
constexpr uint32_t kLongestClientId = 256;
constexpr uint32_t kServiceVlan = 4096;
constexpr uint32_t kOptionHeaderSize = 4;

struct TypeText {
    uint32_t code;
    const char *text;
};
constexpr TypeText kTypeTexts[] = {
    {0, "Fast Ethernet"},       {1, "Fast Ethernet"},       {5, "Fast Ethernet"},
    {2, "Gigabit Ethernet"},    {3, "Gigabit Ethernet"},    {6, "Gigabit Ethernet"},
    {8, "2.5Gigabit Ethernet"}, {9, "5Gigabit Ethernet"},   {4, "10Gigabit Ethernet"},
    {10, "25Gigabit Ethernet"}, {11, "40Gigabit Ethernet"}, {12, "100Gigabit Ethernet"},
};

// One keyword rendered into `scratch`; returns its length. The client identifier is raw bytes, the rest text.
uint32_t renderKeyword(uint32_t keyword, const PacketContext &context, const RenderFacts &facts,
                       char (&scratch)[kScratchSize]) {
    const PortIndex port = context.portIndex0 + 1U;
    int length = 0;
    switch (keyword) {
        case KEYWORD_SYSIP:
            length = std::snprintf(scratch, sizeof scratch, "%u.%u.%u.%u", facts.systemIpv4 >> 24,
                                   facts.systemIpv4 >> 16 & 0xFF, facts.systemIpv4 >> 8 & 0xFF,
                                   facts.systemIpv4 & 0xFF);
            break;
        case KEYWORD_SYSNAME:
            length = std::snprintf(scratch, sizeof scratch, "%s", facts.systemName);
            break;
        case KEYWORD_PORTNAME: {
            char name[PORT_NAME_TEXT_SIZE] = {};
            transPort2EtherPort(port, name);
            name[PORT_NAME_TEXT_SIZE - 1] = '\0';
            length = std::snprintf(scratch, sizeof scratch, "%s", name);
            break;
        }
        case KEYWORD_IFTYPE: {
            uint32_t typeCode = 0;
            smdVDPortTypeGet(static_cast<uint16_t>(port), &typeCode);
            length = std::snprintf(scratch, sizeof scratch, "%s", interfaceTypeText(typeCode));
            break;
        }
        case KEYWORD_SWITCHMAC: {
            const uint8_t *mac = facts.systemMac;
            length = std::snprintf(scratch, sizeof scratch, "%02x%02x%02x%02x%02x%02x", mac[0], mac[1],
                                   mac[2], mac[3], mac[4], mac[5]);
            break;
        }
        case KEYWORD_FRAME:
            length = std::snprintf(scratch, sizeof scratch, "%u", facts.frame);
            break;
        case KEYWORD_SLOT:
            length = std::snprintf(scratch, sizeof scratch, "%u", facts.slot);
            break;
        case KEYWORD_SUBSLOT:
            length = std::snprintf(scratch, sizeof scratch, "%u", facts.subslot);
            break;
        case KEYWORD_PORT:
            length = std::snprintf(scratch, sizeof scratch, "%u", facts.port);
            break;
        case KEYWORD_SVLAN:
            length = std::snprintf(scratch, sizeof scratch, "%04u", kServiceVlan);
            break;
        case KEYWORD_CVLAN:
            length = std::snprintf(scratch, sizeof scratch, "%04u", static_cast<uint32_t>(context.vlanId));
            break;
        case KEYWORD_CLIENTDUID: {
            if (facts.clientId == nullptr) {
                return 0;
            }
            const uint32_t duidLength = std::min<uint32_t>(loadBe16(facts.clientId + 2), kLongestClientId);
            std::memcpy(scratch, facts.clientId + kOptionHeaderSize, duidLength);
            return duidLength;
        }
        default:
            return 0;
    }
    return length > 0 ? std::min<uint32_t>(static_cast<uint32_t>(length), kScratchSize - 1) : 0;
}

}  // namespace

void switchMacText(const uint8_t *mac, char (&text)[kSwitchMacTextLength + 1]) {
    std::snprintf(text, sizeof text, "%02x%02x%02x%02x%02x%02x", mac[0], mac[1], mac[2], mac[3], mac[4],
                  mac[5]);
}

const char *interfaceTypeText(uint32_t typeCode) {
    for (const TypeText &entry : kTypeTexts) {
        if (entry.code == typeCode) {
            return entry.text;
        }
    }
    return "Unkown";
}

extern "C" int32_t dhcp6snoopingTemplateRender(const OptionTemplate *tmpl, const PacketContext *context,
                                               const RenderFacts *facts, uint8_t *out, uint32_t space,
                                               uint32_t *written) {
    *written = 0;
    const PortIndex port = context->portIndex0 + 1U;
    if (!isUsableVlan(context->vlanId) || port == 0 || port > gul_max_port_num) {
        return -1;
    }
    ByteWriter writer(out, space);
    const auto append = [&writer, written](const void *piece, uint32_t length) {
        const bool fits = writer.bytes(piece, length);
        *written = writer.written();
        return fits;
    };
    const auto literal = [](const char *text) {
        return static_cast<uint32_t>(strnlen(text, kLiteralSize - 1));
    };
    if (!append(tmpl->literal[0], literal(tmpl->literal[0]))) {
        return -1;
    }
    char scratch[kScratchSize];
    for (uint32_t k = 1; k < kTemplateFields && tmpl->keyword[k] != 0; ++k) {
        const uint32_t length = renderKeyword(tmpl->keyword[k], *context, *facts, scratch);
        if (!append(scratch, length) || !append(tmpl->literal[k], literal(tmpl->literal[k]))) {
            return -1;
        }
    }
    return 0;
}
