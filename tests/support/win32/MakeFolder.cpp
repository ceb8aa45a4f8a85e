#include "support/TempFolder.h"

#include <windows.h>

namespace orvtest {

bool MakeFolder(const std::wstring& strPath)
{
    return CreateDirectoryW(strPath.c_str(), nullptr) != 0;
}

} // namespace orvtest
