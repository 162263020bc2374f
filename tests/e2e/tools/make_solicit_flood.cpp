// Writes a capture of SOLICITs from distinct random MACs, the flood that the end-to-end test replays into an
// untrusted port: usage make_solicit_flood OUT.pcap COUNT [SEED].

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <random>
#include <string>
#include <vector>

#include "switchsim/Dhcp6FrameBuilder.h"
#include "switchsim/Pcap.h"

namespace dhcp6 = switchsim::dhcp6;

int main(int argc, char *argv[]) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s OUT.pcap COUNT [SEED]\n", argv[0]);
        return 2;
    }
    try {
        const auto count = std::stoul(argv[2]);
        std::mt19937_64 random(argc > 3 ? std::stoull(argv[3]) : 1);
        std::vector<switchsim::Bytes> frames;
        frames.reserve(count);
        for (unsigned long i = 0; i < count; ++i) {
            const uint64_t bits = random();
            switchsim::MacAddress mac{};
            for (size_t b = 0; b < mac.size(); ++b) {
                mac[b] = static_cast<uint8_t>(bits >> (8 * b));
            }
            mac[0] = static_cast<uint8_t>((mac[0] & 0xFCU) | 0x02U);  // unicast, locally administered
            const auto options = dhcp6::join({dhcp6::clientId(dhcp6::duidLl(mac)), dhcp6::elapsedTime(0),
                                              dhcp6::iaNa(static_cast<uint32_t>(i), 0, 0)});
            frames.push_back(dhcp6::buildDhcp6Frame(dhcp6::fromClient(dhcp6::SOLICIT, mac, options)).bytes);
        }
        switchsim::writePcap(argv[1], frames);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
    return 0;
}
