#pragma once
// The one way the daemon reads and writes packet bytes. A reader checks that the bytes are there before it
// moves and a writer that they fit before it writes, each as `n > remaining`, never as `position + n > end`,
// whose sum could wrap. Multi-byte fields are big-endian and go through these calls, never through a cast.

#include <cstdint>
#include <cstring>

#include "core/ByteAccess.h"

class ByteReader {
  public:
    ByteReader(const uint8_t *data, uint32_t size)
        : position_(data), remaining_(data != nullptr ? size : 0) {}

    [[nodiscard]] const uint8_t *position() const { return position_; }
    [[nodiscard]] uint32_t remaining() const { return remaining_; }

    // Each read moves past what it read; false, without moving, when too few bytes are left.
    bool be16(uint16_t &value) {
        const uint8_t *field = take(2);
        if (field != nullptr) {
            value = loadBe16(field);
        }
        return field != nullptr;
    }
    bool be32(uint32_t &value) {
        const uint8_t *field = take(4);
        if (field != nullptr) {
            value = loadBe32(field);
        }
        return field != nullptr;
    }
    // The next `n` bytes, moving past them; null when fewer are left.
    const uint8_t *take(uint32_t n) {
        if (n > remaining_) {
            return nullptr;
        }
        const uint8_t *taken = position_;
        position_ += n;
        remaining_ -= n;
        return taken;
    }

    // A big-endian field `offset` bytes ahead, without moving; false when it does not lie in what is left.
    [[nodiscard]] bool be32At(uint32_t offset, uint32_t &value) const {
        if (offset > remaining_ || 4 > remaining_ - offset) {
            return false;
        }
        value = loadBe32(position_ + offset);
        return true;
    }

  private:
    const uint8_t *position_;
    uint32_t remaining_;
};

class ByteWriter {
  public:
    ByteWriter(uint8_t *data, uint32_t capacity) : start_(data), capacity_(data != nullptr ? capacity : 0) {}

    [[nodiscard]] uint32_t written() const { return written_; }
    [[nodiscard]] uint32_t room() const { return capacity_ - written_; }
    [[nodiscard]] uint8_t *position() const { return start_ + written_; }

    // Each write is whole or not at all: false, with nothing written, when it does not fit.
    bool bytes(const void *data, uint32_t n) {
        if (n > room()) {
            return false;
        }
        if (n != 0) {
            std::memcpy(position(), data, n);
        }
        written_ += n;
        return true;
    }
    bool be16(uint16_t value) {
        const uint8_t field[2] = {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
        return bytes(field, sizeof field);
    }
    bool be32(uint32_t value) {
        return be16(static_cast<uint16_t>(value >> 16)) && be16(static_cast<uint16_t>(value));
    }
    // Counts `n` bytes that the caller has written at position() itself.
    bool advance(uint32_t n) {
        if (n > room()) {
            return false;
        }
        written_ += n;
        return true;
    }

    // Starts a DHCPv6 option: the code and room for its length, both only when the whole 4-byte header fits.
    bool beginOption(uint16_t code) {
        if (kOptionHeader > room()) {
            return false;
        }
        optionStart_ = written_;
        return be16(code) && be16(0);
    }
    // Writes the length of the option begun last: everything written after its header, which must fit the
    // 16-bit field.
    bool endOption() {
        const uint32_t length = written_ - optionStart_ - kOptionHeader;
        if (length > UINT16_MAX) {
            return false;
        }
        start_[optionStart_ + 2] = static_cast<uint8_t>(length >> 8);
        start_[optionStart_ + 3] = static_cast<uint8_t>(length);
        return true;
    }

  private:
    static constexpr uint32_t kOptionHeader = 4;

    uint8_t *start_;
    uint32_t capacity_;
    uint32_t written_ = 0;
    uint32_t optionStart_ = 0;
};
