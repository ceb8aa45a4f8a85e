#include "tests/tools/ToolProcess.h"

#include <windows.h>
#include "support/TempFolder.h"

namespace orvtest {

namespace {

std::wstring Widen(const std::string& s)
{
    const int n = MultiByteToWideChar(CP_UTF8, 0, s.c_str(), -1, nullptr, 0);
    std::wstring w(n > 0 ? n - 1 : 0, L'\0');
    if (n > 1) {
        MultiByteToWideChar(CP_UTF8, 0, s.c_str(), -1, &w[0], n);
    }
    return w;
}

std::wstring Quote(const std::wstring& strArg)
{
    std::wstring strOut = L"\"";
    size_t uiSlashes = 0;
    for (wchar_t ch : strArg) {
        if (ch == L'\\') {
            ++uiSlashes;
            continue;
        }
        strOut.append(ch == L'"' ? uiSlashes * 2 + 1 : uiSlashes, L'\\');
        uiSlashes = 0;
        strOut += ch;
    }
    strOut.append(uiSlashes * 2, L'\\');
    return strOut + L"\"";
}

// A build path of the Linux host ("/work/...") as Wine's Z: drive sees it.
std::wstring WindowsPath(const std::string& strPath)
{
    std::wstring strWide = Widen(strPath);
    if (!strWide.empty() && strWide[0] == L'/') {
        for (wchar_t& ch : strWide) {
            if (ch == L'/') {
                ch = L'\\';
            }
        }
        strWide = L"Z:" + strWide;
    }
    return strWide;
}

HANDLE InheritableFile(const std::string& strPath)
{
    SECURITY_ATTRIBUTES sa = {sizeof(sa), nullptr, TRUE};
    return CreateFileW(Widen(strPath).c_str(), GENERIC_WRITE, FILE_SHARE_READ, &sa, CREATE_ALWAYS,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

} // namespace

int RunTool(const std::string& strProgram, const std::vector<std::string>& vecArgs, std::string& strOut,
            std::string& strErr)
{
    TempFolder folder;
    const std::string strOutPath = folder.File("stdout");
    const std::string strErrPath = folder.File("stderr");
    HANDLE hOut = InheritableFile(strOutPath);
    HANDLE hErr = InheritableFile(strErrPath);
    const std::wstring strExe = WindowsPath(strProgram);
    std::wstring strCommand = Quote(strExe);
    for (const std::string& strArg : vecArgs) {
        strCommand += L" " + Quote(Widen(strArg));
    }
    STARTUPINFOW si = {};
    si.cb = sizeof(si);
    si.dwFlags = STARTF_USESTDHANDLES;
    si.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    si.hStdOutput = hOut;
    si.hStdError = hErr;
    PROCESS_INFORMATION pi = {};
    const BOOL bStarted =
        CreateProcessW(strExe.c_str(), &strCommand[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &si, &pi);
    CloseHandle(hOut);
    CloseHandle(hErr);
    if (!bStarted) {
        return -1;
    }
    CloseHandle(pi.hThread);
    WaitForSingleObject(pi.hProcess, INFINITE);
    DWORD dwCode = 0;
    GetExitCodeProcess(pi.hProcess, &dwCode);
    CloseHandle(pi.hProcess);
    strOut = ReadWholeFile(strOutPath);
    strErr = ReadWholeFile(strErrPath);
    return static_cast<int>(dwCode);
}

} // namespace orvtest
