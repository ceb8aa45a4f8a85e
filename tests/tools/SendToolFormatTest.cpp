#include <cstring>
#include <gtest/gtest.h>
#include "tools/orvprint-send/SendTool.h"

using OrvUtility::CMsgQueueSender;
using OrvprintSend::FormatAnswer;

namespace {

CMsgQueueSender::REPLY Reply(uint32_t uiResultCode, uint64_t uiLength, int32_t iResult, const char16_t* szPrinter,
                             const char16_t* szProject)
{
    CMsgQueueSender::REPLY stuReply;
    stuReply.uiResultCode = uiResultCode;
    stuReply.uiResponseLength = uiLength;
    stuReply.vecResponse.assign(static_cast<size_t>(uiLength < 44 ? uiLength : 44), 0);
    uint8_t abyFull[44] = {0};
    std::memcpy(abyFull, &iResult, 4);
    std::memcpy(abyFull + 4, szPrinter, std::char_traits<char16_t>::length(szPrinter) * 2);
    std::memcpy(abyFull + 24, szProject, std::char_traits<char16_t>::length(szProject) * 2);
    if (!stuReply.vecResponse.empty()) {
        std::memcpy(stuReply.vecResponse.data(), abyFull, stuReply.vecResponse.size());
    }
    return stuReply;
}

} // namespace

TEST(SendToolFormatTest, ServedChoice)
{
    EXPECT_EQ("{\"resultCode\":0,\"responseLength\":44,\"result\":0,\"printerId\":\"P1\",\"projectId\":\"J1\"}\n",
              FormatAnswer(Reply(0, 44, 0, u"P1", u"J1")));
}

TEST(SendToolFormatTest, CancelHasEmptyIds)
{
    EXPECT_EQ("{\"resultCode\":0,\"responseLength\":44,\"result\":1,\"printerId\":\"\",\"projectId\":\"\"}\n",
              FormatAnswer(Reply(0, 44, 1, u"", u"")));
}

TEST(SendToolFormatTest, ReceiverQuittingHasNoAnswerFields)
{
    EXPECT_EQ("{\"resultCode\":6,\"responseLength\":0,\"result\":null,\"printerId\":null,\"projectId\":null}\n",
              FormatAnswer(Reply(6, 0, 0, u"", u"")));
}

TEST(SendToolFormatTest, ShortAnswersLeaveTheMissingFieldsNull)
{
    EXPECT_EQ("{\"resultCode\":0,\"responseLength\":4,\"result\":1,\"printerId\":null,\"projectId\":null}\n",
              FormatAnswer(Reply(0, 4, 1, u"", u"")));
    EXPECT_EQ("{\"resultCode\":0,\"responseLength\":24,\"result\":0,\"printerId\":\"P9\",\"projectId\":null}\n",
              FormatAnswer(Reply(0, 24, 0, u"P9", u"")));
    EXPECT_EQ("{\"resultCode\":0,\"responseLength\":0,\"result\":null,\"printerId\":null,\"projectId\":null}\n",
              FormatAnswer(Reply(0, 0, 0, u"", u"")));
}

TEST(SendToolFormatTest, ALongerLengthStillReadsTheRecord)
{
    EXPECT_EQ("{\"resultCode\":0,\"responseLength\":1000,\"result\":0,\"printerId\":\"123456789\",\"projectId\":\"A\"}\n",
              FormatAnswer(Reply(0, 1000, 0, u"123456789", u"A")));
}
