#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>
#include <cerrno>
#include <cstdlib>
#include <io.h>
#include <string>
#include <boost/bind/bind.hpp>
#include "language/CrtException.h"
#include "language/ErrorText.h"
#include "language/RegistryHelpers.h"
#include "language/Win32Exception.h"
#include "language/scope_guard.h"

namespace {

// The system's own text for a code, asked the same way, stripped at both ends.
std::wstring SystemSentence(DWORD dwCode)
{
    LPWSTR szBuffer = nullptr;
    const DWORD dwLength = FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, dwCode, 0x0800, reinterpret_cast<LPWSTR>(&szBuffer), 128, nullptr);
    if (dwLength == 0) {
        return std::wstring();
    }
    std::wstring strText(szBuffer, dwLength);
    LocalFree(szBuffer);
    const wchar_t* szBlanks = L" \t\r\n";
    strText.erase(strText.find_last_not_of(szBlanks) + 1);
    strText.erase(0, strText.find_first_not_of(szBlanks));
    return strText;
}

} // namespace

TEST(FormatWin32ErrorWin32Test, FileNotFoundHasSystemSentence)
{
    const std::wstring strSentence = SystemSentence(ERROR_FILE_NOT_FOUND);
    ASSERT_FALSE(strSentence.empty());
    EXPECT_EQ(std::wstring::npos, strSentence.find_first_of(L"\r\n"));
    EXPECT_EQ(L"RegOpenKey failed. last error = 2 (" + strSentence + L")",
              Language::FormatWin32Error(L"RegOpenKey", 2));
    EXPECT_EQ(L"GetFullPathName failed. last error = 2 (" + strSentence + L")",
              Language::FormatWin32Error(L"GetFullPathName", ERROR_FILE_NOT_FOUND));
}

TEST(FormatWin32ErrorWin32Test, AccessDeniedWithContext)
{
    const std::wstring strSentence = SystemSentence(ERROR_ACCESS_DENIED);
    ASSERT_FALSE(strSentence.empty());
    EXPECT_EQ(L"打开注册表键Software\\Orv失败 RegOpenKey failed. last error = 5 (" + strSentence + L")",
              Language::FormatWin32Error(L"RegOpenKey", ERROR_ACCESS_DENIED, L"打开注册表键Software\\Orv失败"));
}

TEST(GetLastPlatformErrorWin32Test, IsGetLastError)
{
    const HANDLE hFile = CreateFileW(L"C:\\nonexistent-orv-file.none", GENERIC_READ, 0, nullptr,
                                     OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_EQ(INVALID_HANDLE_VALUE, hFile);
    EXPECT_EQ(static_cast<uint32_t>(ERROR_FILE_NOT_FOUND), Language::GetLastPlatformError());
}

TEST(CrtExceptionWin32Test, FailedAllocationText)
{
    volatile size_t uiSize = static_cast<size_t>(-1) / 2;
    errno = 0;
    void* p = std::malloc(uiSize);
    ASSERT_EQ(nullptr, p);
    EXPECT_EQ(ENOMEM, errno);
    const Language::CrtException ex("malloc");
    EXPECT_EQ(ENOMEM, ex.GetErrorNumber());
    EXPECT_EQ("", ex.Message());
    // The runtime library's sentence for ENOMEM: Windows' msvcrt says
    // "Not enough space", Wine's "Cannot allocate memory".
    EXPECT_THAT(ex.Detail(), testing::AnyOf("malloc failed. err = Not enough space",
                                            "malloc failed. err = Cannot allocate memory"));
    EXPECT_EQ("malloc failed. err = " + std::string(strerror(ENOMEM)), ex.Detail());
}

TEST(CrtExceptionWin32Test, ExistenceTestFailureSetsErrnoAndDosErrno)
{
    errno = 0;
    _doserrno = 0;
    ASSERT_EQ(-1, _waccess(L"C:\\nonexistent-orv-file.none", 0));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(static_cast<unsigned long>(ERROR_FILE_NOT_FOUND), static_cast<unsigned long>(_doserrno));
    const Language::CrtException ex("_waccess");
    EXPECT_EQ("_waccess failed. err = No such file or directory", ex.Detail());
}

TEST(ScopeGuardWin32Test, RegistryKeyClosedOnceAlsoOnException)
{
    HKEY hKey = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyW(HKEY_LOCAL_MACHINE, L"Software", &hKey));
    try {
        Language::scope_guard guard(boost::bind(RegCloseKey, hKey));
        throw std::runtime_error("leave");
    } catch (const std::runtime_error&) {
    }
    // Already closed by the guard: a second close fails.
    EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(hKey));
}

TEST(RegistryHelpersWin32Test, FailureTexts)
{
    try {
        Language::LocalMachineValueExists(L"Software\\OrvTestNoSuchKey", L"Present");
        FAIL() << "no exception";
    } catch (const Win32::Win32Exception& e) {
        EXPECT_EQ(L"打开注册表键Software\\OrvTestNoSuchKey失败 RegOpenKey failed. last error = 2 (" +
                      SystemSentence(ERROR_FILE_NOT_FOUND) + L")",
                  e.MessageW());
    }
    try {
        Language::RegValueExists(nullptr, L"Present");
        FAIL() << "no exception";
    } catch (const Win32::Win32Exception& e) {
        EXPECT_EQ(L"检查注册表值Present失败 RegOpenKey failed. last error = 6 (" +
                      SystemSentence(ERROR_INVALID_HANDLE) + L")",
                  e.MessageW());
    }
}
