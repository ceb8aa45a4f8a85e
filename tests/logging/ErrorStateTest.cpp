#include <cerrno>
#include <gtest/gtest.h>
#include "logging/ErrorState.h"

TEST(CallerErrorState, RestoresErrno)
{
    errno = 17;
    {
        CallerErrorState state;
        errno = 99;
    }
    EXPECT_EQ(17, errno);
}

TEST(CallerErrorState, NestedStatesRestoreInOrder)
{
    errno = 1;
    {
        CallerErrorState outer;
        errno = 2;
        {
            CallerErrorState inner;
            errno = 3;
        }
        EXPECT_EQ(2, errno);
    }
    EXPECT_EQ(1, errno);
}
