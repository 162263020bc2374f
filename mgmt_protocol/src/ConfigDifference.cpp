#include "mgmt_protocol/ConfigDifference.h"

#include <algorithm>
#include <array>
#include <tuple>
#include <utility>
#include <vector>

namespace mgmt {
namespace {

// One setting: the interface or VLAN line of its block (empty for a global line) and the line itself.
using Entry = std::pair<std::string, std::string>;

bool isBlockHeader(std::string_view line) {
    return line.starts_with("interface ethernet") || line.starts_with("vlan ");
}

std::vector<Entry> entriesOf(std::string_view text) {
    std::vector<Entry> entries;
    std::string block;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
        line.remove_suffix(line.size() - std::min(line.size(), line.find_last_not_of(" \t\r") + 1));
        if (line.empty() || line.starts_with('!')) {
            continue;
        }
        if (block.empty() && isBlockHeader(line)) {
            block = line;
        } else if (!block.empty() && line == "exit") {
            block.clear();
        } else {
            entries.emplace_back(block, line);
        }
    }
    return entries;
}

// Writes the entries, each block's lines between its header and "exit", blocks in the order they come.
void write(const std::vector<Entry> &entries, std::string &text) {
    std::vector<std::string> blocks;
    for (const auto &[block, line] : entries) {
        if (std::find(blocks.begin(), blocks.end(), block) == blocks.end()) {
            blocks.push_back(block);
        }
    }
    for (const auto &block : blocks) {
        if (!block.empty()) {
            text += block + "\n";
        }
        for (const auto &[owner, line] : entries) {
            if (owner == block) {
                text += line + "\n";
            }
        }
        if (!block.empty()) {
            text += "exit\n";
        }
    }
}

bool contains(const std::vector<Entry> &entries, const Entry &entry) {
    return std::find(entries.begin(), entries.end(), entry) != entries.end();
}

// The entries of `entries` that `others` lacks, in their order.
std::vector<Entry> missingFrom(const std::vector<Entry> &entries, const std::vector<Entry> &others) {
    std::vector<Entry> missing;
    std::copy_if(entries.begin(), entries.end(), std::back_inserter(missing),
                 [&others](const Entry &entry) { return !contains(others, entry); });
    return missing;
}

}  // namespace

std::optional<std::string> undoingLine(std::string_view line, bool inBlock) {
    // A line that starts so is undone by the line given (its prefix taken off and another put before it).
    struct Rule {
        bool inBlock;
        std::string_view prefix;
        bool whole;  // the line is exactly the prefix
        std::string_view undoing;
        bool keepsRest;  // the rest of the line follows the undoing text
    };
    static constexpr std::array<Rule, 10> kRules = {{
        {false, "dhcpv6-snooping", true, "no dhcpv6-snooping", false},
        {false, "no dhcpv6-snooping port-down-action fast-remove", true,
         "dhcpv6-snooping port-down-action fast-remove", false},
        {false, "dhcpv6-snooping information option ", false, "no dhcpv6-snooping information option ", true},
        {false, "dhcpv6-snooping information interface-id ", false,
         "no dhcpv6-snooping information interface-id", false},
        {false, "dhcpv6-snooping information remote-id ", false, "no dhcpv6-snooping information remote-id",
         false},
        {false, "no ipv6-source-guard bind vlan ", false, "ipv6-source-guard bind vlan ", true},
        {false, "ipv6-source-guard bind ip ", false, "no ipv6-source-guard bind ip ", true},
        {true, "dhcpv6-snooping trust", true, "no dhcpv6-snooping trust", false},
        {true, "dhcpv6-snooping max-clients ", false, "no dhcpv6-snooping max-clients", false},
        {true, "ipv6-source-guard ", false, "no ipv6-source-guard", false},
    }};
    for (const Rule &rule : kRules) {
        if (rule.inBlock == inBlock && (rule.whole ? line == rule.prefix : line.starts_with(rule.prefix))) {
            std::string undoing(rule.undoing);
            if (rule.keepsRest) {
                undoing += line.substr(rule.prefix.size());
            }
            return undoing;
        }
    }
    return std::nullopt;
}

std::string configDifference(std::string_view current, std::string_view wanted) {
    const auto have = entriesOf(current);
    const auto want = entriesOf(wanted);
    std::vector<Entry> undo;
    for (const auto &entry : missingFrom(have, want)) {
        if (auto line = undoingLine(entry.second, !entry.first.empty())) {
            undo.emplace_back(entry.first, std::move(*line));
        }
    }
    const std::vector<Entry> add = missingFrom(want, have);
    std::string text;
    write(undo, text);
    write(add, text);
    return text;
}

std::string configChangeSummary(std::string_view before, std::string_view after) {
    const auto had = entriesOf(before);
    const auto has = entriesOf(after);
    std::vector<Entry> changes;
    for (const auto &[entries, others, sign] : {std::tuple(&had, &has, "-"), std::tuple(&has, &had, "+")}) {
        for (const auto &[block, line] : missingFrom(*entries, *others)) {
            changes.emplace_back(block, sign + line);
        }
    }
    std::stable_sort(changes.begin(), changes.end(),
                     [](const Entry &a, const Entry &b) { return a.first < b.first; });
    std::string summary;
    for (size_t i = 0; i < changes.size(); ++i) {
        const bool opensBlock = i == 0 || changes[i].first != changes[i - 1].first;
        if (opensBlock && i != 0) {
            summary += "; ";
        } else if (i != 0) {
            summary += ' ';
        }
        if (opensBlock && !changes[i].first.empty()) {
            summary += changes[i].first + ": ";
        }
        summary += changes[i].second;
    }
    return summary;
}

}  // namespace mgmt
