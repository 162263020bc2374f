#include "snooping/AddressList.h"

#include <algorithm>
#include <cstring>

#include "platform/VosApi.h"

namespace {

constexpr uint32_t kSmallestCapacity = 3;

bool grow(AddressList &list) {
    const uint32_t capacity = 2 * std::max(list.capacity, kSmallestCapacity);
    auto **items = static_cast<void **>(vosCalloc(capacity, sizeof(void *)));
    if (items == nullptr) {
        return false;
    }
    std::copy_n(list.items, list.count, items);
    vosFree(list.items);
    list.items = items;
    list.capacity = capacity;
    return true;
}

}  // namespace

bool sameBinding(const ClientAddress &a, const ClientAddress &b) {
    return std::memcmp(&a, &b, kBindingKeySize) == 0;
}

ClientAddress *addressListFindBinding(const AddressList &list, const ClientAddress &wanted) {
    for (uint32_t i = 0; i < list.count; ++i) {
        if (sameBinding(*addressAt(list, i), wanted)) {
            return addressAt(list, i);
        }
    }
    return nullptr;
}

void addressListStoreBinding(AddressList &list, const ClientAddress &record) {
    if (ClientAddress *known = addressListFindBinding(list, record)) {
        *known = record;
    } else {
        ClientAddress copy = record;
        addressListAppend(&list, &copy, sizeof copy);
    }
}

extern "C" {

void addressListAppend(AddressList *list, void *data, uint32_t size) {
    if (list->count == list->capacity && !grow(*list)) {
        return;
    }
    void *item = data;
    if (size != 0) {
        item = vosCalloc(1, size);
        if (item == nullptr) {
            return;
        }
        std::memcpy(item, data, size);
    }
    list->items[list->count++] = item;
}

void addressListRemove(AddressList *list, void *item, AddressListRelease release) {
    void **end = list->items + list->count;
    void **found = std::find(list->items, end, item);
    if (found == end) {
        return;
    }
    std::copy(found + 1, end, found);
    --list->count;
    if (release != nullptr) {
        release(&item);
    }
}

void addressListClear(AddressList *list, AddressListRelease release) {
    if (list->capacity == 0) {
        return;
    }
    if (release != nullptr) {
        std::for_each_n(list->items, list->count, [release](void *&slot) { release(&slot); });
    }
    vosFree(list->items);
    *list = {};
}

void addressListFreeItem(void **slot) {
    vosFree(*slot);
    *slot = nullptr;
}
}
