// The popup thread serving its own channel: requests from a sender, the
// dialog answered by the test through a scripted window.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <future>
#include <memory>
#include <string>

#include "EventPump.h"
#include "FakeDlgConfig.h"
#include "FakeOrvprintDDlgView.h"
#include "support/JobRequestBuilder.h"
#include "Src/PrintingService/Common/Include/MsgQueueEx.h"
#include "Src/PrintingService/Common/Include/MsgQueueLayout.h"
#include "Src/PrintingService/Common/Include/MsgQueueSender.h"
#include "app/OrvprintDDlg.h"
#include "app/OrvprintDDlgRunner.h"
#include "app/PopupThread.h"
#include "language/TextConvert.h"
#include "support/ChildMain.h"
#include "support/ChildProcess.h"
#include "support/LogCapture.h"
#include "utility/NamedEvent.h"
#include "utility/NamedMutex.h"
#include "utility/SharedBlock.h"

namespace {

std::wstring UniqueQueueName()
{
    static std::atomic<int> s_iCounter{0};
    return L"OrvPopupTest_" +
           std::to_wstring(std::chrono::steady_clock::now().time_since_epoch().count() % 1000000000) + L"_" +
           std::to_wstring(s_iCounter++);
}

std::vector<uint8_t> OnePrinterRequest()
{
    return orvtest::CJobRequestBuilder().Printer(u"P1", u"Printer 1").Project(u"J1", u"Project 1").Build();
}

std::u16string ReplyId(const OrvUtility::CMsgQueueSender::REPLY& reply, size_t uiOffset)
{
    std::u16string str;
    for (size_t i = uiOffset; i + 1 < reply.vecResponse.size() && i < uiOffset + 20; i += 2) {
        const char16_t c = static_cast<char16_t>(reply.vecResponse[i] | (reply.vecResponse[i + 1] << 8));
        if (!c) break;
        str.push_back(c);
    }
    return str;
}

// Every dialog gets settings in memory and a window that plays the user.
void ScriptDialogs(std::atomic<int>& iDialogs, std::function<void(orvtest::CFakeOrvprintDDlgView&)> fnScript)
{
    SetOrvprintDDlgSetupHook([&iDialogs, fnScript](COrvprintDDlg& objDlg) {
        ++iDialogs;
        objDlg.SetConfigFactory([]() { return std::make_shared<orvtest::CFakeDlgConfig>(); });
        objDlg.SetViewFactory([fnScript](IOrvprintDDlgEvents& objEvents) {
            auto pView = std::unique_ptr<orvtest::CFakeOrvprintDDlgView>(new orvtest::CFakeOrvprintDDlgView(objEvents));
            pView->m_fnScript = fnScript;
            return std::unique_ptr<IOrvprintDDlgView>(std::move(pView));
        });
    });
}

bool IsServing(const std::wstring& strName)
{
    return OrvUtility::ProbeNamedMutex(OrvUtility::CMsgQueueLayout::ExistenceMutexName(strName)) ==
           OrvUtility::NAMED_MUTEX_OWNED;
}

class PopupThreadTest : public ::testing::Test {
protected:
    void TearDown() override { SetOrvprintDDlgSetupHook(nullptr); }
};

} // namespace

// The sender process: NAME COUNT. Sends COUNT requests and checks each answer.
ORV_CHILD_MAIN(PopupSender)
{
    if (args.size() != 2) return 100;
    OrvUtility::CMsgQueueSender objSender(Language::WideFromUtf8(args[0]));
    const int iCount = std::stoi(args[1]);
    const std::vector<uint8_t> vecRequest = OnePrinterRequest();
    for (int i = 0; i < iCount; ++i) {
        OrvUtility::CMsgQueueSender::REPLY reply;
        if (objSender.Send(vecRequest.data(), vecRequest.size(), 30000, reply) != 0) return 10 + i;
        if (reply.uiResultCode != 0 || reply.uiResponseLength != 44) return 20 + i;
        if (reply.vecResponse.size() < 44 || reply.vecResponse[0] != 0) return 30 + i;
        if (ReplyId(reply, 4) != u"P1" || ReplyId(reply, 24) != u"J1") return 40 + i;
    }
    return 0;
}

TEST_F(PopupThreadTest, TwoRequestsFromASenderProcessGiveTwoDialogs)
{
    orvtest::LogCapture cap;
    std::atomic<int> iDialogs{0};
    ScriptDialogs(iDialogs, [](orvtest::CFakeOrvprintDDlgView& v) { v.ClickOk(); });
    const std::wstring strName = UniqueQueueName();
    CPopupThread objThread(strName);
    ASSERT_EQ(0u, objThread.Begin());
    orvtest::WaitServingEvents([&] { return IsServing(strName); });

    auto pSender = orvtest::ChildProcess::StartSelf("PopupSender", {Language::Utf8FromWide(strName), "2"});
    ASSERT_TRUE(pSender);
    orvtest::WaitServingEvents([&] { return !pSender->IsRunning(); });
    EXPECT_EQ(0, pSender->Wait());
    EXPECT_EQ(2, iDialogs.load());

    objThread.ForceQuit();
    objThread.Join();
    EXPECT_EQ(6, objThread.GetLoopResult());
    EXPECT_FALSE(IsServing(strName));
    if (cap.Available()) {
        EXPECT_EQ(2, cap.Count("INFO - Popup orvprintD dialog."));
        EXPECT_EQ(2, cap.Count("INFO - User clicked OK, orvprintD dialog closed."));
    }
}

TEST_F(PopupThreadTest, QuitWhileADialogIsOpenTakesEffectAfterItCloses)
{
    orvtest::LogCapture cap;
    std::atomic<int> iDialogs{0};
    CPopupThread* pThread = nullptr;
    // The quit arrives while the dialog is open; the user then cancels.
    ScriptDialogs(iDialogs, [&pThread](orvtest::CFakeOrvprintDDlgView& v) {
        pThread->ForceQuit();
        v.ClickCancel();
    });
    const std::wstring strName = UniqueQueueName();
    CPopupThread objThread(strName);
    pThread = &objThread;
    ASSERT_EQ(0u, objThread.Begin());
    orvtest::WaitServingEvents([&] { return IsServing(strName); });

    auto reply = std::async(std::launch::async, [&strName]() {
        OrvUtility::CMsgQueueSender objSender(strName);
        OrvUtility::CMsgQueueSender::REPLY stuReply;
        const std::vector<uint8_t> vecRequest = OnePrinterRequest();
        const auto eResult = objSender.Send(vecRequest.data(), vecRequest.size(), 30000, stuReply);
        return std::make_pair(eResult, stuReply);
    });
    orvtest::WaitServingEvents([&] { return reply.wait_for(std::chrono::seconds(0)) == std::future_status::ready; });
    const auto result = reply.get();
    // ... then the loop ended on the quit.
    objThread.Join();
    // The sender is released. The request was answered first (cancelled by
    // the user); the quit that follows at once writes its own length (0) and
    // result code (6) into the one slot, so a sender that reads after it, or
    // while it is written, sees "quitting" in part or in whole.
    EXPECT_EQ(OrvUtility::CMsgQueueSender::SEND_ANSWERED, result.first);
    if (result.second.uiResultCode == 0 && result.second.uiResponseLength == 44u) {
        ASSERT_GE(result.second.vecResponse.size(), 4u);
        EXPECT_EQ(1, result.second.vecResponse[0]);
    } else {
        EXPECT_TRUE(result.second.uiResultCode == 6u || result.second.uiResultCode == 0u)
            << result.second.uiResultCode;
        EXPECT_EQ(0u, result.second.uiResponseLength);
    }
    EXPECT_EQ(6, objThread.GetLoopResult());
    EXPECT_EQ(1, iDialogs.load());
    EXPECT_FALSE(IsServing(strName));
    if (cap.Available()) {
        EXPECT_EQ(1, cap.Count("INFO - User clicked Cancel, orvprintD dialog closed."));
    }
}

TEST_F(PopupThreadTest, MalformedRequestsAreAnsweredAsCancelledAndServingGoesOn)
{
    orvtest::LogCapture cap;
    std::atomic<int> iDialogs{0};
    ScriptDialogs(iDialogs, [](orvtest::CFakeOrvprintDDlgView& v) { v.ClickOk(); });
    const std::wstring strName = UniqueQueueName();
    CPopupThread objThread(strName);
    ASSERT_EQ(0u, objThread.Begin());
    orvtest::WaitServingEvents([&] { return IsServing(strName); });

    auto send = [&strName](std::vector<uint8_t> vecRequest) {
        auto reply = std::async(std::launch::async, [&strName, vecRequest]() {
            OrvUtility::CMsgQueueSender objSender(strName);
            OrvUtility::CMsgQueueSender::REPLY stuReply;
            const auto eResult = objSender.Send(vecRequest.data(), vecRequest.size(), 30000, stuReply);
            return std::make_pair(eResult, stuReply);
        });
        orvtest::WaitServingEvents(
            [&] { return reply.wait_for(std::chrono::seconds(0)) == std::future_status::ready; });
        return reply.get();
    };
    // The Cancel button's answer: result 1 and both ids empty.
    std::vector<uint8_t> vecCancelled(44, 0);
    vecCancelled[0] = 1;

    // Four bytes (below the smallest request: out of range), then no printers
    // and no projects with one byte too many (a format error).
    for (const std::vector<uint8_t>& vecRequest : {std::vector<uint8_t>(4, 0), std::vector<uint8_t>(9, 0)}) {
        const auto result = send(vecRequest);
        ASSERT_EQ(OrvUtility::CMsgQueueSender::SEND_ANSWERED, result.first) << vecRequest.size();
        EXPECT_EQ(0u, result.second.uiResultCode);
        EXPECT_EQ(44u, result.second.uiResponseLength);
        EXPECT_EQ(vecCancelled, result.second.vecResponse);
        EXPECT_TRUE(IsServing(strName));
    }
    EXPECT_EQ(0, iDialogs.load());

    // The next request is shown and answered as usual.
    const auto result = send(OnePrinterRequest());
    ASSERT_EQ(OrvUtility::CMsgQueueSender::SEND_ANSWERED, result.first);
    EXPECT_EQ(0u, result.second.uiResultCode);
    EXPECT_EQ(44u, result.second.uiResponseLength);
    EXPECT_EQ(u"P1", ReplyId(result.second, 4));
    EXPECT_EQ(u"J1", ReplyId(result.second, 24));
    EXPECT_EQ(1, iDialogs.load());

    objThread.ForceQuit();
    objThread.Join();
    EXPECT_EQ(6, objThread.GetLoopResult());
    EXPECT_FALSE(IsServing(strName));
    if (cap.Available()) {
        EXPECT_TRUE(cap.Contains("throw CJobOptionDataException(CJobOptionDataException::OUT_OF_RANGE)"));
        EXPECT_TRUE(cap.Contains("throw CJobOptionDataException(CJobOptionDataException::FORMAT_ERROR)"));
        EXPECT_EQ(1, cap.Count(") : catched exception, code = 2. The request is answered as cancelled."));
        EXPECT_EQ(1, cap.Count(") : catched exception, code = 3. The request is answered as cancelled."));
        EXPECT_EQ(1, cap.Count("INFO - User clicked OK, orvprintD dialog closed."));
    }
}

// The flooding sender process: NAME. Writes one request into the block and
// sets the request event over and over without waiting for answers, setting
// NAME + "_TEST_FLOODED" after each, until NAME + "_TEST_STOP" is set.
ORV_CHILD_MAIN(PopupFloodSender)
{
    using namespace OrvUtility;
    if (args.size() != 1) return 100;
    const std::wstring strName = Language::WideFromUtf8(args[0]);
    const CMsgQueueLayout layout(CMsgQueueLayout::JOB_REQUEST_CAPACITY, CMsgQueueLayout::JOB_RESPONSE_CAPACITY);
    const std::pair<NamedHandle, uint8_t*> block =
        OpenOrCreateFileMapping(CMsgQueueLayout::BlockName(strName), layout.BlockSize());
    const NamedHandle hSend = OpenOrCreateEvent(CMsgQueueLayout::SendEventName(strName));
    const NamedHandle hFlooded = OpenNamedEvent(L"Global\\" + strName + L"_TEST_FLOODED");
    const NamedHandle hStop = OpenNamedEvent(L"Global\\" + strName + L"_TEST_STOP");
    if (!block.first || !block.second || !hSend || !hFlooded || !hStop) return 10;
    const std::vector<uint8_t> vecRequest = OnePrinterRequest();
    const uint64_t uiLength = vecRequest.size();
    std::memcpy(block.second + layout.RequestOffset(), vecRequest.data(), vecRequest.size());
    std::memcpy(block.second + layout.RequestLengthOffset(), &uiLength, sizeof(uiLength));
    while (WaitForNamedEvent(hStop, 0) != NAMED_WAIT_OBJECT_0) {
        if (!SetNamedEvent(hSend) || !SetNamedEvent(hFlooded)) return 11;
    }
    UnmapSharedBlock(block.second);
    for (NamedHandle h : {block.first, hSend, hFlooded, hStop}) {
        CloseNamedObject(h);
    }
    return 0;
}

// ForceQuit (what --quit and SIGTERM come to) while another process floods
// the channel: the dialog in hand is answered, and no other dialog follows.
TEST_F(PopupThreadTest, AFloodOfRequestsDoesNotDelayTheQuit)
{
    const std::wstring strName = UniqueQueueName();
    OrvUtility::NamedHandle hFlooded = OrvUtility::CreateNamedEvent(
        (L"Global\\" + strName + L"_TEST_FLOODED").c_str(), OrvUtility::EVERYONE_EVENT_ALL_ACCESS);
    OrvUtility::NamedHandle hStop = OrvUtility::CreateNamedEvent((L"Global\\" + strName + L"_TEST_STOP").c_str(),
                                                                 OrvUtility::EVERYONE_EVENT_ALL_ACCESS);
    ASSERT_NE(nullptr, hFlooded);
    ASSERT_NE(nullptr, hStop);
    const int GIVE_UP_AT = 20; // a thread that serves on is let go here
    std::atomic<int> iDialogs{0};
    std::atomic<bool> bFloodedAfterQuit{true};
    CPopupThread* pThread = nullptr;
    ScriptDialogs(iDialogs, [&](orvtest::CFakeOrvprintDDlgView& v) {
        if (iDialogs.load() == 1) {
            pThread->ForceQuit();
            // Two "flooded" signals after a drain: the second one follows a
            // request event set after the quit.
            OrvUtility::WaitForNamedEvent(hFlooded, 0);
            for (int i = 0; i < 2; ++i) {
                if (OrvUtility::WaitForNamedEvent(hFlooded, 30000) != OrvUtility::NAMED_WAIT_OBJECT_0) {
                    bFloodedAfterQuit = false;
                }
            }
        }
        if (iDialogs.load() == GIVE_UP_AT) {
            OrvUtility::SetNamedEvent(hStop);
        }
        v.ClickOk();
    });
    CPopupThread objThread(strName);
    pThread = &objThread;
    ASSERT_EQ(0u, objThread.Begin());
    orvtest::WaitServingEvents([&] { return IsServing(strName); });

    auto pFlooder = orvtest::ChildProcess::StartSelf("PopupFloodSender", {Language::Utf8FromWide(strName)});
    ASSERT_TRUE(pFlooder);
    orvtest::WaitServingEvents([&] { return !IsServing(strName); });
    objThread.Join();
    OrvUtility::SetNamedEvent(hStop);
    EXPECT_EQ(0, pFlooder->Wait());
    EXPECT_TRUE(bFloodedAfterQuit.load());
    EXPECT_EQ(6, objThread.GetLoopResult());
    EXPECT_EQ(1, iDialogs.load()) << "dialogs after the quit: " << iDialogs.load() - 1;
    OrvUtility::CloseNamedObject(hFlooded);
    OrvUtility::CloseNamedObject(hStop);
}

// Pause and Resume of the popup thread do nothing but their trace scopes:
// both answer 0, and the thread goes on serving as before.
TEST_F(PopupThreadTest, PauseAndResumeReturnZeroAndChangeNothing)
{
    orvtest::LogCapture cap("OutputFunBeginInfo.OrvprintD_exe=true\n");
    std::atomic<int> iDialogs{0};
    ScriptDialogs(iDialogs, [](orvtest::CFakeOrvprintDDlgView& v) { v.ClickOk(); });
    const std::wstring strName = UniqueQueueName();
    CPopupThread objThread(strName);
    const int32_t iStatusBefore = objThread.GetStatus();
    EXPECT_EQ(0u, objThread.Pause());
    EXPECT_EQ(0u, objThread.Resume());
    EXPECT_EQ(iStatusBefore, objThread.GetStatus());
    ASSERT_EQ(0u, objThread.Begin());
    orvtest::WaitServingEvents([&] { return IsServing(strName); });

    const int32_t iStatusRunning = objThread.GetStatus();
    EXPECT_EQ(0u, objThread.Pause());
    EXPECT_EQ(iStatusRunning, objThread.GetStatus());
    // Paused or not, a request is answered.
    auto pSender = orvtest::ChildProcess::StartSelf("PopupSender", {Language::Utf8FromWide(strName), "1"});
    ASSERT_TRUE(pSender);
    orvtest::WaitServingEvents([&] { return !pSender->IsRunning(); });
    EXPECT_EQ(0, pSender->Wait());
    EXPECT_EQ(1, iDialogs.load());
    EXPECT_EQ(0u, objThread.Resume());
    EXPECT_EQ(iStatusRunning, objThread.GetStatus());
    EXPECT_TRUE(IsServing(strName));

    objThread.ForceQuit();
    objThread.Join();
    EXPECT_EQ(6, objThread.GetLoopResult());
    if (cap.Available()) {
        EXPECT_EQ(2, cap.Count("CPopupThread::Pause :START......"));
        EXPECT_EQ(2, cap.Count("CPopupThread::Resume :START......"));
    }
}
