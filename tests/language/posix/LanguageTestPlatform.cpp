#include "language/LanguageTestHelpers.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <vector>
#include <cstdlib>
#include <unistd.h>
#include "language/TextConvert.h"
#include "support/TempFolder.h"

namespace languagetest {

struct InheritableHandles::Impl {
    int iFile = -1;
    int aiPipe[2] = {-1, -1};
    sigset_t setOld;
};

InheritableHandles::InheritableHandles(const std::string& strFile) : m_pImpl(new Impl())
{
    // Opened as log4cpp opens its files: no close-on-exec.
    m_pImpl->iFile = open(strFile.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    m_bReady = m_pImpl->iFile >= 0 && pipe(m_pImpl->aiPipe) == 0;
    m_strToken = std::to_string(m_pImpl->iFile);
    // And the quit signals blocked in this thread, as OrvprintD blocks them.
    sigset_t setQuit;
    sigemptyset(&setQuit);
    sigaddset(&setQuit, SIGTERM);
    sigaddset(&setQuit, SIGINT);
    sigaddset(&setQuit, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &setQuit, &m_pImpl->setOld);
}

InheritableHandles::~InheritableHandles()
{
    pthread_sigmask(SIG_SETMASK, &m_pImpl->setOld, nullptr);
    for (int iFd : {m_pImpl->iFile, m_pImpl->aiPipe[0], m_pImpl->aiPipe[1]}) {
        if (iFd >= 0) {
            close(iFd);
        }
    }
}

std::string DescribeInheritedHandles(const std::string&)
{
    std::string strText = "fds";
    DIR* pDir = opendir("/proc/self/fd");
    if (!pDir) {
        return "no /proc/self/fd";
    }
    std::vector<int> vecFds;
    while (struct dirent* pEntry = readdir(pDir)) {
        if (pEntry->d_name[0] != '.' && std::atoi(pEntry->d_name) != dirfd(pDir)) {
            vecFds.push_back(std::atoi(pEntry->d_name));
        }
    }
    closedir(pDir);
    std::sort(vecFds.begin(), vecFds.end());
    for (int iFd : vecFds) {
        strText += " " + std::to_string(iFd);
    }
    std::ifstream in("/proc/self/status");
    std::string strLine;
    while (std::getline(in, strLine)) {
        if (strLine.compare(0, 7, "SigBlk:") == 0) {
            std::ostringstream out;
            out << std::hex << std::stoull(strLine.substr(7), nullptr, 16);
            strText += "; blocked " + out.str();
        }
    }
    return strText;
}

std::string NothingInherited()
{
    return "fds 0 1 2; blocked 0";
}

uint32_t OwnProcessId()
{
    return static_cast<uint32_t>(getpid());
}

uint32_t InvalidKeyCode()
{
    return EBADF;
}

struct TestMachineKey::Impl {
    orvtest::TempFolder folder;
    bool bHadOld = false;
    std::string strOld;
};

TestMachineKey::TestMachineKey(const std::wstring& strSubKey, const std::wstring& strValueName,
                               const std::wstring& strData)
    : m_pImpl(new Impl())
{
    const std::string strFile = m_pImpl->folder.WriteFile(
        "machine.ini", "[" + Language::Utf8FromWide(strSubKey) + "]\n" + Language::Utf8FromWide(strValueName) +
                           "=" + Language::Utf8FromWide(strData) + "\n");
    if (const char* szOld = std::getenv("ORVPRINT_MACHINE_CONFIG")) {
        m_pImpl->bHadOld = true;
        m_pImpl->strOld = szOld;
    }
    m_bReady = setenv("ORVPRINT_MACHINE_CONFIG", strFile.c_str(), 1) == 0;
}

TestMachineKey::~TestMachineKey()
{
    if (m_pImpl->bHadOld) {
        setenv("ORVPRINT_MACHINE_CONFIG", m_pImpl->strOld.c_str(), 1);
    } else {
        unsetenv("ORVPRINT_MACHINE_CONFIG");
    }
}

} // namespace languagetest
