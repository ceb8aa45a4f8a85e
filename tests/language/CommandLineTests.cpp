#include <gtest/gtest.h>

#include <string>
#include <vector>
#include "language/CommandLine.h"
#include "language/Exception.h"
#include "language/FileNotFoundException.h"
#include "language/InvalidDataException.h"
#include "language/TextConvert.h"
#include "language/LanguageTestHelpers.h"
#include "support/ChildMain.h"
#include "support/TempFolder.h"

using Language::SplitCommandLine;

typedef std::vector<std::wstring> Parts;

TEST(SplitCommandLineTest, QuotedProgramAndOption)
{
    Parts parts;
    EXPECT_EQ(2u, SplitCommandLine(L"\"C:\\Program Files\\Orv\\OrvClientTool.exe\" -x", parts));
    EXPECT_EQ((Parts{L"\"C:\\Program Files\\Orv\\OrvClientTool.exe\"", L"-x"}), parts);
}

TEST(SplitCommandLineTest, BlanksOnlyGiveNoParts)
{
    Parts parts;
    EXPECT_EQ(0u, SplitCommandLine(L"    ", parts));
    EXPECT_EQ(0u, SplitCommandLine(L" \t \r\n ", parts));
    EXPECT_EQ(0u, SplitCommandLine(L"", parts));
    EXPECT_TRUE(parts.empty());
}

TEST(SplitCommandLineTest, UnclosedQuoteBeforeProgramGivesNoParts)
{
    Parts parts;
    EXPECT_EQ(0u, SplitCommandLine(L"\"C:\\Orv\\OrvClientTool.exe -x", parts));
    EXPECT_TRUE(parts.empty());
}

TEST(SplitCommandLineTest, UnclosedLastQuoteIsDropped)
{
    Parts parts;
    EXPECT_EQ(2u, SplitCommandLine(L"a.exe \"b c\" \"open", parts));
    EXPECT_EQ((Parts{L"a.exe", L"\"b c\""}), parts);
}

TEST(SplitCommandLineTest, PartsAreAppendedAndCounted)
{
    Parts parts{L"kept"};
    EXPECT_EQ(3u, SplitCommandLine(L"  one\ttwo   three  ", parts));
    EXPECT_EQ((Parts{L"kept", L"one", L"two", L"three"}), parts);
}

TEST(SplitCommandLineTest, QuoteInsidePlainPartIsOrdinary)
{
    Parts parts;
    EXPECT_EQ(2u, SplitCommandLine(L"a\"b c", parts));
    EXPECT_EQ((Parts{L"a\"b", L"c"}), parts);
}

TEST(SplitCommandLineTest, QuotedPartEndsAtItsClosingQuote)
{
    Parts parts;
    EXPECT_EQ(3u, SplitCommandLine(L"\"a b\"c \"\"", parts));
    EXPECT_EQ((Parts{L"\"a b\"", L"c", L"\"\""}), parts);
}

TEST(SplitCommandLineTest, ChineseParts)
{
    Parts parts;
    EXPECT_EQ(2u, SplitCommandLine(L"\"客户端 工具.exe\" 参数", parts));
    EXPECT_EQ((Parts{L"\"客户端 工具.exe\"", L"参数"}), parts);
}

TEST(RunCommandTest, UnclosedQuoteThrowsInvalidData)
{
    try {
        Language::RunCommand(L"\"C:\\Orv\\OrvClientTool.exe -x");
    } catch (const Language::InvalidDataException& e) {
        EXPECT_EQ(L"命令的形式不正确。", e.MessageW());
        return;
    }
    FAIL() << "no InvalidDataException";
}

TEST(RunCommandTest, BlankLineThrowsInvalidDataAsLanguageException)
{
    try {
        Language::RunCommand(L"   ");
    } catch (const Language::Exception& e) {
        EXPECT_NE(nullptr, dynamic_cast<const Language::InvalidDataException*>(&e));
        EXPECT_EQ(L"命令的形式不正确。", e.MessageW());
        return;
    }
    FAIL() << "no Language::Exception";
}

TEST(RunCommandTest, MissingProgramThrowsFileNotFound)
{
    orvtest::TempFolder tmp;
    const std::wstring strMissing = Language::WideFromNarrow(tmp.File("OrvClientTool.exe"));
    try {
        Language::RunCommand(L"\"" + strMissing + L"\" -x");
    } catch (const Language::FileNotFoundException& e) {
        const std::wstring strText = e.MessageW();
        EXPECT_EQ(L"找不到文件 : ", strText.substr(0, 8));
        EXPECT_EQ(L"找不到文件 : " + strMissing, strText);
        EXPECT_EQ(Language::NarrowFromWide(strMissing), e.Message());
        return;
    }
    FAIL() << "no FileNotFoundException";
}

TEST(RunCommandTest, MissingPlainProgramThrowsFileNotFound)
{
    try {
        Language::RunCommand(L"no-such-orv-program.exe a b");
    } catch (const Language::FileNotFoundException& e) {
        EXPECT_EQ(L"找不到文件 : no-such-orv-program.exe", e.MessageW());
        EXPECT_EQ("no-such-orv-program.exe", e.Message());
        return;
    }
    FAIL() << "no FileNotFoundException";
}

// Records its arguments, one a line, in the file named by the first.
ORV_CHILD_MAIN(RecordArguments)
{
    if (args.empty()) {
        return 2;
    }
    std::string strText;
    for (const std::string& strArg : args) {
        strText += strArg + "\n";
    }
    return languagetest::WriteFileAtOnce(args[0], strText) ? 0 : 3;
}

TEST(RunCommandTest, StartsProgramWithArgumentsWithoutWaiting)
{
    orvtest::TempFolder tmp;
    const std::string strOut = tmp.File("arguments.txt");
    const std::wstring strLine = L"\"" + Language::WideFromNarrow(orvtest::SelfPath()) +
                                 L"\" --orv-child=RecordArguments \"" + Language::WideFromNarrow(strOut) +
                                 L"\" \"two words\" plain";
    Language::RunCommand(strLine);
    EXPECT_EQ(strOut + "\ntwo words\nplain\n", languagetest::WaitForFileText(strOut));
}
