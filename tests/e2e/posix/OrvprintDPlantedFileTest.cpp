// Another user plants something under the name of a file that OrvprintD
// writes in a folder everybody may write: Config.ini in TempDir, the log file
// in LogDir. OrvprintD refuses it with an ERROR line, writes nothing through
// it, and the dialog answers as usual.
#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "EndToEndFixture.h"
#include "support/posix/PlantedFile.h"

namespace {

using namespace orvtest::e2e;

using orvtest::Planted;
enum class Target { ConfigIni, LogFile };

const char* const VICTIM = "#!/bin/sh\n[Setting]\nDefaultPrinter=Old\necho harmless\n";

struct PlantedCase {
    Target eTarget;
    Planted ePlanted;
};

std::string CaseName(const testing::TestParamInfo<PlantedCase>& info)
{
    return std::string(info.param.eTarget == Target::ConfigIni ? "ConfigIni" : "LogFile") +
           orvtest::PlantedName(info.param.ePlanted);
}

class PlantedFileTest : public EndToEndTest, public testing::WithParamInterface<PlantedCase> {
protected:
    void SetUp() override
    {
        EndToEndTest::SetUp();
        // Two log files: the one that may be planted, and one in a folder of
        // its own where the refusal can be read.
        mkdir(m_tmp.File("safe").c_str(), 0700);
        m_tmp.WriteFile("install/LogConfig.conf",
                        "log4cpp.rootCategory=ERROR\n"
                        "log4cpp.category.OrvprintD_exe=DEBUG, file, safe\n"
                        "log4cpp.appender.file=org.apache.log4cpp.FileAppender\n"
                        "log4cpp.appender.file.fileName=" + m_tmp.File("log/OrvprintD.log") + "\n"
                        "log4cpp.appender.file.layout=org.apache.log4cpp.PatternLayout\n"
                        "log4cpp.appender.file.layout.ConversionPattern=%m%n\n"
                        "log4cpp.appender.safe=org.apache.log4cpp.FileAppender\n"
                        "log4cpp.appender.safe.fileName=" + m_tmp.File("safe/OrvprintD.log") + "\n"
                        "log4cpp.appender.safe.layout=org.apache.log4cpp.PatternLayout\n"
                        "log4cpp.appender.safe.layout.ConversionPattern=%m%n\n");
        m_strVictim = m_outside.WriteFile("victim.sh", VICTIM);
        m_strPlanted = m_tmp.File(GetParam().eTarget == Target::ConfigIni ? "temp/Config.ini" : "log/OrvprintD.log");
        unlink(m_strPlanted.c_str());
        m_strReason = orvtest::Plant(GetParam().ePlanted, m_strPlanted, m_strVictim);
        ASSERT_NE("", m_strReason);
    }

    std::string SafeLog() const { return m_tmp.ReadFile("safe/OrvprintD.log"); }

    orvtest::TempFolder m_outside;
    std::string m_strVictim;
    std::string m_strPlanted;
    std::string m_strReason;
};

TEST_P(PlantedFileTest, RefusedWithAnErrorLineAndTheDialogAnswersAsUsual)
{
    ASSERT_NO_FATAL_FAILURE(StartServing());
    auto reply = SendAsync(BuildRequest(TwoPrinters(), TwoProjects()));
    ASSERT_NO_FATAL_FAILURE(AnswerDialog("Return"));
    const auto stuReply = reply.get();
    ASSERT_EQ(0u, stuReply.uiResultCode);
    EXPECT_EQ(44u, stuReply.uiResponseLength);
    EXPECT_EQ(0, ReplyResult(stuReply));
    EXPECT_EQ(L"P-3F", ReplyId(stuReply, 4));

    // Ended before the files are looked at: every line is written.
    kill(static_cast<pid_t>(m_pOrvprintD->GetPid()), SIGTERM);
    EXPECT_EQ(0, m_pOrvprintD->Wait());

    EXPECT_EQ(VICTIM, orvtest::ReadWholeFile(m_strVictim));
    struct stat st;
    ASSERT_EQ(0, lstat(m_strPlanted.c_str(), &st));
    switch (GetParam().ePlanted) {
    case Planted::SymbolicLink:
        EXPECT_TRUE(S_ISLNK(st.st_mode));
        break;
    case Planted::HardLink:
        EXPECT_EQ(2u, st.st_nlink);
        break;
    case Planted::Fifo: {
        EXPECT_TRUE(S_ISFIFO(st.st_mode));
        // Nothing was written into it.
        const int iFd = open(m_strPlanted.c_str(), O_RDONLY | O_NONBLOCK);
        ASSERT_GE(iFd, 0);
        char by = 0;
        EXPECT_EQ(0, read(iFd, &by, 1));
        close(iFd);
        break;
    }
    case Planted::Folder:
        EXPECT_TRUE(S_ISDIR(st.st_mode));
        EXPECT_EQ(0, rmdir(m_strPlanted.c_str())) << "the planted folder is no longer empty";
        break;
    }

    const std::string strLog = SafeLog();
    const std::string strRefused = "Refused " + m_strPlanted + ": " + m_strReason;
    const size_t uiAt = strLog.find(strRefused);
    ASSERT_NE(std::string::npos, uiAt) << strLog;
    const size_t uiLineStart = strLog.rfind('\n', uiAt) + 1;
    EXPECT_NE(std::string::npos, strLog.substr(uiLineStart, uiAt - uiLineStart).find("] ERROR - ")) << strLog;
    EXPECT_NE(std::string::npos, strLog.find("User clicked OK, orvprintD dialog closed.")) << strLog;
}

INSTANTIATE_TEST_SUITE_P(
    SharedFolders, PlantedFileTest,
    testing::Values(PlantedCase{Target::ConfigIni, Planted::SymbolicLink}, PlantedCase{Target::ConfigIni, Planted::HardLink},
                    PlantedCase{Target::ConfigIni, Planted::Fifo}, PlantedCase{Target::ConfigIni, Planted::Folder},
                    PlantedCase{Target::LogFile, Planted::SymbolicLink}, PlantedCase{Target::LogFile, Planted::HardLink},
                    PlantedCase{Target::LogFile, Planted::Fifo}, PlantedCase{Target::LogFile, Planted::Folder}),
    CaseName);

} // namespace
