// The nine scalars of the module. The snooping switch and the port-down action are two-valued objects
// (1 on, 2 off); the exempt VLANs travel as list text; an information option's format and text are set
// separately by a manager but take effect together, so each set applies the pending pair again.

#include <array>
#include <cstdio>
#include <cstring>

#include "core/GlobalState.h"
#include "mgmt/PortVlanSettings.h"
#include "mib/MibHandlers.h"
#include "mib/MibRegistry.h"
#include "mib/MibSupport.h"
#include "platform/SwitchHelperApi.h"
#include "platform/VosApi.h"
#include "relay_option/InfoOptionConfig.h"
#include "snooping/SnoopingOnOff.h"
#include "source_guard/ExemptVlans.h"

namespace {

constexpr uint32_t kOn = 1, kOff = 2;
constexpr uint32_t kFailed = 0xFFFFFFFFU;  // -1
constexpr uint32_t kIntegerLength = 4;
constexpr uint32_t kListTextLength = 255;
constexpr uint32_t kOptionTextLength = 64;
constexpr uint32_t kVlanListLineLength = 110;
constexpr uint32_t kVlanListLineSlot = 128;
constexpr uint32_t kVlanListLineSlots = 410;
constexpr uint32_t kMostExemptVlansPerSet = 128;
constexpr uint32_t kVlanIds = 4094;

// A format or text set through the MIB, kept until its other half comes.
struct PendingOption {
    uint32_t format;
    std::array<char, 128> text;
};
PendingOption pendingRemoteId;
PendingOption pendingInterfaceId;

bool isRemoteId(uint16_t object) {
    return object == MIB_REMOTE_ID_FORMAT || object == MIB_REMOTE_ID_TEXT;
}

// Applies the pending format of an option with its pending text, through the option settings so that
// leaving the user-defined format releases its template. A text that does not parse under the format stores
// what the conversion left; a string format with no text, or a format never set, changes nothing.
void applyPending(bool remoteId) {
    const PendingOption &pending = remoteId ? pendingRemoteId : pendingInterfaceId;
    InfoOptionConfig record{};
    InfoOptionFields fields = remoteId ? remoteIdFields(record) : interfaceIdFields(record);
    switch (pending.format) {
        case FORMAT_IPV4_ADDRESS: {
            int32_t octets[4] = {};
            strtoipAddr(pending.text.data(), octets);
            // NOLINTNEXTLINE(cert-err34-c): a text that does not parse leaves the numbers as they were
            std::sscanf(pending.text.data(), "%d.%d.%d.%d", &octets[0], &octets[1], &octets[2], &octets[3]);
            for (size_t i = 0; i < 4; ++i) {
                fields.value[i] = static_cast<uint8_t>(octets[i]);
            }
            break;
        }
        case FORMAT_IPV6_ADDRESS:
            vosInetPton(VOS_AF_INET6, pending.text.data(), fields.value);
            break;
        case FORMAT_DEFAULT:
            break;
        case FORMAT_STRING:
            if (pending.text[0] == '\0') {
                return;
            }
            std::memcpy(fields.value, pending.text.data(), pending.text.size());
            break;
        default:
            return;
    }
    fields.format = pending.format;
    dhcp6snoopingGlobalDhcp6InfoCfg(remoteId ? SELECT_REMOTE_ID_FORMAT : SELECT_INTERFACE_ID_FORMAT, &record);
}

// An option's value as text: the address of formats 1 and 2, the string of format 4, else empty.
void answerOptionText(MibRequest *request, bool remoteId) {
    const InfoOptionFields fields =
        remoteId ? remoteIdFields(infoOptionConfig) : interfaceIdFields(infoOptionConfig);
    char text[kOptionValueSize + 64] = {};
    if (fields.format == FORMAT_IPV4_ADDRESS) {
        std::snprintf(text, sizeof text, "%d.%d.%d.%d", fields.value[0], fields.value[1], fields.value[2],
                      fields.value[3]);
    } else if (fields.format == FORMAT_IPV6_ADDRESS) {
        vosInetNtop(VOS_AF_INET6, fields.value, text, 64);
    } else if (fields.format == FORMAT_STRING) {
        std::memcpy(text, fields.value,
                    strnlen(reinterpret_cast<const char *>(fields.value), kOptionValueSize - 1));
    }
    mibAnswerText(request, text);
}

// The exempt VLANs as list text: whole lines of the list, as many as fit in 255 characters.
uint32_t answerExemptVlans(MibRequest *request) {
    std::array<uint16_t, kVlanTableSize + 1> list{};
    uint16_t count = 0;
    for (VlanId vlanId = kFirstVlan; vlanId <= kLastVlan; ++vlanId) {
        if (ipv6SourceGuardDisabledVlan[vlanId] != 0) {
            list[++count] = static_cast<uint16_t>(vlanId);
        }
    }
    list[0] = count;
    auto *lines = static_cast<char *>(vosCalloc(kVlanListLineSlots, kVlanListLineSlot));
    if (lines == nullptr) {
        return kFailed;
    }
    const int32_t lineCount = shortArray2string(list.data(), lines, kVlanListLineLength, 0);
    char text[kListTextLength + 1] = {};
    size_t length = 0;
    for (int32_t line = 0; line < lineCount && line < static_cast<int32_t>(kVlanListLineSlots); ++line) {
        const char *lineText = lines + static_cast<size_t>(line) * kVlanListLineSlot;
        const size_t lineLength = strnlen(lineText, kVlanListLineSlot);
        if (length + lineLength <= kListTextLength) {
            std::memcpy(text + length, lineText, lineLength);
            length += lineLength;
        }
    }
    vosFree(lines);
    mibAnswerText(request, text);
    return 0;
}

// Makes the exempt VLANs those of the list text; a refused text or more than 128 VLANs change nothing.
uint32_t setExemptVlans(MibRequest *request) {
    char text[kListTextLength + 1];
    mibValueText(request, text);
    auto *ids = static_cast<uint16_t *>(vosCalloc(kVlanIds + 1, sizeof(uint16_t)));
    if (ids == nullptr) {
        return kFailed;
    }
    auto result = static_cast<uint32_t>(Str2ShortArray(text, ids, kVlanIds, kFirstVlan, kLastVlan));
    if (result == 0) {
        uint32_t count = 0;
        while (count < kVlanIds && ids[count] != 0) {
            ++count;
        }
        result = count > kMostExemptVlansPerSet
                     ? kFailed
                     : static_cast<uint32_t>(ip6_source_guard_vlanlist_replace(ids, count));
    }
    vosFree(ids);
    return result;
}

uint32_t get(uint32_t /*mode*/, MibRequest *request) {
    switch (request->objectId) {
        case MIB_ON_OFF:
            ulongSet(request, dhcp6snoopingOnOff == 1 ? kOn : kOff);
            return 0;
        case MIB_PORT_DOWN_ACTION:
            ulongSet(request, dhcp6snoopingPortDownAction != 0 ? kOn : kOff);
            request->valueLength = kIntegerLength;
            return 0;
        case MIB_DISABLED_VLANS:
            return answerExemptVlans(request);
        case MIB_OPTION18_ENABLE:
            ulongSet(request, infoOptionConfig.interfaceIdEnable);
            return 0;
        case MIB_OPTION37_ENABLE:
            ulongSet(request, infoOptionConfig.remoteIdEnable);
            return 0;
        case MIB_REMOTE_ID_FORMAT:
            ulongSet(request, infoOptionConfig.remoteIdFormat);
            return 0;
        case MIB_INTERFACE_ID_FORMAT:
            ulongSet(request, infoOptionConfig.interfaceIdFormat);
            return 0;
        default:
            answerOptionText(request, isRemoteId(request->objectId));
            return 0;
    }
}

uint32_t test(MibRequest *request) {
    const uint32_t value = ulongGet(request);
    const bool tooLong = request->valueLength > kIntegerLength;
    switch (request->objectId) {
        case MIB_ON_OFF:
        case MIB_PORT_DOWN_ACTION:
            return value == 0 || value > kOff ? ccdErrorInvalidRange()
                   : tooLong                  ? ccdErrorInvalidLength()
                                              : 0;
        case MIB_OPTION18_ENABLE:
        case MIB_OPTION37_ENABLE:
            return value > 1 ? ccdErrorInvalidRange() : tooLong ? ccdErrorInvalidLength() : 0;
        case MIB_REMOTE_ID_FORMAT:
        case MIB_INTERFACE_ID_FORMAT:
            return value == 0 || value > FORMAT_STRING ? ccdErrorInvalidRange()
                   : tooLong                           ? ccdErrorInvalidLength()
                                                       : 0;
        case MIB_DISABLED_VLANS:
            return request->valueLength > kListTextLength ? ccdErrorTooBig() : 0;
        default:
            return request->valueLength > kOptionTextLength ? ccdErrorTooBig() : 0;
    }
}

uint32_t setEnable(uint32_t selector, uint32_t value) {
    InfoOptionConfig record{};
    record.interfaceIdEnable = record.remoteIdEnable = value;
    dhcp6snoopingGlobalDhcp6InfoCfg(selector, &record);
    return 0;
}

uint32_t set(MibRequest *request) {
    const uint16_t object = request->objectId;
    PendingOption &pending = isRemoteId(object) ? pendingRemoteId : pendingInterfaceId;
    switch (object) {
        case MIB_ON_OFF:
            return static_cast<uint32_t>(ulongGet(request) == kOn ? dhcp6snoopingStart()
                                                                  : dhcp6snoopingStop());
        case MIB_PORT_DOWN_ACTION:
            return static_cast<uint32_t>(dhcp6snoopingFastRemoveCfg(ulongGet(request) == kOn ? 1 : 0));
        case MIB_DISABLED_VLANS:
            return setExemptVlans(request);
        case MIB_OPTION18_ENABLE:
            return setEnable(SELECT_INTERFACE_ID_ENABLE, ulongGet(request));
        case MIB_OPTION37_ENABLE:
            return setEnable(SELECT_REMOTE_ID_ENABLE, ulongGet(request));
        case MIB_REMOTE_ID_FORMAT:
        case MIB_INTERFACE_ID_FORMAT:
            pending.format = ulongGet(request);
            break;
        default:
            mibValueText(request, pending.text);
            break;
    }
    applyPending(isRemoteId(object));
    return 0;
}

bool isScalar(uint16_t object) {
    switch (object) {
        case MIB_ON_OFF:
        case MIB_PORT_DOWN_ACTION:
        case MIB_DISABLED_VLANS:
        case MIB_OPTION18_ENABLE:
        case MIB_OPTION37_ENABLE:
        case MIB_REMOTE_ID_FORMAT:
        case MIB_REMOTE_ID_TEXT:
        case MIB_INTERFACE_ID_FORMAT:
        case MIB_INTERFACE_ID_TEXT:
            return true;
        default:
            return false;
    }
}

}  // namespace

extern "C" uint32_t dhcp6snoopingMibScalarHandler(uint32_t mode, MibRequest *request) {
    static constexpr MibGroupParts kParts = {
        .serves = isScalar,
        .next = ccdNextScalarIndex,
        .get = get,
        .test = test,
        .set = set,
    };
    if (ccdScalarValidate(mode, request) == -1) {
        return ccdErrorRequestMap(mode);
    }
    return mibServe(mode, request, kParts);
}
