#pragma once

#include <cstdint>
#include <string>
#include "utility/NamedObject.h"

// Named mutexes, owned by a thread and recursive like the kernel's.
//
// Linux: one lock file per name, held with flock by the owning process and
// shared by every handle of that name inside the process. While a mutex is
// owned the lock file holds the owner's process id; a clean release empties
// it. A process that dies while owning a mutex loses the flock, but its
// record stays, so the next owner's wait reports NAMED_WAIT_ABANDONED_0, as
// Windows does for a mutex whose owner ended. (The death of an owning thread
// whose process goes on is not detected on Linux.)

namespace OrvUtility {

// CreateMutexW(attributes, initial owner, name). A null name creates an
// unnamed mutex. When the mutex exists already the handle is to it, the
// initial owner request is ignored and the last error is 183; this is also
// reported through pbAlreadyExists.
// Linux: "exists already" means open elsewhere in this process, or, for an
// owned create, held by another process (its lock could not be taken).
NamedHandle CreateNamedMutex(const wchar_t* szName, bool bInitialOwner, uint32_t uiEveryoneAccess,
                             bool* pbAlreadyExists = nullptr);

// WaitForSingleObject on the mutex: NAMED_WAIT_OBJECT_0 (acquired),
// NAMED_WAIT_ABANDONED_0 (acquired; the previous owner died holding it),
// NAMED_WAIT_TIMEOUT or NAMED_WAIT_FAILED.
uint32_t WaitNamedMutex(NamedHandle hMutex, uint32_t uiTimeoutMs);

// ReleaseMutex. Zero (last error ERROR_NOT_OWNER / EPERM) when the calling
// thread does not own it.
int ReleaseNamedMutex(NamedHandle hMutex);

// Whether some thread of any process owns the named mutex right now, without
// keeping it: the sender's test for a receiver.
enum NamedMutexState {
    NAMED_MUTEX_PROBE_FAILED = -1, // the probe itself failed (see the last error)
    NAMED_MUTEX_ABSENT = 0,        // no mutex of that name exists
    NAMED_MUTEX_FREE = 1,          // it exists, nobody owns it
    NAMED_MUTEX_OWNED = 2,         // it exists and is owned by another thread
};
// Windows: OpenMutexW(SYNCHRONIZE), WaitForSingleObject(0), released at once
// when it could be taken. Linux: flock(LOCK_EX | LOCK_NB) on a descriptor of
// its own; EWOULDBLOCK means owned.
NamedMutexState ProbeNamedMutex(const std::wstring& strName);

} // namespace OrvUtility
