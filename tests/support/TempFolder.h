#pragma once

#include <string>

namespace orvtest {

// A fresh, empty folder under the system's temporary folder, removed with
// everything in it when the object goes.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::string& Path() const { return m_strPath; }
    // Path of a file or folder inside (joined with the platform's separator).
    std::string File(const std::string& strName) const;
    std::string WriteFile(const std::string& strName, const std::string& strContent) const;
    std::string ReadFile(const std::string& strName) const;

private:
    std::string m_strPath;
};

std::string ReadWholeFile(const std::string& strPath);

// Creates a folder named by wide text (Chinese names too), whatever the C
// and C++ locales. True when it was made.
bool MakeFolder(const std::wstring& strPath);

} // namespace orvtest
