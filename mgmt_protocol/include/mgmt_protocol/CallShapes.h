#pragma once
// The arguments of every remote call by size, in call-number order: what the daemon's wrappers read and
// write, and what the platform lets through to them. The daemon's own call table is checked against this
// one when it is compiled.

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "mgmt_protocol/RemoteCallNumbers.h"

namespace mgmt {

// The sizes of the records that travel as arguments, in bytes.
inline constexpr uint16_t kWordSize = 4;
inline constexpr uint16_t kHalfWordSize = 2;
inline constexpr uint16_t kAddressSize = 16;
inline constexpr uint16_t kMacSize = 6;
inline constexpr uint16_t kGlobalInfoSize = 8;
inline constexpr uint16_t kVlanBitmapSize = 512;
inline constexpr uint16_t kDeleteSelectorSize = 36;
inline constexpr uint16_t kInfoOptionConfigSize = 304;
inline constexpr uint16_t kStaticBindRecordSize = 32;
inline constexpr uint16_t kStaticBindPageRecords = 64;
inline constexpr uint16_t kClientSummarySize = 20;
inline constexpr uint16_t kClientSummaryRecords = 10;

inline constexpr size_t kMostArguments = 6;

struct CallShape {
    uint32_t number = 0;
    uint32_t argumentCount = 0;
    std::array<uint16_t, kMostArguments> sizes{};

    [[nodiscard]] constexpr std::span<const uint16_t> argumentSizes() const {
        return std::span<const uint16_t>(sizes).first(argumentCount);
    }
};

namespace shape {
constexpr uint16_t W = kWordSize;
constexpr uint16_t A = kAddressSize;
constexpr uint16_t M = kMacSize;
constexpr uint16_t B = kVlanBitmapSize;
constexpr uint16_t O = kInfoOptionConfigSize;
}  // namespace shape

inline constexpr std::array<CallShape, 32> kCallShapes = {{
    {kStartSnooping, 0, {}},
    {kStopSnooping, 0, {}},
    {kBindingCount, 1, {shape::W}},
    {kAddBinding, 4, {shape::A, shape::M, shape::W, shape::W}},
    {kAddBindingForSnmp, 5, {shape::W, shape::A, shape::M, shape::W, shape::W}},
    {kCheckBinding, 3, {shape::A, shape::M, shape::W}},
    {kDeleteBinding, 1, {shape::A}},
    {kDeleteBindingForSnmp, 1, {shape::A}},
    {kDeleteAllBindings, 0, {}},
    {kDeleteAllBindingsForSnmp, 0, {}},
    {kSetGuardMode, 2, {shape::W, shape::W}},
    {kSetPortTrust, 2, {shape::W, shape::W}},
    {kGetGuardMode, 2, {shape::W, shape::W}},
    {kSetPortMaxClients, 2, {shape::W, shape::W}},
    {kSetVlanMaxClients, 2, {shape::W, shape::W}},
    {kClientWalk,
     6,
     {shape::M, shape::W, shape::W, shape::W, kClientSummarySize *kClientSummaryRecords,
      shape::W *kClientSummaryRecords}},
    {kPortMaxClientsGet, 3, {shape::W, shape::W, shape::W}},
    {kVlanMaxClientsGet, 3, {shape::W, shape::W, shape::W}},
    {kBindingByAddress, 2, {shape::A, kStaticBindRecordSize}},
    {kPortTrustGet, 2, {shape::W, shape::W}},
    {kGlobalInfoGet, 1, {kGlobalInfoSize}},
    {kSetFastRemove, 1, {shape::W}},
    {kResetVlanCounts, 1, {shape::B}},
    {kDeleteClients, 1, {kDeleteSelectorSize}},
    {kResetConfig, 0, {}},
    {kExemptVlanGet, 1, {shape::W}},
    {kSetExemptVlan, 2, {shape::W, shape::W}},
    {kBindingPage,
     4,
     {kHalfWordSize, kHalfWordSize, kHalfWordSize, kStaticBindRecordSize *kStaticBindPageRecords}},
    {kExemptVlansGet, 1, {shape::B}},
    {kConfigureExemptVlans, 3, {shape::W, shape::B, shape::B}},
    {kInfoOptionGet, 1, {shape::O}},
    {kSetInfoOption, 2, {shape::W, shape::O}},
}};

constexpr bool shapesInCallOrder() {
    for (size_t row = 0; row < kCallShapes.size(); ++row) {
        if (kCallShapes[row].number != kStartSnooping + row) {
            return false;
        }
    }
    return true;
}
static_assert(shapesInCallOrder());

// The shape of call `number`, or null for a number that is no call of the daemon's.
constexpr const CallShape *callShape(uint32_t number) {
    return number >= kStartSnooping && number - kStartSnooping < kCallShapes.size()
               ? &kCallShapes[number - kStartSnooping]
               : nullptr;
}

// True for a call that only reads: it changes neither a setting nor a client.
constexpr bool callOnlyReads(uint32_t number) {
    constexpr std::array kReading = {
        kBindingCount,      kCheckBinding,     kGetGuardMode, kClientWalk,    kPortMaxClientsGet,
        kVlanMaxClientsGet, kBindingByAddress, kPortTrustGet, kGlobalInfoGet, kExemptVlanGet,
        kBindingPage,       kExemptVlansGet,   kInfoOptionGet};
    return std::find(kReading.begin(), kReading.end(), number) != kReading.end();
}

// The settings record of options 18 and 37 as its two calls carry it: which fields a set takes, and where
// the fields of each option lie in the record.
enum class OptionSelect : uint32_t {
    kRemoteIdEnable = 1,
    kInterfaceIdEnable = 2,
    kRemoteIdFormat = 3,
    kInterfaceIdFormat = 4
};
struct OptionFields {
    size_t enable;
    size_t format;
    size_t value;
};
inline constexpr OptionFields kRemoteIdFields{4, 8, 12};
inline constexpr OptionFields kInterfaceIdFields{152, 156, 160};
inline constexpr size_t kOptionValueBytes = 129;  // 128 characters and a zero, or an address

// The operations of the exempt-VLAN list call.
inline constexpr uint32_t kExemptVlansAdd = 0;
inline constexpr uint32_t kExemptVlansRemove = 1;

// A VLAN bitmap argument holds VLAN v in bit 7 - v % 8 of byte v / 8.
inline void setVlanBit(std::span<uint8_t> bitmap, uint32_t vlan) {
    bitmap[vlan / 8] |= static_cast<uint8_t>(0x80U >> (vlan % 8));
}
inline bool hasVlanBit(std::span<const uint8_t> bitmap, uint32_t vlan) {
    return (bitmap[vlan / 8] & (0x80U >> (vlan % 8))) != 0;
}

// The argument of the call that clears clients: which clients, by kind, and the value of that kind.
enum class ClearBy : uint32_t { kPort = 0, kAddress = 1, kVlan = 2, kMac = 3, kAll = 4 };
inline constexpr size_t kClearKindOffset = 0;
inline constexpr size_t kClearVlanOffset = 4;
inline constexpr size_t kClearPortOffset = 8;
inline constexpr size_t kClearAddressOffset = 12;
inline constexpr size_t kClearMacOffset = 28;

struct ClientSelection {
    ClearBy kind = ClearBy::kAll;
    uint32_t vlan = 0;
    uint32_t port = 0;
    std::array<uint8_t, kAddressSize> address{};
    std::array<uint8_t, kMacSize> mac{};
};

// The selection in the call's argument layout, in this processor's byte order, and back.
std::vector<uint8_t> clearClientsArgument(const ClientSelection &selection);
ClientSelection clientSelectionOf(std::span<const uint8_t, kDeleteSelectorSize> argument);

}  // namespace mgmt
