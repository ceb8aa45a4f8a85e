#include <gtest/gtest.h>

#include <stdexcept>
#include <boost/bind/bind.hpp>
#include "language/scope_guard.h"

namespace {

// Stand-ins for the three shapes of clean-up call: a handle closer returning
// an integer, a key closer returning nothing, and a free of a pointer array.
struct FakeKey {
    int iCloseCount = 0;
};
typedef FakeKey* FAKEHKEY;

void CloseFakeKey(FAKEHKEY hKey)
{
    ++hKey->iCloseCount;
}

int CloseFakeHandle(void* h)
{
    ++static_cast<FakeKey*>(h)->iCloseCount;
    return 1;
}

} // namespace

TEST(ScopeGuardTest, KeyCloserRunsOnceAtScopeEnd)
{
    FakeKey key;
    {
        Language::scope_guard guard(boost::bind(CloseFakeKey, &key));
        EXPECT_EQ(0, key.iCloseCount);
    }
    EXPECT_EQ(1, key.iCloseCount);
}

TEST(ScopeGuardTest, KeyCloserRunsOnceWhenExceptionLeavesScope)
{
    FakeKey key;
    try {
        Language::scope_guard guard(boost::bind(CloseFakeKey, &key));
        throw std::runtime_error("leave");
    } catch (const std::runtime_error&) {
        EXPECT_EQ(1, key.iCloseCount);
    }
    EXPECT_EQ(1, key.iCloseCount);
}

TEST(ScopeGuardTest, HandleCloserWithIntegerResult)
{
    FakeKey handle;
    {
        Language::scope_guard guard(boost::bind(CloseFakeHandle, static_cast<void*>(&handle)));
    }
    EXPECT_EQ(1, handle.iCloseCount);
}

TEST(ScopeGuardTest, CopiesShareOneCall)
{
    FakeKey key;
    {
        Language::scope_guard guard(boost::bind(CloseFakeKey, &key));
        {
            Language::scope_guard copy(guard);
        }
        EXPECT_EQ(0, key.iCloseCount);
    }
    EXPECT_EQ(1, key.iCloseCount);
}

TEST(ScopeGuardTest, EarlyCallIsNotRepeated)
{
    FakeKey key;
    {
        Language::scope_guard guard(boost::bind(CloseFakeKey, &key));
        guard.dismiss_and_call();
        EXPECT_EQ(1, key.iCloseCount);
    }
    EXPECT_EQ(1, key.iCloseCount);
}

TEST(ScopeGuardTest, FreesArgumentArray)
{
    wchar_t** ppArgs = static_cast<wchar_t**>(std::malloc(3 * sizeof(wchar_t*)));
    ASSERT_NE(nullptr, ppArgs);
    static int s_iFreed;
    s_iFreed = 0;
    struct Freer {
        static void Free(void* p)
        {
            ++s_iFreed;
            std::free(p);
        }
    };
    {
        Language::scope_guard guard(boost::bind(Freer::Free, static_cast<void*>(ppArgs)));
    }
    EXPECT_EQ(1, s_iFreed);
}
