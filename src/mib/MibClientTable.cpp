// The learned clients as a read-only table indexed by MAC. A walk shows the acknowledged clients only, those
// holding bindings; a get by MAC finds any client, so that a manager can look at one still in its exchange.

#include <array>
#include <cstdio>
#include <cstring>

#include "mgmt/PortVlanSettings.h"
#include "mib/MibHandlers.h"
#include "mib/MibRegistry.h"
#include "mib/MibSupport.h"
#include "platform/VosApi.h"
#include "snooping/ClientTable.h"

namespace {

constexpr uint32_t kMacLength = 6;
constexpr uint32_t kFirstAddressesShown = 5;
constexpr uint32_t kTextSize = 256;
constexpr uint32_t kNoAddress = 0xFFFFFFFFU;  // -1

// One client as the table shows it: at most the first 10 of its bindings.
struct ClientView {
    uint32_t vlanId = 0;
    uint32_t port = 0;
    uint32_t count = 0;
    std::array<ClientAddressSummary, kClientSummaryLimit> addresses{};
    std::array<uint32_t, kClientSummaryLimit> lifetimes{};
};

bool isZeroMac(const uint8_t *mac) {
    static constexpr uint8_t kZero[kMacLength] = {};
    return std::memcmp(mac, kZero, kMacLength) == 0;
}

// The view of the client of `mac`, acknowledged or not; false without one.
bool clientView(const uint8_t *mac, ClientView &view) {
    const ClientEntry *entry = isZeroMac(mac) ? nullptr : clientFind(mac);
    if (entry == nullptr) {
        return false;
    }
    view.vlanId = entry->vlanId;
    view.port = entry->portIndex;
    for (uint32_t i = 0; i < entry->addresses.count && view.count < kClientSummaryLimit; ++i) {
        const ClientAddress *record = addressAt(entry->addresses, i);
        if (record != nullptr) {
            std::memcpy(&view.addresses[view.count], record, sizeof(ClientAddressSummary));
            view.lifetimes[view.count++] = record->validLifetime;
        }
    }
    return true;
}

// The first acknowledged client after `mac` (all zero: from the start), passing over a client recorded
// with the zero MAC, so that a walk always moves forward and ends.
const ClientEntry *nextAcknowledged(const uint8_t *mac) {
    const ClientEntry *entry = isZeroMac(mac) ? clientFirst() : clientAfter(mac);
    while (entry != nullptr && (entry->acked == 0 || isZeroMac(entry->mac))) {
        entry = clientAfter(entry->mac);
    }
    return entry;
}

// Appends `piece` and a comma; the last comma is taken off at the end.
class CommaList {
  public:
    void add(const char *piece) {
        const size_t room = sizeof text_ - 1 - length_;
        const int written = std::snprintf(text_ + length_, room + 1, "%s,", piece);
        length_ += std::min(static_cast<size_t>(written > 0 ? written : 0), room);
    }
    const char *text() {
        if (length_ > 1) {
            text_[--length_] = '\0';
        }
        return text_;
    }

  private:
    char text_[kTextSize] = {};
    size_t length_ = 0;
};

void answerAddresses(MibRequest *request, const ClientView &view, uint32_t first, uint32_t end) {
    CommaList list;
    for (uint32_t i = first; i < end; ++i) {
        char text[64] = {};
        vosInetNtop(VOS_AF_INET6, view.addresses[i].address, text, sizeof text);
        list.add(text);
    }
    mibAnswerText(request, list.text());
}

uint32_t answer(uint32_t /*mode*/, MibRequest *request) {
    uint8_t mac[kMacLength];
    miscMacIndex2OctetString(request->index, mac);
    if (request->objectId == MIB_CLIENT_MAC) {
        octetSet(request, mac, kMacLength);
        return 0;
    }
    ClientView view;
    if (!clientView(mac, view)) {
        return kNoAddress;
    }
    switch (request->objectId) {
        case MIB_CLIENT_VLAN:
            ulongSet(request, view.vlanId);
            break;
        case MIB_CLIENT_PORT:
            ulongSet(request, view.port);
            break;
        case MIB_CLIENT_LEASE_NUM:
            ulongSet(request, view.count);
            break;
        case MIB_CLIENT_ADDRESSES:
            answerAddresses(request, view, 0, std::min(view.count, kFirstAddressesShown));
            break;
        case MIB_CLIENT_ADDRESSES_2:
            if (view.count > kFirstAddressesShown) {
                answerAddresses(request, view, kFirstAddressesShown, view.count);
            }
            break;
        default: {
            CommaList list;
            for (uint32_t i = 0; i < view.count; ++i) {
                char text[32];
                dhcp6snoopingMibLeaseText(view.lifetimes[i], text, sizeof text);
                list.add(text);
            }
            mibAnswerText(request, list.text());
            break;
        }
    }
    return 0;
}

uint32_t moveToNextClient(MibRequest *request) {
    uint8_t mac[kMacLength] = {};
    if (request->indexLength != 0) {
        miscMacIndex2OctetString(request->index, mac);
    }
    request->indexLength = request->tableIndexLength;
    const ClientEntry *next = nextAcknowledged(mac);
    if (next == nullptr) {
        return ccdErrorNoNextInstance();
    }
    miscOctetString2MacIndex(next->mac, request->index);
    return 0;
}

}  // namespace

void dhcp6snoopingMibLeaseText(uint32_t seconds, char *text, size_t size) {
    const uint32_t minutesInAll = seconds / 60;
    const uint32_t hoursInAll = minutesInAll / 60;
    const uint32_t days = hoursInAll / 24;
    const uint32_t hours = hoursInAll % 24;
    const uint32_t minutes = minutesInAll % 60;
    const uint32_t rest = seconds % 60;
    if (days != 0) {
        std::snprintf(text, size, "%ud%uh%um%us", days, hours, minutes, rest);
    } else if (hours != 0) {
        std::snprintf(text, size, "%uh%um%us", hours, minutes, rest);
    } else if (minutes != 0) {
        std::snprintf(text, size, "%um%us", minutes, rest);
    } else {
        std::snprintf(text, size, "%us", rest);
    }
}

// Every column is read only: tests and sets are answered 0 and change nothing.
extern "C" uint32_t dhcp6snoopingMibClientHandler(uint32_t mode, MibRequest *request) {
    static constexpr MibGroupParts kParts = {
        .serves = [](uint16_t object) { return object >= MIB_CLIENT_MAC && object <= MIB_CLIENT_LEASE_TIME; },
        .next = moveToNextClient,
        .get = answer,
        .test = nullptr,
        .set = nullptr,
    };
    return mibServe(mode, request, kParts);
}
