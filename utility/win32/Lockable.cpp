#include "utility/Lockable.h"

#include <windows.h>
#include "logging/LogMacros.h"

namespace OrvUtility {

namespace {

CRITICAL_SECTION* Section(unsigned char* pbyStorage)
{
    return reinterpret_cast<CRITICAL_SECTION*>(pbyStorage);
}

} // namespace

CLockable::CLockable()
{
    static_assert(sizeof(CRITICAL_SECTION) <= sizeof(m_abyCriticalSection), "CRITICAL_SECTION does not fit");
    static_assert(alignof(CRITICAL_SECTION) <= 16, "CRITICAL_SECTION alignment");
    ORV_TRACE_SCOPE("OrvUtility::CLockable::CLockable");
    InitializeCriticalSection(Section(m_abyCriticalSection));
}

CLockable::~CLockable()
{
    ORV_TRACE_SCOPE("OrvUtility::CLockable::~CLockable");
    DeleteCriticalSection(Section(m_abyCriticalSection));
}

void CLockable::Lock()
{
    ORV_TRACE_SCOPE("OrvUtility::CLockable::Lock");
    EnterCriticalSection(Section(m_abyCriticalSection));
}

void CLockable::Unlock()
{
    ORV_TRACE_SCOPE("OrvUtility::CLockable::Unlock");
    LeaveCriticalSection(Section(m_abyCriticalSection));
}

} // namespace OrvUtility
