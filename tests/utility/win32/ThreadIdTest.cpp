#include <windows.h>
#include <gtest/gtest.h>
#include "utility/Thread.h"

namespace {

class CIdThread : public OrvUtility::CThread {
public:
    uint32_t ForceQuit() override { return 0; }
    uint32_t Pause() override { return 0; }
    uint32_t Resume() override { return 0; }
    uint32_t Run() override
    {
        m_uiSystemId = GetCurrentThreadId();
        return 0;
    }
    uint32_t m_uiSystemId = 0;
};

} // namespace

TEST(ThreadIdTest, ThreadIdIsTheSystemThreadId)
{
    EXPECT_EQ(static_cast<uint32_t>(GetCurrentThreadId()), OrvUtility::CThread::CurrentThreadId());
    CIdThread thread;
    ASSERT_EQ(0u, thread.Begin());
    const uint32_t uiId = thread.GetThreadId();
    EXPECT_EQ(1u, thread.Join());
    EXPECT_EQ(thread.m_uiSystemId, uiId);
    // The handle is a real thread handle: it reports the thread's end.
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(reinterpret_cast<HANDLE>(thread.GetThreadHandle()), 0));
}
