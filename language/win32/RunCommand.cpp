#include "language/CommandLine.h"

#include <io.h>
#include <vector>
#include <windows.h>
#include "language/FileNotFoundException.h"
#include "language/InvalidDataException.h"

namespace Language {

void RunCommand(const std::wstring& strCommandLine)
{
    std::vector<std::wstring> vecParts;
    const size_t uiCount = SplitCommandLine(strCommandLine, vecParts);
    if (uiCount == 0) {
        throw InvalidDataException(L"命令的形式不正确。");
    }

    std::wstring strProgram;
    for (wchar_t c : vecParts[0]) {
        if (c != L'"') {
            strProgram += c;
        }
    }
    if (_waccess(strProgram.c_str(), 0) != 0) {
        throw FileNotFoundException(strProgram);
    }

    // The command line as the runtime library's spawn builds it: the parts
    // joined with blanks (the quotes of quoted parts keep them together).
    std::wstring strCommand;
    for (size_t i = 0; i < uiCount; ++i) {
        if (i > 0) {
            strCommand += L' ';
        }
        strCommand += vecParts[i];
    }
    std::vector<wchar_t> vecCommand(strCommand.begin(), strCommand.end());
    vecCommand.push_back(L'\0');

    // Started without inheriting any handle of this process: the log files
    // and the channel's objects stay this process's own.
    STARTUPINFOW si = {};
    si.cb = sizeof(si);
    PROCESS_INFORMATION pi = {};
    if (CreateProcessW(strProgram.c_str(), vecCommand.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si,
                       &pi)) {
        CloseHandle(pi.hThread);
        CloseHandle(pi.hProcess);
    }
}

} // namespace Language
