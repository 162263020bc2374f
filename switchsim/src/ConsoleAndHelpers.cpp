// The console, address text conversion and heap calls of the simulated switch.

#include <arpa/inet.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "SimState.h"
#include "Text.h"
#include "platform/VosApi.h"

using switchsim::activeSim;

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

int32_t vosInetNtop(int32_t family, const void *address, char *text, uint32_t textSize) {
    if (family != VOS_AF_INET6 || address == nullptr || text == nullptr) {
        return -1;
    }
    return inet_ntop(AF_INET6, address, text, textSize) != nullptr ? 0 : -1;
}

int32_t vosInetPton(int32_t family, const char *text, void *address) {
    if (family != VOS_AF_INET6 || text == nullptr || address == nullptr) {
        return -1;
    }
    return inet_pton(AF_INET6, text, address) == 1 ? 0 : -1;
}

void *vosCalloc(size_t count, size_t size) {
    if (switchsim::activeSim().failures.take("vosCalloc")) {
        return nullptr;
    }
    return std::calloc(count, size);
}

void vosFree(void *memory) {
    std::free(memory);
}
}
