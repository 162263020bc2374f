#include "running_config/RunningConfig.h"

extern "C" uint32_t dhcp6snoopingBuildRunningConfig(char * /*text*/, uint32_t * /*remaining*/) {
    // None of the settings can leave its default yet, so no line is due.
    return 0;
}
