#pragma once

#include <cstdint>
#include <string>
#include "Src/PrintingService/Common/Include/MsgQueueEx.h"
#include "utility/Thread.h"

// The worker thread that serves the printing service's job-option requests:
// it owns the queue "Orvprint_Popup_Dialog" and shows the print-option dialog
// for each request, one after the other. The dialog writes the answer in
// place; the queue then signals it back.
class CPopupThread : public OrvUtility::CThread {
public:
    CPopupThread();
    // Another queue base name (tests run their own channel).
    explicit CPopupThread(const std::wstring& strQueueName);
    ~CPopupThread() override;

    // Signals the queue's quit event. A dialog that is open stays open: the
    // loop sees the quit after the user has closed it.
    uint32_t ForceQuit() override;
    uint32_t Pause() override;
    uint32_t Resume() override;
    // Serves the queue until quit or failure.
    uint32_t Run() override;

    // One request: shows the dialog modally and logs how it was closed.
    // Always 0. A request the dialog cannot show (a malformed one) is
    // answered as cancelled: result 1, no ids, response length 44.
    int MsgHandler(uint8_t* pbyRequest, uint64_t& uiRequestLength, uint8_t* pbyResponse, uint64_t& uiResponseLength);

    // The code that ended the last RecvMsgLoop (6 quit, 4 failure), or -1.
    int64_t GetLoopResult() const { return m_iLoopResult; }

private:
    // Writes the Cancel button's answer into a response area of 44 bytes or more.
    static void AnswerCancelled(uint8_t* pbyResponse, uint64_t& uiResponseLength);

    OrvUtility::CMsgQueueEx m_objMsgQueue;
    int64_t m_iLoopResult = -1;
};
