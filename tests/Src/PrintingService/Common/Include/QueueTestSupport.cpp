#include "tests/Src/PrintingService/Common/Include/QueueTestSupport.h"

#include "Src/Common/include/JobOptionData.h"
#include "Src/Common/include/JobSelectedData.h"
#include "support/ChildMain.h"
#include "support/JobRequestBuilder.h"

namespace orvtest {

std::string MakeJobRequest(int iPrinters, int iProjects, const std::string& strPrefix)
{
    CJobRequestBuilder builder;
    for (int i = 0; i < iPrinters; ++i) {
        const std::string strId = strPrefix + "P" + std::to_string(i + 1);
        builder.Printer(std::u16string(strId.begin(), strId.end()), u"");
    }
    for (int i = 0; i < iProjects; ++i) {
        const std::string strId = strPrefix + "J" + std::to_string(i + 1);
        builder.Project(std::u16string(strId.begin(), strId.end()), u"");
    }
    const std::vector<uint8_t> vecRequest = builder.Build();
    return std::string(vecRequest.begin(), vecRequest.end());
}

int AnswerFirstIds(uint8_t* pbyRequest, uint64_t& uiRequestLength, uint8_t* pbyResponse, uint64_t& uiResponseLength)
{
    CJobOptionData request(pbyRequest, uiRequestLength);
    CJobSelectedData::SELECTED_INFO stuAnswer = {};
    stuAnswer.iResult = 0;
    if (request.GetPrinterCount() > 0) {
        CJobOptionData::PRINTER_INFO stuPrinter;
        request.GetPrinterInfo(0, stuPrinter);
        std::memcpy(stuAnswer.szPrinterId, stuPrinter.szPrinterId, sizeof(stuAnswer.szPrinterId) - 2);
    }
    if (request.GetProjectCount() > 0) {
        CJobOptionData::PROJECT_INFO stuProject;
        request.GetProjectInfo(0, stuProject);
        std::memcpy(stuAnswer.szProjectId, stuProject.szProjectId, sizeof(stuAnswer.szProjectId) - 2);
    }
    std::memcpy(pbyResponse, &stuAnswer, sizeof(stuAnswer));
    uiResponseLength = sizeof(stuAnswer);
    return 0;
}

std::wstring GlobalName(const std::string& strBase, const char* szSuffix)
{
    return Wide("Global\\" + strBase + szSuffix);
}

namespace {

const char* const RECEIVER_EVENTS[] = {"_TEST_READY", "_TEST_STOP", "_TEST_ENTERED", "_TEST_RELEASE"};

int BlockingAnswer(const std::string& strBase, uint8_t* pReq, uint64_t& uiReqLen, uint8_t* pResp, uint64_t& uiRespLen)
{
    Handle hEntered(OrvUtility::OpenNamedEvent(GlobalName(strBase, "_TEST_ENTERED")));
    Handle hRelease(OrvUtility::OpenNamedEvent(GlobalName(strBase, "_TEST_RELEASE")));
    OrvUtility::SetNamedEvent(hEntered.h);
    OrvUtility::WaitForNamedEvent(hRelease.h, GENEROUS_MS);
    return AnswerFirstIds(pReq, uiReqLen, pResp, uiRespLen);
}

} // namespace

ChildReceiver::ChildReceiver(const std::string& strBase, const char* szMode)
{
    for (const char* szSuffix : RECEIVER_EVENTS) {
        m_vecEvents.emplace_back(new Handle(OrvUtility::CreateNamedEvent(GlobalName(strBase, szSuffix).c_str(),
                                                                         OrvUtility::EVERYONE_EVENT_ALL_ACCESS)));
    }
    m_pChild = ChildProcess::StartSelf("QueueReceiver", {strBase, szMode});
}

bool ChildReceiver::WaitReady()
{
    return m_pChild && OrvUtility::WaitForNamedEvent(m_vecEvents[0]->h, GENEROUS_MS) == OrvUtility::NAMED_WAIT_OBJECT_0;
}

bool ChildReceiver::WaitEntered()
{
    return OrvUtility::WaitForNamedEvent(m_vecEvents[2]->h, GENEROUS_MS) == OrvUtility::NAMED_WAIT_OBJECT_0;
}

void ChildReceiver::Stop()
{
    OrvUtility::SetNamedEvent(m_vecEvents[1]->h);
}

void ChildReceiver::Release()
{
    OrvUtility::SetNamedEvent(m_vecEvents[3]->h);
}

std::string ResponseId(const uint8_t* pbyResponse, size_t uiOffset)
{
    std::string strId;
    for (size_t i = 0; i < 10; ++i) {
        char16_t ch = 0;
        std::memcpy(&ch, pbyResponse + uiOffset + 2 * i, 2);
        if (!ch) {
            break;
        }
        strId += static_cast<char>(ch);
    }
    return strId;
}

} // namespace orvtest

// The receiver process of ChildReceiver: args base, mode.
ORV_CHILD_MAIN(QueueReceiver)
{
    using namespace OrvUtility;
    const std::string strBase = args.at(0);
    const bool bBlock = args.at(1) == "block";
    const bool bImmediate = args.at(1) == "immediate";
    CMsgQueueEx queue(orvtest::Wide(strBase), orvtest::R, orvtest::S);
    if (queue.IsConstructionFailed()) {
        return 20;
    }
    orvtest::Handle hReady(OpenNamedEvent(orvtest::GlobalName(strBase, "_TEST_READY")));
    orvtest::Handle hStop(OpenNamedEvent(orvtest::GlobalName(strBase, "_TEST_STOP")));
    if (!hReady.h || !hStop.h) {
        return 21;
    }
    orvtest::Handle hEarly(CreateNamedMutex(queue.GetMutexName().c_str(), true, EVERYONE_MUTEX_ALL_ACCESS));
    if (!hEarly.h) {
        return 22;
    }
    std::thread stopper([&]() {
        WaitForNamedEvent(hStop.h, NAMED_INFINITE);
        queue.SignalQuit();
    });
    SetNamedEvent(hReady.h);
    const uint32_t uiCode =
        queue.RecvMsgLoop([&](uint8_t* pReq, uint64_t& uiReqLen, uint8_t* pResp, uint64_t& uiRespLen) {
            if (bImmediate) {
                return 0;
            }
            return bBlock ? orvtest::BlockingAnswer(strBase, pReq, uiReqLen, pResp, uiRespLen)
                          : orvtest::AnswerFirstIds(pReq, uiReqLen, pResp, uiRespLen);
        });
    SetNamedEvent(hStop.h);
    stopper.join();
    return static_cast<int>(uiCode);
}
