#include "utility/FileLocker.h"

#include <stdlib.h>
#include <wchar.h>
#include <windows.h>

namespace OrvUtility {

std::wstring CFileLocker::MakeLockName(const wchar_t* szFilename)
{
    if (!szFilename || !*szFilename) {
        return std::wstring();
    }
    wchar_t szName[MAX_PATH] = {0};
    if (!_wfullpath(szName, szFilename, MAX_PATH)) {
        return std::wstring();
    }
    _wcsupr(szName);
    for (wchar_t* p = szName; *p; ++p) {
        if (*p == L'\\') {
            *p = L'|';
        }
    }
    return szName;
}

} // namespace OrvUtility
