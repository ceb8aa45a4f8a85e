#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include "language/BaseException.h"
#include "language/CrtException.h"
#include "language/ErrorText.h"
#include "language/Exception.h"
#include "language/FileNotFoundException.h"
#include "language/InvalidDataException.h"
#include "language/TextConvert.h"
#include "language/Win32Exception.h"

namespace {

// A code that neither the Windows message table nor errno knows.
const uint32_t g_uiUnknownCode = 987654321u;

void* FailingAllocation()
{
    // Larger than any address space: the allocation fails with ENOMEM.
    volatile size_t uiSize = static_cast<size_t>(-1) / 2;
    return std::malloc(uiSize);
}

} // namespace

TEST(FileNotFoundExceptionTest, WideTextCarriesPrefixNarrowTextIsBareName)
{
    const Language::FileNotFoundException ex(L"a.exe");
    EXPECT_EQ(L"找不到文件 : a.exe", ex.MessageW());
    EXPECT_EQ("a.exe", ex.Message());
    EXPECT_EQ(L"找不到文件 : a.exe", ex.DetailW());
    EXPECT_EQ("a.exe", ex.Detail());
}

TEST(FileNotFoundExceptionTest, CaughtAsRootByReference)
{
    try {
        throw Language::FileNotFoundException(L"C:\\x\\a.exe");
    } catch (const Language::Exception& e) {
        EXPECT_EQ(L"找不到文件 : C:\\x\\a.exe", e.MessageW());
        EXPECT_EQ("C:\\x\\a.exe", e.Message());
        return;
    }
    FAIL() << "not caught as Language::Exception";
}

TEST(InvalidDataExceptionTest, TextIsMessageAndDetail)
{
    const Language::InvalidDataException ex(L"bad record");
    EXPECT_EQ(L"bad record", ex.MessageW());
    EXPECT_EQ("bad record", ex.Message());
    EXPECT_EQ(L"bad record", ex.DetailW());
    EXPECT_EQ("bad record", ex.Detail());
}

TEST(InvalidDataExceptionTest, ChineseTextKeptInWideForm)
{
    try {
        throw Language::InvalidDataException(L"命令的形式不正确。");
    } catch (const Language::InvalidDataException& e) {
        EXPECT_EQ(L"命令的形式不正确。", e.MessageW());
        EXPECT_EQ(L"命令的形式不正确。", e.DetailW());
        EXPECT_EQ(Language::NarrowFromWide(L"命令的形式不正确。"), e.Message());
    }
}

TEST(CrtExceptionTest, AfterFailedAllocationMessageEmptyDetailNamesMalloc)
{
    errno = 0;
    void* p = FailingAllocation();
    ASSERT_EQ(nullptr, p);
    ASSERT_EQ(ENOMEM, errno);
    const std::string strRuntimeText = std::strerror(ENOMEM);

    const Language::CrtException ex("malloc");
    EXPECT_EQ(ENOMEM, ex.GetErrorNumber());
    EXPECT_EQ("", ex.Message());
    EXPECT_EQ(L"", ex.MessageW());
    EXPECT_EQ("malloc failed. err = " + strRuntimeText, ex.Detail());
    EXPECT_EQ(Language::WideFromNarrow("malloc failed. err = " + strRuntimeText), ex.DetailW());
    EXPECT_FALSE(strRuntimeText.empty());
}

TEST(CrtExceptionTest, ErrorNumberTakenAtConstruction)
{
    errno = EINVAL;
    const Language::CrtException ex("malloc");
    errno = ENOMEM;
    EXPECT_EQ(EINVAL, ex.GetErrorNumber());
    EXPECT_EQ("malloc failed. err = " + std::string(std::strerror(EINVAL)), ex.Detail());
    // Repeated calls give the same texts.
    EXPECT_EQ(ex.Detail(), ex.Detail());
    EXPECT_EQ("", ex.Message());
}

TEST(Win32ExceptionTest, EmptyWhenDefaultConstructed)
{
    const Win32::Win32Exception ex;
    EXPECT_EQ(L"", ex.MessageW());
    EXPECT_EQ("", ex.Message());
    EXPECT_EQ(L"", ex.GetContext());
    EXPECT_EQ(0u, ex.GetErrorCode());
}

TEST(Win32ExceptionTest, FilledByThrowerWithContextMessageAndCode)
{
    Win32::Win32Exception ex;
    ex.SetContext(L"ctx");
    ex.SetMessage(L"ctx Foo failed. last error = 5 (denied)");
    ex.SetErrorCode(5);
    EXPECT_EQ(L"ctx", ex.GetContext());
    EXPECT_EQ(5u, ex.GetErrorCode());
    EXPECT_EQ(L"ctx Foo failed. last error = 5 (denied)", ex.MessageW());
    EXPECT_EQ("ctx Foo failed. last error = 5 (denied)", ex.Message());
    EXPECT_EQ(L"ctx Foo failed. last error = 5 (denied)", ex.DetailW());
    EXPECT_EQ("ctx Foo failed. last error = 5 (denied)", ex.Detail());
}

TEST(Win32ExceptionTest, ThrowWin32ErrorWithoutContext)
{
    try {
        Language::ThrowWin32Error(L"GetFullPathName", g_uiUnknownCode);
    } catch (const Win32::Win32Exception& e) {
        EXPECT_EQ(L"", e.GetContext());
        EXPECT_EQ(g_uiUnknownCode, e.GetErrorCode());
        EXPECT_EQ(L"GetFullPathName failed. last error = 987654321 (unknown)", e.MessageW());
        EXPECT_EQ("GetFullPathName failed. last error = 987654321 (unknown)", e.Message());
        EXPECT_EQ("GetFullPathName failed. last error = 987654321 (unknown)", e.Detail());
        return;
    }
    FAIL() << "no Win32Exception";
}

TEST(Win32ExceptionTest, ThrowWin32ErrorWithContextCaughtAsRoot)
{
    try {
        Language::ThrowWin32Error(L"RegOpenKey", g_uiUnknownCode, L"打开注册表键Software\\X失败");
    } catch (const Language::Exception& e) {
        const Win32::Win32Exception* pWin32 = dynamic_cast<const Win32::Win32Exception*>(&e);
        ASSERT_NE(nullptr, pWin32);
        EXPECT_EQ(L"打开注册表键Software\\X失败", pWin32->GetContext());
        EXPECT_EQ(L"打开注册表键Software\\X失败 RegOpenKey failed. last error = 987654321 (unknown)",
                  e.MessageW());
        EXPECT_EQ(e.MessageW(), e.DetailW());
        return;
    }
    FAIL() << "not caught as Language::Exception";
}

TEST(BaseExceptionTest, CarriesCode)
{
    class CSomeException : public OrvUtility::CBaseException {
    public:
        explicit CSomeException(uint32_t uiCode) : CBaseException(uiCode) {}
    };
    try {
        throw CSomeException(0x8007000Eu);
    } catch (const OrvUtility::CBaseException& e) {
        EXPECT_EQ(0x8007000Eu, e.GetCode());
        return;
    }
    FAIL() << "not caught as CBaseException";
}
