#include "utility/ScopeFileLock.h"

#include "logging/LogMacros.h"
#include "utility/NamedObject.h"

namespace OrvUtility {

CScopeFileLock::CScopeFileLock(const wchar_t* szFilename)
    : m_locker(szFilename)
{
    ORV_TRACE_SCOPE("OrvUtility::CScopeFileLock::CScopeFileLock");
    m_locker.Lock(NAMED_INFINITE);
}

CScopeFileLock::~CScopeFileLock()
{
    ORV_TRACE_SCOPE("OrvUtility::CScopeFileLock::~CScopeFileLock");
    m_locker.Unlock();
}

} // namespace OrvUtility
