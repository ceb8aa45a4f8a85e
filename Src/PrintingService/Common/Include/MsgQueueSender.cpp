#include "Src/PrintingService/Common/Include/MsgQueueSender.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include "Src/PrintingService/Common/Include/MsgQueueEx.h"
#include "language/ErrorText.h"
#include "logging/LogMacros.h"
#include "utility/NamedEvent.h"
#include "utility/NamedMutex.h"
#include "utility/SharedBlock.h"

namespace OrvUtility {

namespace {

typedef std::chrono::steady_clock Clock;

// How often a waiting sender checks that the receiver is still there.
const uint32_t PRESENCE_CHECK_MS = 1000;

uint32_t MillisecondsLeft(uint32_t uiTimeoutMs, Clock::time_point tpStart)
{
    if (uiTimeoutMs == NAMED_INFINITE) {
        return NAMED_INFINITE;
    }
    const auto msPassed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - tpStart).count();
    return msPassed >= static_cast<long long>(uiTimeoutMs) ? 0 : uiTimeoutMs - static_cast<uint32_t>(msPassed);
}

} // namespace

CMsgQueueSender::CMsgQueueSender(const std::wstring& strBaseName, uint64_t uiRequestCapacity,
                                 uint64_t uiResponseCapacity)
    : m_layout(uiRequestCapacity, uiResponseCapacity)
    , m_strExistenceMutexName(CMsgQueueLayout::ExistenceMutexName(strBaseName))
    , m_objExistenceProbe(m_strExistenceMutexName)
    , m_hMapFile(nullptr)
    , m_pbyBuffer(nullptr)
    , m_hEventSend(nullptr)
    , m_hEventResponse(nullptr)
    , m_hSenderMutex(nullptr)
    , m_uiOpenError(0)
{
    ORV_TRACE_SCOPE("OrvUtility::CMsgQueueSender::CMsgQueueSender");
    const std::pair<NamedHandle, uint8_t*> mapping =
        OpenOrCreateFileMapping(CMsgQueueLayout::BlockName(strBaseName), m_layout.BlockSize());
    m_hMapFile = mapping.first;
    m_pbyBuffer = mapping.second;
    if (!m_hMapFile || !m_pbyBuffer) {
        m_uiOpenError = Language::GetLastPlatformError();
        return;
    }
    m_hEventSend = OpenOrCreateEvent(CMsgQueueLayout::SendEventName(strBaseName));
    if (!m_hEventSend) {
        m_uiOpenError = Language::GetLastPlatformError();
        return;
    }
    m_hEventResponse = OpenOrCreateEvent(CMsgQueueLayout::ResponseEventName(strBaseName));
    if (!m_hEventResponse) {
        m_uiOpenError = Language::GetLastPlatformError();
        return;
    }
    m_hSenderMutex = CreateNamedMutex(CMsgQueueLayout::SenderMutexName(strBaseName).c_str(), false,
                                      EVERYONE_MUTEX_ALL_ACCESS);
    if (!m_hSenderMutex) {
        m_uiOpenError = Language::GetLastPlatformError();
        ORV_LOG_ERROR("%s(%d) : GetLastError() = %u", m_uiOpenError);
    }
}

CMsgQueueSender::~CMsgQueueSender()
{
    ORV_TRACE_SCOPE("OrvUtility::CMsgQueueSender::~CMsgQueueSender");
    if (m_pbyBuffer) {
        UnmapSharedBlock(m_pbyBuffer);
    }
    for (NamedHandle h : {m_hMapFile, m_hEventSend, m_hEventResponse, m_hSenderMutex}) {
        if (h) {
            CloseNamedObject(h);
        }
    }
}

bool CMsgQueueSender::IsOpen() const
{
    return m_hMapFile && m_pbyBuffer && m_hEventSend && m_hEventResponse && m_hSenderMutex;
}

bool CMsgQueueSender::IsReceiverPresent() const
{
    return m_objExistenceProbe.Probe() == NAMED_MUTEX_OWNED;
}

// Waits for the response event in slices, so that a receiver that went away
// without answering (its loop ended by an exception, or it was killed) does
// not keep the sender waiting for ever. True when answered.
bool CMsgQueueSender::WaitForAnswer(uint32_t uiTimeoutMs, SendResult& eResult)
{
    const Clock::time_point tpStart = Clock::now();
    for (;;) {
        const uint32_t uiLeft = MillisecondsLeft(uiTimeoutMs, tpStart);
        const uint32_t uiSlice = std::min(uiLeft, PRESENCE_CHECK_MS);
        const uint32_t dwWait = WaitForNamedEvent(m_hEventResponse, uiSlice);
        if (dwWait == NAMED_WAIT_OBJECT_0) {
            return true;
        }
        if (dwWait != NAMED_WAIT_TIMEOUT) {
            const uint32_t dwErr = Language::GetLastPlatformError();
            ORV_LOG_ERROR("%s(%d) : GetLastError() = %u", dwErr);
            eResult = SEND_PLATFORM_FAILURE;
            return false;
        }
        if (uiTimeoutMs != NAMED_INFINITE && uiLeft <= uiSlice) {
            eResult = SEND_TIMED_OUT;
            return false;
        }
        if (!IsReceiverPresent()) {
            // It may have answered just before it went.
            if (WaitForNamedEvent(m_hEventResponse, 0) == NAMED_WAIT_OBJECT_0) {
                return true;
            }
            ORV_LOG_ERROR("%s(%d) : %s", "The receiver went away without answering.");
            eResult = SEND_NO_RECEIVER;
            return false;
        }
    }
}

// The senders' mutex for one exchange; eResult is SEND_ANSWERED when it is
// held, else why not.
class CMsgQueueSender::CSenderLock {
public:
    CSenderLock(NamedHandle hMutex, uint32_t uiTimeoutMs, SendResult& eResult)
        : m_hMutex(nullptr)
    {
        const uint32_t dwLock = WaitNamedMutex(hMutex, uiTimeoutMs);
        if (dwLock == NAMED_WAIT_TIMEOUT) {
            eResult = SEND_SENDERS_TIMED_OUT;
            return;
        }
        if (dwLock != NAMED_WAIT_OBJECT_0 && dwLock != NAMED_WAIT_ABANDONED_0) {
            const uint32_t dwErr = Language::GetLastPlatformError();
            ORV_LOG_ERROR("%s(%d) : GetLastError() = %u", dwErr);
            eResult = SEND_PLATFORM_FAILURE;
            return;
        }
        m_hMutex = hMutex;
        eResult = SEND_ANSWERED;
    }
    ~CSenderLock()
    {
        if (m_hMutex) {
            ReleaseNamedMutex(m_hMutex);
        }
    }

    CSenderLock(const CSenderLock&) = delete;
    CSenderLock& operator=(const CSenderLock&) = delete;

private:
    NamedHandle m_hMutex;
};

CMsgQueueSender::SendResult CMsgQueueSender::AwaitAbandonedAnswer(uint32_t uiTimeoutMs)
{
    ORV_TRACE_SCOPE("OrvUtility::CMsgQueueSender::AwaitAbandonedAnswer");
    if (!IsOpen()) {
        return SEND_PLATFORM_FAILURE;
    }
    const Clock::time_point tpStart = Clock::now();
    SendResult eResult = SEND_ANSWERED;
    const CSenderLock objLock(m_hSenderMutex, uiTimeoutMs, eResult);
    if (eResult != SEND_ANSWERED) {
        return eResult;
    }
    // Answered already: the signal is still there, nobody took it.
    if (WaitForNamedEvent(m_hEventResponse, 0) == NAMED_WAIT_OBJECT_0) {
        return SEND_ANSWERED;
    }
    if (!IsReceiverPresent()) {
        return SEND_NO_RECEIVER;
    }
    WaitForAnswer(MillisecondsLeft(uiTimeoutMs, tpStart), eResult);
    return eResult;
}

CMsgQueueSender::SendResult CMsgQueueSender::Send(const uint8_t* pbyRequest, uint64_t uiLength, uint32_t uiTimeoutMs,
                                                  REPLY& stuReply)
{
    ORV_TRACE_SCOPE("OrvUtility::CMsgQueueSender::Send");
    stuReply = REPLY();
    if (!IsOpen()) {
        return SEND_PLATFORM_FAILURE;
    }
    if (uiLength > m_layout.GetRequestCapacity()) {
        ORV_LOG_ERROR("%s(%d) : uiLength = %llu", static_cast<unsigned long long>(uiLength));
        return SEND_REQUEST_TOO_LONG;
    }

    // One deadline for every wait below: the time spent on the senders'
    // mutex is taken from the time left for the answer.
    const Clock::time_point tpStart = Clock::now();
    SendResult eLock = SEND_ANSWERED;
    const CSenderLock objLock(m_hSenderMutex, uiTimeoutMs, eLock);
    if (eLock != SEND_ANSWERED) {
        return eLock;
    }

    const NamedMutexState eReceiver = m_objExistenceProbe.Probe();
    if (eReceiver == NAMED_MUTEX_PROBE_FAILED) {
        const uint32_t dwErr = Language::GetLastPlatformError();
        ORV_LOG_ERROR("%s(%d) : GetLastError() = %u", dwErr);
        return SEND_PLATFORM_FAILURE;
    }
    if (eReceiver != NAMED_MUTEX_OWNED) {
        return SEND_NO_RECEIVER;
    }

    // A response signal of an earlier request whose sender stopped waiting.
    WaitForNamedEvent(m_hEventResponse, 0);

    // Between requests the answer fields belong to nobody: cleared, they
    // cannot be mistaken for this request's answer.
    std::memset(m_pbyBuffer + m_layout.ResponseLengthOffset(), 0,
                static_cast<size_t>(m_layout.BlockSize() - m_layout.ResponseLengthOffset()));
    if (uiLength) {
        std::memcpy(m_pbyBuffer + m_layout.RequestOffset(), pbyRequest, static_cast<size_t>(uiLength));
    }
    std::memcpy(m_pbyBuffer + m_layout.RequestLengthOffset(), &uiLength, sizeof(uiLength));
    if (!SetNamedEvent(m_hEventSend)) {
        const uint32_t dwErr = Language::GetLastPlatformError();
        ORV_LOG_ERROR("%s(%d) : GetLastError() = %u", dwErr);
        return SEND_PLATFORM_FAILURE;
    }

    SendResult eResult = SEND_ANSWERED;
    if (!WaitForAnswer(MillisecondsLeft(uiTimeoutMs, tpStart), eResult)) {
        return eResult;
    }
    std::memcpy(&stuReply.uiResultCode, m_pbyBuffer + m_layout.ResultCodeOffset(), sizeof(stuReply.uiResultCode));
    std::memcpy(&stuReply.uiResponseLength, m_pbyBuffer + m_layout.ResponseLengthOffset(),
                sizeof(stuReply.uiResponseLength));
    const uint64_t uiCopy = std::min(stuReply.uiResponseLength, m_layout.GetResponseCapacity());
    const uint8_t* pbyResponse = m_pbyBuffer + m_layout.ResponseOffset();
    stuReply.vecResponse.assign(pbyResponse, pbyResponse + uiCopy);
    return SEND_ANSWERED;
}

} // namespace OrvUtility
