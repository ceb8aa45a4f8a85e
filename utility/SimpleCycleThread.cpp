#include "utility/SimpleCycleThread.h"

#include "logging/LogMacros.h"

namespace OrvUtility {

CSimpleCycleThread::CSimpleCycleThread(const std::wstring& strName, uint32_t uiPeriod)
    : m_bQuit(false), m_uiPeriod(uiPeriod), m_bPaused(false), m_strName(strName)
{
    ORV_TRACE_SCOPE("CSimpleCycleThread::CSimpleCycleThread");
    // The events are made by the members. A missing quit event is only
    // reported; a missing started event marks the object failed.
    if (!m_evtQuit.IsValid()) {
        ORV_LOG_FATAL("%s(%d) : %s", "Failed to create event object.");
    }
    if (!m_evtStarted.IsValid()) {
        ORV_LOG_ERROR("%s(%d) : GetLastError() = %u", m_evtStarted.GetCreateError());
        SetStatus(STATUS_FAILED);
    }
}

CSimpleCycleThread::~CSimpleCycleThread()
{
    ORV_TRACE_SCOPE("CSimpleCycleThread::~CSimpleCycleThread");
    const int32_t iStatus = GetStatus();
    if (iStatus != STATUS_FAILED && iStatus != STATUS_NOT_RUNNING) {
        ForceQuit();
        Join();
    }
    // The events close with the members, after the thread has ended.
}

uint32_t CSimpleCycleThread::ForceQuit()
{
    ORV_TRACE_SCOPE("CSimpleCycleThread::ForceQuit");
    const int32_t iStatus = GetStatus();
    if (iStatus == STATUS_FAILED || iStatus == STATUS_NOT_RUNNING) {
        ORV_LOG_ERROR("%s(%d) : this->GetStatus() = %d", iStatus);
        return FORCE_QUIT_NOT_RUNNING;
    }
    m_bQuit = true;
    m_evtQuit.Set();
    return 0;
}

uint32_t CSimpleCycleThread::Pause()
{
    ORV_TRACE_SCOPE("CSimpleCycleThread::Pause");
    m_bPaused = true;
    return 0;
}

uint32_t CSimpleCycleThread::Resume()
{
    ORV_TRACE_SCOPE("CSimpleCycleThread::Resume");
    m_bPaused = false;
    return 0;
}

uint32_t CSimpleCycleThread::Run()
{
    ORV_TRACE_SCOPE("CSimpleCycleThread::Run");
    ORV_LOG_INFO_PLAIN("thread %S started.", m_strName.c_str());

    if (!OnThreadInit()) {
        SetStatus(STATUS_FAILED);
        m_evtStarted.Set();
        ORV_LOG_INFO_PLAIN("thread %S end for init error.", m_strName.c_str());
        return 1;
    }

    const uint32_t uiError = m_evtStarted.Set();
    if (uiError != 0) {
        ORV_LOG_INFO_PLAIN("thread %S end for winapi error.", m_strName.c_str());
        ORV_LOG_ERROR("%s(%d) : Failed to set event object. @err = %u", uiError);
        return 1;
    }

    DoCrycle();
    OnThreadExit();
    ORV_LOG_INFO_PLAIN("thread %S end normally.", m_strName.c_str());
    return 0;
}

void CSimpleCycleThread::DoCrycle()
{
    ORV_TRACE_SCOPE("CSimpleCycleThread::DoCrycle");
    if (m_bQuit) {
        return;
    }

    // Taken as a time-out, so that the first job runs at once.
    uint32_t uiResult = CThreadEvent::WAIT_TIMED_OUT;
    for (;;) {
        if (uiResult == CThreadEvent::WAIT_TIMED_OUT) {
            ORV_LOG_DEBUG("%s(%d) : thread %S timeout triggerd.", m_strName.c_str());
            if (m_bPaused) {
                ORV_LOG_DEBUG("%s(%d) : thread %S paused.", m_strName.c_str());
            } else if (!OnTimer()) {
                m_bQuit = true;
                // The record reads "thread %S want to quit.", the name not
                // filled in. The facade formats WARNING records a second time,
                // so the "%" is doubled here: a bare "%S" would be read then
                // as a conversion without its argument.
                ORV_LOG_WARNING("%s(%d) : %s", "thread %%S want to quit.");
                return;
            }
            if (m_fnTimeoutHook) {
                m_fnTimeoutHook();
            }
        } else if (uiResult == CThreadEvent::WAIT_SIGNALLED) {
            ORV_LOG_INFO_PLAIN("thread %S recieved quit event.", m_strName.c_str());
            return;
        } else {
            ORV_LOG_WARNING("%s(%d) : thread %S:WaitForSingleObject returned unexpected value : %u",
                            m_strName.c_str(), uiResult);
        }

        uiResult = m_evtQuit.Wait(m_uiPeriod);
        ORV_LOG_DEBUG("%s(%d) : thread %S WaitForSingleObject retursn %u.", m_strName.c_str(), uiResult);
        if (m_bQuit) {
            return;
        }
    }
}

std::wstring CSimpleCycleThread::GetThreadName() const
{
    return m_strName;
}

bool CSimpleCycleThread::OnThreadInit()
{
    return true;
}

bool CSimpleCycleThread::OnThreadReserved1()
{
    return true;
}

bool CSimpleCycleThread::OnThreadReserved2()
{
    return true;
}

void CSimpleCycleThread::OnThreadExit()
{
}

uint32_t CSimpleCycleThread::WaitStarted(uint32_t uiMilliseconds)
{
    return m_evtStarted.Wait(uiMilliseconds);
}

} // namespace OrvUtility
