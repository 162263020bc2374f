#pragma once
// A client's granted addresses and prefixes, and the growable pointer list that holds them.

#include <cstddef>
#include <cstdint>

extern "C" {

// One granted address (prefixLength 128) or delegated prefix. Copied as a whole; two records are the same
// binding when their first kBindingKeySize bytes (address and prefixLength) are equal.
struct ClientAddress {
    uint8_t address[16];  // network byte order
    uint32_t prefixLength;
    uint32_t preferredLifetime;  // seconds, as granted
    uint32_t validLifetime;      // seconds left; counted down by aging
    uint32_t learnedAt;          // vosUpSeconds when read from the message
    uint32_t status;             // status code inside the address or prefix option
};
static_assert(sizeof(ClientAddress) == 36);
static_assert(offsetof(ClientAddress, prefixLength) == 16);
static_assert(offsetof(ClientAddress, preferredLifetime) == 20);
static_assert(offsetof(ClientAddress, validLifetime) == 24);
static_assert(offsetof(ClientAddress, learnedAt) == 28);
static_assert(offsetof(ClientAddress, status) == 32);

// An empty list has capacity 0 and no array. The list owns the records that were appended as copies.
struct AddressList {
    uint32_t count;
    uint32_t capacity;
    void **items;
};

// Frees what a list slot points to and empties the slot.
typedef void (*AddressListRelease)(void **slot);

// Appends a heap copy of `size` bytes at `data`, or `data` itself when `size` is 0. The array grows to twice
// the larger of its capacity and 3 (6, 12, 24, ...). When memory runs out nothing is appended.
void addressListAppend(AddressList *list, void *data, uint32_t size);
// Removes `item` from the list, keeping the order of the others, and hands it to `release` when given.
void addressListRemove(AddressList *list, void *item, AddressListRelease release);
// Hands every item to `release` when given, frees the array and leaves the list empty.
void addressListClear(AddressList *list, AddressListRelease release);
// The release callback for lists that own their records.
void addressListFreeItem(void **slot);
}

inline constexpr uint32_t kBindingKeySize = 20;
inline constexpr uint32_t kAddressPrefixLength = 128;

inline ClientAddress *addressAt(const AddressList &list, uint32_t index) {
    return static_cast<ClientAddress *>(list.items[index]);
}

// True when the two records name the same address or prefix.
bool sameBinding(const ClientAddress &a, const ClientAddress &b);

// The record of `list` that names the same binding as `wanted`, or null.
ClientAddress *addressListFindBinding(const AddressList &list, const ClientAddress &wanted);

// Overwrites the record of the same binding with `record`, or appends a copy when there is none.
void addressListStoreBinding(AddressList &list, const ClientAddress &record);
