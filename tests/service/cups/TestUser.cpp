#include "tests/service/cups/TestUser.h"

#include <filesystem>
#include <unistd.h>
#include "tests/tools/ToolProcess.h"

namespace orvtest {

namespace {

std::string ChannelFolder(uid_t uid)
{
    return "/tmp/orvprint-" + std::to_string(uid);
}

} // namespace

CTestUser::CTestUser(const std::string& strName)
    : m_strName(strName)
{
    if (!OrvService::CUserAccount::Lookup(strName, m_objAccount)) {
        std::string strOut, strErr;
        if (RunTool("/usr/sbin/useradd", {"-M", "-d", "/nonexistent", "-s", "/usr/sbin/nologin", strName}, strOut,
                    strErr) != 0 ||
            !OrvService::CUserAccount::Lookup(strName, m_objAccount)) {
            m_strError = "could not make the test user " + strName + ": " + strErr;
            return;
        }
        m_bMade = true;
        // A channel folder of an earlier account with the same id is not
        // this new user's.
        std::error_code ec;
        std::filesystem::remove_all(ChannelFolder(m_objAccount.GetUid()), ec);
    }
    m_bChannelExisted = access(ChannelFolder(m_objAccount.GetUid()).c_str(), F_OK) == 0;
}

CTestUser::~CTestUser()
{
    if (m_objAccount.GetUid() != 0 && !m_bChannelExisted) {
        std::error_code ec;
        std::filesystem::remove_all(ChannelFolder(m_objAccount.GetUid()), ec);
    }
    if (m_bMade) {
        std::string strOut, strErr;
        RunTool("/usr/sbin/userdel", {m_strName}, strOut, strErr);
    }
}

} // namespace orvtest
