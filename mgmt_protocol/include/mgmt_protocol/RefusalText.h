#pragma once
// The daemon answers a refused call with a number; the operator reads a sentence. Each call's answers are
// listed with what they mean, and the sentence names what the command was about.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace mgmt {

// One answer of one call and its meaning; "{}" in the text stands for the subject of the command.
struct RefusalMeaning {
    uint32_t callNumber;
    int32_t result;
    const char *text;
};

// Every answer other than 0 that a call is known to give, besides the platform's own (MessageLayout.h).
std::span<const RefusalMeaning> refusalMeanings();

// The sentence for answer `result` of call `callNumber` about `subject`, say "binding 2001:db8::1" or
// "port swp3". An answer no table lists still gets a sentence, with its number.
std::string refusalSentence(uint32_t callNumber, int32_t result, std::string_view subject);

}  // namespace mgmt
