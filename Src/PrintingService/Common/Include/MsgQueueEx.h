#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <boost/function.hpp>
#include "Src/PrintingService/Common/Include/MsgQueueLayout.h"
#include "utility/Lockable.h"
#include "utility/NamedObject.h"

namespace OrvUtility {

// Opens the named shared block, or creates it (size bytes, Everyone: all
// access to a file mapping) when it cannot be opened, and maps all of it.
// Either of handle and view may be null.
std::pair<NamedHandle, uint8_t*> OpenOrCreateFileMapping(const std::wstring& strName, uint64_t uiSize);

// Opens the named auto-reset event, or creates it (not signalled, Everyone:
// all event access) when it cannot be opened. Null on failure.
NamedHandle OpenOrCreateEvent(const std::wstring& strName);

// The receiving end of a one-slot request/response channel (the layout and
// names are in MsgQueueLayout.h). Each request is handed to a callback that
// fills the response in place; the owner stops the receiver through the quit
// event.
class CMsgQueueEx {
public:
    // Request bytes, request length, response bytes, response length (in:
    // the response capacity; out: the length of the response written). The
    // result is ignored.
    typedef boost::function<int(uint8_t*, uint64_t&, uint8_t*, uint64_t&)> MsgHandler;

    // Results of RecvMsg and RecvMsgLoop.
    static constexpr uint32_t RECV_SERVED = 0;
    static constexpr uint32_t RECV_FAILED = 4;
    static constexpr uint32_t RECV_QUIT = 6;
    // How long the receive loop waits to own an existence mutex that existed
    // already (see RecvMsgLoop).
    static constexpr uint32_t EXISTENCE_TAKE_MS = 2000;

    // Opens or creates shared block, request event, response event and the
    // unnamed quit event, in this order. Never throws: the first failure is
    // logged and stops the construction (IsConstructionFailed()).
    CMsgQueueEx(const std::wstring& strBaseName, uint64_t uiRequestCapacity, uint64_t uiResponseCapacity);
    ~CMsgQueueEx();

    CMsgQueueEx(const CMsgQueueEx&) = delete;
    CMsgQueueEx& operator=(const CMsgQueueEx&) = delete;

    // Waits for a request or for quit. RECV_SERVED after handing one request
    // to the callback, RECV_QUIT when the quit event was set, RECV_FAILED when
    // the wait failed. With both events set the request is served, except
    // right after a served request: then the quit wins, so that a flood of
    // requests never delays the quit beyond the request in hand. The response event is set in all three cases. An
    // exception of the callback passes out (boost::bad_function_call for an
    // empty one).
    uint32_t RecvMsg(MsgHandler handler);

    // Holds the existence mutex and serves requests until RecvMsg returns
    // anything but RECV_SERVED, which is returned. RECV_FAILED at once when
    // the existence mutex cannot be created.
    uint32_t RecvMsgLoop(MsgHandler handler);

    // SetEvent on the quit event: the waiting receiver answers RECV_QUIT.
    int SignalQuit();
    NamedHandle GetQuitEvent() const { return m_hEventQuit; }

    bool IsConstructionFailed() const { return m_bConstructFailed != 0; }
    uint8_t* GetBuffer() const { return m_pbyBuffer; }
    const std::wstring& GetMutexName() const { return m_strMutexName; }
    uint64_t GetRequestCapacity() const { return m_uiRequestCapacity; }
    uint64_t GetResponseCapacity() const { return m_uiResponseCapacity; }

private:
    // Tests put a handle in place that makes the wait fail.
    friend class CMsgQueueExTestPeer;

    int32_t m_bConstructFailed;
    NamedHandle m_hMapFile;
    uint8_t* m_pbyBuffer;
    NamedHandle m_hEventSend;
    NamedHandle m_hEventResponse;
    NamedHandle m_hEventQuit;
    // Set after a request was served: the next wait looks at the quit event
    // before the request event.
    bool m_bQuitFirst;
    uint64_t m_uiRequestCapacity;
    uint64_t m_uiResponseCapacity;
    std::wstring m_strMutexName;
    CLockable m_lock;
};

} // namespace OrvUtility
