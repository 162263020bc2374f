#pragma once
// The switch's filter resource service, which owns the hardware forwarding filters. Every call answers 0
// for success and non-zero for failure. Addresses are 16 bytes in network order, MACs 6 bytes.

#include <cstdint>

extern "C" {

// First argument of FRM_OperateDhcp6FilterResource and FRM_OperatePortDenyAllIp6FilterResource.
enum FilterOperation : uint32_t {
    FILTER_OP_ENABLE = 3,
    FILTER_OP_DISABLE = 4,
};

int32_t FRM_InstallGlobalForwardIp6AddrOnlyFilterResource(const uint8_t *address);
int32_t FRM_RemoveGlobalForwardIp6AddrOnlyFilterResource(const uint8_t *address);
int32_t FRM_InstallGlobalForwardIp6AddrFilterResource(const uint8_t *mac, const uint8_t *address);
int32_t FRM_RemoveGlobalForwardIp6AddrFilterResource(const uint8_t *mac, const uint8_t *address);
int32_t FRM_InstallForwardIp6AddrFilterResource(uint32_t port, const uint8_t *mac, const uint8_t *address);
int32_t FRM_RemoveForwardIp6AddrFilterResource(uint32_t port, const uint8_t *mac, const uint8_t *address);
int32_t FRM_InstallForwardIp6AddrFilterResource_new(uint32_t port, const uint8_t *mac, const uint8_t *address,
                                                    uint32_t vlan);
int32_t FRM_RemoveForwardIp6AddrFilterResource_new(uint32_t port, const uint8_t *mac, const uint8_t *address,
                                                   uint32_t vlan);
int32_t FRM_OperateDhcp6FilterResource(uint32_t operation);
int32_t FRM_InstallGlobalForwardIcmp6NdFilterResource(void);
int32_t FRM_RemoveGlobalForwardIcmp6NdFilterResource(void);
int32_t FRM_OperatePortDenyAllIp6FilterResource(uint32_t operation, uint32_t port);
int32_t FRM_InstallGlobalForwardIp6VidOnlyFilterResource(uint16_t vlan);
int32_t FRM_RemoveGlobalForwardIp6VidOnlyFilterResource(uint16_t vlan);
}
