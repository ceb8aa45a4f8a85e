// Fifty jobs from two users, sent as fast as lp goes, each user's
// OrvprintD answering at once (alice: office and her project, bob:
// basement without one): every job is printed once, on its own user's
// printer, in the order it was sent, with one accounting line each.
#include <algorithm>
#include <dirent.h>
#include <gtest/gtest.h>
#include <map>
#include <sys/stat.h>
#include <unistd.h>
#include "tests/service/cups/CupsTestHelpers.h"

namespace {

using namespace orvtest;

const char BOB[] = "orvtest-cups-bob";
const int JOBS_PER_USER = 25;

// The captured jobs of one queue, by forwarded job id.
std::map<int, std::string> Captured(const std::string& strFolder, const std::string& strQueue)
{
    std::map<int, std::string> mapOut;
    DIR* pDir = opendir(strFolder.c_str());
    if (!pDir) {
        return mapOut;
    }
    const std::string strPrefix = strQueue + "-";
    while (struct dirent* pEntry = readdir(pDir)) {
        const std::string strName = pEntry->d_name;
        if (strName.compare(0, strPrefix.size(), strPrefix) != 0 ||
            strName.find_first_not_of("0123456789", strPrefix.size()) != std::string::npos) {
            continue;
        }
        mapOut[std::stoi(strName.substr(strPrefix.size()))] = ReadAll(strFolder + "/" + strName);
    }
    closedir(pDir);
    return mapOut;
}

class CupsManyJobsTest : public CupsServiceTest {
protected:
    static void SetUpTestSuite()
    {
        CupsServiceTest::SetUpTestSuite();
        if (s_strSkip.empty() && s_strSetupError.empty()) {
            s_pBob = new CTestUser(BOB);
            s_strSetupError = s_pBob->GetError();
        }
    }

    static void TearDownTestSuite()
    {
        CupsServiceTest::TearDownTestSuite();
        delete s_pBob;
        s_pBob = nullptr;
    }

    static CTestUser* s_pBob;
};

CTestUser* CupsManyJobsTest::s_pBob = nullptr;

TEST_F(CupsManyJobsTest, FiftyJobsOfTwoUsersArePrintedOnceEachInOrder)
{
    const OrvService::CUserAccount& objBob = s_pBob->GetAccount();
    const std::string strBobRecords = m_strRecords + "-bob";
    ASSERT_EQ(0, mkdir(strBobRecords.c_str(), 0700));
    ASSERT_EQ(0, chown(strBobRecords.c_str(), objBob.GetUid(), objBob.GetGid()));
    const auto pAlice = StartReceiver(0, u"P1", u"J1");
    CTestReceiver::ANSWER stuBob;
    stuBob.strPrinterId = u"P2";
    CTestReceiver objBobReceiver(objBob, stuBob, strBobRecords);
    ASSERT_EQ("", objBobReceiver.GetStartError());
    const std::map<int, std::string> mapOfficeBefore = Captured(s_pCupsd->CaptureFolder(), "office");
    const std::map<int, std::string> mapBasementBefore = Captured(s_pCupsd->CaptureFolder(), "basement");

    std::vector<int> vecJobs;
    std::vector<std::string> vecAlice, vecBob;
    for (int i = 1; i <= JOBS_PER_USER; ++i) {
        for (const char* szUser : {USER, BOB}) {
            const bool bAlice = szUser == USER;
            const std::string strName = std::string(bAlice ? "alice" : "bob") + "-" + std::to_string(i);
            const std::string strText = strName + " of " + std::to_string(JOBS_PER_USER) + "\n";
            const std::string strFile = WriteDocument(strName + ".txt", strText);
            chmod(strFile.c_str(), 0644);
            std::string strError;
            const int iJob = s_pCupsd->Submit(szUser, SECURE_QUEUE, strName, strFile, strError);
            ASSERT_GT(iJob, 0) << strError;
            vecJobs.push_back(iJob);
            (bAlice ? vecAlice : vecBob).push_back(strText);
        }
    }
    for (int iJob : vecJobs) {
        const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_COMPLETED, WAIT_SECONDS);
        ASSERT_EQ(IPP_COMPLETED, stuState.iState) << "job " << iJob << ": " << stuState.strMessage;
    }
    // The forwarded jobs: each user's documents on that user's printer, in
    // the order they were sent, each once.
    std::vector<std::string> vecOffice, vecBasement;
    for (int i = 0; i < WAIT_SECONDS * 20; ++i) {
        vecOffice.clear();
        vecBasement.clear();
        for (const auto& stuJob : Captured(s_pCupsd->CaptureFolder(), "office")) {
            if (!mapOfficeBefore.count(stuJob.first)) {
                vecOffice.push_back(stuJob.second);
            }
        }
        for (const auto& stuJob : Captured(s_pCupsd->CaptureFolder(), "basement")) {
            if (!mapBasementBefore.count(stuJob.first)) {
                vecBasement.push_back(stuJob.second);
            }
        }
        if (vecOffice.size() >= vecAlice.size() && vecBasement.size() >= vecBob.size()) {
            break;
        }
        usleep(50000);
    }
    EXPECT_EQ(vecAlice, vecOffice);
    EXPECT_EQ(vecBob, vecBasement);

    // One accounting line per job, printed, on the right queue.
    for (size_t i = 0; i < vecJobs.size(); ++i) {
        const std::string strLines = AccountingLinesOf(s_pCupsd->AccountingLogPath(), vecJobs[i]);
        EXPECT_EQ(1, std::count(strLines.begin(), strLines.end(), '\n')) << strLines;
        EXPECT_NE(std::string::npos, strLines.find(i % 2 == 0 ? "\"queue\":\"office\"" : "\"queue\":\"basement\""))
            << strLines;
        EXPECT_NE(std::string::npos, strLines.find("\"outcome\":\"printed\"")) << strLines;
    }
}

} // namespace
