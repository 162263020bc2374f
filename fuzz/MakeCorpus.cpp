// Writes the seed corpus of a fuzz target into the folder given, one file per seed: "options" gets options
// areas and "receive" runs of frames with their switch state, both made by the frame builder; "management"
// gets remote calls and raw messages, "source_guard" steps of the source-guard sequence.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>
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

// Operations of the receive target (see ReceiveFuzzer.cpp): opcode and arguments.
Bytes frameOp(uint8_t port, const Dhcp6Frame &frame) {
    const BuiltFrame built = buildDhcp6Frame(frame);
    Bytes bytes = {0,
                   static_cast<uint8_t>(port - 1),
                   0,
                   0,
                   static_cast<uint8_t>(built.info.payloadOffset),
                   static_cast<uint8_t>(built.bytes.size() >> 8),
                   static_cast<uint8_t>(built.bytes.size())};
    bytes.insert(bytes.end(), built.bytes.begin(), built.bytes.end());
    return bytes;
}

constexpr uint8_t kTrust = 0, kGuard = 1;
Bytes settingOp(uint8_t port, uint8_t setting, uint8_t value) {
    return {1, static_cast<uint8_t>(port - 1), setting, value};
}
const Bytes kSnoopingOn = {2, 1};
const Bytes kTraceOn = {6, 1};
Bytes learnOp(uint8_t macByte, uint8_t port) {
    return {3, macByte, 0, static_cast<uint8_t>(port - 1)};
}
Bytes ticksOp(uint8_t count) {
    return {4, count};
}
Bytes linkDownOp(uint8_t port) {
    return {5, static_cast<uint8_t>(port - 1), 0};
}

std::vector<Bytes> receiveRuns() {
    const Bytes granted =
        iaNa(1, 0, 0, join({iaAddress(ipv6("2001:db8::1"), 5, 9), iaAddress(ipv6("2001:db8::2"), 5, 9)}));
    const Bytes released = iaNa(1, 0, 0, iaAddress(ipv6("2001:db8::1"), 0, 0));
    const Bytes setUp = join({Bytes{0x0F}, settingOp(1, kTrust, 1), settingOp(3, kGuard, 3), kSnoopingOn,
                              kTraceOn, learnOp(0x01, 3)});
    return {
        join({setUp, frameOp(3, fromClient(SOLICIT, kClient, {})),
              frameOp(1, fromServer(ADVERTISE, kServer, kClient, {})),
              frameOp(3, fromClient(REQUEST, kClient, {})),
              frameOp(1, fromServer(REPLY, kServer, kClient, granted)), ticksOp(6),
              frameOp(3, fromClient(RELEASE, kClient, released))}),
        join({setUp, frameOp(3, fromClient(SOLICIT, kClient, {})),
              frameOp(4, fromClient(REQUEST, kClient, {})),
              frameOp(1, fromServer(REPLY, kServer, kClient, granted)), linkDownOp(4)}),
        join({Bytes{0}, kSnoopingOn, frameOp(5, fromServer(RELAY_REPLY, kServer, kClient, {}))}),
    };
}

// Remote calls in the management target's form: kind 1, call, argument count, arguments with their lengths.
std::vector<Bytes> managementRuns() {
    const Bytes start = {1, 0, 0};                                      // call 6250
    const Bytes trustPort3 = {1, 11, 2, 4, 3, 0, 0, 0, 4, 1, 0, 0, 0};  // call 6261 (3, 1)
    const Bytes limitPort3 = {1, 13, 2, 4, 3, 0, 0, 0, 4, 0, 1, 0, 0};  // call 6263 (3, 256)
    const Bytes getTrust = {1, 19, 2, 4, 3, 0, 0, 0, 4, 0, 0, 0, 0};    // call 6269 (3, out)
    const Bytes unknownType = {0, 0, 24, 9, 0};                         // raw, type 9
    const Bytes failedReceive = {2, 5};
    return {join({start, trustPort3, limitPort3, getTrust}), join({unknownType, failedReceive, start})};
}

// Steps of the source-guard sequence (see SourceGuardSequence.cpp): opcode and arguments.
std::vector<Bytes> sourceGuardRuns() {
    const Bytes exchangeOnPort2 = {0, 0, 0, 0x83, 20};  // client :01 on port 2, two addresses and a prefix
    const Bytes exchangeOnPort3 = {0, 1, 1, 0x0c, 30};  // client :02 on port 3, one address
    const Bytes guardPort2 = {2, 0, 2};
    const Bytes guardPort3 = {2, 1, 0};
    const Bytes bindEveryPort = {4, 0, 0, 0, 0};      // address ::1, no MAC, every port
    const Bytes bindClientOnPort2 = {4, 1, 1, 5, 1};  // address ::6, MAC :01, port 2, VLAN 1
    const Bytes releaseFirst = {1, 0, 0};
    const Bytes exemptVlan2 = {7, 3};
    const Bytes ticks = {8, 25};
    const Bytes unbind = {5, 0};
    const Bytes linkDownPort3 = {11, 1};
    return {
        join({exchangeOnPort2, guardPort2, bindEveryPort, exchangeOnPort3, guardPort3, bindClientOnPort2,
              releaseFirst, unbind, ticks}),
        join({guardPort2, bindClientOnPort2, exchangeOnPort2, exemptVlan2, Bytes{6}, linkDownPort3}),
    };
}

Bytes text(std::string_view value) {
    return {value.begin(), value.end()};
}

// A space byte and a template text.
std::vector<Bytes> templateTexts() {
    return {join({Bytes{64}, text("%cvlan-%port")}),
            join({Bytes{255}, text("%sysip %switchmac %clientduid")}), join({Bytes{5}, text("vlan%cvlan")}),
            join({Bytes{200}, text("%portname/%iftype/%slot.%subslot")})};
}

// Settings, then messages of a type and a port with options (code, length byte, data), ended by 0xFFFF.
std::vector<Bytes> insertionRuns() {
    const Bytes settings = join({Bytes{3, 1, 1, 4, 3}, text("abc"), Bytes{5, 12}, text("%cvlan-%port")});
    const Bytes clientIdOption = {0, 1, 10, 0, 3, 0, 1, 2, 0, 0, 0, 0, 1};
    const Bytes oldInterfaceId = {0, 18, 4, 'e', 't', 'h', '1'};
    const Bytes end = {0xFF, 0xFF};
    return {
        join({settings, Bytes{SOLICIT, 2}, clientIdOption, end, Bytes{REQUEST, 3}, oldInterfaceId,
              clientIdOption, end}),
        join({Bytes{1, 1, 0, 3, 0, 1, 0}, Bytes{RENEW, 4}, oldInterfaceId, end}),
    };
}

}  // namespace

int main(int argc, char **argv) {
    const std::string_view target = argc == 3 ? argv[1] : "";
    const std::vector<std::pair<std::string_view, std::vector<Bytes> (*)()>> targets = {
        {"options", optionAreas},          {"receive", receiveRuns},    {"management", managementRuns},
        {"source_guard", sourceGuardRuns}, {"template", templateTexts}, {"insertion", insertionRuns},
    };
    const auto found =
        std::find_if(targets.begin(), targets.end(), [&](const auto &t) { return t.first == target; });
    if (found == targets.end()) {
        std::fprintf(stderr, "usage: %s <target> <corpus folder>\n", argv[0]);
        return 2;
    }
    int number = 0;
    const std::vector<Bytes> seeds = found->second();
    for (const Bytes &seed : seeds) {
        std::ofstream out(std::string(argv[2]) + "/seed-" + std::to_string(number++), std::ios::binary);
        out.write(reinterpret_cast<const char *>(seed.data()), static_cast<std::streamsize>(seed.size()));
        if (!out) {
            std::fprintf(stderr, "cannot write the corpus into %s\n", argv[2]);
            return 1;
        }
    }
    return 0;
}
