#include "source_guard/StaticBindList.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

bool hasMac(const StaticBindEntry &binding) {
    return std::any_of(std::begin(binding.mac), std::end(binding.mac),
                       [](uint8_t octet) { return octet != 0; });
}

bool covers(const StaticBindEntry &binding, const uint8_t *mac, const uint8_t *address) {
    if (address != nullptr && std::memcmp(binding.ip, address, sizeof binding.ip) == 0) {
        return true;
    }
    return mac != nullptr && hasMac(binding) && std::memcmp(binding.mac, mac, sizeof binding.mac) == 0;
}

}  // namespace

extern "C" {

StaticBindEntry staticBindList = {&staticBindList, &staticBindList, {}, {}, 0, 0};
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
