#include "tests/service/cups/CupsServiceTest.h"

#include "tests/tools/ToolProcess.h"
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace orvtest {

std::string CupsServiceTest::s_strNetworkHost;
int CupsServiceTest::s_iNetworkPort = 0;
std::string CupsServiceTest::s_strSkip;
std::string CupsServiceTest::s_strSetupError;
CPrivateCupsd* CupsServiceTest::s_pCupsd = nullptr;
OrvService::CUserAccount CupsServiceTest::s_objUser;
CTestUser* CupsServiceTest::s_pUser = nullptr;
int CupsServiceTest::s_iTest = 0;

void CupsServiceTest::StartSuite(const std::vector<std::string>& vecSetEnv)
{
    s_strSkip = CPrivateCupsd::MissingReason();
    if (!s_strSkip.empty()) {
        return;
    }
    s_pUser = new CTestUser(USER);
    if (!s_pUser->GetError().empty()) {
        s_strSkip = s_pUser->GetError();
        return;
    }
    s_objUser = s_pUser->GetAccount();
    s_pCupsd = new CPrivateCupsd(ORVPRINT_BACKEND_PATH, vecSetEnv, s_strNetworkHost, s_iNetworkPort);
    s_strSetupError = s_pCupsd->GetStartError();
    for (const std::string& strError : {s_pCupsd->AddQueue(SECURE_QUEUE, "orvprint:/", "orvprint"),
                                        s_pCupsd->AddCaptureQueue("office"), s_pCupsd->AddCaptureQueue("basement")}) {
        if (s_strSetupError.empty()) {
            s_strSetupError = strError;
        }
    }
}

void CupsServiceTest::TearDownTestSuite()
{
    delete s_pCupsd;
    s_pCupsd = nullptr;
    delete s_pUser;
    s_pUser = nullptr;
}

} // namespace orvtest
