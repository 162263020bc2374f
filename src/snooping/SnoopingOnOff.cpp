#include "snooping/SnoopingOnOff.h"

#include "core/GlobalState.h"
#include "platform/FilterLayer.h"
#include "platform/PacketRegistration.h"
#include "snooping/ClientTable.h"

extern "C" {

int dhcp6snoopingStart(void) {
    if (dhcp6snoopingOnOff != 0) {
        return 0;
    }
    dhcp6snoopingOnOff = 1;
    dhcp6snoopingGlobalFilterInstall();
    dhcp6snoopingPktRegister(/*initial=*/0, /*running=*/1);
    return 0;
}

int dhcp6snoopingStop(void) {
    if (dhcp6snoopingOnOff == 0) {
        return 0;
    }
    dhcp6snoopingOnOff = 0;
    dhcp6snoopingGlobalFilterRemove();
    dhcp6snoopingPktRegister(/*initial=*/0, /*running=*/0);
    clientDeleteAll();
    return 0;
}
}
