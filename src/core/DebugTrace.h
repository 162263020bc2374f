#pragma once
// The daemon's trace to the system log, and its assertions.

extern "C" {

// Formats the text and sends it to the system log as module 54, level 7, but only while debugging of
// that module is switched on; otherwise the arguments are not even formatted. Every text must be
// non-empty and shorter than 256 characters: anything else is a broken contract and aborts.
void dhcp6snooping_debug_printf(const char *format, ...) __attribute__((format(printf, 1, 2)));
}

// True while debugging of the daemon's module is switched on, so that a caller can skip preparing the
// arguments of trace lines that would not be sent.
bool dhcp6snoopingTraceOn();

// Prints the failed condition on the console, naming the function and line given, and aborts.
[[noreturn]] void dhcp6snoopingAssertFailed(const char *condition, const char *function, int line);
