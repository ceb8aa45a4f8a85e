#pragma once

#include <string>
#include <sys/types.h>
#include "service/UserAccount.h"

namespace orvtest {

// A stand-in for a user's OrvprintD: a child process that becomes the user
// for good and serves the user's own job-option channel (CMsgQueueEx, in the
// user's private folder) with one fixed answer. Each request's bytes are
// kept as <record folder>/request-N.bin (N from 1), and the Uid:, Gid: and
// Groups: lines of every backend process (argv[0] "orvprint:/"), seen while
// the request is open, as <record folder>/backends-N.txt. Ready when constructed
// (its existence mutex is owned); killed by its pid when destroyed.
class CTestReceiver {
public:
    struct ANSWER {
        int iResult = 0;             // 0 OK, 1 cancel
        std::u16string strPrinterId;
        std::u16string strProjectId;
    };

    CTestReceiver(const OrvService::CUserAccount& objAccount, const ANSWER& stuAnswer,
                  const std::string& strRecordFolder);
    ~CTestReceiver();

    CTestReceiver(const CTestReceiver&) = delete;
    CTestReceiver& operator=(const CTestReceiver&) = delete;

    // Empty when it serves, else why not.
    const std::string& GetStartError() const { return m_strStartError; }

private:
    pid_t m_pid = -1;
    std::string m_strStartError;
};

} // namespace orvtest
