// Reading DHCPv6 options: the option walker, and the usable addresses and prefixes, with their lifetimes,
// read out of IA_NA and IA_PD options.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "snooping/Dhcp6Options.h"
#include "snooping/LeaseExtraction.h"
#include "support/DaemonTest.h"
#include "switchsim/Dhcp6FrameBuilder.h"

namespace {

using namespace switchsim::dhcp6;
using switchsim::Bytes;
using switchsim::ipv6;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Options area: Client Identifier (2 bytes), IA_NA (0 bytes), Status Code 2 "no", Client Identifier
// (1 byte), then 3 trailing bytes.
const Bytes kArea = {
    0x00, 0x01, 0x00, 0x02, 0xAA, 0xBB,            // option 1, length 2
    0x00, 0x03, 0x00, 0x00,                        // option 3, length 0
    0x00, 0x0D, 0x00, 0x04, 0x00, 0x02, 'n', 'o',  // option 13, status 2, message "no"
    0x00, 0x01, 0x00, 0x01, 0xCC,                  // option 1, length 1
    0x00, 0x01, 0x00,                              // too short for a header
};

// Every option of `code` in `area`, visited with a cursor, as "offset/length".
std::vector<std::string> visitAll(uint16_t code, const Bytes &area) {
    std::vector<std::string> found;
    OptionCursor cursor{};
    uint32_t length = 0;
    for (const uint8_t *option = dhcp6FindOption(code, &length, area.data(), area.size(), &cursor);
         option != nullptr; option = dhcp6FindOption(code, &length, nullptr, 0, &cursor)) {
        EXPECT_LE(option - area.data() + kOptionHeaderSize + length, area.size());
        found.push_back(std::to_string(option - area.data()) + "/" + std::to_string(length));
    }
    EXPECT_EQ(cursor.position, nullptr);
    EXPECT_EQ(cursor.remaining, 0U);
    return found;
}

TEST(OptionWalker, CursorVisitsEveryOptionOfACodeInOrderAndNeverReadsOutsideAnyCutOfTheArea) {
    EXPECT_THAT(visitAll(1, kArea), ElementsAre("0/2", "18/1"));
    EXPECT_THAT(visitAll(3, kArea), ElementsAre("6/0"));  // a zero-length option is an option like any other
    EXPECT_THAT(visitAll(0x0101, kArea), IsEmpty());      // codes are compared as whole 16-bit values
    // Every prefix of the area in a buffer of exactly its size, so that the sanitizer sees a read past it.
    for (size_t size = 0; size <= kArea.size(); ++size) {
        const Bytes cut(kArea.begin(), kArea.begin() + static_cast<std::ptrdiff_t>(size));
        for (const uint16_t code : {1, 3, 13, 0xFFFF}) {
            visitAll(code, cut);
        }
        EXPECT_EQ(dhcp6AreaStatus(cut.data(), cut.size(), nullptr), size >= 18 ? 2 : 0) << "size " << size;
    }
    // An option claiming more than is left ends the walk; what lies inside its claim is never seen.
    const Bytes overlong = {0x00, 0x02, 0x00, 0x05, 0xEE, 0x00, 0x03, 0x00, 0x00};
    EXPECT_THAT(visitAll(3, overlong), IsEmpty());
}

const auto kAddress1 = ipv6("2001:db8::1");
const auto kAddress2 = ipv6("2001:db8::2");
const auto kPrefix = ipv6("2001:db8:0:100::");
const Bytes kReleased = iaNa(1, 0, 0, join({iaAddress(kAddress1, 0, 0), iaAddress(kAddress2, 5, 10)}));

struct LeaseCase {
    const char *name;
    uint32_t finalFlag;
    uint32_t result;
    const char *bindings;  // as bindingTexts writes them, joined by ", "
    const char *trace;     // the one trace line, or none
    Bytes options;
};

class LeaseExtractionTest : public DaemonTest {
  protected:
    void SetUp() override {
        startDaemon();
        traceOn();
    }
    void TearDown() override { addressListClear(&settings.addresses, addressListFreeItem); }

    uint32_t extract(const Bytes &options, uint32_t finalFlag) {
        area = options;
        return leaseExtractSettings(&settings, area.data(), area.size(), finalFlag);
    }

    Bytes area;
    LeaseSettings settings{};
};

class LeaseCaseTest : public LeaseExtractionTest, public ::testing::WithParamInterface<LeaseCase> {};

TEST_P(LeaseCaseTest, KeepsTheUsableBindingsAndTracesWhatItDiscards) {
    const LeaseCase &c = GetParam();
    EXPECT_EQ(extract(c.options, c.finalFlag), c.result);
    std::string bindings;
    for (const std::string &text : bindingTexts(settings.addresses)) {
        bindings += (bindings.empty() ? "" : ", ") + text;
    }
    EXPECT_EQ(bindings, c.bindings);
    EXPECT_EQ(traces(), c.trace != nullptr ? std::vector<std::string>{c.trace} : std::vector<std::string>{});
}

INSTANTIATE_TEST_SUITE_P(
    Options, LeaseCaseTest,
    ::testing::Values(
        LeaseCase{"LaterOptionForTheSameAddressOverwrites", 1, 1,
                  "2001:db8::1/128 30/40, 2001:db8::2/128 1/2", nullptr,
                  iaNa(1, 0, 0,
                       join({iaAddress(kAddress1, 10, 20), iaAddress(kAddress2, 1, 2),
                             iaAddress(kAddress1, 30, 40)}))},
        // Only the first IA_NA long enough counts; short options and valid below preferred pass silently.
        LeaseCase{"ShortOptionsAndValidBelowPreferredArePassedOver", 1, 1, "2001:db8::2/128 100/200", nullptr,
                  join({option(3, Bytes(11, 0)),
                        iaNa(7, 0, 0,
                             join({option(5, Bytes(23, 0x20)), iaAddress(kAddress1, 200, 100),
                                   iaAddress(kAddress2, 100, 200)})),
                        iaNa(8, 0, 0, iaAddress(kAddress1, 1, 1))})},
        LeaseCase{"T1AboveANonZeroT2DiscardsTheIa", 1, 0, "",
                  "\r\n Discarding message, since T1 (500) > T2 (400)",
                  iaNa(1, 500, 400, iaAddress(kAddress1, 10, 20))},
        LeaseCase{"T1AboveAZeroT2IsFine", 1, 1, "2001:db8::1/128 10/20", nullptr,
                  iaNa(1, 500, 0, iaAddress(kAddress1, 10, 20))},
        LeaseCase{"FailureStatusOfTheIaDropsIt", 1, 0, "",
                  "\r\n Discarding settings na, since status no addresses available",
                  iaNa(1, 0, 0, join({iaAddress(kAddress1, 10, 20), statusCode(2, "none left")}))},
        LeaseCase{"FailureStatusOfAnAddressDropsIt", 1, 0, "",
                  "\r\n Discarding settings na, since no usable bindings",
                  iaNa(1, 0, 0, iaAddress(kAddress1, 10, 20, statusCode(3)))},
        LeaseCase{"ZeroLifetimeAddressOfAReplyIsDropped", 1, 1, "2001:db8::2/128 5/10", nullptr, kReleased},
        LeaseCase{"ZeroLifetimeAddressOfAReleaseIsKept", 0, 1, "2001:db8::1/128 0/0, 2001:db8::2/128 5/10",
                  nullptr, kReleased},
        // An accepted IA_PD after the addresses drops the expired ones whatever the flag.
        LeaseCase{"AcceptedIaPdDropsExpiredAddresses", 0, 1,
                  "2001:db8::2/128 5/10, 2001:db8:0:100::/56 100/200", nullptr,
                  join({kReleased, iaPd(2, 60, 90, iaPrefix(100, 200, 56, kPrefix))})},
        LeaseCase{"RefusedIaPdEmptiesTheListButTheIaNaStillCounts", 1, 1, "",
                  "\r\n Discarding settings pd, since status unknown status code",
                  join({iaNa(1, 0, 0, iaAddress(kAddress1, 10, 20)),
                        iaPd(2, 0, 0, join({iaPrefix(100, 200, 56, kPrefix), statusCode(6)}))})},
        LeaseCase{"PrefixesAloneAreReadWithTheirLength", 1, 1, "2001:db8:0:100::/56 100/200", nullptr,
                  iaPd(2, 0, 0,
                       join({option(26, Bytes(24, 0x01)), iaPrefix(100, 200, 56, kPrefix),
                             iaPrefix(0, 0, 48, ipv6("2001:db8:1::"))}))}),
    [](const auto &param) { return std::string(param.param.name); });

}  // namespace
