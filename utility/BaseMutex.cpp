#include "utility/BaseMutex.h"

#include "language/ErrorText.h"
#include "logging/LogMacros.h"
#include "utility/NamedMutex.h"

namespace OrvUtility {

CBaseMutex::CBaseMutex(const wchar_t* szName)
    : m_hMutex(nullptr)
{
    ORV_TRACE_SCOPE("OrvUtility::CBaseMutex::CBaseMutex");
    m_hMutex = CreateNamedMutex(szName, false, NAMED_DEFAULT_SECURITY);
    if (!m_hMutex) {
        const uint32_t dwErr = Language::GetLastPlatformError();
        ORV_LOG_ERROR("%s(%d) : GetLastError() = %u", dwErr);
    }
}

CBaseMutex::~CBaseMutex()
{
    ORV_TRACE_SCOPE("OrvUtility::CBaseMutex::~CBaseMutex");
    if (m_hMutex) {
        ReleaseNamedMutex(m_hMutex);
        CloseNamedObject(m_hMutex);
        m_hMutex = nullptr;
    }
}

int CBaseMutex::Lock(uint32_t /*uiTimeout*/)
{
    ORV_TRACE_SCOPE("OrvUtility::CBaseMutex::Lock");
    const uint32_t dwResult = WaitNamedMutex(m_hMutex, NAMED_INFINITE);
    return dwResult == NAMED_WAIT_OBJECT_0 ? 1 : 0;
}

int CBaseMutex::Unlock()
{
    ORV_TRACE_SCOPE("OrvUtility::CBaseMutex::Unlock");
    return ReleaseNamedMutex(m_hMutex);
}

} // namespace OrvUtility
