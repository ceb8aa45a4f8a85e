#pragma once

#include "service/UserAccount.h"
#include "tests/service/cups/PrivateCupsd.h"
#include "tests/service/cups/TestReceiver.h"
#include "tests/service/cups/TestUser.h"
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace orvtest {

inline const char USER[] = "orvtest-cups-alice";
inline const char SECURE_QUEUE[] = "SecurePrint";
inline const int IPP_HELD = 4;
inline const int IPP_CANCELED = 7;
inline const int IPP_COMPLETED = 9;
inline const int WAIT_SECONDS = 60;

inline const char SERVICE_CONF[] = "[Service]\n"
                                   "AnswerTimeoutSeconds=60\n"
                                   "\n"
                                   "[Printer:P1]\n"
                                   "Name=Office\n"
                                   "Queue=office\n"
                                   "[Printer:P2]\n"
                                   "Name=Basement\n"
                                   "Queue=basement\n"
                                   "MaxPagesPerJob=2\n"
                                   "\n"
                                   "[Project:J1]\n"
                                   "Name=Research\n"
                                   "Users=orvtest-cups-alice\n"
                                   "[Project:J2]\n"
                                   "Name=Somebody else's\n"
                                   "Users=orvtest-cups-nobody\n";

inline std::string ReadAll(const std::string& strPath)
{
    std::ifstream file(strPath, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// One private scheduler with the secure queue (policy orvprint) and two
// capture printers, and one test user, for all tests of a suite derived from
// this one. The user submits the jobs itself.
class CupsServiceTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { StartSuite({}); }
    // The suite's scheduler, with more SetEnv lines ("NAME VALUE") for the
    // backend.
    static void StartSuite(const std::vector<std::string>& vecSetEnv);

    static void TearDownTestSuite();

    void SetUp() override
    {
        if (!s_strSkip.empty()) {
            GTEST_SKIP() << s_strSkip;
        }
        ASSERT_EQ("", s_strSetupError);
        WriteServiceConf(SERVICE_CONF);
        // Where the receiver keeps the requests it got: the user's to write.
        m_strRecords = s_pCupsd->Folder() + "/requests-" + std::to_string(++s_iTest);
        mkdir(m_strRecords.c_str(), 0700);
        ASSERT_EQ(0, chown(m_strRecords.c_str(), s_objUser.GetUid(), s_objUser.GetGid()));
    }

    void WriteServiceConf(const std::string& strText)
    {
        std::ofstream file(s_pCupsd->ServiceConfPath(), std::ios::binary | std::ios::trunc);
        file << strText;
    }

    std::string WriteDocument(const std::string& strName, const std::string& strBytes)
    {
        const std::string strPath = s_pCupsd->Folder() + "/" + strName;
        std::ofstream file(strPath, std::ios::binary | std::ios::trunc);
        file << strBytes;
        return strPath;
    }

    std::unique_ptr<CTestReceiver> StartReceiver(int iResult, const std::u16string& strPrinter,
                                                 const std::u16string& strProject)
    {
        CTestReceiver::ANSWER stuAnswer;
        stuAnswer.iResult = iResult;
        stuAnswer.strPrinterId = strPrinter;
        stuAnswer.strProjectId = strProject;
        auto pReceiver = std::make_unique<CTestReceiver>(s_objUser, stuAnswer, m_strRecords);
        EXPECT_EQ("", pReceiver->GetStartError());
        return pReceiver;
    }

    int Submit(const std::string& strTitle, const std::string& strFile)
    {
        std::string strError;
        const int iJob = s_pCupsd->Submit(USER, SECURE_QUEUE, strTitle, strFile, strError);
        EXPECT_GT(iJob, 0) << strError;
        return iJob;
    }

    std::string HeldMessage(const std::string& strReason, int iJob) const
    {
        return strReason + "; the job is held. Release it with: lp -i " + SECURE_QUEUE + "-" + std::to_string(iJob) +
               " -H resume";
    }

    // Set by a suite before SetUpTestSuite() when its scheduler must also
    // listen on the network (CPrivateCupsd).
    static std::string s_strNetworkHost;
    static int s_iNetworkPort;
    static std::string s_strSkip;
    static std::string s_strSetupError;
    static CPrivateCupsd* s_pCupsd;
    static OrvService::CUserAccount s_objUser;
    static CTestUser* s_pUser;
    static int s_iTest;
    std::string m_strRecords;
};

} // namespace orvtest
