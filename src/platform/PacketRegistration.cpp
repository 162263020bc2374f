#include "platform/PacketRegistration.h"

#include <cstdio>

#include "core/SharedTypes.h"
#include "platform/SmdPacketApi.h"
#include "platform/SyslogApi.h"
#include "snooping/Dhcp6Snooping.h"

namespace {

constexpr uint32_t kPacketUnit = 1;
constexpr uint16_t kEtherTypeIpv6 = 0x86DD;
constexpr uint16_t kIpProtocolUdp = 17;
constexpr uint16_t kDhcp6ServerPort = 547;
constexpr uint16_t kDhcp6ClientPort = 546;
constexpr uint32_t kFailureLevel = 2;
constexpr char kFailureTag[] = "init";
constexpr char kRegRunningFailed[] = "smdVDPktRegRunning %d failed.";

struct Registration {
    uint16_t udpPort;
    uint16_t index;
    const char *registerFailed;
};
constexpr Registration kRegistrations[] = {
    {kDhcp6ServerPort, 0, "smdVDPktRegister 1 failed."},
    {kDhcp6ClientPort, 1, "smdVDPktRegister 2 failed."},
};

void reportFailure(const char *text) {
    syslogSendInfo(kDhcp6SnoopingModuleId, kFailureLevel, kFailureTag, text, text, 0, 0, 0);
}

}  // namespace

extern "C" int32_t dhcp6snoopingPktRegister(uint32_t initial, uint32_t running) {
    const uint32_t mode = (initial != 1 && running == 1) ? kPktModeSnoopingOn : kPktModeSnoopingOff;
    PktMatchDescriptor descriptor{};
    descriptor.etherType = kEtherTypeIpv6;
    descriptor.ipProtocol = kIpProtocolUdp;
    descriptor.matchFlags = PKT_MATCH_ETHER_TYPE | PKT_MATCH_IP_PROTOCOL | PKT_MATCH_UDP_PORT;
    for (const Registration &registration : kRegistrations) {
        descriptor.udpPort = registration.udpPort;
        descriptor.registrationIndex = registration.index;
        if (initial == 1) {
            if (smdVDPktRegister(kPacketUnit, &descriptor, mode, dhcp6snoopingRegPktProcess) != 0) {
                reportFailure(registration.registerFailed);
            }
        } else if (smdVDPktRegRunning(kPacketUnit, &descriptor, mode) != 0) {
            char text[64];
            std::snprintf(text, sizeof text, kRegRunningFailed, static_cast<int>(running));
            reportFailure(text);
        }
    }
    return 0;
}
