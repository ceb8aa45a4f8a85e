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

// Sets an environment variable for the life of the object (and of the
// children started meanwhile), then gives it back its old value ("" for one
// that was not set: the code under test reads an empty value as unset).
class ScopedEnvironment {
public:
    ScopedEnvironment(const std::string& strName, const std::string& strValue) : m_strName(strName)
    {
        const char* szOld = std::getenv(strName.c_str());
        m_strOld = szOld ? szOld : "";
        Put(m_strName + "=" + strValue);
    }
    ~ScopedEnvironment() { Put(m_strName + "=" + m_strOld); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    static void Put(const std::string& strSetting)
    {
        // putenv keeps the string: it must live on.
        char* szSetting = new char[strSetting.size() + 1];
        strSetting.copy(szSetting, strSetting.size());
        szSetting[strSetting.size()] = '\0';
        putenv(szSetting);
    }

    std::string m_strName;
    std::string m_strOld;
};

// Puts the "Global\" objects of this process and of the children it starts
// into a fresh folder (Linux; Windows objects live in the kernel and ignore
// it), so that test runs never touch /dev/shm or each other.
class ScopedSharedFolder {
public:
    ScopedSharedFolder() : m_env("ORVPRINT_SHM_DIR", m_folder.Path()) {}

    const std::string& Path() const { return m_folder.Path(); }
    std::string File(const std::string& strName) const { return m_folder.File(strName); }

private:
    TempFolder m_folder;
    ScopedEnvironment m_env;
};

// The same for the user's own objects (the lock files of file locks and of
// other names without "Global\"): a fresh $XDG_RUNTIME_DIR.
class ScopedUserFolder {
public:
    ScopedUserFolder() : m_env("XDG_RUNTIME_DIR", m_folder.Path()) {}

    const std::string& Path() const { return m_folder.Path(); }

private:
    TempFolder m_folder;
    ScopedEnvironment m_env;
};

} // namespace orvtest
