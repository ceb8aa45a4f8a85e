#include <atomic>
#include <thread>
#include <gtest/gtest.h>
#include "support/ChildMain.h"
#include "support/ChildProcess.h"
#include "tests/utility/NamedObjectTestSupport.h"
#include "utility/NamedEvent.h"
#include "utility/NamedMutex.h"

using namespace OrvUtility;

namespace {

const uint32_t GENEROUS_MS = 30000;

class NamedMutexTest : public ::testing::Test {
protected:
    std::string UniqueGlobal(const char* szPrefix) { return "Global\\" + orvtest::UniqueObjectBase(szPrefix); }
    orvtest::ScopedSharedFolder m_shared;
};

NamedMutexState ProbeFromOtherThread(const std::wstring& strName)
{
    NamedMutexState eState = NAMED_MUTEX_PROBE_FAILED;
    std::thread([&]() { eState = ProbeNamedMutex(strName); }).join();
    return eState;
}

} // namespace

// The single-instance pattern: creates args[0] owned, reports through its
// exit code whether it existed (183) after setting the event args[1], and
// holds it until the event args[2] is set or it is killed.
ORV_CHILD_MAIN(OwnedMutexHolder)
{
    bool bExists = false;
    NamedHandle hMutex = CreateNamedMutex(orvtest::Wide(args.at(0)).c_str(), true, EVERYONE_MUTEX_ALL_ACCESS, &bExists);
    NamedHandle hReady = OpenNamedEvent(orvtest::Wide(args.at(1)));
    NamedHandle hQuit = OpenNamedEvent(orvtest::Wide(args.at(2)));
    if (!hMutex || !hReady || !hQuit) {
        return 10;
    }
    SetNamedEvent(hReady);
    if (bExists) {
        return 183;
    }
    WaitForNamedEvent(hQuit, GENEROUS_MS);
    ReleaseNamedMutex(hMutex);
    return 0;
}

TEST_F(NamedMutexTest, ProbeTellsAbsentFreeAndOwned)
{
    const std::wstring strName = orvtest::Wide(UniqueGlobal("MtxProbe"));
    EXPECT_EQ(NAMED_MUTEX_ABSENT, ProbeFromOtherThread(strName));
    NamedHandle hMutex = CreateNamedMutex(strName.c_str(), false, EVERYONE_MUTEX_ALL_ACCESS);
    ASSERT_NE(nullptr, hMutex);
    EXPECT_EQ(NAMED_MUTEX_FREE, ProbeFromOtherThread(strName));
    EXPECT_EQ(NAMED_WAIT_OBJECT_0, WaitNamedMutex(hMutex, 0));
    EXPECT_EQ(NAMED_MUTEX_OWNED, ProbeFromOtherThread(strName));
    EXPECT_EQ(1, ReleaseNamedMutex(hMutex));
    EXPECT_EQ(NAMED_MUTEX_FREE, ProbeFromOtherThread(strName));
    EXPECT_EQ(1, CloseNamedObject(hMutex));
}

TEST_F(NamedMutexTest, CreatedOwnedThenAlreadyExistsAndNotOwned)
{
    const std::wstring strName = orvtest::Wide(UniqueGlobal("MtxOwned"));
    bool bExists = true;
    NamedHandle hFirst = CreateNamedMutex(strName.c_str(), true, EVERYONE_MUTEX_ALL_ACCESS, &bExists);
    ASSERT_NE(nullptr, hFirst);
    EXPECT_FALSE(bExists);
    EXPECT_EQ(NAMED_MUTEX_OWNED, ProbeFromOtherThread(strName));

    std::atomic<bool> bSecondExists(false);
    std::atomic<uint32_t> uiError(0);
    std::atomic<int> iRelease(-1);
    std::thread([&]() {
        bool b = false;
        NamedHandle hSecond = CreateNamedMutex(strName.c_str(), true, EVERYONE_MUTEX_ALL_ACCESS, &b);
        uiError = Language::GetLastPlatformError();
        bSecondExists = b;
        // Not owned by this thread: the release fails.
        iRelease = ReleaseNamedMutex(hSecond);
        CloseNamedObject(hSecond);
    }).join();
    EXPECT_TRUE(bSecondExists.load());
    EXPECT_EQ(NAMED_ERROR_ALREADY_EXISTS, uiError.load());
    EXPECT_EQ(0, iRelease.load());

    EXPECT_EQ(1, ReleaseNamedMutex(hFirst));
    EXPECT_EQ(0, ReleaseNamedMutex(hFirst));
    EXPECT_EQ(1, CloseNamedObject(hFirst));
}

TEST_F(NamedMutexTest, TimedWaitTimesOutWhileAnotherThreadOwnsIt)
{
    const std::wstring strName = orvtest::Wide(UniqueGlobal("MtxTimed"));
    NamedHandle hMutex = CreateNamedMutex(strName.c_str(), true, EVERYONE_MUTEX_ALL_ACCESS);
    ASSERT_NE(nullptr, hMutex);
    std::atomic<uint32_t> uiWait(12345);
    std::thread([&]() {
        NamedHandle hOther = CreateNamedMutex(strName.c_str(), false, EVERYONE_MUTEX_ALL_ACCESS);
        uiWait = WaitNamedMutex(hOther, 20);
        CloseNamedObject(hOther);
    }).join();
    EXPECT_EQ(NAMED_WAIT_TIMEOUT, uiWait.load());
    ReleaseNamedMutex(hMutex);
    CloseNamedObject(hMutex);
}

TEST_F(NamedMutexTest, SingleInstanceInAnotherProcessGivesAlreadyExists)
{
    const std::string strName = UniqueGlobal("MtxSingle");
    const std::string strReady = UniqueGlobal("MtxSingleReady");
    const std::string strQuit = UniqueGlobal("MtxSingleQuit");
    NamedHandle hReady = CreateNamedEvent(orvtest::Wide(strReady).c_str(), EVERYONE_EVENT_ALL_ACCESS);
    NamedHandle hQuit = CreateNamedEvent(orvtest::Wide(strQuit).c_str(), EVERYONE_EVENT_ALL_ACCESS);
    ASSERT_NE(nullptr, hReady);
    ASSERT_NE(nullptr, hQuit);

    // The first instance holds it.
    auto first = orvtest::ChildProcess::StartSelf("OwnedMutexHolder", {strName, strReady, strQuit});
    ASSERT_TRUE(first);
    ASSERT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(hReady, GENEROUS_MS));

    // A second instance finds it.
    auto second = orvtest::ChildProcess::StartSelf("OwnedMutexHolder", {strName, strReady, strQuit});
    ASSERT_TRUE(second);
    EXPECT_EQ(183, second->Wait());
    EXPECT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(hReady, GENEROUS_MS));

    // So does this process.
    bool bExists = false;
    NamedHandle hMine = CreateNamedMutex(orvtest::Wide(strName).c_str(), true, EVERYONE_MUTEX_ALL_ACCESS, &bExists);
    ASSERT_NE(nullptr, hMine);
    EXPECT_TRUE(bExists);
    EXPECT_EQ(NAMED_ERROR_ALREADY_EXISTS, Language::GetLastPlatformError());
    CloseNamedObject(hMine);

    // Once the first instance is gone, a new start is the only one.
    first->Kill();
    hMine = CreateNamedMutex(orvtest::Wide(strName).c_str(), true, EVERYONE_MUTEX_ALL_ACCESS, &bExists);
    ASSERT_NE(nullptr, hMine);
    EXPECT_FALSE(bExists);
    EXPECT_EQ(NAMED_MUTEX_OWNED, ProbeFromOtherThread(orvtest::Wide(strName)));
    ReleaseNamedMutex(hMine);
    CloseNamedObject(hMine);
    CloseNamedObject(hReady);
    CloseNamedObject(hQuit);
}

TEST_F(NamedMutexTest, OwnerThatEndsNormallyReleasesForTheNextProcess)
{
    const std::string strName = UniqueGlobal("MtxNormal");
    const std::string strReady = UniqueGlobal("MtxNormalReady");
    const std::string strQuit = UniqueGlobal("MtxNormalQuit");
    NamedHandle hReady = CreateNamedEvent(orvtest::Wide(strReady).c_str(), EVERYONE_EVENT_ALL_ACCESS);
    NamedHandle hQuit = CreateNamedEvent(orvtest::Wide(strQuit).c_str(), EVERYONE_EVENT_ALL_ACCESS);
    auto holder = orvtest::ChildProcess::StartSelf("OwnedMutexHolder", {strName, strReady, strQuit});
    ASSERT_TRUE(holder);
    ASSERT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(hReady, GENEROUS_MS));
    EXPECT_EQ(NAMED_MUTEX_OWNED, ProbeNamedMutex(orvtest::Wide(strName)));
    SetNamedEvent(hQuit);
    EXPECT_EQ(0, holder->Wait());

    NamedHandle hMutex = CreateNamedMutex(orvtest::Wide(strName).c_str(), false, EVERYONE_MUTEX_ALL_ACCESS);
    ASSERT_NE(nullptr, hMutex);
    EXPECT_EQ(NAMED_WAIT_OBJECT_0, WaitNamedMutex(hMutex, 0));
    ReleaseNamedMutex(hMutex);
    CloseNamedObject(hMutex);
    CloseNamedObject(hReady);
    CloseNamedObject(hQuit);
}

TEST_F(NamedMutexTest, KilledOwnerLeavesItAbandoned)
{
    const std::string strName = UniqueGlobal("MtxKilled");
    const std::string strReady = UniqueGlobal("MtxKilledReady");
    const std::string strQuit = UniqueGlobal("MtxKilledQuit");
    NamedHandle hReady = CreateNamedEvent(orvtest::Wide(strReady).c_str(), EVERYONE_EVENT_ALL_ACCESS);
    NamedHandle hQuit = CreateNamedEvent(orvtest::Wide(strQuit).c_str(), EVERYONE_EVENT_ALL_ACCESS);
    auto holder = orvtest::ChildProcess::StartSelf("OwnedMutexHolder", {strName, strReady, strQuit});
    ASSERT_TRUE(holder);
    ASSERT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(hReady, GENEROUS_MS));
    NamedHandle hMutex = CreateNamedMutex(orvtest::Wide(strName).c_str(), false, EVERYONE_MUTEX_ALL_ACCESS);
    ASSERT_NE(nullptr, hMutex);
    holder->Kill();
    EXPECT_EQ(NAMED_WAIT_ABANDONED_0, WaitNamedMutex(hMutex, GENEROUS_MS));
    EXPECT_EQ(1, ReleaseNamedMutex(hMutex));
    EXPECT_EQ(NAMED_WAIT_OBJECT_0, WaitNamedMutex(hMutex, 0));
    EXPECT_EQ(1, ReleaseNamedMutex(hMutex));
    CloseNamedObject(hMutex);
    CloseNamedObject(hReady);
    CloseNamedObject(hQuit);
}
