// The console, address text conversion and heap calls of the simulated switch.

#include <arpa/inet.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "SimState.h"
#include "Text.h"
#include "platform/VosApi.h"

using switchsim::activeSim;

namespace {

// The blocks vosCalloc handed out and vosFree has not taken back, for the life of the process: the daemon's
// memory outlives any one switch.
int64_t liveBlocks = 0;

}  // namespace

int64_t switchsim::Switch::allocatedBlocks() {
    return liveBlocks;
}

extern "C" {

int32_t vosPrintf(const char *format, ...) {
    auto &sim = activeSim();
    if (format == nullptr) {
        return -1;
    }
    va_list args;
    va_start(args, format);
    std::string text = switchsim::formatText(format, args);
    va_end(args);
    if (sim.echoConsole) {
        std::fputs(text.c_str(), stderr);
    }
    sim.console.push_back(std::move(text));
    return static_cast<int32_t>(sim.console.back().size());
}

void *vosCalloc(size_t count, size_t size) {
    if (switchsim::activeSim().failures.take("vosCalloc")) {
        return nullptr;
    }
    void *memory = std::calloc(count, size);
    liveBlocks += memory != nullptr ? 1 : 0;
    return memory;
}

void vosFree(void *memory) {
    liveBlocks -= memory != nullptr ? 1 : 0;
    std::free(memory);
}
}
