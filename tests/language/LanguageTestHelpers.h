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

// Descriptors (Linux) or handles (Windows) that a started program could
// inherit from this process, open for as long as the object lives: on Linux
// a file and both ends of a pipe opened without close-on-exec, and SIGTERM,
// SIGINT and SIGHUP blocked in the calling thread; on Windows an inheritable
// file handle. Token() names them for the started program.
class InheritableHandles {
public:
    explicit InheritableHandles(const std::string& strFile);
    ~InheritableHandles();
    InheritableHandles(const InheritableHandles&) = delete;
    InheritableHandles& operator=(const InheritableHandles&) = delete;
    bool IsReady() const { return m_bReady; }
    const std::string& Token() const { return m_strToken; }

private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
    bool m_bReady = false;
    std::string m_strToken;
};

// In the started program: what it holds of this process's handles given by
// Token() and of any other descriptor. Linux: its open descriptors, e.g.
// "fds 0 1 2; blocked 0", with the mask of its blocked signals in hex;
// Windows: "handle closed" or "handle open".
std::string DescribeInheritedHandles(const std::string& strToken);

// What that description must be for a program that inherited nothing (and,
// on Linux, started with no signal blocked).
std::string NothingInherited();

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
