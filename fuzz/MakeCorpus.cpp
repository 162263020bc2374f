// Writes the seed corpus of a fuzz target into the folder given, one file per seed: "options" gets options
// areas and "receive" runs of frames with their switch state, both made by the frame builder; "management"
// gets remote calls and raw messages, "source_guard" steps of the source-guard sequence, "template" template
// texts, "insertion" option settings with client messages, "config_round_trip" configuration steps and "mib"
// MIB requests.

#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "mib/MibRegistry.h"
#include "platform/CcdApi.h"
#include "switchsim/Dhcp6FrameBuilder.h"

using namespace switchsim::dhcp6;
using namespace switchsim;

namespace {

const auto kClient = mac("02:00:00:00:00:01");
const auto kServer = mac("00:00:5e:00:53:ff");

// An operation of the receive target (see ReceiveFuzzer.cpp) that delivers the frame on the port.
Bytes frameOp(uint8_t port, const Dhcp6Frame &frame) {
    const BuiltFrame built = buildDhcp6Frame(frame);
    const auto size = built.bytes.size();
    return join(
        {{0, uint8_t(port - 1), 0, 0, uint8_t(built.info.payloadOffset), uint8_t(size >> 8), uint8_t(size)},
         built.bytes});
}

Bytes text(std::string_view value) {
    return {value.begin(), value.end()};
}

std::map<std::string_view, std::vector<Bytes>> seeds() {
    const Bytes client = clientId(duidLl(kClient));
    const Bytes address1 = iaAddress(ipv6("2001:db8::1"), 600, 900);
    const Bytes address2 = iaAddress(ipv6("2001:db8::2"), 0, 0, statusCode(2, "gone"));
    const Bytes prefix = iaPrefix(300, 600, 56, ipv6("2001:db8:0:100::"));
    const Bytes granted =
        iaNa(1, 0, 0, join({iaAddress(ipv6("2001:db8::1"), 5, 9), iaAddress(ipv6("2001:db8::2"), 5, 9)}));
    const Bytes released = iaNa(1, 0, 0, iaAddress(ipv6("2001:db8::1"), 0, 0));
    // Receive: every binding; trust port 1; guard port 3 in mode 3; snooping on; trace on; the client's MAC
    // on port 3.
    const Bytes setUp = {0x0F, 1, 0, 0, 1, 1, 2, 1, 3, 2, 1, 6, 1, 3, 0x01, 0, 2};
    // Management, in the target's form: kind 1, call, argument count, arguments with their lengths.
    const Bytes start = {1, 0, 0};                                      // call 6250
    const Bytes trustPort3 = {1, 11, 2, 4, 3, 0, 0, 0, 4, 1, 0, 0, 0};  // call 6261 (3, 1)
    const Bytes limitPort3 = {1, 13, 2, 4, 3, 0, 0, 0, 4, 0, 1, 0, 0};  // call 6263 (3, 256)
    const Bytes getTrust = {1, 19, 2, 4, 3, 0, 0, 0, 4, 0, 0, 0, 0};    // call 6269 (3, out)
    // Source guard: steps of the sequence (see SourceGuardSequence.cpp), opcode and arguments.
    const Bytes exchangeOnPort2 = {0, 0, 0, 0x83, 20};  // client :01 on port 2, two addresses and a prefix
    const Bytes guardPort2 = {2, 0, 2};
    const Bytes bindClientOnPort2 = {4, 1, 1, 5, 1};  // address ::6, MAC :01, port 2, VLAN 1
    // Insertion: settings, then messages of a type and a port with options (code, length byte, data), each
    // list ended by 0xFFFF.
    const Bytes settings = join({Bytes{3, 1, 1, 4, 3}, text("abc"), Bytes{5, 12}, text("%cvlan-%port")});
    const Bytes clientIdOption = {0, 1, 10, 0, 3, 0, 1, 2, 0, 0, 0, 0, 1};
    const Bytes oldInterfaceId = {0, 18, 4, 'e', 't', 'h', '1'};
    const Bytes end = {0xFF, 0xFF};
    return {
        {"options",
         {client, join({client, iaNa(1, 300, 480, join({address1, address2}))}),
          join({client, iaNa(1, 500, 400, address1)}),
          join({client, iaNa(1, 0, 0, join({address1, statusCode(0)})), iaPd(2, 100, 200, prefix)}),
          join({iaPd(2, 0, 0, join({prefix, statusCode(6, "odd")})), iaNa(3, 0, 0, address1)}),
          join({interfaceId(Bytes{'e', 't', 'h', '3'}), remoteId(9, Bytes{1, 2, 3}), client}),
          join({option(3, Bytes(11, 0)), option(5, Bytes(23, 0)), option(26, Bytes(24, 0))})}},
        {"receive",
         {join({setUp, frameOp(3, fromClient(SOLICIT, kClient, {})),
                frameOp(1, fromServer(ADVERTISE, kServer, kClient, {})),
                frameOp(3, fromClient(REQUEST, kClient, {})),
                frameOp(1, fromServer(REPLY, kServer, kClient, granted)), Bytes{4, 6} /* 6 ticks */,
                frameOp(3, fromClient(RELEASE, kClient, released))}),
          join({setUp, frameOp(3, fromClient(SOLICIT, kClient, {})),
                frameOp(4, fromClient(REQUEST, kClient, {})),
                frameOp(1, fromServer(REPLY, kServer, kClient, granted)), Bytes{5, 3, 0} /* port 4 down */}),
          join({Bytes{0, 2, 1}, frameOp(5, fromServer(RELAY_REPLY, kServer, kClient, {}))})}},
        {"management",
         {join({start, trustPort3, limitPort3, getTrust}),
          join({Bytes{0, 0, 24, 9, 0} /* raw, type 9 */, Bytes{2, 5} /* failed receive */, start})}},
        {"source_guard",
         {join({exchangeOnPort2, guardPort2, Bytes{4, 0, 0, 0, 0} /* ::1 for every port */,
                Bytes{0, 1, 1, 0x0c, 30} /* client :02 on port 3, one address */,
                Bytes{2, 1, 0} /* guard 3 */, bindClientOnPort2, Bytes{1, 0, 0} /* release */,
                Bytes{5, 0} /* unbind */, Bytes{8, 25}}),
          join({guardPort2, bindClientOnPort2, exchangeOnPort2, Bytes{7, 3} /* exempt VLAN 2 */,
                Bytes{6} /* unbind all */, Bytes{11, 1} /* port 3 down */})}},
        // A space byte and a template text.
        {"template",
         {join({Bytes{64}, text("%cvlan-%port")}), join({Bytes{255}, text("%sysip %switchmac %clientduid")}),
          join({Bytes{5}, text("vlan%cvlan")}),
          join({Bytes{200}, text("%portname/%iftype/%slot.%subslot")})}},
        // Steps of a configuration: kind byte, then its arguments.
        {"config_round_trip",
         {join({Bytes{0, 1} /* snooping on */, Bytes{1, 0} /* fast-remove off */,
                Bytes{2, 1, 1} /* trust 2 */, Bytes{3, 2, 1} /* guard 3, ipv6-mac */,
                Bytes{4, 3, 0, 10} /* port 4 limit 10 */, Bytes{5, 1, 0, 100} /* VLAN 2 limit 100 */,
                Bytes{6, 0, 1, 1} /* option 18 on */,
                Bytes{6, 1, 1, 3, 3, 'a', '"', 'b'} /* interface-id string */,
                Bytes{6, 1, 0, 4, 3, 5, 0, 1, 3} /* remote-id template */,
                Bytes{7, 0, 9, 0} /* exempt VLAN 10 */,
                Bytes{8, 1, 0, 2, 3, 4, 0, 10} /* binding, every field */}),
          join({Bytes{6, 1, 1, 0, 192, 0, 2, 1}, Bytes{6, 1, 0, 1}, Bytes{8, 2, 0, 0, 0},
                Bytes{8, 3, 0, 1, 1}, Bytes{8, 4, 0, 1, 2, 5}})}},
        // Requests: mode, object, instance arcs, value.
        {"mib",
         {join({Bytes{MIB_MODE_TEST, MIB_PORT_TRUST_MODE, 1, 3, 0, 4, 0, 0, 0, 1}, /* trust port 3 */
                Bytes{MIB_MODE_SET, MIB_PORT_TRUST_MODE, 1, 3, 0, 4, 0, 0, 0, 1},
                Bytes{MIB_MODE_GET_NEXT, MIB_PORT_MAX_NUM, 0, 0, 4, 0, 0, 0, 0},
                Bytes{MIB_MODE_SET, MIB_DISABLED_VLANS, 1, 0, 1, 6, '1', '0', '-', '2', '0', ','}}),
          join({Bytes{MIB_MODE_SET, MIB_BIND_IP, 1, 1, 1, 11}, text("2001:db8::5"),
                Bytes{MIB_MODE_SET, MIB_BIND_MAC, 1, 1, 1, 17}, text("02:00:00:00:00:05"),
                Bytes{MIB_MODE_SET, MIB_BIND_ROW_STATUS, 1, 1, 0, 4, 0, 0, 0, 4},
                Bytes{MIB_MODE_GET_NEXT, MIB_BIND_IP, 0, 0, 4, 0, 0, 0, 0},
                Bytes{MIB_MODE_SET, MIB_REMOTE_ID_TEXT, 1, 0, 1, 8}, text("10.1.2.3"),
                Bytes{MIB_MODE_SET, MIB_REMOTE_ID_FORMAT, 1, 0, 0, 4, 0, 0, 0, 1}})}},
        {"insertion",
         {join({settings, Bytes{SOLICIT, 2}, clientIdOption, end, Bytes{REQUEST, 3}, oldInterfaceId,
                clientIdOption, end}),
          join({Bytes{1, 1, 0, 3, 0, 1, 0}, Bytes{RENEW, 4}, oldInterfaceId, end})}},
    };
}

}  // namespace

int main(int argc, char **argv) {
    const auto all = seeds();
    const auto found = argc == 3 ? all.find(argv[1]) : all.end();
    if (found == all.end()) {
        std::fprintf(stderr, "usage: %s <target> <corpus folder>\n", argv[0]);
        return 2;
    }
    int number = 0;
    for (const Bytes &seed : found->second) {
        std::ofstream out(std::string(argv[2]) + "/seed-" + std::to_string(number++), std::ios::binary);
        if (!out.write(reinterpret_cast<const char *>(seed.data()),
                       static_cast<std::streamsize>(seed.size()))) {
            std::fprintf(stderr, "cannot write the corpus into %s\n", argv[2]);
            return 1;
        }
    }
    return 0;
}
