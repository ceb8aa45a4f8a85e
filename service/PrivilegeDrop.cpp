#include "service/PrivilegeDrop.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <grp.h>
#include <unistd.h>

namespace OrvService {

namespace {

std::string Failed(const char* szCall)
{
    return std::string(szCall) + " failed (" + std::strerror(errno) + ")";
}

} // namespace

bool CPrivilegeDrop::DropTo(const CUserAccount& objAccount, std::string& strProblem)
{
    if (objAccount.GetUid() == 0 || objAccount.GetGid() == 0) {
        strProblem = "the job's user is root";
        return false;
    }
    // The groups the root part found for the account (what initgroups
    // would ask the user database for once more).
    const std::vector<gid_t>& vecGids = objAccount.GetGroupIds();
    if (vecGids.empty()) {
        strProblem = "the user's groups are not known";
        return false;
    }
    if (setgroups(vecGids.size(), vecGids.data()) != 0) {
        strProblem = Failed("setgroups");
        return false;
    }
    if (setresgid(objAccount.GetGid(), objAccount.GetGid(), objAccount.GetGid()) != 0) {
        strProblem = Failed("setresgid");
        return false;
    }
    if (setresuid(objAccount.GetUid(), objAccount.GetUid(), objAccount.GetUid()) != 0) {
        strProblem = Failed("setresuid");
        return false;
    }
    uid_t uidReal, uidEffective, uidSaved;
    gid_t gidReal, gidEffective, gidSaved;
    if (getresuid(&uidReal, &uidEffective, &uidSaved) != 0 || getresgid(&gidReal, &gidEffective, &gidSaved) != 0 ||
        uidReal != objAccount.GetUid() || uidEffective != objAccount.GetUid() || uidSaved != objAccount.GetUid() ||
        gidReal != objAccount.GetGid() || gidEffective != objAccount.GetGid() || gidSaved != objAccount.GetGid()) {
        strProblem = "the user and group ids did not change";
        return false;
    }
    if (setuid(0) == 0 || seteuid(0) == 0 || setgid(0) == 0) {
        strProblem = "root could be taken back";
        return false;
    }
    setenv("HOME", objAccount.GetHome().c_str(), 1);
    setenv("USER", objAccount.GetName().c_str(), 1);
    setenv("LOGNAME", objAccount.GetName().c_str(), 1);
    return true;
}

} // namespace OrvService
