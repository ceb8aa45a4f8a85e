#include "logging/ErrorState.h"

#include <cerrno>
#include <cstdlib>
#include <windows.h>

CallerErrorState::CallerErrorState()
    : m_ulLastError(GetLastError()), m_ulDosErrno(_doserrno), m_iErrno(errno)
{
}

CallerErrorState::~CallerErrorState()
{
    // Restored in reverse: the C runtime may touch the last-error value.
    _doserrno = m_ulDosErrno;
    errno = m_iErrno;
    SetLastError(m_ulLastError);
}
