#include "utility/SharedBlock.h"

#include <windows.h>
#include "utility/win32/EveryoneCreate.h"

namespace OrvUtility {

NamedHandle OpenSharedBlock(const std::wstring& strName, uint64_t /*uiSize*/)
{
    return OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, strName.c_str());
}

NamedHandle CreateSharedBlock(const std::wstring& strName, uint64_t uiSize, uint32_t uiEveryoneAccess)
{
    return CreateWithEveryone(uiEveryoneAccess, [&strName, uiSize](SECURITY_ATTRIBUTES* pAttributes) {
        return CreateFileMappingW(INVALID_HANDLE_VALUE, pAttributes, PAGE_READWRITE,
                                  static_cast<DWORD>(uiSize >> 32), static_cast<DWORD>(uiSize), strName.c_str());
    });
}

uint8_t* MapSharedBlock(NamedHandle hBlock, uint64_t uiSize)
{
    return static_cast<uint8_t*>(MapViewOfFile(hBlock, FILE_MAP_ALL_ACCESS, 0, 0, static_cast<SIZE_T>(uiSize)));
}

int UnmapSharedBlock(void* pView)
{
    return UnmapViewOfFile(pView);
}

bool IsSharedBlockViewBroken(void*)
{
    return false;
}

int RestoreSharedBlockView(NamedHandle, void*)
{
    return 1;
}

} // namespace OrvUtility
