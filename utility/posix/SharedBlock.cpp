#include "utility/SharedBlock.h"

#include <cerrno>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include "utility/posix/NamedObjectPath.h"
#include "utility/posix/NamedObjectTable.h"
#include "utility/posix/SharedBlockFaultGuard.h"

// A shared block is a regular file in the object's folder (for "Global\"
// names the POSIX shared-memory object that shm_open("/NAME") opens), of
// exactly the block's size, mapped shared.

namespace OrvUtility {

namespace {

std::string SizeText(uint64_t uiActual, uint64_t uiExpected)
{
    return "its size is " + std::to_string(uiActual) + " bytes, not " + std::to_string(uiExpected) + ".";
}

// Gives a block its size: a block of size 0 has just been created by a side
// that has not sized it yet, and takes the size; any other size is refused.
bool CheckSize(int iFd, const CNamedObjectLocation& location, uint64_t uiSize)
{
    struct stat st;
    if (fstat(iFd, &st) != 0) {
        return false;
    }
    const uint64_t uiActual = static_cast<uint64_t>(st.st_size);
    if (uiActual == uiSize) {
        return true;
    }
    if (uiActual == 0 && ftruncate(iFd, static_cast<off_t>(uiSize)) == 0) {
        return true;
    }
    if (uiActual != 0) {
        LogRefusedObject(location.Path(), SizeText(uiActual, uiSize).c_str());
        errno = EINVAL;
    }
    return false;
}

NamedHandle OpenOrCreate(const std::wstring& strName, uint64_t uiSize, bool bCreate, uint32_t uiEveryoneAccess)
{
    CNamedObjectLocation location;
    if (!LocateNamedObject(strName, location)) {
        return nullptr;
    }
    bool bCreated = false;
    const int iFd = OpenNamedObjectFile(location, NAMED_FILE_REGULAR, bCreate, NamedObjectMode(uiEveryoneAccess),
                                        false, &bCreated);
    if (iFd < 0) {
        return nullptr;
    }
    auto pEntry = std::make_shared<CNamedObjectEntry>();
    pEntry->eKind = CNamedObjectEntry::KIND_BLOCK;
    pEntry->iFd = iFd;
    if (!CheckSize(iFd, location, uiSize)) {
        return nullptr;
    }
    NamedHandle hBlock = AddNamedObject(pEntry);
    errno = (!bCreate || bCreated) ? 0 : static_cast<int>(NAMED_ERROR_ALREADY_EXISTS);
    return hBlock;
}

} // namespace

NamedHandle OpenSharedBlock(const std::wstring& strName, uint64_t uiSize)
{
    return OpenOrCreate(strName, uiSize, false, NAMED_DEFAULT_SECURITY);
}

NamedHandle CreateSharedBlock(const std::wstring& strName, uint64_t uiSize, uint32_t uiEveryoneAccess)
{
    return OpenOrCreate(strName, uiSize, true, uiEveryoneAccess);
}

uint8_t* MapSharedBlock(NamedHandle hBlock, uint64_t uiSize)
{
    std::shared_ptr<CNamedObjectEntry> pEntry = FindNamedObject(hBlock);
    if (!pEntry || pEntry->eKind != CNamedObjectEntry::KIND_BLOCK) {
        errno = EBADF;
        return nullptr;
    }
    struct stat st;
    if (fstat(pEntry->iFd, &st) != 0) {
        return nullptr;
    }
    // A view beyond the end of the file would fault when touched.
    if (uiSize == 0 || static_cast<uint64_t>(st.st_size) < uiSize) {
        errno = EINVAL;
        return nullptr;
    }
    void* pView = mmap(nullptr, static_cast<size_t>(uiSize), PROT_READ | PROT_WRITE, MAP_SHARED, pEntry->iFd, 0);
    if (pView == MAP_FAILED) {
        return nullptr;
    }
    // The table of views is also the guard against a block cut short.
    if (!GuardSharedBlockView(pView, static_cast<size_t>(uiSize))) {
        munmap(pView, static_cast<size_t>(uiSize));
        errno = ENOMEM;
        return nullptr;
    }
    return static_cast<uint8_t*>(pView);
}

int UnmapSharedBlock(void* pView)
{
    size_t uiSize = 0;
    if (!UnguardSharedBlockView(pView, uiSize)) {
        return 0;
    }
    return munmap(pView, uiSize) == 0 ? 1 : 0;
}

bool IsSharedBlockViewBroken(void* pView)
{
    return TakeSharedBlockViewBroken(pView);
}

int RestoreSharedBlockView(NamedHandle hBlock, void* pView)
{
    std::shared_ptr<CNamedObjectEntry> pEntry = FindNamedObject(hBlock);
    if (!pEntry || pEntry->eKind != CNamedObjectEntry::KIND_BLOCK) {
        errno = EBADF;
        return 0;
    }
    size_t uiSize = 0;
    if (!FindGuardedSharedBlockView(pView, uiSize)) {
        return 0;
    }
    struct stat st;
    if (fstat(pEntry->iFd, &st) != 0) {
        return 0;
    }
    if (static_cast<uint64_t>(st.st_size) < uiSize && ftruncate(pEntry->iFd, static_cast<off_t>(uiSize)) != 0) {
        return 0;
    }
    // Replaces the whole view in one step, private zero pages included.
    if (mmap(pView, uiSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, pEntry->iFd, 0) == MAP_FAILED) {
        return 0;
    }
    TakeSharedBlockViewBroken(pView);
    return 1;
}

} // namespace OrvUtility
