#include "mib/MibRegistry.h"

#include <initializer_list>

#include "core/SharedTypes.h"
#include "mib/MibHandlers.h"

namespace {

constexpr uint32_t kGroupKind = 1;

// enterprises.<the project's number>.1.2.4.9
constexpr std::initializer_list<uint32_t> kModuleRoot = {1, 3, 6, 1, 4, 1, kPrivateEnterpriseNumber,
                                                         1, 2, 4, 9};

constexpr uint32_t maxLengthOf(MibSyntax syntax) {
    switch (syntax) {
        case MIB_SYNTAX_DISPLAY_STRING:
            return 255;
        case MIB_SYNTAX_MAC_ADDRESS:
            return 6;
        default:
            return 4;
    }
}

struct Range {
    uint32_t min = 0;
    uint32_t max = 0;
};

constexpr MibObjectDescriptor object(MibObject id, uint16_t column, MibSyntax syntax, MibAccess access,
                                     MibHandler handler, const char *name, Range range = {}) {
    return {id,      column, maxLengthOf(syntax), range.min, range.max,
            syntax,  access, kMibObjectFlags,     0,         handler,
            nullptr, name};
}

constexpr MibObjectDescriptor indexObject(MibObject id, MibSyntax syntax, MibAccess access,
                                          MibHandler handler, const char *name, Range range = {}) {
    MibObjectDescriptor descriptor = object(id, 1, syntax, access, handler, name, range);
    descriptor.flags = kMibIndexObjectFlags;
    return descriptor;
}

// A group whose prefix is the module root followed by `below`.
constexpr MibGroupDescriptor group(std::initializer_list<uint32_t> below, uint32_t instanceLength,
                                   const char *indexName, const MibObjectDescriptor *firstObject) {
    MibGroupDescriptor descriptor{};
    descriptor.groupKind = kGroupKind;
    uint32_t length = 0;
    for (const std::initializer_list<uint32_t> part : {kModuleRoot, below}) {
        for (const uint32_t arc : part) {
            descriptor.oid[length++] = arc;
        }
    }
    descriptor.oidLength = length + 1;
    descriptor.indexCount = indexName != nullptr ? 1 : 0;
    descriptor.instanceLength = instanceLength;
    descriptor.indexName = indexName;
    descriptor.firstObject = firstObject;
    return descriptor;
}

constexpr MibGroupDescriptor scalarGroup(std::initializer_list<uint32_t> below,
                                         const MibObjectDescriptor *object) {
    return group(below, 1, nullptr, object);
}

constexpr MibHandler kScalar = dhcp6snoopingMibScalarHandler;
constexpr MibHandler kPort = dhcp6snoopingMibPortHandler;
constexpr MibHandler kVlan = dhcp6snoopingMibVlanHandler;
constexpr MibHandler kClient = dhcp6snoopingMibClientHandler;
constexpr MibHandler kBind = dhcp6snoopingMibBindHandler;
constexpr MibSyntax kInteger = MIB_SYNTAX_INTEGER, kText = MIB_SYNTAX_DISPLAY_STRING,
                    kMac = MIB_SYNTAX_MAC_ADDRESS;
constexpr MibAccess kReadOnly = MIB_ACCESS_READ_ONLY, kReadWrite = MIB_ACCESS_READ_WRITE;
constexpr Range kOnOff{1, 2}, kVlanRange{1, 4094}, kPortRange{1, 255}, kFormats{1, 4};
// What the descriptors of the option switches have always carried; the handler accepts 0 and 1.
constexpr Range kEnable{1, 0};

// Each group's objects in objectId order, closed by a descriptor of zeros.
constexpr MibObjectDescriptor kOnOffObjects[] = {
    object(MIB_ON_OFF, 1, kInteger, kReadWrite, kScalar, "vrkL2Dhcp6Snooping:dhcp6snoopingOnOff", kOnOff),
    {}};
constexpr MibObjectDescriptor kPortObjects[] = {
    indexObject(MIB_PORT_INDEX, kInteger, kReadOnly, kPort, "vrkL2Dhcp6Snooping:portIndex"),
    object(MIB_PORT_TRUST_MODE, 2, kInteger, kReadWrite, kPort, "vrkL2Dhcp6Snooping:portTrustMode", kOnOff),
    object(MIB_PORT_MAX_NUM, 3, kInteger, kReadWrite, kPort, "vrkL2Dhcp6Snooping:portMaxNum"),
    object(MIB_PORT_SOURCE_GUARD_MODE, 4, kInteger, kReadWrite, kPort,
           "vrkL2Dhcp6Snooping:portIpSourceGuardMode", kOnOff),
    {}};
constexpr MibObjectDescriptor kVlanObjects[] = {
    indexObject(MIB_VLAN_INDEX, kInteger, kReadOnly, kVlan, "vrkL2Dhcp6Snooping:vlanIndex", kVlanRange),
    object(MIB_VLAN_MAX_NUM, 2, kInteger, kReadWrite, kVlan, "vrkL2Dhcp6Snooping:vlanMaxNum"),
    {}};
constexpr MibObjectDescriptor kPortDownObjects[] = {
    object(MIB_PORT_DOWN_ACTION, 4, kInteger, kReadWrite, kScalar,
           "vrkL2Dhcp6Snooping:dhcp6snoopingPortDownAction", kOnOff),
    {}};
constexpr MibObjectDescriptor kClientObjects[] = {
    indexObject(MIB_CLIENT_MAC, kMac, kReadOnly, kClient, "vrkL2Dhcp6Snooping:client6MacAddr"),
    object(MIB_CLIENT_VLAN, 2, kInteger, kReadOnly, kClient, "vrkL2Dhcp6Snooping:client6VlanId", kVlanRange),
    object(MIB_CLIENT_PORT, 3, kInteger, kReadOnly, kClient, "vrkL2Dhcp6Snooping:client6PortId", kPortRange),
    object(MIB_CLIENT_LEASE_NUM, 4, kInteger, kReadOnly, kClient, "vrkL2Dhcp6Snooping:client6LeaseNum",
           kPortRange),
    object(MIB_CLIENT_ADDRESSES, 5, kText, kReadOnly, kClient, "vrkL2Dhcp6Snooping:client6IpAddrStr"),
    object(MIB_CLIENT_ADDRESSES_2, 6, kText, kReadOnly, kClient, "vrkL2Dhcp6Snooping:client6IpAddrStr2"),
    object(MIB_CLIENT_LEASE_TIME, 7, kText, kReadOnly, kClient, "vrkL2Dhcp6Snooping:client6LeaseTime"),
    {}};
constexpr MibObjectDescriptor kBindObjects[] = {
    indexObject(MIB_BIND_INDEX, kInteger, kReadWrite, kBind, "vrkL2Dhcp6Snooping:ip6BindIndex", {1, 380}),
    object(MIB_BIND_IP, 2, kText, kReadWrite, kBind, "vrkL2Dhcp6Snooping:ip6BindIpAddr"),
    object(MIB_BIND_MAC, 3, kMac, kReadWrite, kBind, "vrkL2Dhcp6Snooping:ip6BindMacAddr"),
    object(MIB_BIND_PORT, 4, kInteger, kReadWrite, kBind, "vrkL2Dhcp6Snooping:ip6BindPortId", kPortRange),
    object(MIB_BIND_VLAN, 5, kInteger, kReadWrite, kBind, "vrkL2Dhcp6Snooping:ip6BindVlanId", kVlanRange),
    object(MIB_BIND_ROW_STATUS, 6, MIB_SYNTAX_ROW_STATUS, kReadWrite, kBind,
           "vrkL2Dhcp6Snooping:ip6SourceGuardBindRowstatus", {1, 6}),
    {}};
constexpr MibObjectDescriptor kDisabledVlanObjects[] = {
    object(MIB_DISABLED_VLANS, 8, kText, kReadWrite, kScalar,
           "vrkL2Dhcp6Snooping:ipv6SourceGuardDisabledVlanString"),
    {}};
constexpr MibObjectDescriptor kOption18Objects[] = {
    object(MIB_OPTION18_ENABLE, 1, kInteger, kReadWrite, kScalar,
           "vrkL2Dhcp6Snooping:dhcp6snoopingInfoOption18Enable", kEnable),
    {}};
constexpr MibObjectDescriptor kOption37Objects[] = {
    object(MIB_OPTION37_ENABLE, 2, kInteger, kReadWrite, kScalar,
           "vrkL2Dhcp6Snooping:dhcp6snoopingInfoOption37Enable", kEnable),
    {}};
constexpr MibObjectDescriptor kRemoteIdObjects[] = {
    object(MIB_REMOTE_ID_FORMAT, 3, kInteger, kReadWrite, kScalar,
           "vrkL2Dhcp6Snooping:dhcp6snoopingInfoRemoteId", kFormats),
    {}};
constexpr MibObjectDescriptor kRemoteTextObjects[] = {
    object(MIB_REMOTE_ID_TEXT, 4, kText, kReadWrite, kScalar,
           "vrkL2Dhcp6Snooping:dhcp6snoopingInfoRemoteStr"),
    {}};
constexpr MibObjectDescriptor kInterfaceIdObjects[] = {
    object(MIB_INTERFACE_ID_FORMAT, 5, kInteger, kReadWrite, kScalar,
           "vrkL2Dhcp6Snooping:dhcp6snoopingInfoInterfaceId", kFormats),
    {}};
constexpr MibObjectDescriptor kInterfaceTextObjects[] = {
    object(MIB_INTERFACE_ID_TEXT, 6, kText, kReadWrite, kScalar,
           "vrkL2Dhcp6Snooping:dhcp6snoopingInfoInterfaceStr"),
    {}};

constexpr MibGroupDescriptor kOnOffGroup = scalarGroup({}, kOnOffObjects);
constexpr MibGroupDescriptor kPortGroup = group({2, 1}, 1, "vrkL2Dhcp6Snooping:portIndex", kPortObjects);
constexpr MibGroupDescriptor kVlanGroup = group({3, 1}, 1, "vrkL2Dhcp6Snooping:vlanIndex", kVlanObjects);
constexpr MibGroupDescriptor kPortDownGroup = scalarGroup({}, kPortDownObjects);
constexpr MibGroupDescriptor kClientGroup =
    group({6, 1}, 6, "vrkL2Dhcp6Snooping:client6MacAddr", kClientObjects);
constexpr MibGroupDescriptor kBindGroup = group({7, 1}, 1, "vrkL2Dhcp6Snooping:ip6BindIndex", kBindObjects);
constexpr MibGroupDescriptor kDisabledVlanGroup = scalarGroup({}, kDisabledVlanObjects);
constexpr MibGroupDescriptor kOption18Group = scalarGroup({20}, kOption18Objects);
constexpr MibGroupDescriptor kOption37Group = scalarGroup({20}, kOption37Objects);
constexpr MibGroupDescriptor kRemoteIdGroup = scalarGroup({20}, kRemoteIdObjects);
constexpr MibGroupDescriptor kRemoteTextGroup = scalarGroup({20}, kRemoteTextObjects);
constexpr MibGroupDescriptor kInterfaceIdGroup = scalarGroup({20}, kInterfaceIdObjects);
constexpr MibGroupDescriptor kInterfaceTextGroup = scalarGroup({20}, kInterfaceTextObjects);

}  // namespace

constexpr MibObjectListEntry kMibObjectList[kMibObjectCount + 1] = {
    {&kOnOffGroup, &kOnOffObjects[0]},
    {&kPortGroup, &kPortObjects[0]},
    {&kPortGroup, &kPortObjects[1]},
    {&kPortGroup, &kPortObjects[2]},
    {&kPortGroup, &kPortObjects[3]},
    {&kVlanGroup, &kVlanObjects[0]},
    {&kVlanGroup, &kVlanObjects[1]},
    {&kPortDownGroup, &kPortDownObjects[0]},
    {&kClientGroup, &kClientObjects[0]},
    {&kClientGroup, &kClientObjects[1]},
    {&kClientGroup, &kClientObjects[2]},
    {&kClientGroup, &kClientObjects[3]},
    {&kClientGroup, &kClientObjects[4]},
    {&kClientGroup, &kClientObjects[5]},
    {&kClientGroup, &kClientObjects[6]},
    {&kBindGroup, &kBindObjects[0]},
    {&kBindGroup, &kBindObjects[1]},
    {&kBindGroup, &kBindObjects[2]},
    {&kBindGroup, &kBindObjects[3]},
    {&kBindGroup, &kBindObjects[4]},
    {&kBindGroup, &kBindObjects[5]},
    {&kDisabledVlanGroup, &kDisabledVlanObjects[0]},
    {&kOption18Group, &kOption18Objects[0]},
    {&kOption37Group, &kOption37Objects[0]},
    {&kRemoteIdGroup, &kRemoteIdObjects[0]},
    {&kRemoteTextGroup, &kRemoteTextObjects[0]},
    {&kInterfaceIdGroup, &kInterfaceIdObjects[0]},
    {&kInterfaceTextGroup, &kInterfaceTextObjects[0]},
    {nullptr, nullptr},
};

// The list is in objectId order: position i holds object i.
static_assert([] {
    for (uint32_t i = 0; i < kMibObjectCount; ++i) {
        if (kMibObjectList[i].object->objectId != i) {
            return false;
        }
    }
    return true;
}());

extern "C" int32_t dhcp6snoopingMibRegister(void) {
    ccdModuleRegister(kMibModuleName, kMibObjectList);
    return 0;
}
