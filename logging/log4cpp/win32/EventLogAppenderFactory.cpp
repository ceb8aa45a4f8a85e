#include "logging/log4cpp/EventLogAppenderFactory.h"

// log4cpp declares its event-log appender only where WIN32 is defined, which
// a strict (non-GNU) compiler mode leaves out.
#ifndef WIN32
#define WIN32 1
#endif
#include <log4cpp/NTEventLogAppender.hh>

log4cpp::Appender* CreatePlatformEventLogAppender(const std::string& strName, const std::string& strSource)
{
    return new log4cpp::NTEventLogAppender(strName, strSource);
}
