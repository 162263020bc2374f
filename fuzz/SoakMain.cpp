// Runs the churn soak (Soak.h) for a simulated time and prints what it did.
//
//   dhcp6snooping-soak [--hours H | --seconds S] [--seed N]
//
// A day (--hours 24) is the full soak; the tests run a bounded slice. Exit code 0 when every check held, 1
// when one failed (what failed is printed), 2 for a bad command line.

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "Soak.h"

namespace {

bool number(const char *text, uint32_t &value) {
    char *end = nullptr;
    const unsigned long parsed = std::strtoul(text, &end, 10);
    if (end == text || *end != '\0' || parsed > 0xFFFFFFFFUL) {
        return false;
    }
    value = static_cast<uint32_t>(parsed);
    return true;
}

}  // namespace

int main(int argc, char **argv) {
    uint32_t seconds = 3600;
    uint32_t seed = 1;
    for (int i = 1; i < argc; ++i) {
        const std::string_view option = argv[i];
        uint32_t value = 0;
        if (i + 1 >= argc || !number(argv[i + 1], value)) {
            std::fprintf(stderr, "usage: %s [--hours H | --seconds S] [--seed N]\n", argv[0]);
            return 2;
        }
        ++i;
        if (option == "--hours") {
            seconds = value * 3600;
        } else if (option == "--seconds") {
            seconds = value;
        } else if (option == "--seed") {
            seed = value;
        } else {
            std::fprintf(stderr, "usage: %s [--hours H | --seconds S] [--seed N]\n", argv[0]);
            return 2;
        }
    }
    fuzz::SoakFigures figures;
    const auto failure = fuzz::playSoak(seconds, seed, figures);
    std::printf(
        "soak: %u simulated seconds in %u steps: %u exchanges, %u renewals, %u configuration changes "
        "(each entered again on a fresh daemon), at most %u clients and %u filters\n",
        figures.simulatedSeconds, figures.steps, figures.exchanges, figures.renewals,
        figures.configurationChanges, figures.peakClients, figures.peakFilters);
    if (failure) {
        std::printf("soak failed: %s\n", failure->c_str());
        return 1;
    }
    return 0;
}
