#include "logging/log4cpp/LogFilter.h"

#include "logging/TraceEntry.h"

LogFilter::LogFilter(const std::string& strModule, const std::string& strClass, const std::string& strFunction,
                     const std::string& strPermission)
    : m_strModule(strModule), m_strClass(strClass), m_strFunction(strFunction), m_bPermission(true)
{
    if (strPermission == "no") {
        m_bPermission = false;
    } else if (strPermission == "yes") {
        m_bPermission = true;
    }
}

log4cpp::Filter::Decision LogFilter::_decide(const log4cpp::LoggingEvent& event)
{
    std::string strModule, strClass, strFunction;
    SplitFilterContext(event.ndc, strModule, strClass, strFunction);

    const bool bAnyModule = (m_strModule == "*");
    const bool bAnyClass = (m_strClass == "*");
    const bool bAnyFunction = (m_strFunction == "*");

    bool bMatch = false;
    if (!bAnyModule && bAnyClass && bAnyFunction) {
        bMatch = (strModule == m_strModule);
    } else if (!bAnyModule && !bAnyClass && bAnyFunction) {
        bMatch = (strModule == m_strModule && strClass == m_strClass);
    } else if (!bAnyModule && !bAnyClass && !bAnyFunction) {
        bMatch = (strModule == m_strModule && strClass == m_strClass && strFunction == m_strFunction);
    }
    if (!bMatch) {
        return NEUTRAL;
    }
    return m_bPermission ? ACCEPT : DENY;
}
