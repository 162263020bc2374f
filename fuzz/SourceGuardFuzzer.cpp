// The source-guard sequence from arbitrary bytes: any order of clients, bindings, port modes, exempt VLANs,
// aging and removals must leave the switch with exactly the filters the daemon's state implies.

#include <cstdio>
#include <cstdlib>

#include "SourceGuardSequence.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::Input input(data, size);
    if (const auto failure = fuzz::playSourceGuardSequence(input)) {
        std::fprintf(stderr, "%s\n", failure->c_str());
        std::abort();
    }
    return 0;
}
