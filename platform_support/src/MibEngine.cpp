// The requests a manager makes of the registered module, each turned into calls of its handlers the way an
// agent serves a get, a get-next or a set.

#include "platform_support/MibEngine.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <string>
#include <utility>

#include "MibRequestContext.h"

namespace mibengine {
namespace {

using ObjectMap = std::map<Oid, RegisteredObject>;

bool isOidPrefix(const Oid &prefix, const Oid &oid) {
    return prefix.size() <= oid.size() && std::equal(prefix.begin(), prefix.end(), oid.begin());
}

// The object's OID: its group's prefix followed by its column.
Oid objectOid(const MibGroupDescriptor &group, const MibObjectDescriptor &object) {
    Oid oid(group.oid, group.oid + group.oidLength - 1);
    oid.push_back(object.column);
    return oid;
}

bool wellFormed(const MibObjectListEntry &entry) {
    return entry.group != nullptr && entry.object != nullptr && entry.object->handler != nullptr &&
           entry.group->oidLength >= 1 && entry.group->oidLength <= kMibOidCapacity &&
           entry.group->instanceLength <= kMibOidCapacity;
}

ObjectMap::const_iterator objectAt(const ObjectMap &objects, const Oid &oid) {
    // As no object's OID prefixes another's, only the last object not after `oid` can be it.
    const auto after = objects.upper_bound(oid);
    if (after == objects.begin()) {
        return objects.end();
    }
    const auto candidate = std::prev(after);
    return isOidPrefix(candidate->first, oid) ? candidate : objects.end();
}

// One call of the object's handler with an instance of at most 32 arcs, as the agent makes every request.
MibResult callHandler(const ObjectMap::value_type &entry, uint32_t mode, const Oid &instance,
                      const MibValue &value) {
    const auto &[oid, object] = entry;
    std::array<uint32_t, kMibOidCapacity> index{};
    std::ranges::copy(instance, index.begin());
    MibRequestContext context(value.carriedBytes());
    MibRequest request{.index = index.data(),
                       .indexLength = static_cast<uint32_t>(instance.size()),
                       .tableIndexLength = object.group->instanceLength,
                       .valueLength = value.length(),
                       .objectId = object.object->objectId,
                       .agent = &context};
    const uint32_t code = object.object->handler(mode, &request);
    if (request.indexLength > kMibOidCapacity) {
        mibContractBroken("a MIB handler left an instance of more than 32 sub-identifiers in its request");
    }
    Oid addressed = oid;
    addressed.insert(addressed.end(), index.begin(), index.begin() + request.indexLength);
    return {code, std::move(addressed), std::move(context.answer)};
}

std::string oidText(const Oid &oid) {
    std::string text;
    for (const uint32_t arc : oid) {
        text += text.empty() ? "" : ".";
        text += std::to_string(arc);
    }
    return text;
}

std::string octetsText(const Octets &octets) {
    if (std::ranges::all_of(octets, [](uint8_t byte) { return byte >= 0x20 && byte < 0x7f; })) {
        return '"' + std::string(octets.begin(), octets.end()) + '"';
    }
    std::string text;
    for (const uint8_t byte : octets) {
        std::array<char, 4> hex{};
        std::snprintf(hex.data(), hex.size(), "%s%02x", text.empty() ? "" : ":", byte);
        text += hex.data();
    }
    return text;
}

std::string valueText(const MibValue &value) {
    if (const auto *integer = std::get_if<uint32_t>(&value.content())) {
        return std::to_string(*integer);
    }
    if (const auto *octets = std::get_if<Octets>(&value.content())) {
        return octetsText(*octets);
    }
    return "null";
}

}  // namespace

MibValue MibValue::integer(uint32_t value, uint32_t carriedLength) {
    return {value, carriedLength};
}

MibValue MibValue::octets(Octets octets) {
    const auto length = static_cast<uint32_t>(octets.size());
    return {std::move(octets), length};
}

MibValue MibValue::text(std::string_view text) {
    return octets(Octets(text.begin(), text.end()));
}

Octets MibValue::carriedBytes() const {
    if (const auto *octets = std::get_if<Octets>(&content_)) {
        return *octets;
    }
    Octets bytes(length_);
    uint32_t rest = std::holds_alternative<uint32_t>(content_) ? std::get<uint32_t>(content_) : 0;
    for (auto byte = bytes.rbegin(); byte != bytes.rend() && rest != 0; ++byte, rest >>= 8U) {
        *byte = static_cast<uint8_t>(rest);
    }
    return bytes;
}

std::shared_ptr<const MibModule> moduleListed(const MibObjectListEntry *objects) {
    auto module = std::make_shared<MibModule>();
    for (const MibObjectListEntry *entry = objects;
         entry != nullptr && (entry->group != nullptr || entry->object != nullptr); ++entry) {
        if (!wellFormed(*entry) || !module->objects
                                        .try_emplace(objectOid(*entry->group, *entry->object),
                                                     RegisteredObject{entry->group, entry->object})
                                        .second) {
            return nullptr;
        }
    }
    // An OID that is a prefix of another sorts right before the ones it prefixes.
    const auto prefixes = [](const auto &first, const auto &second) {
        return isOidPrefix(first.first, second.first);
    };
    if (objects == nullptr || std::adjacent_find(module->objects.begin(), module->objects.end(), prefixes) !=
                                  module->objects.end()) {
        return nullptr;
    }
    return module;
}

const std::pair<const Oid, RegisteredObject> *objectNamed(const MibModule &module, const Oid &oid) {
    const auto named = objectAt(module.objects, oid);
    return named == module.objects.end() ? nullptr : &*named;
}

MibResult serve(const MibModule &module, uint32_t mode, const Oid &oid, const MibValue &value) {
    const auto *named = objectNamed(module, oid);
    if (named == nullptr) {
        return {kMibNoSuchObject, oid, {}};
    }
    const Oid instance(oid.begin() + static_cast<ptrdiff_t>(named->first.size()), oid.end());
    if (instance.size() > kMibOidCapacity) {
        return {kMibNoSuchInstance, oid, {}};
    }
    return callHandler(*named, mode, instance, value);
}

MibResult getNext(const MibModule &module, const Oid &oid) {
    const ObjectMap &objects = module.objects;
    auto at = objectAt(objects, oid);
    Oid instance;
    if (at != objects.end()) {
        const auto first = oid.begin() + static_cast<ptrdiff_t>(at->first.size());
        instance.assign(first, first + std::min<ptrdiff_t>(oid.end() - first, kMibOidCapacity));
    } else {
        at = objects.lower_bound(oid);
    }
    for (; at != objects.end(); ++at) {
        MibResult result = callHandler(*at, MIB_MODE_GET_NEXT, instance, {});
        if (result.code != kMibNoNextInstance) {
            if (result.code == kMibNoError && result.oid <= oid) {
                mibContractBroken("a MIB handler answered a get-next with an OID not after the one asked");
            }
            return result;
        }
        instance.clear();
    }
    return {kMibEndOfModule, oid, {}};
}

MibSetResult set(const MibModule &module, const std::vector<MibVarBind> &varBinds) {
    for (const uint32_t mode : {MIB_MODE_TEST, MIB_MODE_SET}) {
        for (size_t position = 0; position < varBinds.size(); ++position) {
            const uint32_t code = serve(module, mode, varBinds[position].oid, varBinds[position].value).code;
            if (code != kMibNoError) {
                return {code, position};
            }
        }
    }
    return {};
}

std::vector<MibVarBind> walk(const MibModule &module) {
    std::vector<MibVarBind> varBinds;
    for (MibResult result = getNext(module, {}); result.code == kMibNoError;
         result = getNext(module, result.oid)) {
        varBinds.push_back({result.oid, result.value});
    }
    return varBinds;
}

std::string varBindText(const MibVarBind &varBind) {
    return oidText(varBind.oid) + " = " + valueText(varBind.value);
}

}  // namespace mibengine
