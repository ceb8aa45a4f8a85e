#pragma once

#include <string>

namespace log4cpp {
class Appender;
}

// The appender that copies one FATAL record and its call-stack dump to the
// system's event log: log4cpp's NTEventLogAppender on Windows (event source
// strSource), its SyslogAppender on Linux (ident strSource). The caller owns
// the result (normally handed to a category at once).
log4cpp::Appender* CreateEventLogAppender(const std::string& strName, const std::string& strSource);

// The platform's appender itself (win32/ and posix/ folders).
log4cpp::Appender* CreatePlatformEventLogAppender(const std::string& strName, const std::string& strSource);

// Replaces the platform's appender by another (tests); null puts the
// platform's back. Returns the previous replacement.
typedef log4cpp::Appender* (*EventLogAppenderCreator)(const std::string& strName, const std::string& strSource);
EventLogAppenderCreator SetEventLogAppenderCreator(EventLogAppenderCreator pfnCreate);
