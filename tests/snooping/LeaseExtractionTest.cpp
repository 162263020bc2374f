// Reading the usable addresses and prefixes, with their lifetimes, out of IA_NA and IA_PD options.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "snooping/LeaseExtraction.h"
#include "support/BindingText.h"
#include "support/DaemonTest.h"
#include "switchsim/Dhcp6FrameBuilder.h"

namespace {

using namespace switchsim::dhcp6;
using switchsim::Bytes;
using switchsim::ipv6;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LeaseExtractionTest : public DaemonTest {
  protected:
    void SetUp() override {
        startDaemon();
        traceOn();
    }
    void TearDown() override { addressListClear(&settings.addresses, addressListFreeItem); }

    uint32_t extract(const Bytes &options, uint32_t finalFlag = 1) {
        area = options;
        return leaseExtractSettings(&settings, area.data(), area.size(), finalFlag);
    }

    [[nodiscard]] std::vector<std::string> bindings() const { return bindingTexts(settings.addresses); }

    Bytes area;
    LeaseSettings settings{};
};

const auto kAddress1 = ipv6("2001:db8::1");
const auto kAddress2 = ipv6("2001:db8::2");
const auto kPrefix = ipv6("2001:db8:0:100::");

TEST_F(LeaseExtractionTest, AddressesOfOneIaNaShareTheirReadingTime) {
    sw.queueTimerTicks(42);
    serve();
    EXPECT_EQ(extract(iaNa(1, 300, 480, join({iaAddress(kAddress1, 600, 900), iaAddress(kAddress2, 0, 50)}))),
              1U);

    EXPECT_THAT(bindings(), ElementsAre("2001:db8::1/128 600/900", "2001:db8::2/128 0/50"));
    EXPECT_EQ(addressAt(settings.addresses, 0)->learnedAt, 42U);
    EXPECT_EQ(addressAt(settings.addresses, 1)->learnedAt, 42U);
    EXPECT_EQ(settings.t1, 300U);
    EXPECT_EQ(settings.t2, 480U);
}

TEST_F(LeaseExtractionTest, LaterOptionForTheSameAddressOverwritesTheEarlier) {
    extract(
        iaNa(1, 0, 0,
             join({iaAddress(kAddress1, 10, 20), iaAddress(kAddress2, 1, 2), iaAddress(kAddress1, 30, 40)})));

    EXPECT_THAT(bindings(), ElementsAre("2001:db8::1/128 30/40", "2001:db8::2/128 1/2"));
}

TEST_F(LeaseExtractionTest, ShortOptionsAndValidBelowPreferredArePassedOverSilently) {
    const Bytes shortAddress = option(5, Bytes(23, 0x20));
    const Bytes shortIaNa = option(3, Bytes(11, 0));
    extract(join(
        {shortIaNa,
         iaNa(7, 0, 0, join({shortAddress, iaAddress(kAddress1, 200, 100), iaAddress(kAddress2, 100, 200)})),
         iaNa(8, 0, 0, iaAddress(kAddress1, 1, 1))}));

    // Only the first IA_NA long enough counts; the one after it is ignored.
    EXPECT_THAT(bindings(), ElementsAre("2001:db8::2/128 100/200"));
    EXPECT_THAT(traces(), IsEmpty());
}

TEST_F(LeaseExtractionTest, T1AboveANonZeroT2DiscardsTheIa) {
    EXPECT_EQ(extract(iaNa(1, 500, 400, iaAddress(kAddress1, 10, 20))), 0U);
    EXPECT_THAT(bindings(), IsEmpty());
    EXPECT_THAT(traces(), ElementsAre("\r\n Discarding message, since T1 (500) > T2 (400)"));

    addressListClear(&settings.addresses, addressListFreeItem);
    settings = {};
    EXPECT_EQ(extract(iaNa(1, 500, 0, iaAddress(kAddress1, 10, 20))), 1U);
    EXPECT_EQ(settings.t1, 500U);
}

TEST_F(LeaseExtractionTest, FailureStatusOfTheIaOrOfAnAddressDropsWhatItCovers) {
    EXPECT_EQ(extract(iaNa(1, 0, 0, join({iaAddress(kAddress1, 10, 20), statusCode(2, "none left")}))), 0U);
    EXPECT_THAT(bindings(), IsEmpty());
    EXPECT_EQ(settings.statusCode, 2U);

    addressListClear(&settings.addresses, addressListFreeItem);
    settings = {};
    EXPECT_EQ(extract(iaNa(1, 0, 0, iaAddress(kAddress1, 10, 20, statusCode(3)))), 0U);
    EXPECT_THAT(traces(), ElementsAre("\r\n Discarding settings na, since status no addresses available",
                                      "\r\n Discarding settings na, since no usable bindings"));
}

TEST_F(LeaseExtractionTest, FinalFlagAloneDecidesZeroLifetimeAddresses) {
    const Bytes released = iaNa(1, 0, 0, join({iaAddress(kAddress1, 0, 0), iaAddress(kAddress2, 5, 10)}));
    EXPECT_EQ(extract(released, /*finalFlag=*/1), 1U);
    EXPECT_THAT(bindings(), ElementsAre("2001:db8::2/128 5/10"));

    addressListClear(&settings.addresses, addressListFreeItem);
    settings = {};
    EXPECT_EQ(extract(released, /*finalFlag=*/0), 1U);
    EXPECT_EQ(bindings().size(), 2U);

    // An accepted IA_PD after the addresses drops the expired ones whatever the flag.
    addressListClear(&settings.addresses, addressListFreeItem);
    settings = {};
    EXPECT_EQ(extract(join({released, iaPd(2, 60, 90, iaPrefix(100, 200, 56, kPrefix))}), /*finalFlag=*/0),
              1U);
    EXPECT_THAT(bindings(), ElementsAre("2001:db8::2/128 5/10", "2001:db8:0:100::/56 100/200"));
    EXPECT_EQ(settings.t1, 60U);
    EXPECT_EQ(settings.t2, 90U);
}

TEST_F(LeaseExtractionTest, RefusedIaPdEmptiesTheListButAnAcceptedIaNaStillCounts) {
    EXPECT_EQ(extract(join({iaNa(1, 0, 0, iaAddress(kAddress1, 10, 20)),
                            iaPd(2, 0, 0, join({iaPrefix(100, 200, 56, kPrefix), statusCode(6)}))})),
              1U);

    EXPECT_THAT(bindings(), IsEmpty());
    EXPECT_EQ(settings.addresses.capacity, 0U);
    EXPECT_THAT(traces(), ElementsAre("\r\n Discarding settings pd, since status unknown status code"));
}

TEST_F(LeaseExtractionTest, PrefixesAloneAreReadWithTheirLength) {
    const Bytes shortPrefix = option(26, Bytes(24, 0x01));
    EXPECT_EQ(extract(iaPd(2, 0, 0,
                           join({shortPrefix, iaPrefix(100, 200, 56, kPrefix),
                                 iaPrefix(0, 0, 48, ipv6("2001:db8:1::"))}))),
              1U);

    EXPECT_THAT(bindings(), ElementsAre("2001:db8:0:100::/56 100/200"));
}

}  // namespace
