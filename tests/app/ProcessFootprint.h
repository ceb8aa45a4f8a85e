#pragma once

#include <cstdint>

namespace orvtest {

// What this process holds from the system at one moment: open descriptors
// (Linux: the entries of /proc/self/fd) or handles (Windows:
// GetProcessHandleCount; where that reports none, as under Wine, the handle
// values that GetHandleInformation accepts), and resident memory in bytes
// (Linux: the resident pages of /proc/self/statm; Windows: the working set).
struct ProcessFootprint {
    int64_t iHandles = -1;
    int64_t iResidentBytes = -1;
};

// -1 in a field that could not be read.
ProcessFootprint MeasureProcessFootprint();

} // namespace orvtest
