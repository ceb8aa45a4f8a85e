// Reading the facade's own keys out of LogConfig.conf.
#include <string>
#include <gtest/gtest.h>
#include <log4cpp/LoggingEvent.hh>
#include "logging/OutputSwitchTable.h"
#include "logging/log4cpp/LogConfigurator.h"
#include "logging/log4cpp/LogFilter.h"
#include "support/TempFolder.h"

namespace {

class LogConfiguratorTest : public ::testing::Test {
protected:
    // Reads strText as LogConfig.conf into m_table and m_configurator.
    void Read(const std::string& strText)
    {
        const std::string strPath = m_folder.WriteFile("LogConfig.conf", strText);
        m_configurator.Configure(strPath);
    }
    OutputSwitches Switches(const std::string& strName, int iExpectedResult = 0)
    {
        OutputSwitches switches;
        EXPECT_EQ(iExpectedResult, m_table.Get(strName, switches)) << strName;
        return switches;
    }
    int FilterCount() const
    {
        int n = 0;
        for (log4cpp::Filter* p = m_configurator.GetFilter(); p; p = p->getChainedFilter()) ++n;
        return n;
    }
    LogFilter* FilterAt(int iIndex) const
    {
        log4cpp::Filter* p = m_configurator.GetFilter();
        while (p && iIndex-- > 0) p = p->getChainedFilter();
        return static_cast<LogFilter*>(p);
    }
    static log4cpp::Filter::Decision Decide(log4cpp::Filter* pFilter, const std::string& strContext)
    {
        const log4cpp::LoggingEvent event("", "", strContext, 700);
        return pFilter->decide(event);
    }

    orvtest::TempFolder m_folder;
    OutputSwitchTable m_table;
    LogConfigurator m_configurator{m_table};
};

const char* const kLog4cppOnly =
    "log4cpp.rootCategory=ERROR\n"
    "log4cpp.category.OrvprintD_exe=DEBUG, file\n"
    "log4cpp.appender.file=org.apache.log4cpp.FileAppender\n"
    "log4cpp.appender.file.fileName=/tmp/x.log\n";

} // namespace

TEST_F(LogConfiguratorTest, Log4cppKeysOnlyGiveNoSwitchesAndNoFilter)
{
    Read(kLog4cppOnly);
    EXPECT_EQ(0u, m_table.Size());
    EXPECT_EQ(nullptr, m_configurator.GetFilter());
}

TEST_F(LogConfiguratorTest, TrueSetsTheSwitchAndOnClearsIt)
{
    Read("OutputParam.OrvprintD_exe=True\n");
    EXPECT_TRUE(Switches("OrvprintD_exe").bOutputParam);
    Read("OutputParam.OrvprintD_exe=on\n");
    EXPECT_FALSE(Switches("OrvprintD_exe").bOutputParam);
}

TEST_F(LogConfiguratorTest, BlanksInsideKeyAndAroundEqualSignAreRemoved)
{
    Read("  OutputParam. Orvprint D_exe   =   t R u E  \n");
    EXPECT_TRUE(Switches("OrvprintD_exe").bOutputParam);
    EXPECT_EQ(1u, m_table.Size());
}

TEST_F(LogConfiguratorTest, EachOfTheFourKeys)
{
    Read("OutputParam.A=true\n"
         "OutputFunBeginInfo.B=TRUE\n"
         "OutputNTEventLog.C=true\n"
         "OutputNDCFullmessage.D=tRuE\n");
    OutputSwitches s = Switches("A");
    EXPECT_TRUE(s.bOutputParam);
    EXPECT_FALSE(s.bOutputFunBeginInfo || s.bOutputNTEventLog || s.bOutputNDCFullmessage);
    s = Switches("B");
    EXPECT_TRUE(s.bOutputFunBeginInfo);
    EXPECT_FALSE(s.bOutputParam || s.bOutputNTEventLog || s.bOutputNDCFullmessage);
    s = Switches("C");
    EXPECT_TRUE(s.bOutputNTEventLog);
    EXPECT_FALSE(s.bOutputParam || s.bOutputFunBeginInfo || s.bOutputNDCFullmessage);
    s = Switches("D");
    EXPECT_TRUE(s.bOutputNDCFullmessage);
    EXPECT_FALSE(s.bOutputParam || s.bOutputFunBeginInfo || s.bOutputNTEventLog);
}

TEST_F(LogConfiguratorTest, ValuesOtherThanTrueSwitchOff)
{
    Read("OutputParam.A=1\nOutputParam.B=yes\nOutputParam.C=\nOutputParam.D=truely\n");
    for (const char* szName : {"A", "B", "C", "D"}) {
        EXPECT_FALSE(Switches(szName).bOutputParam) << szName;
    }
}

TEST_F(LogConfiguratorTest, LineOf1024CharactersStopsTheReading)
{
    const std::string strLong = "#" + std::string(1023, 'x'); // 1024 characters
    Read("OutputParam.Before=true\n" + strLong + "\nOutputParam.After=true\n");
    EXPECT_TRUE(Switches("Before").bOutputParam);
    Switches("After", -1);
}

TEST_F(LogConfiguratorTest, LineOf1023CharactersIsRead)
{
    std::string strLine = "OutputParam.Long=true#";
    strLine += std::string(1023 - strLine.size(), 'y'); // 1023 characters
    ASSERT_EQ(1023u, strLine.size());
    Read(strLine + "\nOutputParam.After=true\n");
    EXPECT_TRUE(Switches("Long").bOutputParam);
    EXPECT_TRUE(Switches("After").bOutputParam);
}

TEST_F(LogConfiguratorTest, HashInColumnOneDisablesTheLine)
{
    Read("#OutputParam.OrvprintD_exe=true\n");
    Switches("OrvprintD_exe", -1);
}

TEST_F(LogConfiguratorTest, CommentBehindTheValueIsCut)
{
    Read("OutputParam.OrvprintD_exe=true # written by the installer\n");
    EXPECT_TRUE(Switches("OrvprintD_exe").bOutputParam);
}

TEST_F(LogConfiguratorTest, LineWithoutEqualSignIsSkipped)
{
    Read("OutputParam.OrvprintD_exe true\nfilter.module OrvprintD_exe\n");
    EXPECT_EQ(0u, m_table.Size());
    EXPECT_EQ(nullptr, m_configurator.GetFilter());
}

TEST_F(LogConfiguratorTest, WindowsLineEndsAreRead)
{
    Read("OutputParam.OrvprintD_exe=true\r\nfilter.module=M\r\nfilter.class=*\r\n"
         "filter.function=*\r\nfilter.putoutpermission=no\r\n");
    EXPECT_TRUE(Switches("OrvprintD_exe").bOutputParam);
    ASSERT_EQ(1, FilterCount());
    EXPECT_EQ("M", FilterAt(0)->GetModule());
    EXPECT_FALSE(FilterAt(0)->GetPermission());
}

TEST_F(LogConfiguratorTest, FilterGroupBuildsOneFilter)
{
    Read("filter.putoutpermission=no\n"
         "filter.function=*\n"
         "filter.module=OrvprintD_exe\n"
         "filter.class=*\n");
    ASSERT_EQ(1, FilterCount());
    LogFilter* pFilter = FilterAt(0);
    EXPECT_EQ("OrvprintD_exe", pFilter->GetModule());
    EXPECT_EQ("*", pFilter->GetClass());
    EXPECT_EQ("*", pFilter->GetFunction());
    EXPECT_FALSE(pFilter->GetPermission());
    EXPECT_EQ(log4cpp::Filter::DENY, Decide(pFilter, "OrvprintD_exe..CPopupThread::Run"));
}

TEST_F(LogConfiguratorTest, TwoGroupsForOneModuleFirstDecides)
{
    Read("filter.module=OrvprintD_exe\nfilter.class=*\nfilter.function=*\nfilter.putoutpermission=no\n"
         "filter.module=OrvprintD_exe\nfilter.class=*\nfilter.function=*\nfilter.putoutpermission=yes\n");
    ASSERT_EQ(2, FilterCount());
    EXPECT_FALSE(FilterAt(0)->GetPermission());
    EXPECT_TRUE(FilterAt(1)->GetPermission());
    EXPECT_EQ(log4cpp::Filter::DENY, Decide(m_configurator.GetFilter(), "OrvprintD_exe..F"));
}

TEST_F(LogConfiguratorTest, CapitalNoLeavesPermissionTrue)
{
    Read("filter.module=OrvprintD_exe\nfilter.class=*\nfilter.function=*\nfilter.putoutpermission=No\n");
    ASSERT_EQ(1, FilterCount());
    EXPECT_TRUE(FilterAt(0)->GetPermission());
    EXPECT_EQ(log4cpp::Filter::ACCEPT, Decide(FilterAt(0), "OrvprintD_exe..F"));
}

TEST_F(LogConfiguratorTest, KeyWithBlankBeforeEqualSignIsNoGroupKey)
{
    Read("filter.module =OrvprintD_exe\nfilter.class=*\nfilter.function=*\nfilter.putoutpermission=no\n");
    EXPECT_EQ(nullptr, m_configurator.GetFilter());
}

TEST_F(LogConfiguratorTest, IncompleteLastGroupBuildsNoFilter)
{
    Read("filter.module=A\nfilter.class=*\nfilter.function=*\nfilter.putoutpermission=no\n"
         "filter.module=B\nfilter.class=*\n");
    EXPECT_EQ(1, FilterCount());
}

TEST_F(LogConfiguratorTest, RepeatedKeyCompletesTheGroupWithThePreviousSlot)
{
    // Second group: "module" twice, no "putoutpermission": the first group's
    // permission ("no") fills the slot.
    Read("filter.module=A\nfilter.class=*\nfilter.function=*\nfilter.putoutpermission=no\n"
         "filter.module=B\nfilter.module=C\nfilter.class=*\nfilter.function=*\n");
    ASSERT_EQ(2, FilterCount());
    EXPECT_EQ("C", FilterAt(1)->GetModule());
    EXPECT_FALSE(FilterAt(1)->GetPermission());
}

TEST_F(LogConfiguratorTest, GroupValuesAreNotTrimmed)
{
    Read("filter.module= OrvprintD_exe\nfilter.class=*\nfilter.function=*\nfilter.putoutpermission=no\n");
    ASSERT_EQ(1, FilterCount());
    EXPECT_EQ(" OrvprintD_exe", FilterAt(0)->GetModule());
    EXPECT_EQ(log4cpp::Filter::NEUTRAL, Decide(FilterAt(0), "OrvprintD_exe..F"));
}

TEST_F(LogConfiguratorTest, MissingFileIsReportedOnStandardOutput)
{
    const std::string strPath = m_folder.File("NoSuchLogConfig.conf");
    ::testing::internal::CaptureStdout();
    m_configurator.Configure(strPath);
    const std::string strOut = ::testing::internal::GetCapturedStdout();
    EXPECT_EQ("Config File" + strPath + "does not exist or is unreadable\n", strOut);
    EXPECT_EQ(0u, m_table.Size());
}

TEST_F(LogConfiguratorTest, ReleaseFilterHandsTheChainOver)
{
    Read("filter.module=A\nfilter.class=*\nfilter.function=*\nfilter.putoutpermission=no\n");
    LogFilter* pFilter = m_configurator.ReleaseFilter();
    ASSERT_NE(nullptr, pFilter);
    EXPECT_EQ(nullptr, m_configurator.GetFilter());
    delete pFilter;
}

TEST_F(LogConfiguratorTest, ShippedSampleConfiguration)
{
    m_configurator.Configure(ORV_LOGGING_SAMPLE_CONFIG);
    EXPECT_EQ(1u, m_table.Size());
    const OutputSwitches s = Switches("OrvprintD_exe");
    EXPECT_TRUE(s.bOutputParam);
    EXPECT_FALSE(s.bOutputFunBeginInfo);
    EXPECT_FALSE(s.bOutputNTEventLog);
    EXPECT_TRUE(s.bOutputNDCFullmessage);
    ASSERT_EQ(1, FilterCount());
    EXPECT_EQ("OrvprintD_exe", FilterAt(0)->GetModule());
    EXPECT_EQ("", FilterAt(0)->GetClass());
    EXPECT_EQ("CPopupThread::Run", FilterAt(0)->GetFunction());
    EXPECT_TRUE(FilterAt(0)->GetPermission());
}
