#include <atomic>
#include <thread>
#include <gtest/gtest.h>
#include "utility/ThreadEvent.h"

using OrvUtility::CThreadEvent;

TEST(ThreadEventTest, WaitResultsAreTheSystemValues)
{
    EXPECT_EQ(0u, CThreadEvent::WAIT_SIGNALLED);
    EXPECT_EQ(258u, CThreadEvent::WAIT_TIMED_OUT);
    EXPECT_EQ(0xFFFFFFFFu, CThreadEvent::WAIT_ERROR);
}

TEST(ThreadEventTest, StartsNotSignalled)
{
    CThreadEvent evt;
    ASSERT_TRUE(evt.IsValid());
    EXPECT_EQ(0u, evt.GetCreateError());
    EXPECT_EQ(258u, evt.Wait(0));
    EXPECT_EQ(258u, evt.Wait(10));
}

TEST(ThreadEventTest, AutoResetReleasesOneWait)
{
    CThreadEvent evt;
    EXPECT_EQ(0u, evt.Set());
    EXPECT_EQ(0u, evt.Set());
    EXPECT_EQ(0u, evt.Wait(0));
    EXPECT_EQ(258u, evt.Wait(0));
}

TEST(ThreadEventTest, SetReleasesAWaitingThread)
{
    CThreadEvent evtGo;
    CThreadEvent evtDone;
    std::atomic<uint32_t> uiResult(12345);
    std::thread waiter([&]() {
        uiResult = evtGo.Wait(CThreadEvent::INFINITE_WAIT);
        evtDone.Set();
    });
    EXPECT_EQ(0u, evtGo.Set());
    EXPECT_EQ(0u, evtDone.Wait(CThreadEvent::INFINITE_WAIT));
    waiter.join();
    EXPECT_EQ(0u, uiResult.load());
}
