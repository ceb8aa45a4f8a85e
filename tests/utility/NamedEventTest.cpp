#include <atomic>
#include <thread>
#include <gtest/gtest.h>
#include "support/ChildMain.h"
#include "support/ChildProcess.h"
#include "tests/utility/NamedObjectTestSupport.h"
#include "utility/NamedEvent.h"

using namespace OrvUtility;

namespace {

// A safety net for waits that a working implementation ends at once.
const uint32_t GENEROUS_MS = 30000;

class NamedEventTest : public ::testing::Test {
protected:
    std::wstring GlobalName(const char* szPrefix)
    {
        return L"Global\\" + orvtest::Wide(orvtest::UniqueObjectBase(szPrefix));
    }
    orvtest::ScopedSharedFolder m_shared;
};

struct ScopedHandle {
    NamedHandle h;
    ~ScopedHandle()
    {
        if (h) {
            CloseNamedObject(h);
        }
    }
};

} // namespace

// Opens the event named in args[0] and sets it args[1] times.
ORV_CHILD_MAIN(NamedEventSetter)
{
    NamedHandle hEvent = OpenNamedEvent(orvtest::Wide(args.at(0)));
    if (!hEvent) {
        return 10;
    }
    const int iTimes = std::stoi(args.at(1));
    for (int i = 0; i < iTimes; ++i) {
        if (!SetNamedEvent(hEvent)) {
            return 11;
        }
    }
    CloseNamedObject(hEvent);
    return 0;
}

// Waits for the event named in args[0]; 0 when it was set.
ORV_CHILD_MAIN(NamedEventWaiter)
{
    NamedHandle hEvent = CreateNamedEvent(orvtest::Wide(args.at(0)).c_str(), EVERYONE_EVENT_ALL_ACCESS);
    NamedHandle hReady = OpenNamedEvent(orvtest::Wide(args.at(1)));
    if (!hEvent || !hReady) {
        return 10;
    }
    SetNamedEvent(hReady);
    return WaitForNamedEvent(hEvent, GENEROUS_MS) == NAMED_WAIT_OBJECT_0 ? 0 : 12;
}

TEST_F(NamedEventTest, OpenFailsForAMissingEvent)
{
    EXPECT_EQ(nullptr, OpenNamedEvent(GlobalName("EvtMissing")));
}

TEST_F(NamedEventTest, CreatedNotSignalledAndAutoReset)
{
    ScopedHandle evt{CreateNamedEvent(GlobalName("EvtAuto").c_str(), EVERYONE_EVENT_ALL_ACCESS)};
    ASSERT_NE(nullptr, evt.h);
    EXPECT_EQ(NAMED_WAIT_TIMEOUT, WaitForNamedEvent(evt.h, 0));
    EXPECT_EQ(1, SetNamedEvent(evt.h));
    EXPECT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(evt.h, 0));
    EXPECT_EQ(NAMED_WAIT_TIMEOUT, WaitForNamedEvent(evt.h, 0));
}

TEST_F(NamedEventTest, TwoSetsBeforeAWaitWakeItOnce)
{
    ScopedHandle evt{CreateNamedEvent(GlobalName("EvtTwice").c_str(), EVERYONE_EVENT_ALL_ACCESS)};
    ASSERT_NE(nullptr, evt.h);
    EXPECT_EQ(1, SetNamedEvent(evt.h));
    EXPECT_EQ(1, SetNamedEvent(evt.h));
    EXPECT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(evt.h, 0));
    EXPECT_EQ(NAMED_WAIT_TIMEOUT, WaitForNamedEvent(evt.h, 0));
}

TEST_F(NamedEventTest, CreateOfAnExistingEventOpensItWithAlreadyExists)
{
    const std::wstring strName = GlobalName("EvtExists");
    ScopedHandle first{CreateNamedEvent(strName.c_str(), EVERYONE_EVENT_ALL_ACCESS)};
    ASSERT_NE(nullptr, first.h);
    ScopedHandle second{CreateNamedEvent(strName.c_str(), EVERYONE_EVENT_ALL_ACCESS)};
    ASSERT_NE(nullptr, second.h);
    EXPECT_EQ(NAMED_ERROR_ALREADY_EXISTS, Language::GetLastPlatformError());
    EXPECT_EQ(1, SetNamedEvent(second.h));
    EXPECT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(first.h, 0));
}

TEST_F(NamedEventTest, OpenedHandleSeesTheSameEvent)
{
    const std::wstring strName = GlobalName("EvtOpen");
    ScopedHandle created{CreateNamedEvent(strName.c_str(), EVERYONE_EVENT_ALL_ACCESS)};
    ScopedHandle opened{OpenNamedEvent(strName)};
    ASSERT_NE(nullptr, created.h);
    ASSERT_NE(nullptr, opened.h);
    EXPECT_EQ(1, SetNamedEvent(opened.h));
    EXPECT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(created.h, 0));
    EXPECT_EQ(NAMED_WAIT_TIMEOUT, WaitForNamedEvent(opened.h, 0));
}

TEST_F(NamedEventTest, WaitForAnyPrefersTheFirstAndResetsOnlyIt)
{
    ScopedHandle first{CreateNamedEvent(GlobalName("EvtFirst").c_str(), EVERYONE_EVENT_ALL_ACCESS)};
    ScopedHandle second{CreateNamedEvent(nullptr, EVERYONE_EVENT_ALL_ACCESS)};
    ASSERT_NE(nullptr, first.h);
    ASSERT_NE(nullptr, second.h);
    NamedHandle ah[2] = {first.h, second.h};
    EXPECT_EQ(1, SetNamedEvent(second.h));
    EXPECT_EQ(1, SetNamedEvent(first.h));
    EXPECT_EQ(NAMED_WAIT_OBJECT_0, WaitForAnyNamedEvent(2, ah, 0));
    EXPECT_EQ(NAMED_WAIT_OBJECT_0 + 1, WaitForAnyNamedEvent(2, ah, 0));
    EXPECT_EQ(NAMED_WAIT_TIMEOUT, WaitForAnyNamedEvent(2, ah, 0));
}

TEST_F(NamedEventTest, UnnamedEventIsAutoReset)
{
    ScopedHandle evt{CreateNamedEvent(nullptr, NAMED_DEFAULT_SECURITY)};
    ASSERT_NE(nullptr, evt.h);
    EXPECT_EQ(1, SetNamedEvent(evt.h));
    EXPECT_EQ(1, SetNamedEvent(evt.h));
    EXPECT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(evt.h, 0));
    EXPECT_EQ(NAMED_WAIT_TIMEOUT, WaitForNamedEvent(evt.h, 0));
}

TEST_F(NamedEventTest, WaitWithANullHandleFails)
{
    ScopedHandle evt{CreateNamedEvent(nullptr, NAMED_DEFAULT_SECURITY)};
    NamedHandle ah[2] = {nullptr, evt.h};
    EXPECT_EQ(NAMED_WAIT_FAILED, WaitForAnyNamedEvent(2, ah, 0));
    EXPECT_EQ(0, SetNamedEvent(nullptr));
}

TEST_F(NamedEventTest, ASetWakesAWaitingThread)
{
    ScopedHandle evt{CreateNamedEvent(GlobalName("EvtThread").c_str(), EVERYONE_EVENT_ALL_ACCESS)};
    ScopedHandle ready{CreateNamedEvent(nullptr, NAMED_DEFAULT_SECURITY)};
    std::atomic<uint32_t> uiResult(12345);
    std::thread waiter([&]() {
        SetNamedEvent(ready.h);
        uiResult = WaitForNamedEvent(evt.h, NAMED_INFINITE);
    });
    ASSERT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(ready.h, GENEROUS_MS));
    EXPECT_EQ(1, SetNamedEvent(evt.h));
    waiter.join();
    EXPECT_EQ(NAMED_WAIT_OBJECT_0, uiResult.load());
}

TEST_F(NamedEventTest, AnotherProcessSetsTwiceAndTheWaitWakesOnce)
{
    const std::wstring strName = GlobalName("EvtProcess");
    ScopedHandle evt{CreateNamedEvent(strName.c_str(), EVERYONE_EVENT_ALL_ACCESS)};
    ASSERT_NE(nullptr, evt.h);
    auto child = orvtest::ChildProcess::StartSelf("NamedEventSetter", {Language::Utf8FromWide(strName), "2"});
    ASSERT_TRUE(child);
    ASSERT_EQ(0, child->Wait());
    EXPECT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(evt.h, 0));
    EXPECT_EQ(NAMED_WAIT_TIMEOUT, WaitForNamedEvent(evt.h, 0));
}

TEST_F(NamedEventTest, AnotherProcessIsWokenBySet)
{
    const std::wstring strName = GlobalName("EvtWake");
    const std::wstring strReady = GlobalName("EvtWakeReady");
    ScopedHandle ready{CreateNamedEvent(strReady.c_str(), EVERYONE_EVENT_ALL_ACCESS)};
    auto child = orvtest::ChildProcess::StartSelf(
        "NamedEventWaiter", {Language::Utf8FromWide(strName), Language::Utf8FromWide(strReady)});
    ASSERT_TRUE(child);
    ASSERT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(ready.h, GENEROUS_MS));
    ScopedHandle evt{OpenNamedEvent(strName)};
    ASSERT_NE(nullptr, evt.h);
    EXPECT_EQ(1, SetNamedEvent(evt.h));
    EXPECT_EQ(0, child->Wait());
}
