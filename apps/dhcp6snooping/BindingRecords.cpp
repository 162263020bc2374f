#include "BindingRecords.h"

#include <arpa/inet.h>
#include <zlib.h>

#include <charconv>
#include <cstdio>
#include <optional>
#include <sstream>

#include "mgmt_protocol/Vocabulary.h"

namespace bindingdb {
namespace {

constexpr std::string_view kHeader =
    "# dhcp6snooping binding database: one client a line; each line ends with the CRC-32 of what precedes\n"
    "# \" crc \" on it. Written by the daemon; edit it only while the daemon is stopped.\n";
constexpr std::string_view kChecksum = " crc ";

uint32_t checksum(std::string_view text) {
    return static_cast<uint32_t>(
        crc32(0L, reinterpret_cast<const Bytef *>(text.data()), static_cast<uInt>(text.size())));
}

std::string addressText(const std::array<uint8_t, 16> &address) {
    char text[INET6_ADDRSTRLEN] = {};
    inet_ntop(AF_INET6, address.data(), text, sizeof text);
    return text;
}

// Why a record is left out.
struct Damaged {
    std::string why;
};

// The words of one record, read in order; each read throws Damaged when the record does not say what it
// must.
class Words {
  public:
    explicit Words(std::string_view text) : stream_(std::string(text)) {}

    void expect(std::string_view keyword) {
        if (next() != keyword) {
            throw Damaged{"\"" + std::string(keyword) + "\" expected"};
        }
    }

    std::string next() {
        std::string word;
        if (!(stream_ >> word)) {
            throw Damaged{"the record ends early"};
        }
        return word;
    }

    [[nodiscard]] bool done() {
        stream_ >> std::ws;
        return stream_.eof();
    }

    template <typename T>
    T number(T lowest, T highest) {
        const std::string word = next();
        T value{};
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
        if (error != std::errc{} || end != word.data() + word.size() || value < lowest || value > highest) {
            throw Damaged{"not a number from " + std::to_string(lowest) + " to " + std::to_string(highest) +
                          ": " + word};
        }
        return value;
    }

  private:
    std::istringstream stream_;
};

std::array<uint8_t, 6> macOf(const std::string &word) {
    const auto mac = mgmt::parseMac(word);
    if (!mac) {
        throw Damaged{"not a MAC address: " + word};
    }
    return *mac;
}

Binding bindingOf(Words &words) {
    Binding binding;
    const std::string prefix = words.next();
    const size_t slash = prefix.find('/');
    if (slash == std::string::npos ||
        inet_pton(AF_INET6, prefix.substr(0, slash).c_str(), binding.address.data()) != 1) {
        throw Damaged{"not an address or prefix: " + prefix};
    }
    Words length(prefix.substr(slash + 1));
    binding.prefixLength = length.number<uint32_t>(1, 128);
    words.expect("preferred");
    binding.preferredLifetime = words.number<uint32_t>(0, UINT32_MAX);
    words.expect("valid");
    binding.validLifetime = words.number<uint32_t>(0, UINT32_MAX);
    words.expect("expires");
    binding.expires = words.number<int64_t>(0, INT64_MAX);
    return binding;
}

Client clientOf(std::string_view record) {
    Words words(record);
    Client client;
    words.expect("client");
    client.mac = macOf(words.next());
    words.expect("vlan");
    client.vlan = words.number<uint32_t>(1, mgmt::kHighestVlan);
    words.expect("port");
    client.port = words.next();
    while (!words.done()) {
        words.expect("bind");
        client.bindings.push_back(bindingOf(words));
    }
    if (client.bindings.empty()) {
        throw Damaged{"the client has no binding"};
    }
    return client;
}

// The record of one line whose checksum holds, or why not.
Client checkedClient(std::string_view line) {
    const size_t mark = line.rfind(kChecksum);
    if (mark == std::string_view::npos) {
        throw Damaged{"no checksum: the line is cut off"};
    }
    const std::string_view digits = line.substr(mark + kChecksum.size());
    uint32_t stated = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), stated, 16);
    if (digits.size() != 8 || error != std::errc{} || end != digits.data() + digits.size()) {
        throw Damaged{"the checksum is not 8 hexadecimal digits"};
    }
    if (checksum(line.substr(0, mark)) != stated) {
        throw Damaged{"the checksum does not match"};
    }
    return clientOf(line.substr(0, mark));
}

}  // namespace

std::string macText(const std::array<uint8_t, 6> &mac) {
    return mgmt::macText(mac.data());
}

std::string formatDatabase(const std::vector<Client> &clients, int64_t now) {
    std::string text(kHeader);
    text += "# written " + std::to_string(now) + "\n";
    for (const Client &client : clients) {
        std::string line =
            "client " + macText(client.mac) + " vlan " + std::to_string(client.vlan) + " port " + client.port;
        for (const Binding &binding : client.bindings) {
            line += " bind " + addressText(binding.address) + "/" + std::to_string(binding.prefixLength) +
                    " preferred " + std::to_string(binding.preferredLifetime) + " valid " +
                    std::to_string(binding.validLifetime) + " expires " + std::to_string(binding.expires);
        }
        char crc[9];
        std::snprintf(crc, sizeof crc, "%08x", checksum(line));
        text += line + std::string(kChecksum) + crc + "\n";
    }
    return text;
}

ParsedDatabase parseDatabase(std::string_view text) {
    ParsedDatabase parsed;
    uint32_t lineNumber = 0;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const bool complete = end != std::string_view::npos;
        const std::string_view line = text.substr(0, complete ? end : text.size());
        text.remove_prefix(complete ? end + 1 : text.size());
        ++lineNumber;
        if (line.empty() || line.starts_with('#')) {
            continue;
        }
        try {
            if (!complete) {
                throw Damaged{"the line is cut off"};
            }
            parsed.clients.push_back(checkedClient(line));
        } catch (const Damaged &damage) {
            parsed.skipped.push_back("line " + std::to_string(lineNumber) + ": " + damage.why);
        }
    }
    return parsed;
}

}  // namespace bindingdb
