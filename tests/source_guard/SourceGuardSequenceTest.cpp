// Random sequences of everything that moves source-guard filters; after every step the switch must hold
// exactly the filters the daemon's state implies (see fuzz/SourceGuardSequence.h, which the fuzz target
// plays from arbitrary bytes).

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "SourceGuardSequence.h"

namespace {

TEST(SourceGuardSequenceTest, FiltersFollowTheStateThroughRandomSequences) {
    std::mt19937 random(20261123);
    for (int sequence = 0; sequence < 300; ++sequence) {
        std::vector<uint8_t> bytes(240);
        for (uint8_t &byte : bytes) {
            byte = static_cast<uint8_t>(random());
        }
        fuzz::Input input(bytes.data(), bytes.size());
        const auto failure = fuzz::playSourceGuardSequence(input);
        ASSERT_FALSE(failure.has_value()) << "sequence " << sequence << ": " << *failure;
    }
}

}  // namespace
