#include <thread>
#include <vector>
#include <gtest/gtest.h>
#include "utility/Lockable.h"

using OrvUtility::CLockable;

TEST(LockableTest, IsRecursive)
{
    CLockable lock;
    lock.Lock();
    lock.Lock();
    lock.Unlock();
    lock.Unlock();
}

TEST(LockableTest, ExcludesOtherThreads)
{
    CLockable lock;
    long lCounter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&]() {
            for (int i = 0; i < 20000; ++i) {
                lock.Lock();
                // Read, then write: lost updates show without the lock.
                const long lValue = lCounter;
                lCounter = lValue + 1;
                lock.Unlock();
            }
        });
    }
    for (auto& t : threads) {
        t.join();
    }
    EXPECT_EQ(80000, lCounter);
}
