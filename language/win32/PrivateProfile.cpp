#include "language/PrivateProfile.h"

#include <windows.h>

namespace Language {

uint32_t PrivateProfileGetInt(const wchar_t* szSection, const wchar_t* szKey, int32_t iDefault,
                              const wchar_t* szFileName)
{
    return GetPrivateProfileIntW(szSection, szKey, iDefault, szFileName);
}

uint32_t PrivateProfileGetString(const wchar_t* szSection, const wchar_t* szKey, const wchar_t* szDefault,
                                 wchar_t* szBuffer, uint32_t uiSize, const wchar_t* szFileName)
{
    return GetPrivateProfileStringW(szSection, szKey, szDefault, szBuffer, uiSize, szFileName);
}

int32_t PrivateProfileWriteString(const wchar_t* szSection, const wchar_t* szKey, const wchar_t* szValue,
                                  const wchar_t* szFileName)
{
    return WritePrivateProfileStringW(szSection, szKey, szValue, szFileName);
}

} // namespace Language
