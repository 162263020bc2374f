// Templates of the user-defined option content: what the parser accepts and why it refuses, and what a
// template renders for a packet.

#include <gmock/gmock.h>

#include <cstring>
#include <string>

#include "relay_option/InfoOptionConfig.h"
#include "relay_option/OptionRendering.h"
#include "support/DaemonTest.h"

namespace {

struct ParseCase {
    std::string text;
    int32_t result;
};

class TemplateParseTest : public ::testing::TestWithParam<ParseCase> {};

TEST_P(TemplateParseTest, AcceptsOrRefusesWithItsCode) {
    OptionTemplate parsed{};
    std::strncpy(parsed.text, GetParam().text.c_str(), sizeof parsed.text - 1);
    EXPECT_EQ(dhcp6snoopingTemplateParse(&parsed), GetParam().result) << GetParam().text;
}

const std::string k64(64, 'x');
INSTANTIATE_TEST_SUITE_P(
    Templates, TemplateParseTest,
    ::testing::Values(ParseCase{"%sysname-%port", 0}, ParseCase{"%PORT", 0}, ParseCase{"vlan%cvlan", 0},
                      ParseCase{"plain-text only", 0}, ParseCase{"%clientduid", 0}, ParseCase{k64, 0},
                      ParseCase{k64 + "%port-" + k64.substr(1), 0},
                      ParseCase{
                          "%sysip%sysname%portname%iftype%switchmac%frame%slot%subslot%port%svlan%cvlan%"
                          "clientduid",
                          0},
                      ParseCase{"", 1}, ParseCase{"abc%", 1}, ParseCase{"%7", 2}, ParseCase{"a%-b", 2},
                      ParseCase{"%%port", 2}, ParseCase{k64 + "y", 3}, ParseCase{"%port-" + k64, 3},
                      ParseCase{"%ports", 4}, ParseCase{"%clientduidx", 4}, ParseCase{"%nothing", 4},
                      ParseCase{"%port%Port", 5}, ParseCase{"%cvlan-%slot/%CVLAN", 5}));

TEST(TemplateFieldsTest, LiteralsAndKeywordIdsLandInTheirFields) {
    OptionTemplate parsed{};
    std::strcpy(parsed.text, "%sysname-%port");
    ASSERT_EQ(dhcp6snoopingTemplateParse(&parsed), 0);
    EXPECT_STREQ(parsed.literal[0], "");
    EXPECT_EQ(parsed.keyword[1], KEYWORD_SYSNAME);
    EXPECT_STREQ(parsed.literal[1], "-");
    EXPECT_EQ(parsed.keyword[2], KEYWORD_PORT);
    EXPECT_STREQ(parsed.literal[2], "");
    EXPECT_EQ(parsed.keyword[3], 0U);

    std::strcpy(parsed.text, "vlan%cvlan");
    ASSERT_EQ(dhcp6snoopingTemplateParse(&parsed), 0);
    EXPECT_STREQ(parsed.literal[0], "vlan");
    EXPECT_EQ(parsed.keyword[1], KEYWORD_CVLAN);
}

class RenderTest : public DaemonTest {
  protected:
    void SetUp() override { startDaemon(); }

    // The rendering of `text` for a packet of VLAN 10 on port 7, or "-1" when it fails.
    std::string render(const char *text, uint32_t space = 512, uint16_t vlan = 10, uint16_t port0 = 6) {
        OptionTemplate parsed{};
        std::strcpy(parsed.text, text);
        EXPECT_EQ(dhcp6snoopingTemplateParse(&parsed), 0) << text;
        const PacketContext context{vlan, vlan, port0};
        uint8_t out[512] = {};
        uint32_t written = 99;
        if (dhcp6snoopingTemplateRender(&parsed, &context, &facts, out, space, &written) != 0) {
            return "-1";
        }
        return {reinterpret_cast<const char *>(out), written};
    }

    RenderFacts facts{0, 1, 0, 7, 0xC0000201, {0x02, 0x1A, 0x2B, 0x80, 0xFF, 0x01}, nullptr, ""};
};

TEST_F(RenderTest, EveryKeywordRendersItsFact) {
    EXPECT_EQ(render("%cvlan-%port"), "0010-7");
    EXPECT_EQ(render("%svlan/%frame/%sysname/%slot.%subslot"), "4096/0//1.0");
    EXPECT_EQ(render("%sysip %switchmac"), "192.0.2.1 021a2b80ff01");
    EXPECT_EQ(render("%portname:%clientduid"), "ethernet1/0/7:");
    sw.setPortType(7, 7);
    EXPECT_EQ(render("%iftype"), "Unkown");
    sw.setPortType(7, 10);
    EXPECT_EQ(render("%iftype"), "25Gigabit Ethernet");
}

TEST_F(RenderTest, ClientIdentifierIsCopiedRawUpTo256Bytes) {
    uint8_t option[4 + 300];
    option[0] = 0;
    option[1] = 1;
    option[2] = 300 >> 8;
    option[3] = 300 & 0xFF;
    for (uint32_t i = 0; i < 300; ++i) {
        option[4 + i] = static_cast<uint8_t>(i);
    }
    facts.clientId = option;
    const std::string rendered = render("%clientduid");
    ASSERT_EQ(rendered.size(), 256U);
    EXPECT_EQ(static_cast<uint8_t>(rendered[255]), 255);
    option[3] = 0;
    option[2] = 0;
    EXPECT_EQ(render("id%clientduid"), "id");
}

TEST_F(RenderTest, ContentMustFitTheSpaceAndThePacketItsRanges) {
    EXPECT_EQ(render("%cvlan-%port", 6), "0010-7");
    EXPECT_EQ(render("%cvlan-%port", 5), "-1");
    EXPECT_EQ(render("%port", 512, 4095), "-1");
    EXPECT_EQ(render("%port", 512, 0), "-1");
    EXPECT_EQ(render("%port", 512, 10, 24), "-1");  // PortIndex 25 on a 24-port switch
    EXPECT_EQ(render("%port", 512, 10, 23), "7");
}

}  // namespace
