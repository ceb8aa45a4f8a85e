#include <stdexcept>
#include <string>
#include <gtest/gtest.h>
#include <boost/bind/bind.hpp>
#include "utility/delay_call_util_dispose.h"

using OrvUtility::delay_call_util_dispose;

namespace {

std::string g_strCalls;

int Record(void* pTag)
{
    g_strCalls += *static_cast<const char*>(pTag);
    return 1;
}

} // namespace

TEST(DelayCallUtilDisposeTest, LaterHelpersRunFirstEachOnce)
{
    g_strCalls.clear();
    char chClose = 'C';
    char chRelease = 'R';
    {
        delay_call_util_dispose closeIt(boost::bind(Record, static_cast<void*>(&chClose)));
        delay_call_util_dispose releaseIt(boost::bind(Record, static_cast<void*>(&chRelease)));
        EXPECT_EQ("", g_strCalls);
    }
    EXPECT_EQ("RC", g_strCalls);
}

TEST(DelayCallUtilDisposeTest, RunsWhileAnExceptionPasses)
{
    g_strCalls.clear();
    char chTag = 'X';
    try {
        delay_call_util_dispose guard(Record, static_cast<void*>(&chTag));
        throw std::runtime_error("passing");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ("X", g_strCalls);
}
