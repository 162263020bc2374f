#include "AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace hostplatform {
namespace {

// Closes the descriptor when the scope ends.
struct Descriptor {
    int value;
    ~Descriptor() {
        if (value >= 0) {
            close(value);
        }
    }
};

bool writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        text.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

}  // namespace

bool replaceFile(const std::string &path, std::string_view text, std::string &error) {
    const std::filesystem::path target(path);
    const std::filesystem::path directory = target.parent_path().empty() ? "." : target.parent_path();
    std::string name = ".";
    name.append(target.filename().string()).append(".XXXXXX");
    std::string temporary = (directory / name).string();
    const auto fail = [&error, &temporary](const std::string &what) {
        error = what + ": " + std::strerror(errno);
        unlink(temporary.c_str());
        return false;
    };
    std::error_code made;
    std::filesystem::create_directories(directory, made);
    const Descriptor file{mkostemp(temporary.data(), O_CLOEXEC)};
    if (file.value < 0) {
        error = "cannot create a file in " + directory.string() + ": " + std::strerror(errno);
        return false;
    }
    if (fchmod(file.value, 0644) != 0 || !writeAll(file.value, text) || fsync(file.value) != 0) {
        return fail("cannot write " + temporary);
    }
    if (rename(temporary.c_str(), path.c_str()) != 0) {
        return fail("cannot rename " + temporary + " to " + path);
    }
    const Descriptor folder{open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (folder.value < 0 || fsync(folder.value) != 0) {
        error = "cannot flush " + directory.string() + ": " + std::strerror(errno);
        return false;
    }
    return true;
}

}  // namespace hostplatform
