#pragma once
// The metrics file for node_exporter's textfile collector, replaced whole every few seconds, so that a
// scrape never reads half a file.

#include <cstdint>
#include <string>

namespace metrics {

// The counters and gauges of now, as the file holds them.
std::string currentMetrics();

// From the next second on the file at `path` is replaced with currentMetrics() every `intervalSeconds`; a
// write that fails is logged, once until one succeeds again.
void keepWritten(const std::string &path, uint32_t intervalSeconds);

}  // namespace metrics
