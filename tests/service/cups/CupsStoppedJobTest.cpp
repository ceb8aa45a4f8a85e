// A job stopped while its dialog is open (the backend killed, or the job
// cancelled): the dialog's late answer must never be taken for the user's
// next job. The receiver keeps each request open until the test lets it
// answer: the first with printer P1, the second with Cancel.
#include <csignal>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <vector>
#include "tests/service/cups/BackendProcesses.h"
#include "tests/service/cups/CupsServiceTest.h"
#include "tests/tools/ToolProcess.h"

namespace {

using namespace orvtest;

class CupsStoppedJobTest : public CupsServiceTest {
protected:
    void SetUp() override
    {
        CupsServiceTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        // A backend that dies makes the scheduler abort that job, not stop
        // the queue for everybody.
        std::string strOut, strErr;
        ASSERT_EQ(0, RunTool("/usr/sbin/lpadmin", {"-p", SECURE_QUEUE, "-o", "printer-error-policy=abort-job"}, strOut,
                             strErr))
            << strErr;
        CTestReceiver::ANSWER stuOffice;
        stuOffice.strPrinterId = u"P1";
        stuOffice.strProjectId = u"J1";
        CTestReceiver::ANSWER stuCancel;
        stuCancel.iResult = 1;
        m_pReceiver = std::make_unique<CTestReceiver>(
            s_objUser, std::vector<CTestReceiver::ANSWER>{stuOffice, stuCancel}, m_strRecords, true);
        ASSERT_EQ("", m_pReceiver->GetStartError());
    }

    void TearDown() override
    {
        m_pReceiver.reset();
        std::string strOut, strErr;
        RunTool("/usr/sbin/cupsenable", {SECURE_QUEUE}, strOut, strErr);
    }

    // The second job waits for the first dialog's answer and throws it
    // away; its own request is answered with Cancel: cancelled, and nothing
    // ever printed on the first answer's printer.
    void ExpectSecondJobGetsItsOwnAnswer(int iOfficeJobs)
    {
        const int iSecond = Submit("Second job", WriteDocument("second.txt", "second\n"));
        ASSERT_GT(iSecond, 0);
        m_pReceiver->Release(); // the first dialog is answered now: P1
        ASSERT_TRUE(m_pReceiver->WaitForRequest(WAIT_SECONDS)) << "the second job's request never came";
        m_pReceiver->Release(); // the second: Cancel
        const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iSecond, IPP_CANCELED, WAIT_SECONDS);
        EXPECT_EQ(IPP_CANCELED, stuState.iState) << stuState.strMessage;
        EXPECT_EQ(iOfficeJobs, s_pCupsd->CountJobs("office"));
        // Both requests reached the dialog, one after the other.
        struct stat st;
        EXPECT_EQ(0, stat((m_strRecords + "/request-2.bin").c_str(), &st));
        EXPECT_NE(0, stat((m_strRecords + "/request-3.bin").c_str(), &st));
    }

    // The scheduler's verdict on a job whose backend was killed varies;
    // what matters is that it printed nothing.
    void WaitUntilEnded(int iJob)
    {
        for (int i = 0; i < WAIT_SECONDS * 20 && s_pCupsd->GetJobState(iJob).iState < IPP_CANCELED; ++i) {
            usleep(50000);
        }
        EXPECT_LE(IPP_CANCELED, s_pCupsd->GetJobState(iJob).iState);
    }

    int StartFirstJob()
    {
        const int iFirst = Submit("First job", WriteDocument("first.txt", "first\n"));
        EXPECT_TRUE(m_pReceiver->WaitForRequest(WAIT_SECONDS)) << "the first job's request never came";
        return iFirst;
    }

    std::unique_ptr<CTestReceiver> m_pReceiver;
};

TEST_F(CupsStoppedJobTest, BackendAndWorkerKilledTheLateAnswerDoesNotPrintTheNextJob)
{
    const int iOfficeJobs = s_pCupsd->CountJobs("office");
    const int iFirst = StartFirstJob();
    const std::vector<BACKEND_PROCESS> vecBackend = BackendProcesses();
    ASSERT_EQ(2u, vecBackend.size());
    for (const BACKEND_PROCESS& stuProcess : vecBackend) {
        kill(stuProcess.pid, SIGKILL);
    }
    WaitUntilEnded(iFirst);
    std::string strOut, strErr;
    RunTool("/usr/sbin/cupsenable", {SECURE_QUEUE}, strOut, strErr);
    ExpectSecondJobGetsItsOwnAnswer(iOfficeJobs);
}

TEST_F(CupsStoppedJobTest, BackendKilledItsWorkerKeepsTheNextJobWaiting)
{
    const int iOfficeJobs = s_pCupsd->CountJobs("office");
    const int iFirst = StartFirstJob();
    const std::vector<BACKEND_PROCESS> vecBackend = BackendProcesses();
    ASSERT_EQ(2u, vecBackend.size());
    for (const BACKEND_PROCESS& stuProcess : vecBackend) {
        if (stuProcess.uidReal == 0) {
            kill(stuProcess.pid, SIGKILL);
        }
    }
    WaitUntilEnded(iFirst);
    std::string strOut, strErr;
    RunTool("/usr/sbin/cupsenable", {SECURE_QUEUE}, strOut, strErr);
    ExpectSecondJobGetsItsOwnAnswer(iOfficeJobs);
}

TEST_F(CupsStoppedJobTest, CancelledJobEndsItsWorkerAndTheNextJobWaitsForTheOpenDialog)
{
    const int iOfficeJobs = s_pCupsd->CountJobs("office");
    const int iFirst = StartFirstJob();
    ASSERT_EQ(2u, BackendProcesses().size());
    std::string strOut, strErr;
    ASSERT_EQ(0, RunTool("/usr/bin/cancel", {std::string(SECURE_QUEUE) + "-" + std::to_string(iFirst)}, strOut, strErr))
        << strErr;
    EXPECT_EQ(IPP_CANCELED, s_pCupsd->WaitForJobState(iFirst, IPP_CANCELED, WAIT_SECONDS).iState);
    // The scheduler's SIGTERM ends the root part and, through it, the worker.
    for (int i = 0; i < 600 && !BackendProcesses().empty(); ++i) {
        usleep(50000);
    }
    EXPECT_TRUE(BackendProcesses().empty());
    ExpectSecondJobGetsItsOwnAnswer(iOfficeJobs);
}

} // namespace
