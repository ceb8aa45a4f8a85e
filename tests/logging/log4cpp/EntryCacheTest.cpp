// What the facade works out once per trace entry (filter verdict, category,
// switches) follows every change of the configuration, is the same on every
// thread, and is found from the thread's NDC text as before.
#include <atomic>
#include <string>
#include <thread>
#include <vector>
#include <gtest/gtest.h>
#include "BackendLog.h"
#include "logging/FunctionTrace.h"
#include "logging/LogFacade.h"
#include "logging/LogMacros.h"
#include "logging/OutputSwitchTable.h"
#include "logging/log4cpp/EntryCache.h"
#include "logging/log4cpp/LogState.h"

using logtest::BackendLog;
using logtest::ThreadPrefix;

namespace {

const char* const kDenyQuiet = "filter.module=OrvprintD_exe\nfilter.class=\nfilter.function=Cache::Quiet\n"
                               "filter.putoutpermission=no\n";

} // namespace

TEST(EntryCache, NewConfigurationReplacesWhatWasWorkedOut)
{
    const std::string p = ThreadPrefix();
    {
        BackendLog log("OutputFunBeginInfo.OrvprintD_exe=true\n");
        {
            ORV_TRACE_SCOPE("Cache::Quiet");
            EXPECT_TRUE(IsLoggingEnabled());
            EXPECT_TRUE(IsDebugEnabled());
        }
        EXPECT_EQ(1, log.Count(p + "OrvprintD_exe__Cache::Quiet :START......"));
        EXPECT_EQ(1, log.Count(p + "OrvprintD_exe__Cache::Quiet :End  ......"));
    }
    {
        // The same entry: now denied by a filter, begin and end lines off,
        // and a category threshold of ERROR.
        BackendLog log(kDenyQuiet, "ERROR");
        {
            ORV_TRACE_SCOPE("Cache::Quiet");
            EXPECT_FALSE(IsLoggingEnabled());
            EXPECT_FALSE(IsDebugEnabled());
            EXPECT_TRUE(IsErrorEnabled());
            LogError("%s", "quiet");
        }
        EXPECT_EQ("", log.Text());
    }
    {
        BackendLog log("OutputFunBeginInfo.OrvprintD_exe=true\n");
        {
            ORV_TRACE_SCOPE("Cache::Quiet");
            EXPECT_TRUE(IsLoggingEnabled());
            LogError("%s", "loud");
        }
        const std::vector<std::string> expected = {
            "OrvprintD_exe|FATAL|" + p + "OrvprintD_exe__Cache::Quiet :START......",
            "OrvprintD_exe|ERROR|" + p + "ERROR - loud",
            "OrvprintD_exe|FATAL|" + p + "OrvprintD_exe__Cache::Quiet :End  ......",
            "",
        };
        EXPECT_EQ(expected, log.Lines());
    }
}

TEST(EntryCache, SwitchChangedAfterStartIsSeen)
{
    BackendLog log;
    {
        ORV_TRACE_SCOPE("Cache::Switch");
    }
    EXPECT_EQ("", log.Text());
    OutputSwitchTable::Instance().Set("OrvprintD_exe", "OutputFunBeginInfo", true);
    {
        ORV_TRACE_SCOPE("Cache::Switch");
    }
    EXPECT_EQ(1, log.Count("OrvprintD_exe__Cache::Switch :START......"));
    EXPECT_EQ(1, log.Count("OrvprintD_exe__Cache::Switch :End  ......"));
}

TEST(EntryCache, NoScopeFindsNoCategory)
{
    BackendLog log;
    EXPECT_FALSE(IsErrorEnabled());
    EXPECT_TRUE(IsLoggingEnabled());
    {
        ORV_TRACE_SCOPE("Cache::Scoped");
        EXPECT_TRUE(IsErrorEnabled());
    }
    EXPECT_FALSE(IsErrorEnabled());
}

TEST(EntryCache, EntryIsTakenFromTheNdcText)
{
    BackendLog log("OutputFunBeginInfo.OrvprintD_exe=true\n");
    {
        // Alone, the entry ends at its last "$": "OrvprintD_exe..Cache::A$B".
        ORV_TRACE_SCOPE("Cache::A$B");
        EXPECT_TRUE(IsErrorEnabled());
        {
            // Nested, the entry begins two characters behind the last "$"
            // before the final one: "B" here, which cannot be split.
            ORV_TRACE_SCOPE("Cache::A$B");
            EXPECT_FALSE(IsErrorEnabled());
        }
        EXPECT_TRUE(IsErrorEnabled());
    }
    const std::string p = ThreadPrefix();
    const std::vector<std::string> expected = {
        "OrvprintD_exe|FATAL|" + p + "OrvprintD_exe__Cache::A$B :START......",
        "OrvprintD_exe|FATAL|" + p + "OrvprintD_exe__Cache::A$B :End  ......",
        "",
    };
    EXPECT_EQ(expected, log.Lines());
}

TEST(EntryCache, ThreadsGetTheSameAnswers)
{
    BackendLog log(std::string("OutputFunBeginInfo.OrvprintD_exe=true\n") + kDenyQuiet);
    const int kThreads = 4;
    const int kRounds = 200;
    std::atomic<int> iWrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&]() {
            for (int i = 0; i < kRounds; ++i) {
                ORV_TRACE_SCOPE("Cache::Loud");
                if (!IsLoggingEnabled() || !IsDebugEnabled()) ++iWrong;
                {
                    ORV_TRACE_SCOPE("Cache::Quiet");
                    if (IsLoggingEnabled()) ++iWrong;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(0, iWrong.load());
    EXPECT_EQ(kThreads * kRounds, log.Count("OrvprintD_exe__Cache::Loud :START......"));
    EXPECT_EQ(kThreads * kRounds, log.Count("OrvprintD_exe__Cache::Loud :End  ......"));
    EXPECT_EQ(0, log.Count("Cache::Quiet"));
}
