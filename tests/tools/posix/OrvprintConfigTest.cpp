// orvprint-config run as a process on a machine registry and Config.ini of
// the test's own (Linux: the registry is the file named by
// ORVPRINT_MACHINE_CONFIG).
#include <cstdlib>
#include <string>
#include <gtest/gtest.h>
#include "support/TempFolder.h"
#include "tests/tools/ToolProcess.h"

namespace {

class OrvprintConfigTest : public ::testing::Test {
protected:
    OrvprintConfigTest()
    {
        m_folder.WriteFile("machine.ini", "[Software\\Orv-soft\\Client]\nTempDir=" + m_folder.Path() + "/\n");
        setenv("ORVPRINT_MACHINE_CONFIG", m_folder.File("machine.ini").c_str(), 1);
        // The user's own settings: none, in a folder of the test's.
        setenv("XDG_CONFIG_HOME", m_folder.File("config").c_str(), 1);
    }
    ~OrvprintConfigTest() override
    {
        unsetenv("ORVPRINT_MACHINE_CONFIG");
        unsetenv("XDG_CONFIG_HOME");
    }

    orvtest::TempFolder m_folder;
};

} // namespace

// Values of Config.ini with control characters (an escape sequence that
// would colour or clear the terminal, a C1 control, a bell, DEL)
// are shown as text: no control byte reaches the terminal.
TEST_F(OrvprintConfigTest, ControlCharactersOfValuesAreShownAsText)
{
    m_folder.WriteFile("Config.ini", "[Setting]\n"
                                     "DefaultPrinter=A\x1b[31mRed\x1b[0m\n"
                                     "DefaultProject=B\xc2\x9b" "2J\x07" "C\x7f\n"
                                     "[ServerConfig]\n"
                                     "AuditInstalled=1\n");
    std::string strOut;
    std::string strErr;
    EXPECT_EQ(0, orvtest::RunTool(ORVPRINT_CONFIG_PATH, {}, strOut, strErr)) << strOut << strErr;
    EXPECT_NE(std::string::npos, strOut.find("\n  DefaultPrinter          = \"A\\x1b[31mRed\\x1b[0m\"   (machine file)\n")) << strOut;
    EXPECT_NE(std::string::npos, strOut.find("\n  DefaultProject          = \"B\\u009b2J\\x07C\\x7f\"   (machine file)\n")) << strOut;
    for (const char ch : strOut) {
        const unsigned char by = static_cast<unsigned char>(ch);
        EXPECT_TRUE(by == '\n' || (by >= 0x20 && by != 0x7F)) << "control byte " << static_cast<int>(by);
    }
    EXPECT_EQ(std::string::npos, strOut.find("\xc2\x9b"));
    EXPECT_EQ("", strErr);
}
