#include "tools/orvprint-config/ConsoleOutput.h"

#include "language/LogText.h"

void PrintLine(const std::wstring& strLine)
{
    WriteConsoleLine(Language::EscapeControls(strLine));
}
