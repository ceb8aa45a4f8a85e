#include "app/ModulePath.h"

#include <windows.h>
#include "language/ErrorText.h"

std::wstring GetProgramPath()
{
    wchar_t szPath[MAX_PATH] = {0};
    const DWORD dwLength = ::GetModuleFileNameW(nullptr, szPath, MAX_PATH);
    if (dwLength == 0) {
        Language::ThrowWin32Error(L"GetModuleFileName", ::GetLastError());
    }
    return std::wstring(szPath, dwLength);
}

const wchar_t* GetClientToolFileName()
{
    return L"OrvClientTool.exe";
}
