// The static bindings as a table of 512 rows that a manager creates and destroys through the row status
// column. The other columns of a set fill one pending row; setting the row status to create turns it into
// a binding and a row. The agent applies the values of one request in their order, so the columns come
// before the row status.

#include <cstdio>
#include <cstring>

#include "mib/MibHandlers.h"
#include "mib/MibRegistry.h"
#include "mib/MibSupport.h"
#include "platform/PlatformVariables.h"
#include "platform/SwitchHelperApi.h"
#include "platform/VosApi.h"
#include "source_guard/StaticBindRows.h"
#include "source_guard/StaticBindings.h"

namespace {

enum RowStatus : uint32_t {
    ROW_ACTIVE = 1,
    ROW_CREATE_AND_GO = 4,
    ROW_CREATE_AND_WAIT = 5,
    ROW_DESTROY = 6,
};

constexpr uint32_t kIntegerLength = 4;
constexpr uint32_t kAddressTextLength = 39;
constexpr uint32_t kMacTextLength = 17;
constexpr uint32_t kMacLength = 6;
constexpr uint32_t kMostBindings = 512;

// The row being assembled, shared by every manager.
struct PendingBindRow {
    uint32_t position;  // 0-based
    Ipv6Address address;
    uint8_t mac[8];
    uint32_t port;
    uint32_t vlan;
};
static_assert(sizeof(PendingBindRow) == 36);
PendingBindRow pendingBindRow;

// The six numbers of "xx:xx:xx:xx:xx:xx", as six octets; what does not parse stays 0.
void parseMac(const char *text, uint8_t *mac) {
    uint32_t numbers[kMacLength] = {};
    // NOLINTNEXTLINE(cert-err34-c): a short parse leaves the remaining numbers at 0
    std::sscanf(text, "%02x:%02x:%02x:%02x:%02x:%02x", &numbers[0], &numbers[1], &numbers[2], &numbers[3],
                &numbers[4], &numbers[5]);
    miscMacIndex2OctetString(numbers, mac);
}

// A MAC set as text must be "xx:xx:xx:xx:xx:xx", any case, and name a single station.
bool isMacText(MibRequest *request) {
    if (request->valueLength != kMacTextLength) {
        return false;
    }
    char text[kMacTextLength + 1];
    mibValueText(request, text);
    for (const size_t colon : {2, 5, 8, 11, 14}) {
        if (text[colon] != ':') {
            return false;
        }
    }
    uint8_t mac[kMacLength];
    parseMac(text, mac);
    return (mac[0] & 1) == 0;
}

const StaticBindRow *rowOf(uint32_t rowNumber) {
    return rowNumber != 0 && rowNumber <= kStaticBindRows ? &staticBindRowTable[rowNumber - 1] : nullptr;
}

uint32_t answer(uint32_t /*mode*/, MibRequest *request) {
    const StaticBindRow *row = rowOf(request->index[0]);
    if (row == nullptr) {
        return ccdErrorNoSuchInstance();
    }
    switch (request->objectId) {
        case MIB_BIND_INDEX:
            ulongSet(request, request->index[0]);
            break;
        case MIB_BIND_IP: {
            char text[64] = {};
            vosInetNtop(VOS_AF_INET6, row->ip, text, sizeof text);
            mibAnswerText(request, text);
            break;
        }
        case MIB_BIND_MAC:
            octetSet(request, row->mac, kMacLength);
            break;
        case MIB_BIND_PORT:
            ulongSet(request, row->port);
            break;
        case MIB_BIND_VLAN:
            ulongSet(request, row->vlan);
            break;
        default:
            ulongSet(request, ROW_ACTIVE);
            break;
    }
    return 0;
}

uint32_t test(MibRequest *request) {
    const uint32_t value = ulongGet(request);
    switch (request->objectId) {
        case MIB_BIND_INDEX:
            return value == 0 || value > kStaticBindRows   ? ccdErrorInvalidRange()
                   : request->valueLength > kIntegerLength ? ccdErrorInvalidLength()
                                                           : 0;
        case MIB_BIND_IP:
            return request->valueLength > kAddressTextLength ? ccdErrorInvalidLength() : 0;
        case MIB_BIND_MAC:
            return isMacText(request) ? 0 : ccdErrorInvalidRange();
        case MIB_BIND_PORT:
            return value == 0 || value > gul_max_port_num ? ccdErrorInvalidRange() : 0;
        case MIB_BIND_VLAN:
            return value > kLastVlan ? ccdErrorInvalidRange() : 0;
        default:
            return value == 0 || value > ROW_DESTROY ? ccdErrorInvalidRange() : 0;
    }
}

// Adds the pending row as a binding and a row at the first free position from its own. With the list full
// only a binding that exists already is accepted, and nothing is added.
uint32_t create() {
    const PendingBindRow &row = pendingBindRow;
    if (checkIpv6Valid(row.address.octets) == 0) {
        return ccdErrorWrongValue();
    }
    if (ip6v6_source_guard_bind_entry_num_get() < static_cast<int32_t>(kMostBindings)) {
        const int32_t added = ip6v6_source_guard_bind_node_add(row.address, row.mac, row.port, row.vlan);
        if (added != 0) {
            return ccdErrorCommitFailed();
        }
        ip6v6_source_guard_bind_for_snmp_add(row.position, row.address, row.mac, row.port, row.vlan);
    } else if (ip6v6_source_guard_bind_node_check(row.address, row.mac, row.port) != 0) {
        return ccdErrorResourceUnavail();
    }
    pendingBindRow = {};
    return 0;
}

// Removes the binding of the request's row and the row.
uint32_t destroy(MibRequest *request) {
    const StaticBindRow *row = rowOf(request->index[0]);
    if (row == nullptr || row->inUse == 0) {
        return ccdErrorResourceUnavail();
    }
    Ipv6Address address;
    std::memcpy(address.octets, row->ip, sizeof address.octets);
    const int32_t deleted = ip6v6_source_guard_bind_node_delete(address);
    if (deleted == -1) {
        return ccdErrorCommitFailed();
    }
    ip6v6_source_guard_bind_for_snmp_delete(address);
    pendingBindRow = {};
    return static_cast<uint32_t>(deleted);
}

uint32_t set(MibRequest *request) {
    const uint32_t value = ulongGet(request);
    switch (request->objectId) {
        case MIB_BIND_INDEX:
            pendingBindRow.position = value - 1;
            return 0;
        case MIB_BIND_IP: {
            char text[64];
            mibValueText(request, text);
            pendingBindRow.address = {};
            vosInetPton(VOS_AF_INET6, text, pendingBindRow.address.octets);
            return 0;
        }
        case MIB_BIND_MAC: {
            char text[kMacTextLength + 1];
            mibValueText(request, text);
            parseMac(text, pendingBindRow.mac);
            return 0;
        }
        case MIB_BIND_PORT:
            pendingBindRow.port = value;
            return 0;
        case MIB_BIND_VLAN:
            pendingBindRow.vlan = value;
            return 0;
        default:
            if (value == ROW_CREATE_AND_GO || value == ROW_CREATE_AND_WAIT) {
                return create();
            }
            return value == ROW_DESTROY ? destroy(request) : 0;
    }
}

// Moves the request to the first row in use after its own.
uint32_t moveToNextRow(MibRequest *request) {
    request->indexLength = 1;
    for (uint32_t position = request->index[0]; position < kStaticBindRows; ++position) {
        if (staticBindRowTable[position].inUse != 0) {
            request->index[0] = position + 1;
            return 0;
        }
    }
    return ccdErrorNoNextInstance();
}

}  // namespace

extern "C" uint32_t dhcp6snoopingMibBindHandler(uint32_t mode, MibRequest *request) {
    static constexpr MibGroupParts kParts = {
        .serves = [](uint16_t object) { return object >= MIB_BIND_INDEX && object <= MIB_BIND_ROW_STATUS; },
        .next = moveToNextRow,
        .get = answer,
        .test = test,
        .set = set,
    };
    return mibServe(mode, request, kParts);
}
