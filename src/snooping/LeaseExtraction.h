#pragma once
// Reads the bindings that a REPLY, RELEASE or DECLINE carries: the addresses of its first usable IA_NA and
// the delegated prefixes of its first usable IA_PD, each with its lifetimes.

#include <cstdint>

#include "snooping/AddressList.h"

extern "C" {

// The result of one extraction; the caller zero-fills it before and clears its list after use.
struct LeaseSettings {
    uint32_t t1;  // of the IA option read last, host order
    uint32_t t2;
    AddressList addresses;  // addresses and prefixes in one list, each a heap copy owned by the list
    uint32_t statusCode;    // of the Status Code nested directly in the IA option read last; 0 when absent
};

// Collects the usable bindings of a message's options area. `finalFlag` is set for a REPLY: then an address
// with no valid lifetime left is dropped too (for a RELEASE or DECLINE it still names a binding to remove).
// Returns 1 when usable bindings were found; a result of 1 from the IA_NA stands even when a refused IA_PD
// after it empties the list.
uint32_t leaseExtractSettings(LeaseSettings *settings, const uint8_t *area, uint32_t areaLength,
                              uint32_t finalFlag);

// Accept the first IA_NA (IA_PD) of the area that is long enough, unless its T1 exceeds a non-zero T2
// (traced), store its T1, T2 and status, and collect its bindings. Return 1 when an IA option was accepted.
uint32_t leaseReadIaNa(LeaseSettings *settings, const uint8_t *area, uint32_t areaLength);
uint32_t leaseReadIaPd(LeaseSettings *settings, const uint8_t *area, uint32_t areaLength);

// Add every well-formed IA Address (IA Prefix) option of an IA's options area to the list; a binding that is
// already there is overwritten by the later option.
void leaseCollectAddresses(LeaseSettings *settings, const uint8_t *area, uint32_t areaLength);
void leaseCollectPrefixes(LeaseSettings *settings, const uint8_t *area, uint32_t areaLength);
}
