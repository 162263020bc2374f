#pragma once
// A user-defined content of option 18 or 37: literal texts and "%" keywords, parsed once when the operator
// enters it and rendered for every packet. "%cvlan-%port" is the keyword cvlan, the literal "-" and the
// keyword port.

#include <cstddef>
#include <cstdint>

inline constexpr uint32_t kTemplateTextSize = 129;  // 128 characters and a zero
inline constexpr uint32_t kTemplateFields = 13;
inline constexpr uint32_t kLiteralSize = 65;  // 64 characters and a zero
inline constexpr uint32_t kKeywordLetters = 10;

extern "C" {

struct OptionTemplate {
    char text[kTemplateTextSize];  // as entered
    // literal[0]: the text before the first keyword; literal[k]: the text after keyword k.
    char literal[kTemplateFields][kLiteralSize];
    // keyword[0] is 0; keyword[1] onwards the ids of the keywords in order, ended by the first 0.
    uint32_t keyword[kTemplateFields];
};
static_assert(sizeof(OptionTemplate) == 1028);
static_assert(offsetof(OptionTemplate, literal) == 129);
static_assert(offsetof(OptionTemplate, keyword) == 976);

enum TemplateKeyword : uint32_t {
    KEYWORD_SYSIP = 1,
    KEYWORD_SYSNAME,
    KEYWORD_PORTNAME,
    KEYWORD_IFTYPE,
    KEYWORD_SWITCHMAC,
    KEYWORD_FRAME,
    KEYWORD_SLOT,
    KEYWORD_SUBSLOT,
    KEYWORD_PORT,
    KEYWORD_SVLAN,
    KEYWORD_CVLAN,
    KEYWORD_CLIENTDUID,
};
inline constexpr uint32_t kKeywordCount = 12;

// Why a template is refused.
enum TemplateError : int32_t {
    TEMPLATE_EMPTY_OR_TRAILING_PERCENT = 1,
    TEMPLATE_PERCENT_WITHOUT_LETTER = 2,
    TEMPLATE_LITERAL_TOO_LONG = 3,
    TEMPLATE_UNKNOWN_KEYWORD = 4,
    TEMPLATE_REPEATED_KEYWORD = 5,
    TEMPLATE_FIELD_COUNT = 6,
    TEMPLATE_REBUILT_DIFFERS = 7,
    TEMPLATE_NO_MEMORY = 8,
};

// Parses the text field of `parsed` into its literals and keywords. Returns 0, or a TemplateError with the
// literal and keyword fields as they were.
int32_t dhcp6snoopingTemplateParse(OptionTemplate *parsed);

// Copies a parsed template into *stored, allocating the record zero-filled the first time. Returns 0, or 8
// when there is no memory.
int32_t dhcp6snoopingTemplateStore(OptionTemplate **stored, const OptionTemplate *parsed);
}

// The name of a keyword id, "" for an unknown one.
const char *templateKeywordName(uint32_t id);
