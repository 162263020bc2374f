#include "switchsim/Pcap.h"

#include <pcap/pcap.h>

#include <memory>
#include <stdexcept>

namespace switchsim {
namespace {

// Large enough for any frame the switch handles; a frame is never cut.
constexpr int kSnapLength = 65535;

struct PcapCloser {
    void operator()(pcap_t *handle) const { pcap_close(handle); }
};
struct DumperCloser {
    void operator()(pcap_dumper_t *dumper) const { pcap_dump_close(dumper); }
};

std::runtime_error failure(const std::string &path, const char *why) {
    std::string text = "switchsim: cannot write the capture ";
    text += path;
    text += ": ";
    text += why;
    return std::runtime_error(text);
}

}  // namespace

void writePcap(const std::string &path, const std::vector<Bytes> &frames) {
    const std::unique_ptr<pcap_t, PcapCloser> handle(pcap_open_dead(DLT_EN10MB, kSnapLength));
    if (!handle) {
        throw failure(path, "no pcap handle");
    }
    const std::unique_ptr<pcap_dumper_t, DumperCloser> dumper(pcap_dump_open(handle.get(), path.c_str()));
    if (!dumper) {
        throw failure(path, pcap_geterr(handle.get()));
    }
    constexpr size_t kMicrosecondsPerSecond = 1000000;
    size_t index = 0;
    for (const Bytes &frame : frames) {
        if (frame.size() > static_cast<size_t>(kSnapLength)) {
            throw failure(path, "a frame is longer than 65535 bytes");
        }
        pcap_pkthdr header{};
        header.ts.tv_sec = static_cast<time_t>(index / kMicrosecondsPerSecond);
        header.ts.tv_usec = static_cast<suseconds_t>(index % kMicrosecondsPerSecond);
        ++index;
        header.caplen = static_cast<bpf_u_int32>(frame.size());
        header.len = header.caplen;
        pcap_dump(reinterpret_cast<u_char *>(dumper.get()), &header, frame.data());
    }
    if (pcap_dump_flush(dumper.get()) != 0) {
        throw failure(path, "flushing failed");
    }
}

}  // namespace switchsim
