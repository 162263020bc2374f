#include "mgmt/RemoteCallTable.h"

#include <array>
#include <cstring>
#include <utility>

#include "mgmt/ConfigReset.h"
#include "mgmt/PortVlanSettings.h"
#include "mgmt_protocol/CallShapes.h"
#include "platform/RmWrapApi.h"
#include "relay_option/InfoOptionConfig.h"
#include "snooping/BulkRemoval.h"
#include "snooping/SnoopingOnOff.h"
#include "source_guard/ExemptVlans.h"
#include "source_guard/PortMode.h"
#include "source_guard/StaticBindRows.h"
#include "source_guard/StaticBindings.h"

namespace {

constexpr uint32_t kRegistrationTraceLevel = 4;
constexpr uint32_t kStartTraceLevel = 1024;
constexpr uint32_t kArgumentCountTraceLevel = 2048;
constexpr char kFunctionName[] = "dhcp6snoopingRmWrapFunction";
constexpr char kInitFailed[] = "%s:smdRMWrapInit failed";
constexpr char kRegisterFailed[] = "%s:register failed";
constexpr char kStart[] = "%s:start";
constexpr char kArgumentCountWrong[] = "%s:ulArgsNum %d error";

// The arguments of one call. Each entry's pointer lies unaligned at byte 4 of its 12 bytes and the data it
// points to has no alignment either, so both are read and written by copying bytes.
class Arguments {
  public:
    explicit Arguments(RemoteCallArg *args) : args_(args) {}

    template <typename T>
    [[nodiscard]] T in(uint32_t index) const {
        T value;
        std::memcpy(&value, data(index), sizeof value);
        return value;
    }
    template <typename T>
    void out(uint32_t index, const T &value) const {
        std::memcpy(data(index), &value, sizeof value);
    }
    [[nodiscard]] Ipv6Address address(uint32_t index) const { return in<Ipv6Address>(index); }
    [[nodiscard]] uint8_t *bytes(uint32_t index) const { return static_cast<uint8_t *>(data(index)); }

  private:
    [[nodiscard]] void *data(uint32_t index) const {
        void *pointer = nullptr;
        std::memcpy(&pointer,
                    reinterpret_cast<const uint8_t *>(args_ + index) + offsetof(RemoteCallArg, data),
                    sizeof pointer);
        return pointer;
    }

    RemoteCallArg *args_;
};

using Operation = int32_t (*)(const Arguments &);

struct RemoteCall {
    uint32_t number;
    const char *name;
    uint32_t argumentCount;
    Operation operation;
};

// Each wrapper decodes its arguments and calls the operation behind it; its result is the call's.
constexpr std::array<RemoteCall, kEndRemoteCall - kFirstRemoteCall> kCalls = {{
    {6250, "dhcp6snoopingWrap_start", 0,
     [](const Arguments &) { return static_cast<int32_t>(dhcp6snoopingStart()); }},
    {6251, "dhcp6snoopingWrap_stop", 0,
     [](const Arguments &) { return static_cast<int32_t>(dhcp6snoopingStop()); }},
    {6252, "dhcp6snoopingWrap_ip6_source_guard_bind_entry_num_get", 1,
     [](const Arguments &a) {
         a.out<uint32_t>(0, static_cast<uint32_t>(ip6v6_source_guard_bind_entry_num_get()));
         return 0;
     }},
    {6253, "dhcp6snoopingWrap_ip6_source_guard_bind_node_add", 4,
     [](const Arguments &a) {
         return ip6v6_source_guard_bind_node_add(a.address(0), a.bytes(1), a.in<uint32_t>(2),
                                                 a.in<uint32_t>(3));
     }},
    {6254, "dhcp6snoopingWrap_ip6_source_guard_bind_for_snmp_add", 5,
     [](const Arguments &a) {
         return ip6v6_source_guard_bind_for_snmp_add(a.in<uint32_t>(0), a.address(1), a.bytes(2),
                                                     a.in<uint32_t>(3), a.in<uint32_t>(4));
     }},
    {6255, "dhcp6snoopingWrap_ip6_source_guard_bind_node_check", 3,
     [](const Arguments &a) {
         return ip6v6_source_guard_bind_node_check(a.address(0), a.bytes(1), a.in<uint32_t>(2));
     }},
    {6256, "dhcp6snoopingWrap_ip6_source_guard_bind_node_delete", 1,
     [](const Arguments &a) { return ip6v6_source_guard_bind_node_delete(a.address(0)); }},
    {6257, "dhcp6snoopingWrap_ip6_source_guard_bind_for_snmp_delete", 1,
     [](const Arguments &a) { return ip6v6_source_guard_bind_for_snmp_delete(a.address(0)); }},
    {6258, "dhcp6snoopingWrap_ip6_source_guard_bind_node_delete_all", 0,
     [](const Arguments &) { return ip6v6_source_guard_bind_node_delete_all(); }},
    {6259, "dhcp6snoopingWrap_ip6_source_guard_bind_for_snmp_delete_all", 0,
     [](const Arguments &) { return ip6v6_source_guard_bind_for_snmp_delete_all(); }},
    {6260, "dhcp6snoopingWrap_set_ip6_source_guard_port_mode", 2,
     [](const Arguments &a) { return set_ip6_source_guard_port_mode(a.in<uint32_t>(0), a.in<uint32_t>(1)); }},
    {6261, "dhcp6snoopingWrap_port_mode", 2,
     [](const Arguments &a) { return dhcp6snooping_port_mode(a.in<uint32_t>(0), a.in<uint32_t>(1)); }},
    {6262, "dhcp6snoopingWrap_get_ip6_source_guard_port_mode", 2,
     [](const Arguments &a) {
         uint32_t mode = 0;
         const int32_t result = get_ip6_source_guard_port_mode(a.in<uint32_t>(0), &mode);
         a.out(1, mode);
         return result;
     }},
    {6263, "dhcp6snoopingWrap_port_maxclients", 2,
     [](const Arguments &a) { return dhcp6snooping_port_maxclients(a.in<uint32_t>(0), a.in<uint32_t>(1)); }},
    {6264, "dhcp6snoopingWrap_vlan_maxclients", 2,
     [](const Arguments &a) { return dhcp6snooping_vlan_maxclients(a.in<uint32_t>(0), a.in<uint32_t>(1)); }},
    {6265, "dhcp6snoopingWrap_get_nextclients_ext", 6,
     [](const Arguments &a) {
         uint32_t vlan = 0;
         uint32_t port = 0;
         uint32_t count = 0;
         std::array<ClientAddressSummary, kClientSummaryLimit> summaries{};
         std::array<uint32_t, kClientSummaryLimit> lifetimes{};
         const int32_t result = dhcp6snooping_get_nextclients_ext(a.bytes(0), &vlan, &port, &count,
                                                                  summaries.data(), lifetimes.data());
         a.out(1, vlan);
         a.out(2, port);
         a.out(3, count);
         a.out(4, summaries);
         a.out(5, lifetimes);
         return result;
     }},
    {6266, "dhcp6snoopingWrap_port_maxclients_get", 3,
     [](const Arguments &a) {
         uint32_t maximum = 0;
         uint32_t count = 0;
         const int32_t result = dhcp6snooping_port_maxclients_get(a.in<uint32_t>(0), &maximum, &count);
         a.out(1, maximum);
         a.out(2, count);
         return result;
     }},
    {6267, "dhcp6snoopingWrap_vlan_maxclients_get", 3,
     [](const Arguments &a) {
         uint32_t maximum = 0;
         uint32_t count = 0;
         const int32_t result = dhcp6snooping_vlan_maxclients_get(a.in<uint32_t>(0), &maximum, &count);
         a.out(1, maximum);
         a.out(2, count);
         return result;
     }},
    {6268, "dhcp6snoopingWrap_ip6_source_guard_bind_node_get_by_ip", 2,
     [](const Arguments &a) {
         auto record = a.in<StaticBindRecord>(1);
         const int32_t result = ip6v6_source_guard_bind_node_get_by_ip(a.address(0), &record);
         a.out(1, record);
         return result;
     }},
    {6269, "dhcp6snoopingWrap_port_mode_get", 2,
     [](const Arguments &a) {
         uint32_t trust = 0;
         const int32_t result = dhcp6snooping_port_mode_get(a.in<uint32_t>(0), &trust);
         a.out(1, trust);
         return result;
     }},
    {6270, "dhcp6snoopingWrapGlobalInfoGet", 1,
     [](const Arguments &a) {
         GlobalInfo info{};
         const int32_t result = dhcp6snoopingGlobalInfoGet(&info);
         a.out(0, info);
         return result;
     }},
    {6271, "dhcp6snoopingWrapFastRemoveCfg", 1,
     [](const Arguments &a) { return dhcp6snoopingFastRemoveCfg(a.in<uint32_t>(0)); }},
    {6272, "dhcp6snoopingWrap_vlan_reset", 1,
     [](const Arguments &a) {
         const auto vlans = a.in<VlanBitmap>(0);
         return dhcp6snooping_vlan_reset(&vlans);
     }},
    {6273, "dhcp6snoopingWrap_delete_by_data", 1,
     [](const Arguments &a) { return dhcp6snoopingDeleteByData(a.in<DeleteSelector>(0)); }},
    {6274, "dhcp6snoopingWrap_reset_config", 0,
     [](const Arguments &) { return dhcp6snooping_reset_config(); }},
    {6275, "dhcp6snoopingWrap_no_ip6_source_guard_vlan_get", 1,
     [](const Arguments &a) { return no_ip6_source_guard_vlan_get(a.in<uint32_t>(0)); }},
    {6276, "dhcp6snoopingWrap_operate_no_ip6_source_guard_vlan", 2,
     [](const Arguments &a) {
         return operate_no_ip6_source_guard_vlan(a.in<uint32_t>(0), a.in<uint32_t>(1));
     }},
    {6277, "dhcp6snoopingWrap_ip6_source_guard_bind_node_get", 4,
     [](const Arguments &a) {
         uint16_t next = 0;
         uint16_t count = 0;
         std::array<StaticBindRecord, kStaticBindPage> records{};
         const int32_t result =
             ip6v6_source_guard_bind_node_get(a.in<uint16_t>(0), &next, &count, records.data());
         a.out(1, next);
         a.out(2, count);
         std::memcpy(a.bytes(3), records.data(), count * sizeof(StaticBindRecord));
         return result;
     }},
    {6278, "dhcp6snoopingWrap_no_ip6_source_guard_vlanlist_get", 1,
     [](const Arguments &a) {
         VlanBitmap vlans{};
         const int32_t result = no_ip6_source_guard_vlanlist_get(&vlans);
         a.out(0, vlans);
         return result;
     }},
    {6279, "dhcp6snoopingWrap_ip6_source_guard_vlanlist_config", 3,
     [](const Arguments &a) {
         const auto requested = a.in<VlanBitmap>(1);
         auto failed = a.in<VlanBitmap>(2);
         const int32_t result = ip6_source_guard_vlanlist_config(a.in<uint32_t>(0), &requested, &failed);
         a.out(2, failed);
         return result;
     }},
    {6280, "dhcp6snoopingWrapGlobalDhcp6InfoGet", 1,
     [](const Arguments &a) {
         InfoOptionConfig config{};
         const int32_t result = dhcp6snoopingGlobalDhcp6InfoGet(&config);
         a.out(0, config);
         return result;
     }},
    {6281, "dhcp6snoopingWrapGlobalDhcp6InfoCfg", 2,
     [](const Arguments &a) {
         const auto config = a.in<InfoOptionConfig>(1);
         return dhcp6snoopingGlobalDhcp6InfoCfg(a.in<uint32_t>(0), &config);
     }},
}};

// The wrapper registered for row `Row`: the three steps every call takes.
template <size_t Row>
int32_t wrapper(void * /*context*/, RemoteCallArg *args, uint32_t ulArgsNum) {
    const RemoteCall &call = kCalls[Row];
    smdDebugPrintf(kStartTraceLevel, kStart, call.name);
    if (ulArgsNum != call.argumentCount) {
        smdDebugPrintf(kArgumentCountTraceLevel, kArgumentCountWrong, call.name, static_cast<int>(ulArgsNum));
        return kWrongArgumentCount;
    }
    return call.operation(Arguments(args));
}

template <size_t... Rows>
constexpr std::array<RmWrapper, sizeof...(Rows)> wrappersOf(std::index_sequence<Rows...> /*rows*/) {
    return {&wrapper<Rows>...};
}
constexpr auto kWrappers = wrappersOf(std::make_index_sequence<kCalls.size()>());

// The rows are in call-number order without gaps, so a call's row is its number's distance from the first.
constexpr bool numberedInOrder() {
    for (size_t row = 0; row < kCalls.size(); ++row) {
        if (kCalls[row].number != kFirstRemoteCall + row) {
            return false;
        }
    }
    return true;
}
static_assert(numberedInOrder());

// The command line builds each call to the shapes of the protocol's table: the same numbers and argument
// counts, and records of the sizes the operations take.
constexpr bool shapedAsTheProtocolSays() {
    for (size_t row = 0; row < kCalls.size(); ++row) {
        if (kCalls[row].number != mgmt::kCallShapes[row].number ||
            kCalls[row].argumentCount != mgmt::kCallShapes[row].argumentCount) {
            return false;
        }
    }
    return kCalls.size() == mgmt::kCallShapes.size();
}
static_assert(shapedAsTheProtocolSays());
static_assert(kFirstRemoteCall == mgmt::kStartSnooping);
static_assert(sizeof(Ipv6Address) == mgmt::kAddressSize);
static_assert(sizeof(GlobalInfo) == mgmt::kGlobalInfoSize);
static_assert(sizeof(VlanBitmap) == mgmt::kVlanBitmapSize);
static_assert(sizeof(DeleteSelector) == mgmt::kDeleteSelectorSize);
static_assert(offsetof(DeleteSelector, vlanId) == mgmt::kClearVlanOffset &&
              offsetof(DeleteSelector, portIndex) == mgmt::kClearPortOffset &&
              offsetof(DeleteSelector, address) == mgmt::kClearAddressOffset &&
              offsetof(DeleteSelector, mac) == mgmt::kClearMacOffset);
static_assert(DELETE_BY_PORT == static_cast<uint32_t>(mgmt::ClearBy::kPort) &&
              DELETE_BY_ADDRESS == static_cast<uint32_t>(mgmt::ClearBy::kAddress) &&
              DELETE_BY_VLAN == static_cast<uint32_t>(mgmt::ClearBy::kVlan) &&
              DELETE_BY_MAC == static_cast<uint32_t>(mgmt::ClearBy::kMac) &&
              DELETE_ALL == static_cast<uint32_t>(mgmt::ClearBy::kAll));
static_assert(sizeof(InfoOptionConfig) == mgmt::kInfoOptionConfigSize);
static_assert(offsetof(InfoOptionConfig, remoteIdEnable) == mgmt::kRemoteIdFields.enable &&
              offsetof(InfoOptionConfig, remoteIdFormat) == mgmt::kRemoteIdFields.format &&
              offsetof(InfoOptionConfig, remoteIdValue) == mgmt::kRemoteIdFields.value &&
              offsetof(InfoOptionConfig, interfaceIdEnable) == mgmt::kInterfaceIdFields.enable &&
              offsetof(InfoOptionConfig, interfaceIdFormat) == mgmt::kInterfaceIdFields.format &&
              offsetof(InfoOptionConfig, interfaceIdValue) == mgmt::kInterfaceIdFields.value &&
              kOptionValueSize == mgmt::kOptionValueBytes);
static_assert(SELECT_REMOTE_ID_ENABLE == static_cast<uint32_t>(mgmt::OptionSelect::kRemoteIdEnable) &&
              SELECT_INTERFACE_ID_ENABLE == static_cast<uint32_t>(mgmt::OptionSelect::kInterfaceIdEnable) &&
              SELECT_REMOTE_ID_FORMAT == static_cast<uint32_t>(mgmt::OptionSelect::kRemoteIdFormat) &&
              SELECT_INTERFACE_ID_FORMAT == static_cast<uint32_t>(mgmt::OptionSelect::kInterfaceIdFormat));
static_assert(kExemptVlansRemove == mgmt::kExemptVlansRemove);
static_assert(sizeof(StaticBindRecord) == mgmt::kStaticBindRecordSize);
static_assert(kStaticBindPage == mgmt::kStaticBindPageRecords);
static_assert(sizeof(ClientAddressSummary) == mgmt::kClientSummarySize);
static_assert(kClientSummaryLimit == mgmt::kClientSummaryRecords);

}  // namespace

extern "C" int32_t dhcp6snoopingRmWrapFunction(void) {
    const int32_t initResult = smdRMWrapInit(kFirstRemoteCall, kEndRemoteCall);
    if (initResult != 0) {
        smdDebugPrintf(kRegistrationTraceLevel, kInitFailed, kFunctionName);
        return initResult;
    }
    int32_t sum = 0;
    for (size_t row = 0; row < kCalls.size(); ++row) {
        sum += smdRmWrapRegister(kCalls[row].number, 0, kWrappers[row]);
    }
    if (sum != 0) {
        smdDebugPrintf(kRegistrationTraceLevel, kRegisterFailed, kFunctionName);
    }
    return sum;
}
