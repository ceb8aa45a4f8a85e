// The client-tool launcher: its list, its cycle, a failing start, a pause.
#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <boost/make_shared.hpp>

#include "app/LauncherThread.h"
#include "support/LogCapture.h"
#include "support/TempFolder.h"

namespace {

// FATAL records are written only for modules that a switch names.
const char* const FATAL_CONFIG = "OutputParam.OrvprintD_exe=false\n";

// Counts the cycle's time-outs and lets the test wait for the n-th.
class TimeoutCounter {
public:
    void Tick()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        ++m_iCount;
        m_cv.notify_all();
    }
    int Count()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_iCount;
    }
    void WaitFor(int iCount)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_cv.wait(lock, [&] { return m_iCount >= iCount; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_cv;
    int m_iCount = 0;
};

} // namespace

TEST(LauncherThreadTest, ListsTheProgramWithAQuotedCommandLine)
{
    CLauncherThread objLauncher(L"/opt/orv/OrvClientTool", 10000);
    ASSERT_EQ(1u, objLauncher.GetLaunchList().size());
    EXPECT_EQ(L"/opt/orv/OrvClientTool", objLauncher.GetLaunchList().front().strImagePath);
    EXPECT_EQ(L"\"/opt/orv/OrvClientTool\"", objLauncher.GetLaunchList().front().strCommandLine);
    EXPECT_EQ(L"Launcher thread", objLauncher.GetThreadName());
    EXPECT_EQ(10000u, objLauncher.GetPeriod());
}

TEST(LauncherThreadTest, TheDefaultListHoldsTheClientToolBesideTheProgram)
{
    CLauncherThread objLauncher;
    ASSERT_EQ(1u, objLauncher.GetLaunchList().size());
    const std::wstring& strPath = objLauncher.GetLaunchList().front().strImagePath;
    EXPECT_NE(std::wstring::npos, strPath.find(L"OrvClientTool"));
    EXPECT_EQ(L"\"" + strPath + L"\"", objLauncher.GetLaunchList().front().strCommandLine);
    EXPECT_EQ(10000u, objLauncher.GetPeriod());
}

TEST(LauncherThreadTest, AFailingStartLogsOneFatalLinePerCycleAndGoesOn)
{
    orvtest::LogCapture cap(FATAL_CONFIG);
    orvtest::TempFolder tmp;
    const std::string strMissing = tmp.File("OrvClientTool-missing");
    CLauncherThread objLauncher(std::wstring(strMissing.begin(), strMissing.end()), 10000);
    EXPECT_TRUE(objLauncher.OnTimer());
    EXPECT_TRUE(objLauncher.OnTimer());
    if (cap.Available()) {
        EXPECT_EQ(2, cap.Count("FATAL - app/LauncherThread.cpp("));
        EXPECT_EQ(2, cap.Count(")Failed to launch apps. err = " + strMissing));
    }
}

TEST(LauncherThreadTest, WhilePausedNothingIsStarted)
{
    orvtest::LogCapture cap(FATAL_CONFIG);
    orvtest::TempFolder tmp;
    const std::string strMissing = tmp.File("OrvClientTool-missing");
    auto spLauncher = boost::make_shared<CLauncherThread>(std::wstring(strMissing.begin(), strMissing.end()), 5);
    TimeoutCounter counter;
    spLauncher->SetTimeoutHook([&counter]() { counter.Tick(); });
    spLauncher->Pause();
    ASSERT_EQ(0u, spLauncher->Begin());
    counter.WaitFor(3);
    const int iFatalWhilePaused = cap.Available() ? cap.Count("Failed to launch apps.") : 0;
    spLauncher->Resume();
    const int iResumedAt = counter.Count();
    counter.WaitFor(iResumedAt + 2);
    spLauncher->ForceQuit();
    spLauncher->Join();
    if (cap.Available()) {
        EXPECT_EQ(0, iFatalWhilePaused);
        EXPECT_GE(cap.Count("thread Launcher thread paused."), 3);
        EXPECT_GE(cap.Count("Failed to launch apps."), 1);
    }
}
