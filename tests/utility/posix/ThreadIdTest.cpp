#include <sys/syscall.h>
#include <unistd.h>
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
        m_uiKernelId = static_cast<uint32_t>(syscall(SYS_gettid));
        return 0;
    }
    uint32_t m_uiKernelId = 0;
};

} // namespace

TEST(ThreadIdTest, ThreadIdIsTheKernelThreadId)
{
    EXPECT_EQ(static_cast<uint32_t>(syscall(SYS_gettid)), OrvUtility::CThread::CurrentThreadId());
    CIdThread thread;
    ASSERT_EQ(0u, thread.Begin());
    const uint32_t uiId = thread.GetThreadId();
    EXPECT_EQ(1u, thread.Join());
    EXPECT_EQ(thread.m_uiKernelId, uiId);
}
