// Where start-up finds LogConfig.conf: the client key's InstallDir, else the
// server key's.
#include <gtest/gtest.h>

#include <cstdlib>
#include "app/OrvprintDApp.h"
#include "support/TempFolder.h"

namespace {

class LogConfigLookupTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        const char* szOld = std::getenv("ORVPRINT_MACHINE_CONFIG");
        m_bHadOld = szOld != nullptr;
        if (szOld) m_strOld = szOld;
        setenv("ORVPRINT_MACHINE_CONFIG", m_tmp.File("machine.ini").c_str(), 1);
    }
    void TearDown() override
    {
        if (m_bHadOld) setenv("ORVPRINT_MACHINE_CONFIG", m_strOld.c_str(), 1);
        else unsetenv("ORVPRINT_MACHINE_CONFIG");
    }

    orvtest::TempFolder m_tmp;
    bool m_bHadOld = false;
    std::string m_strOld;
};

} // namespace

TEST_F(LogConfigLookupTest, TheServerKeyIsUsedWhenTheClientKeyHasNoInstallDir)
{
    m_tmp.WriteFile("LogConfig.conf", "log4cpp.rootCategory=ERROR\n");
    m_tmp.WriteFile("machine.ini", "[Software\\Orv-soft\\Client]\nTempDir=/tmp\n"
                                   "[Software\\Orv-soft\\Server]\nInstallDir=" + m_tmp.Path() + "\n");
    EXPECT_EQ(m_tmp.Path() + "/LogConfig.conf", FindLogConfigFile());
}

TEST_F(LogConfigLookupTest, TheClientKeyWinsWhenItsFolderHoldsTheFile)
{
    m_tmp.WriteFile("LogConfig.conf", "log4cpp.rootCategory=ERROR\n");
    m_tmp.WriteFile("machine.ini", "[Software\\Orv-soft\\Client]\nInstallDir=" + m_tmp.Path() + "\n"
                                   "[Software\\Orv-soft\\Server]\nInstallDir=/nonexistent\n");
    EXPECT_EQ(m_tmp.Path() + "/LogConfig.conf", FindLogConfigFile());
}

TEST_F(LogConfigLookupTest, NoReadableFileGivesAnEmptyPath)
{
    m_tmp.WriteFile("machine.ini", "[Software\\Orv-soft\\Client]\nInstallDir=" + m_tmp.Path() + "\n");
    EXPECT_EQ("", FindLogConfigFile());
}
