#pragma once
// The command line's transport to the daemon on the simulated switch: remote calls go through the switch's
// management queue and the daemon's main loop, and the platform's own requests are answered as the host
// platform answers them, with the same list readers, the client pages and the running configuration.

#include "Transport.h"
#include "switchsim/Switch.h"

namespace ctltest {

class SwitchsimTransport : public ctl::Transport {
  public:
    explicit SwitchsimTransport(switchsim::Switch &sw) : sw_(sw) {}
    mgmt::Bytes exchange(const mgmt::Bytes &request) override;

  private:
    switchsim::Switch &sw_;
};

}  // namespace ctltest
