#pragma once
// The fake bridge of the host platform's tests (FakeHostPorts.cpp) and the one change a test can make to it.

#include <cstdint>
#include <string>

namespace hostplatform {

// Port `portIndex` (1 to 3) is called `name` from now on.
void renameFakePort(uint32_t portIndex, std::string name);

}  // namespace hostplatform
