#include "mgmt_protocol/WrapperTable.h"

#include <algorithm>
#include <span>

#include "mgmt_protocol/CallShapes.h"
#include "mgmt_protocol/ManagementHeader.h"

namespace mgmt {
namespace {

// The largest argument of any call: a page of static-binding records.
constexpr size_t kLargestArgument = size_t{kStaticBindPageRecords} * kStaticBindRecordSize;

}  // namespace

int32_t WrapperTable::reserve(uint32_t firstCall, uint32_t endCall) {
    if (firstCall >= endCall) {
        return kRefused;
    }
    ranges_.emplace_back(firstCall, endCall);
    return 0;
}

int32_t WrapperTable::add(uint32_t callNumber, RmWrapper wrapper) {
    const bool reserved = std::ranges::any_of(ranges_, [callNumber](const auto &range) {
        return callNumber >= range.first && callNumber < range.second;
    });
    if (wrapper == nullptr || !reserved || wrappers_.contains(callNumber)) {
        return kRefused;
    }
    wrappers_[callNumber] = wrapper;
    return 0;
}

int32_t WrapperTable::serve(uint8_t *message, size_t length) const {
    const std::span<uint8_t> bytes(message, length);
    const auto call = decodeRemoteCall(bytes);
    if (!call) {
        return kRefused;  // its fields cannot be trusted, so it is left as it came
    }
    const auto wrapper = wrappers_.find(call->callNumber);
    int32_t result = kRefused;
    if (wrapper == wrappers_.end()) {
        storeAt<uint16_t>(bytes, kDataLengthOffset, 0);
    } else {
        // Each argument gets a buffer of its own, at least as large as the largest argument of any call, so
        // that a wrapper reading or writing a whole argument of a short one stays inside memory; what the
        // wrapper leaves in the first bytes goes back into the message, which is how outputs return.
        std::vector<Bytes> buffers;
        buffers.reserve(call->arguments.size());
        std::vector<RemoteCallArg> args(call->arguments.size());
        for (size_t i = 0; i < args.size(); ++i) {
            Bytes &buffer = buffers.emplace_back(std::max(call->arguments[i].size(), kLargestArgument), 0);
            std::ranges::copy(call->arguments[i], buffer.begin());
            args[i].word = static_cast<uint32_t>(call->arguments[i].size());
            args[i].data = buffer.data();
        }
        result = wrapper->second(message, args.data(), static_cast<uint32_t>(args.size()));
        size_t offset = kHeaderSize;
        for (size_t i = 0; i < args.size(); ++i) {
            const size_t argumentLength = call->arguments[i].size();
            offset += sizeof(uint32_t);
            std::copy_n(buffers[i].begin(), argumentLength, message + offset);
            offset += argumentLength;
        }
    }
    storeAt(bytes, kResultOffset, result);
    return result;
}

}  // namespace mgmt
