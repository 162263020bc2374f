#pragma once
// What the MIB engine holds of a request while a handler serves it, shared by the engine that makes the
// request (MibEngine.cpp) and the agent calls with which the handler reads and answers it
// (MibAgentCalls.cpp). MibRequest::agent points to it.

#include <algorithm>
#include <cstdint>
#include <memory>

#include "platform_support/MibEngine.h"

namespace mibengine {

struct MibRequestContext {
    explicit MibRequestContext(const Octets &value)
        : carried(std::make_unique<uint8_t[]>(value.size())),
          carriedLength(static_cast<uint32_t>(value.size())) {
        std::ranges::copy(value, carried.get());
    }

    // The value carried, in a buffer of exactly its length, so that reading past it is caught by
    // AddressSanitizer.
    std::unique_ptr<uint8_t[]> carried;
    uint32_t carriedLength;
    MibValue answer;
};

// A handler broke the agent's contract: prints what it did on standard error and aborts.
[[noreturn]] void mibContractBroken(const char *what);

}  // namespace mibengine
