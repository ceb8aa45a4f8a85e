#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>
#include "language/CrtException.h"
#include "language/ErrorText.h"
#include "language/RegistryHelpers.h"
#include "language/Win32Exception.h"

TEST(FormatWin32ErrorPosixTest, EnoentHasStrerrorText)
{
    EXPECT_EQ(L"RegOpenKey failed. last error = 2 (No such file or directory)",
              Language::FormatWin32Error(L"RegOpenKey", 2));
}

TEST(FormatWin32ErrorPosixTest, GlibcUnknownErrorIsUnknown)
{
    // glibc's own text for this code would be "Unknown error 4000".
    EXPECT_EQ(L"GetFullPathName failed. last error = 4000 (unknown)",
              Language::FormatWin32Error(L"GetFullPathName", 4000));
}

TEST(FormatWin32ErrorPosixTest, ContextAndAccessDenied)
{
    EXPECT_EQ(L"打开注册表键Software\\Orv失败 RegOpenKey failed. last error = 13 (Permission denied)",
              Language::FormatWin32Error(L"RegOpenKey", EACCES, L"打开注册表键Software\\Orv失败"));
}

TEST(GetLastPlatformErrorPosixTest, IsErrno)
{
    const int iFd = open("/nonexistent-orv-folder/none", O_RDONLY);
    ASSERT_EQ(-1, iFd);
    EXPECT_EQ(static_cast<uint32_t>(ENOENT), Language::GetLastPlatformError());
}

TEST(CrtExceptionPosixTest, FailedAllocationText)
{
    volatile size_t uiSize = static_cast<size_t>(-1) / 2;
    errno = 0;
    void* p = std::malloc(uiSize);
    ASSERT_EQ(nullptr, p);
    const Language::CrtException ex("malloc");
    EXPECT_EQ("", ex.Message());
    EXPECT_EQ("malloc failed. err = Cannot allocate memory", ex.Detail());
    EXPECT_EQ(L"malloc failed. err = Cannot allocate memory", ex.DetailW());
}

TEST(RegistryHelpersPosixTest, FailureTexts)
{
    try {
        Language::LocalMachineValueExists(L"Software\\OrvTestNoSuchKey", L"Present");
        FAIL() << "no exception";
    } catch (const Win32::Win32Exception& e) {
        EXPECT_EQ(L"打开注册表键Software\\OrvTestNoSuchKey失败 RegOpenKey failed. last error = 2 (No such file or directory)",
                  e.MessageW());
    }
    try {
        Language::RegValueExists(nullptr, L"Present");
        FAIL() << "no exception";
    } catch (const Win32::Win32Exception& e) {
        EXPECT_EQ(L"检查注册表值Present失败 RegOpenKey failed. last error = 9 (Bad file descriptor)", e.MessageW());
    }
}
