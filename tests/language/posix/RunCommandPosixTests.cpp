#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <string>
#include <thread>
#include <unistd.h>
#include "language/CommandLine.h"
#include "language/TextConvert.h"
#include "language/LanguageTestHelpers.h"
#include "support/ChildMain.h"
#include "support/TempFolder.h"

namespace {

// The process's state letter from /proc/PID/stat, or 0 when it is gone.
char ProcessState(const std::string& strPid)
{
    std::ifstream in("/proc/" + strPid + "/stat");
    std::string strLine;
    if (!std::getline(in, strLine)) {
        return 0;
    }
    const size_t uiParen = strLine.rfind(')');
    return uiParen != std::string::npos && uiParen + 2 < strLine.size() ? strLine[uiParen + 2] : 0;
}

} // namespace

// Writes its process id to the file named by its argument and ends.
ORV_CHILD_MAIN(RecordProcessId)
{
    if (args.empty()) {
        return 2;
    }
    return languagetest::WriteFileAtOnce(args[0], std::to_string(getpid())) ? 0 : 3;
}

TEST(RunCommandPosixTest, EndedProgramIsReaped)
{
    orvtest::TempFolder tmp;
    const std::string strOut = tmp.File("pid.txt");
    Language::RunCommand(Language::WideFromUtf8(orvtest::SelfPath()) + L" --orv-child=RecordProcessId " +
                         Language::WideFromUtf8(strOut));
    ASSERT_TRUE(languagetest::WaitForFile(strOut));
    const std::string strPid = orvtest::ReadWholeFile(strOut);
    ASSERT_FALSE(strPid.empty());

    // The program ends at once; it must then vanish, not stay a zombie.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    char cState = ProcessState(strPid);
    while (cState != 0 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        cState = ProcessState(strPid);
    }
    EXPECT_EQ(0, cState) << "process " << strPid << " still listed";
}

TEST(RunCommandPosixTest, QuotedArgumentsArriveWithoutTheirQuotes)
{
    orvtest::TempFolder tmp;
    const std::string strOut = tmp.File("args.txt");
    Language::RunCommand(L"\"" + Language::WideFromUtf8(orvtest::SelfPath()) + L"\" --orv-child=RecordArguments " +
                         Language::WideFromUtf8(strOut) + L" \"客户端 工具\" a\"b");
    ASSERT_TRUE(languagetest::WaitForFile(strOut));
    EXPECT_EQ(strOut + "\n客户端 工具\na\"b\n", orvtest::ReadWholeFile(strOut));
}
