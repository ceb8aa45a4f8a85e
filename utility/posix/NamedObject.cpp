#include "utility/NamedObject.h"

#include <cerrno>
#include <map>
#include <mutex>
#include <unistd.h>
#include "utility/posix/NamedObjectTable.h"

namespace OrvUtility {

namespace {

struct CHandleTable {
    std::mutex mtx;
    std::map<uintptr_t, std::shared_ptr<CNamedObjectEntry>> mapEntries;
    uintptr_t uiNext = 4;
};

CHandleTable& Table()
{
    static CHandleTable* s_pTable = new CHandleTable(); // lives to the process's end
    return *s_pTable;
}

} // namespace

CNamedObjectEntry::~CNamedObjectEntry()
{
    if (iFd >= 0) {
        close(iFd);
    }
}

NamedHandle AddNamedObject(std::shared_ptr<CNamedObjectEntry> pEntry)
{
    CHandleTable& table = Table();
    std::lock_guard<std::mutex> lock(table.mtx);
    uintptr_t uiHandle = table.uiNext;
    while (uiHandle == 0 || table.mapEntries.count(uiHandle)) {
        uiHandle += 4;
    }
    table.uiNext = uiHandle + 4;
    table.mapEntries[uiHandle] = std::move(pEntry);
    return reinterpret_cast<NamedHandle>(uiHandle);
}

std::shared_ptr<CNamedObjectEntry> FindNamedObject(NamedHandle hObject)
{
    CHandleTable& table = Table();
    std::lock_guard<std::mutex> lock(table.mtx);
    auto it = table.mapEntries.find(reinterpret_cast<uintptr_t>(hObject));
    if (it == table.mapEntries.end()) {
        errno = EBADF;
        return nullptr;
    }
    return it->second;
}

bool RemoveNamedObject(NamedHandle hObject)
{
    std::shared_ptr<CNamedObjectEntry> pEntry; // released outside the table's lock
    CHandleTable& table = Table();
    std::lock_guard<std::mutex> lock(table.mtx);
    auto it = table.mapEntries.find(reinterpret_cast<uintptr_t>(hObject));
    if (it == table.mapEntries.end()) {
        errno = EBADF;
        return false;
    }
    pEntry = std::move(it->second);
    table.mapEntries.erase(it);
    return true;
}

int CloseNamedObject(NamedHandle hObject)
{
    return RemoveNamedObject(hObject) ? 1 : 0;
}

uint32_t NamedObjectLogValue(NamedHandle hObject)
{
    if (!hObject) {
        return 0;
    }
    const int iErr = errno;
    std::shared_ptr<CNamedObjectEntry> pEntry = FindNamedObject(hObject);
    errno = iErr;
    if (pEntry && pEntry->iFd >= 0) {
        return static_cast<uint32_t>(pEntry->iFd);
    }
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(hObject));
}

} // namespace OrvUtility
