#include <algorithm>
#include <atomic>
#include <chrono>
#include <iostream>
#include <thread>
#include <vector>
#include <gtest/gtest.h>
#include "Src/PrintingService/Common/Include/MsgQueueEx.h"
#include "Src/PrintingService/Common/Include/MsgQueueSender.h"
#include "Src/Common/include/JobSelectedData.h"
#include "support/ChildMain.h"
#include "support/ChildProcess.h"
#include "tests/Src/PrintingService/Common/Include/QueueTestSupport.h"
#include "utility/NamedEvent.h"
#include "utility/NamedMutex.h"
#include "utility/SharedBlock.h"

using namespace OrvUtility;
using orvtest::BLOCK_SIZE;
using orvtest::GENEROUS_MS;
using orvtest::R;
using orvtest::S;

namespace {

class MsgQueueCrossProcessTest : public ::testing::Test {
protected:
    MsgQueueCrossProcessTest() : m_strBase(orvtest::UniqueObjectBase("XQueue")) {}
    std::wstring Base() const { return orvtest::Wide(m_strBase); }

    orvtest::ScopedSharedFolder m_shared;
    std::string m_strBase;
};

} // namespace

// A sender process that follows the protocol with the bare objects (args:
// base, printers, projects). Exit code: the result code read after the
// response event, or 10 and up for a failure.
ORV_CHILD_MAIN(RawSender)
{
    const std::wstring strBase = orvtest::Wide(args.at(0));
    const std::string strRequest = orvtest::MakeJobRequest(std::stoi(args.at(1)), std::stoi(args.at(2)));
    std::pair<NamedHandle, uint8_t*> block = OpenOrCreateFileMapping(CMsgQueueLayout::BlockName(strBase), BLOCK_SIZE);
    orvtest::Handle hBlock(block.first);
    orvtest::Handle hSend(OpenOrCreateEvent(CMsgQueueLayout::SendEventName(strBase)));
    orvtest::Handle hResponse(OpenOrCreateEvent(CMsgQueueLayout::ResponseEventName(strBase)));
    if (!block.second || !hSend.h || !hResponse.h) {
        return 10;
    }
    if (ProbeNamedMutex(CMsgQueueLayout::ExistenceMutexName(strBase)) != NAMED_MUTEX_OWNED) {
        return 11;
    }
    std::memcpy(block.second + 8, strRequest.data(), strRequest.size());
    orvtest::WriteU64(block.second, strRequest.size());
    SetNamedEvent(hSend.h);
    if (WaitForNamedEvent(hResponse.h, GENEROUS_MS) != NAMED_WAIT_OBJECT_0) {
        return 12;
    }
    const int iResult = static_cast<int>(orvtest::ReadU32(block.second + 16 + R + S));
    UnmapSharedBlock(block.second);
    return iResult;
}

TEST_F(MsgQueueCrossProcessTest, ChildSenderIsServedAndTheBlockIsByteExact)
{
    CMsgQueueEx queue(Base(), R, S);
    ASSERT_FALSE(queue.IsConstructionFailed());
    std::atomic<int> iCalls(0);
    std::atomic<int> iMutexInside(-2);
    std::atomic<uint32_t> uiLoop(12345);
    orvtest::Handle hLooping(CreateNamedEvent(nullptr, NAMED_DEFAULT_SECURITY));
    std::thread receiver([&]() {
        // Owning before the loop lets the test wait for it on an event.
        orvtest::Handle hEarly(CreateNamedMutex(queue.GetMutexName().c_str(), true, EVERYONE_MUTEX_ALL_ACCESS));
        SetNamedEvent(hLooping.h);
        uiLoop = queue.RecvMsgLoop([&](uint8_t* pReq, uint64_t& uiReqLen, uint8_t* pResp, uint64_t& uiRespLen) {
            ++iCalls;
            iMutexInside = static_cast<int>(orvtest::ProbeExistence(Base()));
            return orvtest::AnswerFirstIds(pReq, uiReqLen, pResp, uiRespLen);
        });
    });
    ASSERT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(hLooping.h, GENEROUS_MS));

    auto sender = orvtest::ChildProcess::StartSelf("RawSender", {m_strBase, "1", "1"});
    ASSERT_TRUE(sender);
    EXPECT_EQ(0, sender->Wait());
    EXPECT_EQ(1, iCalls.load());
    EXPECT_EQ(static_cast<int>(NAMED_MUTEX_OWNED), iMutexInside.load());

    // The whole block, byte by byte.
    const uint8_t* pBlock = queue.GetBuffer();
    const std::string strRequest = orvtest::MakeJobRequest(1, 1);
    std::vector<uint8_t> vecExpected(BLOCK_SIZE, 0);
    orvtest::WriteU64(vecExpected.data(), 10348);
    std::memcpy(vecExpected.data() + 8, strRequest.data(), strRequest.size());
    orvtest::WriteU64(vecExpected.data() + 2688416, 44);
    CJobSelectedData::SELECTED_INFO stuAnswer = {};
    stuAnswer.szPrinterId[0] = u'P';
    stuAnswer.szPrinterId[1] = u'1';
    stuAnswer.szProjectId[0] = u'J';
    stuAnswer.szProjectId[1] = u'1';
    std::memcpy(vecExpected.data() + 2688424, &stuAnswer, 44);
    // Result code 0 at 2688468.
    size_t uiFirstDifference = BLOCK_SIZE;
    for (size_t i = 0; i < BLOCK_SIZE; ++i) {
        if (pBlock[i] != vecExpected[i]) {
            uiFirstDifference = i;
            break;
        }
    }
    EXPECT_EQ(BLOCK_SIZE, uiFirstDifference) << "first differing byte";

    queue.SignalQuit();
    receiver.join();
    EXPECT_EQ(6u, uiLoop.load());
    EXPECT_NE(NAMED_MUTEX_OWNED, orvtest::ProbeExistence(Base()));
}

TEST_F(MsgQueueCrossProcessTest, ChildReceiverServesAndQuits)
{
    orvtest::ChildReceiver receiver(m_strBase, "answer");
    ASSERT_TRUE(receiver.WaitReady());
    CMsgQueueSender sender(Base());
    ASSERT_TRUE(sender.IsOpen());
    EXPECT_TRUE(sender.IsReceiverPresent());

    const std::string strRequest = orvtest::MakeJobRequest(2, 3);
    CMsgQueueSender::REPLY stuReply;
    ASSERT_EQ(CMsgQueueSender::SEND_ANSWERED,
              sender.Send(reinterpret_cast<const uint8_t*>(strRequest.data()), strRequest.size(), NAMED_INFINITE,
                          stuReply));
    EXPECT_EQ(0u, stuReply.uiResultCode);
    EXPECT_EQ(44u, stuReply.uiResponseLength);
    ASSERT_EQ(44u, stuReply.vecResponse.size());
    EXPECT_EQ(0, orvtest::ReadU32(stuReply.vecResponse.data()));
    EXPECT_EQ("P1", orvtest::ResponseId(stuReply.vecResponse.data(), 4));
    EXPECT_EQ("J1", orvtest::ResponseId(stuReply.vecResponse.data(), 24));

    receiver.Stop();
    EXPECT_EQ(6, receiver.Process().Wait());
    EXPECT_FALSE(sender.IsReceiverPresent());
    EXPECT_EQ(CMsgQueueSender::SEND_NO_RECEIVER,
              sender.Send(reinterpret_cast<const uint8_t*>(strRequest.data()), strRequest.size(), NAMED_INFINITE,
                          stuReply));
}

TEST_F(MsgQueueCrossProcessTest, KilledReceiverLeavesTheExistenceMutexFree)
{
    orvtest::ChildReceiver receiver(m_strBase, "answer");
    ASSERT_TRUE(receiver.WaitReady());
    CMsgQueueSender sender(Base());
    EXPECT_TRUE(sender.IsReceiverPresent());
    receiver.Process().Kill();
    EXPECT_FALSE(sender.IsReceiverPresent());
    const std::string strRequest = orvtest::MakeJobRequest(0, 0);
    CMsgQueueSender::REPLY stuReply;
    EXPECT_EQ(CMsgQueueSender::SEND_NO_RECEIVER,
              sender.Send(reinterpret_cast<const uint8_t*>(strRequest.data()), strRequest.size(), NAMED_INFINITE,
                          stuReply));
}

TEST_F(MsgQueueCrossProcessTest, SenderNoticesAReceiverKilledWhileHandling)
{
    orvtest::ChildReceiver receiver(m_strBase, "block");
    ASSERT_TRUE(receiver.WaitReady());
    CMsgQueueSender sender(Base());
    const std::string strRequest = orvtest::MakeJobRequest(1, 1);
    std::atomic<int> iResult(-1);
    std::thread sending([&]() {
        CMsgQueueSender::REPLY stuReply;
        iResult = sender.Send(reinterpret_cast<const uint8_t*>(strRequest.data()), strRequest.size(),
                              NAMED_INFINITE, stuReply);
    });
    ASSERT_TRUE(receiver.WaitEntered());
    receiver.Process().Kill();
    sending.join();
    EXPECT_EQ(static_cast<int>(CMsgQueueSender::SEND_NO_RECEIVER), iResult.load());
}

TEST_F(MsgQueueCrossProcessTest, SenderTimesOutWhileTheReceiverHandles)
{
    orvtest::ChildReceiver receiver(m_strBase, "block");
    ASSERT_TRUE(receiver.WaitReady());
    CMsgQueueSender sender(Base());
    const std::string strRequest = orvtest::MakeJobRequest(1, 1);
    CMsgQueueSender::REPLY stuReply;
    EXPECT_EQ(CMsgQueueSender::SEND_TIMED_OUT,
              sender.Send(reinterpret_cast<const uint8_t*>(strRequest.data()), strRequest.size(), 100, stuReply));
    ASSERT_TRUE(receiver.WaitEntered());
    receiver.Release();
    receiver.Stop();
    EXPECT_EQ(6, receiver.Process().Wait());
}

// A sender process that floods the channel (args: base): it writes a request
// and sets the request event over and over, without waiting for answers,
// and sets "_TEST_FLOODED" after each request event, until "_TEST_STOP" is
// set. Exit code 0, or 10 and up for a failure.
ORV_CHILD_MAIN(FloodSender)
{
    const std::wstring strBase = orvtest::Wide(args.at(0));
    const std::string strRequest = orvtest::MakeJobRequest(1, 1);
    std::pair<NamedHandle, uint8_t*> block = OpenOrCreateFileMapping(CMsgQueueLayout::BlockName(strBase), BLOCK_SIZE);
    orvtest::Handle hBlock(block.first);
    orvtest::Handle hSend(OpenOrCreateEvent(CMsgQueueLayout::SendEventName(strBase)));
    orvtest::Handle hFlooded(OpenNamedEvent(orvtest::GlobalName(args.at(0), "_TEST_FLOODED")));
    orvtest::Handle hStop(OpenNamedEvent(orvtest::GlobalName(args.at(0), "_TEST_STOP")));
    if (!block.second || !hSend.h || !hFlooded.h || !hStop.h) {
        return 10;
    }
    std::memcpy(block.second + 8, strRequest.data(), strRequest.size());
    orvtest::WriteU64(block.second, strRequest.size());
    while (WaitForNamedEvent(hStop.h, 0) != NAMED_WAIT_OBJECT_0) {
        if (!SetNamedEvent(hSend.h) || !SetNamedEvent(hFlooded.h)) {
            return 11;
        }
    }
    UnmapSharedBlock(block.second);
    return 0;
}

// While another process floods the channel with requests, a quit set during
// a request ends the loop right after that request: no further request is
// served.
TEST_F(MsgQueueCrossProcessTest, AFloodOfRequestsDoesNotDelayTheQuit)
{
    CMsgQueueEx queue(Base(), R, S);
    ASSERT_FALSE(queue.IsConstructionFailed());
    orvtest::Handle hFlooded(
        CreateNamedEvent(orvtest::GlobalName(m_strBase, "_TEST_FLOODED").c_str(), EVERYONE_EVENT_ALL_ACCESS));
    orvtest::Handle hStop(
        CreateNamedEvent(orvtest::GlobalName(m_strBase, "_TEST_STOP").c_str(), EVERYONE_EVENT_ALL_ACCESS));
    ASSERT_NE(nullptr, hFlooded.h);
    ASSERT_NE(nullptr, hStop.h);
    auto flooder = orvtest::ChildProcess::StartSelf("FloodSender", {m_strBase});
    ASSERT_TRUE(flooder);

    const int QUIT_AT = 3;      // the request during which the quit is set
    const int GIVE_UP_AT = 20;  // a loop that serves on is let go here
    int iCalls = 0;
    bool bFloodedAfterQuit = true;
    const uint32_t uiCode = queue.RecvMsgLoop([&](uint8_t*, uint64_t&, uint8_t*, uint64_t&) {
        ++iCalls;
        if (iCalls == QUIT_AT) {
            queue.SignalQuit();
            // The flooder sets the request event again after the quit: a
            // signal of "flooded" that comes after the drain may belong to a
            // request event set before it, the second one cannot.
            WaitForNamedEvent(hFlooded.h, 0);
            for (int i = 0; i < 2; ++i) {
                bFloodedAfterQuit =
                    bFloodedAfterQuit && WaitForNamedEvent(hFlooded.h, orvtest::GENEROUS_MS) == NAMED_WAIT_OBJECT_0;
            }
        }
        if (iCalls == GIVE_UP_AT) {
            SetNamedEvent(hStop.h);
        }
        return 0;
    });
    SetNamedEvent(hStop.h);
    EXPECT_EQ(0, flooder->Wait());
    EXPECT_TRUE(bFloodedAfterQuit);
    EXPECT_EQ(6u, uiCode);
    EXPECT_EQ(QUIT_AT, iCalls) << "requests served after the quit: " << iCalls - QUIT_AT;
    EXPECT_NE(NAMED_MUTEX_OWNED, orvtest::ProbeExistence(Base()));
}

// A measurement, not a test (run with --gtest_also_run_disabled_tests): the
// round trip of one request through a receiver process whose handler returns
// at once, as a sender sees it (including its lock, the receiver check and
// the drain of a stale signal).
TEST_F(MsgQueueCrossProcessTest, DISABLED_MeasureRoundTrip)
{
    orvtest::ChildReceiver receiver(m_strBase, "immediate");
    ASSERT_TRUE(receiver.WaitReady());
    CMsgQueueSender sender(Base());
    const std::string strRequest = orvtest::MakeJobRequest(0, 0);
    const int ROUNDS = 5000;
    std::vector<double> vecMicroseconds;
    for (int i = 0; i < ROUNDS + 100; ++i) {
        CMsgQueueSender::REPLY stuReply;
        const auto tpStart = std::chrono::steady_clock::now();
        ASSERT_EQ(CMsgQueueSender::SEND_ANSWERED,
                  sender.Send(reinterpret_cast<const uint8_t*>(strRequest.data()), strRequest.size(),
                              NAMED_INFINITE, stuReply));
        const auto tpEnd = std::chrono::steady_clock::now();
        if (i >= 100) {
            vecMicroseconds.push_back(std::chrono::duration<double, std::micro>(tpEnd - tpStart).count());
        }
    }
    std::sort(vecMicroseconds.begin(), vecMicroseconds.end());
    std::cout << "round trip over " << ROUNDS << " requests: median " << vecMicroseconds[ROUNDS / 2]
              << " us, 10% " << vecMicroseconds[ROUNDS / 10] << " us, 90% " << vecMicroseconds[ROUNDS * 9 / 10]
              << " us" << std::endl;
    receiver.Stop();
    EXPECT_EQ(6, receiver.Process().Wait());
}
