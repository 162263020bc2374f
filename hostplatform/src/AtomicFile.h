#pragma once
// Files that are replaced whole or not at all: what a crash or a power cut leaves is the old file or the
// new one, never a mix.

#include <string>
#include <string_view>

namespace hostplatform {

// Writes `text` to a temporary file beside `path`, flushes it to the disk, renames it over `path` and
// flushes the directory. False, with the reason in `error`, when any step fails; `path` is then untouched.
bool replaceFile(const std::string &path, std::string_view text, std::string &error);

}  // namespace hostplatform
