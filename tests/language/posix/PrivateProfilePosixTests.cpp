#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include "language/PrivateProfile.h"
#include "language/TextConvert.h"
#include "logging/FunctionTraceScope.h"
#include "logging/LogMacros.h"
#include "support/LogCapture.h"
#include "support/TempFolder.h"
#include "support/posix/PlantedFile.h"

// The Linux private-profile functions: the bytes they leave in the file.

using Language::PrivateProfileGetString;
using Language::PrivateProfileWriteString;

namespace {

class PrivateProfilePosixTest : public testing::Test {
protected:
    std::wstring Path() const { return Language::WideFromUtf8(m_tmp.File("Config.ini")); }
    int32_t Write(const wchar_t* szSection, const wchar_t* szKey, const wchar_t* szValue)
    {
        return PrivateProfileWriteString(szSection, szKey, szValue, Path().c_str());
    }
    std::string Content() const { return m_tmp.ReadFile("Config.ini"); }
    void Put(const std::string& strContent) const { m_tmp.WriteFile("Config.ini", strContent); }

    orvtest::TempFolder m_tmp;
};

} // namespace

TEST_F(PrivateProfilePosixTest, NewFileIsUtf8WithLf)
{
    EXPECT_EQ(1, Write(L"Setting", L"DefaultPrinter", L"\u4E09\u697C\u6253\u5370\u673A"));
    EXPECT_EQ("[Setting]\nDefaultPrinter=\xE4\xB8\x89\xE6\xA5\xBC\xE6\x89\x93\xE5\x8D\xB0\xE6\x9C\xBA\n", Content());
    wchar_t szBuffer[16];
    EXPECT_EQ(5u, PrivateProfileGetString(L"Setting", L"DefaultPrinter", L"", szBuffer, 16, Path().c_str()));
    EXPECT_EQ(std::wstring(L"\u4E09\u697C\u6253\u5370\u673A"), szBuffer);
}

TEST_F(PrivateProfilePosixTest, ChangesOnlyTheKeyLine)
{
    Put("; settings of the print client\n"
        "[Setting]\n"
        "  DisplayProjectSelection = 2   ; odd\n"
        "\tCanSelectNoPrinter=0\n"
        "\n"
        "[ServerConfig]\n"
        "AuditInstalled=1\n");
    EXPECT_EQ(1, Write(L"setting", L"displayprojectselection", L"1"));
    EXPECT_EQ("; settings of the print client\n"
              "[Setting]\n"
              "DisplayProjectSelection=1\n"
              "\tCanSelectNoPrinter=0\n"
              "\n"
              "[ServerConfig]\n"
              "AuditInstalled=1\n",
              Content());
}

TEST_F(PrivateProfilePosixTest, NewKeyAfterLastLineOfSection)
{
    Put("[Setting]\nA=1\n; last\n\n\n[ServerConfig]\nX=1\n");
    EXPECT_EQ(1, Write(L"Setting", L"  New ", L"n"));
    EXPECT_EQ("[Setting]\nA=1\n; last\nNew=n\n\n\n[ServerConfig]\nX=1\n", Content());
}

TEST_F(PrivateProfilePosixTest, NewSectionAtEndAfterBlankLine)
{
    Put("[Setting]\r\nA=1\r\n");
    EXPECT_EQ(1, Write(L" ServerConfig ", L"AuditInstalled", L"1"));
    EXPECT_EQ("[Setting]\r\nA=1\r\n\r\n[ServerConfig]\r\nAuditInstalled=1\r\n", Content());
}

TEST_F(PrivateProfilePosixTest, CrLfFileGetsCrLfLines)
{
    Put("[Setting]\r\nA=1\r\n\r\n[Other]\r\nB=2\r\n");
    EXPECT_EQ(1, Write(L"Setting", L"C", L"3"));
    EXPECT_EQ(1, Write(L"Setting", L"A", L"4"));
    EXPECT_EQ("[Setting]\r\nA=4\r\nC=3\r\n\r\n[Other]\r\nB=2\r\n", Content());
}

TEST_F(PrivateProfilePosixTest, LastLineWithoutEndGetsOne)
{
    Put("[S]\nA=1");
    EXPECT_EQ(1, Write(L"S", L"B", L"2"));
    EXPECT_EQ("[S]\nA=1\nB=2\n", Content());
    Put("[S]\nA=1");
    EXPECT_EQ(1, Write(L"S", L"A", L"5"));
    EXPECT_EQ("[S]\nA=5", Content());
}

TEST_F(PrivateProfilePosixTest, KeyBeforeAnySection)
{
    Put("[S]\nA=1\n");
    EXPECT_EQ(1, Write(L"", L"Top", L"t"));
    EXPECT_EQ("Top=t\n[S]\nA=1\n", Content());
}

TEST_F(PrivateProfilePosixTest, ByteOrderMarkAndForeignBytesKept)
{
    Put("\xEF\xBB\xBF[S]\nodd=\xFF\xFE raw\nA=1\n");
    EXPECT_EQ(1, Write(L"S", L"A", L"2"));
    EXPECT_EQ("\xEF\xBB\xBF[S]\nodd=\xFF\xFE raw\nA=2\n", Content());
}

TEST_F(PrivateProfilePosixTest, DeletesOnlyTheirLines)
{
    Put("[S]\nA=1\n;c\nB=2\n\n[T]\nC=3\n\n[U]\nD=4\n");
    EXPECT_EQ(1, Write(L"S", L"A", nullptr));
    EXPECT_EQ("[S]\n;c\nB=2\n\n[T]\nC=3\n\n[U]\nD=4\n", Content());
    EXPECT_EQ(1, Write(L"T", nullptr, nullptr));
    EXPECT_EQ("[S]\n;c\nB=2\n\n[U]\nD=4\n", Content());
}

TEST_F(PrivateProfilePosixTest, ReplacesFileAsAWhole)
{
    Put("[S]\nA=1\n");
    ASSERT_EQ(0, chmod(m_tmp.File("Config.ini").c_str(), 0640));
    struct stat stBefore;
    ASSERT_EQ(0, stat(m_tmp.File("Config.ini").c_str(), &stBefore));
    EXPECT_EQ(1, Write(L"S", L"A", L"2"));
    struct stat stAfter;
    ASSERT_EQ(0, stat(m_tmp.File("Config.ini").c_str(), &stAfter));
    EXPECT_NE(stBefore.st_ino, stAfter.st_ino);
    // The user's own file, whatever mode the one before had.
    EXPECT_EQ(0600u, stAfter.st_mode & 07777);
    int iEntries = 0;
    for (const auto& entry : std::filesystem::directory_iterator(m_tmp.Path())) {
        (void)entry;
        ++iEntries;
    }
    EXPECT_EQ(1, iEntries);
}

// What another user can plant in a folder that everybody may write, in
// place of Config.ini: it is refused, read as no file, never written
// through, and the victim outside the folder keeps every byte.
using orvtest::Planted;

class PlantedProfileTest : public testing::TestWithParam<Planted> {
protected:
    void SetUp() override
    {
        m_strVictim = m_outside.WriteFile("victim.sh", VICTIM);
        m_strReason = orvtest::Plant(GetParam(), m_shared.File("Config.ini"), m_strVictim);
        ASSERT_NE("", m_strReason);
    }

    std::wstring Path() const { return Language::WideFromUtf8(m_shared.File("Config.ini")); }
    std::string RefusedLine() const { return "Refused " + m_shared.File("Config.ini") + ": " + m_strReason; }

    static constexpr const char* VICTIM = "#!/bin/sh\n[Setting]\nDefaultPrinter=Old\necho harmless\n";
    orvtest::TempFolder m_outside;
    orvtest::TempFolder m_shared;
    std::string m_strVictim;
    std::string m_strReason;
};

TEST_P(PlantedProfileTest, WriteIsRefusedAndTheVictimKeepsEveryByte)
{
    orvtest::LogCapture capture;
    FunctionTraceScope scope(ORV_LOG_MODULE, "PlantedProfileTest", "Write");
    EXPECT_EQ(0, PrivateProfileWriteString(L"Setting", L"DefaultPrinter", L"Printer $(id)", Path().c_str()));
    EXPECT_EQ(VICTIM, orvtest::ReadWholeFile(m_strVictim));
    if (!capture.Available()) {
        GTEST_SKIP() << "the log facade is disabled in this build: the ERROR line cannot be read";
    }
    EXPECT_EQ(1, capture.Count(RefusedLine())) << capture.Text();
    EXPECT_EQ(1, capture.Count("ERROR - ")) << capture.Text();
}

TEST_P(PlantedProfileTest, ReadGivesTheDefaultAndNothingOfTheVictim)
{
    orvtest::LogCapture capture;
    FunctionTraceScope scope(ORV_LOG_MODULE, "PlantedProfileTest", "Read");
    wchar_t szBuffer[64];
    EXPECT_EQ(7u, PrivateProfileGetString(L"Setting", L"DefaultPrinter", L"Default", szBuffer, 64, Path().c_str()));
    EXPECT_EQ(std::wstring(L"Default"), szBuffer);
    EXPECT_EQ(VICTIM, orvtest::ReadWholeFile(m_strVictim));
    if (!capture.Available()) {
        GTEST_SKIP() << "the log facade is disabled in this build: the ERROR line cannot be read";
    }
    EXPECT_EQ(1, capture.Count(RefusedLine())) << capture.Text();
}

INSTANTIATE_TEST_SUITE_P(Planted, PlantedProfileTest,
                         testing::Values(Planted::SymbolicLink, Planted::HardLink, Planted::Fifo, Planted::Folder),
                         [](const testing::TestParamInfo<Planted>& info) { return orvtest::PlantedName(info.param); });

// A settings file larger than 1 MiB is refused with one ERROR line and read
// as no file; one of exactly 1 MiB is read.
TEST_F(PrivateProfilePosixTest, FileLargerThanOneMebibyteIsRefused)
{
    orvtest::LogCapture capture;
    FunctionTraceScope scope(ORV_LOG_MODULE, "PrivateProfilePosixTest", "Read");
    const std::string strHead = "[S]\nA=1\n;";
    Put(strHead + std::string(1024 * 1024 - strHead.size() - 1, 'x') + "\n");
    wchar_t szBuffer[8];
    EXPECT_EQ(1u, PrivateProfileGetString(L"S", L"A", L"D", szBuffer, 8, Path().c_str()));
    EXPECT_EQ(std::wstring(L"1"), szBuffer);
    Put(strHead + std::string(1024 * 1024 - strHead.size(), 'x') + "\n");
    EXPECT_EQ(1u, PrivateProfileGetString(L"S", L"A", L"D", szBuffer, 8, Path().c_str()));
    EXPECT_EQ(std::wstring(L"D"), szBuffer);
    EXPECT_EQ(0, Write(L"S", L"A", L"2"));
    EXPECT_EQ(1024u * 1024 + 1, Content().size());
    if (!capture.Available()) {
        GTEST_SKIP() << "the log facade is disabled in this build: the ERROR line cannot be read";
    }
    EXPECT_EQ(1, capture.Count("ERROR - ")) << capture.Text().substr(0, 2000);
    EXPECT_EQ(1, capture.Count(") : Refused " + m_tmp.File("Config.ini") + ": it is larger than 1 MiB."));
}

// A new file never takes execute, set-user-ID, set-group-ID or sticky
// bits (nor any other mode) from the file it replaces: it is 0600.
TEST_F(PrivateProfilePosixTest, ReplacementNeverCarriesSpecialOrExecuteBits)
{
    Put("[S]\nA=1\n");
    ASSERT_EQ(0, chmod(m_tmp.File("Config.ini").c_str(), 07777));
    EXPECT_EQ(1, Write(L"S", L"A", L"2"));
    struct stat st;
    ASSERT_EQ(0, stat(m_tmp.File("Config.ini").c_str(), &st));
    EXPECT_EQ(0600u, st.st_mode & 07777);
    EXPECT_EQ("[S]\nA=2\n", Content());
}

TEST_F(PrivateProfilePosixTest, FailedWriteLeavesNoTemporaryFile)
{
    std::filesystem::create_directory(m_tmp.File("Config.ini"));
    EXPECT_EQ(0, Write(L"S", L"A", L"2"));
    int iEntries = 0;
    for (const auto& entry : std::filesystem::directory_iterator(m_tmp.Path())) {
        (void)entry;
        ++iEntries;
    }
    EXPECT_EQ(1, iEntries);
}

// Another user puts a set-user-ID program with an INI tail where our
// settings file lies, in a folder everybody may write, and runs it over and
// over while we save: at no moment is there a program of ours to run, and
// the file we leave has no execute, set-ID or sticky bit.
TEST_F(PrivateProfilePosixTest, ASetUserIdFileInPlaceNeverBecomesOurs)
{
    const uid_t uidOther = 65534;
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root, to act as another user (nobody) beside the saving one";
    }
    if (access("/usr/bin/setpriv", X_OK) != 0 || access("/usr/bin/id", X_OK) != 0) {
        GTEST_SKIP() << "needs /usr/bin/setpriv and /usr/bin/id";
    }
    ASSERT_EQ(0, chmod(m_tmp.Path().c_str(), 0777));
    const std::string strFile = m_tmp.File("Config.ini");
    Put(orvtest::ReadWholeFile("/usr/bin/id") + "\n[Setting]\nDefaultPrinter=Printer One\n");
    ASSERT_EQ(0, chown(strFile.c_str(), uidOther, uidOther));
    ASSERT_EQ(0, chmod(strFile.c_str(), 06777));
    const std::string strSeen = m_tmp.File("seen");
    const std::string strStop = m_tmp.File("stop");
    m_tmp.WriteFile("seen", "");
    ASSERT_EQ(0, chown(strSeen.c_str(), uidOther, uidOther));

    // The other user: runs the file whenever it may, writing the
    // effective user id it ran with.
    const std::string strLoop = "while [ ! -e '" + strStop + "' ]; do '" + strFile + "' -u >>'" + strSeen +
                                "' 2>/dev/null; done";
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        execl("/usr/bin/setpriv", "setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "/bin/sh", "-c",
              strLoop.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    // The first run of the other user's program, as the other user.
    for (int i = 0; i < 100000 && orvtest::ReadWholeFile(strSeen).empty(); ++i) {
        usleep(1000);
    }
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(1, Write(L"Setting", L"DefaultPrinter", i % 2 ? L"Printer One" : L"Printer Two"));
    }
    m_tmp.WriteFile("stop", "");
    int iStatus = 0;
    ASSERT_EQ(pid, waitpid(pid, &iStatus, 0));

    const std::string strRuns = orvtest::ReadWholeFile(strSeen);
    EXPECT_EQ(0u, strRuns.find("65534\n")) << "the other user's program never ran";
    EXPECT_EQ(std::string::npos, strRuns.find_first_not_of("65534\n")) << strRuns;
    struct stat st;
    ASSERT_EQ(0, lstat(strFile.c_str(), &st));
    EXPECT_EQ(0u, st.st_mode & 07111);
    EXPECT_EQ(0600u, st.st_mode & 07777);
    EXPECT_EQ(geteuid(), st.st_uid);
}
