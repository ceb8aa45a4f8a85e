// The six log calls: record texts, priorities, double formatting, buffer
// limits, and what happens outside every trace scope.
#include <string>
#include <vector>
#include <gtest/gtest.h>
#include "BackendLog.h"
#include "logging/FunctionTrace.h"
#include "logging/LogMacros.h"
#include "logging/log4cpp/EntryCache.h"
#include "logging/log4cpp/LogState.h"

using logtest::BackendLog;
using logtest::ThreadPrefix;

namespace {
// FATAL records need the module in the switch table.
const char* const kModuleNamed = "OutputParam.OrvprintD_exe=false\n";
} // namespace

TEST(RecordText, ErrorRecord)
{
    BackendLog log;
    {
        ORV_TRACE_SCOPE("RecordText::Error");
        LogError("%s(%d) : %s", "app/OrvConfig.cpp", 120, "Parameter error.");
    }
    const std::vector<std::string> expected = {"OrvprintD_exe|ERROR|" + ThreadPrefix() +
                                               "ERROR - app/OrvConfig.cpp(120) : Parameter error."};
    EXPECT_EQ(expected, log.Lines());
}

TEST(RecordText, WarningInfoDebugRecords)
{
    BackendLog log;
    {
        ORV_TRACE_SCOPE("RecordText::Levels");
        LogWarning("%s(%d) : iIndex = %d", "a.cpp", 1, 5);
        LogInfo("thread %s started.", "popup");
        LogDebug("%s(%d) : GetPrinterCount() = %d", "b.cpp", 22, 3);
    }
    const std::string p = ThreadPrefix();
    const std::vector<std::string> expected = {
        "OrvprintD_exe|WARN|" + p + "WARNING - a.cpp(1) : iIndex = 5",
        "OrvprintD_exe|INFO|" + p + "INFO - thread popup started.",
        "OrvprintD_exe|DEBUG|" + p + "DEBUG - b.cpp(22) : GetPrinterCount() = 3",
    };
    EXPECT_EQ(expected, log.Lines());
}

TEST(RecordText, FatalRecordAtPriorityZero)
{
    BackendLog log(kModuleNamed, "FATAL");
    {
        ORV_TRACE_SCOPE("RecordText::Fatal");
        LogFatal("%s(%d) : throw %s", "c.cpp", 7, "COrvConfigException(3)");
    }
    const std::vector<std::string> expected = {"OrvprintD_exe|FATAL|" + ThreadPrefix() +
                                               "FATAL - c.cpp(7) : throw COrvConfigException(3)"};
    EXPECT_EQ(expected, log.Lines());
}

TEST(RecordText, ParamRecordAtPriorityZeroWhenOutputParamIsOn)
{
    BackendLog log("OutputParam.OrvprintD_exe=true\n", "FATAL");
    {
        ORV_TRACE_SCOPE("RecordText::Param");
        LogParam("RecordText::Param([iIndex] = 3, )");
    }
    const std::vector<std::string> expected = {"OrvprintD_exe|FATAL|" + ThreadPrefix() +
                                               "Param - RecordText::Param([iIndex] = 3, )"};
    EXPECT_EQ(expected, log.Lines());
}

TEST(RecordText, ParamRecordDroppedWhenOutputParamIsOffOrAbsent)
{
    {
        BackendLog log("OutputParam.OrvprintD_exe=false\nOutputNDCFullmessage.OrvprintD_exe=true\n");
        ORV_TRACE_SCOPE("RecordText::ParamOff");
        LogParam("x()");
        EXPECT_EQ("", log.Text());
    }
    {
        BackendLog log;
        ORV_TRACE_SCOPE("RecordText::ParamAbsent");
        LogParam("x()");
        EXPECT_EQ("", log.Text());
    }
}

TEST(RecordText, FatalDroppedForModuleWithoutOutputKeyWhileErrorIsWritten)
{
    BackendLog log("OutputParam.OtherModule=true\n");
    {
        ORV_TRACE_SCOPE("RecordText::FatalUnnamed");
        LogFatal("%s", "fatal text");
        LogError("%s", "error text");
    }
    const std::vector<std::string> expected = {"OrvprintD_exe|ERROR|" + ThreadPrefix() + "ERROR - error text"};
    EXPECT_EQ(expected, log.Lines());
}

TEST(RecordText, FatalLooksUpTheModuleNotTheCategory)
{
    // The switches name the function's own category only: no FATAL record.
    BackendLog log("log4cpp.category.OrvprintD_exe.RecordText::FatalByModule=DEBUG\n"
                   "OutputParam.OrvprintD_exe.RecordText::FatalByModule=true\n");
    {
        ORV_TRACE_SCOPE("RecordText::FatalByModule");
        LogFatal("%s", "dropped");
        LogParam("%s", "RecordText::FatalByModule()");
    }
    const std::vector<std::string> expected = {"OrvprintD_exe.RecordText::FatalByModule|FATAL|" + ThreadPrefix() +
                                               "Param - RecordText::FatalByModule()"};
    EXPECT_EQ(expected, log.Lines());
}

TEST(RecordText, FourLevelsAreFormattedTwiceFatalOnce)
{
    BackendLog log(kModuleNamed);
    {
        ORV_TRACE_SCOPE("RecordText::Twice");
        LogDebug("%s", "load 50%% done");
        LogError("%s", "load 50%% done");
        LogWarning("%s", "load 50%% done");
        LogInfo("%s", "load 50%% done");
        LogFatal("%s", "load 50%% done");
    }
    const std::string p = ThreadPrefix();
    const std::vector<std::string> expected = {
        "OrvprintD_exe|DEBUG|" + p + "DEBUG - load 50% done",
        "OrvprintD_exe|ERROR|" + p + "ERROR - load 50% done",
        "OrvprintD_exe|WARN|" + p + "WARNING - load 50% done",
        "OrvprintD_exe|INFO|" + p + "INFO - load 50% done",
        "OrvprintD_exe|FATAL|" + p + "FATAL - load 50%% done",
    };
    EXPECT_EQ(expected, log.Lines());
}

TEST(RecordText, ConversionReachingTheMessageIsReadAgainByDebugButNotByFatal)
{
    BackendLog log(kModuleNamed);
    {
        ORV_TRACE_SCOPE("RecordText::Conversion");
        LogDebug("%s", "count %d end");
        LogFatal("%s", "count %d end");
    }
    const std::vector<std::string> lines = log.Lines();
    ASSERT_EQ(2u, lines.size());
    const std::string strDebugHead = "OrvprintD_exe|DEBUG|" + ThreadPrefix() + "DEBUG - count ";
    EXPECT_EQ(strDebugHead, lines[0].substr(0, strDebugHead.size()));
    EXPECT_EQ(std::string::npos, lines[0].find("%d"));
    EXPECT_EQ(" end", lines[0].substr(lines[0].size() - 4));
    EXPECT_EQ("OrvprintD_exe|FATAL|" + ThreadPrefix() + "FATAL - count %d end", lines[1]);
}

TEST(RecordText, LongMessageIsCutTo799Characters)
{
    BackendLog log(kModuleNamed);
    const std::string strLong(801, 'a');
    {
        ORV_TRACE_SCOPE("RecordText::Long");
        LogFatal("%s", strLong.c_str());
        LogParam("%s", strLong.c_str()); // OutputParam is off: nothing
        LogError("%s", strLong.c_str());
    }
    const std::vector<std::string> lines = log.Lines();
    ASSERT_EQ(2u, lines.size());
    // FATAL: the message is cut, the record built by log4cpp is not.
    EXPECT_EQ("OrvprintD_exe|FATAL|" + ThreadPrefix() + "FATAL - " + std::string(799, 'a'), lines[0]);
    // ERROR: the whole record is cut to 799 characters.
    const std::string strHead = ThreadPrefix() + "ERROR - ";
    EXPECT_EQ("OrvprintD_exe|ERROR|" + strHead + std::string(799 - strHead.size(), 'a'), lines[1]);
}

TEST(RecordText, ParamMessageIsCutTo799Characters)
{
    BackendLog log("OutputParam.OrvprintD_exe=true\n");
    const std::string strLong(900, 'p');
    {
        ORV_TRACE_SCOPE("RecordText::LongParam");
        LogParam("%s", strLong.c_str());
    }
    const std::vector<std::string> expected = {"OrvprintD_exe|FATAL|" + ThreadPrefix() + "Param - " +
                                               std::string(799, 'p')};
    EXPECT_EQ(expected, log.Lines());
}

TEST(RecordText, CallsOutsideEveryScopeProduceNothing)
{
    BackendLog log("OutputParam.OrvprintD_exe=true\nOutputNDCFullmessage.OrvprintD_exe=true\n");
    LogFatal("%s", "Log4cpp config file : x");
    LogError("%s", "e");
    LogWarning("%s", "w");
    LogInfo("%s", "i");
    LogDebug("%s", "d");
    LogParam("%s", "p");
    EXPECT_FALSE(IsFatalEnabled());
    EXPECT_FALSE(IsErrorEnabled());
    EXPECT_FALSE(IsDebugEnabled());
    EXPECT_EQ("", log.Text());
}

TEST(RecordText, RecordsAfterShutdownAreDropped)
{
    BackendLog log(kModuleNamed);
    ORV_TRACE_SCOPE("RecordText::AfterShutdown");
    LogError("%s", "before");
    ShutdownLogging();
    LogError("%s", "after");
    LogFatal("%s", "after");
    EXPECT_FALSE(IsErrorEnabled());
    const std::vector<std::string> expected = {"OrvprintD_exe|ERROR|" + ThreadPrefix() + "ERROR - before"};
    EXPECT_EQ(expected, log.Lines());
}

TEST(RecordText, MacrosAddFileAndLine)
{
    BackendLog log;
    int iLine = 0;
    {
        ORV_TRACE_SCOPE("RecordText::Macros");
        iLine = __LINE__ + 1;
        ORV_LOG_ERROR("%s(%d) : %s", "Parameter error.");
    }
    const std::vector<std::string> expected = {"OrvprintD_exe|ERROR|" + ThreadPrefix() + "ERROR - " +
                                               std::string(__FILE__) + "(" + std::to_string(iLine) +
                                               ") : Parameter error."};
    EXPECT_EQ(expected, log.Lines());
}

TEST(RecordText, OnlyLog4cppKeysWriteTheFourLevelsAndNothingElse)
{
    BackendLog log;
    {
        ORV_TRACE_SCOPE("RecordText::PlainConfig");
        EXPECT_TRUE(IsLoggingEnabled());
        LogFatal("%s", "no fatal record");
        LogParam("%s", "no param record");
        LogError("%s", "e");
        LogDebug("%s", "d");
        EXPECT_EQ(-1, DumpCallStack("OrvprintD_exe", "", "RecordText::PlainConfig", 300));
    }
    const std::string p = ThreadPrefix();
    const std::vector<std::string> expected = {
        "OrvprintD_exe|ERROR|" + p + "ERROR - e",
        "OrvprintD_exe|DEBUG|" + p + "DEBUG - d",
    };
    EXPECT_EQ(expected, log.Lines());
}
