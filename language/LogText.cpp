#include "language/LogText.h"

namespace Language {

namespace {

template <class TString>
TString DoublePercent(const TString& strText)
{
    TString strResult;
    strResult.reserve(strText.size() + 8);
    for (const auto ch : strText) {
        strResult += ch;
        if (ch == '%') {
            strResult += ch;
        }
    }
    return strResult;
}

} // namespace

std::string EscapePercent(const std::string& strText)
{
    return DoublePercent(strText);
}

std::wstring EscapePercent(const std::wstring& strText)
{
    return DoublePercent(strText);
}

} // namespace Language
