#pragma once
// tshark, Wireshark's command-line decoder, as an oracle nobody on this project wrote: the frames go to a
// temporary pcap file, tshark reads them back with UDP checksum verification on and prints the fields
// asked for, one row per frame. A test that needs it skips itself when tshark is not installed.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "switchsim/Observations.h"
#include "switchsim/Pcap.h"

inline bool tsharkInstalled() {
    return std::system("tshark --version >/dev/null 2>&1") == 0;
}

// tshark's reading of the frames: one row per frame, one cell per field in the order asked (a field met
// more than once in a frame holds its values joined by commas; one the frame lacks is empty). No rows when
// tshark fails.
inline std::vector<std::vector<std::string>> tsharkFields(const std::vector<switchsim::Bytes> &frames,
                                                          const std::vector<std::string> &fields) {
    char path[] = "/tmp/switchsim-XXXXXX";  // mkstemp's name holds only letters and digits: no quoting
    const int fd = mkstemp(path);
    if (fd < 0 || close(fd) != 0) {
        return {};
    }
    switchsim::writePcap(path, frames);
    std::string command = "tshark -r ";
    command.append(path).append(" -o udp.check_checksum:TRUE -T fields -E separator='|'");
    for (const std::string &field : fields) {
        command.append(" -e ").append(field);
    }
    std::vector<std::vector<std::string>> rows;
    if (FILE *pipe = popen(command.c_str(), "r")) {
        std::vector<std::string> row(1);
        for (int c = 0; (c = std::fgetc(pipe)) != EOF;) {
            if (c == '\n') {
                rows.push_back(row);
                row.assign(1, "");
            } else if (c == '|') {
                row.emplace_back();
            } else {
                row.back() += static_cast<char>(c);
            }
        }
        if (pclose(pipe) != 0) {
            rows.clear();
        }
    }
    std::remove(path);
    return rows;
}
