#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace languagetest {

// Writes a file under a temporary name and renames it, so that a reader sees
// either no file or the whole text.
bool WriteFileAtOnce(const std::string& strPath, const std::string& strText);

// Waits until the file exists (another process writes it), at most the given
// time. False when it did not appear.
bool WaitForFile(const std::string& strPath, int iTimeoutMs = 60000);

// Waits until the file can be read and is not empty (Windows refuses to open
// a file for a moment while its writer renames it into place), at most the
// given time; its text, or "" when it could not be read in time.
std::string WaitForFileText(const std::string& strPath, int iTimeoutMs = 60000);

// Copies a file (the test binary, say), keeping its permissions.
bool CopyFileTo(const std::string& strFrom, const std::string& strTo);

// The id of the running test process.
uint32_t OwnProcessId();

// The code a registry helper reports for a key that is not open: Windows'
// ERROR_INVALID_HANDLE, EBADF on Linux.
uint32_t InvalidKeyCode();

// HKEY_LOCAL_MACHINE\<sub-key> with one string value for the time of a test,
// removed again when the object goes. Linux: a machine registry file of its
// own, named by ORVPRINT_MACHINE_CONFIG while the object lives.
class TestMachineKey {
public:
    TestMachineKey(const std::wstring& strSubKey, const std::wstring& strValueName, const std::wstring& strData);
    ~TestMachineKey();
    TestMachineKey(const TestMachineKey&) = delete;
    TestMachineKey& operator=(const TestMachineKey&) = delete;
    bool IsReady() const { return m_bReady; }

private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
    bool m_bReady = false;
};

} // namespace languagetest
