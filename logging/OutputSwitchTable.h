#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include "logging/OutputSwitches.h"

// Process-wide table from a log category name (for FATAL records: a module
// name) to its output switches. A name that is absent has no switch on, and
// a module that is absent writes no FATAL record at all.
//
// Filled by LogConfigurator at start-up, read by every thread on every begin,
// end, Param, FATAL and call-stack step; each access takes the table's lock.
class OutputSwitchTable {
public:
    static OutputSwitchTable& Instance();

    // Inserts name with all switches off when absent, then sets the switch
    // that strKey names ("OutputParam", "OutputFunBeginInfo",
    // "OutputNTEventLog", "OutputNDCFullmessage"); another key changes nothing.
    void Set(const std::string& strName, const std::string& strKey, bool bValue);
    // 0 and the switches when present, -1 when absent.
    int Get(const std::string& strName, OutputSwitches& switches) const;
    void Remove(const std::string& strName);
    void Clear();
    size_t Size() const;
    // Rises with every Set, Remove and Clear: a reader that keeps switches it
    // has looked up knows by it when they may have changed.
    uint64_t Version() const { return m_uiVersion.load(std::memory_order_acquire); }
    // True when some name has OutputFunBeginInfo on. While none has, no trace
    // scope writes begin and end lines, and a scope need not look its entry up.
    bool AnyFunBeginInfo() const { return m_bAnyFunBeginInfo.load(std::memory_order_acquire); }

    OutputSwitchTable() = default;
    OutputSwitchTable(const OutputSwitchTable&) = delete;
    OutputSwitchTable& operator=(const OutputSwitchTable&) = delete;

private:
    mutable std::mutex m_mutex;
    std::map<std::string, OutputSwitches, std::less<>> m_mapSwitches;
    std::atomic<uint64_t> m_uiVersion{0};
    std::atomic<bool> m_bAnyFunBeginInfo{false};

    // After each change, under m_mutex.
    void Changed();
};
