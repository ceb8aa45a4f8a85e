// On Linux the event-log copy goes to syslog under the same source name.
#include <memory>
#include <string>
#include <gtest/gtest.h>
#include <log4cpp/SyslogAppender.hh>
#include "logging/log4cpp/EventLogAppenderFactory.h"

namespace {

// Reads the ident a SyslogAppender was made with.
struct SyslogIdent : log4cpp::SyslogAppender {
    static const std::string& Of(const log4cpp::SyslogAppender& appender)
    {
        return appender.*(&SyslogIdent::_syslogName);
    }
};

} // namespace

TEST(SyslogEventLog, PlatformAppenderIsASyslogAppenderWithTheSourceAsIdent)
{
    std::unique_ptr<log4cpp::Appender> pAppender(
        CreatePlatformEventLogAppender("NTEVENTLog", "OrvprintD_exe__CPopupThread::Run"));
    ASSERT_NE(nullptr, pAppender);
    EXPECT_EQ("NTEVENTLog", pAppender->getName());
    auto* pSyslog = dynamic_cast<log4cpp::SyslogAppender*>(pAppender.get());
    ASSERT_NE(nullptr, pSyslog);
    EXPECT_EQ("OrvprintD_exe__CPopupThread::Run", SyslogIdent::Of(*pSyslog));
}

TEST(SyslogEventLog, FactoryUsesThePlatformAppenderWithoutReplacement)
{
    SetEventLogAppenderCreator(nullptr);
    std::unique_ptr<log4cpp::Appender> pAppender(CreateEventLogAppender("NTEVENTLog", "src"));
    ASSERT_NE(nullptr, dynamic_cast<log4cpp::SyslogAppender*>(pAppender.get()));
}
