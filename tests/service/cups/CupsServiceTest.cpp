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
bool CupsServiceTest::s_bMadeUser = false;
bool CupsServiceTest::s_bChannelExisted = false;
int CupsServiceTest::s_iTest = 0;

void CupsServiceTest::StartSuite(const std::vector<std::string>& vecSetEnv)
{
    s_strSkip = CPrivateCupsd::MissingReason();
    if (!s_strSkip.empty()) {
        return;
    }
    std::string strOut, strErr;
    if (!OrvService::CUserAccount::Lookup(USER, s_objUser)) {
        if (orvtest::RunTool("/usr/sbin/useradd", {"-M", "-d", "/nonexistent", "-s", "/usr/sbin/nologin", USER}, strOut,
                             strErr) != 0 ||
            !OrvService::CUserAccount::Lookup(USER, s_objUser)) {
            s_strSkip = "could not make the test user " + std::string(USER) + ": " + strErr;
            return;
        }
        s_bMadeUser = true;
    }
    const std::string strChannel = "/tmp/orvprint-" + std::to_string(s_objUser.GetUid());
    s_bChannelExisted = access(strChannel.c_str(), F_OK) == 0;
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
    if (s_objUser.GetUid() != 0 && !s_bChannelExisted) {
        std::error_code ec;
        std::filesystem::remove_all("/tmp/orvprint-" + std::to_string(s_objUser.GetUid()), ec);
    }
    if (s_bMadeUser) {
        std::string strOut, strErr;
        orvtest::RunTool("/usr/sbin/userdel", {USER}, strOut, strErr);
    }
}

} // namespace orvtest
