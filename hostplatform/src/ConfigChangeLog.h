#pragma once
// Every change of the daemon's configuration is told in one notice line of the system log, saying what
// changed and through which channel: the command line (with the user), the boot configuration, the MIB.

#include <string>

#include "mgmt_protocol/ManagementHeader.h"

namespace hostplatform {

// One change, from construction to destruction. The outermost of nested changes alone writes its line,
// so that a whole configuration text entered at once is one change: what differs in the running
// configuration afterwards, or, where that is nothing, `asked` (a change such as clearing clients that
// the configuration does not show). Nothing is written when neither says anything.
class ConfigChangeLog {
  public:
    explicit ConfigChangeLog(std::string channel, std::string asked = {});
    ~ConfigChangeLog();
    ConfigChangeLog(const ConfigChangeLog &) = delete;
    ConfigChangeLog &operator=(const ConfigChangeLog &) = delete;

  private:
    bool outermost_;
    std::string channel_;
    std::string asked_;
    std::string before_;
};

// What a remote call that the running configuration does not show asks for, in words; empty for the
// others and for arguments of the wrong size.
std::string askedByCall(const mgmt::DecodedRemoteCall &call);

}  // namespace hostplatform
