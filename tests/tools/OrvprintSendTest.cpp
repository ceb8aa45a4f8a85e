#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include "Src/PrintingService/Common/Include/MsgQueueLayout.h"
#include "support/TempFolder.h"
#include "tests/Src/PrintingService/Common/Include/QueueTestSupport.h"
#include "tests/tools/ToolProcess.h"
#include "utility/NamedEvent.h"

namespace {

const char SAMPLE_REQUEST[] = R"({
  "printers": [
    {"id": "P1", "name": "Floor 2 colour", "comment": "A3", "description": "Room 204",
     "status": 0, "maxPagesPerJob": 200, "pageTotal": 12, "printTaskTotal": 1, "tooManyPages": false},
    {"id": "P2", "name": "Basement"}
  ],
  "projects": [
    {"id": "J1", "name": "Research", "comment": ""}
  ]
})";

class OrvprintSendTest : public ::testing::Test {
protected:
    OrvprintSendTest() : m_strBase(orvtest::UniqueObjectBase("Tool")) {}

    std::string WriteFile(const std::string& strNameUtf8, const std::string& strContent)
    {
        const std::filesystem::path path = std::filesystem::path(m_files.Path()) / std::filesystem::u8path(strNameUtf8);
        std::ofstream file(path, std::ios::binary);
        file << strContent;
        file.close();
        return path.u8string();
    }

    int Run(std::vector<std::string> vecArgs)
    {
        m_strOut.clear();
        m_strErr.clear();
        return orvtest::RunTool(ORVPRINT_SEND_PATH, vecArgs, m_strOut, m_strErr);
    }

    int Send(const std::vector<std::string>& vecMore)
    {
        std::vector<std::string> vecArgs{"--name", m_strBase};
        vecArgs.insert(vecArgs.end(), vecMore.begin(), vecMore.end());
        return Run(vecArgs);
    }

    orvtest::ScopedSharedFolder m_shared;
    orvtest::TempFolder m_files;
    std::string m_strBase;
    std::string m_strOut;
    std::string m_strErr;
};

} // namespace

TEST_F(OrvprintSendTest, AnsweredRequestPrintsOneJsonObject)
{
    orvtest::ChildReceiver receiver(m_strBase, "answer");
    ASSERT_TRUE(receiver.WaitReady());
    const std::string strFile = WriteFile("request.json", SAMPLE_REQUEST);
    EXPECT_EQ(0, Send({strFile})) << m_strErr;
    EXPECT_EQ("{\"resultCode\":0,\"responseLength\":44,\"result\":0,\"printerId\":\"P1\",\"projectId\":\"J1\"}\n",
              m_strOut);
    EXPECT_EQ("", m_strErr);
    receiver.Stop();
    EXPECT_EQ(6, receiver.Process().Wait());
}

TEST_F(OrvprintSendTest, Utf8TextsTravelAsUtf16)
{
    orvtest::ChildReceiver receiver(m_strBase, "answer");
    ASSERT_TRUE(receiver.WaitReady());
    // A file name and ids beyond ASCII (also beyond the BMP: two UTF-16 units).
    const std::string strFile = WriteFile("请求.json", R"({"printers":[{"id":"打印机1","name":"彩色"}],)"
                                                       R"("projects":[{"id":"项目😀","name":"研究"}]})");
    EXPECT_EQ(0, Send({"--timeout", "30", strFile})) << m_strErr;
    EXPECT_EQ("{\"resultCode\":0,\"responseLength\":44,\"result\":0,\"printerId\":\"打印机1\",\"projectId\":\"项目😀\"}\n",
              m_strOut);
    receiver.Stop();
    EXPECT_EQ(6, receiver.Process().Wait());
}

TEST_F(OrvprintSendTest, RawFileIsSentUnchanged)
{
    orvtest::ChildReceiver receiver(m_strBase, "answer");
    ASSERT_TRUE(receiver.WaitReady());
    const std::string strFile = WriteFile("request.bin", orvtest::MakeJobRequest(1, 2, "R"));
    EXPECT_EQ(0, Send({"--raw", strFile})) << m_strErr;
    EXPECT_EQ("{\"resultCode\":0,\"responseLength\":44,\"result\":0,\"printerId\":\"RP1\",\"projectId\":\"RJ1\"}\n",
              m_strOut);
    receiver.Stop();
    EXPECT_EQ(6, receiver.Process().Wait());
}

TEST_F(OrvprintSendTest, NoReceiverExitsTwo)
{
    const std::string strFile = WriteFile("request.json", SAMPLE_REQUEST);
    EXPECT_EQ(2, Send({strFile}));
    EXPECT_EQ("", m_strOut);
    EXPECT_EQ("orvprint-send: no receiver on " + m_strBase + " (or it went away without answering)\n", m_strErr);
}

TEST_F(OrvprintSendTest, TimeoutExitsThree)
{
    orvtest::ChildReceiver receiver(m_strBase, "block");
    ASSERT_TRUE(receiver.WaitReady());
    const std::string strFile = WriteFile("request.json", SAMPLE_REQUEST);
    EXPECT_EQ(3, Send({"--timeout", "0.2", strFile}));
    EXPECT_EQ("", m_strOut);
    EXPECT_EQ("orvprint-send: no answer within the time limit\n", m_strErr);
    ASSERT_TRUE(receiver.WaitEntered());
    receiver.Release();
    receiver.Stop();
    EXPECT_EQ(6, receiver.Process().Wait());
}

TEST_F(OrvprintSendTest, BadInputFilesExitFourNamingTheField)
{
    struct Case {
        const char* szJson;
        const char* szMessage;
    };
    const Case aCases[] = {
        {R"({"printers":[{"name":"x"}]})", "printers[0].id: missing"},
        {R"({"printers":[{"id":"P1","name":"x"},{"id":7,"name":"y"}]})", "printers[1].id: must be a string"},
        {R"({"printers":[{"id":"0123456789","name":"x"}]})", "printers[0].id: must have 1 to 9 UTF-16 units, has 10"},
        {R"({"printers":[{"id":"P1","name":"x","status":"busy"}]})", "printers[0].status: must be an integer"},
        {R"({"printers":[{"id":"P1","name":"x","pageTotal":4294967296}]})",
         "printers[0].pageTotal: out of the 32-bit range"},
        {R"({"printers":[{"id":"P1","name":"x","tooManyPages":1}]})", "printers[0].tooManyPages: must be true or false"},
        {R"({"printers":[{"id":"P1","name":"x","colour":true}]})", "printers[0].colour: unknown field"},
        {R"({"projects":[{"id":"J1"}]})", "projects[0].name: missing"},
        {R"({"projects":{}})", "projects: must be an array"},
        {R"([1,2])", "(top level): must be an object"},
    };
    for (const Case& c : aCases) {
        const std::string strFile = WriteFile("bad.json", c.szJson);
        EXPECT_EQ(4, Send({strFile})) << c.szJson;
        EXPECT_EQ("orvprint-send: " + strFile + ": " + c.szMessage + "\n", m_strErr) << c.szJson;
        EXPECT_EQ("", m_strOut);
    }
}

TEST_F(OrvprintSendTest, UnreadableOrMalformedFilesExitFour)
{
    const std::string strMissing = m_files.File("missing.json");
    EXPECT_EQ(4, Send({strMissing}));
    EXPECT_EQ("orvprint-send: " + strMissing + ": cannot be read\n", m_strErr);

    const std::string strBroken = WriteFile("broken.json", "{\"printers\": [");
    EXPECT_EQ(4, Send({strBroken}));
    EXPECT_EQ(0u, m_strErr.find("orvprint-send: " + strBroken + ": not valid JSON ("));
    EXPECT_EQ(1u, static_cast<unsigned>(std::count(m_strErr.begin(), m_strErr.end(), '\n')));

    const std::string strHuge = WriteFile("huge.bin", std::string(2688409, '\0'));
    EXPECT_EQ(4, Send({"--raw", strHuge}));
    EXPECT_EQ("orvprint-send: " + strHuge + ": 2688409 bytes, longer than the request area of 2688408 bytes\n",
              m_strErr);
}

TEST_F(OrvprintSendTest, ChannelObjectsThatCannotBeOpenedExitFive)
{
    // Something else holds the shared block's name.
    orvtest::Handle hSquatter(OrvUtility::CreateNamedEvent(
        OrvUtility::CMsgQueueLayout::BlockName(orvtest::Wide(m_strBase)).c_str(),
        OrvUtility::EVERYONE_EVENT_ALL_ACCESS));
    ASSERT_NE(nullptr, hSquatter.h);
    const std::string strFile = WriteFile("request.json", SAMPLE_REQUEST);
    EXPECT_EQ(5, Send({strFile}));
    EXPECT_EQ(0u, m_strErr.find("orvprint-send: cannot open the channel " + m_strBase + " (platform error "));
}

TEST_F(OrvprintSendTest, CommandLineMistakesExitOne)
{
    EXPECT_EQ(1, Run({}));
    EXPECT_EQ(0u, m_strErr.find("orvprint-send: no request file\n"));
    EXPECT_EQ(1, Run({"--timeout", "soon", "x.json"}));
    EXPECT_EQ("orvprint-send: --timeout needs a number of seconds, not \"soon\"\n", m_strErr);
    EXPECT_EQ(1, Run({"a.json", "b.json"}));
    EXPECT_EQ(1, Run({"--bogus"}));
}

TEST_F(OrvprintSendTest, HelpDocumentsTheFormat)
{
    EXPECT_EQ(0, Run({"--help"}));
    EXPECT_NE(std::string::npos, m_strOut.find("usage: orvprint-send"));
    EXPECT_NE(std::string::npos, m_strOut.find("\"maxPagesPerJob\": 200"));
    EXPECT_NE(std::string::npos, m_strOut.find("Exit codes: 0 answered, 1 bad command line, 2 no receiver"));
    EXPECT_EQ("", m_strErr);
}
