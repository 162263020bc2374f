#include "relay_option/InfoOptionConfig.h"

#include <cstring>

#include "platform/VosApi.h"

namespace {

constexpr int32_t kRefused = -1;
constexpr uint32_t kIpv4Size = 4;
constexpr uint32_t kIpv6Size = 16;

// Takes a format and what goes with it from the caller's fields into ours.
int32_t setFormat(InfoOptionFields ours, const InfoOptionFields &theirs) {
    switch (theirs.format) {
        case FORMAT_IPV4_ADDRESS:
            std::memcpy(ours.value, theirs.value, kIpv4Size);
            break;
        case FORMAT_IPV6_ADDRESS:
            std::memcpy(ours.value, theirs.value, kIpv6Size);
            break;
        case FORMAT_DEFAULT:
            break;
        case FORMAT_STRING: {
            // The text and its terminating zero; the bytes after it stay as they were.
            const size_t length = strnlen(reinterpret_cast<const char *>(theirs.value), kOptionValueSize - 1);
            std::memcpy(ours.value, theirs.value, length);
            ours.value[length] = 0;
            break;
        }
        case FORMAT_USER_DEFINED: {
            ours.format = theirs.format;
            OptionTemplate parsed{};
            std::memcpy(parsed.text, theirs.value,
                        strnlen(reinterpret_cast<const char *>(theirs.value), kTemplateTextSize - 1));
            if (const int32_t error = dhcp6snoopingTemplateParse(&parsed); error != 0) {
                return error;
            }
            if (const int32_t error = dhcp6snoopingTemplateStore(&ours.storedTemplate, &parsed); error != 0) {
                return error;
            }
            break;
        }
        default:
            return 0;
    }
    ours.format = theirs.format;
    // A template lives only as long as its format is the user-defined one.
    if (ours.storedTemplate != nullptr && ours.format != FORMAT_USER_DEFINED) {
        vosFree(ours.storedTemplate);
        ours.storedTemplate = nullptr;
    }
    return 0;
}

}  // namespace

InfoOptionFields interfaceIdFields(InfoOptionConfig &config) {
    return {config.interfaceIdEnable, config.interfaceIdFormat, config.interfaceIdValue,
            config.interfaceIdTemplate};
}

InfoOptionFields remoteIdFields(InfoOptionConfig &config) {
    return {config.remoteIdEnable, config.remoteIdFormat, config.remoteIdValue, config.remoteIdTemplate};
}

extern "C" {

InfoOptionConfig infoOptionConfig = {
    STRATEGY_REPLACE, 0, FORMAT_DEFAULT, {}, nullptr, 0, FORMAT_DEFAULT, {}, nullptr,
};

int32_t dhcp6snoopingGlobalDhcp6InfoGet(InfoOptionConfig *config) {
    if (config == nullptr) {
        return kRefused;
    }
    *config = infoOptionConfig;
    return 0;
}

int32_t dhcp6snoopingGlobalDhcp6InfoCfg(uint32_t selector, const InfoOptionConfig *config) {
    if (config == nullptr) {
        return kRefused;
    }
    // The caller's record is only read; the view needs writable references.
    InfoOptionConfig theirs = *config;
    switch (selector) {
        case SELECT_REMOTE_ID_ENABLE:
            infoOptionConfig.remoteIdEnable = theirs.remoteIdEnable;
            return 0;
        case SELECT_REMOTE_ID_FORMAT:
            return setFormat(remoteIdFields(infoOptionConfig), remoteIdFields(theirs));
        case SELECT_INTERFACE_ID_FORMAT:
            return setFormat(interfaceIdFields(infoOptionConfig), interfaceIdFields(theirs));
        default:
            infoOptionConfig.interfaceIdEnable = theirs.interfaceIdEnable;
            return 0;
    }
}
}
