// Trace scopes: begin and end lines, the NDC entries, the call-stack dump.
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>
#include <gtest/gtest.h>
#include "support/TextLines.h"
#include "BackendLog.h"
#include "logging/FunctionParameters.h"
#include "logging/FunctionTrace.h"
#include "logging/LogMacros.h"
#include "logging/log4cpp/ThreadNdc.h"

using logtest::BackendLog;
using logtest::ThreadPrefix;

namespace {

const std::string kHead = "\t\t\t@_@ ---------\tCall\tStack\t-----------";
const std::string kTitles = "\t\t\t@_@ depth\tModule Name\t\tClass Name\t\t\tFunction Name ";
const std::string kTail = "\t\t\t@_@ ---------\tStack\tEnd\t-----------";

std::string DepthLine(int iDepth, const std::string& strModule, const std::string& strFunction)
{
    return "\t\t\t@_@ " + std::to_string(iDepth) + "\t" + strModule + "\t\t\t" + "" + "\t\t\t\t" + strFunction;
}

// The lines of one dump through a "%c|%p|%m%n" layout: every piece ends with
// its own line end, so an empty line follows each.
std::vector<std::string> DumpLines(const std::string& strPrefix, const std::vector<std::string>& functions)
{
    std::vector<std::string> lines = {strPrefix + kHead, "", strPrefix + kTitles, ""};
    for (size_t i = 0; i < functions.size(); ++i) {
        lines.push_back(strPrefix + DepthLine(static_cast<int>(i + 1), i == 0 ? "OrvprintD_exe" : " OrvprintD_exe",
                                              functions[i]));
        lines.push_back("");
    }
    for (const std::string& s : {strPrefix + kTail, std::string(), std::string(), std::string()}) {
        lines.push_back(s);
    }
    return lines;
}

void ThrowingFunction()
{
    ORV_TRACE_SCOPE("Trace::Throws");
    throw std::runtime_error("failed");
}

} // namespace

TEST(FunctionTrace, BeginAndEndLinesAtPriorityZeroAboveAnErrorThreshold)
{
    BackendLog log("OutputFunBeginInfo.OrvprintD_exe=true\n", "ERROR");
    {
        ORV_TRACE_SCOPE("CPopupThread::Run");
    }
    const std::string p = ThreadPrefix();
    const std::vector<std::string> expected = {
        "OrvprintD_exe|FATAL|" + p + "OrvprintD_exe__CPopupThread::Run :START......",
        "OrvprintD_exe|FATAL|" + p + "OrvprintD_exe__CPopupThread::Run :End  ......",
        "",
    };
    EXPECT_EQ(expected, log.Lines());
    // Two lines and an empty one, with the platform's line ends (Windows log
    // files end lines with CR LF).
    const std::string strEnd = orvtest::LOG_LINE_END;
    EXPECT_EQ("OrvprintD_exe|FATAL|" + p + "OrvprintD_exe__CPopupThread::Run :START......" + strEnd +
                  "OrvprintD_exe|FATAL|" + p + "OrvprintD_exe__CPopupThread::Run :End  ......" + strEnd + strEnd,
              log.Text());
}

TEST(FunctionTrace, ClassNameAppearsBetweenTheUnderscores)
{
    BackendLog log("OutputFunBeginInfo.OrvprintD_exe=true\n");
    {
        FunctionTraceScope scope("OrvprintD_exe", "CTraceClass", "Method");
    }
    const std::string p = ThreadPrefix();
    const std::vector<std::string> expected = {
        "OrvprintD_exe|FATAL|" + p + "OrvprintD_exe_CTraceClass_Method :START......",
        "OrvprintD_exe|FATAL|" + p + "OrvprintD_exe_CTraceClass_Method :End  ......",
        "",
    };
    EXPECT_EQ(expected, log.Lines());
}

TEST(FunctionTrace, NoLinesWhenTheSwitchIsOffOrAbsent)
{
    {
        BackendLog log("OutputFunBeginInfo.OrvprintD_exe=false\nOutputParam.OrvprintD_exe=true\n");
        ORV_TRACE_SCOPE("Trace::Off");
    }
    BackendLog log;
    {
        ORV_TRACE_SCOPE("Trace::Absent");
    }
    EXPECT_EQ("", log.Text());
}

TEST(FunctionTrace, SwitchOfTheFunctionCategoryDecides)
{
    BackendLog log("log4cpp.category.OrvprintD_exe.Trace::Own=DEBUG\n"
                   "OutputFunBeginInfo.OrvprintD_exe.Trace::Own=true\n");
    {
        ORV_TRACE_SCOPE("Trace::NotOwn");
    }
    {
        ORV_TRACE_SCOPE("Trace::Own");
    }
    const std::string p = ThreadPrefix();
    const std::vector<std::string> expected = {
        "OrvprintD_exe.Trace::Own|FATAL|" + p + "OrvprintD_exe__Trace::Own :START......",
        "OrvprintD_exe.Trace::Own|FATAL|" + p + "OrvprintD_exe__Trace::Own :End  ......",
        "",
    };
    EXPECT_EQ(expected, log.Lines());
}

TEST(FunctionTrace, ThrowingFunctionWritesItsEndLineAndPops)
{
    BackendLog log("OutputFunBeginInfo.OrvprintD_exe=true\n");
    {
        ORV_TRACE_SCOPE("Trace::Caller");
        EXPECT_THROW(ThrowingFunction(), std::runtime_error);
        EXPECT_EQ(1u, ThreadNdcDepth());
        EXPECT_EQ("OrvprintD_exe..Trace::Caller$", ThreadNdcText());
    }
    const std::string p = ThreadPrefix();
    const std::vector<std::string> expected = {
        "OrvprintD_exe|FATAL|" + p + "OrvprintD_exe__Trace::Caller :START......",
        "OrvprintD_exe|FATAL|" + p + "OrvprintD_exe__Trace::Throws :START......",
        "OrvprintD_exe|FATAL|" + p + "OrvprintD_exe__Trace::Throws :End  ......",
        "",
        "OrvprintD_exe|FATAL|" + p + "OrvprintD_exe__Trace::Caller :End  ......",
        "",
    };
    EXPECT_EQ(expected, log.Lines());
    EXPECT_EQ(0u, ThreadNdcDepth());
}

TEST(FunctionTrace, NestedEntriesAreJoinedWithOneBlank)
{
    BackendLog log;
    ORV_TRACE_SCOPE("Ndc::A");
    {
        FunctionTraceScope inner("OrvprintD_exe", "C", "g");
        EXPECT_EQ(2u, ThreadNdcDepth());
        EXPECT_EQ("OrvprintD_exe..Ndc::A$ OrvprintD_exe.C.g$", ThreadNdcText());
        std::string strEntry;
        ASSERT_TRUE(ReadCurrentEntry(strEntry));
        EXPECT_EQ("OrvprintD_exe.C.g", strEntry);
    }
    EXPECT_EQ("OrvprintD_exe..Ndc::A$", ThreadNdcText());
}

TEST(FunctionTrace, NullNamesReadAsEmpty)
{
    BackendLog log;
    TraceFunctionBegin(nullptr, nullptr, nullptr);
    EXPECT_EQ("..$", ThreadNdcText());
    TraceFunctionEnd();
    EXPECT_EQ(0u, ThreadNdcDepth());
}

TEST(FunctionTrace, ScopesWhileDisabledPushNothing)
{
    ShutdownLogging();
    TraceFunctionBegin("OrvprintD_exe", nullptr, "Trace::Disabled");
    BackendLog log("OutputFunBeginInfo.OrvprintD_exe=true\n");
    EXPECT_EQ(0u, ThreadNdcDepth());
    TraceFunctionEnd(); // nothing to pop, nothing to write
    EXPECT_EQ(0u, ThreadNdcDepth());
    EXPECT_EQ("", log.Text());
}

TEST(FunctionTrace, EntryIsPushedEvenWhenAFilterDeniesIt)
{
    BackendLog log("OutputFunBeginInfo.OrvprintD_exe=true\n"
                   "filter.module=OrvprintD_exe\nfilter.class=*\nfilter.function=*\nfilter.putoutpermission=no\n");
    {
        ORV_TRACE_SCOPE("Trace::Denied");
        EXPECT_EQ(1u, ThreadNdcDepth());
    }
    EXPECT_EQ(0u, ThreadNdcDepth());
    EXPECT_EQ("", log.Text());
}

TEST(FunctionTrace, WorkerThreadReleasesItsNdcAtDepthZero)
{
    BackendLog log;
    bool bHeldInside = false, bHeldAfter = true, bHeldInSecond = false;
    size_t uiDepthAfter = 99, uiDepthSecond = 0;
    std::string strSecond;
    std::thread worker([&]() {
        {
            ORV_TRACE_SCOPE("Worker::First");
            bHeldInside = ThreadHoldsNdc();
        }
        bHeldAfter = ThreadHoldsNdc();
        uiDepthAfter = ThreadNdcDepth();
        {
            ORV_TRACE_SCOPE("Worker::Second");
            bHeldInSecond = ThreadHoldsNdc();
            uiDepthSecond = ThreadNdcDepth();
            strSecond = ThreadNdcText();
        }
    });
    worker.join();
    EXPECT_TRUE(bHeldInside);
    EXPECT_FALSE(bHeldAfter);
    EXPECT_EQ(0u, uiDepthAfter);
    EXPECT_TRUE(bHeldInSecond);
    EXPECT_EQ(1u, uiDepthSecond);
    EXPECT_EQ("OrvprintD_exe..Worker::Second$", strSecond);
}

TEST(FunctionTrace, MainThreadReleasesItsNdcToo)
{
    BackendLog log;
    {
        ORV_TRACE_SCOPE("Ndc::Once");
    }
    {
        ORV_TRACE_SCOPE("Ndc::Twice");
        EXPECT_TRUE(ThreadHoldsNdc());
    }
    EXPECT_FALSE(ThreadHoldsNdc());
    // Reading outside every scope does not bring the object back.
    EXPECT_FALSE(IsErrorEnabled());
    LogError("%s", "outside");
    EXPECT_FALSE(ThreadHoldsNdc());
}

TEST(FunctionTrace, ThreadsKeepTheirOwnEntries)
{
    BackendLog log("log4cpp.category.OrvprintD_exe.Threads::Worker=DEBUG\n");
    ORV_TRACE_SCOPE("Threads::Main");
    std::string strWorkerNdc;
    std::thread worker([&]() {
        ORV_TRACE_SCOPE("Threads::Worker");
        strWorkerNdc = ThreadNdcText();
        LogInfo("%s", "from worker");
    });
    worker.join();
    LogInfo("%s", "from main");
    EXPECT_EQ("OrvprintD_exe..Threads::Worker$", strWorkerNdc);
    EXPECT_EQ("OrvprintD_exe..Threads::Main$", ThreadNdcText());
    const std::vector<std::string> lines = log.Lines();
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ(0u, lines[0].find("OrvprintD_exe.Threads::Worker|INFO|[ThreadID:"));
    EXPECT_EQ("OrvprintD_exe|INFO|" + ThreadPrefix() + "INFO - from main", lines[1]);
    EXPECT_NE(lines[1].substr(lines[1].find('[')), lines[0].substr(lines[0].find('[')));
}

TEST(CallStackDump, ThreeNestedScopesAndAnErrorRecord)
{
    BackendLog log("OutputNDCFullmessage.OrvprintD_exe=true\n");
    {
        FunctionTraceScope a(ORV_LOG_MODULE, nullptr, "Dump::A");
        FunctionTraceScope b(ORV_LOG_MODULE, nullptr, "Dump::B");
        FunctionTraceScope c(ORV_LOG_MODULE, nullptr, "Dump::C");
        LogError("%s", "failed");
    }
    std::vector<std::string> expected = {"OrvprintD_exe|ERROR|" + ThreadPrefix() + "ERROR - failed"};
    for (const auto& s : DumpLines("OrvprintD_exe|ERROR|", {"Dump::A", "Dump::B", "Dump::C"})) {
        expected.push_back(s);
    }
    EXPECT_EQ(expected, log.Lines());
}

TEST(CallStackDump, FollowsFatalAndDebugAtTheirPriorities)
{
    BackendLog log("OutputNDCFullmessage.OrvprintD_exe=true\n");
    {
        ORV_TRACE_SCOPE("Dump::Levels");
        LogFatal("%s", "f");
        LogDebug("%s", "d");
        LogWarning("%s", "w");
        LogInfo("%s", "i");
    }
    const std::string p = ThreadPrefix();
    std::vector<std::string> expected = {"OrvprintD_exe|FATAL|" + p + "FATAL - f"};
    for (const auto& s : DumpLines("OrvprintD_exe|FATAL|", {"Dump::Levels"})) expected.push_back(s);
    expected.push_back("OrvprintD_exe|DEBUG|" + p + "DEBUG - d");
    for (const auto& s : DumpLines("OrvprintD_exe|DEBUG|", {"Dump::Levels"})) expected.push_back(s);
    expected.push_back("OrvprintD_exe|WARN|" + p + "WARNING - w");
    expected.push_back("OrvprintD_exe|INFO|" + p + "INFO - i");
    EXPECT_EQ(expected, log.Lines());
}

TEST(CallStackDump, SwitchOffPrintsNothingAndAnswersMinusOne)
{
    BackendLog log("OutputNDCFullmessage.OrvprintD_exe=false\n");
    {
        ORV_TRACE_SCOPE("Dump::Off");
        EXPECT_EQ(-1, DumpCallStack("OrvprintD_exe", "", "Dump::Off", 300));
        LogError("%s", "e");
    }
    const std::vector<std::string> expected = {"OrvprintD_exe|ERROR|" + ThreadPrefix() + "ERROR - e"};
    EXPECT_EQ(expected, log.Lines());
}

TEST(CallStackDump, AbsentSwitchesOrCategoryAnswerMinusOne)
{
    BackendLog log;
    ORV_TRACE_SCOPE("Dump::Absent");
    EXPECT_EQ(-1, DumpCallStack("OrvprintD_exe", "", "Dump::Absent", 300));
    EXPECT_EQ(-1, DumpCallStack("NoSuchModule", "", "Dump::Absent", 300));
    EXPECT_EQ("", log.Text());
}

TEST(CallStackDump, PrintedDumpAnswersZero)
{
    BackendLog log("OutputNDCFullmessage.OrvprintD_exe=true\n");
    ORV_TRACE_SCOPE("Dump::Direct");
    EXPECT_EQ(0, DumpCallStack("OrvprintD_exe", nullptr, "Dump::Direct", 700));
    EXPECT_EQ(DumpLines("OrvprintD_exe|DEBUG|", {"Dump::Direct"}), log.Lines());
}

TEST(ParameterRecord, ListTextIsTheFormatOfTheParamRecord)
{
    BackendLog log("OutputParam.OrvprintD_exe=true\n", "ERROR");
    {
        ORV_TRACE_SCOPE("CPopupThread::MsgHandler");
        uint64_t uiRecvSize = 10;
        int iIndex = 2;
        FunctionParameters params("CPopupThread::MsgHandler");
        if (IsFatalEnabled()) {
            params.Add("uiRecvSize", &uiRecvSize);
            params.Add("iIndex", &iIndex);
        }
        uiRecvSize = 4096;
        ORV_LOG_PARAMS(params);
    }
    const std::vector<std::string> expected = {
        "OrvprintD_exe|FATAL|" + ThreadPrefix() +
        "Param - CPopupThread::MsgHandler([uiRecvSize] = 4096, [iIndex] = 2, )"};
    EXPECT_EQ(expected, log.Lines());
}

namespace {
struct PercentValue {};
} // namespace

namespace paramtrace {
template <>
struct ValueText<PercentValue> {
    static std::string Text(const PercentValue&) { return "50%%"; }
};
} // namespace paramtrace

TEST(ParameterRecord, PercentInAValueIsReadAsAConversion)
{
    BackendLog log("OutputParam.OrvprintD_exe=true\n");
    {
        ORV_TRACE_SCOPE("Param::Percent");
        PercentValue value;
        FunctionParameters params("Param::Percent");
        params.Add("value", &value);
        ORV_LOG_PARAMS(params);
    }
    const std::vector<std::string> expected = {"OrvprintD_exe|FATAL|" + ThreadPrefix() +
                                               "Param - Param::Percent([value] = 50%, )"};
    EXPECT_EQ(expected, log.Lines());
}
