// Arbitrary bytes as a DHCPv6 options area, through the option walker and the lease extraction. Any read
// outside the input, any broken promise of the walker or the extraction, and any leak ends the run.

#include "FuzzSupport.h"
#include "snooping/Dhcp6Options.h"
#include "snooping/LeaseExtraction.h"

namespace {

using fuzz::require;

constexpr uint16_t kCodes[] = {kOptionClientId,    kOptionIaNa, kOptionIaAddress, kOptionStatusCode,
                               kOptionInterfaceId, kOptionIaPd, kOptionIaPrefix,  kOptionRemoteId};

void walk(const uint8_t *area, uint32_t size) {
    for (const uint16_t code : kCodes) {
        OptionCursor cursor{};
        uint32_t length = 0;
        for (const uint8_t *option = dhcp6FindOption(code, &length, area, size, &cursor); option != nullptr;
             option = dhcp6FindOption(code, &length, nullptr, 0, &cursor)) {
            const auto offset = static_cast<uint32_t>(option - area);
            require(offset + kOptionHeaderSize + length <= size);
            require(cursor.position == option + kOptionHeaderSize + length);
            require(cursor.remaining == size - offset - kOptionHeaderSize - length);
        }
        require(cursor.position == nullptr && cursor.remaining == 0);
    }
    dhcp6AreaStatus(area, size, nullptr);
}

void extract(const uint8_t *area, uint32_t size, uint32_t finalFlag) {
    LeaseSettings settings{};
    const uint32_t result = leaseExtractSettings(&settings, area, size, finalFlag);
    const AddressList &list = settings.addresses;
    require(list.count <= list.capacity);
    require(result == 1 || list.count == 0);
    for (uint32_t i = 0; i < list.count; ++i) {
        const ClientAddress &record = *addressAt(list, i);
        require(record.status == 0);
        require(record.validLifetime != 0 || finalFlag == 0);
        require(record.validLifetime >= record.preferredLifetime);
        for (uint32_t j = 0; j < i; ++j) {
            require(!sameBinding(record, *addressAt(list, j)));
        }
    }
    addressListClear(&settings.addresses, addressListFreeItem);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::fuzzSwitch();  // the platform calls that extraction makes (clock, memory, trace) act on this switch
    const auto length = static_cast<uint32_t>(size);
    walk(data, length);
    extract(data, length, 1);
    extract(data, length, 0);
    return 0;
}
