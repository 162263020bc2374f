#pragma once
// Text forms used in the simulation's records.

#include <cstdarg>
#include <cstdint>
#include <string>

namespace switchsim {

std::string formatText(const char *format, va_list args);
// "aa:bb:cc:dd:ee:ff", or "null".
std::string macText(const uint8_t *mac);
// The IPv6 text form, or "null".
std::string ipv6Text(const uint8_t *address);

}  // namespace switchsim
