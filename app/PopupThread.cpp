#include "app/PopupThread.h"

#include <boost/bind/bind.hpp>
#include "Src/Common/include/JobOptionData.h"
#include "Src/Common/include/JobSelectedData.h"
#include "app/OrvprintDDlgRunner.h"
#include "language/BaseException.h"
#include "logging/LogMacros.h"

CPopupThread::CPopupThread() : CPopupThread(ORVPRINT_QUEUE_NAME) {}

CPopupThread::CPopupThread(const std::wstring& strQueueName)
    : m_objMsgQueue(strQueueName, OrvUtility::CMsgQueueLayout::JOB_REQUEST_CAPACITY,
                    OrvUtility::CMsgQueueLayout::JOB_RESPONSE_CAPACITY)
{
    ORV_TRACE_SCOPE("CPopupThread::CPopupThread");
}

CPopupThread::~CPopupThread()
{
    ORV_TRACE_SCOPE("CPopupThread::~CPopupThread");
}

uint32_t CPopupThread::ForceQuit()
{
    ORV_TRACE_SCOPE("CPopupThread::ForceQuit");
    m_objMsgQueue.SignalQuit();
    return 0;
}

uint32_t CPopupThread::Pause()
{
    ORV_TRACE_SCOPE("CPopupThread::Pause");
    return 0;
}

uint32_t CPopupThread::Resume()
{
    ORV_TRACE_SCOPE("CPopupThread::Resume");
    return 0;
}

uint32_t CPopupThread::Run()
{
    ORV_TRACE_SCOPE("CPopupThread::Run");
    using namespace boost::placeholders;
    OrvUtility::CMsgQueueEx::MsgHandler handler = boost::bind(&CPopupThread::MsgHandler, this, _1, _2, _3, _4);
    // The handler answers every request itself; an exception that still
    // leaves the loop (the existence mutex is released on the way out) ends
    // this thread, and stops here so that it does not take the whole process
    // with it.
    try {
        m_iLoopResult = m_objMsgQueue.RecvMsgLoop(handler);
    } catch (const OrvUtility::CBaseException& e) {
        ORV_LOG_ERROR("%s(%d) : catched exception, code = %u. Popup thread ends.", e.GetCode());
    } catch (...) {
        ORV_LOG_ERROR("%s(%d) : %s", "Caught unexpected C++ exception. Popup thread ends.");
    }
    return 0;
}

int CPopupThread::MsgHandler(uint8_t* pbyRequest, uint64_t& uiRequestLength, uint8_t* pbyResponse,
                             uint64_t& uiResponseLength)
{
    ORV_TRACE_SCOPE("CPopupThread::MsgHandler");
    ORV_LOG_INFO_PLAIN("Popup orvprintD dialog.");
    // A request that cannot be shown (a malformed one throws from the
    // dialog's construction) is answered as the Cancel button answers, and
    // the handler returns normally: the queue then releases the sender and
    // goes on serving the next request.
    int iResult = 0;
    try {
        iResult = RunOrvprintDDlg(pbyRequest, &uiRequestLength, pbyResponse, &uiResponseLength);
    } catch (const OrvUtility::CBaseException& e) {
        ORV_LOG_ERROR("%s(%d) : catched exception, code = %u. The request is answered as cancelled.",
                      e.GetCode());
        AnswerCancelled(pbyResponse, uiResponseLength);
        return 0;
    } catch (...) {
        // No text of the exception is logged: it could carry request text.
        ORV_LOG_ERROR("%s(%d) : %s", "Caught unexpected C++ exception. The request is answered as cancelled.");
        AnswerCancelled(pbyResponse, uiResponseLength);
        return 0;
    }
    if (iResult == 1) {
        ORV_LOG_INFO_PLAIN("User clicked OK, orvprintD dialog closed.");
    } else if (iResult == 2) {
        ORV_LOG_INFO_PLAIN("User clicked Cancel, orvprintD dialog closed.");
    }
    return 0;
}

void CPopupThread::AnswerCancelled(uint8_t* pbyResponse, uint64_t& uiResponseLength)
{
    if (!pbyResponse || uiResponseLength < CJobSelectedData::TOTAL_BUFFER_SIZE) {
        return;
    }
    CJobSelectedData objSelected(pbyResponse, uiResponseLength, true);
    objSelected.SetResult(CJobSelectedData::RESULT_CANCEL);
    objSelected.ClearIds();
    uiResponseLength = CJobSelectedData::TOTAL_BUFFER_SIZE;
}
