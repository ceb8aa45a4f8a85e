#include "tools/orvprint-config/ConsoleOutput.h"

#include <windows.h>
#include <cstdio>
#include "language/TextConvert.h"

// A console gets the wide text itself; a pipe or file gets UTF-8.
void WriteConsoleLine(const std::wstring& strLine)
{
    const std::wstring strText = strLine + L"\r\n";
    HANDLE hOut = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD dwMode = 0;
    if (hOut != INVALID_HANDLE_VALUE && GetConsoleMode(hOut, &dwMode)) {
        DWORD dwWritten = 0;
        WriteConsoleW(hOut, strText.c_str(), static_cast<DWORD>(strText.size()), &dwWritten, nullptr);
        return;
    }
    const std::string strUtf8 = Language::Utf8FromWide(strText);
    std::fwrite(strUtf8.data(), 1, strUtf8.size(), stdout);
    std::fflush(stdout);
}
