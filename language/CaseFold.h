#pragma once

#include <string>

namespace Language {

// Case-insensitive comparison over all of Unicode by simple case folding
// (one code point to one code point, as in CaseFolding.txt's "C" and "S"
// lines): "Ä"/"ä", "Ａ"/"ａ", "Σ"/"σ"/"ς", "Д"/"д" compare equal. The result
// does not depend on the process locale. Wide strings are UTF-32 where
// wchar_t has 32 bits and UTF-16 (with surrogate pairs) where it has 16.

// The simple case folding of one code point (itself when it has none).
char32_t FoldCodePoint(char32_t chCodePoint);

// strText with every code point folded; an unpaired surrogate stays as it is.
std::wstring FoldCase(const std::wstring& strText);

// strText begins with strPrefix, ignoring case.
bool StartsWithNoCase(const std::wstring& strText, const std::wstring& strPrefix);

// strText contains strPart, ignoring case (an empty strPart is in every text).
// strFoldedPart must already be folded (FoldCase), so that a caller who looks
// for one text in many folds it once.
bool ContainsFolded(const std::wstring& strText, const std::wstring& strFoldedPart);

} // namespace Language
