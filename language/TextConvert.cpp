#include "language/TextConvert.h"

#include <cstdlib>
#include <cwchar>
#include <vector>

namespace Language {

namespace {

const char32_t g_cReplacement = 0xFFFD;

bool IsHighSurrogate(char32_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool IsLowSurrogate(char32_t c) { return c >= 0xDC00 && c <= 0xDFFF; }
bool IsSurrogate(char32_t c) { return c >= 0xD800 && c <= 0xDFFF; }

// One character at a time, leaving out what the locale cannot express.
std::string NarrowEachChar(const std::wstring& strWide)
{
    std::string strResult;
    std::vector<char> vecBuffer(MB_CUR_MAX > 0 ? MB_CUR_MAX : 8);
    std::mbstate_t state = std::mbstate_t();
    for (wchar_t c : strWide) {
        if (c == L'\0') {
            break;
        }
        const size_t uiLength = std::wcrtomb(vecBuffer.data(), c, &state);
        if (uiLength == static_cast<size_t>(-1)) {
            state = std::mbstate_t();
            continue;
        }
        strResult.append(vecBuffer.data(), uiLength);
    }
    return strResult;
}

// One character at a time, leaving out bytes that start no valid character.
std::wstring WidenEachChar(const std::string& strNarrow)
{
    std::wstring strResult;
    std::mbstate_t state = std::mbstate_t();
    const char* p = strNarrow.c_str();
    size_t uiLeft = std::char_traits<char>::length(p);
    while (uiLeft > 0) {
        wchar_t c = 0;
        const size_t uiLength = std::mbrtowc(&c, p, uiLeft, &state);
        if (uiLength == static_cast<size_t>(-1)) {
            state = std::mbstate_t();
            ++p;
            --uiLeft;
            continue;
        }
        if (uiLength == static_cast<size_t>(-2) || uiLength == 0) {
            break;
        }
        strResult += c;
        p += uiLength;
        uiLeft -= uiLength;
    }
    return strResult;
}

// Code points of a wide string: UTF-16 where wchar_t is 16 bits, UTF-32
// elsewhere. Unpaired surrogates and values past U+10FFFF become U+FFFD.
std::u32string CodePointsFromWide(const std::wstring& strWide)
{
    std::u32string strResult;
    strResult.reserve(strWide.size());
    for (size_t i = 0; i < strWide.size(); ++i) {
        char32_t c = static_cast<char32_t>(strWide[i]);
        if (sizeof(wchar_t) == 2) {
            c &= 0xFFFF;
            if (IsHighSurrogate(c) && i + 1 < strWide.size() &&
                IsLowSurrogate(static_cast<char32_t>(strWide[i + 1]) & 0xFFFF)) {
                const char32_t cLow = static_cast<char32_t>(strWide[i + 1]) & 0xFFFF;
                c = 0x10000 + ((c - 0xD800) << 10) + (cLow - 0xDC00);
                ++i;
            } else if (IsSurrogate(c)) {
                c = g_cReplacement;
            }
        } else if (IsSurrogate(c) || c > 0x10FFFF) {
            c = g_cReplacement;
        }
        strResult += c;
    }
    return strResult;
}

void AppendCodePoint(std::wstring& strWide, char32_t c)
{
    if (sizeof(wchar_t) == 2 && c > 0xFFFF) {
        c -= 0x10000;
        strWide += static_cast<wchar_t>(0xD800 + (c >> 10));
        strWide += static_cast<wchar_t>(0xDC00 + (c & 0x3FF));
    } else {
        strWide += static_cast<wchar_t>(c);
    }
}

} // namespace

std::string NarrowFromWide(const std::wstring& strWide)
{
    const size_t uiCount = std::wcstombs(nullptr, strWide.c_str(), 0);
    if (uiCount == static_cast<size_t>(-1)) {
        return NarrowEachChar(strWide);
    }
    std::vector<char> vecBuffer(uiCount + 1, '\0');
    const size_t uiDone = std::wcstombs(vecBuffer.data(), strWide.c_str(), uiCount + 1);
    if (uiDone == static_cast<size_t>(-1)) {
        return NarrowEachChar(strWide);
    }
    return std::string(vecBuffer.data(), uiDone);
}

std::wstring WideFromNarrow(const std::string& strNarrow)
{
    const size_t uiCount = std::mbstowcs(nullptr, strNarrow.c_str(), 0);
    if (uiCount == static_cast<size_t>(-1)) {
        return WidenEachChar(strNarrow);
    }
    std::vector<wchar_t> vecBuffer(uiCount + 1, L'\0');
    const size_t uiDone = std::mbstowcs(vecBuffer.data(), strNarrow.c_str(), uiCount + 1);
    if (uiDone == static_cast<size_t>(-1)) {
        return WidenEachChar(strNarrow);
    }
    return std::wstring(vecBuffer.data(), uiDone);
}

std::wstring WideFromUtf16(const char16_t* szText, size_t uiMaxChars)
{
    std::wstring strResult;
    if (!szText) {
        return strResult;
    }
    size_t uiLength = 0;
    while (uiLength < uiMaxChars && szText[uiLength] != u'\0') {
        ++uiLength;
    }
    strResult.reserve(uiLength);
    for (size_t i = 0; i < uiLength; ++i) {
        const char32_t c = szText[i];
        if (sizeof(wchar_t) == 2) {
            // Same encoding: the units are copied as they are.
            strResult += static_cast<wchar_t>(c);
        } else if (IsHighSurrogate(c) && i + 1 < uiLength && IsLowSurrogate(szText[i + 1])) {
            strResult += static_cast<wchar_t>(0x10000 + ((c - 0xD800) << 10) + (szText[i + 1] - 0xDC00));
            ++i;
        } else if (IsSurrogate(c)) {
            strResult += static_cast<wchar_t>(g_cReplacement);
        } else {
            strResult += static_cast<wchar_t>(c);
        }
    }
    return strResult;
}

std::u16string Utf16FromWide(const std::wstring& strWide)
{
    std::u16string strResult;
    if (sizeof(wchar_t) == 2) {
        strResult.reserve(strWide.size());
        for (wchar_t c : strWide) {
            strResult += static_cast<char16_t>(c);
        }
        return strResult;
    }
    for (char32_t c : CodePointsFromWide(strWide)) {
        if (c > 0xFFFF) {
            c -= 0x10000;
            strResult += static_cast<char16_t>(0xD800 + (c >> 10));
            strResult += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
        } else {
            strResult += static_cast<char16_t>(c);
        }
    }
    return strResult;
}

std::string Utf8FromWide(const std::wstring& strWide)
{
    std::string strResult;
    strResult.reserve(strWide.size());
    for (char32_t c : CodePointsFromWide(strWide)) {
        if (c < 0x80) {
            strResult += static_cast<char>(c);
        } else if (c < 0x800) {
            strResult += static_cast<char>(0xC0 | (c >> 6));
            strResult += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            strResult += static_cast<char>(0xE0 | (c >> 12));
            strResult += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            strResult += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            strResult += static_cast<char>(0xF0 | (c >> 18));
            strResult += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            strResult += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            strResult += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return strResult;
}

std::wstring WideFromUtf8(const std::string& strUtf8)
{
    std::wstring strResult;
    strResult.reserve(strUtf8.size());
    const size_t uiSize = strUtf8.size();
    size_t i = 0;
    while (i < uiSize) {
        const unsigned char b0 = static_cast<unsigned char>(strUtf8[i]);
        if (b0 < 0x80) {
            strResult += static_cast<wchar_t>(b0);
            ++i;
            continue;
        }
        size_t uiTrail = 0;
        char32_t c = 0;
        char32_t cMin = 0;
        if (b0 >= 0xC2 && b0 <= 0xDF) {
            uiTrail = 1; c = b0 & 0x1F; cMin = 0x80;
        } else if (b0 >= 0xE0 && b0 <= 0xEF) {
            uiTrail = 2; c = b0 & 0x0F; cMin = 0x800;
        } else if (b0 >= 0xF0 && b0 <= 0xF4) {
            uiTrail = 3; c = b0 & 0x07; cMin = 0x10000;
        } else {
            // A stray continuation byte or a byte that starts nothing.
            AppendCodePoint(strResult, g_cReplacement);
            ++i;
            continue;
        }
        size_t j = 1;
        for (; j <= uiTrail && i + j < uiSize; ++j) {
            const unsigned char b = static_cast<unsigned char>(strUtf8[i + j]);
            if ((b & 0xC0) != 0x80) {
                break;
            }
            c = (c << 6) | (b & 0x3F);
        }
        if (j <= uiTrail || c < cMin || c > 0x10FFFF || IsSurrogate(c)) {
            // Malformed: one replacement for the bytes taken so far.
            AppendCodePoint(strResult, g_cReplacement);
            i += (j > 1) ? j : 1;
            continue;
        }
        AppendCodePoint(strResult, c);
        i += uiTrail + 1;
    }
    return strResult;
}

} // namespace Language
