#include "utility/NamedMutex.h"

#include <windows.h>
#include "utility/win32/EveryoneCreate.h"

namespace OrvUtility {

NamedHandle CreateNamedMutex(const wchar_t* szName, bool bInitialOwner, uint32_t uiEveryoneAccess,
                             bool* pbAlreadyExists)
{
    HANDLE hMutex = CreateWithEveryone(uiEveryoneAccess, [szName, bInitialOwner](SECURITY_ATTRIBUTES* pAttributes) {
        return CreateMutexW(pAttributes, bInitialOwner ? TRUE : FALSE, szName);
    });
    if (pbAlreadyExists) {
        const DWORD dwError = GetLastError();
        *pbAlreadyExists = hMutex && dwError == ERROR_ALREADY_EXISTS;
        SetLastError(dwError);
    }
    return hMutex;
}

uint32_t WaitNamedMutex(NamedHandle hMutex, uint32_t uiTimeoutMs)
{
    return WaitForSingleObject(hMutex, uiTimeoutMs);
}

int ReleaseNamedMutex(NamedHandle hMutex)
{
    return ReleaseMutex(hMutex);
}

NamedMutexState ProbeNamedMutex(const std::wstring& strName)
{
    HANDLE hMutex = OpenMutexW(SYNCHRONIZE | MUTEX_MODIFY_STATE, FALSE, strName.c_str());
    if (!hMutex) {
        return GetLastError() == ERROR_FILE_NOT_FOUND ? NAMED_MUTEX_ABSENT : NAMED_MUTEX_PROBE_FAILED;
    }
    NamedMutexState eState = NAMED_MUTEX_PROBE_FAILED;
    switch (WaitForSingleObject(hMutex, 0)) {
    case WAIT_TIMEOUT:
        eState = NAMED_MUTEX_OWNED;
        break;
    case WAIT_OBJECT_0:
    case WAIT_ABANDONED:
        ReleaseMutex(hMutex);
        eState = NAMED_MUTEX_FREE;
        break;
    default:
        break;
    }
    const DWORD dwError = GetLastError();
    CloseHandle(hMutex);
    SetLastError(dwError);
    return eState;
}

} // namespace OrvUtility
