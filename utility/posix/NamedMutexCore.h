#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

namespace OrvUtility {

// One named mutex inside this process: every handle of the name shares it.
// Threads of the process exclude each other here (with recursion for the
// owning thread, as the kernel's mutex); processes exclude each other by
// flock on the one lock file descriptor of the core. While owned, the lock
// file's first line holds the owner's process id; a clean release blanks it,
// so a process id found by the next owner marks the mutex abandoned.
class CNamedMutexCore {
public:
    // iFd: the lock file (owned), or -1 for an unnamed mutex.
    CNamedMutexCore(const std::string& strKey, int iFd);
    ~CNamedMutexCore();

    CNamedMutexCore(const CNamedMutexCore&) = delete;
    CNamedMutexCore& operator=(const CNamedMutexCore&) = delete;

    // NAMED_WAIT_OBJECT_0, NAMED_WAIT_ABANDONED_0, NAMED_WAIT_TIMEOUT or
    // NAMED_WAIT_FAILED.
    uint32_t Acquire(uint32_t uiTimeoutMs);
    // The initial ownership of a create: taken unless a thread of this
    // process owns it or another process does. A process that holds the
    // flock only to test it (it writes no record) is waited out, within a
    // bound.
    bool TryAcquireNow();
    // False (errno EPERM) when the calling thread is not the owner.
    bool Release();

    const std::string& GetKey() const { return m_strKey; }
    int GetFd() const { return m_iFd; }

private:
    // The holder's pid, written over the first line; blanked on release.
    void WriteOwnerRecord();
    void BlankOwnerRecord();
    bool HasOwnerRecord() const;
    // The flock is held and the record names a process that lives.
    bool IsHeldByRecordedOwner() const;
    // The flock of a create (see TryAcquireNow).
    bool LockForCreate();

    std::string m_strKey;
    int m_iFd;
    std::mutex m_mtx;
    std::condition_variable m_cvFree;
    bool m_bOwned;
    std::thread::id m_idOwner;
    uint32_t m_uiRecursion;
};

} // namespace OrvUtility
