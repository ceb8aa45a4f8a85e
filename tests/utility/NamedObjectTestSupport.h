#pragma once

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>
#include "language/ErrorText.h"
#include "language/TextConvert.h"
#include "support/TempFolder.h"

// Helpers of the tests of named objects, locks and the message queue.
namespace orvtest {

// A base name that no other test and no parallel test run uses.
inline std::string UniqueObjectBase(const std::string& strPrefix)
{
    static std::atomic<unsigned> s_uiCounter{0};
    const auto uiStamp = std::chrono::steady_clock::now().time_since_epoch().count();
    int iStackMark = 0;
    return strPrefix + "_" + std::to_string(uiStamp % 1000000000000LL) + "_" +
           std::to_string((reinterpret_cast<uintptr_t>(&iStackMark) >> 4) % 100000) + "_" +
           std::to_string(s_uiCounter++);
}

inline std::wstring Wide(const std::string& strUtf8)
{
    return Language::WideFromUtf8(strUtf8);
}

// Puts the "Global\" objects of this process and of the children it starts
// into a fresh folder (Linux; Windows objects live in the kernel and ignore
// it), so that test runs never touch /dev/shm or each other.
class ScopedSharedFolder {
public:
    ScopedSharedFolder() { Put("ORVPRINT_SHM_DIR=" + m_folder.Path()); }
    ~ScopedSharedFolder() { Put("ORVPRINT_SHM_DIR="); }
    ScopedSharedFolder(const ScopedSharedFolder&) = delete;
    ScopedSharedFolder& operator=(const ScopedSharedFolder&) = delete;

    const std::string& Path() const { return m_folder.Path(); }
    std::string File(const std::string& strName) const { return m_folder.File(strName); }

private:
    static void Put(const std::string& strSetting)
    {
        // putenv keeps the string: it must live on.
        char* szSetting = new char[strSetting.size() + 1];
        strSetting.copy(szSetting, strSetting.size());
        szSetting[strSetting.size()] = '\0';
        putenv(szSetting);
    }

    TempFolder m_folder;
};

} // namespace orvtest
