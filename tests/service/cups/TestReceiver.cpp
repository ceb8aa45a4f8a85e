#include "tests/service/cups/TestReceiver.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <dirent.h>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include "Src/Common/include/JobSelectedData.h"
#include "Src/PrintingService/Common/Include/MsgQueueEx.h"
#include "service/PrivilegeDrop.h"
#include "tests/service/cups/BackendProcesses.h"
#include "utility/NamedMutexProbe.h"

namespace orvtest {

namespace {

using OrvUtility::CMsgQueueLayout;

// The credentials of the backend's processes, as /proc shows them to this
// user: one block per process, the pid's lines in order.
std::string BackendCredentials()
{
    std::string strOut;
    for (const BACKEND_PROCESS& stuProcess : BackendProcesses()) {
        strOut += stuProcess.strCredentials + "\n";
    }
    return strOut;
}

[[noreturn]] void ServeAs(const OrvService::CUserAccount& objAccount,
                          const std::vector<CTestReceiver::ANSWER>& vecAnswers, const std::string& strRecordFolder,
                          int iReadyFd, int iGateRead, int iEnteredWrite)
{
    std::string strProblem;
    if (!OrvService::CPrivilegeDrop::DropTo(objAccount, strProblem)) {
        _exit(20);
    }
    unsetenv("ORVPRINT_SHM_DIR");
    unsetenv("XDG_RUNTIME_DIR");
    OrvUtility::CMsgQueueEx objQueue(ORVPRINT_QUEUE_NAME, CMsgQueueLayout::JOB_REQUEST_CAPACITY,
                                     CMsgQueueLayout::JOB_RESPONSE_CAPACITY);
    if (objQueue.IsConstructionFailed()) {
        _exit(21);
    }
    int iRequests = 0;
    std::thread objLoop([&]() {
        objQueue.RecvMsgLoop([&](uint8_t* pbyRequest, uint64_t& uiRequestLength, uint8_t* pbyResponse,
                                 uint64_t& uiResponseLength) {
            std::ofstream file(strRecordFolder + "/request-" + std::to_string(++iRequests) + ".bin",
                               std::ios::binary);
            file.write(reinterpret_cast<const char*>(pbyRequest), static_cast<std::streamsize>(uiRequestLength));
            file.close();
            std::ofstream backends(strRecordFolder + "/backends-" + std::to_string(iRequests) + ".txt");
            backends << BackendCredentials();
            backends.close();
            if (iGateRead >= 0) {
                const char chEntered = 'E';
                char chGo = 0;
                if (write(iEnteredWrite, &chEntered, 1) != 1 || read(iGateRead, &chGo, 1) != 1) {
                    _exit(23);
                }
            }
            const CTestReceiver::ANSWER& stuAnswer =
                vecAnswers[std::min(static_cast<size_t>(iRequests), vecAnswers.size()) - 1];
            CJobSelectedData objAnswer(pbyResponse, uiResponseLength);
            objAnswer.SetResult(stuAnswer.iResult);
            objAnswer.ClearIds();
            objAnswer.SetPrinterId(stuAnswer.strPrinterId.c_str());
            objAnswer.SetProjectId(stuAnswer.strProjectId.c_str());
            uiResponseLength = CJobSelectedData::TOTAL_BUFFER_SIZE;
            if (stuAnswer.bGarbage) {
                std::fill(pbyResponse, pbyResponse + CJobSelectedData::TOTAL_BUFFER_SIZE, 0xFF);
            }
            if (stuAnswer.uiResponseLength) {
                uiResponseLength = stuAnswer.uiResponseLength;
            }
            return 0;
        });
    });
    OrvUtility::CNamedMutexProbe objProbe(CMsgQueueLayout::ExistenceMutexName(ORVPRINT_QUEUE_NAME));
    for (int i = 0; i < 1000 && objProbe.Probe() != OrvUtility::NAMED_MUTEX_OWNED; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    const char chReady = 'R';
    if (write(iReadyFd, &chReady, 1) != 1) {
        _exit(22);
    }
    objLoop.join();
    _exit(0);
}

} // namespace

CTestReceiver::CTestReceiver(const OrvService::CUserAccount& objAccount, const ANSWER& stuAnswer,
                             const std::string& strRecordFolder)
{
    Start(objAccount, {stuAnswer}, strRecordFolder, false);
}

CTestReceiver::CTestReceiver(const OrvService::CUserAccount& objAccount, const std::vector<ANSWER>& vecAnswers,
                             const std::string& strRecordFolder, bool bGated)
{
    Start(objAccount, vecAnswers, strRecordFolder, bGated);
}

void CTestReceiver::Start(const OrvService::CUserAccount& objAccount, const std::vector<ANSWER>& vecAnswers,
                          const std::string& strRecordFolder, bool bGated)
{
    int aiPipe[2];
    int aiGate[2] = {-1, -1};
    int aiEntered[2] = {-1, -1};
    if (vecAnswers.empty() || pipe2(aiPipe, O_CLOEXEC) != 0 ||
        (bGated && (pipe2(aiGate, O_CLOEXEC) != 0 || pipe2(aiEntered, O_CLOEXEC) != 0))) {
        m_strStartError = "pipe failed";
        return;
    }
    m_pid = fork();
    if (m_pid == 0) {
        close(aiPipe[0]);
        if (bGated) {
            close(aiGate[1]);
            close(aiEntered[0]);
        }
        ServeAs(objAccount, vecAnswers, strRecordFolder, aiPipe[1], aiGate[0], aiEntered[1]);
    }
    close(aiPipe[1]);
    if (bGated) {
        close(aiGate[0]);
        close(aiEntered[1]);
        m_iGateWrite = aiGate[1];
        m_iEnteredRead = aiEntered[0];
    }
    if (m_pid < 0) {
        close(aiPipe[0]);
        m_strStartError = "fork failed";
        return;
    }
    struct pollfd stuPoll = {aiPipe[0], POLLIN, 0};
    char chReady = 0;
    if (poll(&stuPoll, 1, 20000) != 1 || read(aiPipe[0], &chReady, 1) != 1 || chReady != 'R') {
        m_strStartError = "the receiver did not get ready within 20 s";
    }
    close(aiPipe[0]);
}

bool CTestReceiver::WaitForRequest(int iSeconds)
{
    struct pollfd stuPoll = {m_iEnteredRead, POLLIN, 0};
    char chEntered = 0;
    return m_iEnteredRead >= 0 && poll(&stuPoll, 1, iSeconds * 1000) == 1 && read(m_iEnteredRead, &chEntered, 1) == 1;
}

void CTestReceiver::Release()
{
    const char chGo = 'G';
    if (m_iGateWrite >= 0) {
        (void)!write(m_iGateWrite, &chGo, 1);
    }
}

CTestReceiver::~CTestReceiver()
{
    for (int iFd : {m_iGateWrite, m_iEnteredRead}) {
        if (iFd >= 0) {
            close(iFd);
        }
    }
    if (m_pid > 0) {
        kill(m_pid, SIGKILL);
        int iStatus = 0;
        waitpid(m_pid, &iStatus, 0);
    }
}

} // namespace orvtest
