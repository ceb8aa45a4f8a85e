#pragma once

#include <string>
#include "service/PendingMarker.h"
#include "service/ScopedFd.h"
#include "service/AccountingLog.h"
#include "service/ServiceConfig.h"
#include "service/UserAccount.h"
#include "service/WorkerResult.h"

namespace OrvService {

// One run of the backend for one job, in its root part: argv is job id,
// user, title, copies, options and (optionally) the document's file; without
// it the document is read from standard input. The root part reads the
// configuration, looks the user up, opens the document and starts the
// worker (CJobWorker), which asks the user's OrvprintD as that user. It
// checks the worker's record against what was offered and forwards the job,
// or holds or cancels it. It never parses the document.
//
// Exit codes: 0 forwarded, 3 held (with job-hold-until=indefinite and a
// state message, at the ERROR level, that says why and how to release the
// job), 5 cancelled by the user. Every run ends with the job's line in the
// accounting log (CAccountingLog); when it cannot be written the job goes
// on and a WARNING: line says why.
class CBackend {
public:
    CBackend(int argc, char** argv);

    CBackend(const CBackend&) = delete;
    CBackend& operator=(const CBackend&) = delete;

    int Run();

private:
    int RunJob();
    void WriteAccounting() const;
    // Holds the job: "<strReason>; the job is held. Release it with: lp -i
    // QUEUE-ID -H resume" as its state message.
    int Hold(const std::string& strReason);
    int OpenDocument(std::string& strProblem) const;
    // Forks the worker and reads its record; false with the reason when the
    // worker gave none, or one that is not well-formed.
    bool AskThroughWorker(const CServiceConfig& objConfig, const CUserAccount& objAccount, int iDocumentFd,
                          int iMarkerFd, CWorkerResult& objResult, std::string& strProblem);
    // Takes the user's marker lock: one job of a user asks at a time. False
    // when the other job did not finish within its own time limits.
    bool WaitForTurn(const CServiceConfig& objConfig, const CPendingMarker& objMarker);
    // SIGTERM: the scheduler stops the job (cancelled, or shutting down).
    void InstallTermHandler();
    // Writes the accounting line and ends the process by SIGTERM, as the
    // scheduler expects of a backend it stopped.
    [[noreturn]] void EndByTerm();
    int Deliver(const CServiceConfig& objConfig, const CUserAccount& objAccount, int iDocumentFd,
                const CWorkerResult& objResult);

    std::string m_strJobId;
    std::string m_strUser;
    std::string m_strTitle;
    int m_iCopies;
    std::string m_strOptions;
    std::string m_strFile; // empty: standard input
    std::string m_strQueue; // this secure queue ($PRINTER)
    // Readable when the scheduler sent SIGTERM.
    CScopedFd m_objTermRead;
    std::string m_strAccountingLog;   // empty: none
    CAccountingLog::ENTRY m_stuEntry; // this run's accounting line, filled as it goes
};

} // namespace OrvService
