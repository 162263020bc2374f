// Arbitrary frames through the whole receive callback, on a switch whose state the input also chooses.
// An input is a run of records, each a 6-byte header and a frame:
//   port selector, VLAN selector, flags, payload offset, frame length (16 bits, big-endian).
// Flags: 0x01 snooping on, 0x02 ingress trusted, 0x04 ingress guarded, 0x08 ingress port full,
// 0x10 frame kind 1, 0x20 frame kind 2. Every input starts from a fresh table; at its end the per-port
// counts must still match the clients recorded.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "core/GlobalState.h"
#include "snooping/ClientTable.h"
#include "snooping/Dhcp6Snooping.h"
#include "snooping/SnoopingOnOff.h"
#include "source_guard/SourceGuardMode.h"
#include "switchsim/Switch.h"

namespace {

constexpr uint32_t kPorts = 24;
constexpr uint32_t kVlans = 4;
constexpr size_t kHeaderSize = 6;

switchsim::Switch &fuzzSwitch() {
    static switchsim::Switch sw;
    return sw;
}

void setUpSwitch(switchsim::Switch &sw) {
    std::vector<uint32_t> all;
    for (uint32_t port = 1; port <= kPorts; ++port) {
        all.push_back(port);
    }
    for (uint32_t vlan = 1; vlan <= kVlans; ++vlan) {
        sw.addVlan(vlan, all);
    }
    // Nothing the switch sees is kept, so that a long run does not grow.
    sw.keepSentFrames(false);
    sw.keepAddressFilters(false);
    dhcp6snooping_init();
}

// The packet service hands frames over 2 bytes past a 4-byte boundary; the frame ends where the buffer
// ends, so that any read past it is caught.
void deliver(const uint8_t *bytes, uint32_t length, uint32_t port, uint32_t vlan, const uint8_t *header) {
    const auto buffer = std::make_unique<uint8_t[]>(length + 2);
    auto *frame = buffer.get() + 2;
    if (length != 0) {
        std::memcpy(frame, bytes, length);
    }
    PktRecvTag tag{};
    tag.vlanId = vlan;
    tag.portIndex = port;
    PktRecvInfo info{};
    info.payloadOffset = header[3];
    info.etherTypeOffset = 12;
    info.frameKind = (header[2] & 0x20) != 0 ? 2 : ((header[2] & 0x10) != 0 ? 1 : 0);
    dhcp6snoopingRegPktProcess(frame, length, tag, info);
}

void applyFlags(uint8_t flags, uint32_t port) {
    if ((flags & 0x01) != 0) {
        dhcp6snoopingStart();
    } else {
        dhcp6snoopingStop();
    }
    portTrustMode[port - 1] = (flags & 0x02) != 0 ? 1 : 0;
    portIpSourceGuardMode[port - 1] = (flags & 0x04) != 0 ? SOURCE_GUARD_IPV6_MAC_VLAN : SOURCE_GUARD_NONE;
    portMaxNum[port - 1] = (flags & 0x08) != 0 ? 0 : kDefaultClientLimit;
}

void requireCountsMatchTable() {
    uint32_t counted[kPortTableSize] = {};
    for (const ClientEntry *entry = clientFirst(); entry != nullptr; entry = clientAfter(entry->mac)) {
        if (entry->counted == 1) {
            ++counted[entry->portIndex - 1];
        }
    }
    for (uint32_t port = 0; port < kPortTableSize; ++port) {
        if (counted[port] != portClientCount[port]) {
            std::abort();
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool ready = [] {
        setUpSwitch(fuzzSwitch());
        return true;
    }();
    (void)ready;

    while (size >= kHeaderSize) {
        const uint8_t *header = data;
        const uint32_t port = 1 + header[0] % kPorts;
        const uint32_t vlan = 1 + header[1] % kVlans;
        const size_t length =
            std::min<size_t>(static_cast<size_t>(header[4] << 8 | header[5]), size - kHeaderSize);
        applyFlags(header[2], port);
        deliver(data + kHeaderSize, static_cast<uint32_t>(length), port, vlan, header);
        data += kHeaderSize + length;
        size -= kHeaderSize + length;
    }
    requireCountsMatchTable();
    // The next input starts from an empty table and the defaults.
    clientDeleteAll();
    dhcp6snooping_init();
    return 0;
}
