#include "language/ProcessHelpers.h"

#include <locale>
#include "language/PathHelpers.h"

namespace Language {

namespace {

// Both sides lower-cased with the global locale's case mapping, then compared
// by length and content.
bool EqualNoCase(const std::wstring& strLeft, const std::wstring& strRight)
{
    if (strLeft.size() != strRight.size()) {
        return false;
    }
    const std::ctype<wchar_t>& facet = std::use_facet<std::ctype<wchar_t>>(std::locale());
    for (size_t i = 0; i < strLeft.size(); ++i) {
        if (facet.tolower(strLeft[i]) != facet.tolower(strRight[i])) {
            return false;
        }
    }
    return true;
}

} // namespace

void EnableDebugPrivilege(ProcessHandle hProcess)
{
    EnablePrivilege(hProcess, L"SeDebugPrivilege");
}

bool IsModuleLoadedInProcess(uint32_t uiProcessId, const std::wstring& strProgramPath)
{
    try {
        const std::vector<ModuleEntry> vecModules = EnumModules(uiProcessId);
        const std::wstring strProgramFullPath = GetFullPath(strProgramPath);
        for (const ModuleEntry& module : vecModules) {
            if (EqualNoCase(GetFullPath(module.strExePath), strProgramFullPath)) {
                return true;
            }
        }
    } catch (...) {
        return false;
    }
    return false;
}

bool IsProcessRunning(const std::wstring& strProgramPath)
{
    const std::vector<ProcessEntry> vecProcesses = EnumProcesses();
    const std::wstring strProgramName = GetFileNameOfPath(strProgramPath);
    for (const ProcessEntry& process : vecProcesses) {
        if (EqualNoCase(GetFileNameOfPath(process.strExeFile), strProgramName) &&
            IsModuleLoadedInProcess(process.uiProcessId, strProgramPath)) {
            return true;
        }
    }
    return false;
}

} // namespace Language
