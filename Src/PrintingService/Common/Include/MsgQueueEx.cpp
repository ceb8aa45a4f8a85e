#include "Src/PrintingService/Common/Include/MsgQueueEx.h"

#include <cstring>
#include <boost/bind/bind.hpp>
#include "language/ErrorText.h"
#include "logging/LogMacros.h"
#include "utility/NamedEvent.h"
#include "utility/NamedMutex.h"
#include "utility/SharedBlock.h"
#include "utility/delay_call_util_dispose.h"

namespace OrvUtility {

namespace {

uint64_t ReadU64(const uint8_t* pbyAt)
{
    uint64_t uiValue = 0;
    std::memcpy(&uiValue, pbyAt, sizeof(uiValue));
    return uiValue;
}

void WriteU64(uint8_t* pbyAt, uint64_t uiValue)
{
    std::memcpy(pbyAt, &uiValue, sizeof(uiValue));
}

void WriteU32(uint8_t* pbyAt, uint32_t uiValue)
{
    std::memcpy(pbyAt, &uiValue, sizeof(uiValue));
}

} // namespace

std::pair<NamedHandle, uint8_t*> OpenOrCreateFileMapping(const std::wstring& strName, uint64_t uiSize)
{
    ORV_TRACE_SCOPE("OrvUtility::OpenOrCreateFileMapping");
    NamedHandle hFileMapping = OpenSharedBlock(strName, uiSize);
    if (!hFileMapping) {
        const uint32_t dwOpenError = Language::GetLastPlatformError();
        ORV_LOG_DEBUG("%s(%d) : GetLastError() = %u", dwOpenError);
        hFileMapping = CreateSharedBlock(strName, uiSize, EVERYONE_FILE_MAP_ALL_ACCESS);
        const uint32_t dwCreateError = Language::GetLastPlatformError();
        ORV_LOG_DEBUG("%s(%d) : hFileMapping = 0x%08X", NamedObjectLogValue(hFileMapping));
        ORV_LOG_DEBUG("%s(%d) : GetLastError() = %u", dwCreateError);
    }
    uint8_t* pbyBuffer = MapSharedBlock(hFileMapping, uiSize);
    ORV_LOG_DEBUG("%s(%d) : pbyBuffer = 0x%08X", PointerLogValue(pbyBuffer));
    return std::make_pair(hFileMapping, pbyBuffer);
}

NamedHandle OpenOrCreateEvent(const std::wstring& strName)
{
    ORV_TRACE_SCOPE("OrvUtility::OpenOrCreateEvent");
    NamedHandle hEvent = OpenNamedEvent(strName);
    if (hEvent) {
        ORV_LOG_DEBUG("%s(%d) : hEvent = 0x%08X", NamedObjectLogValue(hEvent));
        return hEvent;
    }
    const uint32_t dwOpenError = Language::GetLastPlatformError();
    ORV_LOG_DEBUG("%s(%d) : GetLastError() = %u", dwOpenError);
    hEvent = CreateNamedEvent(strName.c_str(), EVERYONE_EVENT_ALL_ACCESS);
    const uint32_t dwCreateError = Language::GetLastPlatformError();
    ORV_LOG_DEBUG("%s(%d) : hEvent = 0x%08X", NamedObjectLogValue(hEvent));
    ORV_LOG_DEBUG("%s(%d) : GetLastError() = %u", dwCreateError);
    return hEvent;
}

CMsgQueueEx::CMsgQueueEx(const std::wstring& strBaseName, uint64_t uiRequestCapacity, uint64_t uiResponseCapacity)
    : m_bConstructFailed(0)
    , m_hMapFile(nullptr)
    , m_pbyBuffer(nullptr)
    , m_hEventSend(nullptr)
    , m_hEventResponse(nullptr)
    , m_hEventQuit(nullptr)
    , m_bQuitFirst(false)
    , m_uiRequestCapacity(uiRequestCapacity)
    , m_uiResponseCapacity(uiResponseCapacity)
    , m_strMutexName(CMsgQueueLayout::ExistenceMutexName(strBaseName))
{
    ORV_TRACE_SCOPE("OrvUtility::CMsgQueueEx::CMsgQueueEx");
    const CMsgQueueLayout layout(m_uiRequestCapacity, m_uiResponseCapacity);

    const std::pair<NamedHandle, uint8_t*> mapping =
        OpenOrCreateFileMapping(CMsgQueueLayout::BlockName(strBaseName), layout.BlockSize());
    m_hMapFile = mapping.first;
    m_pbyBuffer = mapping.second;
    if (!m_hMapFile || !m_pbyBuffer) {
        ORV_LOG_ERROR("%s(%d) : m_hMapFile = 0x%08X", NamedObjectLogValue(m_hMapFile));
        ORV_LOG_ERROR("%s(%d) : m_pbyBuffer = 0x%08X", PointerLogValue(m_pbyBuffer));
        m_bConstructFailed = 1;
        return;
    }

    m_hEventSend = OpenOrCreateEvent(CMsgQueueLayout::SendEventName(strBaseName));
    if (!m_hEventSend) {
        ORV_LOG_ERROR("%s(%d) : m_hEventSend = 0x%08X", NamedObjectLogValue(m_hEventSend));
        m_bConstructFailed = 1;
        return;
    }

    m_hEventResponse = OpenOrCreateEvent(CMsgQueueLayout::ResponseEventName(strBaseName));
    if (!m_hEventResponse) {
        ORV_LOG_ERROR("%s(%d) : m_hEventResponse = 0x%08X", NamedObjectLogValue(m_hEventResponse));
        m_bConstructFailed = 1;
        return;
    }

    m_hEventQuit = CreateNamedEvent(nullptr, EVERYONE_EVENT_ALL_ACCESS);
    if (!m_hEventQuit) {
        ORV_LOG_ERROR("%s(%d) : m_hEventQuit = 0x%08X", NamedObjectLogValue(m_hEventQuit));
        m_bConstructFailed = 1;
    }
}

CMsgQueueEx::~CMsgQueueEx()
{
    ORV_TRACE_SCOPE("OrvUtility::CMsgQueueEx::~CMsgQueueEx");
    if (m_pbyBuffer) {
        UnmapSharedBlock(m_pbyBuffer);
        m_pbyBuffer = nullptr;
    }
    CloseNamedObject(m_hMapFile);
    m_hMapFile = nullptr;
    if (m_hEventSend) {
        CloseNamedObject(m_hEventSend);
        m_hEventSend = nullptr;
    }
    if (m_hEventResponse) {
        CloseNamedObject(m_hEventResponse);
        m_hEventResponse = nullptr;
    }
    if (m_hEventQuit) {
        CloseNamedObject(m_hEventQuit);
        m_hEventQuit = nullptr;
    }
}

uint32_t CMsgQueueEx::RecvMsg(MsgHandler handler)
{
    ORV_TRACE_SCOPE("OrvUtility::CMsgQueueEx::RecvMsg");
    const CMsgQueueLayout layout(m_uiRequestCapacity, m_uiResponseCapacity);

    ORV_LOG_INFO_PLAIN("WaitForMultipleObjects");
    // The wait hands out the first set event of its list, the request event.
    // After a request has been served, the quit is looked at first: a sender
    // that keeps the request event set cannot hold the receiver beyond the
    // request in hand.
    uint32_t dwIndex = NAMED_WAIT_FAILED;
    if (m_bQuitFirst && m_hEventQuit && WaitForNamedEvent(m_hEventQuit, 0) == NAMED_WAIT_OBJECT_0) {
        dwIndex = NAMED_WAIT_OBJECT_0 + 1;
    } else {
        NamedHandle ahEvents[2] = {m_hEventSend, m_hEventQuit};
        dwIndex = WaitForAnyNamedEvent(2, ahEvents, NAMED_INFINITE);
    }
    m_bQuitFirst = false;
    ORV_LOG_INFO_PLAIN("dwIndex = %d", static_cast<int>(dwIndex));

    uint32_t uiCode = RECV_FAILED;
    if (dwIndex == NAMED_WAIT_OBJECT_0) {
        uint64_t uiRequestLength = ReadU64(m_pbyBuffer + layout.RequestLengthOffset());
        uint64_t uiResponseLength = m_uiResponseCapacity;
        handler(m_pbyBuffer + layout.RequestOffset(), uiRequestLength, m_pbyBuffer + layout.ResponseOffset(),
                uiResponseLength);
        if (IsSharedBlockViewBroken(m_pbyBuffer)) {
            // The block was cut short while the request was read or answered:
            // what was read is not the request, and the answer went to pages
            // no one else sees. The block gets its size back, and the sender
            // is released with an empty answer.
            ORV_LOG_ERROR("%s(%d) : %s", "The shared block was cut short while a request was served.");
            if (!RestoreSharedBlockView(m_hMapFile, m_pbyBuffer)) {
                const uint32_t dwErr = Language::GetLastPlatformError();
                ORV_LOG_ERROR("%s(%d) : GetLastError() = %u", dwErr);
            }
            uiResponseLength = 0;
        }
        WriteU64(m_pbyBuffer + layout.ResponseLengthOffset(), uiResponseLength);
        WriteU32(m_pbyBuffer + layout.ResultCodeOffset(), CMsgQueueLayout::RESULT_SERVED);
        uiCode = RECV_SERVED;
        m_bQuitFirst = true;
    } else if (dwIndex == NAMED_WAIT_OBJECT_0 + 1) {
        WriteU64(m_pbyBuffer + layout.ResponseLengthOffset(), 0);
        WriteU32(m_pbyBuffer + layout.ResultCodeOffset(), CMsgQueueLayout::RESULT_QUITTING);
        uiCode = RECV_QUIT;
    }

    // A waiting sender is always released.
    SetNamedEvent(m_hEventResponse);
    return uiCode;
}

uint32_t CMsgQueueEx::RecvMsgLoop(MsgHandler handler)
{
    ORV_TRACE_SCOPE("OrvUtility::CMsgQueueEx::RecvMsgLoop");
    bool bExisted = false;
    NamedHandle hMutex = CreateNamedMutex(m_strMutexName.c_str(), true, EVERYONE_MUTEX_ALL_ACCESS, &bExisted);
    if (!hMutex) {
        const uint32_t dwErr = Language::GetLastPlatformError();
        ORV_LOG_ERROR("%s(%d) : GetLastError() = %u", dwErr);
        return RECV_FAILED;
    }
    if (bExisted) {
        // The create does not own a mutex that somebody else has open: a
        // sender testing for a receiver at this very moment, or a receiver
        // that ended without closing it. Senders find a receiver only while
        // it owns the mutex: take it.
        const uint32_t dwWait = WaitNamedMutex(hMutex, EXISTENCE_TAKE_MS);
        if (dwWait != NAMED_WAIT_OBJECT_0 && dwWait != NAMED_WAIT_ABANDONED_0) {
            ORV_LOG_WARNING("%s(%d) : %s", "The existence mutex is owned by another receiver.");
        }
    }
    // Released first, closed second.
    delay_call_util_dispose closeMutex(boost::bind(CloseNamedObject, hMutex));
    delay_call_util_dispose releaseMutex(boost::bind(ReleaseNamedMutex, hMutex));

    uint32_t uiCode;
    do {
        uiCode = RecvMsg(handler);
    } while (uiCode == RECV_SERVED);
    return uiCode;
}

int CMsgQueueEx::SignalQuit()
{
    return SetNamedEvent(m_hEventQuit);
}

} // namespace OrvUtility
