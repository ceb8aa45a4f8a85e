#include "logging/log4cpp/LogState.h"

#include <string>
#include <log4cpp/Filter.hh>
#include <log4cpp/LoggingEvent.hh>

std::atomic<bool> LogState::s_bDisabled{true};
std::atomic<log4cpp::Filter*> LogState::s_pFilter{nullptr};
std::atomic<uint64_t> LogState::s_uiGeneration{0};
std::string LogState::s_strLogFolder;

void LogState::ReplaceFilter(log4cpp::Filter* pFilter)
{
    NextGeneration();
    log4cpp::Filter* pOld = s_pFilter.exchange(pFilter, std::memory_order_acq_rel);
    delete pOld; // a filter deletes the rest of its chain
    NextGeneration();
}

bool DecideByFilters(const std::string& strEntry)
{
    log4cpp::Filter* pFilter = LogState::GetFilter();
    if (!pFilter) {
        return true;
    }
    const log4cpp::LoggingEvent event("", "", strEntry, 700);
    return pFilter->decide(event) != log4cpp::Filter::DENY;
}
