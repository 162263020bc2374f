// The address helpers a switch gives its processes for the values of their MIB objects: IPv4 text read
// into numbers, and the IPv6 addresses that may not be bound to a client.

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "platform/SwitchHelperApi.h"
#include "switchsim/Observations.h"

extern "C" {

int32_t strtoipAddr(const char *text, int32_t octets[4]) {
    std::array<uint8_t, 4> bytes{};
    if (text == nullptr || octets == nullptr || inet_pton(AF_INET, text, bytes.data()) != 1) {
        return -1;
    }
    std::ranges::copy(bytes, octets);
    return 0;
}

int32_t checkIpv6Valid(const uint8_t address[16]) {
    constexpr switchsim::Ipv6Bytes kUnspecified{};
    constexpr switchsim::Ipv6Bytes kLoopback{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    constexpr uint8_t kMulticast = 0xff;
    if (address == nullptr) {
        return 0;
    }
    switchsim::Ipv6Bytes bytes{};
    std::copy_n(address, bytes.size(), bytes.begin());
    return bytes != kUnspecified && bytes != kLoopback && bytes[0] != kMulticast ? 1 : 0;
}
}
