#pragma once

// The print-option dialog's presenter on a fake window: the request, the
// settings, the clock and the answer bytes of one dialog.
#include <array>
#include <chrono>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>
#include <gtest/gtest.h>
#include "app/AnswerBytes.h"
#include "app/FakeDlgConfig.h"
#include "app/FakeOrvprintDDlgView.h"
#include "support/JobRequestBuilder.h"
#include "app/OrvConfig.h"
#include "app/OrvprintDDlg.h"

namespace orvtest {

// The bytes after the 44-byte answer are filled with this before a dialog.
const uint8_t REPLY_FILL = 0xAB;

class COrvprintDDlgFixture : public ::testing::Test {
protected:
    typedef std::function<void(CFakeOrvprintDDlgView&)> Script;

    void Construct()
    {
        m_vecRequest = m_request.Build();
        m_uiRecvSize = m_vecRequest.size();
        m_abyReply.fill(REPLY_FILL);
        m_uiRespSize = m_abyReply.size();
        m_pDlg.reset(new COrvprintDDlg(m_vecRequest.data(), &m_uiRecvSize, m_abyReply.data(), &m_uiRespSize));
    }

    int Run(Script fnScript = Script())
    {
        if (!m_pDlg) {
            Construct();
        }
        m_pDlg->SetViewFactory([this, fnScript](IOrvprintDDlgEvents& objEvents) {
            std::unique_ptr<CFakeOrvprintDDlgView> pView(new CFakeOrvprintDDlgView(objEvents));
            pView->m_fnScript = fnScript;
            pView->m_iFailPrinterAdd = m_iFailPrinterAdd;
            pView->m_iFailProjectAdd = m_iFailProjectAdd;
            pView->m_iFailCode = m_iFailCode;
            m_pView = pView.get();
            return std::unique_ptr<IOrvprintDDlgView>(std::move(pView));
        });
        m_pDlg->SetConfigFactory([this]() -> std::shared_ptr<IOrvprintDDlgConfig> {
            ++m_iConfigsMade;
            if (m_bConfigThrows) {
                throw COrvConfigException(0);
            }
            return m_spConfig;
        });
        m_pDlg->SetClock([this]() { return m_tpNow; });
        return m_pDlg->DoModal();
    }

    std::vector<uint8_t> Reply(size_t uiBytes = 44) const
    {
        return std::vector<uint8_t>(m_abyReply.begin(), m_abyReply.begin() + uiBytes);
    }

    int32_t ReplyResult() const
    {
        int32_t iResult;
        std::memcpy(&iResult, m_abyReply.data(), 4);
        return iResult;
    }

    // The bytes after the 44-byte answer are never written.
    void ExpectTailUntouched() const
    {
        for (size_t i = 44; i < m_abyReply.size(); ++i) {
            ASSERT_EQ(REPLY_FILL, m_abyReply[i]) << "byte " << i;
        }
    }

    CJobRequestBuilder m_request;
    std::shared_ptr<CFakeDlgConfig> m_spConfig = std::make_shared<CFakeDlgConfig>();
    bool m_bConfigThrows = false;
    int m_iConfigsMade = 0;
    int m_iFailPrinterAdd = -1;
    int m_iFailProjectAdd = -1;
    int m_iFailCode = -1;
    // The auto-cancel's clock.
    std::chrono::steady_clock::time_point m_tpNow = std::chrono::steady_clock::time_point() + std::chrono::hours(1);

    std::vector<uint8_t> m_vecRequest;
    uint64_t m_uiRecvSize = 0;
    std::array<uint8_t, 64> m_abyReply{};
    uint64_t m_uiRespSize = 0;
    std::unique_ptr<COrvprintDDlg> m_pDlg;
    CFakeOrvprintDDlgView* m_pView = nullptr;
};

} // namespace orvtest
