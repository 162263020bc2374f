#pragma once
// The text of the binding database: the learned clients, kept across restarts of the daemon as a file of
// one record per line, in the manner of a DHCP server's lease file, each line checked on its own by the
// CRC-32 at its end, so that a damaged line costs that client alone:
//
//   client 02:00:00:00:00:01 vlan 10 port swp2 bind 2001:db8::10/128 preferred 3600 valid 7200
//       expires 1764104400 bind 2001:db8:1::/56 ... crc 8d2f1c3a
//
// (one line). Lifetimes are in seconds: "preferred" as the server granted it, "valid" what was left of it
// when the line was written; "expires" is the Unix time at which it runs out. Lines starting with "#" are
// comments.

#include <array>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

namespace bindingdb {

struct Binding {
    std::array<uint8_t, 16> address{};
    uint32_t prefixLength = 128;
    uint32_t preferredLifetime = 0;
    uint32_t validLifetime = 0;
    int64_t expires = 0;

    bool operator==(const Binding &) const = default;
};

struct Client {
    std::array<uint8_t, 6> mac{};
    uint32_t vlan = 0;
    std::string port;  // the interface name
    std::vector<Binding> bindings;

    bool operator==(const Client &) const = default;
};

// A MAC address as the file writes it: "02:00:00:00:00:01".
std::string macText(const std::array<uint8_t, 6> &mac);

// The whole file for `clients`, written at Unix time `now`.
std::string formatDatabase(const std::vector<Client> &clients, int64_t now);

struct ParsedDatabase {
    std::vector<Client> clients;
    // One line each for the records left out: "line N: why".
    std::vector<std::string> skipped;
};

// Reads every record on its own: a damaged or cut-off line, a bad checksum or a field that cannot be read
// leaves that record out and names it in `skipped`; the others are read.
ParsedDatabase parseDatabase(std::string_view text);

}  // namespace bindingdb
