#include "snooping/ClientRestore.h"

#include "core/GlobalState.h"
#include "platform/VosApi.h"
#include "snooping/BindingFilter.h"
#include "snooping/ClientTable.h"

namespace {

constexpr int32_t kRefused = -1;

bool placeTakes(uint32_t vlanId, PortIndex portIndex) {
    if (!isTablePort(portIndex) || !isUsableVlan(vlanId) || portTrustMode[portSlot(portIndex)] == 1) {
        return false;
    }
    return portClientCount[portSlot(portIndex)] < portMaxNum[portSlot(portIndex)] &&
           vlanClientCount[vlanId] < vlanMaxNum[vlanId];
}

bool anyLeft(const ClientAddress *addresses, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        if (addresses[i].validLifetime != 0) {
            return true;
        }
    }
    return false;
}

}  // namespace

extern "C" {

int32_t clientRestore(const uint8_t *mac, uint32_t vlanId, uint32_t portIndex, const ClientAddress *addresses,
                      uint32_t count) {
    if (dhcp6snoopingOnOff != 1 || mac == nullptr || addresses == nullptr || macIsZero(mac) ||
        clientFind(mac) != nullptr || !placeTakes(vlanId, portIndex) || !anyLeft(addresses, count)) {
        return kRefused;
    }
    ClientEntry *entry = clientFindOrCreate(mac);
    if (entry == nullptr) {
        return kRefused;
    }
    entry->vlanId = vlanId;
    entry->portIndex = portIndex;
    entry->lastUpdate = vosUpSeconds();
    entry->acked = 1;
    clientCount(entry);
    for (uint32_t i = 0; i < count; ++i) {
        if (addresses[i].validLifetime == 0) {
            continue;
        }
        ClientAddress record = addresses[i];
        record.learnedAt = entry->lastUpdate;
        addressListStoreBinding(entry->addresses, record);
        if (bindingHasFilter(*entry, record, portIndex)) {
            bindingFilterInstall(*entry, record);
        }
    }
    return clientDeleteIfBare(*entry) ? kRefused : 0;
}
}
