#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>
#include <boost/function.hpp>
#include <gtest/gtest.h>
#include "Src/PrintingService/Common/Include/MsgQueueEx.h"
#include "logging/LogMacros.h"
#include "support/LogCapture.h"
#include "tests/Src/PrintingService/Common/Include/QueueTestSupport.h"
#include "utility/NamedEvent.h"
#include "utility/NamedMutex.h"
#include "utility/SharedBlock.h"

namespace OrvUtility {

// Reaches the queue's quit event, to put a handle in its place with which
// the wait fails.
class CMsgQueueExTestPeer {
public:
    static NamedHandle& QuitEvent(CMsgQueueEx& queue) { return queue.m_hEventQuit; }
};

} // namespace OrvUtility

using namespace OrvUtility;
using orvtest::BLOCK_SIZE;
using orvtest::R;
using orvtest::S;

namespace {

class MsgQueueExTest : public ::testing::Test {
protected:
    MsgQueueExTest() : m_strBase(orvtest::Wide(orvtest::UniqueObjectBase("Queue"))) {}

    // The sender's side of the objects, opened after the queue made them.
    void OpenSenderSide()
    {
        m_hSend.h = OpenNamedEvent(CMsgQueueLayout::SendEventName(m_strBase));
        m_hResponse.h = OpenNamedEvent(CMsgQueueLayout::ResponseEventName(m_strBase));
        m_hBlock.h = OpenSharedBlock(CMsgQueueLayout::BlockName(m_strBase), BLOCK_SIZE);
        ASSERT_NE(nullptr, m_hSend.h);
        ASSERT_NE(nullptr, m_hResponse.h);
        ASSERT_NE(nullptr, m_hBlock.h);
        m_pbyView = MapSharedBlock(m_hBlock.h, BLOCK_SIZE);
        ASSERT_NE(nullptr, m_pbyView);
    }

    void PostRequest(const std::string& strRequest)
    {
        std::memcpy(m_pbyView + 8, strRequest.data(), strRequest.size());
        orvtest::WriteU64(m_pbyView, strRequest.size());
        ASSERT_EQ(1, SetNamedEvent(m_hSend.h));
    }

    // Runs the receive loop for one request, quitting from its handler;
    // the existence mutex's state as another thread saw it in the handler.
    // The loop must end with the quit's code.
    NamedMutexState ExistenceWhileServingOneRequest(CMsgQueueEx& queue)
    {
        PostRequest(orvtest::MakeJobRequest(0, 0));
        NamedMutexState eInside = NAMED_MUTEX_PROBE_FAILED;
        const uint32_t uiCode = queue.RecvMsgLoop([&](uint8_t*, uint64_t&, uint8_t*, uint64_t&) {
            eInside = orvtest::ProbeExistence(m_strBase);
            queue.SignalQuit();
            return 0;
        });
        EXPECT_EQ(6u, uiCode);
        return eInside;
    }

    ~MsgQueueExTest() override
    {
        if (m_pbyView) {
            UnmapSharedBlock(m_pbyView);
        }
    }

    orvtest::ScopedSharedFolder m_shared;
    std::wstring m_strBase;
    orvtest::Handle m_hSend;
    orvtest::Handle m_hResponse;
    orvtest::Handle m_hBlock;
    uint8_t* m_pbyView = nullptr;
};

struct HandlerCall {
    uint8_t* pbyRequest = nullptr;
    uint64_t uiRequestLength = 0;
    uint8_t* pbyResponse = nullptr;
    uint64_t uiResponseCapacity = 0;
};

} // namespace

TEST_F(MsgQueueExTest, ConstructionCreatesTheObjects)
{
    CMsgQueueEx queue(m_strBase, R, S);
    EXPECT_FALSE(queue.IsConstructionFailed());
    EXPECT_NE(nullptr, queue.GetBuffer());
    EXPECT_NE(nullptr, queue.GetQuitEvent());
    EXPECT_EQ(L"Global\\" + m_strBase + L"_MUTEX_EXISTANCE", queue.GetMutexName());
    OpenSenderSide();
    // The block is the one the queue maps.
    queue.GetBuffer()[BLOCK_SIZE - 1] = 0x77;
    EXPECT_EQ(0x77, m_pbyView[BLOCK_SIZE - 1]);
}

TEST_F(MsgQueueExTest, ObjectNames)
{
    EXPECT_EQ(L"Global\\Orvprint_Popup_Dialog_SHM", CMsgQueueLayout::BlockName(ORVPRINT_QUEUE_NAME));
    EXPECT_EQ(L"Global\\Orvprint_Popup_Dialog_EVT_SEND", CMsgQueueLayout::SendEventName(ORVPRINT_QUEUE_NAME));
    EXPECT_EQ(L"Global\\Orvprint_Popup_Dialog_EVT_RESPONSE", CMsgQueueLayout::ResponseEventName(ORVPRINT_QUEUE_NAME));
    EXPECT_EQ(L"Global\\Orvprint_Popup_Dialog_MUTEX_EXISTANCE",
              CMsgQueueLayout::ExistenceMutexName(ORVPRINT_QUEUE_NAME));
    const CMsgQueueLayout layout(R, S);
    EXPECT_EQ(2688472u, layout.BlockSize());
    EXPECT_EQ(8u, layout.RequestOffset());
    EXPECT_EQ(2688416u, layout.ResponseLengthOffset());
    EXPECT_EQ(2688424u, layout.ResponseOffset());
    EXPECT_EQ(2688468u, layout.ResultCodeOffset());
}

TEST_F(MsgQueueExTest, RequestIsHandedToTheCallbackAndAnswered)
{
    CMsgQueueEx queue(m_strBase, R, S);
    OpenSenderSide();
    PostRequest(orvtest::MakeJobRequest(1, 1));

    HandlerCall call;
    const uint32_t uiCode = queue.RecvMsg([&](uint8_t* pReq, uint64_t& uiReqLen, uint8_t* pResp, uint64_t& uiRespLen) {
        call.pbyRequest = pReq;
        call.uiRequestLength = uiReqLen;
        call.pbyResponse = pResp;
        call.uiResponseCapacity = uiRespLen;
        return orvtest::AnswerFirstIds(pReq, uiReqLen, pResp, uiRespLen);
    });
    EXPECT_EQ(0u, uiCode);
    EXPECT_EQ(queue.GetBuffer() + 8, call.pbyRequest);
    EXPECT_EQ(10348u, call.uiRequestLength);
    EXPECT_EQ(queue.GetBuffer() + 16 + R, call.pbyResponse);
    EXPECT_EQ(44u, call.uiResponseCapacity);

    EXPECT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(m_hResponse.h, 0));
    EXPECT_EQ(0u, orvtest::ReadU32(m_pbyView + 16 + R + S));
    EXPECT_EQ(44u, orvtest::ReadU64(m_pbyView + 8 + R));
    EXPECT_EQ(0, orvtest::ReadU32(m_pbyView + 16 + R));
    EXPECT_EQ(u'P', m_pbyView[16 + R + 4]);
    EXPECT_EQ(u'1', m_pbyView[16 + R + 6]);
    EXPECT_EQ(u'J', m_pbyView[16 + R + 24]);
}

TEST_F(MsgQueueExTest, TheRequestLengthIsPassedUnchecked)
{
    CMsgQueueEx queue(m_strBase, R, S);
    OpenSenderSide();
    orvtest::WriteU64(m_pbyView, 0xFFFFFFFFFFFFull);
    ASSERT_EQ(1, SetNamedEvent(m_hSend.h));
    uint64_t uiSeen = 0;
    EXPECT_EQ(0u, queue.RecvMsg([&](uint8_t*, uint64_t& uiReqLen, uint8_t*, uint64_t&) {
        uiSeen = uiReqLen;
        return 1;
    }));
    EXPECT_EQ(0xFFFFFFFFFFFFull, uiSeen);
}

TEST_F(MsgQueueExTest, CallbackThatLeavesTheLengthAloneStores44)
{
    CMsgQueueEx queue(m_strBase, R, S);
    OpenSenderSide();
    orvtest::WriteU64(m_pbyView + 8 + R, 999);
    PostRequest(orvtest::MakeJobRequest(0, 0));
    EXPECT_EQ(0u, queue.RecvMsg([](uint8_t*, uint64_t&, uint8_t*, uint64_t&) { return -7; }));
    EXPECT_EQ(44u, orvtest::ReadU64(m_pbyView + 8 + R));
    EXPECT_EQ(0u, orvtest::ReadU32(m_pbyView + 16 + R + S));
}

TEST_F(MsgQueueExTest, CallbackLengthIsStoredAsLeft)
{
    CMsgQueueEx queue(m_strBase, R, S);
    OpenSenderSide();
    PostRequest(orvtest::MakeJobRequest(0, 0));
    EXPECT_EQ(0u, queue.RecvMsg([](uint8_t*, uint64_t&, uint8_t*, uint64_t& uiRespLen) {
        uiRespLen = 4;
        return 0;
    }));
    EXPECT_EQ(4u, orvtest::ReadU64(m_pbyView + 8 + R));
}

TEST_F(MsgQueueExTest, QuitWithNoRequestPending)
{
    orvtest::LogCapture cap;
    CMsgQueueEx queue(m_strBase, R, S);
    OpenSenderSide();
    orvtest::WriteU64(m_pbyView + 8 + R, 44);
    EXPECT_NE(NAMED_MUTEX_OWNED, orvtest::ProbeExistence(m_strBase));

    std::atomic<int> iCalls(0);
    ASSERT_EQ(1, queue.SignalQuit());
    const uint32_t uiCode = queue.RecvMsgLoop([&](uint8_t*, uint64_t&, uint8_t*, uint64_t&) {
        ++iCalls;
        return 0;
    });
    EXPECT_EQ(6u, uiCode);
    EXPECT_EQ(0, iCalls.load());
    EXPECT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(m_hResponse.h, 0));
    EXPECT_EQ(6u, orvtest::ReadU32(m_pbyView + 16 + R + S));
    EXPECT_EQ(0u, orvtest::ReadU64(m_pbyView + 8 + R));
    // Released and closed.
    EXPECT_NE(NAMED_MUTEX_OWNED, orvtest::ProbeExistence(m_strBase));
    if (cap.Available()) {
        EXPECT_EQ(1, cap.Count("WaitForMultipleObjects"));
        EXPECT_TRUE(cap.Contains("dwIndex = 1"));
    }
}

TEST_F(MsgQueueExTest, RequestAndQuitBothSetServeTheRequestFirst)
{
    CMsgQueueEx queue(m_strBase, R, S);
    OpenSenderSide();
    PostRequest(orvtest::MakeJobRequest(1, 0));
    ASSERT_EQ(1, queue.SignalQuit());
    std::vector<uint32_t> vecCodes;
    int iCalls = 0;
    const uint32_t uiCode = queue.RecvMsgLoop([&](uint8_t*, uint64_t&, uint8_t*, uint64_t&) {
        ++iCalls;
        return 0;
    });
    EXPECT_EQ(6u, uiCode);
    EXPECT_EQ(1, iCalls);
}

// A sender that sets the request event again while each request is served
// (as a flood does) does not hold the loop once the quit is set: the
// request in hand is answered, the quit comes next.
TEST_F(MsgQueueExTest, AQuitSetWhileARequestIsServedComesBeforeTheNextRequest)
{
    orvtest::LogCapture cap;
    CMsgQueueEx queue(m_strBase, R, S);
    OpenSenderSide();
    PostRequest(orvtest::MakeJobRequest(1, 0));
    const int MAX_CALLS = 50; // where a loop that served on would stop
    int iCalls = 0;
    const uint32_t uiCode = queue.RecvMsgLoop([&](uint8_t*, uint64_t&, uint8_t*, uint64_t&) {
        ++iCalls;
        if (iCalls < MAX_CALLS) {
            SetNamedEvent(m_hSend.h); // the next request is there already
        }
        if (iCalls == 1) {
            queue.SignalQuit();
        }
        return 0;
    });
    EXPECT_EQ(6u, uiCode);
    EXPECT_EQ(1, iCalls);
    // The request that came during the first one is released as quitting.
    EXPECT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(m_hResponse.h, 0));
    EXPECT_EQ(6u, orvtest::ReadU32(m_pbyView + 16 + R + S));
    EXPECT_EQ(0u, orvtest::ReadU64(m_pbyView + 8 + R));
    // ... and is still pending for the next receiver.
    EXPECT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(m_hSend.h, 0));
    if (cap.Available()) {
        EXPECT_EQ(2, cap.Count("WaitForMultipleObjects"));
        EXPECT_EQ(1, cap.Count("dwIndex = 0"));
        EXPECT_EQ(1, cap.Count("dwIndex = 1"));
    }
}

// Only the wait right after a served request looks at the quit first; the
// one after that keeps the request first again.
TEST_F(MsgQueueExTest, TheQuitComesFirstOnlyRightAfterAServedRequest)
{
    CMsgQueueEx queue(m_strBase, R, S);
    OpenSenderSide();
    int iCalls = 0;
    auto handler = [&](uint8_t*, uint64_t&, uint8_t*, uint64_t&) {
        ++iCalls;
        return 0;
    };
    PostRequest(orvtest::MakeJobRequest(0, 0));
    // Each step asserts: a wait that took the wrong event would leave the
    // next one with nothing to wait for.
    ASSERT_EQ(0u, queue.RecvMsg(handler));
    ASSERT_EQ(1, queue.SignalQuit());
    ASSERT_EQ(1, SetNamedEvent(m_hSend.h));
    ASSERT_EQ(6u, queue.RecvMsg(handler)); // right after a request: the quit
    ASSERT_EQ(1, queue.SignalQuit());
    ASSERT_EQ(0u, queue.RecvMsg(handler)); // the pending request first again
    ASSERT_EQ(6u, queue.RecvMsg(handler));
    EXPECT_EQ(2, iCalls);
}

TEST_F(MsgQueueExTest, TwoRequestSignalsBeforeTheWaitServeOnce)
{
    CMsgQueueEx queue(m_strBase, R, S);
    OpenSenderSide();
    PostRequest(orvtest::MakeJobRequest(0, 0));
    ASSERT_EQ(1, SetNamedEvent(m_hSend.h));
    int iCalls = 0;
    auto handler = [&](uint8_t*, uint64_t&, uint8_t*, uint64_t&) {
        ++iCalls;
        return 0;
    };
    EXPECT_EQ(0u, queue.RecvMsg(handler));
    ASSERT_EQ(1, queue.SignalQuit());
    EXPECT_EQ(6u, queue.RecvMsg(handler));
    EXPECT_EQ(1, iCalls);
}

TEST_F(MsgQueueExTest, ExistenceMutexIsOwnedExactlyWhileTheLoopRuns)
{
    CMsgQueueEx queue(m_strBase, R, S);
    OpenSenderSide();
    EXPECT_NE(NAMED_MUTEX_OWNED, orvtest::ProbeExistence(m_strBase));
    EXPECT_EQ(NAMED_MUTEX_OWNED, ExistenceWhileServingOneRequest(queue));
    EXPECT_NE(NAMED_MUTEX_OWNED, orvtest::ProbeExistence(m_strBase));
}

// Somebody has the existence mutex open, without owning it, when the loop
// starts (a sender testing for a receiver at that moment): the loop owns it
// all the same, and senders find the receiver.
TEST_F(MsgQueueExTest, ExistenceMutexOpenElsewhereIsOwnedWhileTheLoopRuns)
{
    CMsgQueueEx queue(m_strBase, R, S);
    OpenSenderSide();
    bool bExisted = true;
    orvtest::Handle hTester(CreateNamedMutex(queue.GetMutexName().c_str(), false, EVERYONE_MUTEX_ALL_ACCESS, &bExisted));
    ASSERT_NE(nullptr, hTester.h);
    EXPECT_FALSE(bExisted);
    EXPECT_EQ(NAMED_MUTEX_OWNED, ExistenceWhileServingOneRequest(queue));
    EXPECT_EQ(NAMED_MUTEX_FREE, orvtest::ProbeExistence(m_strBase));
}

TEST_F(MsgQueueExTest, ExistenceMutexThatCannotBeCreatedEndsTheLoopAtOnce)
{
    orvtest::LogCapture cap;
    CMsgQueueEx queue(m_strBase, R, S);
    OpenSenderSide();
    // An object of another kind holds the mutex's name.
    orvtest::Handle hSquatter(CreateNamedEvent(queue.GetMutexName().c_str(), EVERYONE_EVENT_ALL_ACCESS));
    ASSERT_NE(nullptr, hSquatter.h);
    PostRequest(orvtest::MakeJobRequest(0, 0));
    int iCalls = 0;
    const uint32_t uiCode = queue.RecvMsgLoop([&](uint8_t*, uint64_t&, uint8_t*, uint64_t&) {
        ++iCalls;
        return 0;
    });
    EXPECT_EQ(4u, uiCode);
    EXPECT_EQ(0, iCalls);
    // The request is still pending, the response untouched.
    EXPECT_EQ(NAMED_WAIT_TIMEOUT, WaitForNamedEvent(m_hResponse.h, 0));
    if (cap.Available()) {
        EXPECT_TRUE(cap.Contains("Src/PrintingService/Common/Include/MsgQueueEx.cpp("));
        EXPECT_TRUE(cap.Contains(") : GetLastError() = "));
    }
}

TEST_F(MsgQueueExTest, EmptyCallbackThrowsBadFunctionCall)
{
    CMsgQueueEx queue(m_strBase, R, S);
    OpenSenderSide();
    PostRequest(orvtest::MakeJobRequest(0, 0));
    EXPECT_THROW(queue.RecvMsgLoop(CMsgQueueEx::MsgHandler()), boost::bad_function_call);
    EXPECT_NE(NAMED_MUTEX_OWNED, orvtest::ProbeExistence(m_strBase));
}

TEST_F(MsgQueueExTest, CallbackExceptionPassesOutAndTheMutexIsReleased)
{
    CMsgQueueEx queue(m_strBase, R, S);
    OpenSenderSide();
    PostRequest(orvtest::MakeJobRequest(0, 0));
    EXPECT_THROW(queue.RecvMsgLoop([](uint8_t*, uint64_t&, uint8_t*, uint64_t&) -> int {
        throw std::runtime_error("handler");
    }),
                 std::runtime_error);
    EXPECT_NE(NAMED_MUTEX_OWNED, orvtest::ProbeExistence(m_strBase));
    // No answer was signalled.
    EXPECT_EQ(NAMED_WAIT_TIMEOUT, WaitForNamedEvent(m_hResponse.h, 0));
}

TEST_F(MsgQueueExTest, FailedBlockStopsTheConstructionAndTheLoopFails)
{
    orvtest::LogCapture cap;
    // An object of another kind holds the block's name.
    orvtest::Handle hSquatter(
        CreateNamedEvent(CMsgQueueLayout::BlockName(m_strBase).c_str(), EVERYONE_EVENT_ALL_ACCESS));
    ASSERT_NE(nullptr, hSquatter.h);
    CMsgQueueEx queue(m_strBase, R, S);
    EXPECT_TRUE(queue.IsConstructionFailed());
    EXPECT_EQ(nullptr, queue.GetBuffer());
    EXPECT_EQ(nullptr, queue.GetQuitEvent());
    EXPECT_EQ(4u, queue.RecvMsgLoop([](uint8_t*, uint64_t&, uint8_t*, uint64_t&) { return 0; }));
    if (cap.Available()) {
        EXPECT_TRUE(cap.Contains(") : m_hMapFile = 0x"));
        EXPECT_TRUE(cap.Contains(") : m_pbyBuffer = 0x00000000"));
        EXPECT_TRUE(cap.Contains("dwIndex = -1"));
    }
}

TEST_F(MsgQueueExTest, FailedSendEventStopsTheConstruction)
{
    orvtest::LogCapture cap;
    orvtest::Handle hSquatter(CreateNamedMutex(CMsgQueueLayout::SendEventName(m_strBase).c_str(), false,
                                               EVERYONE_MUTEX_ALL_ACCESS));
    ASSERT_NE(nullptr, hSquatter.h);
    CMsgQueueEx queue(m_strBase, R, S);
    EXPECT_TRUE(queue.IsConstructionFailed());
    EXPECT_NE(nullptr, queue.GetBuffer());
    EXPECT_EQ(nullptr, queue.GetQuitEvent());
    // The wait fails at once and writes nothing.
    queue.GetBuffer()[16 + R + S] = 0x99;
    EXPECT_EQ(4u, queue.RecvMsg([](uint8_t*, uint64_t&, uint8_t*, uint64_t&) { return 0; }));
    EXPECT_EQ(0x99, queue.GetBuffer()[16 + R + S]);
    if (cap.Available()) {
        EXPECT_TRUE(cap.Contains(") : m_hEventSend = 0x00000000"));
    }
}

TEST_F(MsgQueueExTest, OpenOrCreateLogsTheOpenFailureThenTheCreate)
{
    orvtest::LogCapture cap;
    ORV_TRACE_SCOPE("MsgQueueExTest");
    orvtest::Handle hEvent(OpenOrCreateEvent(L"Global\\" + m_strBase + L"_EVT_X"));
    ASSERT_NE(nullptr, hEvent.h);
    orvtest::Handle hAgain(OpenOrCreateEvent(L"Global\\" + m_strBase + L"_EVT_X"));
    ASSERT_NE(nullptr, hAgain.h);
    std::pair<NamedHandle, uint8_t*> mapping = OpenOrCreateFileMapping(L"Global\\" + m_strBase + L"_SHM_X", 4096);
    ASSERT_NE(nullptr, mapping.first);
    ASSERT_NE(nullptr, mapping.second);
    UnmapSharedBlock(mapping.second);
    CloseNamedObject(mapping.first);
    if (cap.Available()) {
        // Open failed (not found: 2), created (0); then opened.
        EXPECT_EQ(2, cap.Count(") : GetLastError() = 2"));
        EXPECT_EQ(2, cap.Count(") : GetLastError() = 0"));
        EXPECT_EQ(2, cap.Count(") : hEvent = 0x"));
        EXPECT_EQ(1, cap.Count(") : hFileMapping = 0x"));
        EXPECT_EQ(1, cap.Count(") : pbyBuffer = 0x"));
        EXPECT_TRUE(cap.Contains("Src/PrintingService/Common/Include/MsgQueueEx.cpp("));
    }
}

// A wait that fails writes nothing into the block but still sets the
// response event: a sender that waits is always released.
TEST_F(MsgQueueExTest, AFailedWaitStillReleasesTheSender)
{
    orvtest::LogCapture cap;
    CMsgQueueEx queue(m_strBase, R, S);
    ASSERT_FALSE(queue.IsConstructionFailed());
    OpenSenderSide();
    PostRequest(orvtest::MakeJobRequest(0, 0));
    queue.GetBuffer()[8 + R] = 0x77;
    queue.GetBuffer()[16 + R + S] = 0x99;
    NamedHandle hQuit = CMsgQueueExTestPeer::QuitEvent(queue);
    CMsgQueueExTestPeer::QuitEvent(queue) = nullptr; // the wait cannot use it
    int iCalls = 0;
    const uint32_t uiCode = queue.RecvMsg([&](uint8_t*, uint64_t&, uint8_t*, uint64_t&) {
        ++iCalls;
        return 0;
    });
    CMsgQueueExTestPeer::QuitEvent(queue) = hQuit;
    EXPECT_EQ(4u, uiCode);
    EXPECT_EQ(0, iCalls);
    EXPECT_EQ(0x77, queue.GetBuffer()[8 + R]);
    EXPECT_EQ(0x99, queue.GetBuffer()[16 + R + S]);
    EXPECT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(m_hResponse.h, 0));
    if (cap.Available()) {
        EXPECT_TRUE(cap.Contains("dwIndex = -1"));
    }
}
