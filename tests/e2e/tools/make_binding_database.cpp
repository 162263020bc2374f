// Writes a binding database of many clients, each with as many addresses, spread over the ports named in
// VLAN 1, for the daemon to start with: the client table that the SNMP walk benchmark reads.
// usage: make_binding_database OUT CLIENTS BINDINGS PORT[,PORT...]

#include <cstdio>
#include <ctime>
#include <exception>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "BindingRecords.h"

int main(int argc, char *argv[]) {
    if (argc != 5) {
        std::fprintf(stderr, "usage: %s OUT CLIENTS BINDINGS PORT[,PORT...]\n", argv[0]);
        return 2;
    }
    try {
        const auto count = std::stoul(argv[2]);
        const auto bindings = std::stoul(argv[3]);
        std::vector<std::string> ports;
        std::istringstream listed(argv[4]);
        for (std::string port; std::getline(listed, port, ',');) {
            ports.push_back(port);
        }
        const int64_t now = std::time(nullptr);
        std::vector<bindingdb::Client> clients(count);
        for (unsigned long i = 0; i < count; ++i) {
            auto &client = clients[i];
            client.mac = {0x02,
                          0x00,
                          0x00,
                          static_cast<uint8_t>(i >> 16U),
                          static_cast<uint8_t>(i >> 8U),
                          static_cast<uint8_t>(i)};
            client.vlan = 1;
            client.port = ports.at(i % ports.size());
            for (unsigned long b = 0; b < bindings; ++b) {
                bindingdb::Binding binding{.address = {0x20, 0x01, 0x0d, 0xb8, static_cast<uint8_t>(i >> 8U),
                                                       static_cast<uint8_t>(i)},
                                           .preferredLifetime = 3600,
                                           .validLifetime = 7200,
                                           .expires = now + 7200};
                binding.address[15] = static_cast<uint8_t>(b + 1);
                client.bindings.push_back(binding);
            }
        }
        std::ofstream(argv[1]) << bindingdb::formatDatabase(clients, now);
        return 0;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 2;
    }
}
