#include "language/CaseFold.h"

#include <algorithm>
#include "language/CaseFoldTable.h"

namespace Language {

namespace {

const bool WIDE_IS_UTF16 = sizeof(wchar_t) == 2;

bool IsHighSurrogate(uint32_t ch) { return ch >= 0xD800 && ch <= 0xDBFF; }
bool IsLowSurrogate(uint32_t ch) { return ch >= 0xDC00 && ch <= 0xDFFF; }

// Appends the folding of the code point that starts at strText[i]; returns
// the number of wchar_t it took.
size_t AppendFolded(const std::wstring& strText, size_t i, std::wstring& strOut)
{
    const uint32_t ch = static_cast<uint32_t>(strText[i]) & (WIDE_IS_UTF16 ? 0xFFFFu : 0xFFFFFFFFu);
    if (WIDE_IS_UTF16 && IsHighSurrogate(ch) && i + 1 < strText.size()) {
        const uint32_t chLow = static_cast<uint32_t>(strText[i + 1]) & 0xFFFFu;
        if (IsLowSurrogate(chLow)) {
            const char32_t chFolded = FoldCodePoint(0x10000 + ((ch - 0xD800) << 10) + (chLow - 0xDC00));
            const uint32_t uiOffset = static_cast<uint32_t>(chFolded) - 0x10000;
            strOut.push_back(static_cast<wchar_t>(0xD800 + (uiOffset >> 10)));
            strOut.push_back(static_cast<wchar_t>(0xDC00 + (uiOffset & 0x3FF)));
            return 2;
        }
    }
    strOut.push_back(static_cast<wchar_t>(FoldCodePoint(static_cast<char32_t>(ch))));
    return 1;
}

} // namespace

char32_t FoldCodePoint(char32_t chCodePoint)
{
    const uint32_t ch = static_cast<uint32_t>(chCodePoint);
    if (ch < 0x41) {
        return chCodePoint;
    }
    // The last run that starts at or before ch.
    const CASE_FOLD_RANGE* pEnd = g_aCaseFoldRanges + g_uiCaseFoldRangeCount;
    const CASE_FOLD_RANGE* pRange = std::upper_bound(
        g_aCaseFoldRanges, pEnd, ch, [](uint32_t uiValue, const CASE_FOLD_RANGE& r) { return uiValue < r.uiFirst; });
    if (pRange == g_aCaseFoldRanges) {
        return chCodePoint;
    }
    --pRange;
    if (ch > pRange->uiLast || (ch - pRange->uiFirst) % pRange->uiStride != 0) {
        return chCodePoint;
    }
    return static_cast<char32_t>(static_cast<int64_t>(ch) + pRange->iDelta);
}

std::wstring FoldCase(const std::wstring& strText)
{
    std::wstring strOut;
    strOut.reserve(strText.size());
    for (size_t i = 0; i < strText.size();) {
        i += AppendFolded(strText, i, strOut);
    }
    return strOut;
}

bool StartsWithNoCase(const std::wstring& strText, const std::wstring& strPrefix)
{
    // Simple folding keeps every code point in its plane, so lengths agree.
    if (strPrefix.size() > strText.size()) {
        return false;
    }
    return FoldCase(strText.substr(0, strPrefix.size())) == FoldCase(strPrefix);
}

bool ContainsFolded(const std::wstring& strText, const std::wstring& strFoldedPart)
{
    if (strFoldedPart.empty()) {
        return true;
    }
    if (strFoldedPart.size() > strText.size()) {
        return false;
    }
    return FoldCase(strText).find(strFoldedPart) != std::wstring::npos;
}

} // namespace Language
