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

namespace {

// The processes that run the program file: a first check by file name, then
// the process's modules, which are read only for the names that match.
std::vector<uint32_t> FindProcesses(const std::wstring& strProgramPath, bool bFirstOnly)
{
    const std::vector<ProcessEntry> vecProcesses = EnumProcesses();
    const std::wstring strProgramName = GetFileNameOfPath(strProgramPath);
    std::vector<uint32_t> vecIds;
    for (const ProcessEntry& process : vecProcesses) {
        if (EqualNoCase(GetFileNameOfPath(process.strExeFile), strProgramName) &&
            IsModuleLoadedInProcess(process.uiProcessId, strProgramPath)) {
            vecIds.push_back(process.uiProcessId);
            if (bFirstOnly) {
                break;
            }
        }
    }
    return vecIds;
}

} // namespace

bool IsProcessRunning(const std::wstring& strProgramPath)
{
    return !FindProcesses(strProgramPath, true).empty();
}

std::vector<uint32_t> FindProcessesRunning(const std::wstring& strProgramPath)
{
    return FindProcesses(strProgramPath, false);
}

} // namespace Language
