#include "relay_option/OptionTemplate.h"

#include <strings.h>

#include <array>
#include <cstdio>
#include <cstring>

#include "mgmt_protocol/Vocabulary.h"
#include "platform/VosApi.h"

namespace {

// Index 0 is the empty name, which the lookup never tries. Every name is a literal, so it ends in a zero.
constexpr const auto &kKeywordNames = mgmt::kTemplateKeywordNames;
static_assert(kKeywordNames.size() == kKeywordCount + 1);

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

uint32_t keywordId(const char *name) {
    for (uint32_t id = 1; id <= kKeywordCount; ++id) {
        if (strcasecmp(name, kKeywordNames[id].data()) == 0) {
            return id;
        }
    }
    return 0;
}

// The fields as they are collected: the keyword and literal being read, and those closed so far.
class Fields {
  public:
    explicit Fields(bool startsWithKeyword) : count_(startsWithKeyword ? 1 : 0) {}

    // The next character of the keyword or the literal; a TemplateError when the field grows too long.
    int32_t addToKeyword(char c) {
        if (keywordLength_ == kKeywordLetters) {
            return TEMPLATE_UNKNOWN_KEYWORD;
        }
        keyword_[keywordLength_++] = c;
        return 0;
    }
    int32_t addToLiteral(char c) {
        if (literalLength_ == kLiteralSize - 1) {
            return TEMPLATE_LITERAL_TOO_LONG;
        }
        literal_[literalLength_++] = c;
        return 0;
    }
    [[nodiscard]] bool inLiteral() const { return literalLength_ != 0; }
    [[nodiscard]] uint32_t count() const { return count_; }

    // Closes the keyword and literal read since the last "%".
    int32_t close() {
        if (keywordLength_ != 0) {
            const uint32_t id = keywordId(keyword_);
            if (id == 0) {
                return TEMPLATE_UNKNOWN_KEYWORD;
            }
            for (uint32_t k = 1; k < count_; ++k) {
                if (result_.keyword[k] == id) {
                    return TEMPLATE_REPEATED_KEYWORD;
                }
            }
            if (count_ == kTemplateFields) {  // only a thirteenth keyword gets here, and it must repeat one
                return TEMPLATE_REPEATED_KEYWORD;
            }
            result_.keyword[count_] = id;
            std::memcpy(result_.literal[count_], literal_, sizeof literal_);
            ++count_;
        } else if (literalLength_ != 0 && count_ == 0) {
            std::memcpy(result_.literal[0], literal_, sizeof literal_);
            count_ = 1;
        }
        std::memset(keyword_, 0, sizeof keyword_);
        std::memset(literal_, 0, sizeof literal_);
        keywordLength_ = 0;
        literalLength_ = 0;
        return 0;
    }

    [[nodiscard]] const OptionTemplate &result() const { return result_; }

  private:
    OptionTemplate result_{};
    char keyword_[kKeywordLetters + 1] = {};
    char literal_[kLiteralSize] = {};
    uint32_t keywordLength_ = 0;
    uint32_t literalLength_ = 0;
    uint32_t count_;
};

// The template written back from its fields must be what was entered, keyword for keyword.
int32_t checkRebuilt(const OptionTemplate &fields, uint32_t count, const char *entered) {
    char rebuilt[kTemplateFields * (kLiteralSize + kKeywordLetters + 1) + 1] = {};
    int length = std::snprintf(rebuilt, sizeof rebuilt, "%s", fields.literal[0]);
    uint32_t k = 1;
    for (; k < kTemplateFields && fields.keyword[k] != 0; ++k) {
        length += std::snprintf(rebuilt + length, sizeof rebuilt - static_cast<size_t>(length), "%%%s%s",
                                templateKeywordName(fields.keyword[k]), fields.literal[k]);
    }
    if (k != count) {
        return TEMPLATE_FIELD_COUNT;
    }
    return strcasecmp(rebuilt, entered) == 0 ? 0 : TEMPLATE_REBUILT_DIFFERS;
}

}  // namespace

const char *templateKeywordName(uint32_t id) {
    return id <= kKeywordCount ? kKeywordNames[id].data() : kKeywordNames[0].data();
}

extern "C" {

int32_t dhcp6snoopingTemplateParse(OptionTemplate *parsed) {
    const char *text = parsed->text;
    const size_t length = strnlen(text, kTemplateTextSize - 1);
    if (length == 0 || text[length - 1] == '%') {
        return TEMPLATE_EMPTY_OR_TRAILING_PERCENT;
    }
    Fields fields(text[0] == '%');
    for (size_t i = 0; i < length; ++i) {
        const char c = text[i];
        int32_t error = 0;
        if (c == '%') {
            error = isLetter(text[i + 1]) ? fields.close() : TEMPLATE_PERCENT_WITHOUT_LETTER;
        } else if (isLetter(c) && !fields.inLiteral() && fields.count() > 0) {
            error = fields.addToKeyword(c);
        } else {
            error = fields.addToLiteral(c);
        }
        if (error != 0) {
            return error;
        }
    }
    if (const int32_t error = fields.close(); error != 0) {
        return error;
    }
    char entered[kTemplateTextSize] = {};
    std::memcpy(entered, text, length);
    if (const int32_t error = checkRebuilt(fields.result(), fields.count(), entered); error != 0) {
        return error;
    }
    std::memcpy(parsed->literal, fields.result().literal, sizeof parsed->literal);
    std::memcpy(parsed->keyword, fields.result().keyword, sizeof parsed->keyword);
    return 0;
}

int32_t dhcp6snoopingTemplateStore(OptionTemplate **stored, const OptionTemplate *parsed) {
    if (*stored == nullptr) {
        *stored = static_cast<OptionTemplate *>(vosCalloc(1, sizeof(OptionTemplate)));
        if (*stored == nullptr) {
            return TEMPLATE_NO_MEMORY;
        }
    }
    std::memcpy(*stored, parsed, sizeof(OptionTemplate));
    return 0;
}
}
