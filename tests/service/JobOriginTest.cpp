#include <gtest/gtest.h>
#include "service/JobOrigin.h"

using OrvService::CJobOrigin;

namespace {

TEST(JobOriginTest, OnlyThisComputerIsLocal)
{
    for (const char* szHost : {"localhost", "LocalHost", "127.0.0.1", "::1"}) {
        EXPECT_TRUE(CJobOrigin::IsThisComputer(szHost)) << szHost;
    }
    for (const char* szHost :
         {"", "192.0.2.7", "127.0.0.2", "localhost.example.com", "[::1]", "::2", "print-relay", "localhost "}) {
        EXPECT_FALSE(CJobOrigin::IsThisComputer(szHost)) << szHost;
    }
    EXPECT_EQ("The job came from host 192.0.2.7; only jobs submitted on this computer are sent to OrvprintD",
              CJobOrigin::ForeignHostReason("192.0.2.7"));
}

} // namespace
