#pragma once

// Requests as the printing service builds them and the fields of an answer,
// for the end-to-end tests of both platforms.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "Src/Common/include/JobOptionData.h"
#include "Src/PrintingService/Common/Include/MsgQueueSender.h"
#include "language/TextConvert.h"
#include "support/JobRequestBuilder.h"

namespace orvtest {
namespace e2e {

struct Printer {
    std::wstring strId, strName, strComment;
    int32_t iStatus;
};

typedef std::vector<std::pair<std::wstring, std::wstring>> Projects;

inline std::vector<uint8_t> BuildRequest(const std::vector<Printer>& vecPrinters, const Projects& vecProjects)
{
    CJobRequestBuilder builder;
    for (const Printer& p : vecPrinters) {
        builder.Printer(Language::Utf16FromWide(p.strId), Language::Utf16FromWide(p.strName), p.iStatus, false, 1, 7,
                        100, Language::Utf16FromWide(p.strComment));
    }
    for (const auto& pr : vecProjects) {
        builder.Project(Language::Utf16FromWide(pr.first), Language::Utf16FromWide(pr.second));
    }
    return builder.Build();
}

inline std::vector<Printer> TwoPrinters()
{
    return {{L"P-3F", L"三楼彩色打印机", L"A3 彩色", 0}, {L"P-5F", L"五楼黑白打印机", L"", 0}};
}

inline Projects TwoProjects()
{
    return {{L"J-01", L"年度审计项目"}, {L"J-02", L"市场推广"}};
}

// The id text of the answer at a byte offset (10 UTF-16 units at most).
inline std::wstring ReplyId(const OrvUtility::CMsgQueueSender::REPLY& reply, size_t uiOffset)
{
    std::u16string str;
    for (size_t i = uiOffset; i + 1 < reply.vecResponse.size() && i < uiOffset + 20; i += 2) {
        const char16_t c = static_cast<char16_t>(reply.vecResponse[i] | (reply.vecResponse[i + 1] << 8));
        if (!c) {
            break;
        }
        str.push_back(c);
    }
    return Language::WideFromUtf16(str.c_str(), str.size());
}

// The answer's result field, or -1 when the answer is shorter.
inline int32_t ReplyResult(const OrvUtility::CMsgQueueSender::REPLY& reply)
{
    int32_t i = -1;
    if (reply.vecResponse.size() >= 4) {
        std::memcpy(&i, reply.vecResponse.data(), 4);
    }
    return i;
}

// A served request whose dialog was cancelled: 44 bytes, result 1, no ids.
inline void ExpectCancelledAnswer(const OrvUtility::CMsgQueueSender::REPLY& reply)
{
    ASSERT_EQ(0u, reply.uiResultCode);
    EXPECT_EQ(44u, reply.uiResponseLength);
    EXPECT_EQ(1, ReplyResult(reply));
    EXPECT_EQ(L"", ReplyId(reply, 4));
    EXPECT_EQ(L"", ReplyId(reply, 24));
}

} // namespace e2e
} // namespace orvtest
