#include "BindingDatabase.h"

#include <syslog.h>

#include <algorithm>
#include <ctime>
#include <fstream>
#include <optional>
#include <sstream>
#include <vector>

#include "AtomicFile.h"
#include "BindingRecords.h"
#include "HostLifecycle.h"
#include "HostPorts.h"
#include "platform/VosApi.h"
#include "snooping/ClientRestore.h"
#include "snooping/ClientTable.h"

namespace bindingdb {
namespace {

std::optional<uint32_t> portNamed(const std::string &name) {
    for (uint32_t port = 1; port <= hostplatform::portCount(); ++port) {
        if (hostplatform::portInterfaceName(port) == name) {
            return port;
        }
    }
    return std::nullopt;
}

// The acknowledged clients as they stand, each binding's expiry counted in the daemon's seconds of uptime,
// which aging does not move: two readings are equal while nothing changed.
std::vector<Client> clientsNow() {
    std::vector<Client> clients;
    for (ClientEntry *entry = clientFirst(); entry != nullptr; entry = clientAfter(entry->mac)) {
        const auto port = hostplatform::portInterfaceName(entry->portIndex);
        if (entry->acked != 1 || !port) {
            continue;
        }
        Client client;
        std::copy_n(entry->mac, client.mac.size(), client.mac.begin());
        client.vlan = entry->vlanId;
        client.port = std::string(*port);
        for (uint32_t i = 0; i < entry->addresses.count; ++i) {
            const ClientAddress &record = *addressAt(entry->addresses, i);
            Binding binding;
            std::copy_n(record.address, binding.address.size(), binding.address.begin());
            binding.prefixLength = record.prefixLength;
            binding.preferredLifetime = record.preferredLifetime;
            binding.expires = static_cast<int64_t>(entry->lastUpdate) + record.validLifetime;
            client.bindings.push_back(binding);
        }
        clients.push_back(std::move(client));
    }
    return clients;
}

// The clients with their expiries in Unix time and the seconds left, as the file keeps them.
std::vector<Client> asWritten(std::vector<Client> clients) {
    const int64_t uptime = vosUpSeconds();
    const int64_t now = std::time(nullptr);
    for (Client &client : clients) {
        for (Binding &binding : client.bindings) {
            const int64_t left = std::max<int64_t>(0, binding.expires - uptime);
            binding.validLifetime = static_cast<uint32_t>(left);
            binding.expires = now + left;
        }
    }
    return clients;
}

struct Writer {
    std::string path;
    std::optional<std::vector<Client>> written;
    bool failing = false;

    void writeIfChanged() {
        auto clients = clientsNow();
        if (written == clients) {
            return;
        }
        std::string error;
        const bool ok =
            hostplatform::replaceFile(path, formatDatabase(asWritten(clients), std::time(nullptr)), error);
        if (ok != !failing) {
            // Said once when writing starts to fail and once when it works again, not every second.
            hostplatform::logLine(ok ? LOG_NOTICE : LOG_ERR,
                                  ok ? "binding database " + path + " written again"
                                     : "binding database not written: " + error);
        }
        failing = !ok;
        if (ok) {
            written = std::move(clients);
        }
    }
};

Writer &writer() {
    static Writer instance;
    return instance;
}

// Takes back one client of the file; false, with a log line, when it is left out.
bool restoreClient(const Client &client, int64_t now) {
    const std::string who = "binding database: client " + macText(client.mac) + " on " + client.port +
                            " vlan " + std::to_string(client.vlan);
    const auto port = portNamed(client.port);
    if (!port) {
        hostplatform::logLine(LOG_WARNING, who + " left out: the bridge has no such port now");
        return false;
    }
    std::vector<ClientAddress> records;
    for (const Binding &binding : client.bindings) {
        ClientAddress record{};
        std::copy(binding.address.begin(), binding.address.end(), record.address);
        record.prefixLength = binding.prefixLength;
        record.preferredLifetime = binding.preferredLifetime;
        record.validLifetime =
            static_cast<uint32_t>(std::clamp<int64_t>(binding.expires - now, 0, UINT32_MAX));
        records.push_back(record);
    }
    if (clientRestore(client.mac.data(), client.vlan, *port, records.data(),
                      static_cast<uint32_t>(records.size())) != 0) {
        hostplatform::logLine(LOG_WARNING,
                              who +
                                  " left out: its leases ran out, or the port is trusted, full or "
                                  "snooping is off, or the MAC is known already");
        return false;
    }
    return true;
}

}  // namespace

void restore(const std::string &path) {
    std::ifstream file(path);
    if (!file) {
        hostplatform::logLine(LOG_INFO,
                              "binding database " + path + " does not exist yet: no client to take back");
        return;
    }
    std::stringstream text;
    text << file.rdbuf();
    const ParsedDatabase parsed = parseDatabase(text.str());
    for (const std::string &skipped : parsed.skipped) {
        std::string line = "binding database ";
        line.append(path).append(" ").append(skipped).append("; the record is left out");
        hostplatform::logLine(LOG_ERR, line);
    }
    if (!parsed.skipped.empty()) {
        const std::string aside = path + ".damaged";
        std::rename(path.c_str(), aside.c_str());
        hostplatform::logLine(LOG_ERR, "binding database: the damaged file is kept as " + aside);
    }
    const int64_t now = std::time(nullptr);
    const auto taken = std::count_if(parsed.clients.begin(), parsed.clients.end(),
                                     [now](const Client &client) { return restoreClient(client, now); });
    hostplatform::logLine(
        LOG_NOTICE,
        "binding database " + path + ": " + std::to_string(taken) + " clients taken back, " +
            std::to_string(parsed.clients.size() - static_cast<size_t>(taken) + parsed.skipped.size()) +
            " left out");
}

void keepWritten(const std::string &path) {
    writer().path = path;
    hostplatform::everySecond([] { writer().writeIfChanged(); });
    hostplatform::atStop([] { writer().writeIfChanged(); });
}

}  // namespace bindingdb
