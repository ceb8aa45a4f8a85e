#pragma once

#include <cstddef>
#include <string>

namespace Language {

// Narrow <-> wide in the current C locale (wcstombs / mbstowcs, sized by a
// first counting pass). Characters the locale cannot express are dropped.
std::string NarrowFromWide(const std::wstring& strWide);
std::wstring WideFromNarrow(const std::string& strNarrow);

// Wire text (UTF-16 in a fixed char16_t array) <-> in-memory wide strings.
// Reads stop at the first NUL or after uiMaxChars characters, whichever comes
// first; an unpaired surrogate becomes U+FFFD on platforms with 32-bit wchar_t.
std::wstring WideFromUtf16(const char16_t* szText, size_t uiMaxChars);
std::u16string Utf16FromWide(const std::wstring& strWide);

// UTF-8 <-> wide, independent of the locale (files and argv on Linux).
std::string Utf8FromWide(const std::wstring& strWide);
std::wstring WideFromUtf8(const std::string& strUtf8);

} // namespace Language
