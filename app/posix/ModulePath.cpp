#include "app/ModulePath.h"

#include <cerrno>
#include <climits>
#include <unistd.h>
#include "language/ErrorText.h"
#include "language/TextConvert.h"

std::wstring GetProgramPath()
{
    char szPath[PATH_MAX] = {0};
    const ssize_t iLength = readlink("/proc/self/exe", szPath, sizeof(szPath) - 1);
    if (iLength <= 0) {
        Language::ThrowWin32Error(L"GetModuleFileName", static_cast<uint32_t>(errno));
    }
    return Language::WideFromUtf8(std::string(szPath, static_cast<size_t>(iLength)));
}

const wchar_t* GetClientToolFileName()
{
    return L"OrvClientTool";
}
