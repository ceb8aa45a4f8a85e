#include "logging/OutputSwitchTable.h"

OutputSwitchTable& OutputSwitchTable::Instance()
{
    // Never destroyed: destructors of static objects may still trace.
    static OutputSwitchTable* s_pTable = new OutputSwitchTable();
    return *s_pTable;
}

void OutputSwitchTable::Set(const std::string& strName, const std::string& strKey, bool bValue)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    OutputSwitches& switches = m_mapSwitches[strName];
    if (strKey == "OutputParam") {
        switches.bOutputParam = bValue;
    } else if (strKey == "OutputFunBeginInfo") {
        switches.bOutputFunBeginInfo = bValue;
    } else if (strKey == "OutputNTEventLog") {
        switches.bOutputNTEventLog = bValue;
    } else if (strKey == "OutputNDCFullmessage") {
        switches.bOutputNDCFullmessage = bValue;
    }
    Changed();
}

int OutputSwitchTable::Get(const std::string& strName, OutputSwitches& switches) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = m_mapSwitches.find(strName);
    if (it == m_mapSwitches.end()) {
        return -1;
    }
    switches = it->second;
    return 0;
}

void OutputSwitchTable::Remove(const std::string& strName)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_mapSwitches.erase(strName);
    Changed();
}

void OutputSwitchTable::Clear()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_mapSwitches.clear();
    Changed();
}

size_t OutputSwitchTable::Size() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_mapSwitches.size();
}

void OutputSwitchTable::Changed()
{
    bool bAny = false;
    for (const auto& entry : m_mapSwitches) {
        bAny = bAny || entry.second.bOutputFunBeginInfo;
    }
    m_bAnyFunBeginInfo.store(bAny, std::memory_order_release);
    m_uiVersion.fetch_add(1, std::memory_order_acq_rel);
}
