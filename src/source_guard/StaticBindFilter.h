#pragma once
// The forward filter of one static binding, whose kind its own fields select: port and VLAN, port only,
// or every port with or without a MAC.

#include "source_guard/StaticBindList.h"

// The filter kind of a binding.
uint32_t staticBindFilterKind(const StaticBindEntry &binding);

// Ask the filter service for the binding's filter, or to take it away, and remember whether the service
// holds it; failures are traced by the filter layer and otherwise ignored.
void staticBindFilterInstall(StaticBindEntry &binding);
void staticBindFilterRemove(StaticBindEntry &binding);
