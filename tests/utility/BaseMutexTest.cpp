#include <atomic>
#include <cstdlib>
#include <thread>
#include <gtest/gtest.h>
#include "support/ChildMain.h"
#include "support/ChildProcess.h"
#include "support/LogCapture.h"
#include "tests/utility/NamedObjectTestSupport.h"
#include "utility/BaseMutex.h"
#include "utility/NamedMutex.h"

using OrvUtility::CBaseMutex;

namespace {

// Another thread's view of a named mutex (a thread's own view of a mutex it
// owns is always "free": the kernel's mutexes are recursive).
OrvUtility::NamedMutexState ProbeFromOtherThread(const std::wstring& strName)
{
    OrvUtility::NamedMutexState eState = OrvUtility::NAMED_MUTEX_PROBE_FAILED;
    std::thread([&]() { eState = OrvUtility::ProbeNamedMutex(strName); }).join();
    return eState;
}

// Lock files of this test's names go to a folder of its own (Linux).
class BaseMutexTest : public ::testing::Test {
protected:
    orvtest::ScopedUserFolder m_user;
};

} // namespace

// Holds the named mutex and ends without releasing it.
ORV_CHILD_MAIN(BaseMutexHolderDies)
{
    const std::wstring strName = orvtest::Wide(args.at(0));
    CBaseMutex* pMutex = new CBaseMutex(strName.c_str());
    if (!pMutex->Lock(0xFFFFFFFF)) {
        return 1;
    }
    std::_Exit(0);
}

TEST_F(BaseMutexTest, LockAndUnlockAnUnnamedMutex)
{
    CBaseMutex mutex;
    ASSERT_NE(nullptr, mutex.GetHandle());
    EXPECT_EQ(1, mutex.Lock(0));
    EXPECT_EQ(1, mutex.Unlock());
    // Not owned any more: the platform call fails.
    EXPECT_EQ(0, mutex.Unlock());
}

TEST_F(BaseMutexTest, IsRecursiveForItsOwner)
{
    CBaseMutex mutex;
    EXPECT_EQ(1, mutex.Lock(0xFFFFFFFF));
    EXPECT_EQ(1, mutex.Lock(0xFFFFFFFF));
    EXPECT_EQ(1, mutex.Unlock());
    EXPECT_EQ(1, mutex.Unlock());
    EXPECT_EQ(0, mutex.Unlock());
}

TEST_F(BaseMutexTest, TheTimeoutArgumentDoesNotShortenTheWait)
{
    const std::wstring strName = orvtest::Wide(orvtest::UniqueObjectBase("BaseMutexWait"));
    CBaseMutex holder(strName.c_str());
    ASSERT_EQ(1, holder.Lock(0));
    std::atomic<bool> bReleased(false);
    std::atomic<int> iLockResult(-1);
    std::atomic<bool> bReleasedSeenByWaiter(false);
    std::thread waiter([&]() {
        CBaseMutex other(strName.c_str());
        // A zero timeout would give up at once; this waits for the release.
        iLockResult = other.Lock(0);
        bReleasedSeenByWaiter = bReleased.load();
        other.Unlock();
    });
    // The waiter cannot have it while the holder owns it.
    EXPECT_EQ(OrvUtility::NAMED_MUTEX_OWNED, ProbeFromOtherThread(strName));
    bReleased = true;
    EXPECT_EQ(1, holder.Unlock());
    waiter.join();
    EXPECT_EQ(1, iLockResult.load());
    EXPECT_TRUE(bReleasedSeenByWaiter.load());
}

TEST_F(BaseMutexTest, TwoObjectsOfOneNameAreOneMutex)
{
    const std::wstring strName = orvtest::Wide(orvtest::UniqueObjectBase("BaseMutexShared"));
    CBaseMutex first(strName.c_str());
    CBaseMutex second(strName.c_str());
    ASSERT_EQ(1, first.Lock(0));
    EXPECT_EQ(OrvUtility::NAMED_MUTEX_OWNED, ProbeFromOtherThread(strName));
    std::atomic<uint32_t> uiWait(12345);
    std::thread([&]() { uiWait = OrvUtility::WaitNamedMutex(second.GetHandle(), 0); }).join();
    EXPECT_EQ(OrvUtility::NAMED_WAIT_TIMEOUT, uiWait.load());
    EXPECT_EQ(1, first.Unlock());
    EXPECT_EQ(OrvUtility::NAMED_MUTEX_FREE, ProbeFromOtherThread(strName));
}

TEST_F(BaseMutexTest, DestructorReleasesAnOwnedMutex)
{
    const std::wstring strName = orvtest::Wide(orvtest::UniqueObjectBase("BaseMutexDtor"));
    CBaseMutex keeper(strName.c_str()); // keeps the name alive
    {
        CBaseMutex owner(strName.c_str());
        ASSERT_EQ(1, owner.Lock(0));
        EXPECT_EQ(OrvUtility::NAMED_MUTEX_OWNED, ProbeFromOtherThread(strName));
    }
    EXPECT_EQ(OrvUtility::NAMED_MUTEX_FREE, ProbeFromOtherThread(strName));
    // The destructor of an object that does not own it is harmless.
}

TEST_F(BaseMutexTest, AbandonedMutexLocksWithFalseAndIsOwnedAfterwards)
{
    const std::string strBase = orvtest::UniqueObjectBase("BaseMutexAbandoned");
    const std::wstring strName = orvtest::Wide(strBase);
    // Open before the holder dies (on Windows a mutex that nobody has open
    // any more is gone, not abandoned).
    CBaseMutex mutex(strName.c_str());
    auto child = orvtest::ChildProcess::StartSelf("BaseMutexHolderDies", {strBase});
    ASSERT_TRUE(child);
    ASSERT_EQ(0, child->Wait());

    EXPECT_EQ(0, mutex.Lock(0xFFFFFFFF));
    // Owned all the same, and clean after a release.
    EXPECT_EQ(OrvUtility::NAMED_MUTEX_OWNED, ProbeFromOtherThread(strName));
    EXPECT_EQ(1, mutex.Unlock());
    EXPECT_EQ(1, mutex.Lock(0xFFFFFFFF));
    EXPECT_EQ(1, mutex.Unlock());
}

TEST_F(BaseMutexTest, FailedCreationLogsTheErrorAndLocksFail)
{
    orvtest::LogCapture cap;
    // A name that cannot be a mutex's: a path below a folder that is no
    // folder ("Foo\Bar" is not a namespace; a "/" is not allowed on Linux).
    CBaseMutex mutex(L"NoSuchNamespace\\a/b");
    EXPECT_EQ(nullptr, mutex.GetHandle());
    EXPECT_EQ(0, mutex.Lock(0));
    EXPECT_EQ(0, mutex.Unlock());
    if (cap.Available()) {
        EXPECT_EQ(1, cap.Count("utility/BaseMutex.cpp("));
        EXPECT_TRUE(cap.Contains(") : GetLastError() = "));
    }
}
