// Writes the seed corpus of the options fuzzer into the folder given: the options areas of messages made by
// the frame builder, one file each.

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "switchsim/Dhcp6FrameBuilder.h"

using namespace switchsim::dhcp6;
using switchsim::Bytes;
using switchsim::ipv6;
using switchsim::mac;

namespace {

std::vector<Bytes> seeds() {
    const Bytes client = clientId(duidLl(mac("02:00:00:00:00:01")));
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

}  // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <corpus folder>\n", argv[0]);
        return 2;
    }
    int number = 0;
    for (const Bytes &seed : seeds()) {
        std::ofstream out(std::string(argv[1]) + "/seed-" + std::to_string(number++), std::ios::binary);
        out.write(reinterpret_cast<const char *>(seed.data()), static_cast<std::streamsize>(seed.size()));
        if (!out) {
            std::fprintf(stderr, "cannot write the corpus into %s\n", argv[1]);
            return 1;
        }
    }
    return 0;
}
