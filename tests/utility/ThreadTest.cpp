#include <condition_variable>
#include <mutex>
#include <gtest/gtest.h>
#include "utility/Thread.h"

using OrvUtility::CThread;

namespace {

// A thread whose Run records what it sees and, when asked, holds until the
// test releases it.
class CProbeThread : public CThread {
public:
    uint32_t ForceQuit() override { return 0; }
    uint32_t Pause() override { return 0; }
    uint32_t Resume() override { return 0; }
    uint32_t Run() override
    {
        m_iStatusInRun = GetStatus();
        m_iRunningInRun = IsRunning();
        m_uiIdInRun = CurrentThreadId();
        m_uiStoredIdInRun = GetThreadId();
        m_uiSelfJoin = Join();
        std::unique_lock<std::mutex> lock(m_mutex);
        m_bEntered = true;
        m_cond.notify_all();
        m_cond.wait(lock, [this]() { return !m_bHold; });
        return 0;
    }

    void WaitEntered()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_cond.wait(lock, [this]() { return m_bEntered; });
    }
    void Release()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_bHold = false;
        m_cond.notify_all();
    }

    bool m_bHold = false;
    int32_t m_iStatusInRun = -1;
    int32_t m_iRunningInRun = -1;
    uint32_t m_uiIdInRun = 0;
    uint32_t m_uiStoredIdInRun = 0;
    uint32_t m_uiSelfJoin = 0;

private:
    std::mutex m_mutex;
    std::condition_variable m_cond;
    bool m_bEntered = false;
};

} // namespace

TEST(ThreadTest, FieldsBeforeTheStart)
{
    CProbeThread thread;
    EXPECT_EQ(0xFFFFFFFFu, thread.GetThreadId());
    EXPECT_EQ(0u, thread.GetThreadHandle());
    EXPECT_EQ(2, thread.GetStatus());
    EXPECT_EQ(0, thread.IsRunning());
}

TEST(ThreadTest, JoinOfAThreadNeverStartedReturnsOne)
{
    CProbeThread thread;
    EXPECT_EQ(1u, thread.Join());
}

TEST(ThreadTest, RunsAndJoinsWithOne)
{
    CProbeThread thread;
    ASSERT_EQ(0u, thread.Begin());
    EXPECT_NE(0xFFFFFFFFu, thread.GetThreadId());
    EXPECT_NE(0u, thread.GetThreadHandle());
    EXPECT_EQ(1u, thread.Join());
    EXPECT_EQ(1u, thread.Join());
    EXPECT_EQ(0, thread.m_iStatusInRun);
    EXPECT_EQ(1, thread.m_iRunningInRun);
    EXPECT_EQ(thread.GetThreadId(), thread.m_uiIdInRun);
    EXPECT_EQ(thread.GetThreadId(), thread.m_uiStoredIdInRun);
    EXPECT_NE(CThread::CurrentThreadId(), thread.GetThreadId());
    EXPECT_EQ(2, thread.GetStatus());
    EXPECT_EQ(0, thread.IsRunning());
}

TEST(ThreadTest, JoinOnItselfReturnsEightWithoutWaiting)
{
    CProbeThread thread;
    ASSERT_EQ(0u, thread.Begin());
    EXPECT_EQ(1u, thread.Join());
    EXPECT_EQ(8u, thread.m_uiSelfJoin);
}

TEST(ThreadTest, StatusWhileRunning)
{
    CProbeThread thread;
    thread.m_bHold = true;
    ASSERT_EQ(0u, thread.Begin());
    thread.WaitEntered();
    EXPECT_EQ(0, thread.GetStatus());
    EXPECT_EQ(1, thread.IsRunning());
    thread.Release();
    EXPECT_EQ(1u, thread.Join());
    EXPECT_EQ(2, thread.GetStatus());
    EXPECT_EQ(0, thread.IsRunning());
}
