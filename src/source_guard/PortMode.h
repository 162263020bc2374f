#pragma once
// IPv6 source guard per port: the mode setter, with every filter that a change implies, and the tests
// with which the other subsystems ask whether a port, or any port, is guarded. A guarded port denies all
// IPv6 in hardware except the sources the daemon permits: its learned addresses, its static bindings and
// the bindings that hold for every port.

#include <cstdint>

#include "source_guard/SourceGuardMode.h"

extern "C" {

// Sets a port's mode, 1..4. -1 for a port outside 1..224, a trusted port or an unknown mode; the service's
// result when the deny-all filter cannot be installed (the new mode stays, with no forward filter). Switching
// on, or between guarded modes, requests the deny-all filter and every forward filter of the port; switching
// off removes them. The every-port bindings' filters exist exactly while some port is guarded.
int32_t set_ip6_source_guard_port_mode(uint32_t port, uint32_t mode);
// -1 for a port outside 1..224.
int32_t get_ip6_source_guard_port_mode(uint32_t port, uint32_t *mode);

// 1 when the port is one of the switch's ports and guarded, else 0.
uint32_t ip6_source_guard_port_enabled(uint32_t port);
// 1 when a port of the switch other than `port` is guarded.
uint32_t ip6_source_guard_other_port_enabled(uint32_t port);
// 1 when any port of the switch is guarded.
uint32_t ip6_source_guard_any_port_enabled(void);

// Install or remove the filters of the addresses learned on `port` that no static binding covers. Return 0.
int32_t ip6_source_guard_client_filters_install(uint32_t port);
int32_t ip6_source_guard_client_filters_remove(uint32_t port);
// Install (oldest binding first) or remove (newest first) the filters of the static bindings of `port`, and
// with `everyPort` set those of the bindings that hold for every port. Return 0.
int32_t ip6_source_guard_bind_filters_install(uint32_t port, uint32_t everyPort);
int32_t ip6_source_guard_bind_filters_remove(uint32_t port, uint32_t everyPort);
}
