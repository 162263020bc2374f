#include "core/MacText.h"

#include <cstdio>

MacText macText(const uint8_t *mac) {
    MacText result{};
    std::snprintf(result.text, sizeof result.text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2],
                  mac[3], mac[4], mac[5]);
    return result;
}
