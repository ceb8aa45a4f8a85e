// The event-log copy of FATAL records: an appender that exists only for the
// one record and its call-stack dump.
#include <string>
#include <vector>
#include <gtest/gtest.h>
#include <log4cpp/Appender.hh>
#include <log4cpp/AppenderSkeleton.hh>
#include <log4cpp/Category.hh>
#include "BackendLog.h"
#include "logging/LogMacros.h"
#include "logging/log4cpp/EventLogAppenderFactory.h"

using logtest::BackendLog;
using logtest::ThreadPrefix;

namespace {

struct EventLogRecord {
    int iCreated = 0;
    std::string strName;
    std::string strSource;
    std::vector<std::string> messages;
    std::vector<int> priorities;
    std::vector<int> thresholds;
    bool bDestroyed = false;
};

EventLogRecord g_record;

// Stands in for the event log and reports what it was given. (It cannot look
// at the category while an event is appended: the category holds its lock.)
class RecordingAppender : public log4cpp::AppenderSkeleton {
public:
    explicit RecordingAppender(const std::string& strName) : log4cpp::AppenderSkeleton(strName) {}
    ~RecordingAppender() override { g_record.bDestroyed = true; }
    void close() override {}
    bool requiresLayout() const override { return false; }
    void setLayout(log4cpp::Layout* pLayout) override { delete pLayout; }

protected:
    void _append(const log4cpp::LoggingEvent& event) override
    {
        g_record.messages.push_back(event.message);
        g_record.priorities.push_back(event.priority);
        g_record.thresholds.push_back(getThreshold());
    }
};

log4cpp::Appender* CreateRecordingAppender(const std::string& strName, const std::string& strSource)
{
    ++g_record.iCreated;
    g_record.strName = strName;
    g_record.strSource = strSource;
    return new RecordingAppender(strName);
}

class EventLog : public ::testing::Test {
protected:
    void SetUp() override
    {
        g_record = EventLogRecord();
        SetEventLogAppenderCreator(&CreateRecordingAppender);
    }
    void TearDown() override { SetEventLogAppenderCreator(nullptr); }

    static size_t AttachedToModule()
    {
        return log4cpp::Category::getInstance("OrvprintD_exe").getAllAppenders().size();
    }
};

} // namespace

TEST_F(EventLog, FatalGoesToAnAppenderNamedAfterTheFunctionForThatRecordOnly)
{
    BackendLog log("OutputNTEventLog.OrvprintD_exe=true\n", "ERROR");
    ASSERT_EQ(1u, AttachedToModule());
    {
        ORV_TRACE_SCOPE("CPopupThread::Run");
        LogError("%s", "before");
        LogFatal("%s(%d) : %s", "app/PopupThread.cpp", 42, "queue lost");
        LogError("%s", "after");
    }
    EXPECT_EQ(1, g_record.iCreated);
    EXPECT_EQ("NTEVENTLog", g_record.strName);
    EXPECT_EQ("OrvprintD_exe__CPopupThread::Run", g_record.strSource);
    const std::vector<std::string> expectedMessages = {ThreadPrefix() +
                                                       "FATAL - app/PopupThread.cpp(42) : queue lost"};
    EXPECT_EQ(expectedMessages, g_record.messages);
    EXPECT_EQ(std::vector<int>{0}, g_record.priorities);
    EXPECT_TRUE(g_record.bDestroyed);
    EXPECT_EQ(1u, AttachedToModule());

    const std::string p = ThreadPrefix();
    const std::vector<std::string> expected = {
        "OrvprintD_exe|ERROR|" + p + "ERROR - before",
        "OrvprintD_exe|FATAL|" + p + "FATAL - app/PopupThread.cpp(42) : queue lost",
        "OrvprintD_exe|ERROR|" + p + "ERROR - after",
    };
    EXPECT_EQ(expected, log.Lines());
}

TEST_F(EventLog, AppenderAlsoReceivesTheCallStackDump)
{
    BackendLog log("OutputNTEventLog.OrvprintD_exe=true\nOutputNDCFullmessage.OrvprintD_exe=true\n");
    {
        ORV_TRACE_SCOPE("EventLog::Dump");
        LogFatal("%s", "boom");
    }
    const std::vector<std::string> expectedMessages = {
        ThreadPrefix() + "FATAL - boom",
        "\t\t\t@_@ ---------\tCall\tStack\t-----------\n",
        "\t\t\t@_@ depth\tModule Name\t\tClass Name\t\t\tFunction Name \n",
        "\t\t\t@_@ 1\tOrvprintD_exe\t\t\t\t\t\t\tEventLog::Dump\n",
        "\t\t\t@_@ ---------\tStack\tEnd\t-----------\n\n\n",
    };
    EXPECT_EQ(expectedMessages, g_record.messages);
    EXPECT_EQ(std::vector<int>(5, 0), g_record.priorities);
    EXPECT_TRUE(g_record.bDestroyed);
    EXPECT_EQ(1u, AttachedToModule());
}

TEST_F(EventLog, AppenderThresholdIsPriorityZero)
{
    BackendLog log("OutputNTEventLog.OrvprintD_exe=true\n");
    {
        ORV_TRACE_SCOPE("EventLog::Threshold");
        LogFatal("%s", "x");
    }
    EXPECT_EQ(std::vector<int>{0}, g_record.thresholds);
}

TEST_F(EventLog, NoAppenderWhenTheSwitchIsOff)
{
    BackendLog log("OutputNTEventLog.OrvprintD_exe=false\nOutputParam.OrvprintD_exe=false\n");
    {
        ORV_TRACE_SCOPE("EventLog::Off");
        LogFatal("%s", "plain");
    }
    EXPECT_EQ(0, g_record.iCreated);
    const std::vector<std::string> expected = {"OrvprintD_exe|FATAL|" + ThreadPrefix() + "FATAL - plain"};
    EXPECT_EQ(expected, log.Lines());
}

TEST_F(EventLog, NoAppenderForOtherLevels)
{
    BackendLog log("OutputNTEventLog.OrvprintD_exe=true\n");
    {
        ORV_TRACE_SCOPE("EventLog::Levels");
        LogError("%s", "e");
        LogParam("%s", "p");
        LogDebug("%s", "d");
    }
    EXPECT_EQ(0, g_record.iCreated);
}

TEST_F(EventLog, PlatformAppenderIsAttachedForTheRecordAndRemovedAgain)
{
    SetEventLogAppenderCreator(nullptr);
    BackendLog log("OutputNTEventLog.OrvprintD_exe=true\n");
    ASSERT_EQ(1u, AttachedToModule());
    {
        ORV_TRACE_SCOPE("EventLog::Platform");
        LogFatal("%s", "to the system log");
    }
    EXPECT_EQ(1u, AttachedToModule());
    EXPECT_EQ(nullptr, log4cpp::Appender::getAppender("NTEVENTLog"));
    const std::vector<std::string> expected = {"OrvprintD_exe|FATAL|" + ThreadPrefix() +
                                               "FATAL - to the system log"};
    EXPECT_EQ(expected, log.Lines());
}
