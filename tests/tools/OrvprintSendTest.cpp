#include <algorithm>
#include <cstring>
#include <thread>
#include <vector>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include "Src/PrintingService/Common/Include/MsgQueueLayout.h"
#include "support/TempFolder.h"
#include "tests/Src/PrintingService/Common/Include/QueueTestSupport.h"
#include "tests/tools/ToolProcess.h"
#include "utility/NamedEvent.h"
#include "utility/NamedMutex.h"
#include "utility/SharedBlock.h"

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
    EXPECT_EQ("orvprint-send: timed out waiting for the answer\n", m_strErr);
    ASSERT_TRUE(receiver.WaitEntered());
    receiver.Release();
    receiver.Stop();
    EXPECT_EQ(6, receiver.Process().Wait());
}

// Another sender holds the senders' mutex (this test process) for longer
// than the time limit: the tool gives up with the timeout code and says that
// it was waiting for other senders, not for the answer.
TEST_F(OrvprintSendTest, TimeoutWhileAnotherSenderHoldsTheChannelNamesThatWait)
{
    orvtest::ChildReceiver receiver(m_strBase, "answer");
    ASSERT_TRUE(receiver.WaitReady());
    const std::wstring strBase = orvtest::Wide(m_strBase);
    orvtest::Handle hSenders(OrvUtility::CreateNamedMutex(
        OrvUtility::CMsgQueueLayout::SenderMutexName(strBase).c_str(), true, OrvUtility::EVERYONE_MUTEX_ALL_ACCESS));
    ASSERT_NE(nullptr, hSenders.h);
    const std::string strFile = WriteFile("request.json", SAMPLE_REQUEST);
    EXPECT_EQ(3, Send({"--timeout", "1", strFile}));
    EXPECT_EQ("", m_strOut);
    EXPECT_EQ("orvprint-send: timed out waiting for other senders to finish\n", m_strErr);

    // The mutex was all that held it up.
    ASSERT_EQ(1, OrvUtility::ReleaseNamedMutex(hSenders.h));
    EXPECT_EQ(0, Send({"--timeout", "30", strFile})) << m_strErr;
    EXPECT_EQ("{\"resultCode\":0,\"responseLength\":44,\"result\":0,\"printerId\":\"P1\",\"projectId\":\"J1\"}\n",
              m_strOut);
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
    EXPECT_NE(std::string::npos, m_strOut.find("  orvprint-send: timed out waiting for other senders to finish\n"));
    EXPECT_NE(std::string::npos, m_strOut.find("  orvprint-send: timed out waiting for the answer\n"));
    EXPECT_EQ("", m_strErr);
}

namespace {

// A receiver inside the test that answers one request with exactly the
// bytes it is given: response length, the 44-byte response area and the
// result code, written straight into the shared block as a faulty or
// hostile receiver might.
class RawReceiver {
public:
    RawReceiver(const std::string& strBase, uint64_t uiLength, const std::vector<uint8_t>& vecResponse,
                uint32_t uiResultCode)
        : m_strBase(orvtest::Wide(strBase))
    {
        using namespace OrvUtility;
        m_hExistence.h = CreateNamedMutex(CMsgQueueLayout::ExistenceMutexName(m_strBase).c_str(), true,
                                          EVERYONE_MUTEX_ALL_ACCESS);
        m_hBlock.h = CreateSharedBlock(CMsgQueueLayout::BlockName(m_strBase), orvtest::BLOCK_SIZE,
                                       EVERYONE_FILE_MAP_ALL_ACCESS);
        m_hSend.h = CreateNamedEvent(CMsgQueueLayout::SendEventName(m_strBase).c_str(), EVERYONE_EVENT_ALL_ACCESS);
        m_hResponse.h =
            CreateNamedEvent(CMsgQueueLayout::ResponseEventName(m_strBase).c_str(), EVERYONE_EVENT_ALL_ACCESS);
        m_pbyBlock = m_hBlock.h ? MapSharedBlock(m_hBlock.h, orvtest::BLOCK_SIZE) : nullptr;
        m_bReady = m_hExistence.h && m_pbyBlock && m_hSend.h && m_hResponse.h;
        if (!m_bReady) {
            return;
        }
        m_thread = std::thread([this, uiLength, vecResponse, uiResultCode]() {
            const CMsgQueueLayout layout(orvtest::R, orvtest::S);
            if (WaitForNamedEvent(m_hSend.h, orvtest::GENEROUS_MS) != NAMED_WAIT_OBJECT_0) {
                return;
            }
            orvtest::WriteU64(m_pbyBlock + layout.ResponseLengthOffset(), uiLength);
            std::memcpy(m_pbyBlock + layout.ResponseOffset(), vecResponse.data(), vecResponse.size());
            std::memcpy(m_pbyBlock + layout.ResultCodeOffset(), &uiResultCode, sizeof(uiResultCode));
            SetNamedEvent(m_hResponse.h);
        });
    }
    ~RawReceiver()
    {
        if (m_thread.joinable()) {
            m_thread.join();
        }
        if (m_pbyBlock) {
            OrvUtility::UnmapSharedBlock(m_pbyBlock);
        }
        if (m_hExistence.h) {
            OrvUtility::ReleaseNamedMutex(m_hExistence.h);
        }
    }
    RawReceiver(const RawReceiver&) = delete;
    RawReceiver& operator=(const RawReceiver&) = delete;
    bool Ready() const { return m_bReady; }

private:
    std::wstring m_strBase;
    orvtest::Handle m_hExistence;
    orvtest::Handle m_hBlock;
    orvtest::Handle m_hSend;
    orvtest::Handle m_hResponse;
    uint8_t* m_pbyBlock = nullptr;
    bool m_bReady = false;
    std::thread m_thread;
};

// The 44-byte answer area: result, then two id fields of 20 bytes.
std::vector<uint8_t> Answer(int32_t iResult, const std::u16string& strPrinter, const std::u16string& strProject)
{
    std::vector<uint8_t> vecAnswer(44, 0);
    std::memcpy(vecAnswer.data(), &iResult, 4);
    std::memcpy(vecAnswer.data() + 4, strPrinter.data(), std::min<size_t>(strPrinter.size(), 10) * 2);
    std::memcpy(vecAnswer.data() + 24, strProject.data(), std::min<size_t>(strProject.size(), 10) * 2);
    return vecAnswer;
}

struct MalformedCase {
    const char* szName;
    uint64_t uiLength;
    std::vector<uint8_t> vecAnswer;
    uint32_t uiResultCode;
    const char* szJson;
    const char* szError;
};

} // namespace

TEST_F(OrvprintSendTest, MalformedAnswersExitSixNamingWhatWasWrong)
{
    const std::vector<MalformedCase> vecCases = {
        {"length", 40, Answer(0, u"P1", u"J1"), 0,
         "{\"resultCode\":0,\"responseLength\":40,\"result\":0,\"printerId\":\"P1\",\"projectId\":null}\n",
         "orvprint-send: malformed answer: responseLength 40, not 44\n"},
        {"result", 44, Answer(7, u"P1", u"J1"), 0,
         "{\"resultCode\":0,\"responseLength\":44,\"result\":7,\"printerId\":\"P1\",\"projectId\":\"J1\"}\n",
         "orvprint-send: malformed answer: result 7, neither 0 (OK) nor 1 (cancelled)\n"},
        {"printer id", 44, Answer(0, u"ABCDEFGHIJ", u"J1"), 0,
         "{\"resultCode\":0,\"responseLength\":44,\"result\":0,\"printerId\":\"ABCDEFGHIJ\",\"projectId\":\"J1\"}\n",
         "orvprint-send: malformed answer: printerId has no terminator within its 20 bytes (more than 9 "
         "characters)\n"},
        {"project id", 44, Answer(1, u"", u"0123456789"), 0,
         "{\"resultCode\":0,\"responseLength\":44,\"result\":1,\"printerId\":\"\",\"projectId\":\"0123456789\"}\n",
         "orvprint-send: malformed answer: projectId has no terminator within its 20 bytes (more than 9 "
         "characters)\n"},
        {"result code", 44, Answer(0, u"P1", u"J1"), 7,
         "{\"resultCode\":7,\"responseLength\":44,\"result\":0,\"printerId\":\"P1\",\"projectId\":\"J1\"}\n",
         "orvprint-send: malformed answer: unknown resultCode 7 (known: 0 served, 6 quitting)\n"},
        {"everything", (1ull << 63) + 5, Answer(7, u"ABCDEFGHIJ", u"KLMNOPQRST"), 0,
         "{\"resultCode\":0,\"responseLength\":9223372036854775813,\"result\":7,\"printerId\":\"ABCDEFGHIJ\","
         "\"projectId\":\"KLMNOPQRST\"}\n",
         "orvprint-send: malformed answer: responseLength 9223372036854775813, not 44; result 7, neither 0 (OK) "
         "nor 1 (cancelled); printerId has no terminator within its 20 bytes (more than 9 characters); projectId "
         "has no terminator within its 20 bytes (more than 9 characters)\n"},
    };
    const std::string strFile = WriteFile("request.json", SAMPLE_REQUEST);
    for (const MalformedCase& c : vecCases) {
        SCOPED_TRACE(c.szName);
        const std::string strBase = m_strBase + "_" + std::to_string(&c - vecCases.data());
        RawReceiver receiver(strBase, c.uiLength, c.vecAnswer, c.uiResultCode);
        ASSERT_TRUE(receiver.Ready());
        EXPECT_EQ(6, Run({"--name", strBase, "--timeout", "30", strFile}));
        EXPECT_EQ(c.szJson, m_strOut);
        EXPECT_EQ(c.szError, m_strErr);
    }
}

// Ids with control characters from the receiver: the JSON stays valid and
// carries them as escapes; no control byte reaches the terminal.
TEST_F(OrvprintSendTest, ControlCharactersOfAnAnswerAreEscapedInTheJson)
{
    const std::string strFile = WriteFile("request.json", SAMPLE_REQUEST);
    RawReceiver receiver(m_strBase, 44, Answer(0, u"A\x1b[2J\n", u"B\u009bC\x7f"), 0);
    ASSERT_TRUE(receiver.Ready());
    EXPECT_EQ(0, Send({"--timeout", "30", strFile})) << m_strErr;
    EXPECT_EQ("{\"resultCode\":0,\"responseLength\":44,\"result\":0,\"printerId\":\"A\\u001b[2J\\n\","
              "\"projectId\":\"B\\u009bC\\u007f\"}\n",
              m_strOut);
    EXPECT_EQ("", m_strErr);
}

// Texts from the command line and the request file in error messages: their
// control characters are shown as text.
TEST_F(OrvprintSendTest, ControlCharactersInErrorMessagesAreShownAsText)
{
    const std::string strFile =
        WriteFile("request.json", "{\"printers\":[{\"id\":\"P1\",\"name\":\"x\",\"\\u001b[31m\\u009b\":1}]}");
    EXPECT_EQ(4, Send({strFile}));
    EXPECT_EQ("orvprint-send: " + strFile + ": printers[0].\\x1b[31m\\u009b: unknown field\n", m_strErr);
    EXPECT_EQ(1, Run({"--timeout", "1\x1b[2J", strFile}));
    EXPECT_EQ("orvprint-send: --timeout needs a number of seconds, not \"1\\x1b[2J\"\n", m_strErr);
    EXPECT_EQ(1, Run({"--bogus\x1b]0;x\x07"}));
    EXPECT_EQ(0u, m_strErr.find("orvprint-send: unexpected argument \"--bogus\\x1b]0;x\\x07\"\n")) << m_strErr;
}

TEST_F(OrvprintSendTest, WellFormedAnswersOfARawReceiverExitZero)
{
    const std::string strFile = WriteFile("request.json", SAMPLE_REQUEST);
    {
        RawReceiver receiver(m_strBase, 44, Answer(0, u"123456789", u""), 0);
        ASSERT_TRUE(receiver.Ready());
        EXPECT_EQ(0, Send({strFile}));
        EXPECT_EQ("{\"resultCode\":0,\"responseLength\":44,\"result\":0,\"printerId\":\"123456789\",\"projectId\":\"\"}\n",
                  m_strOut);
        EXPECT_EQ("", m_strErr);
    }
    const std::string strQuitting = m_strBase + "_q";
    RawReceiver receiver(strQuitting, 0, std::vector<uint8_t>(44, 0xEE), 6);
    ASSERT_TRUE(receiver.Ready());
    EXPECT_EQ(0, Run({"--name", strQuitting, strFile}));
    EXPECT_EQ("{\"resultCode\":6,\"responseLength\":0,\"result\":null,\"printerId\":null,\"projectId\":null}\n", m_strOut);
    EXPECT_EQ("", m_strErr);
}
