#pragma once
// Writing frames to a pcap capture file, so that a decoder nobody here wrote (tshark, Wireshark) can read
// what the switch saw or what the builder made.

#include <string>
#include <vector>

#include "switchsim/Observations.h"

namespace switchsim {

// Writes the frames to `path` as an Ethernet capture (link type EN10MB), in order, each whole, one
// microsecond apart. Throws std::runtime_error when the file cannot be written.
void writePcap(const std::string &path, const std::vector<Bytes> &frames);

}  // namespace switchsim
