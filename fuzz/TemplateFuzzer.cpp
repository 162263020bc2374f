// Arbitrary text as a user-defined option template. An accepted template must render within any space it
// is given, never writing past it, and a refused one must leave its fields untouched.

#include <cstring>
#include <memory>

#include "FuzzSupport.h"
#include "relay_option/OptionRendering.h"
#include "relay_option/OptionTemplate.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::fuzzSwitch();
    fuzz::Input input(data, size);
    const uint32_t space = input.byte();
    const auto [text, length] = input.take(kTemplateTextSize - 1);
    OptionTemplate parsed{};
    std::memcpy(parsed.text, text, length);
    const OptionTemplate before = parsed;
    if (dhcp6snoopingTemplateParse(&parsed) != 0) {
        fuzz::require(std::memcmp(parsed.literal, before.literal, sizeof parsed.literal) == 0 &&
                      std::memcmp(parsed.keyword, before.keyword, sizeof parsed.keyword) == 0);
        return 0;
    }
    uint8_t clientId[4 + 300] = {0, 1, 1, 44};
    const RenderFacts facts{0, 1, 2, 3, 0xC0000201, {2, 0, 0, 0, 0, 1}, clientId, ""};
    const PacketContext context{10, 10, 2};
    // The output ends where the space ends, so that a write past it is caught.
    const auto out = std::make_unique<uint8_t[]>(space);
    uint32_t written = 0;
    const int32_t result = dhcp6snoopingTemplateRender(&parsed, &context, &facts, out.get(), space, &written);
    fuzz::require(result == 0 ? written <= space : result == -1);
    return 0;
}
