#include <thread>
#include <sys/syscall.h>
#include <unistd.h>
#include <gtest/gtest.h>
#include "logging/ThreadId.h"

TEST(ThreadIdPosix, IsTheKernelThreadId)
{
    EXPECT_EQ(static_cast<unsigned long>(syscall(SYS_gettid)), LogThreadId());
    EXPECT_EQ(static_cast<unsigned long>(getpid()), LogThreadId()); // the main thread
    unsigned long ulOther = 0, ulOtherKernel = 0;
    std::thread worker([&]() {
        ulOther = LogThreadId();
        ulOtherKernel = static_cast<unsigned long>(syscall(SYS_gettid));
    });
    worker.join();
    EXPECT_EQ(ulOtherKernel, ulOther);
    EXPECT_NE(LogThreadId(), ulOther);
}
