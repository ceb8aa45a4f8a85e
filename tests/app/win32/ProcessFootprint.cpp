#include "../ProcessFootprint.h"

#include <windows.h>
#include <psapi.h>

namespace orvtest {

namespace {

// Handle values are multiples of 4; a test process uses far fewer than this.
const uintptr_t HANDLE_VALUES_SCANNED = 65536;

// The handles of this process, counted one by one: every handle value that
// GetHandleInformation accepts is an open handle.
int64_t CountHandlesByValue()
{
    int64_t iCount = 0;
    for (uintptr_t uiValue = 4; uiValue < HANDLE_VALUES_SCANNED * 4; uiValue += 4) {
        DWORD dwFlags = 0;
        if (::GetHandleInformation(reinterpret_cast<HANDLE>(uiValue), &dwFlags)) {
            ++iCount;
        }
    }
    return iCount;
}

} // namespace

ProcessFootprint MeasureProcessFootprint()
{
    ProcessFootprint stuFootprint;
    DWORD dwHandles = 0;
    if (::GetProcessHandleCount(::GetCurrentProcess(), &dwHandles) && dwHandles > 0) {
        stuFootprint.iHandles = static_cast<int64_t>(dwHandles);
    } else {
        // Wine answers 0 for every process.
        stuFootprint.iHandles = CountHandlesByValue();
    }
    PROCESS_MEMORY_COUNTERS stuCounters;
    stuCounters.cb = sizeof(stuCounters);
    // kernel32's form (Windows 7 and later): no psapi.dll to link.
    if (::K32GetProcessMemoryInfo(::GetCurrentProcess(), &stuCounters, sizeof(stuCounters))) {
        stuFootprint.iResidentBytes = static_cast<int64_t>(stuCounters.WorkingSetSize);
    }
    return stuFootprint;
}

} // namespace orvtest
