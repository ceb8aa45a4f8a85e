#include "utility/ThreadEvent.h"

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>

namespace OrvUtility {

namespace {

struct PosixEvent {
    std::mutex mutex;
    std::condition_variable cond;
    bool bSignalled = false;
};

} // namespace

CThreadEvent::CThreadEvent() : m_hEvent(nullptr), m_uiCreateError(0)
{
    m_hEvent = new (std::nothrow) PosixEvent;
    if (m_hEvent == nullptr) {
        m_uiCreateError = ENOMEM;
    }
}

CThreadEvent::~CThreadEvent()
{
    delete static_cast<PosixEvent*>(m_hEvent);
}

uint32_t CThreadEvent::Set()
{
    PosixEvent* pEvent = static_cast<PosixEvent*>(m_hEvent);
    if (pEvent == nullptr) {
        return EBADF;
    }
    std::lock_guard<std::mutex> lock(pEvent->mutex);
    pEvent->bSignalled = true;
    pEvent->cond.notify_one();
    return 0;
}

uint32_t CThreadEvent::Wait(uint32_t uiMilliseconds)
{
    PosixEvent* pEvent = static_cast<PosixEvent*>(m_hEvent);
    if (pEvent == nullptr) {
        return WAIT_ERROR;
    }
    std::unique_lock<std::mutex> lock(pEvent->mutex);
    const auto isSignalled = [pEvent]() { return pEvent->bSignalled; };
    if (uiMilliseconds == INFINITE_WAIT) {
        pEvent->cond.wait(lock, isSignalled);
    } else if (!pEvent->cond.wait_for(lock, std::chrono::milliseconds(uiMilliseconds), isSignalled)) {
        return WAIT_TIMED_OUT;
    }
    // Auto-reset: the signal releases one wait.
    pEvent->bSignalled = false;
    return WAIT_SIGNALLED;
}

} // namespace OrvUtility
