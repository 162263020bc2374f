#pragma once
// The DHCPv6 message inside a snooped frame and the one walker over its options. Everything works in place
// on the frame: nothing is copied and nothing is allocated.

#include <cstdint>

// DHCPv6 message types.
enum Dhcp6MessageType : uint8_t {
    MSG_SOLICIT = 1,
    MSG_ADVERTISE,
    MSG_REQUEST,
    MSG_CONFIRM,
    MSG_RENEW,
    MSG_REBIND,
    MSG_REPLY,
    MSG_RELEASE,
    MSG_DECLINE,
    MSG_RECONFIGURE,
    MSG_INFORMATION_REQUEST,
    MSG_RELAY_FORWARD,
    MSG_RELAY_REPLY,
};

// Option codes the daemon reads or writes.
inline constexpr uint16_t kOptionClientId = 1;
inline constexpr uint16_t kOptionIaNa = 3;
inline constexpr uint16_t kOptionIaAddress = 5;
inline constexpr uint16_t kOptionStatusCode = 13;
inline constexpr uint16_t kOptionInterfaceId = 18;
inline constexpr uint16_t kOptionIaPd = 25;
inline constexpr uint16_t kOptionIaPrefix = 26;
inline constexpr uint16_t kOptionRemoteId = 37;

// Every option starts with a 16-bit code and a 16-bit length of the data that follows.
inline constexpr uint32_t kOptionHeaderSize = 4;
// msg-type and transaction-id come before the options area, in relay messages too.
inline constexpr uint32_t kMessageHeaderSize = 4;

// Where a walk over one options area goes on from. An empty cursor (no position) finds nothing.
struct OptionCursor {
    const uint8_t *position;
    uint32_t remaining;
};

// The DHCPv6 message of a received frame.
struct Dhcp6Message {
    uint8_t type;
    const uint8_t *options;
    uint32_t optionsLength;
};

// The trace name of a message type: "SOLICIT" ... "RELAY_REPLY", or "UNKNOWN" outside 1..13.
const char *dhcp6MessageName(uint8_t type);

// The trace text of a status code, or "unknown status code" outside 0..5.
const char *dhcp6StatusText(uint32_t statusCode);

// Finds the first option of `code` in the area [area, area + areaLength) or, when `area` is null, from where
// `cursor` stands. Returns the option's 4-byte header (its data follows it) with the data length stored in
// `length`, or null. On a match a given cursor moves past the option; when nothing is found, or an option
// runs past the end of the area, the cursor is emptied. Never reads outside the area.
const uint8_t *dhcp6FindOption(uint16_t code, uint32_t *length, const uint8_t *area, uint32_t areaLength,
                               OptionCursor *cursor);

// The status code of the first Status Code option in an area, or 0 (success) when there is none or it is too
// short to hold a code. The status message is never read: `message`, when given, is set to null.
uint16_t dhcp6AreaStatus(const uint8_t *area, uint32_t areaLength, const char **message);

// Locates the message that starts at `payloadOffset` (the UDP payload); the frame ends where the datagram
// ends. False when the frame is too short to hold the message header there.
bool dhcp6LocateMessage(const uint8_t *frame, uint32_t frameLength, uint32_t payloadOffset,
                        Dhcp6Message *message);
