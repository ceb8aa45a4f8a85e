#include <gtest/gtest.h>
#include "logging/TraceEntry.h"

TEST(TraceEntry, EntryOfModuleClassFunction)
{
    EXPECT_EQ("OrvprintD_exe..CPopupThread::Run$", MakeTraceEntry("OrvprintD_exe", nullptr, "CPopupThread::Run"));
    EXPECT_EQ("M.C.f$", MakeTraceEntry("M", "C", "f"));
    EXPECT_EQ("..$", MakeTraceEntry(nullptr, nullptr, nullptr));
}

TEST(TraceEntry, CurrentEntryOfOneScopeIsTextBeforeItsDollar)
{
    std::string strEntry;
    ASSERT_TRUE(CurrentTraceEntry("OrvprintD_exe..CallUpPP$", 1, strEntry));
    EXPECT_EQ("OrvprintD_exe..CallUpPP", strEntry);
}

TEST(TraceEntry, CurrentEntryOfNestedScopesIsTheInnermost)
{
    std::string strEntry;
    ASSERT_TRUE(CurrentTraceEntry("OrvprintD_exe..A::f$ OrvprintD_exe..B::g$", 2, strEntry));
    EXPECT_EQ("OrvprintD_exe..B::g", strEntry);
    ASSERT_TRUE(CurrentTraceEntry("M..a$ M..b$ M..c$", 3, strEntry));
    EXPECT_EQ("M..c", strEntry);
}

TEST(TraceEntry, EmptyNdcHasNoEntry)
{
    std::string strEntry = "unchanged";
    EXPECT_FALSE(CurrentTraceEntry("", 0, strEntry));
    EXPECT_FALSE(CurrentTraceEntry("", 2, strEntry));
}

TEST(TraceEntry, SplitOfTheUsualEntryHasAnEmptyClass)
{
    std::string m, c, f;
    ASSERT_TRUE(SplitTraceEntry("OrvprintD_exe..CPopupThread::Run", m, c, f));
    EXPECT_EQ("OrvprintD_exe", m);
    EXPECT_EQ("", c);
    EXPECT_EQ("CPopupThread::Run", f);
}

TEST(TraceEntry, SplitWithClass)
{
    std::string m, c, f;
    ASSERT_TRUE(SplitTraceEntry("Mod.Cls.Fn", m, c, f));
    EXPECT_EQ("Mod", m);
    EXPECT_EQ("Cls", c);
    EXPECT_EQ("Fn", f);
}

TEST(TraceEntry, DotInsideFunctionNameMovesTheSplit)
{
    std::string m, c, f;
    ASSERT_TRUE(SplitTraceEntry("OrvprintD_exe..a.b", m, c, f));
    EXPECT_EQ("OrvprintD_exe", m);
    EXPECT_EQ(".a", c);
    EXPECT_EQ("b", f);
}

TEST(TraceEntry, EntryWithoutDotCannotBeSplit)
{
    std::string m = "x", c = "y", f = "z";
    EXPECT_FALSE(SplitTraceEntry("NoDotsHere", m, c, f));
    EXPECT_EQ("x", m);
}

TEST(TraceEntry, FilterSplitTakesFunctionBehindTheSecondDot)
{
    std::string m, c, f;
    ASSERT_TRUE(SplitFilterContext("OrvprintD_exe..a.b", m, c, f));
    EXPECT_EQ("OrvprintD_exe", m);
    EXPECT_EQ("", c);
    EXPECT_EQ("a.b", f);

    ASSERT_TRUE(SplitFilterContext("M.C.F", m, c, f));
    EXPECT_EQ("M", m);
    EXPECT_EQ("C", c);
    EXPECT_EQ("F", f);
}

TEST(TraceEntry, FilterSplitOfEmptyOrDotlessContextIsEmpty)
{
    std::string m = "x", c = "y", f = "z";
    EXPECT_FALSE(SplitFilterContext("", m, c, f));
    EXPECT_EQ("", m);
    EXPECT_EQ("", c);
    EXPECT_EQ("", f);
    EXPECT_FALSE(SplitFilterContext("Module", m, c, f));
    EXPECT_EQ("", m);
}
