#pragma once
// tshark, Wireshark's command-line decoder, as an oracle nobody on this project wrote: the frames go to a
// temporary pcap file, tshark reads them back with UDP checksum verification on and prints the fields
// asked for, one row per frame. A test that needs it skips itself when tshark is not installed:
//
//     if (!tsharkInstalled()) { GTEST_SKIP() << "tshark is not installed"; }

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "switchsim/Observations.h"
#include "switchsim/Pcap.h"

inline bool tsharkInstalled() {
    return std::system("tshark --version >/dev/null 2>&1") == 0;
}

namespace tshark_detail {

// The text quoted for the shell.
inline std::string quoted(const std::string &text) {
    std::string out = "'";
    for (const char c : text) {
        if (c == '\'') {
            out += "'\\''";
        } else {
            out += c;
        }
    }
    out += "'";
    return out;
}

// A file of its own in the temporary directory, removed with the object.
class TemporaryFile {
  public:
    explicit TemporaryFile(const std::string &suffix) {
        std::string pattern = (std::filesystem::temp_directory_path() / "switchsim-XXXXXX").string() + suffix;
        const int fd = mkstemps(pattern.data(), static_cast<int>(suffix.size()));
        if (fd < 0) {
            throw std::runtime_error("cannot create a temporary file like " + pattern);
        }
        close(fd);
        path_ = pattern;
    }
    ~TemporaryFile() { std::remove(path_.c_str()); }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;
    TemporaryFile(TemporaryFile &&) = delete;
    TemporaryFile &operator=(TemporaryFile &&) = delete;

    [[nodiscard]] const std::string &path() const { return path_; }

  private:
    std::string path_;
};

inline std::string contentsOf(const std::string &path) {
    std::string text;
    if (FILE *file = std::fopen(path.c_str(), "r")) {
        char chunk[4096];
        size_t got = 0;
        while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0) {
            text.append(chunk, got);
        }
        std::fclose(file);
    }
    return text;
}

inline std::vector<std::string> splitCells(const std::string &line) {
    std::vector<std::string> cells(1);
    for (const char c : line) {
        if (c == '|') {
            cells.emplace_back();
        } else {
            cells.back() += c;
        }
    }
    return cells;
}

}  // namespace tshark_detail

// tshark's reading of the frames: one row per frame, one cell per field in the order asked (a field met
// more than once in a frame holds its values joined by commas; one the frame lacks is empty). Throws
// std::runtime_error when tshark fails.
inline std::vector<std::vector<std::string>> tsharkFields(const std::vector<switchsim::Bytes> &frames,
                                                          const std::vector<std::string> &fields) {
    const tshark_detail::TemporaryFile capture(".pcap");
    const tshark_detail::TemporaryFile errors(".txt");
    switchsim::writePcap(capture.path(), frames);
    std::string command = "tshark -r ";
    command += tshark_detail::quoted(capture.path());
    command += " -o udp.check_checksum:TRUE -T fields -E separator='|'";
    for (const std::string &field : fields) {
        command += " -e ";
        command += field;
    }
    command += " 2>";
    command += tshark_detail::quoted(errors.path());
    FILE *pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        throw std::runtime_error("cannot run: " + command);
    }
    std::string output;
    char chunk[4096];
    size_t got = 0;
    while ((got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0) {
        output.append(chunk, got);
    }
    if (pclose(pipe) != 0) {
        throw std::runtime_error(command + " failed:\n" + tshark_detail::contentsOf(errors.path()));
    }
    std::vector<std::vector<std::string>> rows;
    size_t start = 0;
    while (start < output.size()) {
        size_t end = output.find('\n', start);
        if (end == std::string::npos) {
            end = output.size();
        }
        rows.push_back(tshark_detail::splitCells(output.substr(start, end - start)));
        start = end + 1;
    }
    return rows;
}
