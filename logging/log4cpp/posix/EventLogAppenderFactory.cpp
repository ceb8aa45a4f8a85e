#include "logging/log4cpp/EventLogAppenderFactory.h"

#include <log4cpp/SyslogAppender.hh>

// Linux has no NT event log: the copy goes to syslog, under the same source
// name as its ident.
log4cpp::Appender* CreatePlatformEventLogAppender(const std::string& strName, const std::string& strSource)
{
    return new log4cpp::SyslogAppender(strName, strSource);
}
