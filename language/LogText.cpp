#include "language/LogText.h"

#include <cstdint>

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

const char HEX_DIGITS[] = "0123456789abcdef";

// The visible form of a control character, or null for any other code point.
const char* ControlText(uint32_t uiCodePoint, char (&szBuffer)[8])
{
    switch (uiCodePoint) {
    case '\r':
        return "\\r";
    case '\n':
        return "\\n";
    case '\t':
        return "\\t";
    default:
        break;
    }
    if (uiCodePoint < 0x20 || uiCodePoint == 0x7F) {
        szBuffer[0] = '\\';
        szBuffer[1] = 'x';
        szBuffer[2] = HEX_DIGITS[uiCodePoint >> 4];
        szBuffer[3] = HEX_DIGITS[uiCodePoint & 0xF];
        szBuffer[4] = '\0';
        return szBuffer;
    }
    if (uiCodePoint >= 0x80 && uiCodePoint <= 0x9F) {
        szBuffer[0] = '\\';
        szBuffer[1] = 'u';
        szBuffer[2] = '0';
        szBuffer[3] = '0';
        szBuffer[4] = HEX_DIGITS[uiCodePoint >> 4];
        szBuffer[5] = HEX_DIGITS[uiCodePoint & 0xF];
        szBuffer[6] = '\0';
        return szBuffer;
    }
    return nullptr;
}

} // namespace

std::string EscapeControls(const std::string& strUtf8)
{
    std::string strResult;
    strResult.reserve(strUtf8.size());
    char szBuffer[8];
    for (size_t i = 0; i < strUtf8.size(); ++i) {
        const unsigned char by = static_cast<unsigned char>(strUtf8[i]);
        uint32_t uiCodePoint = by;
        size_t uiBytes = 1;
        if (by == 0xC2 && i + 1 < strUtf8.size()) {
            const unsigned char byNext = static_cast<unsigned char>(strUtf8[i + 1]);
            if (byNext >= 0x80 && byNext <= 0x9F) {
                uiCodePoint = byNext; // U+0080-U+009F
                uiBytes = 2;
            }
        } else if (by >= 0x80) {
            uiCodePoint = 0x100; // a byte of a longer character
        }
        if (const char* szControl = ControlText(uiCodePoint, szBuffer)) {
            strResult += szControl;
            i += uiBytes - 1;
        } else {
            strResult += static_cast<char>(by);
        }
    }
    return strResult;
}

std::wstring EscapeControls(const std::wstring& strText)
{
    std::wstring strResult;
    strResult.reserve(strText.size());
    char szBuffer[8];
    for (const wchar_t ch : strText) {
        if (const char* szControl = ControlText(static_cast<uint32_t>(ch), szBuffer)) {
            for (const char* p = szControl; *p; ++p) {
                strResult += static_cast<wchar_t>(*p);
            }
        } else {
            strResult += ch;
        }
    }
    return strResult;
}

std::string EscapePercent(const std::string& strText)
{
    return DoublePercent(strText);
}

std::wstring EscapePercent(const std::wstring& strText)
{
    return DoublePercent(strText);
}

} // namespace Language
