#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#include "language/TextConvert.h"
#include "tools/orvprint-folders/win32/FoldersTool.h"

namespace {

// Refusals and failures also go to the Application log: under the installer
// no console shows them.
void ReportErrors(const std::vector<std::wstring>& vecErr)
{
    if (vecErr.empty()) {
        return;
    }
    HANDLE hSource = RegisterEventSourceW(nullptr, L"OrvprintD Setup");
    if (!hSource) {
        return;
    }
    for (const std::wstring& strLine : vecErr) {
        LPCWSTR aszStrings[1] = {strLine.c_str()};
        ReportEventW(hSource, EVENTLOG_ERROR_TYPE, 0, 1, nullptr, 1, 0, aszStrings, nullptr);
    }
    DeregisterEventSource(hSource);
}

void WriteLines(FILE* pStream, const std::vector<std::wstring>& vecLines)
{
    for (const std::wstring& strLine : vecLines) {
        const std::string strText = Language::Utf8FromWide(strLine) + "\n";
        fwrite(strText.data(), 1, strText.size(), pStream);
    }
    fflush(pStream);
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    // UTF-8 out, unchanged by the C runtime.
    SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    std::vector<std::wstring> vecArgs;
    for (int i = 1; i < argc; ++i) {
        vecArgs.push_back(argv[i]);
    }
    std::vector<std::wstring> vecOut;
    std::vector<std::wstring> vecErr;
    const int iCode = OrvprintFolders::RunFoldersTool(vecArgs, vecOut, vecErr);
    WriteLines(stdout, vecOut);
    WriteLines(stderr, vecErr);
    ReportErrors(vecErr);
    return iCode;
}
