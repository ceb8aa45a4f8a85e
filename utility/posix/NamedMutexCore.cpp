#include "utility/posix/NamedMutexCore.h"

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>
#include "utility/NamedObject.h"

namespace OrvUtility {

namespace {

typedef std::chrono::steady_clock Clock;

// flock with a time limit: flock itself cannot time out, so a bounded wait
// retries the non-blocking form with a short back-off.
int LockFileUntil(int iFd, uint32_t uiTimeoutMs, Clock::time_point tpDeadline)
{
    if (uiTimeoutMs == NAMED_INFINITE) {
        int r;
        do {
            r = flock(iFd, LOCK_EX);
        } while (r != 0 && errno == EINTR);
        return r == 0 ? 0 : -1;
    }
    auto usPause = std::chrono::microseconds(200);
    for (;;) {
        if (flock(iFd, LOCK_EX | LOCK_NB) == 0) {
            return 0;
        }
        if (errno != EWOULDBLOCK && errno != EINTR) {
            return -1;
        }
        const Clock::time_point tpNow = Clock::now();
        if (tpNow >= tpDeadline) {
            return 1;
        }
        std::this_thread::sleep_for(std::min<Clock::duration>(usPause, tpDeadline - tpNow));
        usPause = std::min<std::chrono::microseconds>(usPause * 2, std::chrono::milliseconds(10));
    }
}

} // namespace

CNamedMutexCore::CNamedMutexCore(const std::string& strKey, int iFd)
    : m_strKey(strKey)
    , m_iFd(iFd)
    , m_bOwned(false)
    , m_uiRecursion(0)
{
}

CNamedMutexCore::~CNamedMutexCore()
{
    // Closing the descriptor drops the flock. An owner's record stays: the
    // next owner finds the mutex abandoned.
    if (m_iFd >= 0) {
        close(m_iFd);
    }
}

// The record is one line of a fixed width: the owner's pid, padded with
// blanks. A release blanks the pid out and the file keeps its length, so
// that taking and giving back the mutex does not give a page of the file
// back and take a new one each time.
namespace {
const size_t OWNER_RECORD_CHARS = 16;
// How long a create waits out a holder that is not an owner.
const unsigned CREATE_LOCK_WAIT_MS = 2000;
}

void CNamedMutexCore::WriteOwnerRecord()
{
    char szRecord[OWNER_RECORD_CHARS + 1];
    snprintf(szRecord, sizeof(szRecord), "%-15ld\n", static_cast<long>(getpid()));
    (void)!pwrite(m_iFd, szRecord, OWNER_RECORD_CHARS, 0);
}

void CNamedMutexCore::BlankOwnerRecord()
{
    const char szBlank[OWNER_RECORD_CHARS + 1] = "               \n";
    (void)!pwrite(m_iFd, szBlank, OWNER_RECORD_CHARS, 0);
}

bool CNamedMutexCore::HasOwnerRecord() const
{
    char byFirst = 0;
    return pread(m_iFd, &byFirst, 1, 0) == 1 && byFirst >= '0' && byFirst <= '9';
}

bool CNamedMutexCore::IsHeldByRecordedOwner() const
{
    char szRecord[OWNER_RECORD_CHARS + 1] = {0};
    if (pread(m_iFd, szRecord, OWNER_RECORD_CHARS, 0) <= 0) {
        return false;
    }
    char* pEnd = nullptr;
    const long lPid = std::strtol(szRecord, &pEnd, 10);
    if (pEnd == szRecord || lPid <= 0 || lPid > INT_MAX) {
        return false;
    }
    // EPERM: the process is there, it only belongs to somebody else.
    return kill(static_cast<pid_t>(lPid), 0) == 0 || errno == EPERM;
}

bool CNamedMutexCore::LockForCreate()
{
    // Whoever tests for an owner takes the lock for an instant and gives it
    // back (a sender looking for the receiver, --quit, a script's
    // "flock -n"). Such a holder leaves no record of its own; an owner's
    // record names a living process. Only an owner makes the create fail;
    // a tester is waited out, within a bound.
    const Clock::time_point tpDeadline = Clock::now() + std::chrono::milliseconds(CREATE_LOCK_WAIT_MS);
    auto usPause = std::chrono::microseconds(100);
    for (;;) {
        if (flock(m_iFd, LOCK_EX | LOCK_NB) == 0) {
            return true;
        }
        if ((errno != EWOULDBLOCK && errno != EINTR) || IsHeldByRecordedOwner() || Clock::now() >= tpDeadline) {
            return false;
        }
        std::this_thread::sleep_for(usPause);
        usPause = std::min<std::chrono::microseconds>(usPause * 2, std::chrono::milliseconds(5));
    }
}

uint32_t CNamedMutexCore::Acquire(uint32_t uiTimeoutMs)
{
    const Clock::time_point tpDeadline = Clock::now() + std::chrono::milliseconds(uiTimeoutMs);
    const std::thread::id idSelf = std::this_thread::get_id();
    {
        std::unique_lock<std::mutex> lock(m_mtx);
        if (m_bOwned && m_idOwner == idSelf) {
            ++m_uiRecursion;
            return NAMED_WAIT_OBJECT_0;
        }
        while (m_bOwned) {
            if (uiTimeoutMs == NAMED_INFINITE) {
                m_cvFree.wait(lock);
            } else if (m_cvFree.wait_until(lock, tpDeadline) == std::cv_status::timeout && m_bOwned) {
                return NAMED_WAIT_TIMEOUT;
            }
        }
        // Reserved for this thread while it waits for the other processes.
        m_bOwned = true;
        m_idOwner = idSelf;
        m_uiRecursion = 0;
    }

    bool bAbandoned = false;
    if (m_iFd >= 0) {
        const int iLock = LockFileUntil(m_iFd, uiTimeoutMs, tpDeadline);
        if (iLock != 0) {
            const int iErr = errno;
            {
                std::lock_guard<std::mutex> lock(m_mtx);
                m_bOwned = false;
                m_idOwner = std::thread::id();
            }
            m_cvFree.notify_all();
            errno = iErr;
            return iLock > 0 ? NAMED_WAIT_TIMEOUT : NAMED_WAIT_FAILED;
        }
        bAbandoned = HasOwnerRecord();
        WriteOwnerRecord();
    }
    std::lock_guard<std::mutex> lock(m_mtx);
    m_uiRecursion = 1;
    return bAbandoned ? NAMED_WAIT_ABANDONED_0 : NAMED_WAIT_OBJECT_0;
}

bool CNamedMutexCore::TryAcquireNow()
{
    std::lock_guard<std::mutex> lock(m_mtx);
    if (m_bOwned) {
        return false;
    }
    if (m_iFd >= 0) {
        if (!LockForCreate()) {
            return false;
        }
        WriteOwnerRecord();
    }
    m_bOwned = true;
    m_idOwner = std::this_thread::get_id();
    m_uiRecursion = 1;
    return true;
}

bool CNamedMutexCore::Release()
{
    {
        std::lock_guard<std::mutex> lock(m_mtx);
        if (!m_bOwned || m_idOwner != std::this_thread::get_id() || m_uiRecursion == 0) {
            errno = EPERM;
            return false;
        }
        if (--m_uiRecursion > 0) {
            return true;
        }
        if (m_iFd >= 0) {
            BlankOwnerRecord();
            flock(m_iFd, LOCK_UN);
        }
        m_bOwned = false;
        m_idOwner = std::thread::id();
    }
    m_cvFree.notify_all();
    return true;
}

} // namespace OrvUtility
