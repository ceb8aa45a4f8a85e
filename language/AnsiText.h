#pragma once

#include <string>

namespace Language {

// Wide text as the system's narrow-character calls give and take it,
// whatever the C library's locale: Windows the ANSI code page (what
// RegQueryValueExA returns and fopen expects; 936 on a Chinese system),
// Linux UTF-8 (file names are bytes, UTF-8 by convention). Characters the
// code page cannot express become what the system puts for them ("?").
std::string AnsiFromWide(const std::wstring& strWide);

} // namespace Language
