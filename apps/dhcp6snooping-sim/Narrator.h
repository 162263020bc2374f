#pragma once
// Plays events through the simulated switch one at a time and prints, for each, one line with the event and
// where the daemon sent the frame (or, when it dropped it, why), followed by what the event changed: the
// daemon's trace lines, the filters installed and removed, and the clients the daemon forgot.

#include <cstdint>
#include <string>
#include <vector>

#include "switchsim/Dhcp6FrameBuilder.h"
#include "switchsim/Switch.h"

class Narrator {
  public:
    Narrator(switchsim::Switch &sw, uint32_t vlan);

    // The frame comes in on `port`; the switch learns its source MAC there first, as its hardware would.
    void deliver(const std::string &event, uint32_t port, const switchsim::dhcp6::Dhcp6Frame &frame);
    void passTime(uint32_t seconds);
    void linkDown(uint32_t port);
    // For a change made outside the daemon's message loop, such as switching snooping on.
    void report(const std::string &event);

  private:
    void settle();
    void printAftermath();
    // The daemon's trace lines written since the last look, in order.
    std::vector<std::string> takeTraces();
    void printTraces();
    void printFilterChanges();
    void printClientsForgotten();

    switchsim::Switch &sw_;
    uint32_t vlan_;
    size_t syslogSeen_ = 0;
    std::vector<switchsim::Filter> filters_;
    std::vector<std::string> clients_;
};
