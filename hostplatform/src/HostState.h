#pragma once
// Everything the host platform holds for the one daemon process it serves.

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "BridgeModel.h"
#include "HostLifecycle.h"
#include "HostSettings.h"
#include "MgmtServer.h"
#include "NetlinkSession.h"
#include "PacketRing.h"
#include "platform/SmdPacketApi.h"
#include "platform/VosApi.h"

namespace hostplatform {

struct PacketRegistration {
    PktMatchDescriptor descriptor{};
    uint32_t mode = 0;
    PktRecvCallback callback = nullptr;
};

struct HostState {
    std::string processName;
    HostSettings settings;
    // Set once the bridge was read, the filter table made and the packet ring opened; until then the
    // management queue cannot be opened and the daemon does not start.
    bool ready = false;
    BridgeModel bridge;
    NetlinkSession netlink;
    PacketRing packets;
    MgmtServer mgmt;
    int events = -1;  // the epoll set that vosMsgRecv waits on
    int timerTicks = -1;
    int signals = -1;              // the stop signals and SIGHUP, read through a signalfd
    size_t lastRequestLength = 0;  // of the management request last handed to the daemon
    std::vector<uint8_t> request;  // the management request being served, of any size the platform takes
    bool quiet = false;            // no log line at all: a copy of the daemon that checks a configuration
    bool listing = false;          // the platform reads a whole list through the calls: no trace line
    // Who asks for the changes being made, as the configuration change log names them.
    std::string channel = "ctl";
    // What the packet path did, told in the log when the daemon stops.
    uint64_t framesHandled = 0;
    uint64_t framesDropped = 0;
    uint64_t framesNotHandedOver = 0;
    double secondsHandling = 0;
    std::vector<PacketRegistration> registrations;
    LinkChangeCallback linkChange = nullptr;
    VosTimerCallback timer = nullptr;
    VosBldrunCallback runningConfig = nullptr;
    // The executable's own work (HostLifecycle.h).
    std::vector<std::function<void()>> secondWork;
    std::vector<std::function<void()>> stopWork;
    std::vector<std::function<void()>> hangupWork;
    std::map<uint16_t, RequestAnswer> requestAnswers;
};

HostState &host();

// Hands one received frame to the registration that matches it (PacketService.cpp).
void deliverFrame(void *context, const ReceivedFrame &received);

}  // namespace hostplatform
