// The configuration round trip from arbitrary bytes: any configuration, written as running-configuration
// text and entered again on a daemon at its defaults, comes back with the same text and the same filters;
// and any configuration replaced by another through their differences becomes that one.

#include <cstdio>
#include <cstdlib>

#include "ConfigRoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    for (const auto play : {fuzz::playConfigRoundTrip, fuzz::playConfigReplace}) {
        fuzz::Input input(data, size);
        if (const auto failure = play(input)) {
            std::fprintf(stderr, "%s\n", failure->c_str());
            std::abort();
        }
    }
    return 0;
}
