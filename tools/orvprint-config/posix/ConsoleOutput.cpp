#include "tools/orvprint-config/ConsoleOutput.h"

#include <cstdio>
#include "language/TextConvert.h"

void WriteConsoleLine(const std::wstring& strLine)
{
    const std::string strText = Language::Utf8FromWide(strLine) + "\n";
    std::fwrite(strText.data(), 1, strText.size(), stdout);
}
