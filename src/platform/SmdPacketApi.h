#pragma once
// The switch's packet and port service: trapping frames to the process, sending frames out of ports, the
// MAC address table, link events and the naming of ports.

#include <cstddef>
#include <cstdint>

extern "C" {

// Selects which frames the packet service hands to a registered callback. Every byte not named here is
// zero; the 16-bit fields are in the processor's own byte order.
struct PktMatchDescriptor {
    uint8_t reserved0[18];
    uint16_t etherType;
    uint16_t ipProtocol;
    uint16_t udpPort;
    uint16_t matchFlags;
    uint8_t reserved1[6];
    uint16_t registrationIndex;
    uint8_t reserved2[2];
};
static_assert(sizeof(PktMatchDescriptor) == 36);
static_assert(offsetof(PktMatchDescriptor, etherType) == 18);
static_assert(offsetof(PktMatchDescriptor, ipProtocol) == 20);
static_assert(offsetof(PktMatchDescriptor, udpPort) == 22);
static_assert(offsetof(PktMatchDescriptor, matchFlags) == 24);
static_assert(offsetof(PktMatchDescriptor, registrationIndex) == 32);

inline constexpr uint16_t PKT_MATCH_ETHER_TYPE = 0x08;
inline constexpr uint16_t PKT_MATCH_IP_PROTOCOL = 0x10;
inline constexpr uint16_t PKT_MATCH_UDP_PORT = 0x20;

// What the packet service tells about one received frame. The process keeps a copy with the frame and
// hands it back unchanged to the send calls; the bytes not named here are the service's own.
struct PktRecvInfo {
    uint8_t reserved0[4];
    uint16_t etherTypeOffset;  // offset of the EtherType field just before the IP header
    uint8_t reserved1[2];
    uint16_t payloadOffset;  // offset of the UDP payload from the start of the frame
    uint8_t reserved2[46];
    uint16_t frameKind;
    uint8_t reserved3[30];
};
static_assert(sizeof(PktRecvInfo) == 88);
static_assert(offsetof(PktRecvInfo, etherTypeOffset) == 4);
static_assert(offsetof(PktRecvInfo, payloadOffset) == 8);
static_assert(offsetof(PktRecvInfo, frameKind) == 56);

// Where a frame came in: each word is used in its low 16 bits.
struct PktRecvTag {
    uint32_t vlanId;
    uint32_t portIndex;
    uint8_t reserved[8];
};
static_assert(sizeof(PktRecvTag) == 16);
static_assert(offsetof(PktRecvTag, portIndex) == 4);

// One bit per port: port p (1-based) is bit 0x80 >> ((p - 1) % 8) of byte (p - 1) / 8.
struct PortList {
    uint8_t bits[29];
};
static_assert(sizeof(PortList) == 29);

// Query of the MAC address table, zero-filled before use.
struct MacTableQuery {
    uint32_t flags;          // out: MAC_TABLE_LEARNED_ON_AGGREGATION when learned on a link aggregation
    uint8_t mac[6];          // in: the address to look up
    uint16_t vlanId;         // in
    uint32_t port;           // in: a port index to look from; out: the port the address was learned on
    uint32_t aggregationId;  // out
    uint8_t reserved[12];
};
static_assert(sizeof(MacTableQuery) == 32);
static_assert(offsetof(MacTableQuery, flags) == 0);
static_assert(offsetof(MacTableQuery, mac) == 4);
static_assert(offsetof(MacTableQuery, vlanId) == 10);
static_assert(offsetof(MacTableQuery, port) == 12);
static_assert(offsetof(MacTableQuery, aggregationId) == 16);

inline constexpr uint32_t MAC_TABLE_LEARNED_ON_AGGREGATION = 0x20;

// Text sizes of the port naming calls, terminating zero included.
inline constexpr uint32_t PORT_NAME_TEXT_SIZE = 33;
inline constexpr uint32_t PORT_INTERFACE_DESC_TEXT_SIZE = 64;
inline constexpr uint32_t MAC_TEXT_SIZE = 18;

// Receives one trapped frame; `frame` starts 2 bytes past a 4-byte boundary.
typedef int32_t (*PktRecvCallback)(uint8_t *frame, uint32_t length, PktRecvTag tag, PktRecvInfo info);
// Called with the port and its new status (0 = link down) on every link change.
typedef int32_t (*LinkChangeCallback)(uint32_t portIndex, uint32_t status);

int32_t smdVDPktRegister(uint32_t unit, const PktMatchDescriptor *descriptor, uint32_t mode,
                         PktRecvCallback callback);
// Moves the registration made with an equal descriptor to `mode`.
int32_t smdVDPktRegRunning(uint32_t unit, const PktMatchDescriptor *descriptor, uint32_t mode);
int32_t smdVDPktSendPort(const uint8_t *frame, uint32_t length, const PktRecvInfo *info, uint16_t vlanId,
                         uint32_t portIndex, uint32_t flags);
int32_t smdVDPktSendPortlist(const uint8_t *frame, uint32_t length, const PktRecvInfo *info, uint16_t vlanId,
                             const PortList *ports, uint32_t flags);
// Non-zero when the list holds no port.
int32_t vd_portlist_plnull(const PortList *ports);
// 0 when the address was found and the query's outputs are filled.
int32_t smdVDMacGet(MacTableQuery *query);
int32_t smdVDLinktrapRegPort(uint32_t unit, uint32_t flags, LinkChangeCallback callback);
// Non-zero when the port exists on this switch.
int32_t smdVDPortExist(uint32_t portIndex);
int32_t smdVDPortTypeGet(uint16_t portIndex, uint32_t *typeCode);
int32_t smdVDPortSnmpToUser(uint32_t portIndex, uint32_t *slot, uint32_t *subslot, uint32_t *port);
int32_t transPort2EtherPort(uint32_t portIndex, char name[PORT_NAME_TEXT_SIZE]);
int32_t transPort2InterfaceDesc(uint32_t portIndex, char line[PORT_INTERFACE_DESC_TEXT_SIZE]);
int32_t transPort2String(uint32_t portIndex, char name[PORT_NAME_TEXT_SIZE]);
int32_t VLAN_Api_PortList_Get(uint32_t vlanId, PortList *members, uint32_t flags);
// Writes the ports to send on for the member list, link aggregation applied and the ingress excepted.
int32_t lac_ap_2_ag_hi_hi_excpt_cur(const PortList *members, PortList *egress, uint16_t ingressPortIndex);
const char *get_str_by_mid(uint32_t moduleId);
int32_t macToStr(const uint8_t mac[6], char text[MAC_TEXT_SIZE]);
}
