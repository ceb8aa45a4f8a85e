#include <algorithm>
#include <regex>
#include "tests/service/cups/CupsTestHelpers.h"

namespace {

using namespace orvtest;
using OrvService::CAccountingLog;

const char STAFF_GROUP[] = "orvtest-cups-staff";

const char PROJECTS_CONF[] = "[Service]\n"
                             "AnswerTimeoutSeconds=60\n"
                             "[Printer:P1]\n"
                             "Name=Office\n"
                             "Queue=office\n"
                             "[Project:MINE]\n"
                             "Name=Mine by name\n"
                             "Users=orvtest-cups-alice\n"
                             "[Project:OTHER]\n"
                             "Name=Another user's\n"
                             "Users=orvtest-cups-nobody\n"
                             "[Project:STAFF]\n"
                             "Name=Staff's\n"
                             "Users=@orvtest-cups-staff\n"
                             "[Project:OPEN]\n"
                             "Name=Everybody's\n"
                             "[Project:NOGROUP]\n"
                             "Name=Another group's\n"
                             "Users=@orvtest-cups-nogroup, orvtest-cups-bob\n"
                             "[Project:BOTH]\n"
                             "Name=Bob's and staff's\n"
                             "Users=orvtest-cups-bob, @orvtest-cups-staff\n";

// Projects offered by user and by group: the test user is a supplementary
// member of a group made for the suite.
class CupsProjectsTest : public CupsServiceTest {
protected:
    static void SetUpTestSuite()
    {
        StartSuite({});
        if (!s_strSkip.empty() || !s_strSetupError.empty()) {
            return;
        }
        std::string strOut, strErr;
        if (RunTool("/usr/bin/getent", {"group", STAFF_GROUP}, strOut, strErr) != 0) {
            if (RunTool("/usr/sbin/groupadd", {STAFF_GROUP}, strOut, strErr) != 0) {
                s_strSetupError = "groupadd " + std::string(STAFF_GROUP) + ": " + strErr;
                return;
            }
            s_bMadeGroup = true;
        }
        const std::vector<std::string>& vecGroups = s_objUser.GetGroupNames();
        if (std::find(vecGroups.begin(), vecGroups.end(), STAFF_GROUP) == vecGroups.end()) {
            if (RunTool("/usr/bin/gpasswd", {"-a", USER, STAFF_GROUP}, strOut, strErr) != 0) {
                s_strSetupError = "gpasswd -a: " + strErr;
                return;
            }
            s_bAddedMember = true;
        }
    }

    static void TearDownTestSuite()
    {
        std::string strOut, strErr;
        if (s_bAddedMember) {
            RunTool("/usr/bin/gpasswd", {"-d", USER, STAFF_GROUP}, strOut, strErr);
            s_bAddedMember = false;
        }
        if (s_bMadeGroup) {
            RunTool("/usr/sbin/groupdel", {STAFF_GROUP}, strOut, strErr);
            s_bMadeGroup = false;
        }
        CupsServiceTest::TearDownTestSuite();
    }

    static bool s_bMadeGroup;
    static bool s_bAddedMember;
};

bool CupsProjectsTest::s_bMadeGroup = false;
bool CupsProjectsTest::s_bAddedMember = false;

TEST_F(CupsProjectsTest, RequestListsTheProjectsOfTheUserAndTheUsersGroupsInFileOrder)
{
    WriteServiceConf(PROJECTS_CONF);
    const auto pReceiver = StartReceiver(1, u"", u"");
    const int iJob = Submit("Which projects", WriteDocument("projects.txt", "projects\n"));
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_CANCELED, WAIT_SECONDS);
    ASSERT_EQ(IPP_CANCELED, stuState.iState) << stuState.strMessage;
    const std::string strRequest = ReadAll(m_strRecords + "/request-1.bin");
    const CJobOptionData objRequest(strRequest.data(), strRequest.size());
    std::u16string strProjects;
    for (int i = 0; i < objRequest.GetProjectCount(); ++i) {
        CJobOptionData::PROJECT_INFO stuProject = {};
        objRequest.GetProjectInfo(static_cast<uint32_t>(i), stuProject);
        strProjects += std::u16string(stuProject.szProjectId) + u"=" + stuProject.szProjectName + u";";
    }
    EXPECT_EQ(u"MINE=Mine by name;STAFF=Staff's;OPEN=Everybody's;BOTH=Bob's and staff's;", strProjects);
}

TEST_F(CupsProjectsTest, ProjectOfTheUsersGroupIsCharged)
{
    WriteServiceConf(PROJECTS_CONF);
    const auto pReceiver = StartReceiver(0, u"P1", u"STAFF");
    const int iOfficeLast = s_pCupsd->LastJobId("office");
    const int iJob = Submit("Staff job", WriteDocument("staff.txt", "staff\n"));
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_COMPLETED, WAIT_SECONDS);
    ASSERT_EQ(IPP_COMPLETED, stuState.iState) << stuState.strMessage;
    const int iForwarded = s_pCupsd->WaitForJobAfter("office", iOfficeLast, WAIT_SECONDS);
    ASSERT_GT(iForwarded, 0);
    EXPECT_EQ(IPP_COMPLETED, s_pCupsd->WaitForJobState(iForwarded, IPP_COMPLETED, WAIT_SECONDS).iState);
    EXPECT_EQ("staff\n", ReadAll(s_pCupsd->CaptureFolder() + "/office-" + std::to_string(iForwarded)));
    const std::regex rePageLine("(^|\n)office orvtest-cups-alice " + std::to_string(iForwarded) +
                                " \\[[^\\]]*\\] total [0-9]+ STAFF ");
    EXPECT_TRUE(std::regex_search(s_pCupsd->PageLog(), rePageLine)) << s_pCupsd->PageLog();

    CAccountingLog::ENTRY stuEntry = TestJobEntry(iJob, "Staff job", "text/plain", CAccountingLog::OUTCOME_PRINTED);
    stuEntry.oPrinter = "P1";
    stuEntry.oQueue = "office";
    stuEntry.oProject = "STAFF";
    stuEntry.oForwarded = iForwarded;
    EXPECT_EQ(ExpectedAccountingLine(stuEntry), AccountingLinesOf(s_pCupsd->AccountingLogPath(), iJob));
}

TEST_F(CupsProjectsTest, ProjectOfAnotherUserOrGroupIsRefused)
{
    WriteServiceConf(PROJECTS_CONF);
    for (const std::u16string& strProject : {std::u16string(u"NOGROUP"), std::u16string(u"OTHER")}) {
        const std::string strId(strProject.begin(), strProject.end());
        const auto pReceiver = StartReceiver(0, u"P1", strProject);
        const int iOfficeJobs = s_pCupsd->CountJobs("office");
        const int iJob = Submit("Not my project", WriteDocument("notmine.txt", "not mine\n"));
        const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_HELD, WAIT_SECONDS);
        EXPECT_EQ(IPP_HELD, stuState.iState) << strId;
        const std::string strReason =
            "OrvprintD of user orvtest-cups-alice chose project " + strId + ", which was not offered";
        EXPECT_EQ(HeldMessage(strReason, iJob), stuState.strMessage);
        EXPECT_EQ(iOfficeJobs, s_pCupsd->CountJobs("office"));

        CAccountingLog::ENTRY stuEntry =
            TestJobEntry(iJob, "Not my project", "text/plain", CAccountingLog::OUTCOME_HELD);
        stuEntry.oPrinter = "P1";
        stuEntry.oProject = strId;
        stuEntry.oReason = strReason;
        EXPECT_EQ(ExpectedAccountingLine(stuEntry), AccountingLinesOf(s_pCupsd->AccountingLogPath(), iJob));
    }
}

} // namespace
