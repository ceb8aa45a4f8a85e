#include <cerrno>
#include <cstdlib>
#include <windows.h>
#include <gtest/gtest.h>
#include "logging/ErrorState.h"
#include "logging/LogMacros.h"
#include "logging/ThreadId.h"

TEST(CallerErrorStateWin, RestoresLastErrorErrnoAndDosErrno)
{
    SetLastError(ERROR_FILE_NOT_FOUND);
    errno = ENOENT;
    _doserrno = 1234;
    {
        CallerErrorState state;
        SetLastError(ERROR_ACCESS_DENIED);
        errno = EACCES;
        _doserrno = 5;
    }
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError());
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(1234ul, static_cast<unsigned long>(_doserrno));
}

TEST(CallerErrorStateWin, FacadeCallsKeepTheLastError)
{
    ORV_TRACE_SCOPE("CallerErrorStateWin::Facade");
    SetLastError(ERROR_INVALID_HANDLE);
    LogError("%s(%d) : %s", "x.cpp", 1, "text");
    LogFatal("%s", "text");
    (void)IsErrorEnabled();
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_HANDLE), GetLastError());
}

TEST(ThreadIdWin, IsGetCurrentThreadId)
{
    EXPECT_EQ(static_cast<unsigned long>(GetCurrentThreadId()), LogThreadId());
}
