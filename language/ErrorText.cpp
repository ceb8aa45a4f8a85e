#include "language/ErrorText.h"

#include "language/SystemErrorText.h"
#include "language/Win32Exception.h"

namespace Language {

namespace {

const wchar_t g_szBlanks[] = L" \t\r\n\v\f";

std::wstring Trim(const std::wstring& strText)
{
    const size_t uiFirst = strText.find_first_not_of(g_szBlanks);
    if (uiFirst == std::wstring::npos) {
        return std::wstring();
    }
    const size_t uiLast = strText.find_last_not_of(g_szBlanks);
    return strText.substr(uiFirst, uiLast - uiFirst + 1);
}

} // namespace

std::wstring FormatWin32Error(const std::wstring& strCall, uint32_t uiCode, const wchar_t* szContext)
{
    std::wstring strResult;
    if (szContext) {
        strResult += szContext;
        strResult += L' ';
    }

    std::wstring strSystemText;
    const bool bHasText = GetSystemErrorText(uiCode, strSystemText);

    strResult += strCall;
    strResult += L" failed. last error = ";
    strResult += std::to_wstring(uiCode);
    if (bHasText) {
        strResult += L" (";
        strResult += Trim(strSystemText);
        strResult += L")";
    } else {
        strResult += L" (unknown)";
    }
    return strResult;
}

void ThrowWin32Error(const std::wstring& strCall, uint32_t uiCode, const wchar_t* szContext)
{
    Win32::Win32Exception ex;
    ex.SetContext(szContext ? std::wstring(szContext) : std::wstring());
    ex.SetMessage(FormatWin32Error(strCall, uiCode, szContext));
    ex.SetErrorCode(uiCode);
    throw ex;
}

} // namespace Language
