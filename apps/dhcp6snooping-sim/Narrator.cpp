#include "Narrator.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "OperatorView.h"
#include "core/MacText.h"
#include "core/MainLoop.h"
#include "core/SharedTypes.h"
#include "snooping/ClientTable.h"

namespace {

constexpr uint32_t kTraceLevel = 7;
constexpr uint32_t kAggregationBit = 0x80000000U;

// "1-2,4-24": the ports in ascending order, runs of neighbours written as ranges.
std::string portRanges(const std::vector<uint32_t> &ports) {
    std::string text;
    for (size_t first = 0; first < ports.size();) {
        size_t last = first;
        while (last + 1 < ports.size() && ports[last + 1] == ports[last] + 1) {
            ++last;
        }
        // Appended piece by piece: GCC 12 at -O3 misreads prepending to a temporary string as an overlap.
        if (!text.empty()) {
            text += ',';
        }
        text += std::to_string(ports[first]);
        if (last > first) {
            text += '-';
            text += std::to_string(ports[last]);
        }
        first = last + 1;
    }
    return text;
}

std::string destinationOf(const switchsim::SentFrame &frame) {
    if (frame.toPortList) {
        return "ports " + portRanges(frame.ports);
    }
    const uint32_t value = frame.ports.front();
    if ((value & kAggregationBit) != 0) {
        return "aggregation group " + std::to_string(value & ~kAggregationBit);
    }
    return "port " + std::to_string(value);
}

// Where the frames sent since the last look went.
std::string whereSent(const std::vector<switchsim::SentFrame> &frames) {
    std::string text;
    for (const auto &frame : frames) {
        if (!text.empty()) {
            text += "; ";
        }
        text += destinationOf(frame);
    }
    return text;
}

// A trace text without the line break and space the daemon puts before it for the console.
std::string trimmed(const std::string &text) {
    const size_t first = text.find_first_not_of("\r\n ");
    const size_t last = text.find_last_not_of("\r\n ");
    return first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
}

std::vector<std::string> clientMacTexts() {
    std::vector<std::string> macs;
    for (const ClientEntry *entry : clientsInMacOrder()) {
        macs.emplace_back(macText(entry->mac).text);
    }
    return macs;
}

// What is in `after` but not in `before`; both sorted.
template <typename Item>
std::vector<Item> added(const std::vector<Item> &before, const std::vector<Item> &after) {
    std::vector<Item> result;
    std::ranges::set_difference(after, before, std::back_inserter(result));
    return result;
}

// Option content as text, with any byte that is not printable written as \xNN.
std::string printable(const uint8_t *data, size_t length) {
    std::string text;
    for (size_t i = 0; i < length; ++i) {
        if (data[i] >= 0x20 && data[i] < 0x7F) {
            text += static_cast<char>(data[i]);
        } else {
            char escaped[5];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", data[i]);
            text += escaped;
        }
    }
    return text;
}

// The relay options 18 and 37 of a frame the daemon sent, as the server reads them.
void printRelayOptions(const switchsim::SentFrame &frame) {
    const switchsim::Bytes &bytes = frame.bytes;
    constexpr uint16_t kInterfaceId = 18;
    constexpr uint16_t kRemoteId = 37;
    for (size_t at = frame.info.payloadOffset + 4U; at + 4 <= bytes.size();) {
        const auto code = static_cast<uint16_t>(bytes[at] << 8 | bytes[at + 1]);
        const auto length = static_cast<size_t>(bytes[at + 2] << 8 | bytes[at + 3]);
        const uint8_t *data = bytes.data() + at + 4;
        if (length > bytes.size() - at - 4) {
            return;
        }
        if (code == kInterfaceId) {
            std::printf("      server reads option 18 Interface-ID \"%s\"\n",
                        printable(data, length).c_str());
        } else if (code == kRemoteId && length >= 4) {
            const uint32_t enterprise = static_cast<uint32_t>(data[0]) << 24 |
                                        static_cast<uint32_t>(data[1]) << 16 |
                                        static_cast<uint32_t>(data[2]) << 8 | data[3];
            std::printf("      server reads option 37 Remote-ID, enterprise %u, \"%s\"\n", enterprise,
                        printable(data + 4, length - 4).c_str());
        }
        at += 4 + length;
    }
}

}  // namespace

Narrator::Narrator(switchsim::Switch &sw, uint32_t vlan) : sw_(sw), vlan_(vlan) {}

void Narrator::deliver(const std::string &event, uint32_t port, const switchsim::dhcp6::Dhcp6Frame &frame) {
    sw_.learnMac(frame.sourceMac, vlan_, port);
    sw_.queueFrame(port, vlan_, switchsim::dhcp6::buildDhcp6Frame(frame).bytes);
    settle();
    std::printf("  %-22s in on port %-2u -> ", event.c_str(), port);
    if (sw_.sentFrames().empty()) {
        // A dropped frame is explained by what the daemon traced about it.
        std::string why;
        for (const std::string &trace : takeTraces()) {
            why += (why.empty() ? "" : " / ") + trace;
        }
        std::printf("dropped%s%s\n", why.empty() ? "" : ": ", why.c_str());
    } else {
        std::printf("%s\n", whereSent(sw_.sentFrames()).c_str());
        printRelayOptions(sw_.sentFrames().front());
    }
    sw_.clearSentFrames();
    printAftermath();
}

void Narrator::passTime(uint32_t seconds) {
    const uint32_t from = sw_.upSeconds();
    sw_.queueTimerTicks(seconds);
    settle();
    std::printf("  %u one-second timer ticks, clock %u s -> %u s\n", seconds, from, sw_.upSeconds());
    printAftermath();
}

void Narrator::linkDown(uint32_t port) {
    sw_.queueLinkChange(port, 0);
    settle();
    std::printf("  link of port %u goes down\n", port);
    printAftermath();
}

void Narrator::report(const std::string &event) {
    std::printf("  %s\n", event.c_str());
    printAftermath();
}

void Narrator::settle() {
    sw_.runUntilIdle(dhcp6snoopingServeNextMessage);
}

void Narrator::printAftermath() {
    printTraces();
    printFilterChanges();
    printClientsForgotten();
}

std::vector<std::string> Narrator::takeTraces() {
    std::vector<std::string> traces;
    const auto &lines = sw_.syslogLines();
    for (; syslogSeen_ < lines.size(); ++syslogSeen_) {
        const auto &line = lines[syslogSeen_];
        if (line.module == kDhcp6SnoopingModuleId && line.level == kTraceLevel) {
            traces.push_back(trimmed(line.text));
        }
    }
    return traces;
}

void Narrator::printTraces() {
    for (const std::string &trace : takeTraces()) {
        std::printf("      trace: %s\n", trace.c_str());
    }
}

void Narrator::printFilterChanges() {
    const std::vector<switchsim::Filter> now = sw_.installedFilters();
    for (const switchsim::Filter &filter : added(filters_, now)) {
        std::printf("      filter installed: %s\n", filter.text().c_str());
    }
    for (const switchsim::Filter &filter : added(now, filters_)) {
        std::printf("      filter removed:   %s\n", filter.text().c_str());
    }
    filters_ = now;
}

void Narrator::printClientsForgotten() {
    const std::vector<std::string> now = clientMacTexts();
    for (const std::string &mac : added(now, clients_)) {
        std::printf("      client forgotten: %s\n", mac.c_str());
    }
    clients_ = now;
}
