#include "utility/FileLocker.h"

#include <new>
#include <stdexcept>
#include "logging/LogMacros.h"

namespace OrvUtility {

CFileLocker::CFileLocker(const wchar_t* szFilename)
    : m_bError(0)
{
    ORV_TRACE_SCOPE("OrvUtility::CFileLocker::CFileLocker");
    if (!szFilename) {
        ORV_LOG_ERROR("%s(%d) : szFilename = 0x%08X", 0u);
        m_bError = 1;
        throw std::runtime_error("CFileLocker");
    }

    const std::wstring strName = MakeLockName(szFilename);
    if (strName.empty()) {
        ORV_LOG_ERROR("%s(%d) : szName = %S", strName.c_str());
        throw std::runtime_error("CFileLocker");
    }

    m_pMutex.reset(new (std::nothrow) CBaseMutex(strName.c_str()));
}

CFileLocker::~CFileLocker()
{
    ORV_TRACE_SCOPE("OrvUtility::CFileLocker::~CFileLocker");
    m_pMutex.reset();
}

int CFileLocker::Lock(uint32_t uiTimeout)
{
    ORV_TRACE_SCOPE("OrvUtility::CFileLocker::Lock");
    return m_pMutex ? m_pMutex->Lock(uiTimeout) : 0;
}

int CFileLocker::Unlock()
{
    ORV_TRACE_SCOPE("OrvUtility::CFileLocker::Unlock");
    return m_pMutex ? m_pMutex->Unlock() : 0;
}

} // namespace OrvUtility
