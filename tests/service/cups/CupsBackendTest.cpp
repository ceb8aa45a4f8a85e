#include <gtest/gtest.h>
#include <regex>
#include <vector>
#include "Src/Common/include/JobOptionData.h"
#include "tests/service/TestPdf.h"
#include "tests/service/cups/CupsServiceTest.h"
#include "tests/service/cups/CupsTestHelpers.h"
#include "tests/tools/ToolProcess.h"

namespace {

using namespace orvtest;

class CupsBackendTest : public CupsServiceTest {};

TEST_F(CupsBackendTest, NoReceiverHoldsTheJobSayingHowToReleaseIt)
{
    const int iOfficeJobs = s_pCupsd->CountJobs("office");
    const int iJob = Submit("nobody answers", WriteDocument("held.txt", "held\n"));
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_HELD, WAIT_SECONDS);
    EXPECT_EQ(IPP_HELD, stuState.iState);
    EXPECT_EQ(HeldMessage("OrvprintD is not running for user orvtest-cups-alice", iJob), stuState.strMessage);
    EXPECT_EQ(iOfficeJobs, s_pCupsd->CountJobs("office"));
}

TEST_F(CupsBackendTest, OkForwardsTheTextUnchangedWithTheProjectAsBilling)
{
    const auto pReceiver = StartReceiver(0, u"P1", u"J1");
    const int iOfficeLast = s_pCupsd->LastJobId("office");
    const std::string strBytes = std::string("Secure text\r\n\x01\xFF\xE4\xB8\x89 end\n", 22);
    const int iJob = Submit("Quarterly report", WriteDocument("report.txt", strBytes));
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_COMPLETED, WAIT_SECONDS);
    ASSERT_EQ(IPP_COMPLETED, stuState.iState) << stuState.strMessage;
    const int iForwarded = s_pCupsd->WaitForJobAfter("office", iOfficeLast, WAIT_SECONDS);
    ASSERT_GT(iForwarded, 0);
    EXPECT_EQ(IPP_COMPLETED, s_pCupsd->WaitForJobState(iForwarded, IPP_COMPLETED, WAIT_SECONDS).iState);

    // While the request was open the worker ran as the user for good, beside
    // the root part.
    const std::string strUid = std::to_string(s_objUser.GetUid());
    const std::string strGid = std::to_string(s_objUser.GetGid());
    const std::string strWorker = "Uid:\t" + strUid + "\t" + strUid + "\t" + strUid + "\t" + strUid + "\nGid:\t" +
                                  strGid + "\t" + strGid + "\t" + strGid + "\t" + strGid + "\nGroups:\t" + strGid +
                                  " \n\n";
    const std::string strBackends = ReadAll(m_strRecords + "/backends-1.txt");
    EXPECT_NE(std::string::npos, strBackends.find(strWorker)) << strBackends;
    EXPECT_NE(std::string::npos, strBackends.find("Uid:\t0\t0\t0\t0\n")) << strBackends;

    const std::string strCaptured = s_pCupsd->CaptureFolder() + "/office-" + std::to_string(iForwarded);
    EXPECT_EQ(strBytes, ReadAll(strCaptured));
    EXPECT_EQ("user=orvtest-cups-alice\ntitle=Quarterly "
              "report\ncopies=1\ncontent=text/plain\n",
              ReadAll(strCaptured + ".args"));
    const std::regex rePageLine("(^|\n)office orvtest-cups-alice " + std::to_string(iForwarded) +
                                " \\[[^\\]]*\\] total [0-9]+ J1 ");
    EXPECT_TRUE(std::regex_search(s_pCupsd->PageLog(), rePageLine)) << s_pCupsd->PageLog();

    // The request: both printers, only the user's own project, pages unknown.
    const std::string strRequest = ReadAll(m_strRecords + "/request-1.bin");
    const CJobOptionData objRequest(strRequest.data(), strRequest.size());
    ASSERT_EQ(2, objRequest.GetPrinterCount());
    ASSERT_EQ(1, objRequest.GetProjectCount());
    CJobOptionData::PROJECT_INFO stuProject;
    objRequest.GetProjectInfo(0, stuProject);
    EXPECT_EQ(u"J1", std::u16string(stuProject.szProjectId));
    CJobOptionData::PRINTER_INFO stuPrinter;
    objRequest.GetPrinterInfo(0, stuPrinter);
    EXPECT_EQ(u"P1", std::u16string(stuPrinter.szPrinterId));
    EXPECT_EQ(u"Office", std::u16string(stuPrinter.szPrinterName));
    EXPECT_EQ(0, stuPrinter.iPageTotal);
    EXPECT_FALSE(stuPrinter.bTooMayPages);
}

TEST_F(CupsBackendTest, OkForwardsThePdfWithItsPagesCounted)
{
    const auto pReceiver = StartReceiver(0, u"P2", u"");
    const int iBasementLast = s_pCupsd->LastJobId("basement");
    const std::string strPdf = orvtest::MakePdf(3);
    const int iJob = Submit("Three pages", WriteDocument("three.pdf", strPdf));
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_COMPLETED, WAIT_SECONDS);
    ASSERT_EQ(IPP_COMPLETED, stuState.iState) << stuState.strMessage;
    const int iForwarded = s_pCupsd->WaitForJobAfter("basement", iBasementLast, WAIT_SECONDS);
    ASSERT_GT(iForwarded, 0);
    EXPECT_EQ(IPP_COMPLETED, s_pCupsd->WaitForJobState(iForwarded, IPP_COMPLETED, WAIT_SECONDS).iState);
    const std::string strCaptured = s_pCupsd->CaptureFolder() + "/basement-" + std::to_string(iForwarded);
    EXPECT_EQ(strPdf, ReadAll(strCaptured));
    EXPECT_NE(std::string::npos, ReadAll(strCaptured + ".args").find("content=application/pdf\n"));
    const std::regex rePageLine("(^|\n)basement orvtest-cups-alice " + std::to_string(iForwarded) +
                                " \\[[^\\]]*\\] total [0-9]+ - ");
    EXPECT_TRUE(std::regex_search(s_pCupsd->PageLog(), rePageLine)) << s_pCupsd->PageLog();

    const std::string strRequest = ReadAll(m_strRecords + "/request-1.bin");
    const CJobOptionData objRequest(strRequest.data(), strRequest.size());
    ASSERT_EQ(2, objRequest.GetPrinterCount());
    CJobOptionData::PRINTER_INFO stuPrinter;
    objRequest.GetPrinterInfo(0, stuPrinter);
    EXPECT_EQ(3, stuPrinter.iPageTotal);
    EXPECT_FALSE(stuPrinter.bTooMayPages);
    objRequest.GetPrinterInfo(1, stuPrinter);
    EXPECT_EQ(3, stuPrinter.iPageTotal);
    EXPECT_EQ(2, stuPrinter.iMaxPagesPerJob);
    EXPECT_TRUE(stuPrinter.bTooMayPages);
}

TEST_F(CupsBackendTest, CancelCancelsTheJobAndPrintsNothing)
{
    const auto pReceiver = StartReceiver(1, u"", u"");
    const int iOfficeJobs = s_pCupsd->CountJobs("office");
    const int iBasementJobs = s_pCupsd->CountJobs("basement");
    const int iJob = Submit("Not wanted", WriteDocument("cancel.txt", "cancel me\n"));
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_CANCELED, WAIT_SECONDS);
    EXPECT_EQ(IPP_CANCELED, stuState.iState) << stuState.strMessage;
    EXPECT_EQ(iOfficeJobs, s_pCupsd->CountJobs("office"));
    EXPECT_EQ(iBasementJobs, s_pCupsd->CountJobs("basement"));
}

TEST_F(CupsBackendTest, AnswerThatWasNotOfferedHoldsTheJob)
{
    {
        const auto pReceiver = StartReceiver(0, u"P9", u"J1");
        const int iJob = Submit("Unknown printer", WriteDocument("p9.txt", "p9\n"));
        const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_HELD, WAIT_SECONDS);
        EXPECT_EQ(IPP_HELD, stuState.iState);
        EXPECT_EQ(HeldMessage("OrvprintD of user orvtest-cups-alice chose printer "
                              "P9, which was not offered",
                              iJob),
                  stuState.strMessage);
    }
    {
        const auto pReceiver = StartReceiver(0, u"P1", u"J2");
        const int iOfficeJobs = s_pCupsd->CountJobs("office");
        const int iJob = Submit("Somebody else's project", WriteDocument("j2.txt", "j2\n"));
        const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_HELD, WAIT_SECONDS);
        EXPECT_EQ(IPP_HELD, stuState.iState);
        EXPECT_EQ(HeldMessage("OrvprintD of user orvtest-cups-alice chose project "
                              "J2, which was not offered",
                              iJob),
                  stuState.strMessage);
        EXPECT_EQ(iOfficeJobs, s_pCupsd->CountJobs("office"));
    }
}

TEST_F(CupsBackendTest, MalformedAnswerHoldsTheJob)
{
    const auto pReceiver = StartReceiver(7, u"P1", u"J1");
    const int iOfficeJobs = s_pCupsd->CountJobs("office");
    const int iJob = Submit("Odd answer", WriteDocument("odd.txt", "odd\n"));
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_HELD, WAIT_SECONDS);
    EXPECT_EQ(IPP_HELD, stuState.iState);
    EXPECT_EQ(HeldMessage("OrvprintD of user orvtest-cups-alice gave a malformed answer", iJob), stuState.strMessage);
    EXPECT_EQ(iOfficeJobs, s_pCupsd->CountJobs("office"));
}

// The chosen printer's queue does not take the job: held with the
// scheduler's own reason, nothing printed anywhere.
TEST_F(CupsBackendTest, ForwardTheSchedulerRefusesHoldsTheJob)
{
    std::string strConf = SERVICE_CONF;
    strConf.replace(strConf.find("Queue=office\n"), 13, "Queue=gone\n");
    WriteServiceConf(strConf);
    const auto pReceiver = StartReceiver(0, u"P1", u"J1");
    const int iOfficeJobs = s_pCupsd->CountJobs("office");
    const int iBasementJobs = s_pCupsd->CountJobs("basement");
    const int iJob = Submit("Queue gone", WriteDocument("gone.txt", "gone\n"));
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_HELD, WAIT_SECONDS);
    EXPECT_EQ(IPP_HELD, stuState.iState);
    EXPECT_EQ(HeldMessage("Queue gone refused the job (The printer or class does not exist.)", iJob),
              stuState.strMessage);
    EXPECT_EQ(iOfficeJobs, s_pCupsd->CountJobs("office"));
    EXPECT_EQ(iBasementJobs, s_pCupsd->CountJobs("basement"));
}

TEST_F(CupsBackendTest, BadConfigurationHoldsTheJobNamingFileAndLine)
{
    const auto pReceiver = StartReceiver(0, u"P1", u"");
    WriteServiceConf("[Printer:P1]\nName=Office\nQueue=office\nMaxPagesPerJob=-1\n");
    const int iJob = Submit("Bad configuration", WriteDocument("conf.txt", "conf\n"));
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_HELD, WAIT_SECONDS);
    EXPECT_EQ(IPP_HELD, stuState.iState);
    EXPECT_EQ(HeldMessage("Print service configuration error: " + s_pCupsd->ServiceConfPath() +
                              ", line 4: MaxPagesPerJob must be a whole number of 0 or more",
                          iJob),
              stuState.strMessage);
}

} // namespace

namespace {

using namespace orvtest;

// The request tells, for each printer, how many jobs wait on its queue.
TEST_F(CupsBackendTest, RequestCountsTheJobsWaitingOnEachQueue)
{
    std::string strOut, strErr;
    ASSERT_EQ(0, RunTool("/usr/sbin/cupsdisable", {"basement"}, strOut, strErr)) << strErr;
    std::vector<int> vecWaiting;
    for (int i = 0; i < 2; ++i) {
        std::string strError;
        vecWaiting.push_back(s_pCupsd->Submit(USER, "basement", "Waiting", WriteDocument("wait.txt", "w\n"), strError));
        ASSERT_GT(vecWaiting.back(), 0) << strError;
    }
    const auto pReceiver = StartReceiver(1, u"", u"");
    const int iJob = Submit("Counting", WriteDocument("count.txt", "count\n"));
    EXPECT_EQ(IPP_CANCELED, s_pCupsd->WaitForJobState(iJob, IPP_CANCELED, WAIT_SECONDS).iState);
    RunTool("/usr/bin/cancel", {"-a", "basement"}, strOut, strErr);
    RunTool("/usr/sbin/cupsenable", {"basement"}, strOut, strErr);

    const std::string strRequest = ReadAll(m_strRecords + "/request-1.bin");
    ASSERT_EQ(2, CJobOptionData(strRequest.data(), strRequest.size()).GetPrinterCount());
    EXPECT_EQ(0, RequestPrinter(strRequest, 0).iPrintTaskTotal);
    EXPECT_EQ(2, RequestPrinter(strRequest, 1).iPrintTaskTotal);
}

} // namespace
