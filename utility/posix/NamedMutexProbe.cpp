#include "utility/NamedMutexProbe.h"

#include <cerrno>
#include <sys/file.h>
#include <unistd.h>
#include "utility/posix/NamedObjectPath.h"

namespace OrvUtility {

namespace {

// flock(LOCK_EX | LOCK_NB) on the probe's own descriptor: it conflicts with
// every other holder, this process's mutex cores included.
NamedMutexState ProbeDescriptor(int iFd)
{
    if (flock(iFd, LOCK_EX | LOCK_NB) != 0) {
        return errno == EWOULDBLOCK ? NAMED_MUTEX_OWNED : NAMED_MUTEX_PROBE_FAILED;
    }
    flock(iFd, LOCK_UN);
    return NAMED_MUTEX_FREE;
}

void CloseKeepingErrno(int& iFd)
{
    if (iFd >= 0) {
        const int iErr = errno;
        close(iFd);
        errno = iErr;
        iFd = -1;
    }
}

} // namespace

CNamedMutexProbe::CNamedMutexProbe(const std::wstring& strName) : m_strName(strName) {}

CNamedMutexProbe::~CNamedMutexProbe()
{
    CloseKeepingErrno(m_iFd);
}

NamedMutexState CNamedMutexProbe::Probe()
{
    if (m_iFd >= 0) {
        if (ProbeDescriptor(m_iFd) == NAMED_MUTEX_OWNED) {
            return NAMED_MUTEX_OWNED;
        }
        CloseKeepingErrno(m_iFd);
    }
    CNamedObjectLocation location;
    if (!LocateNamedObject(m_strName, location)) {
        return NAMED_MUTEX_PROBE_FAILED;
    }
    m_iFd = OpenNamedObjectFile(location, NAMED_FILE_REGULAR, false, 0, true, nullptr);
    if (m_iFd < 0) {
        return errno == ENOENT ? NAMED_MUTEX_ABSENT : NAMED_MUTEX_PROBE_FAILED;
    }
    const NamedMutexState eState = ProbeDescriptor(m_iFd);
    if (eState != NAMED_MUTEX_OWNED) {
        CloseKeepingErrno(m_iFd);
    }
    return eState;
}

NamedMutexState ProbeNamedMutex(const std::wstring& strName)
{
    CNamedMutexProbe objProbe(strName);
    return objProbe.Probe();
}

} // namespace OrvUtility
