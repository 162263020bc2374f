#include "snooping/LeaseExtraction.h"

#include <cstring>

#include "core/ByteCursor.h"
#include "core/DebugTrace.h"
#include "platform/VosApi.h"
#include "snooping/Dhcp6Options.h"

namespace {

constexpr char kTimersRefused[] = "\r\n Discarding message, since T1 (%u) > T2 (%u)";
constexpr char kNaStatusRefused[] = "\r\n Discarding settings na, since status %s";
constexpr char kNaNothingUsable[] = "\r\n Discarding settings na, since no usable bindings";
constexpr char kPdStatusRefused[] = "\r\n Discarding settings pd, since status %s";
constexpr char kPdNothingUsable[] = "\r\n Discarding settings pd, since no usable bindings";

constexpr int32_t kFixedPrefixLength = -1;

// Where the fields of an IA Address or IA Prefix option lie in its data.
struct BindingLayout {
    uint16_t code;
    uint32_t fixedSize;  // the fields before the nested options; shorter options are passed over
    uint32_t addressAt;
    int32_t prefixLengthAt;  // kFixedPrefixLength: a single address
    uint32_t preferredAt;
    uint32_t validAt;
};

constexpr BindingLayout kIaAddress = {kOptionIaAddress, 24, 0, kFixedPrefixLength, 16, 20};
constexpr BindingLayout kIaPrefix = {kOptionIaPrefix, 25, 9, 8, 0, 4};

// IAID, T1 and T2 come before the IA's own options.
constexpr uint32_t kIaFixedSize = 12;
constexpr uint32_t kT1At = 4;
constexpr uint32_t kT2At = 8;

struct Visit {
    const uint8_t *data;
    uint32_t length;
};

// Calls `use` with the data of every option of `code` in the area, in order.
template <typename Use>
void forEachOption(uint16_t code, const uint8_t *area, uint32_t areaLength, Use use) {
    OptionCursor cursor{};
    uint32_t length = 0;
    for (const uint8_t *option = dhcp6FindOption(code, &length, area, areaLength, &cursor); option != nullptr;
         option = dhcp6FindOption(code, &length, nullptr, 0, &cursor)) {
        if (!use(Visit{option + kOptionHeaderSize, length})) {
            return;
        }
    }
}

void collect(LeaseSettings &settings, const uint8_t *area, uint32_t areaLength, const BindingLayout &layout) {
    const uint32_t now = vosUpSeconds();
    forEachOption(layout.code, area, areaLength, [&](Visit option) {
        if (option.length < layout.fixedSize) {
            return true;
        }
        ClientAddress record{};
        const ByteReader data(option.data, option.length);
        if (!data.be32At(layout.preferredAt, record.preferredLifetime) ||
            !data.be32At(layout.validAt, record.validLifetime) ||
            record.validLifetime < record.preferredLifetime) {
            return true;
        }
        std::memcpy(record.address, option.data + layout.addressAt, sizeof record.address);
        record.prefixLength = layout.prefixLengthAt == kFixedPrefixLength
                                  ? kAddressPrefixLength
                                  : option.data[layout.prefixLengthAt];
        record.learnedAt = now;
        record.status =
            dhcp6AreaStatus(option.data + layout.fixedSize, option.length - layout.fixedSize, nullptr);
        addressListStoreBinding(settings.addresses, record);
        return true;
    });
}

uint32_t readIa(LeaseSettings &settings, const uint8_t *area, uint32_t areaLength, uint16_t code,
                const BindingLayout &bindings) {
    uint32_t accepted = 0;
    forEachOption(code, area, areaLength, [&](Visit ia) {
        if (ia.length < kIaFixedSize) {
            return true;
        }
        const ByteReader data(ia.data, ia.length);
        uint32_t t1 = 0;
        uint32_t t2 = 0;
        if (!data.be32At(kT1At, t1) || !data.be32At(kT2At, t2)) {
            return true;
        }
        if (t2 != 0 && t1 > t2) {
            dhcp6snooping_debug_printf(kTimersRefused, t1, t2);
            return false;
        }
        const uint8_t *options = ia.data + kIaFixedSize;
        const uint32_t optionsLength = ia.length - kIaFixedSize;
        settings.t1 = t1;
        settings.t2 = t2;
        settings.statusCode = dhcp6AreaStatus(options, optionsLength, nullptr);
        collect(settings, options, optionsLength, bindings);
        accepted = 1;
        return false;
    });
    return accepted;
}

// Keeps what an accepted IA left usable: nothing when the IA itself carries a failure status, otherwise the
// bindings without their own failure status and, when asked, with some valid lifetime. Returns true when
// something is left.
bool keepUsable(LeaseSettings &settings, bool dropExpired, const char *statusRefused,
                const char *nothingUsable) {
    AddressList &list = settings.addresses;
    if (settings.statusCode != 0) {
        dhcp6snooping_debug_printf(statusRefused, dhcp6StatusText(settings.statusCode));
        addressListClear(&list, addressListFreeItem);
        return false;
    }
    for (uint32_t i = 0; i < list.count;) {
        const ClientAddress &record = *addressAt(list, i);
        if (record.status != 0 || (dropExpired && record.validLifetime == 0)) {
            addressListRemove(&list, list.items[i], addressListFreeItem);
        } else {
            ++i;
        }
    }
    if (list.count == 0) {
        dhcp6snooping_debug_printf("%s", nothingUsable);
        addressListClear(&list, addressListFreeItem);
        return false;
    }
    return true;
}

}  // namespace

extern "C" {

uint32_t leaseExtractSettings(LeaseSettings *settings, const uint8_t *area, uint32_t areaLength,
                              uint32_t finalFlag) {
    uint32_t result = 0;
    if (leaseReadIaNa(settings, area, areaLength) == 1 &&
        keepUsable(*settings, finalFlag != 0, kNaStatusRefused, kNaNothingUsable)) {
        result = 1;
    }
    // Once an IA_PD is accepted, every binding of the message must still be valid, addresses included.
    if (leaseReadIaPd(settings, area, areaLength) == 1 &&
        keepUsable(*settings, /*dropExpired=*/true, kPdStatusRefused, kPdNothingUsable)) {
        result = 1;
    }
    return result;
}

uint32_t leaseReadIaNa(LeaseSettings *settings, const uint8_t *area, uint32_t areaLength) {
    return readIa(*settings, area, areaLength, kOptionIaNa, kIaAddress);
}

uint32_t leaseReadIaPd(LeaseSettings *settings, const uint8_t *area, uint32_t areaLength) {
    return readIa(*settings, area, areaLength, kOptionIaPd, kIaPrefix);
}

void leaseCollectAddresses(LeaseSettings *settings, const uint8_t *area, uint32_t areaLength) {
    collect(*settings, area, areaLength, kIaAddress);
}

void leaseCollectPrefixes(LeaseSettings *settings, const uint8_t *area, uint32_t areaLength) {
    collect(*settings, area, areaLength, kIaPrefix);
}
}
