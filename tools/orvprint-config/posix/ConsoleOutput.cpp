#include "tools/orvprint-config/ConsoleOutput.h"

#include <cstdio>
#include "language/TextConvert.h"

void PrintLine(const std::wstring& strLine)
{
    const std::string strText = Language::Utf8FromWide(strLine) + "\n";
    std::fwrite(strText.data(), 1, strText.size(), stdout);
}
