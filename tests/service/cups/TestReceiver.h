#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>
#include "service/UserAccount.h"

namespace orvtest {

// A stand-in for a user's OrvprintD: a child process that becomes the user
// for good and serves the user's own job-option channel (CMsgQueueEx, in the
// user's private folder) with one fixed answer. Each request's bytes are
// kept as <record folder>/request-N.bin (N from 1), and the Uid:, Gid: and
// Groups: lines of every backend process (argv[0] "orvprint:/"), seen while
// the request is open, as <record folder>/backends-N.txt. Ready when
// constructed (its existence mutex is owned); killed by its pid when destroyed.
class CTestReceiver {
public:
    struct ANSWER {
        int iResult = 0;             // 0 OK, 1 cancel
        std::u16string strPrinterId;
        std::u16string strProjectId;
        // Hostile receivers: the response length it claims (0: the
        // record's), and an answer of 0xFF bytes instead of a record.
        uint64_t uiResponseLength = 0;
        bool bGarbage = false;
    };

    CTestReceiver(const OrvService::CUserAccount& objAccount, const ANSWER& stuAnswer,
                  const std::string& strRecordFolder);
    // A receiver whose dialog stays open until the test says: request N is
    // answered with vecAnswers[N - 1] (the last one for the rest) once
    // Release() was called for it.
    CTestReceiver(const OrvService::CUserAccount& objAccount, const std::vector<ANSWER>& vecAnswers,
                  const std::string& strRecordFolder, bool bGated);
    ~CTestReceiver();

    CTestReceiver(const CTestReceiver&) = delete;
    CTestReceiver& operator=(const CTestReceiver&) = delete;

    // Empty when it serves, else why not.
    const std::string& GetStartError() const { return m_strStartError; }

    // Gated receiver: waits (at most iSeconds) until the next request is
    // open in it; false when none came.
    bool WaitForRequest(int iSeconds);
    // Gated receiver: lets the oldest open request be answered.
    void Release();

private:
    void Start(const OrvService::CUserAccount& objAccount, const std::vector<ANSWER>& vecAnswers,
               const std::string& strRecordFolder, bool bGated);

    pid_t m_pid = -1;
    int m_iGateWrite = -1;   // a byte: answer the open request
    int m_iEnteredRead = -1; // a byte: a request is open
    std::string m_strStartError;
};

} // namespace orvtest
