#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <gtest/gtest.h>
#include "Src/PrintingService/Common/Include/MsgQueueEx.h"
#include "logging/LogMacros.h"
#include "support/LogCapture.h"
#include "tests/Src/PrintingService/Common/Include/QueueTestSupport.h"
#include "utility/NamedEvent.h"
#include "utility/SharedBlock.h"

// The block's file is cut short by another local user while the receiver
// serves a request: the receiver goes on, releases the sender with an empty
// answer, gives the block its size back and serves the next request.

using namespace OrvUtility;
using orvtest::BLOCK_SIZE;
using orvtest::R;
using orvtest::S;

TEST(MsgQueueShrinkTest, ABlockCutShortDuringARequestIsRestoredAndServingGoesOn)
{
    orvtest::LogCapture cap;
    ORV_TRACE_SCOPE("MsgQueueShrinkTest");
    orvtest::ScopedSharedFolder shared;
    const std::string strBase = orvtest::UniqueObjectBase("Shrink");
    const std::wstring strWideBase = orvtest::Wide(strBase);
    const std::string strPath = shared.File(strBase + "_SHM");

    CMsgQueueEx queue(strWideBase, R, S);
    ASSERT_FALSE(queue.IsConstructionFailed());
    orvtest::Handle hSend(OpenNamedEvent(CMsgQueueLayout::SendEventName(strWideBase)));
    orvtest::Handle hResponse(OpenNamedEvent(CMsgQueueLayout::ResponseEventName(strWideBase)));
    orvtest::Handle hBlock(OpenSharedBlock(CMsgQueueLayout::BlockName(strWideBase), BLOCK_SIZE));
    ASSERT_NE(nullptr, hBlock.h);
    uint8_t* pbyView = MapSharedBlock(hBlock.h, BLOCK_SIZE);
    ASSERT_NE(nullptr, pbyView);
    struct stat st;
    ASSERT_EQ(0, stat(strPath.c_str(), &st)) << strPath;

    auto post = [&](const std::string& strRequest) {
        std::memcpy(pbyView + 8, strRequest.data(), strRequest.size());
        orvtest::WriteU64(pbyView, strRequest.size());
        ASSERT_EQ(1, SetNamedEvent(hSend.h));
    };

    // The file loses all but its first page while the handler runs; the
    // handler reads the request's last record and writes its answer.
    post(orvtest::MakeJobRequest(100, 500));
    uint8_t byLast = 0xFF;
    EXPECT_EQ(0u, queue.RecvMsg([&](uint8_t* pReq, uint64_t&, uint8_t* pResp, uint64_t& uiRespLen) {
        EXPECT_EQ(0, truncate(strPath.c_str(), 4096));
        byLast = pReq[R - 1];
        std::memset(pResp, 0x5A, 44);
        uiRespLen = 44;
        return 0;
    }));
    EXPECT_EQ(0, byLast);
    ASSERT_EQ(0, stat(strPath.c_str(), &st));
    EXPECT_EQ(static_cast<off_t>(BLOCK_SIZE), st.st_size);
    EXPECT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(hResponse.h, 0));
    EXPECT_EQ(0u, orvtest::ReadU32(pbyView + 16 + R + S)); // served
    EXPECT_EQ(0u, orvtest::ReadU64(pbyView + 8 + R));      // with an empty answer

    // The next request is served as usual.
    post(orvtest::MakeJobRequest(1, 1));
    EXPECT_EQ(0u, queue.RecvMsg([](uint8_t* pReq, uint64_t& uiReqLen, uint8_t* pResp, uint64_t& uiRespLen) {
        return orvtest::AnswerFirstIds(pReq, uiReqLen, pResp, uiRespLen);
    }));
    EXPECT_EQ(NAMED_WAIT_OBJECT_0, WaitForNamedEvent(hResponse.h, 0));
    EXPECT_EQ(44u, orvtest::ReadU64(pbyView + 8 + R));
    EXPECT_EQ(u'P', pbyView[16 + R + 4]);
    EXPECT_EQ(u'J', pbyView[16 + R + 24]);
    UnmapSharedBlock(pbyView);
    if (cap.Available()) {
        EXPECT_EQ(1, cap.Count(") : The shared block was cut short while a request was served."));
    }
}
