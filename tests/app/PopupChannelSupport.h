#pragma once

// Helpers of the tests that run a CPopupThread on a channel of their own and
// talk to it from sender processes: unique channel names, bounded waits that
// keep serving the GUI thread, the answer's fields, scripted dialogs.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "EventPump.h"
#include "FakeDlgConfig.h"
#include "FakeOrvprintDDlgView.h"
#include "Src/PrintingService/Common/Include/MsgQueueLayout.h"
#include "Src/PrintingService/Common/Include/MsgQueueSender.h"
#include "app/OrvprintDDlg.h"
#include "app/OrvprintDDlgRunner.h"
#include "app/PopupThread.h"
#include "utility/NamedMutex.h"

namespace orvtest {

// A channel base name that no other test and no parallel run uses.
inline std::wstring UniquePopupQueueName(const wchar_t* szPrefix)
{
    static std::atomic<int> s_iCounter{0};
    return std::wstring(szPrefix) + L"_" +
           std::to_wstring(std::chrono::steady_clock::now().time_since_epoch().count() % 1000000000) + L"_" +
           std::to_wstring(s_iCounter++);
}

// Waits until fnDone answers true, serving the calling thread's GUI events
// meanwhile (the Qt GUI thread runs the dialogs that the popup thread hands
// to it). False when tTimeout passed first.
inline bool WaitServingEventsFor(const std::function<bool()>& fnDone, std::chrono::milliseconds tTimeout)
{
    const auto tDeadline = std::chrono::steady_clock::now() + tTimeout;
    bool bDone = false;
    WaitServingEvents([&]() {
        bDone = fnDone();
        return bDone || std::chrono::steady_clock::now() > tDeadline;
    });
    return bDone;
}

// Whether a receiver owns the channel's existence mutex.
inline bool IsChannelServed(const std::wstring& strName)
{
    return OrvUtility::ProbeNamedMutex(OrvUtility::CMsgQueueLayout::ExistenceMutexName(strName)) ==
           OrvUtility::NAMED_MUTEX_OWNED;
}

// The fields of a 44-byte answer: result (i32 at 0), printer id (10 UTF-16
// units at 4), project id (10 UTF-16 units at 24).
inline int32_t AnswerResult(const uint8_t* pbyAnswer)
{
    int32_t iResult = 0;
    std::memcpy(&iResult, pbyAnswer, sizeof(iResult));
    return iResult;
}

inline std::u16string AnswerId(const uint8_t* pbyAnswer, size_t uiOffset)
{
    std::u16string str;
    for (size_t i = 0; i < 10; ++i) {
        char16_t ch = 0;
        std::memcpy(&ch, pbyAnswer + uiOffset + 2 * i, sizeof(ch));
        if (!ch) {
            break;
        }
        str.push_back(ch);
    }
    return str;
}

// Checks a reply as the printing service would: served, 44 bytes, OK, the
// expected ids. Empty when it is right, else what is wrong.
inline std::string CheckOkReply(const OrvUtility::CMsgQueueSender::REPLY& reply, const std::u16string& strPrinterId,
                                const std::u16string& strProjectId)
{
    if (reply.uiResultCode != 0) {
        return "result code " + std::to_string(reply.uiResultCode);
    }
    if (reply.uiResponseLength != 44 || reply.vecResponse.size() != 44) {
        return "response length " + std::to_string(reply.uiResponseLength);
    }
    if (AnswerResult(reply.vecResponse.data()) != 0) {
        return "answer result " + std::to_string(AnswerResult(reply.vecResponse.data()));
    }
    if (AnswerId(reply.vecResponse.data(), 4) != strPrinterId) {
        return "printer id of " + std::to_string(AnswerId(reply.vecResponse.data(), 4).size()) +
               " units, not the one chosen";
    }
    if (AnswerId(reply.vecResponse.data(), 24) != strProjectId) {
        return "project id of " + std::to_string(AnswerId(reply.vecResponse.data(), 24).size()) +
               " units, not the one chosen";
    }
    return std::string();
}

// Gives every dialog a window that plays the user with fnScript; with
// bFakeSettings its settings are held in memory, otherwise the dialog reads
// and writes Config.ini as the program does. fnCount, when given, sees each
// dialog as it is built.
inline void ScriptPopupDialogs(std::function<void(CFakeOrvprintDDlgView&)> fnScript, bool bFakeSettings = true,
                               std::function<void()> fnCount = nullptr)
{
    SetOrvprintDDlgSetupHook([fnScript, bFakeSettings, fnCount](COrvprintDDlg& objDlg) {
        if (fnCount) {
            fnCount();
        }
        if (bFakeSettings) {
            objDlg.SetConfigFactory([]() { return std::make_shared<CFakeDlgConfig>(); });
        }
        objDlg.SetViewFactory([fnScript](IOrvprintDDlgEvents& objEvents) {
            std::unique_ptr<CFakeOrvprintDDlgView> pView(new CFakeOrvprintDDlgView(objEvents));
            pView->m_fnScript = fnScript;
            return std::unique_ptr<IOrvprintDDlgView>(std::move(pView));
        });
    });
}

// A popup thread serving a channel for the life of the object. The
// destructor quits it and waits for its end (bounded: a thread that does not
// end would be destroyed while it runs, so the process stops there).
class ServedPopupThread {
public:
    explicit ServedPopupThread(const std::wstring& strName) : m_objThread(strName), m_strName(strName) {}
    ~ServedPopupThread() { Stop(); }
    ServedPopupThread(const ServedPopupThread&) = delete;
    ServedPopupThread& operator=(const ServedPopupThread&) = delete;

    // Starts the thread and waits until it holds the existence mutex.
    bool Start(std::chrono::milliseconds tTimeout = std::chrono::seconds(30))
    {
        if (m_objThread.Begin() != 0) {
            return false;
        }
        m_bStarted = true;
        return WaitServingEventsFor([this]() { return IsChannelServed(m_strName); }, tTimeout);
    }

    // Quits the loop and joins the thread; false when it did not end in time.
    bool Stop(std::chrono::milliseconds tTimeout = std::chrono::seconds(60))
    {
        if (!m_bStarted) {
            return true;
        }
        m_bStarted = false;
        m_objThread.ForceQuit();
        if (!WaitServingEventsFor([this]() { return m_objThread.IsRunning() == 0; }, tTimeout)) {
            std::fprintf(stderr, "the popup thread did not end within %lld ms after the quit\n",
                         static_cast<long long>(tTimeout.count()));
            std::fflush(stderr);
            std::_Exit(3);
        }
        m_objThread.Join();
        return true;
    }

    CPopupThread& Thread() { return m_objThread; }

private:
    CPopupThread m_objThread;
    std::wstring m_strName;
    bool m_bStarted = false;
};

} // namespace orvtest
