#include "utility/Thread.h"

#include "logging/LogMacros.h"
#include "utility/ThreadNative.h"

namespace OrvUtility {

CThread::CThread()
    : m_uiThreadId(INVALID_THREAD_ID), m_hThread(0), m_iStatus(STATUS_NOT_RUNNING), m_iRunning(0)
{
}

CThread::~CThread()
{
    if (m_hThread != 0) {
        ThreadNative::CloseThread(m_hThread);
        m_hThread = 0;
    }
}

uint32_t CThread::Begin()
{
    ORV_TRACE_SCOPE("OrvUtility::CThread::Begin");
    uintptr_t hThread = 0;
    uint32_t uiThreadId = INVALID_THREAD_ID;
    const uint32_t uiError = ThreadNative::StartThread(this, hThread, uiThreadId);
    if (uiError != 0) {
        return uiError;
    }
    m_hThread = hThread;
    m_uiThreadId = uiThreadId;
    return 0;
}

unsigned CThread::ThreadProc(void* pvThread)
{
    ORV_TRACE_SCOPE("OrvUtility::CThread::ThreadProc");
    CThread* pThread = static_cast<CThread*>(pvThread);
    // The id is known here before Begin has stored it: Run may already ask
    // for it (Join on itself).
    pThread->m_uiThreadId = ThreadNative::CurrentThreadId();
    pThread->m_iStatus = STATUS_RUNNING;
    pThread->m_iRunning = 1;
    pThread->Run();
    pThread->m_iRunning = 0;
    pThread->m_iStatus = STATUS_NOT_RUNNING;
    return 0;
}

uint32_t CThread::Join()
{
    ORV_TRACE_SCOPE("OrvUtility::CThread::Join");
    if (ThreadNative::CurrentThreadId() == m_uiThreadId) {
        return JOIN_SELF;
    }
    const uint32_t uiWait = ThreadNative::WaitThread(m_hThread);
    return uiWait == ThreadNative::WAIT_RESULT_ABANDONED ? JOIN_ABANDONED : JOIN_DONE;
}

uint32_t CThread::CurrentThreadId()
{
    return ThreadNative::CurrentThreadId();
}

} // namespace OrvUtility
