#include <sys/stat.h>
#include "tests/service/cups/CupsTestHelpers.h"

namespace {

using namespace orvtest;
using OrvService::CAccountingLog;

// The accounting log as the scheduler's backend keeps it.
class CupsAccountingTest : public CupsServiceTest {};

TEST_F(CupsAccountingTest, LogAndItsFolderAreMadeRootsWithTheirModes)
{
    const auto pReceiver = StartReceiver(1, u"", u"");
    const int iJob = Submit("Modes", WriteDocument("modes.txt", "modes\n"));
    ASSERT_EQ(IPP_CANCELED, s_pCupsd->WaitForJobState(iJob, IPP_CANCELED, WAIT_SECONDS).iState);
    const std::string strLog = s_pCupsd->AccountingLogPath();
    struct stat st = {};
    ASSERT_EQ(0, lstat(strLog.c_str(), &st));
    EXPECT_TRUE(S_ISREG(st.st_mode));
    EXPECT_EQ(0640u, st.st_mode & 07777);
    EXPECT_EQ(0u, st.st_uid);
    EXPECT_EQ(0u, st.st_gid);
    ASSERT_EQ(0, lstat(strLog.substr(0, strLog.rfind('/')).c_str(), &st));
    EXPECT_TRUE(S_ISDIR(st.st_mode));
    EXPECT_EQ(0750u, st.st_mode & 07777);
    EXPECT_EQ(0u, st.st_uid);
    EXPECT_EQ(0u, st.st_gid);
    EXPECT_EQ(ExpectedAccountingLine(TestJobEntry(iJob, "Modes", "text/plain", CAccountingLog::OUTCOME_CANCELLED)),
              AccountingLinesOf(strLog, iJob));
}

TEST_F(CupsAccountingTest, RefusedLogIsAWarningAndTheJobStillPrints)
{
    // A link planted in place of the log.
    const std::string strFolder = s_pCupsd->Folder() + "/planted";
    mkdir(strFolder.c_str(), 0750);
    const std::string strTarget = WriteDocument("planted-target", "target\n");
    ASSERT_EQ(0, symlink(strTarget.c_str(), (strFolder + "/accounting.jsonl").c_str()));
    WriteServiceConf(
        std::string(SERVICE_CONF).replace(0, 10, "[Service]\nAccountingLog=" + strFolder + "/accounting.jsonl\n"));
    const auto pReceiver = StartReceiver(0, u"P1", u"");
    const int iOfficeLast = s_pCupsd->LastJobId("office");
    const int iJob = Submit("Planted link", WriteDocument("planted.txt", "planted\n"));
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_COMPLETED, WAIT_SECONDS);
    ASSERT_EQ(IPP_COMPLETED, stuState.iState) << stuState.strMessage;
    const int iForwarded = s_pCupsd->WaitForJobAfter("office", iOfficeLast, WAIT_SECONDS);
    ASSERT_GT(iForwarded, 0);
    EXPECT_EQ(IPP_COMPLETED, s_pCupsd->WaitForJobState(iForwarded, IPP_COMPLETED, WAIT_SECONDS).iState);
    EXPECT_EQ("planted\n", ReadAll(s_pCupsd->CaptureFolder() + "/office-" + std::to_string(iForwarded)));
    EXPECT_EQ("target\n", ReadAll(strTarget));
    const std::string strWarning = "[Job " + std::to_string(iJob) +
                                   "] No accounting line was written for this job: the accounting log " + strFolder +
                                   "/accounting.jsonl is a link\n";
    const std::string strErrorLog = ReadAll(s_pCupsd->Folder() + "/log/error_log");
    EXPECT_NE(std::string::npos, strErrorLog.find(strWarning)) << strErrorLog;
}

TEST_F(CupsAccountingTest, RefusedLogLeavesAHeldJobsMessageAsItWas)
{
    const std::string strFolder = s_pCupsd->Folder() + "/open";
    mkdir(strFolder.c_str(), 0750);
    chmod(strFolder.c_str(), 0770);
    WriteServiceConf("[Service]\nAccountingLog=" + strFolder + "/accounting.jsonl\n[Printers]\n");
    const int iJob = Submit("Held, no log", WriteDocument("heldnolog.txt", "held\n"));
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_HELD, WAIT_SECONDS);
    EXPECT_EQ(IPP_HELD, stuState.iState);
    EXPECT_EQ(HeldMessage("Print service configuration error: " + s_pCupsd->ServiceConfPath() +
                              ", line 3: unknown section [Printers]",
                          iJob),
              stuState.strMessage);
    EXPECT_NE(0, access((strFolder + "/accounting.jsonl").c_str(), F_OK));
    const std::string strWarning = "[Job " + std::to_string(iJob) +
                                   "] No accounting line was written for this job: the accounting log folder " +
                                   strFolder + " may be written by group or others\n";
    const std::string strErrorLog = ReadAll(s_pCupsd->Folder() + "/log/error_log");
    EXPECT_NE(std::string::npos, strErrorLog.find(strWarning)) << strErrorLog;
}

} // namespace
