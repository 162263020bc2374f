#include "Text.h"

#include <arpa/inet.h>

#include <cstdio>
#include <vector>

namespace switchsim {

std::string formatText(const char *format, va_list args) {
    va_list measuring;
    va_copy(measuring, args);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_copy has initialised it just above
    const int length = std::vsnprintf(nullptr, 0, format, measuring);
    va_end(measuring);
    if (length <= 0) {
        return {};
    }
    std::vector<char> text(static_cast<size_t>(length) + 1);
    std::vsnprintf(text.data(), text.size(), format, args);
    return {text.data(), static_cast<size_t>(length)};
}

std::string macText(const uint8_t *mac) {
    if (mac == nullptr) {
        return "null";
    }
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4],
                  mac[5]);
    return text;
}

std::string ipv6Text(const uint8_t *address) {
    if (address == nullptr) {
        return "null";
    }
    char text[INET6_ADDRSTRLEN];
    inet_ntop(AF_INET6, address, text, sizeof text);
    return text;
}

}  // namespace switchsim
