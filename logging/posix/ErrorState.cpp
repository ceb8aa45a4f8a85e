#include "logging/ErrorState.h"

#include <cerrno>

CallerErrorState::CallerErrorState() : m_ulLastError(0), m_ulDosErrno(0), m_iErrno(errno) {}

CallerErrorState::~CallerErrorState()
{
    errno = m_iErrno;
}
