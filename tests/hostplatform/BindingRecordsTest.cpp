// The binding database's text: what is written is read back whole, and a record damaged in any one place,
// cut off by a torn write or mistyped with its checksum fixed up, is left out alone, named by its line,
// while every other record is read.

#include <gmock/gmock.h>
#include <zlib.h>

#include <cstdio>
#include <string>

#include "BindingRecords.h"

namespace bindingdb {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

Client client(uint8_t last, std::string port, std::initializer_list<Binding> bindings) {
    return Client{{0x02, 0, 0, 0, 0, last}, 10, std::move(port), bindings};
}

Binding binding(uint8_t last, uint32_t prefixLength, int64_t expires) {
    Binding made{{0x20, 0x01, 0x0d, 0xb8}, prefixLength, 300, 600, expires};
    made.address[15] = last;
    return made;
}

const std::vector<Client> kClients = {
    client(1, "swp2", {binding(1, 128, 1764104400)}),
    client(2, "swp3", {binding(2, 128, 1764104500), binding(0, 56, 1764108000)}),
    client(3, "eth0.10", {binding(3, 128, 1764104600)}),
};

// The offsets at which line `n` (counted from 1) of `text` starts and ends (at its newline).
std::pair<size_t, size_t> lineSpan(const std::string &text, int n) {
    size_t start = 0;
    for (int i = 1; i < n; ++i) {
        start = text.find('\n', start) + 1;
    }
    return {start, text.find('\n', start)};
}

TEST(BindingRecords, WhatIsWrittenIsReadBack) {
    const std::string text = formatDatabase(kClients, 1764100000);
    EXPECT_THAT(text,
                HasSubstr("client 02:00:00:00:00:02 vlan 10 port swp3 bind 2001:db8::2/128 preferred 300 "
                          "valid 600 expires 1764104500 bind 2001:db8::/56 "));
    const ParsedDatabase parsed = parseDatabase(text);
    EXPECT_EQ(parsed.clients, kClients);
    EXPECT_THAT(parsed.skipped, IsEmpty());
    EXPECT_THAT(parseDatabase(formatDatabase({}, 0)).clients, IsEmpty());
}

TEST(BindingRecords, AByteChangedAnywhereInARecordCostsThatRecordAlone) {
    const std::string text = formatDatabase(kClients, 1764100000);
    const auto [start, end] = lineSpan(text, 5);  // three comment lines, then the first client
    for (size_t at = start; at < end; ++at) {
        std::string damaged = text;
        damaged[at] = damaged[at] == 'x' ? 'y' : 'x';
        const ParsedDatabase parsed = parseDatabase(damaged);
        EXPECT_THAT(parsed.clients, ElementsAre(kClients[0], kClients[2])) << "byte " << at - start;
        EXPECT_THAT(parsed.skipped, ElementsAre(HasSubstr("line 5: "))) << "byte " << at - start;
    }
}

TEST(BindingRecords, AWriteTornAnywhereInTheLastRecordKeepsTheOthers) {
    const std::string text = formatDatabase(kClients, 1764100000);
    const auto [start, end] = lineSpan(text, 6);
    for (size_t cut = start + 1; cut <= end; ++cut) {
        const ParsedDatabase parsed = parseDatabase(text.substr(0, cut));
        EXPECT_THAT(parsed.clients, ElementsAre(kClients[0], kClients[1])) << "cut at " << cut - start;
        EXPECT_THAT(parsed.skipped, ElementsAre(HasSubstr("line 6: "))) << "cut at " << cut - start;
    }
}

// A record whose checksum holds but whose fields do not: each is named with its reason.
TEST(BindingRecords, FieldsThatCannotBeReadAreNamedEvenUnderAGoodChecksum) {
    const auto withChecksum = [](const std::string &record) {
        char crc[9];
        std::snprintf(
            crc, sizeof crc, "%08lx",
            crc32(0L, reinterpret_cast<const Bytef *>(record.data()), static_cast<uInt>(record.size())));
        return record + " crc " + crc + "\n";
    };
    const std::string good =
        "client 02:00:00:00:00:09 vlan 10 port swp2 bind 2001:db8::9/128 preferred 1 valid 2 "
        "expires 3";
    const std::pair<std::string, std::string> cases[] = {
        {"client 02:00:00:00:00 vlan 10 port swp2 bind 2001:db8::9/128 preferred 1 valid 2 expires 3",
         "not a MAC address: 02:00:00:00:00"},
        {"client 02:00:00:00:00:09 vlan 4095 port swp2 bind 2001:db8::9/128 preferred 1 valid 2 expires 3",
         "not a number from 1 to 4094: 4095"},
        {"client 02:00:00:00:00:09 vlan 10 port swp2 bind 2001:db8::9/129 preferred 1 valid 2 expires 3",
         "not a number from 1 to 128: 129"},
        {"client 02:00:00:00:00:09 vlan 10 port swp2 bind 2001:zz8::9/128 preferred 1 valid 2 expires 3",
         "not an address or prefix: 2001:zz8::9/128"},
        {"client 02:00:00:00:00:09 vlan 10 port swp2 bind 2001:db8::9/128 preferred 1 valid 2",
         "the record ends early"},
        {"client 02:00:00:00:00:09 vlan 10 port swp2", "the client has no binding"},
        {"client 02:00:00:00:00:09 vlan 10 port swp2 lease 2001:db8::9/128", "\"bind\" expected"},
    };
    for (const auto &[record, reason] : cases) {
        const ParsedDatabase parsed = parseDatabase(withChecksum(good) + withChecksum(record));
        EXPECT_THAT(parsed.clients, SizeIs(1)) << record;
        EXPECT_THAT(parsed.skipped, ElementsAre("line 2: " + reason)) << record;
    }
}

}  // namespace
}  // namespace bindingdb
