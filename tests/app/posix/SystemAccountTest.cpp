// The account that is refused: "root", or the one ORVPRINT_SYSTEM_ACCOUNT
// names (the demo and the tests run as root).
#include <gtest/gtest.h>

#include <cstdlib>
#include "app/AppPlatform.h"

TEST(SystemAccountTest, RootUnlessTheVariableNamesAnother)
{
    const char* szOld = std::getenv("ORVPRINT_SYSTEM_ACCOUNT");
    const std::string strOld = szOld ? szOld : "";
    unsetenv("ORVPRINT_SYSTEM_ACCOUNT");
    EXPECT_EQ(L"root", AppPlatform::GetSystemAccountName());
    setenv("ORVPRINT_SYSTEM_ACCOUNT", "orvprint-demo-system", 1);
    EXPECT_EQ(L"orvprint-demo-system", AppPlatform::GetSystemAccountName());
    if (szOld) {
        setenv("ORVPRINT_SYSTEM_ACCOUNT", strOld.c_str(), 1);
    } else {
        unsetenv("ORVPRINT_SYSTEM_ACCOUNT");
    }
}
