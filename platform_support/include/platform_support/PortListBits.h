#pragma once
// Reading and writing the platform's port bitmap: port p (1-based) is bit 0x80 >> ((p - 1) % 8) of byte
// (p - 1) / 8.

#include <cstdint>
#include <vector>

#include "platform/SmdPacketApi.h"

namespace platform_support {

inline constexpr uint32_t kPortListPorts = sizeof(PortList::bits) * 8;

inline bool hasPort(const PortList &list, uint32_t port) {
    return port >= 1 && port <= kPortListPorts &&
           (list.bits[(port - 1) / 8] & (0x80U >> ((port - 1) % 8))) != 0;
}

inline void addPort(PortList &list, uint32_t port) {
    if (port >= 1 && port <= kPortListPorts) {
        list.bits[(port - 1) / 8] |= static_cast<uint8_t>(0x80U >> ((port - 1) % 8));
    }
}

inline void removePort(PortList &list, uint32_t port) {
    if (port >= 1 && port <= kPortListPorts) {
        list.bits[(port - 1) / 8] &= static_cast<uint8_t>(~(0x80U >> ((port - 1) % 8)));
    }
}

// The ports of the list in ascending order.
inline std::vector<uint32_t> portsOf(const PortList &list) {
    std::vector<uint32_t> ports;
    for (uint32_t port = 1; port <= kPortListPorts; ++port) {
        if (hasPort(list, port)) {
            ports.push_back(port);
        }
    }
    return ports;
}

}  // namespace platform_support
