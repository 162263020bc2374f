#include "source_guard/StaticBindList.h"

#include <cstring>

#include "core/SharedTypes.h"

namespace {

bool covers(const StaticBindEntry &binding, const uint8_t *mac, const uint8_t *address) {
    if (address != nullptr && std::memcmp(binding.ip, address, sizeof binding.ip) == 0) {
        return true;
    }
    return mac != nullptr && !macIsZero(binding.mac) &&
           std::memcmp(binding.mac, mac, sizeof binding.mac) == 0;
}

}  // namespace

extern "C" {

StaticBindEntry staticBindList = {&staticBindList, &staticBindList, {}, {}, 0, 0, 0};
uint32_t staticBindCount = 0;

uint32_t staticBindCoversOther(const uint8_t *mac, const uint8_t *address, const StaticBindEntry *binding) {
    for (const StaticBindEntry *entry = staticBindList.next; entry != nullptr && entry != &staticBindList;
         entry = entry->next) {
        if (entry != binding && covers(*entry, mac, address)) {
            return 1;
        }
    }
    return 0;
}

uint32_t staticBindCovers(const uint8_t *mac, const uint8_t *address) {
    return staticBindCoversOther(mac, address, nullptr);
}

void staticBindInsertNewest(StaticBindEntry *binding) {
    binding->prev = &staticBindList;
    binding->next = staticBindList.next;
    staticBindList.next->prev = binding;
    staticBindList.next = binding;
    ++staticBindCount;
}

void staticBindUnlink(StaticBindEntry *binding) {
    binding->prev->next = binding->next;
    binding->next->prev = binding->prev;
    binding->next = binding->prev = nullptr;
    --staticBindCount;
}
}
