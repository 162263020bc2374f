// Writes the seed corpus of a fuzz target into the folder given, one file per seed, from messages made by
// the frame builder: "options" gets options areas, "receive" gets runs of frames with their switch state.

#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "switchsim/Dhcp6FrameBuilder.h"

using namespace switchsim::dhcp6;
using switchsim::Bytes;
using switchsim::ipv6;
using switchsim::mac;

namespace {

const auto kClient = mac("02:00:00:00:00:01");
const auto kServer = mac("00:00:5e:00:53:ff");

std::vector<Bytes> optionAreas() {
    const Bytes client = clientId(duidLl(kClient));
    const Bytes address1 = iaAddress(ipv6("2001:db8::1"), 600, 900);
    const Bytes address2 = iaAddress(ipv6("2001:db8::2"), 0, 0, statusCode(2, "gone"));
    const Bytes prefix = iaPrefix(300, 600, 56, ipv6("2001:db8:0:100::"));
    return {
        client,
        join({client, iaNa(1, 300, 480, join({address1, address2}))}),
        join({client, iaNa(1, 500, 400, address1)}),
        join({client, iaNa(1, 0, 0, join({address1, statusCode(0)})), iaPd(2, 100, 200, prefix)}),
        join({iaPd(2, 0, 0, join({prefix, statusCode(6, "odd")})), iaNa(3, 0, 0, address1)}),
        join({interfaceId(Bytes{'e', 't', 'h', '3'}), remoteId(9, Bytes{1, 2, 3}), client}),
        join({option(3, Bytes(11, 0)), option(5, Bytes(23, 0)), option(26, Bytes(24, 0))}),
    };
}

// One record of the receive target: port, VLAN and flag selectors, payload offset, length, frame.
Bytes record(uint8_t port, uint8_t flags, const Dhcp6Frame &frame) {
    const BuiltFrame built = buildDhcp6Frame(frame);
    Bytes bytes = {static_cast<uint8_t>(port - 1),
                   0,
                   flags,
                   static_cast<uint8_t>(built.info.payloadOffset),
                   static_cast<uint8_t>(built.bytes.size() >> 8),
                   static_cast<uint8_t>(built.bytes.size())};
    bytes.insert(bytes.end(), built.bytes.begin(), built.bytes.end());
    return bytes;
}

std::vector<Bytes> receiveRuns() {
    constexpr uint8_t kOn = 0x01;
    constexpr uint8_t kTrusted = 0x02;
    constexpr uint8_t kGuarded = 0x04;
    const Bytes granted =
        iaNa(1, 0, 0, join({iaAddress(ipv6("2001:db8::1"), 5, 9), iaAddress(ipv6("2001:db8::2"), 5, 9)}));
    const Bytes released = iaNa(1, 0, 0, iaAddress(ipv6("2001:db8::1"), 0, 0));
    return {
        join({record(3, kOn | kGuarded, fromClient(SOLICIT, kClient, {})),
              record(1, kOn | kTrusted, fromServer(ADVERTISE, kServer, kClient, {})),
              record(3, kOn | kGuarded, fromClient(REQUEST, kClient, {})),
              record(1, kOn | kTrusted, fromServer(REPLY, kServer, kClient, granted)),
              record(3, kOn | kGuarded, fromClient(RELEASE, kClient, released))}),
        join({record(3, kOn, fromClient(SOLICIT, kClient, {})),
              record(4, kOn, fromClient(REQUEST, kClient, {})),
              record(4, kOn | kTrusted, fromServer(REPLY, kServer, kClient, granted))}),
        record(5, kOn, fromServer(RELAY_REPLY, kServer, kClient, {})),
    };
}

}  // namespace

int main(int argc, char **argv) {
    const std::string_view target = argc == 3 ? argv[1] : "";
    if (target != "options" && target != "receive") {
        std::fprintf(stderr, "usage: %s options|receive <corpus folder>\n", argv[0]);
        return 2;
    }
    int number = 0;
    for (const Bytes &seed : target == "options" ? optionAreas() : receiveRuns()) {
        std::ofstream out(std::string(argv[2]) + "/seed-" + std::to_string(number++), std::ios::binary);
        out.write(reinterpret_cast<const char *>(seed.data()), static_cast<std::streamsize>(seed.size()));
        if (!out) {
            std::fprintf(stderr, "cannot write the corpus into %s\n", argv[2]);
            return 1;
        }
    }
    return 0;
}
