#include "service/JobWorker.h"

#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <cups/cups.h>
#include <fcntl.h>
#include <map>
#include <unistd.h>
#include "Src/Common/include/JobSelectedData.h"
#include "Src/PrintingService/Common/Include/MsgQueueSender.h"
#include "language/TextConvert.h"
#include "service/JobRequest.h"
#include "service/PageCounter.h"
#include "service/PendingMarker.h"
#include "service/PrivilegeDrop.h"
#include "service/ReceiverIdentity.h"
#include "service/ServiceClock.h"
#include "utility/NamedMutexProbe.h"

namespace OrvService {

namespace {

// The worker says nothing to the scheduler: only the root part's lines on
// standard error reach it.
void SilenceStandardStreams()
{
    const int iNull = open("/dev/null", O_RDWR | O_CLOEXEC);
    if (iNull >= 0) {
        dup2(iNull, STDIN_FILENO);
        dup2(iNull, STDOUT_FILENO);
        dup2(iNull, STDERR_FILENO);
        if (iNull > STDERR_FILENO) {
            close(iNull);
        }
    }
}

} // namespace

CJobWorker::CJobWorker(const CServiceConfig& objConfig, const CUserAccount& objAccount, int iDocumentFd, int iCopies,
                       int iMarkerFd, int iResultFd)
    : m_objConfig(objConfig)
    , m_objAccount(objAccount)
    , m_iDocumentFd(iDocumentFd)
    , m_iCopies(iCopies)
    , m_iMarkerFd(iMarkerFd)
    , m_iResultFd(iResultFd)
{
}

int CJobWorker::Run()
{
    signal(SIGPIPE, SIG_IGN);
    SilenceStandardStreams();
    std::string strProblem;
    if (!CPrivilegeDrop::DropTo(m_objAccount, strProblem)) {
        WriteResult(CWorkerResult(CWorkerResult::OUTCOME_FAILED, u"", u"", 0));
        return 1;
    }
    // The user's own channel: the "Global\" names in the user's private
    // folder, never a folder named from outside.
    unsetenv("ORVPRINT_SHM_DIR");
    unsetenv("XDG_RUNTIME_DIR");

    const long long llPages = static_cast<long long>(CPageCounter::CountPages(m_iDocumentFd)) * m_iCopies;
    const int iPageTotal = llPages > INT_MAX ? INT_MAX : static_cast<int>(llPages);
    return WriteResult(Ask(iPageTotal)) ? 0 : 1;
}

std::vector<int> CJobWorker::CountQueueJobs() const
{
    // One question for all queues: each one's queued-job-count (its jobs
    // not yet done), rather than one list of jobs per queue.
    std::map<std::string, int> mapCounts;
    ipp_t* pRequest = ippNewRequest(IPP_OP_CUPS_GET_PRINTERS);
    static const char* const s_aszAttributes[] = {"printer-name", "queued-job-count"};
    ippAddStrings(pRequest, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", 2, nullptr, s_aszAttributes);
    ipp_t* pResponse = cupsDoRequest(CUPS_HTTP_DEFAULT, pRequest, "/");
    std::string strName;
    int iCount = 0;
    for (ipp_attribute_t* pAttr = pResponse ? ippFirstAttribute(pResponse) : nullptr;;
         pAttr = ippNextAttribute(pResponse)) {
        // Each printer's attributes form one group; a separator or the end closes it.
        if (!pAttr || !ippGetName(pAttr)) {
            if (!strName.empty()) {
                mapCounts[strName] = iCount;
            }
            strName.clear();
            iCount = 0;
            if (!pAttr) {
                break;
            }
            continue;
        }
        const std::string strAttr = ippGetName(pAttr);
        if (strAttr == "printer-name" && ippGetValueTag(pAttr) == IPP_TAG_NAME) {
            strName = ippGetString(pAttr, 0, nullptr);
        } else if (strAttr == "queued-job-count" && ippGetValueTag(pAttr) == IPP_TAG_INTEGER) {
            iCount = ippGetInteger(pAttr, 0);
        }
    }
    ippDelete(pResponse);
    std::vector<int> vecJobs;
    for (const CServiceConfig::PRINTER_ENTRY& stuPrinter : m_objConfig.GetPrinters()) {
        const auto it = mapCounts.find(stuPrinter.strQueue);
        vecJobs.push_back(it == mapCounts.end() || it->second < 0 ? 0 : it->second);
    }
    return vecJobs;
}

CWorkerResult CJobWorker::Ask(int iPageTotal)
{
    using OrvUtility::CMsgQueueLayout;
    using OrvUtility::CMsgQueueSender;
    const CWorkerResult objFailed(CWorkerResult::OUTCOME_FAILED, u"", u"", iPageTotal);

    OrvUtility::CNamedMutexProbe objProbe(CMsgQueueLayout::ExistenceMutexName(ORVPRINT_QUEUE_NAME));
    if (objProbe.Probe() != OrvUtility::NAMED_MUTEX_OWNED) {
        // No OrvprintD: no dialog of an ended job can be open either.
        CPendingMarker::Clear(m_iMarkerFd);
        return CWorkerResult(CWorkerResult::OUTCOME_NOT_RUNNING, u"", u"", iPageTotal);
    }

    std::string strRequest;
    try {
        const CJobRequest objRequest(m_objConfig,
                                     m_objConfig.VisibleProjects(m_objAccount.GetName(), m_objAccount.GetGroupNames()),
                                     iPageTotal, CountQueueJobs(), CServiceClock::MinuteOfDay());
        strRequest = objRequest.Build();
    } catch (const std::exception&) {
        return objFailed;
    }

    CMsgQueueSender objSender;
    if (!objSender.IsOpen()) {
        return objFailed;
    }
    const std::string strReceiver = CReceiverIdentity::Current();
    uint32_t uiTimeoutMs = static_cast<uint32_t>(m_objConfig.GetAnswerTimeoutSeconds()) * 1000u;
    if (!SettleEarlierRequest(objSender, strReceiver, uiTimeoutMs)) {
        return CWorkerResult(CWorkerResult::OUTCOME_EARLIER_OPEN, u"", u"", iPageTotal);
    }
    if (!CPendingMarker::MarkPending(m_iMarkerFd, strReceiver)) {
        return objFailed;
    }
    CMsgQueueSender::REPLY stuReply;
    const CMsgQueueSender::SendResult eSent =
        objSender.Send(reinterpret_cast<const uint8_t*>(strRequest.data()), strRequest.size(), uiTimeoutMs, stuReply);
    if (eSent != CMsgQueueSender::SEND_TIMED_OUT) {
        // Answered, or never open: a request still open when the time ran
        // out stays marked, and the user's next job waits for its answer.
        CPendingMarker::Clear(m_iMarkerFd);
    }
    switch (eSent) {
    case CMsgQueueSender::SEND_ANSWERED:
        break;
    case CMsgQueueSender::SEND_NO_RECEIVER:
        return CWorkerResult(CWorkerResult::OUTCOME_RECEIVER_GONE, u"", u"", iPageTotal);
    case CMsgQueueSender::SEND_TIMED_OUT:
    case CMsgQueueSender::SEND_SENDERS_TIMED_OUT:
        return CWorkerResult(CWorkerResult::OUTCOME_TIMED_OUT, u"", u"", iPageTotal);
    default:
        return objFailed;
    }
    if (stuReply.uiResultCode == CMsgQueueLayout::RESULT_QUITTING) {
        return CWorkerResult(CWorkerResult::OUTCOME_RECEIVER_GONE, u"", u"", iPageTotal);
    }
    const CWorkerResult objBad(CWorkerResult::OUTCOME_BAD_ANSWER, u"", u"", iPageTotal);
    if (stuReply.uiResultCode != CMsgQueueLayout::RESULT_SERVED ||
        stuReply.uiResponseLength != CJobSelectedData::TOTAL_BUFFER_SIZE ||
        stuReply.vecResponse.size() != CJobSelectedData::TOTAL_BUFFER_SIZE) {
        return objBad;
    }
    CJobSelectedData objAnswer(stuReply.vecResponse.data(), stuReply.vecResponse.size());
    if (objAnswer.GetResult() == CJobSelectedData::RESULT_CANCEL) {
        return CWorkerResult(CWorkerResult::OUTCOME_CANCELLED, u"", u"", iPageTotal);
    }
    if (objAnswer.GetResult() != CJobSelectedData::RESULT_OK) {
        return objBad;
    }
    const std::u16string strPrinterId = objAnswer.GetPrinterId();
    const std::u16string strProjectId = objAnswer.GetProjectId();
    if (strPrinterId.size() >= CJobSelectedData::ID_CHARS || strProjectId.size() >= CJobSelectedData::ID_CHARS) {
        return objBad; // no terminator
    }
    return CWorkerResult(CWorkerResult::OUTCOME_OK, strPrinterId, strProjectId, iPageTotal);
}

bool CJobWorker::SettleEarlierRequest(OrvUtility::CMsgQueueSender& objSender, const std::string& strReceiver,
                                      uint32_t& uiTimeoutMs) const
{
    using OrvUtility::CMsgQueueSender;
    const std::string strPending = CPendingMarker::ReadPending(m_iMarkerFd);
    if (strPending.empty()) {
        return true;
    }
    if (strPending != (strReceiver.empty() ? "-" : strReceiver)) {
        // Marked by a job that asked another OrvprintD, which is gone.
        CPendingMarker::Clear(m_iMarkerFd);
        return true;
    }
    const auto tpStart = std::chrono::steady_clock::now();
    switch (objSender.AwaitAbandonedAnswer(uiTimeoutMs)) {
    case CMsgQueueSender::SEND_ANSWERED:
    case CMsgQueueSender::SEND_NO_RECEIVER:
        CPendingMarker::Clear(m_iMarkerFd);
        break;
    default:
        return false;
    }
    const auto llSpent =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - tpStart).count();
    uiTimeoutMs = llSpent >= uiTimeoutMs ? 1u : uiTimeoutMs - static_cast<uint32_t>(llSpent);
    return true;
}

bool CJobWorker::WriteResult(const CWorkerResult& objResult) const
{
    const std::string strRecord = objResult.Encode();
    ssize_t iWritten;
    do {
        iWritten = write(m_iResultFd, strRecord.data(), strRecord.size());
    } while (iWritten < 0 && errno == EINTR);
    return iWritten == static_cast<ssize_t>(strRecord.size());
}

} // namespace OrvService
