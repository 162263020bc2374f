#pragma once
// The daemon's MIB module at the switch's MIB agent: the descriptors of its 13 groups and 28 objects, and
// their registration. The descriptors are the agent's record format and never change once built.

#include <cstdint>

#include "platform/CcdApi.h"

inline constexpr char kMibModuleName[] = "vrkL2Dhcp6Snooping";
inline constexpr uint32_t kMibObjectCount = 28;

// The objects, numbered in the order of their OIDs; the number is the objectId of every request.
enum MibObject : uint16_t {
    MIB_ON_OFF,
    MIB_PORT_INDEX,
    MIB_PORT_TRUST_MODE,
    MIB_PORT_MAX_NUM,
    MIB_PORT_SOURCE_GUARD_MODE,
    MIB_VLAN_INDEX,
    MIB_VLAN_MAX_NUM,
    MIB_PORT_DOWN_ACTION,
    MIB_CLIENT_MAC,
    MIB_CLIENT_VLAN,
    MIB_CLIENT_PORT,
    MIB_CLIENT_LEASE_NUM,
    MIB_CLIENT_ADDRESSES,
    MIB_CLIENT_ADDRESSES_2,
    MIB_CLIENT_LEASE_TIME,
    MIB_BIND_INDEX,
    MIB_BIND_IP,
    MIB_BIND_MAC,
    MIB_BIND_PORT,
    MIB_BIND_VLAN,
    MIB_BIND_ROW_STATUS,
    MIB_DISABLED_VLANS,
    MIB_OPTION18_ENABLE,
    MIB_OPTION37_ENABLE,
    MIB_REMOTE_ID_FORMAT,
    MIB_REMOTE_ID_TEXT,
    MIB_INTERFACE_ID_FORMAT,
    MIB_INTERFACE_ID_TEXT,
};

// Every object with its group, in objectId order, closed by a pair of null pointers.
extern const MibObjectListEntry kMibObjectList[kMibObjectCount + 1];

extern "C" {

// Registers the module with its object list. Returns 0 whatever the agent answered.
int32_t dhcp6snoopingMibRegister(void);
}
