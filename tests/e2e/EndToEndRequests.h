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

namespace orvtest {
namespace e2e {

inline void CopyText(char16_t* pDest, size_t uiChars, const std::wstring& strText)
{
    const std::u16string str = Language::Utf16FromWide(strText);
    const size_t n = std::min(str.size(), uiChars - 1);
    std::copy(str.begin(), str.begin() + n, pDest);
    pDest[n] = 0;
}

struct Printer {
    std::wstring strId, strName, strComment;
    int32_t iStatus;
};

typedef std::vector<std::pair<std::wstring, std::wstring>> Projects;

inline std::vector<uint8_t> BuildRequest(const std::vector<Printer>& vecPrinters, const Projects& vecProjects)
{
    std::vector<uint8_t> vec;
    auto append = [&vec](const void* p, size_t n) {
        const uint8_t* pby = static_cast<const uint8_t*>(p);
        vec.insert(vec.end(), pby, pby + n);
    };
    const int32_t iPrinters = static_cast<int32_t>(vecPrinters.size());
    append(&iPrinters, 4);
    for (const Printer& p : vecPrinters) {
        CJobOptionData::PRINTER_INFO info;
        std::memset(&info, 0, sizeof(info));
        CopyText(info.szPrinterId, sizeof(info.szPrinterId) / 2, p.strId);
        CopyText(info.szPrinterName, sizeof(info.szPrinterName) / 2, p.strName);
        CopyText(info.szComment, sizeof(info.szComment) / 2, p.strComment);
        info.iStatus = p.iStatus;
        info.iMaxPagesPerJob = 100;
        info.iPageTotal = 7;
        info.iPrintTaskTotal = 1;
        append(&info, sizeof(info));
    }
    const int32_t iProjects = static_cast<int32_t>(vecProjects.size());
    append(&iProjects, 4);
    for (const auto& pr : vecProjects) {
        CJobOptionData::PROJECT_INFO info;
        std::memset(&info, 0, sizeof(info));
        CopyText(info.szProjectId, sizeof(info.szProjectId) / 2, pr.first);
        CopyText(info.szProjectName, sizeof(info.szProjectName) / 2, pr.second);
        append(&info, sizeof(info));
    }
    return vec;
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
