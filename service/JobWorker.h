#pragma once

#include <string>
#include <vector>
#include "Src/PrintingService/Common/Include/MsgQueueSender.h"
#include "service/ServiceConfig.h"
#include "service/UserAccount.h"
#include "service/WorkerResult.h"

namespace OrvService {

// The backend's unprivileged part, run in a child process forked by the
// root part. It becomes the job's user for good before anything else, then
// counts the document's pages (through the descriptor it was given), builds
// the request, finds that user's own OrvprintD through the user's private
// channel folder, sends the request and waits for the answer. It writes one
// CWorkerResult record to the pipe and ends.
class CJobWorker {
public:
    // iMarkerFd: the user's pending marker (CPendingMarker), open and locked
    // by the root part.
    CJobWorker(const CServiceConfig& objConfig, const CUserAccount& objAccount, int iDocumentFd, int iCopies,
               int iMarkerFd, int iResultFd);

    CJobWorker(const CJobWorker&) = delete;
    CJobWorker& operator=(const CJobWorker&) = delete;

    // The whole of the child's work; the result is its exit status.
    int Run();

private:
    CWorkerResult Ask(int iPageTotal);
    // Before this job's request: waits (within the answer time, which it
    // shortens) for the answer to an ended job's request still open in the
    // same OrvprintD. False when that request is still open.
    bool SettleEarlierRequest(OrvUtility::CMsgQueueSender& objSender, const std::string& strReceiver,
                              uint32_t& uiTimeoutMs) const;
    std::vector<int> CountQueueJobs() const;
    bool WriteResult(const CWorkerResult& objResult) const;

    const CServiceConfig& m_objConfig;
    const CUserAccount& m_objAccount;
    int m_iDocumentFd;
    int m_iCopies;
    int m_iMarkerFd;
    int m_iResultFd;
};

} // namespace OrvService
