#include "support/ChildProcess.h"
#include "support/ChildMain.h"

#include <windows.h>

namespace orvtest {

struct ChildProcess::Impl {
    HANDLE hProcess = nullptr;
    ~Impl()
    {
        if (hProcess) CloseHandle(hProcess);
    }
};

std::string SelfPath()
{
    char szPath[MAX_PATH] = {0};
    DWORD n = GetModuleFileNameA(nullptr, szPath, MAX_PATH);
    return std::string(szPath, n);
}

static std::wstring Widen(const std::string& s)
{
    int n = MultiByteToWideChar(CP_UTF8, 0, s.c_str(), -1, nullptr, 0);
    std::wstring w(n > 0 ? n - 1 : 0, L'\0');
    if (n > 1) MultiByteToWideChar(CP_UTF8, 0, s.c_str(), -1, &w[0], n);
    return w;
}

static std::wstring Quote(const std::wstring& arg)
{
    std::wstring out = L"\"";
    size_t slashes = 0;
    for (wchar_t c : arg) {
        if (c == L'\\') { ++slashes; continue; }
        if (c == L'"') out.append(slashes * 2 + 1, L'\\');
        else out.append(slashes, L'\\');
        slashes = 0;
        out += c;
    }
    out.append(slashes * 2, L'\\');
    return out + L"\"";
}

std::unique_ptr<ChildProcess> ChildProcess::StartSelf(const std::string& strName, const std::vector<std::string>& args)
{
    std::vector<std::string> all{"--orv-child=" + strName};
    all.insert(all.end(), args.begin(), args.end());
    return Start(SelfPath(), all);
}

std::unique_ptr<ChildProcess> ChildProcess::Start(const std::string& strPath, const std::vector<std::string>& args)
{
    std::wstring strCmd = Quote(Widen(strPath));
    for (const auto& a : args) strCmd += L" " + Quote(Widen(a));
    STARTUPINFOW si = {};
    si.cb = sizeof(si);
    PROCESS_INFORMATION pi = {};
    if (!CreateProcessW(Widen(strPath).c_str(), &strCmd[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi)) {
        return nullptr;
    }
    CloseHandle(pi.hThread);
    std::unique_ptr<ChildProcess> p(new ChildProcess());
    p->m_pImpl.reset(new Impl());
    p->m_pImpl->hProcess = pi.hProcess;
    p->m_ulPid = pi.dwProcessId;
    return p;
}

ChildProcess::~ChildProcess()
{
    if (!m_bReaped) Kill();
}

int ChildProcess::Wait()
{
    if (m_bReaped) return m_iExitCode;
    if (WaitForSingleObject(m_pImpl->hProcess, INFINITE) != WAIT_OBJECT_0) return -1;
    DWORD dwCode = 0;
    GetExitCodeProcess(m_pImpl->hProcess, &dwCode);
    m_bReaped = true;
    m_iExitCode = static_cast<int>(dwCode);
    return m_iExitCode;
}

void ChildProcess::Kill()
{
    if (m_bReaped) return;
    TerminateProcess(m_pImpl->hProcess, 137);
    Wait();
}

bool ChildProcess::IsRunning()
{
    if (m_bReaped) return false;
    if (WaitForSingleObject(m_pImpl->hProcess, 0) == WAIT_TIMEOUT) return true;
    Wait();
    return false;
}

} // namespace orvtest
