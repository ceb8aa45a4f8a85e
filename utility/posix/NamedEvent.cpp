#include "utility/NamedEvent.h"

#include <cerrno>
#include <chrono>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <vector>
#include "utility/posix/NamedObjectPath.h"
#include "utility/posix/NamedObjectTable.h"

// Named events are FIFOs opened read-write and non-blocking by every side.
// Setting one writes a byte (a full FIFO is set already); a wait polls for
// readable and reads until the FIFO is empty, which resets it. Unnamed
// events are eventfds, reset by the read of their counter.

namespace OrvUtility {

namespace {

// Empties the event. True when it was set, false when another waiter took
// the signal first.
bool ConsumeSignal(const CNamedObjectEntry& entry)
{
    if (entry.eKind == CNamedObjectEntry::KIND_EVENT_LOCAL) {
        uint64_t uiCount = 0;
        return read(entry.iFd, &uiCount, sizeof(uiCount)) == static_cast<ssize_t>(sizeof(uiCount));
    }
    bool bSignalled = false;
    char abyDrain[256];
    for (;;) {
        const ssize_t n = read(entry.iFd, abyDrain, sizeof(abyDrain));
        if (n > 0) {
            bSignalled = true;
            if (static_cast<size_t>(n) < sizeof(abyDrain)) {
                break; // a short read has emptied the FIFO
            }
            continue;
        }
        if (n < 0 && errno == EINTR) {
            continue;
        }
        break;
    }
    return bSignalled;
}

bool IsEvent(const CNamedObjectEntry& entry)
{
    return entry.eKind == CNamedObjectEntry::KIND_EVENT_FIFO || entry.eKind == CNamedObjectEntry::KIND_EVENT_LOCAL;
}

} // namespace

NamedHandle OpenNamedEvent(const std::wstring& strName)
{
    CNamedObjectLocation location;
    if (!LocateNamedObject(strName, location)) {
        return nullptr;
    }
    const int iFd = OpenNamedObjectFile(location, NAMED_FILE_FIFO, false, 0, false, nullptr);
    if (iFd < 0) {
        return nullptr;
    }
    auto pEntry = std::make_shared<CNamedObjectEntry>();
    pEntry->eKind = CNamedObjectEntry::KIND_EVENT_FIFO;
    pEntry->iFd = iFd;
    NamedHandle hEvent = AddNamedObject(pEntry);
    errno = 0;
    return hEvent;
}

NamedHandle CreateNamedEvent(const wchar_t* szName, uint32_t uiEveryoneAccess)
{
    auto pEntry = std::make_shared<CNamedObjectEntry>();
    bool bCreated = true;
    if (!szName) {
        pEntry->eKind = CNamedObjectEntry::KIND_EVENT_LOCAL;
        pEntry->iFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        if (pEntry->iFd < 0) {
            return nullptr;
        }
    } else {
        CNamedObjectLocation location;
        if (!LocateNamedObject(szName, location)) {
            return nullptr;
        }
        pEntry->eKind = CNamedObjectEntry::KIND_EVENT_FIFO;
        pEntry->iFd = OpenNamedObjectFile(location, NAMED_FILE_FIFO, true, NamedObjectMode(uiEveryoneAccess), false,
                                          &bCreated);
        if (pEntry->iFd < 0) {
            return nullptr;
        }
    }
    NamedHandle hEvent = AddNamedObject(pEntry);
    errno = bCreated ? 0 : static_cast<int>(NAMED_ERROR_ALREADY_EXISTS);
    return hEvent;
}

int SetNamedEvent(NamedHandle hEvent)
{
    std::shared_ptr<CNamedObjectEntry> pEntry = FindNamedObject(hEvent);
    if (!pEntry || !IsEvent(*pEntry)) {
        errno = EBADF;
        return 0;
    }
    for (;;) {
        ssize_t n;
        if (pEntry->eKind == CNamedObjectEntry::KIND_EVENT_LOCAL) {
            const uint64_t uiOne = 1;
            n = write(pEntry->iFd, &uiOne, sizeof(uiOne));
        } else {
            const char bySignal = 1;
            n = write(pEntry->iFd, &bySignal, 1);
        }
        if (n > 0) {
            return 1;
        }
        if (n < 0 && errno == EINTR) {
            continue;
        }
        // Full: the event is set already.
        return (n < 0 && errno == EAGAIN) ? 1 : 0;
    }
}

uint32_t WaitForAnyNamedEvent(uint32_t uiCount, const NamedHandle* phEvents, uint32_t uiTimeoutMs)
{
    if (uiCount == 0 || !phEvents) {
        errno = EINVAL;
        return NAMED_WAIT_FAILED;
    }
    std::vector<std::shared_ptr<CNamedObjectEntry>> vecEntries;
    std::vector<pollfd> vecPoll;
    for (uint32_t i = 0; i < uiCount; ++i) {
        std::shared_ptr<CNamedObjectEntry> pEntry = FindNamedObject(phEvents[i]);
        if (!pEntry || !IsEvent(*pEntry)) {
            errno = EBADF;
            return NAMED_WAIT_FAILED;
        }
        vecPoll.push_back(pollfd{pEntry->iFd, POLLIN, 0});
        vecEntries.push_back(std::move(pEntry));
    }

    typedef std::chrono::steady_clock Clock;
    const Clock::time_point tpDeadline = Clock::now() + std::chrono::milliseconds(uiTimeoutMs);
    for (;;) {
        int iPollTimeout = -1;
        if (uiTimeoutMs != NAMED_INFINITE) {
            const auto msLeft =
                std::chrono::duration_cast<std::chrono::milliseconds>(tpDeadline - Clock::now()).count();
            iPollTimeout = msLeft > 0 ? static_cast<int>(msLeft) : 0;
        }
        for (pollfd& pfd : vecPoll) {
            pfd.revents = 0;
        }
        const int iReady = poll(vecPoll.data(), vecPoll.size(), iPollTimeout);
        if (iReady < 0) {
            if (errno == EINTR) {
                continue;
            }
            return NAMED_WAIT_FAILED;
        }
        if (iReady == 0) {
            if (iPollTimeout == -1) {
                continue;
            }
            return NAMED_WAIT_TIMEOUT;
        }
        // The first set event in list order wins; only it is reset.
        for (uint32_t i = 0; i < uiCount; ++i) {
            const short sEvents = vecPoll[i].revents;
            if (sEvents & (POLLERR | POLLNVAL)) {
                errno = EBADF;
                return NAMED_WAIT_FAILED;
            }
            if ((sEvents & POLLIN) && ConsumeSignal(*vecEntries[i])) {
                return NAMED_WAIT_OBJECT_0 + i;
            }
        }
    }
}

uint32_t WaitForNamedEvent(NamedHandle hEvent, uint32_t uiTimeoutMs)
{
    return WaitForAnyNamedEvent(1, &hEvent, uiTimeoutMs);
}

} // namespace OrvUtility
