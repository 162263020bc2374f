#pragma once
// What the MIB handlers share: the way a request is served by mode, text answers, text values and the
// verdict of a test.

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

// The parts of one group's handler. Every handler serves its objects the same way: an object that is not
// the group's is no such instance; get-next moves the request to the next instance and then answers as a
// get does; a test judges the value and changes nothing; modes other than these four are answered 0.
struct MibGroupParts {
    bool (*serves)(uint16_t objectId);
    // Moves the request to the next instance: 0, or the code to answer at once.
    uint32_t (*next)(MibRequest *request);
    uint32_t (*get)(uint32_t mode, MibRequest *request);
    // Null for a read-only group, whose tests and sets are answered 0.
    uint32_t (*test)(MibRequest *request);
    uint32_t (*set)(MibRequest *request);
};

inline uint32_t mibServe(uint32_t mode, MibRequest *request, const MibGroupParts &group) {
    if (!group.serves(request->objectId)) {
        return ccdErrorNoSuchInstance();
    }
    switch (mode) {
        case MIB_MODE_GET_NEXT:
            if (const uint32_t moved = group.next(request); moved != 0) {
                return moved;
            }
            return group.get(mode, request);
        case MIB_MODE_GET:
            return group.get(mode, request);
        case MIB_MODE_TEST:
            return group.test != nullptr ? group.test(request) : 0;
        case MIB_MODE_SET:
            return group.set != nullptr ? group.set(request) : 0;
        default:
            return 0;
    }
}
