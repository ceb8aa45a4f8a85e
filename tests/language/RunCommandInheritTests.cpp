// A program started by RunCommand (the client tool) holds nothing of this
// process: no descriptor or handle that a library opened inheritable (the
// log files), and on Linux no blocked signal.
#include <gtest/gtest.h>

#include <string>
#include "language/CommandLine.h"
#include "language/LanguageTestHelpers.h"
#include "language/TextConvert.h"
#include "support/ChildMain.h"
#include "support/TempFolder.h"

// Writes what it holds of its parent to the file named by its first argument.
ORV_CHILD_MAIN(DescribeInheritance)
{
    if (args.size() < 2) {
        return 2;
    }
    return languagetest::WriteFileAtOnce(args[0], languagetest::DescribeInheritedHandles(args[1])) ? 0 : 3;
}

TEST(RunCommandInheritTest, StartedProgramInheritsNothingOfThisProcess)
{
    orvtest::TempFolder tmp;
    const languagetest::InheritableHandles handles(tmp.File("OrvprintD.log"));
    ASSERT_TRUE(handles.IsReady());
    const std::string strReport = tmp.File("report.txt");
    Language::RunCommand(L"\"" + Language::WideFromUtf8(orvtest::SelfPath()) + L"\" --orv-child=DescribeInheritance " +
                         Language::WideFromUtf8(strReport) + L" \"" + Language::WideFromUtf8(handles.Token()) + L"\"");
    EXPECT_EQ(languagetest::NothingInherited(), languagetest::WaitForFileText(strReport));
}
