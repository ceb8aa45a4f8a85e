#include "service/Backend.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cups/backend.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include "language/TextConvert.h"
#include "service/JobForwarder.h"
#include "service/JobOrigin.h"
#include "service/JobWorker.h"
#include "service/PendingMarker.h"
#include "service/QueuePolicy.h"
#include "service/ScopedFd.h"
#include "service/ServiceClock.h"

namespace OrvService {

namespace {

// Beyond the answer time, how long the worker may take for the rest (page
// count, queue counts) before it is ended and the job held.
const int WORKER_GRACE_SECONDS = 60;

std::string Utf8(const std::u16string& strText)
{
    return Language::Utf8FromWide(Language::WideFromUtf16(strText.c_str(), strText.size()));
}

// The scheduler stops a job (cancelled, or the scheduler shuts down) with
// SIGTERM: the handler only wakes the root part's waits through this pipe.
int g_iTermPipeWrite = -1;

void OnTerm(int)
{
    const int iErr = errno;
    const char chTerm = 'T';
    (void)!write(g_iTermPipeWrite, &chTerm, 1);
    errno = iErr;
}

long long MonotonicMs()
{
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<long long>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

} // namespace

CBackend::CBackend(int argc, char** argv)
    : m_strJobId(argv[1])
    , m_strUser(argv[2])
    , m_strTitle(argv[3])
    , m_iCopies(std::atoi(argv[4]) > 0 ? std::atoi(argv[4]) : 1)
    , m_strOptions(argv[5])
    , m_strFile(argc > 6 ? argv[6] : "")
{
    const char* szPrinter = std::getenv("PRINTER");
    m_strQueue = szPrinter && *szPrinter ? szPrinter : "orvprint";
    m_strAccountingLog = CServiceConfig::DefaultAccountingLog();
    m_stuEntry.llJob = std::atoll(m_strJobId.c_str());
    m_stuEntry.strUser = m_strUser;
    m_stuEntry.strTitle = m_strTitle;
    const char* szFormat = std::getenv("CONTENT_TYPE");
    m_stuEntry.strType = szFormat ? szFormat : "";
    m_stuEntry.iCopies = m_iCopies;
}

int CBackend::Hold(const std::string& strReason)
{
    m_stuEntry.eOutcome = CAccountingLog::OUTCOME_HELD;
    m_stuEntry.oReason = strReason;
    // At the ERROR level: the scheduler clears a job's INFO message when
    // the job leaves the processing state, but keeps an ERROR one.
    std::fprintf(stderr, "ERROR: %s; the job is held. Release it with: lp -i %s-%s -H resume\n", strReason.c_str(),
                 m_strQueue.c_str(), m_strJobId.c_str());
    std::fprintf(stderr, "ATTR: job-hold-until=indefinite\n");
    std::fflush(stderr);
    return CUPS_BACKEND_HOLD;
}

int CBackend::OpenDocument(std::string& strProblem) const
{
    if (!m_strFile.empty()) {
        // Opened as root and handed to the worker, which runs as the job's
        // user: never through a link, never a FIFO or a device.
        const int iFd = open(m_strFile.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW | O_NONBLOCK);
        if (iFd < 0) {
            strProblem = std::string("the job's document cannot be read (") + std::strerror(errno) + ")";
            return -1;
        }
        struct stat st;
        if (fstat(iFd, &st) != 0 || !S_ISREG(st.st_mode)) {
            close(iFd);
            strProblem = "the job's document is not a regular file";
            return -1;
        }
        return iFd;
    }
    // Standard input into a private spool copy: no name, mode 0600.
    const char* szTmp = std::getenv("TMPDIR");
    std::string strTemplate = std::string(szTmp && *szTmp ? szTmp : "/tmp") + "/orvprint-XXXXXX";
    const int iFd = mkostemp(&strTemplate[0], O_CLOEXEC);
    if (iFd < 0) {
        strProblem = std::string("no spool copy of the job can be made (") + std::strerror(errno) + ")";
        return -1;
    }
    unlink(strTemplate.c_str());
    fchmod(iFd, 0600);
    char achBuf[65536];
    for (;;) {
        const ssize_t iRead = read(STDIN_FILENO, achBuf, sizeof(achBuf));
        if (iRead < 0 && errno == EINTR) {
            continue;
        }
        if (iRead == 0) {
            return iFd;
        }
        if (iRead < 0 || write(iFd, achBuf, static_cast<size_t>(iRead)) != iRead) {
            strProblem = std::string("the job's document cannot be spooled (") + std::strerror(errno) + ")";
            close(iFd);
            return -1;
        }
    }
}

void CBackend::EndByTerm()
{
    // Ends this process as SIGTERM would have without the handler: the
    // scheduler sent it and expects that end.
    m_stuEntry.eOutcome = CAccountingLog::OUTCOME_CANCELLED;
    m_stuEntry.oReason = std::string("stopped by the scheduler");
    WriteAccounting();
    std::fflush(stderr);
    signal(SIGTERM, SIG_DFL);
    raise(SIGTERM);
    _exit(CUPS_BACKEND_FAILED);
}

bool CBackend::WaitForTurn(const CServiceConfig& objConfig, const CPendingMarker& objMarker)
{
    // As long as the other job may wait for its answer, and then some.
    const long long llDeadline =
        MonotonicMs() + (static_cast<long long>(objConfig.GetAnswerTimeoutSeconds()) + WORKER_GRACE_SECONDS) * 1000;
    int iPauseMs = 10;
    while (!objMarker.TryLock()) {
        if (MonotonicMs() >= llDeadline) {
            return false;
        }
        struct pollfd stuPoll = {m_objTermRead.Get(), POLLIN, 0};
        if (poll(&stuPoll, 1, iPauseMs) > 0) {
            EndByTerm();
        }
        iPauseMs = iPauseMs < 200 ? iPauseMs * 2 : 200;
    }
    return true;
}

bool CBackend::AskThroughWorker(const CServiceConfig& objConfig, const CUserAccount& objAccount, int iDocumentFd,
                                int iMarkerFd, CWorkerResult& objResult, std::string& strProblem)
{
    int aiPipe[2];
    if (pipe2(aiPipe, O_CLOEXEC) != 0) {
        strProblem = std::string("pipe failed (") + std::strerror(errno) + ")";
        return false;
    }
    CScopedFd objReadEnd(aiPipe[0]);
    CScopedFd objWriteEnd(aiPipe[1]);
    std::fflush(stderr);
    const pid_t pid = fork();
    if (pid < 0) {
        strProblem = std::string("fork failed (") + std::strerror(errno) + ")";
        return false;
    }
    if (pid == 0) {
        // The worker keeps only what it needs: the document, the marker and
        // the result pipe. The stop pipe's ends go, so that a worker (which
        // runs as the job's user) cannot stop its root part.
        objReadEnd.Reset();
        m_objTermRead.Reset();
        signal(SIGTERM, SIG_DFL);
        if (g_iTermPipeWrite >= 0) {
            close(g_iTermPipeWrite);
            g_iTermPipeWrite = -1;
        }
        CJobWorker objWorker(objConfig, objAccount, iDocumentFd, m_iCopies, iMarkerFd, objWriteEnd.Get());
        _exit(objWorker.Run());
    }
    objWriteEnd.Reset();

    // One record, then end of file; anything else is refused.
    std::string strRecord;
    const long long llDeadline =
        MonotonicMs() + (static_cast<long long>(objConfig.GetAnswerTimeoutSeconds()) + WORKER_GRACE_SECONDS) * 1000;
    bool bTimedOut = false;
    for (;;) {
        const long long llLeft = llDeadline - MonotonicMs();
        if (llLeft <= 0) {
            bTimedOut = true;
            break;
        }
        struct pollfd astuPoll[2] = {{objReadEnd.Get(), POLLIN, 0}, {m_objTermRead.Get(), POLLIN, 0}};
        const int iReady = poll(astuPoll, 2, llLeft > 60000 ? 60000 : static_cast<int>(llLeft));
        if (iReady < 0 && errno == EINTR) {
            continue;
        }
        if (iReady <= 0) {
            continue;
        }
        if (astuPoll[1].revents & POLLIN) {
            // Stopped by the scheduler: the worker goes too. A dialog it
            // left open stays marked for the user's next job.
            kill(pid, SIGTERM);
            int iStatus = 0;
            while (waitpid(pid, &iStatus, 0) < 0 && errno == EINTR) {
            }
            EndByTerm();
        }
        if (!(astuPoll[0].revents & (POLLIN | POLLHUP | POLLERR))) {
            continue;
        }
        char achBuf[256];
        const ssize_t iRead = read(objReadEnd.Get(), achBuf, sizeof(achBuf));
        if (iRead < 0 && errno == EINTR) {
            continue;
        }
        if (iRead <= 0) {
            break;
        }
        strRecord.append(achBuf, static_cast<size_t>(iRead));
        if (strRecord.size() > sizeof(CWorkerResult::RECORD)) {
            break;
        }
    }
    if (bTimedOut) {
        kill(pid, SIGKILL);
    }
    int iStatus = 0;
    while (waitpid(pid, &iStatus, 0) < 0 && errno == EINTR) {
    }
    if (bTimedOut) {
        strProblem = "its worker did not finish in time";
        return false;
    }
    if (strRecord.empty()) {
        strProblem = "its worker ended without a result";
        return false;
    }
    if (!CWorkerResult::Decode(strRecord.data(), strRecord.size(), objResult, strProblem)) {
        strProblem = "its worker's result was refused: " + strProblem;
        return false;
    }
    return true;
}

int CBackend::Deliver(const CServiceConfig& objConfig, const CUserAccount& objAccount, int iDocumentFd,
                      const CWorkerResult& objResult)
{
    const std::string strUser = objAccount.GetName();
    const std::string strPrinterId = Utf8(objResult.GetPrinterId());
    const std::string strProjectId = Utf8(objResult.GetProjectId());
    if (!strPrinterId.empty()) {
        m_stuEntry.oPrinter = strPrinterId;
    }
    if (!strProjectId.empty()) {
        m_stuEntry.oProject = strProjectId;
    }

    std::string strQueue;
    bool bRoaming = false;
    if (strPrinterId.empty()) {
        if (objConfig.GetRoamingQueue().empty()) {
            return Hold("OrvprintD of user " + strUser + " chose roaming printing, which is not offered");
        }
        strQueue = objConfig.GetRoamingQueue();
        bRoaming = true;
    } else {
        const CServiceConfig::PRINTER_ENTRY* pPrinter = objConfig.FindPrinter(strPrinterId);
        if (!pPrinter) {
            return Hold("OrvprintD of user " + strUser + " chose printer " + strPrinterId + ", which was not offered");
        }
        strQueue = pPrinter->strQueue;
    }
    if (!strProjectId.empty()) {
        bool bOffered = false;
        for (const CServiceConfig::PROJECT_ENTRY* pProject :
             objConfig.VisibleProjects(strUser, objAccount.GetGroupNames())) {
            bOffered = bOffered || pProject->strId == strProjectId;
        }
        if (!bOffered) {
            return Hold("OrvprintD of user " + strUser + " chose project " + strProjectId + ", which was not offered");
        }
    }

    CJobForwarder::JOB stuJob;
    stuJob.strUser = strUser;
    stuJob.strTitle = m_strTitle;
    stuJob.iCopies = m_iCopies;
    stuJob.strOptions = m_strOptions;
    const char* szFormat = std::getenv("CONTENT_TYPE");
    stuJob.strFormat = szFormat ? szFormat : "";
    stuJob.strBilling = strProjectId;
    stuJob.bHold = bRoaming;
    int iNewJobId = 0;
    std::string strError;
    CJobForwarder objForwarder;
    if (!objForwarder.Forward(iDocumentFd, strQueue, stuJob, iNewJobId, strError)) {
        return Hold("Queue " + strQueue + " refused the job (" + strError + ")");
    }
    std::fprintf(stderr, "INFO: Sent to %s as job %s-%d%s%s\n", strQueue.c_str(), strQueue.c_str(), iNewJobId,
                 strProjectId.empty() ? "" : ", project ", strProjectId.c_str());
    m_stuEntry.eOutcome = bRoaming ? CAccountingLog::OUTCOME_ROAMING : CAccountingLog::OUTCOME_PRINTED;
    m_stuEntry.oQueue = strQueue;
    m_stuEntry.oForwarded = iNewJobId;
    return CUPS_BACKEND_OK;
}

void CBackend::WriteAccounting() const
{
    std::string strProblem;
    if (m_strAccountingLog.empty()) {
        return;
    }
    if (geteuid() != 0) {
        strProblem = "the backend does not run as root";
    } else {
        CAccountingLog objLog(m_strAccountingLog);
        if (objLog.Append(m_stuEntry, time(nullptr), strProblem)) {
            return;
        }
    }
    std::fprintf(stderr, "WARNING: No accounting line was written for this job: %s\n", strProblem.c_str());
    std::fflush(stderr);
}

int CBackend::Run()
{
    signal(SIGPIPE, SIG_IGN);
    InstallTermHandler();
    const int iExit = RunJob();
    WriteAccounting();
    return iExit;
}

void CBackend::InstallTermHandler()
{
    int aiTerm[2];
    if (pipe2(aiTerm, O_CLOEXEC | O_NONBLOCK) == 0) {
        m_objTermRead.Reset(aiTerm[0]);
        g_iTermPipeWrite = aiTerm[1];
        struct sigaction stuAction = {};
        stuAction.sa_handler = OnTerm;
        sigemptyset(&stuAction.sa_mask);
        sigaction(SIGTERM, &stuAction, nullptr);
    }
}

int CBackend::RunJob()
{
    const std::string strClockWarning = CServiceClock::Warning();
    if (!strClockWarning.empty()) {
        std::fprintf(stderr, "WARNING: %s\n", strClockWarning.c_str());
    }
    CServiceConfig objConfig;
    try {
        objConfig = CServiceConfig::Load(CServiceConfig::ConfiguredPath());
    } catch (const CServiceConfigError& e) {
        m_strAccountingLog = e.GetAccountingLog().value_or(CServiceConfig::DefaultAccountingLog());
        return Hold(std::string("Print service configuration error: ") + e.what());
    }
    m_strAccountingLog = objConfig.GetAccountingLog();
    CUserAccount objAccount;
    if (!CUserAccount::Lookup(m_strUser, objAccount)) {
        return Hold("Unknown user " + m_strUser);
    }
    if (objAccount.GetUid() == 0) {
        return Hold("Jobs of root are not sent to OrvprintD");
    }
    if (geteuid() != 0) {
        return Hold("The orvprint backend must run as root (install it with mode 0700)");
    }
    // Who printed it: a job from the network is held whatever the queue's
    // policy, and a local one only goes on when the queue lets nobody
    // submit it in another user's name.
    std::string strReason = CJobOrigin::Check(m_strJobId);
    if (strReason.empty()) {
        strReason = CQueuePolicy::Check(m_strQueue);
    }
    if (!strReason.empty()) {
        return Hold(strReason);
    }
    std::string strProblem;
    CScopedFd objDocument(OpenDocument(strProblem));
    if (!objDocument.IsValid()) {
        return Hold("The print service cannot take the job: " + strProblem);
    }
    // The package installs the file with every key commented out: nothing
    // to offer until the administrator adds a printer (or a roaming queue).
    if (objConfig.GetPrinters().empty() && objConfig.GetRoamingQueue().empty()) {
        return Hold("The print service has no printers configured yet; add them to " +
                    CServiceConfig::ConfiguredPath());
    }
    CPendingMarker objMarker;
    if (!objMarker.Open(objAccount.GetUid(), strProblem)) {
        return Hold("The print service cannot keep track of its requests: " + strProblem);
    }
    if (!WaitForTurn(objConfig, objMarker)) {
        return Hold("Another job of user " + m_strUser + " is still waiting for OrvprintD");
    }

    CWorkerResult objResult;
    if (!AskThroughWorker(objConfig, objAccount, objDocument.Get(), objMarker.GetFd(), objResult, strProblem)) {
        return Hold("The print service could not ask OrvprintD of user " + m_strUser + ": " + strProblem);
    }
    // The worker counted pages times copies; 0: not counted.
    if (objResult.GetPageTotal() > 0) {
        m_stuEntry.oPages = objResult.GetPageTotal() / m_iCopies;
    }
    switch (objResult.GetOutcome()) {
    case CWorkerResult::OUTCOME_OK:
        return Deliver(objConfig, objAccount, objDocument.Get(), objResult);
    case CWorkerResult::OUTCOME_CANCELLED:
        m_stuEntry.eOutcome = CAccountingLog::OUTCOME_CANCELLED;
        std::fprintf(stderr, "INFO: Cancelled by user %s in OrvprintD\n", m_strUser.c_str());
        return CUPS_BACKEND_CANCEL;
    case CWorkerResult::OUTCOME_NOT_RUNNING:
        return Hold("OrvprintD is not running for user " + m_strUser);
    case CWorkerResult::OUTCOME_TIMED_OUT:
        return Hold("No answer from OrvprintD of user " + m_strUser + " within " +
                    std::to_string(objConfig.GetAnswerTimeoutSeconds()) + " seconds");
    case CWorkerResult::OUTCOME_RECEIVER_GONE:
        return Hold("OrvprintD of user " + m_strUser + " ended without answering");
    case CWorkerResult::OUTCOME_BAD_ANSWER:
        return Hold("OrvprintD of user " + m_strUser + " gave a malformed answer");
    case CWorkerResult::OUTCOME_EARLIER_OPEN:
        return Hold("OrvprintD of user " + m_strUser +
                    " still shows the dialog of an earlier job that was stopped; "
                    "answer or cancel it first");
    default:
        return Hold("The print service could not ask OrvprintD of user " + m_strUser);
    }
}

} // namespace OrvService
