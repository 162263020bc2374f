#pragma once
// What the MIB handlers share: text answers, text values and the verdict of a test.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "platform/CcdApi.h"

// Answers the zero-terminated `text` without its terminating zero.
inline void mibAnswerText(MibRequest *request, const char *text) {
    octetSet(request, text, static_cast<uint32_t>(std::strlen(text)));
}

// Copies the value carried into `text`, zeroed first, so that it can be read as a zero-terminated text
// whatever the manager sent: at most text.size() - 1 bytes are taken.
inline void mibValueText(MibRequest *request, std::span<char> text) {
    std::fill(text.begin(), text.end(), '\0');
    const size_t length = std::min<size_t>(request->valueLength, text.size() - 1);
    if (length > 0) {
        std::memcpy(text.data(), octetGet(request), length);
    }
}

// A test's verdict: each failing check replaces the verdict so far, so the last failure found stands.
class MibVerdict {
  public:
    explicit MibVerdict(uint32_t initial = 0) : result_(initial) {}
    MibVerdict &fails(bool failed, uint32_t error) {
        if (failed) {
            result_ = error;
        }
        return *this;
    }
    [[nodiscard]] uint32_t result() const { return result_; }

  private:
    uint32_t result_;
};
