#include "language/ProcessHelpers.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <map>
#include <pwd.h>
#include <sys/types.h>
#include <unistd.h>
#include <boost/bind/bind.hpp>
#include "language/ErrorText.h"
#include "language/TextConvert.h"
#include "language/scope_guard.h"

namespace Language {

namespace {

int CloseFile(FILE* pFile)
{
    return std::fclose(pFile);
}

int CloseFolder(DIR* pDir)
{
    return closedir(pDir);
}

// The target of a /proc link; false (errno set) when it cannot be read.
bool ReadLink(const std::string& strLink, std::string& strTarget)
{
    std::vector<char> vecBuffer(256);
    for (;;) {
        const ssize_t iLength = readlink(strLink.c_str(), vecBuffer.data(), vecBuffer.size());
        if (iLength < 0) {
            return false;
        }
        if (static_cast<size_t>(iLength) < vecBuffer.size()) {
            strTarget.assign(vecBuffer.data(), static_cast<size_t>(iLength));
            return true;
        }
        vecBuffer.resize(vecBuffer.size() * 2);
    }
}

std::string BaseName(const std::string& strPath)
{
    const size_t uiSlash = strPath.rfind('/');
    return uiSlash == std::string::npos ? strPath : strPath.substr(uiSlash + 1);
}

bool ParseProcessId(const char* szName, uint32_t& uiProcessId)
{
    if (!*szName) {
        return false;
    }
    uint64_t uiValue = 0;
    for (const char* p = szName; *p; ++p) {
        if (*p < '0' || *p > '9') {
            return false;
        }
        uiValue = uiValue * 10 + static_cast<uint64_t>(*p - '0');
        if (uiValue > 0xFFFFFFFFu) {
            return false;
        }
    }
    uiProcessId = static_cast<uint32_t>(uiValue);
    return true;
}

struct MappedFile {
    uintptr_t uiStart = 0;
    uintptr_t uiEnd = 0;
};

ModuleEntry MakeModule(uint32_t uiProcessId, const std::string& strPath,
                       const std::map<std::string, MappedFile>& mapFiles)
{
    ModuleEntry module;
    module.uiProcessId = uiProcessId;
    const auto it = mapFiles.find(strPath);
    if (it != mapFiles.end()) {
        module.uiBaseAddress = it->second.uiStart;
        module.uiBaseSize = it->second.uiEnd - it->second.uiStart;
    }
    module.strModule = WideFromUtf8(BaseName(strPath));
    module.strExePath = WideFromUtf8(strPath);
    return module;
}

} // namespace

ProcessHandle GetCurrentProcessHandle()
{
    return nullptr;
}

void EnablePrivilege(ProcessHandle /*hProcess*/, const std::wstring& /*strPrivilege*/)
{
    // Linux processes have no token privileges to enable.
}

std::vector<ProcessEntry> EnumProcesses()
{
    EnableDebugPrivilege(GetCurrentProcessHandle());

    DIR* pDir = opendir("/proc");
    if (!pDir) {
        ThrowWin32Error(L"CreateToolhelp32Snapshot", static_cast<uint32_t>(errno));
    }
    scope_guard guardDir(boost::bind(CloseFolder, pDir));

    std::vector<ProcessEntry> vecProcesses;
    while (const dirent* pEntry = readdir(pDir)) {
        uint32_t uiProcessId = 0;
        if (!ParseProcessId(pEntry->d_name, uiProcessId)) {
            continue;
        }
        const std::string strFolder = std::string("/proc/") + pEntry->d_name;
        std::string strExe;
        if (!ReadLink(strFolder + "/exe", strExe)) {
            // Another user's process, a kernel thread or one that just ended.
            continue;
        }
        ProcessEntry process;
        process.uiProcessId = uiProcessId;
        // The parent, thread count and priority (/proc/PID/stat) are left at
        // zero: no caller reads them, and reading and parsing that file for
        // every process would double the cost of a listing.
        process.strExeFile = WideFromUtf8(BaseName(strExe));
        vecProcesses.push_back(process);
    }
    if (vecProcesses.empty()) {
        ThrowWin32Error(L"Process32First", ESRCH);
    }
    return vecProcesses;
}

std::vector<ModuleEntry> EnumModules(uint32_t uiProcessId)
{
    const std::string strFolder = "/proc/" + std::to_string(uiProcessId);
    FILE* pMaps = std::fopen((strFolder + "/maps").c_str(), "r");
    if (!pMaps) {
        ThrowWin32Error(L"CreateToolhelp32Snapshot", static_cast<uint32_t>(errno));
    }
    scope_guard guardMaps(boost::bind(CloseFile, pMaps));

    std::string strExe;
    if (!ReadLink(strFolder + "/exe", strExe)) {
        ThrowWin32Error(L"Module32First", static_cast<uint32_t>(errno));
    }

    // Mapped files in the order of their first mapping, each with the range
    // from its lowest to its highest address.
    std::vector<std::string> vecOrder;
    std::map<std::string, MappedFile> mapFiles;
    std::vector<char> vecLine(4096);
    std::string strLine;
    while (std::fgets(vecLine.data(), static_cast<int>(vecLine.size()), pMaps)) {
        strLine += vecLine.data();
        if (strLine.empty() || strLine.back() != '\n') {
            if (!std::feof(pMaps)) {
                continue;  // a longer line: read on
            }
        } else {
            strLine.pop_back();
        }
        unsigned long long ullStart = 0;
        unsigned long long ullEnd = 0;
        int iPathStart = 0;
        if (std::sscanf(strLine.c_str(), "%llx-%llx %*s %*s %*s %*s %n", &ullStart, &ullEnd, &iPathStart) >= 2 &&
            iPathStart > 0 && static_cast<size_t>(iPathStart) < strLine.size() && strLine[iPathStart] == '/') {
            const std::string strPath = strLine.substr(static_cast<size_t>(iPathStart));
            auto it = mapFiles.find(strPath);
            if (it == mapFiles.end()) {
                vecOrder.push_back(strPath);
                MappedFile file;
                file.uiStart = static_cast<uintptr_t>(ullStart);
                file.uiEnd = static_cast<uintptr_t>(ullEnd);
                mapFiles[strPath] = file;
            } else {
                if (ullStart < it->second.uiStart) it->second.uiStart = static_cast<uintptr_t>(ullStart);
                if (ullEnd > it->second.uiEnd) it->second.uiEnd = static_cast<uintptr_t>(ullEnd);
            }
        }
        strLine.clear();
    }

    std::vector<ModuleEntry> vecModules;
    vecModules.push_back(MakeModule(uiProcessId, strExe, mapFiles));
    for (const std::string& strPath : vecOrder) {
        if (strPath != strExe) {
            vecModules.push_back(MakeModule(uiProcessId, strPath, mapFiles));
        }
    }
    return vecModules;
}

std::wstring GetCurrentUserName()
{
    long lSize = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> vecBuffer(lSize > 0 ? static_cast<size_t>(lSize) : 1024);
    for (;;) {
        passwd pwd = {};
        passwd* pResult = nullptr;
        const int iStatus = getpwuid_r(geteuid(), &pwd, vecBuffer.data(), vecBuffer.size(), &pResult);
        if (iStatus == ERANGE) {
            vecBuffer.resize(vecBuffer.size() * 2);
            continue;
        }
        if (iStatus != 0) {
            ThrowWin32Error(L"GetUserNameW", static_cast<uint32_t>(iStatus));
        }
        if (!pResult) {
            // The effective user id has no entry in the password database.
            ThrowWin32Error(L"GetUserNameW", ENOENT);
        }
        return WideFromUtf8(pwd.pw_name);
    }
}

} // namespace Language
