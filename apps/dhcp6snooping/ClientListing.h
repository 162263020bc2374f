#pragma once
// The learned clients as the command line lists them, a page at a time: the acknowledged ones with their
// bindings and the lease time left, and those still waiting for their REPLY, which count against the
// limits too.

#include <cstddef>
#include <span>

#include "mgmt_protocol/ListRecords.h"

namespace listing {

// The clients in MAC order after the MAC in `request` (six bytes; all zero or missing: from the first), as
// many as fit in `mostBytes` of a page but always one, with `more` set when clients are left.
mgmt::ClientPage clientPage(std::span<const uint8_t> request, size_t mostBytes = mgmt::kClientPageBytes);

}  // namespace listing
