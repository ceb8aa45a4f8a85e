#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace OrvService {

// A job's user as the system's user database knows it.
class CUserAccount {
public:
    CUserAccount() = default;

    // False when there is no such user.
    static bool Lookup(const std::string& strName, CUserAccount& objAccount);

    const std::string& GetName() const { return m_strName; }
    uid_t GetUid() const { return m_uid; }
    gid_t GetGid() const { return m_gid; }
    const std::string& GetHome() const { return m_strHome; }
    // The primary and supplementary groups, as the user gets them at log-on.
    const std::vector<gid_t>& GetGroupIds() const { return m_vecGids; }
    // Names of the primary and supplementary groups.
    const std::vector<std::string>& GetGroupNames() const { return m_vecGroupNames; }

private:
    std::string m_strName;
    uid_t m_uid = 0;
    gid_t m_gid = 0;
    std::string m_strHome;
    std::vector<gid_t> m_vecGids;
    std::vector<std::string> m_vecGroupNames;
};

} // namespace OrvService
