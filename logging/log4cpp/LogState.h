#pragma once

#include <atomic>

namespace log4cpp {
class Filter;
}

// The process-wide state of the log facade. Written only by InitLogging and
// ShutdownLogging (main thread, before the worker threads start and after
// they are joined), read by every log call without a lock.
class LogState {
public:
    // True until InitLogging succeeds and again after ShutdownLogging: every
    // facade call then returns at once.
    static bool IsDisabled() { return s_bDisabled.load(std::memory_order_relaxed); }
    static void SetDisabled(bool bDisabled) { s_bDisabled.store(bDisabled, std::memory_order_release); }

    // Head of the filter chain built from LogConfig.conf, null without one.
    static log4cpp::Filter* GetFilter() { return s_pFilter.load(std::memory_order_acquire); }
    // Takes ownership of pFilter (and its chain); deletes the previous chain.
    static void ReplaceFilter(log4cpp::Filter* pFilter);

private:
    static std::atomic<bool> s_bDisabled;
    static std::atomic<log4cpp::Filter*> s_pFilter;
};

// The enable test every record passes first: logging is on and the filter
// chain (if any) does not deny the calling thread's current trace entry.
// The level of the record plays no part.
bool IsLoggingEnabled();
