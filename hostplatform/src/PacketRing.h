#pragma once
// The host platform's packet path: one packet socket over every interface, with a memory-mapped receive
// ring (TPACKET_V3) that holds only DHCPv6 frames, and one socket that sends frames out of an interface.
// Packet sockets see a port's frames before the bridge does and send past it, so the daemon receives what
// the bridge's filters would drop and its own frames are not filtered again.

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace hostplatform {

struct ReceivedFrame {
    uint32_t ifindex = 0;
    std::optional<uint16_t> vlanTag;  // the 802.1Q VLAN id the frame was tagged with, if any
    std::span<const uint8_t> bytes;   // without that tag
    bool checksumPending = false;     // sent by this host with its checksum left to the hardware
};

// Called for each received frame; the bytes are valid only during the call.
using FrameHandler = void (*)(void *context, const ReceivedFrame &frame);

class PacketRing {
  public:
    PacketRing() = default;
    PacketRing(const PacketRing &) = delete;
    PacketRing &operator=(const PacketRing &) = delete;
    ~PacketRing();

    bool open(std::string &error);
    [[nodiscard]] int descriptor() const { return receive_; }

    // Hands every frame the ring holds to `handler` and gives the ring's blocks back to the kernel. Answers
    // the number of frames handed over.
    size_t drain(FrameHandler handler, void *context);

    // Frames the kernel had no room for in the ring since the last call.
    [[nodiscard]] uint64_t droppedSinceLastAsked() const;

    // 0 when the frame was handed to the interface's queue.
    [[nodiscard]] int send(uint32_t ifindex, std::span<const uint8_t> frame) const;

  private:
    int receive_ = -1;
    int send_ = -1;
    uint8_t *ring_ = nullptr;
    size_t ringBytes_ = 0;
    uint32_t nextBlock_ = 0;
};

}  // namespace hostplatform
