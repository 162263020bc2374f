#pragma once
// A MAC address as the daemon writes it in trace lines: "00:00:5e:00:53:01".

#include <cstdint>

struct MacText {
    char text[18];
};

MacText macText(const uint8_t *mac);
