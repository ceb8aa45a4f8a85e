#include "language/AnsiText.h"

#include "language/TextConvert.h"

namespace Language {

std::string AnsiFromWide(const std::wstring& strWide)
{
    return Utf8FromWide(strWide);
}

} // namespace Language
