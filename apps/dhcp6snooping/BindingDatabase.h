#pragma once
// The binding database of the daemon on a Linux host: the acknowledged clients and their bindings, written
// to a file within about a second of a change and taken back when the daemon starts, so that a restart or
// a crash does not cut leased clients on guarded ports off.

#include <string>

namespace bindingdb {

// Takes back the clients of the file at `path` with what is left of their lifetimes, after the boot
// configuration, so that the limits hold and guarded ports get their filters. Expired bindings, clients of
// ports that no longer exist and damaged records are left out, each with a log line; a file with damaged
// records is kept aside as "`path`.damaged" for the operator.
void restore(const std::string &path);

// From now on the file at `path` is rewritten, whole and atomically, at the first second after the clients
// changed (so that a flood costs at most one write a second), and once more when the daemon stops.
void keepWritten(const std::string &path);

}  // namespace bindingdb
