#include "logging/log4cpp/EventLogAppenderFactory.h"

#include <atomic>

namespace {
std::atomic<EventLogAppenderCreator> s_pfnCreator{nullptr};
}

log4cpp::Appender* CreateEventLogAppender(const std::string& strName, const std::string& strSource)
{
    EventLogAppenderCreator pfnCreate = s_pfnCreator.load(std::memory_order_acquire);
    if (pfnCreate) {
        return pfnCreate(strName, strSource);
    }
    return CreatePlatformEventLogAppender(strName, strSource);
}

EventLogAppenderCreator SetEventLogAppenderCreator(EventLogAppenderCreator pfnCreate)
{
    return s_pfnCreator.exchange(pfnCreate, std::memory_order_acq_rel);
}
