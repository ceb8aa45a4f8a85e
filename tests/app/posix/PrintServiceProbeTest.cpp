// The start-up probe for the print service: the CUPS backend "orvprint" in
// $CUPS_SERVERBIN/backend. It is installed 0700 for root, so the user can
// only see it, not run it.
#include <gtest/gtest.h>

#include "app/AppPlatform.h"
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace {

class PrintServiceProbeTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        char szTemplate[] = "/tmp/orvtest-probe-XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(szTemplate));
        m_strFolder = szTemplate;
        std::filesystem::create_directory(m_strFolder + "/backend");
        const char* szOld = std::getenv("CUPS_SERVERBIN");
        m_bHadOld = szOld != nullptr;
        m_strOld = szOld ? szOld : "";
        setenv("CUPS_SERVERBIN", m_strFolder.c_str(), 1);
    }

    void TearDown() override
    {
        if (m_bHadOld) {
            setenv("CUPS_SERVERBIN", m_strOld.c_str(), 1);
        } else {
            unsetenv("CUPS_SERVERBIN");
        }
        std::error_code ec;
        std::filesystem::remove_all(m_strFolder, ec);
    }

    std::string Backend() const { return m_strFolder + "/backend/orvprint"; }

    void WriteBackend(mode_t mode) const
    {
        std::ofstream(Backend()) << "#!/bin/sh\n";
        chmod(Backend().c_str(), mode);
    }

    std::string m_strFolder;
    std::string m_strOld;
    bool m_bHadOld = false;
};

TEST_F(PrintServiceProbeTest, BackendInstalledForRootOnlyIsFound)
{
    WriteBackend(0700);
    uint32_t uiError = 99;
    EXPECT_EQ(1, AppPlatform::ProbePrintProcessor(&uiError));
    EXPECT_EQ(0u, uiError);
}

TEST_F(PrintServiceProbeTest, MissingBackendIsReportedWithItsError)
{
    uint32_t uiError = 0;
    EXPECT_EQ(0, AppPlatform::ProbePrintProcessor(&uiError));
    EXPECT_EQ(static_cast<uint32_t>(ENOENT), uiError);
}

TEST_F(PrintServiceProbeTest, FileThatNobodyMayRunIsNotTheBackend)
{
    WriteBackend(0644);
    uint32_t uiError = 0;
    EXPECT_EQ(0, AppPlatform::ProbePrintProcessor(&uiError));
    EXPECT_EQ(static_cast<uint32_t>(ENOEXEC), uiError);
}

TEST_F(PrintServiceProbeTest, FolderOfThatNameIsNotTheBackend)
{
    std::filesystem::create_directory(Backend());
    uint32_t uiError = 0;
    EXPECT_EQ(0, AppPlatform::ProbePrintProcessor(&uiError));
    EXPECT_EQ(static_cast<uint32_t>(ENOEXEC), uiError);
}

TEST_F(PrintServiceProbeTest, FilterOfTheOldLayoutIsNotTheBackend)
{
    std::filesystem::create_directory(m_strFolder + "/filter");
    std::ofstream(m_strFolder + "/filter/orvprint") << "#!/bin/sh\n";
    chmod((m_strFolder + "/filter/orvprint").c_str(), 0755);
    uint32_t uiError = 0;
    EXPECT_EQ(0, AppPlatform::ProbePrintProcessor(&uiError));
}

} // namespace
