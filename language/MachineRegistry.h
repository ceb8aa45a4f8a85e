#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace Language {

// Status codes of the machine registry operations. They are the Win32 error
// codes that the registry functions return, on every platform.
namespace MachineRegistryStatus {
constexpr uint32_t OK = 0;                 // ERROR_SUCCESS
constexpr uint32_t NOT_FOUND = 2;          // ERROR_FILE_NOT_FOUND: key or value missing
constexpr uint32_t ACCESS_DENIED = 5;      // ERROR_ACCESS_DENIED: e.g. a write through a read-only key
constexpr uint32_t INVALID_HANDLE = 6;     // ERROR_INVALID_HANDLE: the key is not open
constexpr uint32_t MORE_DATA = 234;        // ERROR_MORE_DATA: the value does not fit the buffer
} // namespace MachineRegistryStatus

// An open key under HKEY_LOCAL_MACHINE, closed when the object goes.
//
// Windows: the registry itself (RegOpenKeyExW, RegQueryValueExW, ...), in the
// native view (no redirection flags).
//
// Linux: an INI file stands in for the machine registry, by default
// /etc/orv-soft/machine.ini, or the file named by the environment variable
// ORVPRINT_MACHINE_CONFIG (read at every open). Each key is a section named
// by its path, each string value an entry of that section (UTF-8):
//
//     [Software\Orv-soft\Client]
//     TempDir=/var/lib/orv-soft/temp
//
// Key paths and value names compare without regard to case; a key exists
// when a section of that path, or of a path below it, exists. Failures are
// those of the registry: opening a key in a missing file or without a
// section gives NOT_FOUND, a missing value NOT_FOUND, a value too long for
// the buffer MORE_DATA.
//
// Data lengths are counted in registry bytes: the value as UTF-16 with its
// terminator, two bytes a code unit (CHAR_BYTES), on both platforms. A
// caller's buffer of N wide characters is passed as N * CHAR_BYTES bytes.
class CMachineRegistryKey {
public:
    // Bytes a registry character takes in data lengths (UTF-16 code unit).
    static constexpr uint32_t CHAR_BYTES = 2;
    // Value type of string data (REG_SZ).
    static constexpr uint32_t TYPE_STRING = 1;

    enum EAccess {
        ACCESS_READ,      // KEY_READ
        ACCESS_WRITE,     // KEY_READ | KEY_WRITE
        ACCESS_MAXIMUM    // MAXIMUM_ALLOWED (what RegOpenKeyW asks for)
    };

    CMachineRegistryKey();
    ~CMachineRegistryKey();
    CMachineRegistryKey(CMachineRegistryKey&& other) noexcept;
    CMachineRegistryKey& operator=(CMachineRegistryKey&& other) noexcept;
    CMachineRegistryKey(const CMachineRegistryKey&) = delete;
    CMachineRegistryKey& operator=(const CMachineRegistryKey&) = delete;

    // Opens HKEY_LOCAL_MACHINE\szSubKey (a key open before is closed first).
    uint32_t Open(const wchar_t* szSubKey, EAccess eAccess = ACCESS_READ);
    // Opens HKEY_LOCAL_MACHINE\szSubKey for reading and writing, creating it
    // when missing (RegCreateKeyExW). On Linux the store file itself is
    // created when missing, not its folder.
    uint32_t Create(const wchar_t* szSubKey);
    bool IsOpen() const;
    void Close();

    // Reads a value into pBuffer. *puiBytes: the buffer's size in registry
    // bytes on entry, the value's length (terminator included) on return,
    // also when the result is MORE_DATA. pBuffer may be null to ask for the
    // length only; puiType may be null. The type is reported, not checked.
    uint32_t QueryValue(const wchar_t* szValueName, wchar_t* pBuffer, uint32_t* puiBytes,
                        uint32_t* puiType = nullptr) const;
    // Asks whether a value exists, and optionally its length in registry
    // bytes: OK, NOT_FOUND, or another status for a key that is not usable.
    uint32_t QueryValueSize(const wchar_t* szValueName, uint32_t* puiBytes = nullptr) const;
    // Writes a string value (REG_SZ, terminator included).
    uint32_t SetStringValue(const wchar_t* szValueName, const std::wstring& strData);
    uint32_t DeleteValue(const wchar_t* szValueName);

    // Deletes HKEY_LOCAL_MACHINE\szSubKey, which must have no sub-keys.
    static uint32_t DeleteKey(const wchar_t* szSubKey);

    // Where the machine registry is: "HKEY_LOCAL_MACHINE" on Windows, the
    // INI file's path on Linux.
    static std::wstring StoreLocation();

private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

} // namespace Language
