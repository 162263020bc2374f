// The option walker, the message and status names, and locating the message in a frame.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "snooping/Dhcp6Options.h"

namespace {

using Bytes = std::vector<uint8_t>;

// Options area: Client Identifier (2 bytes), IA_NA (0 bytes), Status Code 2 "no", Client Identifier
// (1 byte), then 3 trailing bytes.
const Bytes kArea = {
    0x00, 0x01, 0x00, 0x02, 0xAA, 0xBB,            // option 1, length 2
    0x00, 0x03, 0x00, 0x00,                        // option 3, length 0
    0x00, 0x0D, 0x00, 0x04, 0x00, 0x02, 'n', 'o',  // option 13, status 2, message "no"
    0x00, 0x01, 0x00, 0x01, 0xCC,                  // option 1, length 1
    0x00, 0x01, 0x00,                              // too short for a header
};

struct Found {
    uint32_t offset;
    uint32_t length;
};

// Every option of `code` in `area`, visited with a cursor, as offsets into the area.
std::vector<Found> visitAll(uint16_t code, const Bytes &area) {
    std::vector<Found> found;
    OptionCursor cursor{};
    uint32_t length = 0;
    for (const uint8_t *option = dhcp6FindOption(code, &length, area.data(), area.size(), &cursor);
         option != nullptr; option = dhcp6FindOption(code, &length, nullptr, 0, &cursor)) {
        found.push_back({static_cast<uint32_t>(option - area.data()), length});
    }
    EXPECT_EQ(cursor.position, nullptr);
    EXPECT_EQ(cursor.remaining, 0U);
    return found;
}

MATCHER_P2(IsOption, offset, length, "") {
    return arg.offset == static_cast<uint32_t>(offset) && arg.length == static_cast<uint32_t>(length);
}

TEST(Dhcp6Names, MessageTypesAndStatusCodesHaveTheirTraceNames) {
    EXPECT_STREQ(dhcp6MessageName(1), "SOLICIT");
    EXPECT_STREQ(dhcp6MessageName(7), "REPLY");
    EXPECT_STREQ(dhcp6MessageName(11), "INFORMATION_REQUEST");
    EXPECT_STREQ(dhcp6MessageName(13), "RELAY_REPLY");
    for (const uint8_t unknown : {0, 14, 255}) {
        EXPECT_STREQ(dhcp6MessageName(unknown), "UNKNOWN") << int{unknown};
    }
    EXPECT_STREQ(dhcp6StatusText(0), "success");
    EXPECT_STREQ(dhcp6StatusText(2), "no addresses available");
    EXPECT_STREQ(dhcp6StatusText(5), "use multicast");
    EXPECT_STREQ(dhcp6StatusText(6), "unknown status code");
    EXPECT_STREQ(dhcp6StatusText(0xFFFF), "unknown status code");
}

TEST(OptionWalker, CursorVisitsEveryOptionOfACodeInOrderAndEndsEmpty) {
    EXPECT_THAT(visitAll(1, kArea), testing::ElementsAre(IsOption(0, 2), IsOption(18, 1)));
    // A zero-length option is an option like any other.
    EXPECT_THAT(visitAll(3, kArea), testing::ElementsAre(IsOption(6, 0)));
    EXPECT_THAT(visitAll(5, kArea), testing::IsEmpty());
    // Codes are compared as whole 16-bit values.
    EXPECT_THAT(visitAll(0x0101, kArea), testing::IsEmpty());
}

TEST(OptionWalker, CursorIsWrittenButNotReadWhenAnAreaIsGiven) {
    OptionCursor cursor{kArea.data() + 18, 5};
    uint32_t length = 0;
    EXPECT_EQ(dhcp6FindOption(1, &length, kArea.data(), kArea.size(), &cursor), kArea.data());
    EXPECT_EQ(cursor.position, kArea.data() + 6);
    EXPECT_EQ(cursor.remaining, kArea.size() - 6);

    OptionCursor empty{};
    EXPECT_EQ(dhcp6FindOption(1, &length, nullptr, 0, &empty), nullptr);
    EXPECT_EQ(dhcp6FindOption(1, &length, nullptr, 0, nullptr), nullptr);
}

TEST(OptionWalker, OptionRunningPastTheAreaEndsTheWalk) {
    const Bytes area = {
        0x00, 0x01, 0x00, 0x00,        // option 1, length 0
        0x00, 0x02, 0x00, 0x05, 0xEE,  // option 2 claims 5 bytes, 1 left
        0x00, 0x03, 0x00, 0x00,        // option 3: inside the claimed length, never seen
    };
    uint32_t length = 99;
    EXPECT_EQ(dhcp6FindOption(1, &length, area.data(), area.size(), nullptr), area.data());
    EXPECT_EQ(length, 0U);
    OptionCursor cursor{};
    EXPECT_EQ(dhcp6FindOption(3, &length, area.data(), area.size(), &cursor), nullptr);
    EXPECT_EQ(cursor.position, nullptr);
    EXPECT_EQ(cursor.remaining, 0U);
}

// Every prefix of a good area, copied to a buffer of exactly its size, so that the sanitizer sees any read
// past the end; whatever is found lies wholly inside the prefix.
TEST(OptionWalker, NeverReadsOutsideAnyCutOfTheArea) {
    for (size_t size = 0; size <= kArea.size(); ++size) {
        const Bytes cut(kArea.begin(), kArea.begin() + static_cast<std::ptrdiff_t>(size));
        for (const uint16_t code : {1, 3, 13, 0xFFFF}) {
            for (const Found &found : visitAll(code, cut)) {
                EXPECT_LE(found.offset + kOptionHeaderSize + found.length, size) << "code " << code;
            }
        }
        const uint16_t status = dhcp6AreaStatus(cut.data(), cut.size(), nullptr);
        EXPECT_EQ(status, size >= 18 ? 2 : 0) << "size " << size;
    }
}

TEST(AreaStatus, ShortStatusCodeMeansSuccessAndTheMessageIsNeverRead) {
    const Bytes noCode = {0x00, 0x0D, 0x00, 0x01, 0x07};
    const Bytes withText = {0x00, 0x0D, 0x00, 0x03, 0x00, 0x06, 'x', 0x00, 0x0D, 0x00, 0x02, 0x00, 0x01};
    const char *message = "untouched";
    EXPECT_EQ(dhcp6AreaStatus(noCode.data(), noCode.size(), &message), 0);
    EXPECT_EQ(message, nullptr);
    // The first Status Code decides even when a later one says something else.
    EXPECT_EQ(dhcp6AreaStatus(withText.data(), withText.size(), nullptr), 6);
    EXPECT_EQ(dhcp6AreaStatus(nullptr, 0, nullptr), 0);
}

TEST(LocateMessage, OptionsStartFourBytesIntoEveryMessageRelaysIncluded) {
    // A RELAY_FORWARD: hop-count and the link address are not recognised as such; the walk starts at byte 4.
    const Bytes frame = {0xEE, 0xEE, 12, 0x01, 0x00, 0x00, 0x00, 0x12, 0x00, 0x00};
    Dhcp6Message message{};
    ASSERT_TRUE(dhcp6LocateMessage(frame.data(), frame.size(), 2, &message));
    EXPECT_EQ(message.type, 12);
    EXPECT_EQ(message.options, frame.data() + 6);
    EXPECT_EQ(message.optionsLength, 4U);
    uint32_t length = 0;
    EXPECT_EQ(dhcp6FindOption(0x12, &length, message.options, message.optionsLength, nullptr),
              message.options);
}

TEST(LocateMessage, FrameTooShortForTheMessageHeaderHasNoMessage) {
    const Bytes frame(10, 0);
    Dhcp6Message message{};
    EXPECT_TRUE(dhcp6LocateMessage(frame.data(), frame.size(), 6, &message));
    EXPECT_EQ(message.optionsLength, 0U);
    EXPECT_FALSE(dhcp6LocateMessage(frame.data(), frame.size(), 7, &message));
    EXPECT_FALSE(dhcp6LocateMessage(frame.data(), frame.size(), 0xFFFF, &message));
}

}  // namespace
