#include <atomic>
#include <chrono>
#include <thread>
#include <vector>
#include <gtest/gtest.h>
#include "Src/PrintingService/Common/Include/MsgQueueEx.h"
#include "Src/PrintingService/Common/Include/MsgQueueSender.h"
#include "tests/Src/PrintingService/Common/Include/QueueTestSupport.h"
#include "utility/NamedEvent.h"
#include "utility/NamedMutex.h"

using namespace OrvUtility;
using orvtest::GENEROUS_MS;
using orvtest::R;
using orvtest::S;

namespace {

// A receiver loop on a thread of this process, answering with the first ids.
class ThreadReceiver {
public:
    explicit ThreadReceiver(const std::wstring& strBase)
        : m_queue(strBase, R, S), m_hLooping(CreateNamedEvent(nullptr, NAMED_DEFAULT_SECURITY))
    {
        m_thread = std::thread([this]() {
            orvtest::Handle hEarly(
                CreateNamedMutex(m_queue.GetMutexName().c_str(), true, EVERYONE_MUTEX_ALL_ACCESS));
            SetNamedEvent(m_hLooping.h);
            m_uiCode = m_queue.RecvMsgLoop([this](uint8_t* pReq, uint64_t& uiReqLen, uint8_t* pResp, uint64_t& uiRespLen) {
                ++m_iCalls;
                return orvtest::AnswerFirstIds(pReq, uiReqLen, pResp, uiRespLen);
            });
        });
        m_bReady = WaitForNamedEvent(m_hLooping.h, GENEROUS_MS) == NAMED_WAIT_OBJECT_0;
    }
    ~ThreadReceiver() { Stop(); }
    uint32_t Stop()
    {
        if (m_thread.joinable()) {
            m_queue.SignalQuit();
            m_thread.join();
        }
        return m_uiCode;
    }
    bool Ready() const { return m_bReady; }
    int Calls() const { return m_iCalls; }

private:
    CMsgQueueEx m_queue;
    orvtest::Handle m_hLooping;
    std::thread m_thread;
    std::atomic<int> m_iCalls{0};
    std::atomic<uint32_t> m_uiCode{12345};
    bool m_bReady = false;
};

class MsgQueueSenderTest : public ::testing::Test {
protected:
    MsgQueueSenderTest() : m_strBase(orvtest::Wide(orvtest::UniqueObjectBase("Sender"))) {}

    CMsgQueueSender::SendResult Send(CMsgQueueSender& sender, const std::string& strRequest,
                                     CMsgQueueSender::REPLY& stuReply, uint32_t uiTimeout = NAMED_INFINITE)
    {
        return sender.Send(reinterpret_cast<const uint8_t*>(strRequest.data()), strRequest.size(), uiTimeout,
                           stuReply);
    }

    orvtest::ScopedSharedFolder m_shared;
    std::wstring m_strBase;
};

} // namespace

TEST_F(MsgQueueSenderTest, NoReceiver)
{
    CMsgQueueSender sender(m_strBase);
    ASSERT_TRUE(sender.IsOpen());
    EXPECT_FALSE(sender.IsReceiverPresent());
    CMsgQueueSender::REPLY stuReply;
    EXPECT_EQ(CMsgQueueSender::SEND_NO_RECEIVER, Send(sender, orvtest::MakeJobRequest(0, 0), stuReply));
}

TEST_F(MsgQueueSenderTest, ARequestLongerThanTheSlotIsRefused)
{
    CMsgQueueSender sender(m_strBase);
    std::vector<uint8_t> vecRequest(R + 1, 0);
    CMsgQueueSender::REPLY stuReply;
    EXPECT_EQ(CMsgQueueSender::SEND_REQUEST_TOO_LONG,
              sender.Send(vecRequest.data(), vecRequest.size(), NAMED_INFINITE, stuReply));
}

TEST_F(MsgQueueSenderTest, AnsweredByAReceiverThatCameFirst)
{
    ThreadReceiver receiver(m_strBase);
    ASSERT_TRUE(receiver.Ready());
    CMsgQueueSender sender(m_strBase);
    EXPECT_TRUE(sender.IsReceiverPresent());
    CMsgQueueSender::REPLY stuReply;
    ASSERT_EQ(CMsgQueueSender::SEND_ANSWERED, Send(sender, orvtest::MakeJobRequest(3, 2, "A"), stuReply));
    EXPECT_EQ(0u, stuReply.uiResultCode);
    EXPECT_EQ(44u, stuReply.uiResponseLength);
    EXPECT_EQ("AP1", orvtest::ResponseId(stuReply.vecResponse.data(), 4));
    EXPECT_EQ("AJ1", orvtest::ResponseId(stuReply.vecResponse.data(), 24));
    EXPECT_EQ(6u, receiver.Stop());
    EXPECT_EQ(1, receiver.Calls());
}

TEST_F(MsgQueueSenderTest, AStaleResponseSignalIsDrainedFirst)
{
    ThreadReceiver receiver(m_strBase);
    ASSERT_TRUE(receiver.Ready());
    // A response signal nobody waited for.
    orvtest::Handle hResponse(OpenNamedEvent(CMsgQueueLayout::ResponseEventName(m_strBase)));
    ASSERT_EQ(1, SetNamedEvent(hResponse.h));

    CMsgQueueSender sender(m_strBase);
    CMsgQueueSender::REPLY stuReply;
    ASSERT_EQ(CMsgQueueSender::SEND_ANSWERED, Send(sender, orvtest::MakeJobRequest(1, 1, "B"), stuReply));
    EXPECT_EQ(44u, stuReply.uiResponseLength);
    EXPECT_EQ("BP1", orvtest::ResponseId(stuReply.vecResponse.data(), 4));
    EXPECT_EQ(6u, receiver.Stop());
    EXPECT_EQ(1, receiver.Calls());
}

TEST_F(MsgQueueSenderTest, SendersSerialiseAmongThemselves)
{
    ThreadReceiver receiver(m_strBase);
    ASSERT_TRUE(receiver.Ready());
    const int ROUNDS = 25;
    std::atomic<int> iWrong(0);
    auto sendMany = [&](const std::string& strPrefix) {
        CMsgQueueSender sender(m_strBase);
        for (int i = 0; i < ROUNDS; ++i) {
            CMsgQueueSender::REPLY stuReply;
            const std::string strRequest = orvtest::MakeJobRequest(1, 1, strPrefix);
            if (Send(sender, strRequest, stuReply) != CMsgQueueSender::SEND_ANSWERED ||
                orvtest::ResponseId(stuReply.vecResponse.data(), 4) != strPrefix + "P1") {
                ++iWrong;
            }
        }
    };
    std::thread first(sendMany, "X");
    std::thread second(sendMany, "Y");
    first.join();
    second.join();
    EXPECT_EQ(0, iWrong.load());
    EXPECT_EQ(6u, receiver.Stop());
    EXPECT_EQ(2 * ROUNDS, receiver.Calls());
}

// A sender held up by another sender's mutex past its time limit says so.
TEST_F(MsgQueueSenderTest, TheSendersMutexHeldPastTheLimitTimesOutAsSuch)
{
    ThreadReceiver receiver(m_strBase);
    ASSERT_TRUE(receiver.Ready());
    orvtest::Handle hSenders(
        CreateNamedMutex(CMsgQueueLayout::SenderMutexName(m_strBase).c_str(), true, EVERYONE_MUTEX_ALL_ACCESS));
    ASSERT_NE(nullptr, hSenders.h);
    CMsgQueueSender::SendResult eResult = CMsgQueueSender::SEND_ANSWERED;
    std::thread([&]() {
        CMsgQueueSender sender(m_strBase);
        CMsgQueueSender::REPLY stuReply;
        eResult = Send(sender, orvtest::MakeJobRequest(1, 1), stuReply, 200);
    }).join();
    EXPECT_EQ(CMsgQueueSender::SEND_SENDERS_TIMED_OUT, eResult);
    EXPECT_EQ(0, receiver.Calls());
    ASSERT_EQ(1, ReleaseNamedMutex(hSenders.h));
    EXPECT_EQ(6u, receiver.Stop());
}

// One deadline covers both waits: time spent on the senders' mutex is not
// given again to the wait for the answer. The mutex is held for 600 ms of a
// 1000 ms limit and the receiver never answers: the whole call ends at the
// limit (1600 ms and more if each wait had the whole limit of its own).
TEST_F(MsgQueueSenderTest, OneDeadlineCoversTheSendersMutexAndTheAnswer)
{
    const std::string strBase = orvtest::UniqueObjectBase("SenderDeadline");
    orvtest::ChildReceiver receiver(strBase, "block");
    ASSERT_TRUE(receiver.WaitReady());
    const std::wstring strWide = orvtest::Wide(strBase);
    orvtest::Handle hHeld(CreateNamedEvent(nullptr, NAMED_DEFAULT_SECURITY));
    orvtest::Handle hNever(CreateNamedEvent(nullptr, NAMED_DEFAULT_SECURITY));
    std::thread holder([&]() {
        orvtest::Handle hSenders(
            CreateNamedMutex(CMsgQueueLayout::SenderMutexName(strWide).c_str(), true, EVERYONE_MUTEX_ALL_ACCESS));
        SetNamedEvent(hHeld.h);
        // The hold itself is what is measured against the limit.
        WaitForNamedEvent(hNever.h, 600);
        ReleaseNamedMutex(hSenders.h);
    });
    ASSERT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(hHeld.h, GENEROUS_MS));
    CMsgQueueSender sender(strWide);
    CMsgQueueSender::REPLY stuReply;
    const auto tpStart = std::chrono::steady_clock::now();
    const CMsgQueueSender::SendResult eResult = Send(sender, orvtest::MakeJobRequest(1, 1), stuReply, 1000);
    const auto msTaken =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - tpStart).count();
    holder.join();
    EXPECT_EQ(CMsgQueueSender::SEND_TIMED_OUT, eResult);
    EXPECT_GE(msTaken, 990); // timers may end a little early
    EXPECT_LT(msTaken, 1400);
    ASSERT_TRUE(receiver.WaitEntered());
    receiver.Release();
    receiver.Stop();
    EXPECT_EQ(6, receiver.Process().Wait());
}

// A receiver that keeps each request open until released, with one request
// "A" open in it whose sender gave up waiting (as a killed sender does).
class AbandonedRequestTest : public ::testing::Test {
protected:
    AbandonedRequestTest()
        : m_strBase(orvtest::UniqueObjectBase("SenderAbandoned"))
        , m_strWide(orvtest::Wide(m_strBase))
        , m_receiver(m_strBase, "block")
    {
    }

    void SetUp() override
    {
        ASSERT_TRUE(m_receiver.WaitReady());
        CMsgQueueSender first(m_strWide);
        CMsgQueueSender::REPLY stuReply;
        const std::string strRequest = orvtest::MakeJobRequest(1, 1, "A");
        ASSERT_EQ(CMsgQueueSender::SEND_TIMED_OUT,
                  first.Send(reinterpret_cast<const uint8_t*>(strRequest.data()), strRequest.size(), 200, stuReply));
        ASSERT_TRUE(m_receiver.WaitEntered());
    }

    orvtest::ScopedSharedFolder m_shared;
    std::string m_strBase;
    std::wstring m_strWide;
    orvtest::ChildReceiver m_receiver;
};

// The next sender first waits for the abandoned request's answer and throws
// it away, so that its own request gets its own answer and never the
// earlier one's.
TEST_F(AbandonedRequestTest, ItsAnswerIsNeverTakenForTheNextRequest)
{
    CMsgQueueSender::SendResult eAwait = CMsgQueueSender::SEND_PLATFORM_FAILURE;
    CMsgQueueSender::SendResult eSend = CMsgQueueSender::SEND_PLATFORM_FAILURE;
    CMsgQueueSender::REPLY stuReply;
    std::thread next([&]() {
        CMsgQueueSender sender(m_strWide);
        eAwait = sender.AwaitAbandonedAnswer(NAMED_INFINITE);
        const std::string strRequest = orvtest::MakeJobRequest(1, 1, "B");
        eSend = sender.Send(reinterpret_cast<const uint8_t*>(strRequest.data()), strRequest.size(), NAMED_INFINITE,
                            stuReply);
    });
    m_receiver.Release(); // the first request is answered ("AP1")
    ASSERT_TRUE(m_receiver.WaitEntered());
    m_receiver.Release(); // then the second ("BP1")
    next.join();
    EXPECT_EQ(CMsgQueueSender::SEND_ANSWERED, eAwait);
    ASSERT_EQ(CMsgQueueSender::SEND_ANSWERED, eSend);
    EXPECT_EQ("BP1", orvtest::ResponseId(stuReply.vecResponse.data(), 4));
    m_receiver.Stop();
}

// The abandoned answer is taken once: a second wait finds nothing to take.
TEST_F(AbandonedRequestTest, ItsAnswerIsTakenOnce)
{
    CMsgQueueSender sender(m_strWide);
    m_receiver.Release();
    EXPECT_EQ(CMsgQueueSender::SEND_ANSWERED, sender.AwaitAbandonedAnswer(GENEROUS_MS));
    EXPECT_EQ(CMsgQueueSender::SEND_TIMED_OUT, sender.AwaitAbandonedAnswer(200));
    m_receiver.Stop();
}

TEST_F(AbandonedRequestTest, WaitingForItsAnswerEndsAtTheLimit)
{
    CMsgQueueSender sender(m_strWide);
    EXPECT_EQ(CMsgQueueSender::SEND_TIMED_OUT, sender.AwaitAbandonedAnswer(200));
    m_receiver.Release();
    m_receiver.Stop();
}

TEST_F(AbandonedRequestTest, WaitingForItsAnswerEndsWhenTheReceiverIsGone)
{
    CMsgQueueSender sender(m_strWide);
    CMsgQueueSender::SendResult eAwait = CMsgQueueSender::SEND_PLATFORM_FAILURE;
    std::thread waiter([&]() { eAwait = sender.AwaitAbandonedAnswer(NAMED_INFINITE); });
    m_receiver.Process().Kill();
    waiter.join();
    EXPECT_EQ(CMsgQueueSender::SEND_NO_RECEIVER, eAwait);
}

TEST_F(MsgQueueSenderTest, NoReceiverNoAbandonedAnswerToWaitFor)
{
    CMsgQueueSender sender(m_strBase);
    EXPECT_EQ(CMsgQueueSender::SEND_NO_RECEIVER, sender.AwaitAbandonedAnswer(NAMED_INFINITE));
}
