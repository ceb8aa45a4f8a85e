// The account that is refused: "SYSTEM", whatever the user's environment says.
#include <gtest/gtest.h>

#include <windows.h>
#include "app/AppPlatform.h"

TEST(SystemAccountTest, OnlySystemIsRefusedWhateverTheEnvironment)
{
    EXPECT_EQ(L"SYSTEM", AppPlatform::GetSystemAccountName());
    ::SetEnvironmentVariableW(L"ORVPRINT_SYSTEM_ACCOUNT", L"someone");
    _wputenv(L"ORVPRINT_SYSTEM_ACCOUNT=someone");
    const std::wstring strName = AppPlatform::GetSystemAccountName();
    ::SetEnvironmentVariableW(L"ORVPRINT_SYSTEM_ACCOUNT", nullptr);
    _wputenv(L"ORVPRINT_SYSTEM_ACCOUNT=");
    EXPECT_EQ(L"SYSTEM", strName);
}
