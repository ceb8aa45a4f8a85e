#include "bench/service/StandInReceiver.h"

#include "Src/Common/include/JobSelectedData.h"
#include "Src/PrintingService/Common/Include/MsgQueueEx.h"
#include "service/PrivilegeDrop.h"
#include "service/UserAccount.h"
#include "utility/NamedMutexProbe.h"
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <unistd.h>

namespace orvbench {

namespace {

std::u16string Utf16FromAscii(const std::string& strText)
{
    return std::u16string(strText.begin(), strText.end());
}

int Fail(const char* szWhy)
{
    std::printf("error=%s\n", szWhy);
    std::fflush(stdout);
    return 1;
}

} // namespace

CStandInReceiver::CStandInReceiver(const std::string& strUser, const std::string& strPrinterId,
                                   const std::string& strProjectId)
    : m_strUser(strUser)
    , m_strPrinterId(Utf16FromAscii(strPrinterId))
    , m_strProjectId(Utf16FromAscii(strProjectId))
{
}

int CStandInReceiver::Serve()
{
    using OrvUtility::CMsgQueueLayout;
    OrvService::CUserAccount objAccount;
    if (!OrvService::CUserAccount::Lookup(m_strUser, objAccount)) {
        return Fail("no_such_user");
    }
    std::string strProblem;
    if (!OrvService::CPrivilegeDrop::DropTo(objAccount, strProblem)) {
        return Fail("cannot_become_user");
    }
    // The user's own channel, where the backend's worker looks for it.
    unsetenv("ORVPRINT_SHM_DIR");
    unsetenv("XDG_RUNTIME_DIR");
    OrvUtility::CMsgQueueEx objQueue(ORVPRINT_QUEUE_NAME, CMsgQueueLayout::JOB_REQUEST_CAPACITY,
                                     CMsgQueueLayout::JOB_RESPONSE_CAPACITY);
    if (objQueue.IsConstructionFailed()) {
        return Fail("no_channel");
    }
    long lAnswered = 0;
    std::thread objLoop([&]() {
        objQueue.RecvMsgLoop([&](uint8_t*, uint64_t&, uint8_t* pbyResponse, uint64_t& uiResponseLength) {
            CJobSelectedData objAnswer(pbyResponse, uiResponseLength);
            objAnswer.SetResult(CJobSelectedData::RESULT_OK);
            objAnswer.ClearIds();
            objAnswer.SetPrinterId(m_strPrinterId.c_str());
            objAnswer.SetProjectId(m_strProjectId.c_str());
            uiResponseLength = CJobSelectedData::TOTAL_BUFFER_SIZE;
            std::printf("answered %ld\n", ++lAnswered);
            std::fflush(stdout);
            return 0;
        });
    });
    OrvUtility::CNamedMutexProbe objProbe(CMsgQueueLayout::ExistenceMutexName(ORVPRINT_QUEUE_NAME));
    bool bOwned = false;
    for (int i = 0; i < 2000 && !bOwned; ++i) {
        bOwned = objProbe.Probe() == OrvUtility::NAMED_MUTEX_OWNED;
        if (!bOwned) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    if (!bOwned) {
        Fail("not_serving");
        std::_Exit(1);
    }
    std::printf("serving pid=%d\n", static_cast<int>(getpid()));
    std::fflush(stdout);
    objLoop.join();
    return Fail("loop_ended");
}

} // namespace orvbench
