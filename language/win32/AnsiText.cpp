#include "language/AnsiText.h"

#include <windows.h>

namespace Language {

std::string AnsiFromWide(const std::wstring& strWide)
{
    if (strWide.empty()) {
        return std::string();
    }
    const int iChars = static_cast<int>(strWide.size());
    const int iBytes = WideCharToMultiByte(CP_ACP, 0, strWide.c_str(), iChars, nullptr, 0, nullptr, nullptr);
    if (iBytes <= 0) {
        return std::string();
    }
    std::string strNarrow(static_cast<size_t>(iBytes), '\0');
    WideCharToMultiByte(CP_ACP, 0, strWide.c_str(), iChars, &strNarrow[0], iBytes, nullptr, nullptr);
    return strNarrow;
}

} // namespace Language
