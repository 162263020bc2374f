#include "ClientListing.h"

#include <algorithm>

#include "snooping/ClientTable.h"

namespace listing {

mgmt::ClientPage clientPage(std::span<const uint8_t> request, size_t mostBytes) {
    std::array<uint8_t, 6> after{};
    std::copy_n(request.begin(), std::min(request.size(), after.size()), after.begin());
    const bool fromFirst = std::ranges::all_of(after, [](uint8_t b) { return b == 0; });
    mgmt::ClientPage page;
    size_t bytes = 0;
    for (const ClientEntry *entry = fromFirst ? clientFirst() : clientAfter(after.data()); entry != nullptr;
         entry = clientAfter(entry->mac)) {
        mgmt::ClientView client;
        std::copy_n(entry->mac, client.mac.size(), client.mac.begin());
        client.waiting = entry->acked == 0;
        client.vlan = entry->vlanId;
        client.port = entry->portIndex;
        for (uint32_t i = 0; i < entry->addresses.count && i < UINT8_MAX; ++i) {
            const ClientAddress &record = *addressAt(entry->addresses, i);
            mgmt::ClientAddressView address;
            std::copy_n(record.address, address.address.size(), address.address.begin());
            address.prefixLength = record.prefixLength;
            address.validSecondsLeft = record.validLifetime;
            client.addresses.push_back(address);
        }
        bytes += mgmt::clientRecordSize(client);
        if (bytes > mostBytes && !page.clients.empty()) {
            page.more = true;
            break;
        }
        page.clients.push_back(std::move(client));
    }
    return page;
}

}  // namespace listing
