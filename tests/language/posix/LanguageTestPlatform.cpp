#include "language/LanguageTestHelpers.h"

#include <cerrno>
#include <cstdlib>
#include <unistd.h>
#include "language/TextConvert.h"
#include "support/TempFolder.h"

namespace languagetest {

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
