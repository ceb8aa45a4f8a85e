#include <gtest/gtest.h>
#include "logging/OutputSwitchTable.h"

TEST(OutputSwitchTable, AbsentNameAnswersMinusOne)
{
    OutputSwitchTable table;
    OutputSwitches switches;
    EXPECT_EQ(-1, table.Get("OrvprintD_exe", switches));
}

TEST(OutputSwitchTable, SetInsertsWithOtherSwitchesOff)
{
    OutputSwitchTable table;
    table.Set("OrvprintD_exe", "OutputNTEventLog", true);
    OutputSwitches switches;
    ASSERT_EQ(0, table.Get("OrvprintD_exe", switches));
    EXPECT_FALSE(switches.bOutputParam);
    EXPECT_FALSE(switches.bOutputFunBeginInfo);
    EXPECT_TRUE(switches.bOutputNTEventLog);
    EXPECT_FALSE(switches.bOutputNDCFullmessage);
}

TEST(OutputSwitchTable, EachKeySetsItsOwnSwitch)
{
    OutputSwitchTable table;
    table.Set("a", "OutputParam", true);
    table.Set("b", "OutputFunBeginInfo", true);
    table.Set("c", "OutputNDCFullmessage", true);
    OutputSwitches s;
    ASSERT_EQ(0, table.Get("a", s));
    EXPECT_TRUE(s.bOutputParam);
    EXPECT_FALSE(s.bOutputFunBeginInfo || s.bOutputNTEventLog || s.bOutputNDCFullmessage);
    ASSERT_EQ(0, table.Get("b", s));
    EXPECT_TRUE(s.bOutputFunBeginInfo);
    EXPECT_FALSE(s.bOutputParam || s.bOutputNTEventLog || s.bOutputNDCFullmessage);
    ASSERT_EQ(0, table.Get("c", s));
    EXPECT_TRUE(s.bOutputNDCFullmessage);
    EXPECT_FALSE(s.bOutputParam || s.bOutputFunBeginInfo || s.bOutputNTEventLog);

    table.Set("a", "OutputParam", false);
    ASSERT_EQ(0, table.Get("a", s));
    EXPECT_FALSE(s.bOutputParam);
}

TEST(OutputSwitchTable, UnknownKeyInsertsTheNameButSetsNothing)
{
    OutputSwitchTable table;
    table.Set("OrvprintD_exe", "OutputSomething", true);
    OutputSwitches s;
    ASSERT_EQ(0, table.Get("OrvprintD_exe", s));
    EXPECT_FALSE(s.bOutputParam || s.bOutputFunBeginInfo || s.bOutputNTEventLog || s.bOutputNDCFullmessage);
}

TEST(OutputSwitchTable, RemoveAndClear)
{
    OutputSwitchTable table;
    table.Set("a", "OutputParam", true);
    table.Set("b", "OutputParam", true);
    EXPECT_EQ(2u, table.Size());
    table.Remove("a");
    OutputSwitches s;
    EXPECT_EQ(-1, table.Get("a", s));
    EXPECT_EQ(0, table.Get("b", s));
    table.Clear();
    EXPECT_EQ(-1, table.Get("b", s));
    EXPECT_EQ(0u, table.Size());
}

TEST(OutputSwitchTable, AnyFunBeginInfoFollowsEveryChange)
{
    OutputSwitchTable table;
    EXPECT_FALSE(table.AnyFunBeginInfo());
    table.Set("A", "OutputParam", true);
    table.Set("B", "OutputFunBeginInfo", false);
    EXPECT_FALSE(table.AnyFunBeginInfo());
    table.Set("B", "OutputFunBeginInfo", true);
    EXPECT_TRUE(table.AnyFunBeginInfo());
    table.Set("C", "OutputFunBeginInfo", true);
    table.Remove("B");
    EXPECT_TRUE(table.AnyFunBeginInfo());
    table.Set("C", "OutputFunBeginInfo", false);
    EXPECT_FALSE(table.AnyFunBeginInfo());
    table.Set("C", "OutputFunBeginInfo", true);
    table.Clear();
    EXPECT_FALSE(table.AnyFunBeginInfo());
}
