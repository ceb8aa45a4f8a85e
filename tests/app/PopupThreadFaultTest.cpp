// The popup thread when things around it go wrong: a sender that is killed
// while its dialog is open, a settings file that cannot be written. Senders
// are real processes (this binary re-launched); the dialogs get a scripted
// window that plays the user.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "support/JobRequestBuilder.h"
#include "PopupChannelSupport.h"
#include "language/MachineRegistryTestStore.h"
#include "language/TextConvert.h"
#include "support/ChildMain.h"
#include "support/ChildProcess.h"
#include "support/LogCapture.h"
#include "support/TempFolder.h"
#include "tests/utility/NamedObjectTestSupport.h"
#include "utility/NamedEvent.h"
#include "utility/PsFolder.h"

namespace {

using OrvUtility::CMsgQueueLayout;
using OrvUtility::CMsgQueueSender;

// Exit code of a process ended by Kill(): SIGKILL (128 + 9) on Linux, the
// code given to TerminateProcess on Windows.
const int KILLED_EXIT_CODE = 137;

// Bounds of the waits; none is reached when things work.
const auto START_TIMEOUT = std::chrono::seconds(30);
const auto ANSWER_TIMEOUT = std::chrono::seconds(60);

// Two printers and two projects; the script picks one of each.
std::vector<uint8_t> TwoByTwoRequest()
{
    return orvtest::CJobRequestBuilder()
        .Printer(u"P1", u"Printer 1")
        .Printer(u"P2", u"Printer 2")
        .Project(u"J1", u"Project 1")
        .Project(u"J2", u"Project 2")
        .Build();
}

std::u16string Utf16(const std::string& strAscii)
{
    return std::u16string(strAscii.begin(), strAscii.end());
}

// Waits (bounded, serving GUI events) for a child's end; -2 when it has not
// ended in time (it is killed then).
int WaitExit(orvtest::ChildProcess& objChild, std::chrono::milliseconds tTimeout = ANSWER_TIMEOUT)
{
    if (!orvtest::WaitServingEventsFor([&objChild]() { return !objChild.IsRunning(); }, tTimeout)) {
        objChild.Kill();
        return -2;
    }
    return objChild.Wait();
}

class PopupThreadFaultTest : public ::testing::Test {
protected:
    void TearDown() override { SetOrvprintDDlgSetupHook(nullptr); }

    // The channel's objects in a folder of this test (Linux).
    orvtest::ScopedSharedFolder m_shared;
};

} // namespace

// The printing service's side: NAME PRINTER_ID PROJECT_ID. Sends the
// two-by-two request once and checks that the answer is OK with those ids.
// 0 when it is; 10 + the send result when not answered; 30 for a wrong
// answer (described on stderr).
ORV_CHILD_MAIN(FaultSender)
{
    if (args.size() != 3) {
        return 100;
    }
    CMsgQueueSender objSender(Language::WideFromUtf8(args[0]));
    if (!objSender.IsOpen()) {
        return 101;
    }
    const std::vector<uint8_t> vecRequest = TwoByTwoRequest();
    CMsgQueueSender::REPLY reply;
    const CMsgQueueSender::SendResult eResult = objSender.Send(vecRequest.data(), vecRequest.size(), 30000, reply);
    if (eResult != CMsgQueueSender::SEND_ANSWERED) {
        std::fprintf(stderr, "FaultSender: send result %u\n", static_cast<unsigned>(eResult));
        return 10 + static_cast<int>(eResult);
    }
    const std::string strWrong = orvtest::CheckOkReply(reply, Utf16(args[1]), Utf16(args[2]));
    if (!strWrong.empty()) {
        std::fprintf(stderr, "FaultSender: wrong answer: %s\n", strWrong.c_str());
        return 30;
    }
    return 0;
}

// The sender dies (killed) while the user looks at its dialog. The user's
// choice is still written into the block, for nobody; the response signal
// it leaves is consumed by the next sender, a new process, whose request is
// shown and answered normally.
TEST_F(PopupThreadFaultTest, SenderKilledWhileItsDialogIsOpenLeavesTheNextRequestServed)
{
    orvtest::LogCapture cap;
    const std::wstring strName = orvtest::UniquePopupQueueName(L"OrvPopupFault");

    std::promise<orvtest::ChildProcess*> promiseFirst;
    std::shared_future<orvtest::ChildProcess*> futureFirst = promiseFirst.get_future().share();
    std::atomic<int> iDialogs{0};
    std::atomic<int> iAnswered{0};
    std::atomic<int> iFirstExit{-1};
    std::atomic<bool> bFirstDeadBeforeAnswer{false};
    orvtest::ScriptPopupDialogs([&](orvtest::CFakeOrvprintDDlgView& v) {
        const int iDialog = ++iDialogs;
        if (iDialog == 1) {
            // The dialog is up; its sender is killed now.
            if (futureFirst.wait_for(START_TIMEOUT) != std::future_status::ready) {
                v.ClickCancel();
                ++iAnswered;
                return;
            }
            orvtest::ChildProcess* pFirst = futureFirst.get();
            pFirst->Kill();
            iFirstExit = pFirst->Wait();
            bFirstDeadBeforeAnswer = !pFirst->IsRunning();
            // The user then picks the second printer and the second project.
            v.SelectPrinter(1);
            v.SelectProject(1);
        } else {
            v.SelectPrinter(0);
            v.SelectProject(1);
        }
        v.ClickOk();
        ++iAnswered;
    });

    orvtest::ServedPopupThread objThread(strName);
    ASSERT_TRUE(objThread.Start()) << "the popup thread does not serve its channel";

    // The test's own view of the block and the response event. It also
    // keeps the senders' mutex in existence, so that on Windows too the dead
    // sender leaves it abandoned.
    CMsgQueueSender objObserver(strName);
    ASSERT_TRUE(objObserver.IsOpen());
    OrvUtility::NamedHandle hResponse = OrvUtility::OpenNamedEvent(CMsgQueueLayout::ResponseEventName(strName));
    ASSERT_NE(nullptr, hResponse);
    struct CloseEvent {
        OrvUtility::NamedHandle h;
        ~CloseEvent() { OrvUtility::CloseNamedObject(h); }
    } closeResponse{hResponse};

    auto pFirst = orvtest::ChildProcess::StartSelf("FaultSender", {Language::Utf8FromWide(strName), "P2", "J2"});
    ASSERT_TRUE(pFirst);
    promiseFirst.set_value(pFirst.get());
    ASSERT_TRUE(orvtest::WaitServingEventsFor([&]() { return iAnswered.load() >= 1; }, ANSWER_TIMEOUT))
        << "the first dialog was not answered";
    EXPECT_EQ(KILLED_EXIT_CODE, iFirstExit.load());
    EXPECT_TRUE(bFirstDeadBeforeAnswer.load());

    // The receiver has written the late answer and set the response event:
    // seen here by taking the signal and setting it again at once, so that
    // it stays for the next sender to find.
    const bool bSignalled = orvtest::WaitServingEventsFor(
        [hResponse]() {
            if (OrvUtility::WaitForNamedEvent(hResponse, 0) != OrvUtility::NAMED_WAIT_OBJECT_0) {
                return false;
            }
            OrvUtility::SetNamedEvent(hResponse);
            return true;
        },
        ANSWER_TIMEOUT);
    ASSERT_TRUE(bSignalled) << "the receiver did not signal the answer to the dead sender";
    const CMsgQueueLayout& layout = objObserver.GetLayout();
    const uint8_t* pbyBlock = objObserver.GetBuffer();
    uint64_t uiResponseLength = 0;
    uint32_t uiResultCode = 0xFFFF;
    std::memcpy(&uiResponseLength, pbyBlock + layout.ResponseLengthOffset(), sizeof(uiResponseLength));
    std::memcpy(&uiResultCode, pbyBlock + layout.ResultCodeOffset(), sizeof(uiResultCode));
    EXPECT_EQ(44u, uiResponseLength);
    EXPECT_EQ(0u, uiResultCode);
    EXPECT_EQ(0, orvtest::AnswerResult(pbyBlock + layout.ResponseOffset()));
    EXPECT_EQ(u"P2", orvtest::AnswerId(pbyBlock + layout.ResponseOffset(), 4));
    EXPECT_EQ(u"J2", orvtest::AnswerId(pbyBlock + layout.ResponseOffset(), 24));
    EXPECT_TRUE(orvtest::IsChannelServed(strName));

    // The next sender, a new process, gets its own answer.
    auto pSecond = orvtest::ChildProcess::StartSelf("FaultSender", {Language::Utf8FromWide(strName), "P1", "J2"});
    ASSERT_TRUE(pSecond);
    EXPECT_EQ(0, WaitExit(*pSecond)) << "0: answered with P1/J2; 10 + n: send result n; 30: another answer";
    EXPECT_EQ(2, iDialogs.load());
    EXPECT_TRUE(orvtest::IsChannelServed(strName));

    ASSERT_TRUE(objThread.Stop());
    EXPECT_EQ(6, objThread.Thread().GetLoopResult());
    EXPECT_FALSE(orvtest::IsChannelServed(strName));
    if (cap.Available()) {
        EXPECT_EQ(2, cap.Count("INFO - Popup orvprintD dialog."));
        EXPECT_EQ(1, cap.Count("INFO - Selected printer : Printer 2, selected project : Project 2"));
        EXPECT_EQ(1, cap.Count("INFO - Selected printer : Printer 1, selected project : Project 2"));
        EXPECT_EQ(2, cap.Count("INFO - User clicked OK, orvprintD dialog closed."));
        EXPECT_EQ(0, cap.Count("ERROR - ")) << cap.Text();
        EXPECT_EQ(0, cap.Count("WARNING - ")) << cap.Text();
    }
}

// Config.ini cannot be written. The tests may run as root, for whom file
// modes stop nothing, so the file is made impossible by its path: either
// Config.ini is a folder, or the "TempDir" folder is a regular file.
class SettingsWriteFaultTest : public PopupThreadFaultTest, public ::testing::WithParamInterface<bool> {
protected:
    void SetUp() override
    {
        m_bTempDirIsAFile = GetParam();
        if (m_bTempDirIsAFile) {
            m_strTempDir = m_tmp.WriteFile("NotAFolder", "plain file\n");
        } else {
            m_strTempDir = m_tmp.Path();
            std::filesystem::create_directory(m_tmp.File("Config.ini"));
        }
        m_store.Set(OrvUtility::CLIENT_REGISTRY_KEY, L"TempDir", Language::WideFromUtf8(m_strTempDir));
    }

    orvtest::MachineRegistryTestStore m_store;
    orvtest::TempFolder m_tmp;
    bool m_bTempDirIsAFile = false;
    std::string m_strTempDir;
};

// The user's choice cannot be saved: the dialog's settings log one warning
// (after the writer's error line) when they are let go, and the answer goes
// to the sender all the same.
TEST_P(SettingsWriteFaultTest, OkStillAnswersTheSenderAndLogsOneWarning)
{
    orvtest::LogCapture cap;
    const std::wstring strName = orvtest::UniquePopupQueueName(L"OrvPopupSettings");
    std::atomic<int> iDialogs{0};
    std::atomic<bool> bOkEnabled{false};
    orvtest::ScriptPopupDialogs(
        [&](orvtest::CFakeOrvprintDDlgView& v) {
            ++iDialogs;
            v.SelectPrinter(1);
            v.SelectProject(0);
            bOkEnabled = v.m_bOkEnabled;
            v.ClickOk();
        },
        false);

    orvtest::ServedPopupThread objThread(strName);
    ASSERT_TRUE(objThread.Start()) << "the popup thread does not serve its channel";
    auto pSender = orvtest::ChildProcess::StartSelf("FaultSender", {Language::Utf8FromWide(strName), "P2", "J1"});
    ASSERT_TRUE(pSender);
    EXPECT_EQ(0, WaitExit(*pSender)) << "0: answered with P2/J1; 10 + n: send result n; 30: another answer";
    EXPECT_EQ(1, iDialogs.load());
    EXPECT_TRUE(bOkEnabled.load());
    // Still serving.
    EXPECT_TRUE(orvtest::IsChannelServed(strName));
    ASSERT_TRUE(objThread.Stop());
    EXPECT_EQ(6, objThread.Thread().GetLoopResult());

    // Nothing was written in place of the settings file.
    if (m_bTempDirIsAFile) {
        EXPECT_EQ("plain file\n", m_tmp.ReadFile("NotAFolder"));
    } else {
        EXPECT_TRUE(std::filesystem::is_directory(m_tmp.File("Config.ini")));
    }
    if (cap.Available()) {
        EXPECT_EQ(1, cap.Count("WARNING - ")) << cap.Text();
        EXPECT_EQ(1, cap.Count("WARNING - app/OrvConfig.cpp(")) << cap.Text();
        EXPECT_EQ(1, cap.Count(") : WriteClientSetting returns 1")) << cap.Text();
        // The writer's own line, and on Linux a folder in place of
        // Config.ini refused once (not once for every value read from it).
#ifdef _WIN32
        const int iRefused = 0;
        const int kNamesOfTheSettingsFile = 1;
#else
        const int kNamesOfTheSettingsFile = 2;
        // Linux reads the machine's file and the user's own, which the
        // test store makes one file under two names: refused under each.
        const int iRefused = m_bTempDirIsAFile ? 0 : 1;
#endif
        EXPECT_EQ(1 + iRefused * kNamesOfTheSettingsFile, cap.Count("ERROR - ")) << cap.Text();
        EXPECT_EQ(iRefused * kNamesOfTheSettingsFile, cap.Count("ERROR - logging/posix/NoFollowFile.cpp("))
            << cap.Text();
        EXPECT_EQ(iRefused, cap.Count(") : Refused " + m_tmp.File("Config.ini") + ": it is not a regular file."))
            << cap.Text();
        EXPECT_EQ(iRefused * (kNamesOfTheSettingsFile - 1),
                  cap.Count("/config/orv-soft/Config.ini: it is not a regular file."))
            << cap.Text();
        EXPECT_EQ(1, cap.Count("ERROR - utility/ClientInfo.cpp(")) << cap.Text();
        EXPECT_EQ(1, cap.Count(") : WritePrivateProfileBOOL failed.")) << cap.Text();
        EXPECT_EQ(1, cap.Count("INFO - Selected printer : Printer 2, selected project : Project 1"));
        EXPECT_EQ(1, cap.Count("INFO - User clicked OK, orvprintD dialog closed."));
    }
}

INSTANTIATE_TEST_SUITE_P(UnwritablePaths, SettingsWriteFaultTest, ::testing::Values(false, true),
                         [](const ::testing::TestParamInfo<bool>& info) {
                             return info.param ? std::string("TempDirIsAFile") : std::string("ConfigIniIsAFolder");
                         });
