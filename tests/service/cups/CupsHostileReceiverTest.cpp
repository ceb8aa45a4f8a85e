// Whatever the user's side does (its OrvprintD answering nonsense, never
// answering, or the worker that runs as the user dying), the job is held
// with a message and never printed anywhere.
#include <csignal>
#include <gtest/gtest.h>
#include <vector>
#include "tests/service/cups/BackendProcesses.h"
#include "tests/service/cups/CupsServiceTest.h"

namespace {

using namespace orvtest;

// Process ids of the backend's worker: the backend's processes of the job's
// user.
std::vector<pid_t> WorkerProcesses(uid_t uidUser)
{
    std::vector<pid_t> vecOut;
    for (const BACKEND_PROCESS& stuProcess : BackendProcesses()) {
        if (stuProcess.uidReal == uidUser) {
            vecOut.push_back(stuProcess.pid);
        }
    }
    return vecOut;
}

class CupsHostileReceiverTest : public CupsServiceTest {
protected:
    // Submits a job, waits until it is held, and checks the message and
    // that no printer got anything.
    void ExpectHeld(const std::string& strTitle, const std::string& strReason)
    {
        const int iOffice = s_pCupsd->CountJobs("office");
        const int iBasement = s_pCupsd->CountJobs("basement");
        const int iJob = Submit(strTitle, WriteDocument("hostile.txt", "hostile\n"));
        const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_HELD, WAIT_SECONDS);
        EXPECT_EQ(IPP_HELD, stuState.iState);
        EXPECT_EQ(HeldMessage(strReason, iJob), stuState.strMessage);
        EXPECT_EQ(iOffice, s_pCupsd->CountJobs("office"));
        EXPECT_EQ(iBasement, s_pCupsd->CountJobs("basement"));
    }

    std::unique_ptr<CTestReceiver> Start(const CTestReceiver::ANSWER& stuAnswer, bool bGated = false)
    {
        auto pReceiver = std::make_unique<CTestReceiver>(s_objUser, std::vector<CTestReceiver::ANSWER>{stuAnswer},
                                                         m_strRecords, bGated);
        EXPECT_EQ("", pReceiver->GetStartError());
        return pReceiver;
    }
};

TEST_F(CupsHostileReceiverTest, ResultsOtherThanOkAndCancelAreMalformed)
{
    for (int iResult : {2, 6, -1, 0x7fffffff}) {
        CTestReceiver::ANSWER stuAnswer;
        stuAnswer.iResult = iResult;
        stuAnswer.strPrinterId = u"P1";
        const auto pReceiver = Start(stuAnswer);
        ExpectHeld("Result " + std::to_string(iResult), "OrvprintD of user orvtest-cups-alice gave a malformed answer");
    }
}

TEST_F(CupsHostileReceiverTest, GarbageInsteadOfAnAnswerIsMalformed)
{
    CTestReceiver::ANSWER stuAnswer;
    stuAnswer.bGarbage = true;
    const auto pReceiver = Start(stuAnswer);
    ExpectHeld("Garbage", "OrvprintD of user orvtest-cups-alice gave a malformed answer");
}

TEST_F(CupsHostileReceiverTest, AnswerOfAnotherLengthIsMalformed)
{
    for (uint64_t uiLength : {uint64_t(1), uint64_t(43), uint64_t(45), uint64_t(0xFFFFFFFFFFFFull)}) {
        CTestReceiver::ANSWER stuAnswer;
        stuAnswer.strPrinterId = u"P1";
        stuAnswer.uiResponseLength = uiLength;
        const auto pReceiver = Start(stuAnswer);
        ExpectHeld("Length " + std::to_string(uiLength),
                   "OrvprintD of user orvtest-cups-alice gave a malformed answer");
    }
}

TEST_F(CupsHostileReceiverTest, IdsThatWereNotOfferedAreRefused)
{
    const std::vector<std::pair<std::u16string, std::string>> vecPrinters = {
        {u"p1", "p1"}, {u"P1 ", "P1 "}, {u"office", "office"}, {u"basement", "basement"}};
    for (const auto& stuPrinter : vecPrinters) {
        CTestReceiver::ANSWER stuAnswer;
        stuAnswer.strPrinterId = stuPrinter.first;
        const auto pReceiver = Start(stuAnswer);
        ExpectHeld("Printer " + stuPrinter.second, "OrvprintD of user orvtest-cups-alice chose printer " +
                                                       stuPrinter.second + ", which was not offered");
    }
}

TEST_F(CupsHostileReceiverTest, NoAnswerWithinTheTimeHoldsTheJob)
{
    WriteServiceConf(std::string(SERVICE_CONF).replace(std::string(SERVICE_CONF).find("=60"), 3, "=1"));
    CTestReceiver::ANSWER stuAnswer;
    stuAnswer.strPrinterId = u"P1";
    const auto pReceiver = Start(stuAnswer, true);
    ExpectHeld("Never answered", "No answer from OrvprintD of user orvtest-cups-alice within 1 seconds");
}

TEST_F(CupsHostileReceiverTest, WorkerKilledHoldsTheJob)
{
    CTestReceiver::ANSWER stuAnswer;
    stuAnswer.strPrinterId = u"P1";
    const auto pReceiver = Start(stuAnswer, true);
    const int iOffice = s_pCupsd->CountJobs("office");
    const int iJob = Submit("Worker killed", WriteDocument("killed.txt", "killed\n"));
    ASSERT_TRUE(pReceiver->WaitForRequest(WAIT_SECONDS));
    const std::vector<pid_t> vecWorkers = WorkerProcesses(s_objUser.GetUid());
    ASSERT_EQ(1u, vecWorkers.size());
    kill(vecWorkers[0], SIGKILL);
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_HELD, WAIT_SECONDS);
    EXPECT_EQ(IPP_HELD, stuState.iState);
    EXPECT_EQ(HeldMessage("The print service could not ask OrvprintD of user orvtest-cups-alice: its worker ended "
                          "without a result",
                          iJob),
              stuState.strMessage);
    pReceiver->Release(); // the open dialog's answer comes too late for anything
    EXPECT_EQ(iOffice, s_pCupsd->CountJobs("office"));
}

} // namespace
