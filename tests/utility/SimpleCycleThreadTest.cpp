#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <regex>
#include <string>
#include <vector>
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <gtest/gtest.h>
#include "support/LogCapture.h"
#include "utility/SimpleCycleThread.h"

using OrvUtility::CSimpleCycleThread;
using OrvUtility::CThreadEvent;

namespace {

const uint32_t kLongPeriod = 600000; // never reached by a passing test
const uint32_t kShortPeriod = 10;

// State shared between a test and its cycle thread; lives in the test.
struct CycleProbe {
    std::mutex mutex;
    std::condition_variable cond;
    int iTimerCalls = 0;
    int iHookCalls = 0;
    int iExitCalls = 0;
    bool bInitResult = true;
    // The job: receives the call number (from 1), returns OnTimer's result.
    std::function<bool(int)> fnJob = [](int) { return true; };
    // Runs on the thread after each time-out's job or pause line.
    std::function<void(int)> fnHook = [](int) {};

    template <class Pred>
    void WaitFor(Pred pred)
    {
        std::unique_lock<std::mutex> lock(mutex);
        cond.wait(lock, pred);
    }
    void Notify()
    {
        std::lock_guard<std::mutex> lock(mutex);
        cond.notify_all();
    }
};

class CTestCycleThread : public CSimpleCycleThread {
public:
    CTestCycleThread(const std::wstring& strName, uint32_t uiPeriod, CycleProbe& probe)
        : CSimpleCycleThread(strName, uiPeriod), m_probe(probe)
    {
        // The hook works on the probe, not on this object: the base
        // destructor may still be joining the thread when this object's own
        // part is gone.
        SetTimeoutHook([&probe]() {
            int iCall;
            {
                std::lock_guard<std::mutex> lock(probe.mutex);
                iCall = ++probe.iHookCalls;
                probe.cond.notify_all();
            }
            probe.fnHook(iCall);
        });
    }

    bool OnThreadInit() override { return m_probe.bInitResult; }
    void OnThreadExit() override
    {
        std::lock_guard<std::mutex> lock(m_probe.mutex);
        ++m_probe.iExitCalls;
        m_probe.cond.notify_all();
    }
    bool OnTimer() override
    {
        int iCall;
        {
            std::lock_guard<std::mutex> lock(m_probe.mutex);
            iCall = ++m_probe.iTimerCalls;
            m_probe.cond.notify_all();
        }
        return m_probe.fnJob(iCall);
    }

private:
    CycleProbe& m_probe;
};

// Captured lines without the function begin/end lines, the thread id and
// the source line made fixed.
std::vector<std::string> RecordLines(const orvtest::LogCapture& cap)
{
    static const std::regex s_reThread(R"(^\[ThreadID:\d+\] )");
    static const std::regex s_reLine(R"(\.cpp\(\d+\) : )");
    std::vector<std::string> vecLines;
    for (const std::string& strLine : cap.Lines()) {
        if (strLine.empty() || strLine.find(":START......") != std::string::npos ||
            strLine.find(":End  ......") != std::string::npos) {
            continue;
        }
        std::string strText = std::regex_replace(strLine, s_reThread, "[ThreadID:#] ");
        vecLines.push_back(std::regex_replace(strText, s_reLine, ".cpp(#) : "));
    }
    return vecLines;
}

const std::string kFile = "utility/SimpleCycleThread.cpp(#) : ";
const std::string kStarted = "[ThreadID:#] INFO - thread Launcher thread started.";
const std::string kTimeout = "[ThreadID:#] DEBUG - " + kFile + "thread Launcher thread timeout triggerd.";
const std::string kPaused = "[ThreadID:#] DEBUG - " + kFile + "thread Launcher thread paused.";
const std::string kWaitTimedOut = "[ThreadID:#] DEBUG - " + kFile + "thread Launcher thread WaitForSingleObject retursn 258.";
const std::string kWaitSignalled = "[ThreadID:#] DEBUG - " + kFile + "thread Launcher thread WaitForSingleObject retursn 0.";
const std::string kWantQuit = "[ThreadID:#] WARNING - " + kFile + "thread %S want to quit.";
const std::string kEndNormally = "[ThreadID:#] INFO - thread Launcher thread end normally.";

} // namespace

TEST(SimpleCycleThreadTest, ConstructedState)
{
    CycleProbe probe;
    auto pThread = boost::make_shared<CTestCycleThread>(L"Launcher thread", 10000, probe);
    EXPECT_EQ(std::wstring(L"Launcher thread"), pThread->GetThreadName());
    EXPECT_EQ(10000u, pThread->GetPeriod());
    EXPECT_EQ(2, pThread->GetStatus());
    EXPECT_EQ(0, pThread->IsRunning());
    EXPECT_EQ(0xFFFFFFFFu, pThread->GetThreadId());
    EXPECT_FALSE(pThread->IsPaused());
    EXPECT_FALSE(pThread->IsQuitRequested());
    EXPECT_TRUE(pThread->OnThreadReserved1());
    EXPECT_TRUE(pThread->OnThreadReserved2());
    EXPECT_EQ(0u, pThread->Pause());
    EXPECT_TRUE(pThread->IsPaused());
    EXPECT_EQ(0u, pThread->Resume());
    EXPECT_FALSE(pThread->IsPaused());
    // Owned through a boost::shared_ptr.
    EXPECT_EQ(boost::shared_ptr<CSimpleCycleThread>(pThread), pThread->shared_from_this());
    // Nothing was started: no time-out, no job.
    EXPECT_EQ(258u, pThread->WaitStarted(0));
    EXPECT_EQ(0, probe.iTimerCalls);
}

TEST(SimpleCycleThreadTest, ForceQuitOnAThreadNeverStartedReturnsNine)
{
    orvtest::LogCapture cap;
    CycleProbe probe;
    {
        auto pThread = boost::make_shared<CTestCycleThread>(L"Launcher thread", kLongPeriod, probe);
        EXPECT_EQ(9u, pThread->ForceQuit());
        EXPECT_FALSE(pThread->IsQuitRequested());
    }
    if (cap.Available()) {
        const std::vector<std::string> expected = {
            "[ThreadID:#] ERROR - " + kFile + "this->GetStatus() = 2",
        };
        EXPECT_EQ(expected, RecordLines(cap));
    }
}

TEST(SimpleCycleThreadTest, FalseFromTheFirstJobStopsAtOnce)
{
    orvtest::LogCapture cap;
    CycleProbe probe;
    probe.fnJob = [](int) { return false; };
    auto pThread = boost::make_shared<CTestCycleThread>(L"Launcher thread", kLongPeriod, probe);
    const auto tStart = std::chrono::steady_clock::now();
    ASSERT_EQ(0u, pThread->Begin());
    const uint32_t uiThreadId = pThread->GetThreadId();
    EXPECT_EQ(1u, pThread->Join());
    // Far below one period.
    EXPECT_LT(std::chrono::steady_clock::now() - tStart, std::chrono::seconds(60));
    EXPECT_EQ(1, probe.iTimerCalls);
    EXPECT_EQ(0, probe.iHookCalls);
    EXPECT_EQ(1, probe.iExitCalls);
    EXPECT_TRUE(pThread->IsQuitRequested());
    EXPECT_EQ(2, pThread->GetStatus());
    EXPECT_EQ(0, pThread->IsRunning());
    EXPECT_EQ(9u, pThread->ForceQuit());
    if (cap.Available()) {
        const std::vector<std::string> expected = {
            kStarted, kTimeout, kWantQuit, kEndNormally,
            "[ThreadID:#] ERROR - " + kFile + "this->GetStatus() = 2",
        };
        EXPECT_EQ(expected, RecordLines(cap));
        // The thread's records carry its own id.
        EXPECT_EQ(1, cap.Count("[ThreadID:" + std::to_string(uiThreadId) + "] INFO - thread Launcher thread started."));
    }
}

TEST(SimpleCycleThreadTest, ForceQuitStopsARunningThread)
{
    orvtest::LogCapture cap;
    CycleProbe probe;
    auto pThread = boost::make_shared<CTestCycleThread>(L"Launcher thread", kLongPeriod, probe);
    ASSERT_EQ(0u, pThread->Begin());
    // Signalled once the start-up hook has passed: the thread is running.
    ASSERT_EQ(0u, pThread->WaitStarted(CThreadEvent::INFINITE_WAIT));
    EXPECT_EQ(0, pThread->GetStatus());
    probe.WaitFor([&]() { return probe.iHookCalls == 1; });
    EXPECT_EQ(0u, pThread->ForceQuit());
    EXPECT_TRUE(pThread->IsQuitRequested());
    EXPECT_EQ(1u, pThread->Join());
    EXPECT_EQ(1, probe.iTimerCalls);
    EXPECT_EQ(1, probe.iExitCalls);
    EXPECT_EQ(2, pThread->GetStatus());
    if (cap.Available()) {
        // The flag is seen right after the wait: no "recieved quit event".
        const std::vector<std::string> expected = {kStarted, kTimeout, kWaitSignalled, kEndNormally};
        EXPECT_EQ(expected, RecordLines(cap));
    }
}

TEST(SimpleCycleThreadTest, JoinFromTheThreadItselfReturnsEight)
{
    CycleProbe probe;
    uint32_t uiSelfJoin = 0;
    boost::shared_ptr<CTestCycleThread> pThread =
        boost::make_shared<CTestCycleThread>(L"Launcher thread", kLongPeriod, probe);
    CTestCycleThread* pRaw = pThread.get();
    probe.fnJob = [&](int) {
        uiSelfJoin = pRaw->Join();
        return false;
    };
    ASSERT_EQ(0u, pThread->Begin());
    EXPECT_EQ(1u, pThread->Join());
    EXPECT_EQ(8u, uiSelfJoin);
}

TEST(SimpleCycleThreadTest, WhilePausedEachPeriodLogsAndRunsNoJob)
{
    orvtest::LogCapture cap;
    const int kPausedPeriods = 3;
    CycleProbe probe;
    boost::shared_ptr<CTestCycleThread> pThread =
        boost::make_shared<CTestCycleThread>(L"Launcher thread", kShortPeriod, probe);
    bool bPauseDone = false;
    bool bResumeDone = false;
    // Job 1 holds until the test has paused the thread; job 2 ends it.
    probe.fnJob = [&](int iCall) {
        if (iCall == 1) {
            probe.WaitFor([&]() { return bPauseDone; });
            return true;
        }
        return false;
    };
    // Hook 1 follows job 1; hooks 2.. follow paused time-outs. The last
    // paused one holds until the test has resumed the thread.
    probe.fnHook = [&](int iCall) {
        if (iCall == 1 + kPausedPeriods) {
            probe.WaitFor([&]() { return bResumeDone; });
        }
    };

    ASSERT_EQ(0u, pThread->Begin());
    probe.WaitFor([&]() { return probe.iTimerCalls == 1; });
    EXPECT_EQ(0u, pThread->Pause());
    {
        std::lock_guard<std::mutex> lock(probe.mutex);
        bPauseDone = true;
        probe.cond.notify_all();
    }
    probe.WaitFor([&]() { return probe.iHookCalls == 1 + kPausedPeriods; });
    EXPECT_EQ(1, probe.iTimerCalls);
    EXPECT_EQ(0u, pThread->Resume());
    {
        std::lock_guard<std::mutex> lock(probe.mutex);
        bResumeDone = true;
        probe.cond.notify_all();
    }
    EXPECT_EQ(1u, pThread->Join());
    EXPECT_EQ(2, probe.iTimerCalls);
    EXPECT_EQ(1 + kPausedPeriods, probe.iHookCalls);

    if (cap.Available()) {
        std::vector<std::string> expected = {kStarted, kTimeout, kWaitTimedOut};
        for (int i = 0; i < kPausedPeriods; ++i) {
            expected.push_back(kTimeout);
            expected.push_back(kPaused);
            expected.push_back(kWaitTimedOut);
        }
        expected.push_back(kTimeout);
        expected.push_back(kWantQuit);
        expected.push_back(kEndNormally);
        EXPECT_EQ(expected, RecordLines(cap));
    }
}

TEST(SimpleCycleThreadTest, ShortPeriodRunsTheJobEachPeriod)
{
    CycleProbe probe;
    probe.fnJob = [](int iCall) { return iCall < 5; };
    auto pThread = boost::make_shared<CTestCycleThread>(L"Launcher thread", kShortPeriod, probe);
    ASSERT_EQ(0u, pThread->Begin());
    EXPECT_EQ(1u, pThread->Join());
    EXPECT_EQ(5, probe.iTimerCalls);
    EXPECT_EQ(4, probe.iHookCalls);
}

TEST(SimpleCycleThreadTest, FailedStartUpHookEndsTheThread)
{
    orvtest::LogCapture cap;
    CycleProbe probe;
    probe.bInitResult = false;
    auto pThread = boost::make_shared<CTestCycleThread>(L"Launcher thread", kLongPeriod, probe);
    ASSERT_EQ(0u, pThread->Begin());
    // The started event is signalled on this path too.
    EXPECT_EQ(0u, pThread->WaitStarted(CThreadEvent::INFINITE_WAIT));
    EXPECT_EQ(1u, pThread->Join());
    EXPECT_EQ(0, probe.iTimerCalls);
    EXPECT_EQ(0, probe.iExitCalls);
    // FAILED is replaced by NOT_RUNNING when Run returns.
    EXPECT_EQ(2, pThread->GetStatus());
    if (cap.Available()) {
        const std::vector<std::string> expected = {
            kStarted,
            "[ThreadID:#] INFO - thread Launcher thread end for init error.",
        };
        EXPECT_EQ(expected, RecordLines(cap));
    }
}

TEST(SimpleCycleThreadTest, DestroyingARunningThreadStopsAndJoinsIt)
{
    orvtest::LogCapture cap;
    CycleProbe probe;
    {
        auto pThread = boost::make_shared<CTestCycleThread>(L"Launcher thread", kLongPeriod, probe);
        ASSERT_EQ(0u, pThread->Begin());
        probe.WaitFor([&]() { return probe.iHookCalls == 1; });
    }
    EXPECT_EQ(1, probe.iTimerCalls);
    if (cap.Available()) {
        const std::vector<std::string> expected = {kStarted, kTimeout, kWaitSignalled, kEndNormally};
        EXPECT_EQ(expected, RecordLines(cap));
    }
}

TEST(SimpleCycleThreadTest, OperationsOpenTheirTraceScopes)
{
    orvtest::LogCapture cap("OutputFunBeginInfo.OrvprintD_exe=TRUE");
    if (!cap.Available()) {
        GTEST_SKIP() << "logging is built disabled";
    }
    CycleProbe probe;
    probe.fnJob = [](int) { return false; };
    {
        auto pThread = boost::make_shared<CTestCycleThread>(L"Launcher thread", kLongPeriod, probe);
        pThread->Pause();
        pThread->Resume();
        ASSERT_EQ(0u, pThread->Begin());
        pThread->Join();
        pThread->ForceQuit();
    }
    for (const char* szName :
         {"CSimpleCycleThread::CSimpleCycleThread", "CSimpleCycleThread::~CSimpleCycleThread",
          "CSimpleCycleThread::ForceQuit", "CSimpleCycleThread::Pause", "CSimpleCycleThread::Resume",
          "CSimpleCycleThread::Run", "CSimpleCycleThread::DoCrycle", "OrvUtility::CThread::Begin",
          "OrvUtility::CThread::ThreadProc", "OrvUtility::CThread::Join"}) {
        const std::string strName = std::string("] OrvprintD_exe__") + szName + " ";
        EXPECT_EQ(1, cap.Count(strName + ":START......")) << szName;
        EXPECT_EQ(1, cap.Count(strName + ":End  ......")) << szName;
    }
}
