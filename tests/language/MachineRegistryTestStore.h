#pragma once

#include <cstdlib>
#include <filesystem>
#include <list>
#include <string>
#include <vector>
#include "language/MachineRegistry.h"
#include "language/TextConvert.h"
#include "support/TempFolder.h"

namespace orvtest {

// The machine registry as a test sees it, put back as it was afterwards.
//
// Linux: ORVPRINT_MACHINE_CONFIG points at "machine.ini" in a folder of its
// own for the object's life (the file does not exist until a value is set).
// Windows: the real HKEY_LOCAL_MACHINE of the (private) Wine prefix; every
// value and key the test sets or removes is restored at the end.
class MachineRegistryTestStore {
public:
    MachineRegistryTestStore()
    {
        const char* szOld = std::getenv(VARIABLE);
        m_bHadVariable = szOld != nullptr;
        m_strOldVariable = szOld ? szOld : "";
        m_strStoreFile = m_folder.File("machine.ini");
        SetVariable(VARIABLE, m_strStoreFile);
        // Linux keeps each user's own settings under $XDG_CONFIG_HOME: a
        // folder of this store's too, so that no test reads or writes the
        // settings of the account that runs it.
        const char* szOldConfig = std::getenv(CONFIG_HOME);
        m_bHadConfigHome = szOldConfig != nullptr;
        m_strOldConfigHome = szOldConfig ? szOldConfig : "";
        SetVariable(CONFIG_HOME, m_folder.File("config"));
    }

    ~MachineRegistryTestStore()
    {
        for (const SavedKey& k : m_listKeys) {
            if (k.bExisted) {
                Language::CMachineRegistryKey key;
                key.Create(k.strKey.c_str());
            }
        }
        for (auto it = m_listValues.rbegin(); it != m_listValues.rend(); ++it) {
            Language::CMachineRegistryKey key;
            if (it->bExisted) {
                if (key.Create(it->strKey.c_str()) == 0) {
                    key.SetStringValue(it->strName.c_str(), it->strData);
                }
            } else if (key.Open(it->strKey.c_str(), Language::CMachineRegistryKey::ACCESS_WRITE) == 0) {
                key.DeleteValue(it->strName.c_str());
            }
        }
        for (auto it = m_listKeys.rbegin(); it != m_listKeys.rend(); ++it) {
            if (!it->bExisted) {
                Language::CMachineRegistryKey::DeleteKey(it->strKey.c_str());
            }
        }
        SetVariable(VARIABLE, m_bHadVariable ? m_strOldVariable : "");
        SetVariable(CONFIG_HOME, m_bHadConfigHome ? m_strOldConfigHome : "");
    }

    MachineRegistryTestStore(const MachineRegistryTestStore&) = delete;
    MachineRegistryTestStore& operator=(const MachineRegistryTestStore&) = delete;

    // Path of the Linux stand-in file (unused on Windows).
    // The user's own Config.ini on Linux ($XDG_CONFIG_HOME/orv-soft).
    std::string UserConfigFile() const { return m_folder.File("config/orv-soft/Config.ini"); }

    const std::string& StoreFile() const { return m_strStoreFile; }
    const TempFolder& Folder() const { return m_folder; }

    // The user's own settings folder on Linux is made the client's TempDir
    // itself whenever a test sets "TempDir": the tests written for one
    // Config.ini (as on Windows) then see one file. SeparateUserSettings()
    // gives the user a folder of its own again.
    void SeparateUserSettings()
    {
        std::error_code ec;
        std::filesystem::remove(m_folder.File("config/orv-soft"), ec);
        m_bShareUserSettings = false;
    }

    // Sets a string value, creating the key and the keys above it.
    void Set(const std::wstring& strKey, const std::wstring& strName, const std::wstring& strData)
    {
        if (m_bShareUserSettings && strName == L"TempDir" && strKey == L"Software\\Orv-soft\\Client") {
            std::error_code ec;
            std::filesystem::create_directories(m_folder.File("config"), ec);
            std::filesystem::remove(m_folder.File("config/orv-soft"), ec);
            std::filesystem::create_directory_symlink(Language::Utf8FromWide(strData), m_folder.File("config/orv-soft"), ec);
        }
        RememberKeys(strKey);
        RememberValue(strKey, strName);
        Language::CMachineRegistryKey key;
        if (key.Create(strKey.c_str()) == 0) {
            key.SetStringValue(strName.c_str(), strData);
        }
    }

    // Removes a value (nothing happens when it is not there).
    void Remove(const std::wstring& strKey, const std::wstring& strName)
    {
        RememberValue(strKey, strName);
        Language::CMachineRegistryKey key;
        if (key.Open(strKey.c_str(), Language::CMachineRegistryKey::ACCESS_WRITE) == 0) {
            key.DeleteValue(strName.c_str());
        }
    }

    // Removes a key that has no sub-keys, after removing the named values
    // (restored later).
    void RemoveKey(const std::wstring& strKey, const std::vector<std::wstring>& vecValueNames)
    {
        for (const std::wstring& strName : vecValueNames) {
            Remove(strKey, strName);
        }
        RememberKeys(strKey);
        Language::CMachineRegistryKey::DeleteKey(strKey.c_str());
    }

private:
    static constexpr const char* VARIABLE = "ORVPRINT_MACHINE_CONFIG";
    static constexpr const char* CONFIG_HOME = "XDG_CONFIG_HOME";

    struct SavedValue {
        std::wstring strKey;
        std::wstring strName;
        bool bExisted;
        std::wstring strData;
    };
    struct SavedKey {
        std::wstring strKey;
        bool bExisted;
    };

    static void SetVariable(const char* szName, const std::string& strValue)
    {
        // putenv keeps the pointer: the texts live as long as the process.
        static std::list<std::string> s_listTexts;
        s_listTexts.push_back(std::string(szName) + "=" + strValue);
        putenv(const_cast<char*>(s_listTexts.back().c_str()));
    }

    void RememberValue(const std::wstring& strKey, const std::wstring& strName)
    {
        for (const SavedValue& v : m_listValues) {
            if (v.strKey == strKey && v.strName == strName) {
                return;
            }
        }
        SavedValue saved{strKey, strName, false, L""};
        Language::CMachineRegistryKey key;
        if (key.Open(strKey.c_str()) == 0) {
            std::vector<wchar_t> vecBuffer(8192, L'\0');
            uint32_t uiBytes = static_cast<uint32_t>(vecBuffer.size()) * Language::CMachineRegistryKey::CHAR_BYTES;
            if (key.QueryValue(strName.c_str(), vecBuffer.data(), &uiBytes) == 0) {
                saved.bExisted = true;
                saved.strData = vecBuffer.data();
            }
        }
        m_listValues.push_back(saved);
    }

    // Notes whether the key and each key above it existed, top first.
    void RememberKeys(const std::wstring& strKey)
    {
        size_t uiPos = 0;
        for (;;) {
            uiPos = strKey.find(L'\\', uiPos);
            const std::wstring strPart = strKey.substr(0, uiPos);
            bool bKnown = false;
            for (const SavedKey& k : m_listKeys) {
                bKnown = bKnown || k.strKey == strPart;
            }
            if (!bKnown) {
                Language::CMachineRegistryKey key;
                m_listKeys.push_back(SavedKey{strPart, key.Open(strPart.c_str()) == 0});
            }
            if (uiPos == std::wstring::npos) {
                break;
            }
            ++uiPos;
        }
    }

    TempFolder m_folder;
    std::string m_strStoreFile;
    bool m_bHadVariable = false;
    std::string m_strOldVariable;
    bool m_bShareUserSettings = true;
    bool m_bHadConfigHome = false;
    std::string m_strOldConfigHome;
    std::list<SavedValue> m_listValues;
    std::list<SavedKey> m_listKeys;
};

} // namespace orvtest
