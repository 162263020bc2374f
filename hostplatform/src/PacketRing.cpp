#include "PacketRing.h"

#include <arpa/inet.h>
#include <linux/filter.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <pcap/pcap.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace hostplatform {
namespace {

// DHCPv6 in either direction; frames with extension headers or fragments before the UDP header are not
// taken (while the daemon forwards DHCPv6, the bridge drops those).
constexpr char kDhcp6Filter[] = "ip6 and udp and (port 546 or port 547)";
constexpr int kSnapLength = 65535;
constexpr uint32_t kBlockBytes = 1U << 20;
constexpr uint32_t kBlockCount = 16;
constexpr uint32_t kFrameBytes = 2048;
constexpr uint32_t kBlockTimeoutMs = 1;
constexpr uint16_t kVlanIdMask = 0x0FFF;

std::string failure(const char *what) {
    return std::string("packet socket: ") + what + ": " + std::strerror(errno);
}

bool attachFilter(int socket, std::string &error) {
    bpf_program program{};
    pcap_t *ethernet = pcap_open_dead(DLT_EN10MB, kSnapLength);
    const int compiled =
        ethernet != nullptr ? pcap_compile(ethernet, &program, kDhcp6Filter, 1, PCAP_NETMASK_UNKNOWN) : -1;
    if (ethernet != nullptr) {
        pcap_close(ethernet);
    }
    if (compiled != 0) {
        error = "packet socket: the DHCPv6 filter does not compile";
        return false;
    }
    sock_fprog filter{static_cast<unsigned short>(program.bf_len),
                      reinterpret_cast<sock_filter *>(program.bf_insns)};
    const bool attached = setsockopt(socket, SOL_SOCKET, SO_ATTACH_FILTER, &filter, sizeof filter) == 0;
    pcap_freecode(&program);
    if (!attached) {
        error = failure("attaching the DHCPv6 filter");
    }
    return attached;
}

}  // namespace

PacketRing::~PacketRing() {
    if (ring_ != nullptr) {
        munmap(ring_, ringBytes_);
    }
    for (const int socket : {receive_, send_}) {
        if (socket >= 0) {
            close(socket);
        }
    }
}

bool PacketRing::open(std::string &error) {
    // Created for no protocol, so that nothing is queued before the filter and the ring are in place.
    receive_ = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    send_ = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0);
    if (receive_ < 0 || send_ < 0) {
        error = failure("opening");
        return false;
    }
    const int version = TPACKET_V3;
    tpacket_req3 request{};
    request.tp_block_size = kBlockBytes;
    request.tp_block_nr = kBlockCount;
    request.tp_frame_size = kFrameBytes;
    request.tp_frame_nr = kBlockBytes / kFrameBytes * kBlockCount;
    request.tp_retire_blk_tov = kBlockTimeoutMs;
    if (!attachFilter(receive_, error)) {
        return false;
    }
    if (setsockopt(receive_, SOL_PACKET, PACKET_VERSION, &version, sizeof version) != 0 ||
        setsockopt(receive_, SOL_PACKET, PACKET_RX_RING, &request, sizeof request) != 0) {
        error = failure("setting up the receive ring");
        return false;
    }
    ringBytes_ = size_t{kBlockBytes} * kBlockCount;
    void *ring = mmap(nullptr, ringBytes_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_LOCKED, receive_, 0);
    if (ring == MAP_FAILED) {
        ring = mmap(nullptr, ringBytes_, PROT_READ | PROT_WRITE, MAP_SHARED, receive_, 0);
    }
    if (ring == MAP_FAILED) {
        error = failure("mapping the receive ring");
        return false;
    }
    ring_ = static_cast<uint8_t *>(ring);
    sockaddr_ll everywhere{};
    everywhere.sll_family = AF_PACKET;
    everywhere.sll_protocol = htons(ETH_P_ALL);
    if (bind(receive_, reinterpret_cast<sockaddr *>(&everywhere), sizeof everywhere) != 0) {
        error = failure("binding");
        return false;
    }
    const int bypass = 1;
    setsockopt(send_, SOL_PACKET, PACKET_QDISC_BYPASS, &bypass, sizeof bypass);
    return true;
}

size_t PacketRing::drain(FrameHandler handler, void *context) {
    size_t handled = 0;
    for (;;) {
        auto *block = reinterpret_cast<tpacket_block_desc *>(ring_ + size_t{nextBlock_} * kBlockBytes);
        if ((block->hdr.bh1.block_status & TP_STATUS_USER) == 0) {
            return handled;
        }
        const auto *base = reinterpret_cast<const uint8_t *>(block);
        uint32_t offset = block->hdr.bh1.offset_to_first_pkt;
        for (uint32_t i = 0; i < block->hdr.bh1.num_pkts; ++i) {
            const auto *packet = reinterpret_cast<const tpacket3_hdr *>(base + offset);
            const auto *address =
                reinterpret_cast<const sockaddr_ll *>(base + offset + TPACKET_ALIGN(sizeof(tpacket3_hdr)));
            // Frames the host sends are seen here too; only what arrives on an interface is taken.
            // A frame cut short by the ring is not handed on as if it were whole.
            if (address->sll_pkttype != PACKET_OUTGOING && packet->tp_snaplen == packet->tp_len) {
                ReceivedFrame frame;
                frame.ifindex = static_cast<uint32_t>(address->sll_ifindex);
                if ((packet->tp_status & TP_STATUS_VLAN_VALID) != 0) {
                    frame.vlanTag = static_cast<uint16_t>(packet->hv1.tp_vlan_tci & kVlanIdMask);
                }
                frame.bytes = {base + offset + packet->tp_mac, packet->tp_snaplen};
                frame.checksumPending = (packet->tp_status & TP_STATUS_CSUMNOTREADY) != 0;
                handler(context, frame);
                ++handled;
            }
            offset += packet->tp_next_offset;
        }
        block->hdr.bh1.block_status = TP_STATUS_KERNEL;
        nextBlock_ = (nextBlock_ + 1) % kBlockCount;
    }
}

uint64_t PacketRing::droppedSinceLastAsked() const {
    tpacket_stats_v3 statistics{};
    socklen_t length = sizeof statistics;
    if (getsockopt(receive_, SOL_PACKET, PACKET_STATISTICS, &statistics, &length) != 0) {
        return 0;
    }
    return statistics.tp_drops;
}

int PacketRing::send(uint32_t ifindex, std::span<const uint8_t> frame) const {
    sockaddr_ll to{};
    to.sll_family = AF_PACKET;
    to.sll_ifindex = static_cast<int>(ifindex);
    to.sll_halen = ETH_ALEN;
    if (frame.size() >= ETH_ALEN) {
        std::memcpy(to.sll_addr, frame.data(), ETH_ALEN);
    }
    const ssize_t sent =
        sendto(send_, frame.data(), frame.size(), 0, reinterpret_cast<const sockaddr *>(&to), sizeof to);
    return sent == static_cast<ssize_t>(frame.size()) ? 0 : -1;
}

}  // namespace hostplatform
