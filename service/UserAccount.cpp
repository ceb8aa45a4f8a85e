#include "service/UserAccount.h"

#include <grp.h>
#include <pwd.h>

namespace OrvService {

bool CUserAccount::Lookup(const std::string& strName, CUserAccount& objAccount)
{
    if (strName.empty()) {
        return false;
    }
    std::vector<char> vecBuf(16384);
    struct passwd pw;
    struct passwd* pResult = nullptr;
    if (getpwnam_r(strName.c_str(), &pw, vecBuf.data(), vecBuf.size(), &pResult) != 0 || !pResult) {
        return false;
    }
    objAccount = CUserAccount();
    objAccount.m_strName = pw.pw_name;
    objAccount.m_uid = pw.pw_uid;
    objAccount.m_gid = pw.pw_gid;
    objAccount.m_strHome = pw.pw_dir ? pw.pw_dir : "";

    int iGroups = 64;
    std::vector<gid_t> vecGids(static_cast<size_t>(iGroups));
    while (getgrouplist(pw.pw_name, pw.pw_gid, vecGids.data(), &iGroups) < 0) {
        vecGids.resize(static_cast<size_t>(iGroups) + 16);
        iGroups = static_cast<int>(vecGids.size());
    }
    vecGids.resize(static_cast<size_t>(iGroups));
    objAccount.m_vecGids = vecGids;
    std::vector<char> vecGroupBuf(65536);
    for (gid_t gid : vecGids) {
        struct group gr;
        struct group* pGroup = nullptr;
        if (getgrgid_r(gid, &gr, vecGroupBuf.data(), vecGroupBuf.size(), &pGroup) == 0 && pGroup) {
            objAccount.m_vecGroupNames.push_back(pGroup->gr_name);
        }
    }
    return true;
}

} // namespace OrvService
