// Creating a mutex owned while somebody tests it: a sender looking for the
// receiver, --quit or a script's "flock -n" takes the lock file's lock for an
// instant and gives it back. The create waits such a tester out and owns the
// mutex; it is refused by an owner only.
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/file.h>
#include <unistd.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "tests/utility/NamedObjectTestSupport.h"
#include "utility/NamedMutex.h"
#include "utility/posix/NamedObjectPath.h"

using namespace OrvUtility;

namespace {

const int CREATES = 200;

class NamedMutexTesterTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_strName = orvtest::Wide("Global\\" + orvtest::UniqueObjectBase("MtxTested"));
        CNamedObjectLocation location;
        ASSERT_TRUE(LocateNamedObject(m_strName, location));
        m_strLockFile = location.Path();
        // The lock file is there, as after the first run of a receiver.
        NamedHandle hFirst = CreateNamedMutex(m_strName.c_str(), true, EVERYONE_MUTEX_ALL_ACCESS);
        ASSERT_NE(nullptr, hFirst);
        EXPECT_EQ(1, ReleaseNamedMutex(hFirst));
        EXPECT_EQ(1, CloseNamedObject(hFirst));
    }

    void TearDown() override
    {
        if (m_pTester) m_pTester->Kill();
    }

    // A process that takes the lock and gives it back, again and again,
    // until it is ended. Returns once it has been seen holding the lock.
    void StartTester()
    {
        m_pTester = orvtest::ChildProcess::Start(
            "/bin/sh", {"-c", "while :; do flock -n '" + m_strLockFile + "' true; done"});
        ASSERT_TRUE(m_pTester);
        const int iFd = open(m_strLockFile.c_str(), O_RDONLY | O_CLOEXEC);
        ASSERT_GE(iFd, 0);
        bool bSeen = false;
        for (int i = 0; i < 1000000 && !bSeen; ++i) {
            if (flock(iFd, LOCK_EX | LOCK_NB) == 0) {
                flock(iFd, LOCK_UN);
            } else {
                bSeen = errno == EWOULDBLOCK;
            }
        }
        close(iFd);
        ASSERT_TRUE(bSeen) << "the tester never held the lock";
    }

    // Writes an owner's record naming the process pid, as an owner that
    // was killed leaves it.
    void WriteRecord(long lPid)
    {
        char szRecord[17];
        std::snprintf(szRecord, sizeof(szRecord), "%-15ld\n", lPid);
        const int iFd = open(m_strLockFile.c_str(), O_WRONLY | O_CLOEXEC);
        ASSERT_GE(iFd, 0);
        ASSERT_EQ(16, pwrite(iFd, szRecord, 16, 0));
        close(iFd);
    }

    // Creates the mutex owned CREATES times; how many of them did not own it.
    int CountCreatesNotOwned(long lRecordPid = 0)
    {
        int iNotOwned = 0;
        for (int i = 0; i < CREATES; ++i) {
            if (lRecordPid != 0) WriteRecord(lRecordPid);
            bool bExisted = true;
            NamedHandle hMutex = CreateNamedMutex(m_strName.c_str(), true, EVERYONE_MUTEX_ALL_ACCESS, &bExisted);
            if (!hMutex) return -1;
            if (bExisted || ReleaseNamedMutex(hMutex) != 1) ++iNotOwned;
            CloseNamedObject(hMutex);
        }
        return iNotOwned;
    }

    std::wstring m_strName;
    std::string m_strLockFile;
    std::unique_ptr<orvtest::ChildProcess> m_pTester;
    orvtest::ScopedSharedFolder m_shared;
};

} // namespace

TEST_F(NamedMutexTesterTest, ACreateOwnsTheMutexThatATesterHoldsForAnInstant)
{
    ASSERT_NO_FATAL_FAILURE(StartTester());
    EXPECT_EQ(0, CountCreatesNotOwned());
}

// The owner before was killed: its record names a process that has gone.
// The next receiver's create owns the mutex although it is being tested.
TEST_F(NamedMutexTesterTest, ACreateOwnsTheMutexOfAKilledOwnerThatATesterHoldsForAnInstant)
{
    auto pGone = orvtest::ChildProcess::Start("/bin/true", {});
    ASSERT_TRUE(pGone);
    const long lGonePid = static_cast<long>(pGone->GetPid());
    ASSERT_EQ(0, pGone->Wait());
    ASSERT_NO_FATAL_FAILURE(StartTester());
    EXPECT_EQ(0, CountCreatesNotOwned(lGonePid));
}
