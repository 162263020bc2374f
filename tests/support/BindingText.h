#pragma once
// Address records written out for comparison: "2001:db8::1/128 600/900" (preferred/valid lifetime).

#include <string>
#include <vector>

#include "platform/VosApi.h"
#include "snooping/AddressList.h"

inline std::vector<std::string> bindingTexts(const AddressList &list) {
    std::vector<std::string> texts;
    for (uint32_t i = 0; i < list.count; ++i) {
        const ClientAddress &record = *addressAt(list, i);
        char address[64] = {};
        vosInetNtop(VOS_AF_INET6, record.address, address, sizeof address);
        texts.push_back(std::string(address) + "/" + std::to_string(record.prefixLength) + " " +
                        std::to_string(record.preferredLifetime) + "/" +
                        std::to_string(record.validLifetime));
    }
    return texts;
}
