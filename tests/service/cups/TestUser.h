#pragma once

#include <string>
#include "service/UserAccount.h"

namespace orvtest {

// An unprivileged account for a test run: looked up, or made (no home, no
// shell) when missing. Whatever the run made (the account, its channel
// folder /tmp/orvprint-UID) goes again when this object goes.
class CTestUser {
public:
    explicit CTestUser(const std::string& strName);
    ~CTestUser();

    CTestUser(const CTestUser&) = delete;
    CTestUser& operator=(const CTestUser&) = delete;

    // Empty when the account is there, else why not.
    const std::string& GetError() const { return m_strError; }
    const OrvService::CUserAccount& GetAccount() const { return m_objAccount; }

private:
    std::string m_strName;
    OrvService::CUserAccount m_objAccount;
    std::string m_strError;
    bool m_bMade = false;
    bool m_bChannelExisted = true;
};

} // namespace orvtest
