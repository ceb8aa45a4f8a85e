#pragma once

#include <atomic>
#include <cstdint>
#include <string>

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

    // Rises whenever the configuration may change (InitLogging,
    // ShutdownLogging, a new filter chain): what has been worked out from one
    // configuration is kept only while this stays the same.
    static uint64_t Generation() { return s_uiGeneration.load(std::memory_order_acquire); }
    static void NextGeneration() { s_uiGeneration.fetch_add(1, std::memory_order_acq_rel); }

    // The folder of relative log file names (SetLogFolder), empty for none.
    // Written before InitLogging, read by it.
    static const std::string& GetLogFolder() { return s_strLogFolder; }
    static void SetLogFolder(const std::string& strFolder) { s_strLogFolder = strFolder; }

private:
    static std::atomic<bool> s_bDisabled;
    static std::atomic<log4cpp::Filter*> s_pFilter;
    static std::atomic<uint64_t> s_uiGeneration;
    static std::string s_strLogFolder;
};

// The filter chain's verdict on an entry text (true without a chain): what
// IsLoggingEnabled (EntryCache.h) answers on a thread whose current entry is
// that text.
bool DecideByFilters(const std::string& strEntry);
