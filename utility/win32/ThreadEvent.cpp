#include "utility/ThreadEvent.h"

#include <windows.h>

namespace OrvUtility {

CThreadEvent::CThreadEvent() : m_hEvent(nullptr), m_uiCreateError(0)
{
    m_hEvent = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    if (m_hEvent == nullptr) {
        m_uiCreateError = GetLastError();
    }
}

CThreadEvent::~CThreadEvent()
{
    if (m_hEvent != nullptr) {
        CloseHandle(m_hEvent);
    }
}

uint32_t CThreadEvent::Set()
{
    if (!SetEvent(m_hEvent)) {
        const DWORD dwError = GetLastError();
        return dwError != 0 ? dwError : ERROR_INVALID_HANDLE;
    }
    return 0;
}

uint32_t CThreadEvent::Wait(uint32_t uiMilliseconds)
{
    return WaitForSingleObject(m_hEvent, uiMilliseconds);
}

} // namespace OrvUtility
