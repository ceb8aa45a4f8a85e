#include "utility/NamedMutex.h"

#include <cerrno>
#include <map>
#include <memory>
#include <mutex>
#include <sys/file.h>
#include <unistd.h>
#include "utility/posix/NamedMutexCore.h"
#include "utility/posix/NamedObjectPath.h"
#include "utility/posix/NamedObjectTable.h"

// A named mutex is a lock file (see NamedMutexCore.h). All handles of one
// name in this process share one core, as all handles of a kernel mutex
// share the one object.

namespace OrvUtility {

namespace {

struct CCoreRegistry {
    std::mutex mtx;
    std::map<std::string, std::weak_ptr<CNamedMutexCore>> mapCores;
};

CCoreRegistry& Registry()
{
    static CCoreRegistry* s_pRegistry = new CCoreRegistry(); // lives to the process's end
    return *s_pRegistry;
}

// Takes the core out of the registry when its last handle goes.
struct CCoreDeleter {
    void operator()(CNamedMutexCore* pCore) const
    {
        {
            CCoreRegistry& registry = Registry();
            std::lock_guard<std::mutex> lock(registry.mtx);
            auto it = registry.mapCores.find(pCore->GetKey());
            if (it != registry.mapCores.end() && it->second.expired()) {
                registry.mapCores.erase(it);
            }
        }
        delete pCore;
    }
};

std::shared_ptr<CNamedMutexCore> FindMutex(NamedHandle hMutex)
{
    std::shared_ptr<CNamedObjectEntry> pEntry = FindNamedObject(hMutex);
    if (!pEntry || pEntry->eKind != CNamedObjectEntry::KIND_MUTEX) {
        errno = EBADF;
        return nullptr;
    }
    return pEntry->pMutex;
}

} // namespace

NamedHandle CreateNamedMutex(const wchar_t* szName, bool bInitialOwner, uint32_t uiEveryoneAccess,
                             bool* pbAlreadyExists)
{
    if (pbAlreadyExists) {
        *pbAlreadyExists = false;
    }
    std::shared_ptr<CNamedMutexCore> pCore;
    bool bExisted = false;
    if (!szName) {
        pCore.reset(new CNamedMutexCore(std::string(), -1));
    } else {
        CNamedObjectLocation location;
        if (!LocateNamedObject(szName, location)) {
            return nullptr;
        }
        const std::string strKey = location.Path();
        CCoreRegistry& registry = Registry();
        std::lock_guard<std::mutex> lock(registry.mtx);
        auto it = registry.mapCores.find(strKey);
        if (it != registry.mapCores.end()) {
            pCore = it->second.lock();
        }
        if (pCore) {
            bExisted = true;
        } else {
            const int iFd = OpenNamedObjectFile(location, NAMED_FILE_REGULAR, true, NamedObjectMode(uiEveryoneAccess),
                                                true, nullptr);
            if (iFd < 0) {
                return nullptr;
            }
            pCore = std::shared_ptr<CNamedMutexCore>(new CNamedMutexCore(strKey, iFd), CCoreDeleter());
            registry.mapCores[strKey] = pCore;
        }
    }

    // As with the kernel's mutex, the initial ownership applies to a mutex
    // that did not exist; one held by another process exists.
    if (bInitialOwner && !bExisted && !pCore->TryAcquireNow()) {
        bExisted = true;
    }

    auto pEntry = std::make_shared<CNamedObjectEntry>();
    pEntry->eKind = CNamedObjectEntry::KIND_MUTEX;
    pEntry->pMutex = std::move(pCore);
    NamedHandle hMutex = AddNamedObject(pEntry);
    if (pbAlreadyExists) {
        *pbAlreadyExists = bExisted;
    }
    errno = bExisted ? static_cast<int>(NAMED_ERROR_ALREADY_EXISTS) : 0;
    return hMutex;
}

uint32_t WaitNamedMutex(NamedHandle hMutex, uint32_t uiTimeoutMs)
{
    std::shared_ptr<CNamedMutexCore> pCore = FindMutex(hMutex);
    if (!pCore) {
        return NAMED_WAIT_FAILED;
    }
    return pCore->Acquire(uiTimeoutMs);
}

int ReleaseNamedMutex(NamedHandle hMutex)
{
    std::shared_ptr<CNamedMutexCore> pCore = FindMutex(hMutex);
    if (!pCore) {
        return 0;
    }
    return pCore->Release() ? 1 : 0;
}

} // namespace OrvUtility
