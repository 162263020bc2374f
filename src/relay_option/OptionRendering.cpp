#include "relay_option/OptionRendering.h"

#include <algorithm>
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

// A number in decimal, at least `digits` wide with leading zeros; returns its length. Every packet with a
// template renders several numbers, and formatting them by hand costs a fraction of the formatted print.
uint32_t decimal(uint32_t value, uint32_t digits, char *out) {
    char reversed[10];
    uint32_t length = 0;
    do {
        reversed[length++] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    while (length < digits) {
        reversed[length++] = '0';
    }
    for (uint32_t i = 0; i < length; ++i) {
        out[i] = reversed[length - 1 - i];
    }
    return length;
}

uint32_t text(const char *value, char *out) {
    const size_t length = strnlen(value, kScratchSize - 1);
    std::memcpy(out, value, length);
    return static_cast<uint32_t>(length);
}

// One keyword rendered into `scratch`; returns its length. The client identifier is raw bytes, the rest text.
uint32_t renderKeyword(uint32_t keyword, const PacketContext &context, const RenderFacts &facts,
                       char (&scratch)[kScratchSize]) {
    const PortIndex port = context.portIndex0 + 1U;
    switch (keyword) {
        case KEYWORD_SYSIP: {
            uint32_t length = 0;
            for (const uint32_t shift : {24U, 16U, 8U, 0U}) {
                length += decimal(facts.systemIpv4 >> shift & 0xFF, 1, scratch + length);
                if (shift != 0) {
                    scratch[length++] = '.';
                }
            }
            return length;
        }
        case KEYWORD_SYSNAME:
            return text(facts.systemName, scratch);
        case KEYWORD_PORTNAME: {
            char name[PORT_NAME_TEXT_SIZE] = {};
            transPort2EtherPort(port, name);
            name[PORT_NAME_TEXT_SIZE - 1] = '\0';
            return text(name, scratch);
        }
        case KEYWORD_IFTYPE: {
            uint32_t typeCode = 0;
            smdVDPortTypeGet(static_cast<uint16_t>(port), &typeCode);
            return text(interfaceTypeText(typeCode), scratch);
        }
        case KEYWORD_SWITCHMAC: {
            char mac[kSwitchMacTextLength + 1];
            switchMacText(facts.systemMac, mac);
            return text(mac, scratch);
        }
        case KEYWORD_FRAME:
            return decimal(facts.frame, 1, scratch);
        case KEYWORD_SLOT:
            return decimal(facts.slot, 1, scratch);
        case KEYWORD_SUBSLOT:
            return decimal(facts.subslot, 1, scratch);
        case KEYWORD_PORT:
            return decimal(facts.port, 1, scratch);
        case KEYWORD_SVLAN:
            return decimal(kServiceVlan, 4, scratch);
        case KEYWORD_CVLAN:
            return decimal(context.vlanId, 4, scratch);
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
}

}  // namespace

void switchMacText(const uint8_t *mac, char (&text)[kSwitchMacTextLength + 1]) {
    constexpr char kDigits[] = "0123456789abcdef";
    for (size_t i = 0; i < kMacSize; ++i) {
        text[2 * i] = kDigits[mac[i] >> 4];
        text[2 * i + 1] = kDigits[mac[i] & 0x0F];
    }
    text[kSwitchMacTextLength] = '\0';
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
