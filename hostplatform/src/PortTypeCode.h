#pragma once
// The medium and speed code of a port, from the link speed in Mb/s that the kernel reports for it.

#include <cstdint>

namespace hostplatform {

inline constexpr uint32_t kPortTypeUnknown = 7;

constexpr uint32_t portTypeCodeForSpeed(long megabits) {
    switch (megabits) {
        case 10:
        case 100:
            return 0;
        case 1000:
            return 2;
        case 2500:
            return 8;
        case 5000:
            return 9;
        case 10000:
            return 4;
        case 25000:
            return 10;
        case 40000:
            return 11;
        case 100000:
            return 12;
        default:
            return kPortTypeUnknown;
    }
}

}  // namespace hostplatform
