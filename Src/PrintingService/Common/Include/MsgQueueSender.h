#pragma once

#include <cstdint>
#include <string>
#include <vector>
#include "Src/PrintingService/Common/Include/MsgQueueLayout.h"
#include "utility/NamedMutexProbe.h"
#include "utility/NamedObject.h"

namespace OrvUtility {

// The sending end of a channel (the printing service's side), for tools and
// tests. Each Send:
//   1. takes the senders' own mutex (the block has one slot);
//   2. checks that a receiver owns the existence mutex;
//   3. consumes a response signal left over from an earlier, abandoned wait;
//   4. clears the answer fields, writes the request and its length, sets the
//      request event;
//   5. waits for the response event (optionally bounded), checking now and
//      then that the receiver is still there;
//   6. reads result code, response length and response.
class CMsgQueueSender {
public:
    enum SendResult : uint32_t {
        SEND_ANSWERED = 0,         // reply filled in
        SEND_NO_RECEIVER = 2,      // no receiver, or it went away without answering
        SEND_TIMED_OUT = 3,        // the time limit passed while waiting for the answer
        SEND_REQUEST_TOO_LONG = 4, // longer than the request capacity
        SEND_PLATFORM_FAILURE = 5, // an object could not be opened or used
        SEND_SENDERS_TIMED_OUT = 6, // the time limit passed while waiting for other senders (their mutex)
    };

    struct REPLY {
        uint32_t uiResultCode = 0;      // 0 served, 6 receiver quitting
        uint64_t uiResponseLength = 0;  // as stored by the receiver
        std::vector<uint8_t> vecResponse; // min(response length, capacity) bytes
    };

    // Opens (or creates) block and events with the receiver's open-then-create
    // rule, and the senders' mutex.
    explicit CMsgQueueSender(const std::wstring& strBaseName = ORVPRINT_QUEUE_NAME,
                             uint64_t uiRequestCapacity = CMsgQueueLayout::JOB_REQUEST_CAPACITY,
                             uint64_t uiResponseCapacity = CMsgQueueLayout::JOB_RESPONSE_CAPACITY);
    ~CMsgQueueSender();

    CMsgQueueSender(const CMsgQueueSender&) = delete;
    CMsgQueueSender& operator=(const CMsgQueueSender&) = delete;

    // False when an object could not be opened; GetOpenError() tells the
    // platform error of the first failure.
    bool IsOpen() const;
    uint32_t GetOpenError() const { return m_uiOpenError; }

    // Whether a receiver owns the existence mutex now.
    bool IsReceiverPresent() const;

    // One exchange. uiTimeoutMs bounds the whole of it, from the call to the
    // return: one deadline for the wait for the senders' mutex and the wait
    // for the answer together (NAMED_INFINITE: no limit). Which of the two
    // ran out: SEND_SENDERS_TIMED_OUT or SEND_TIMED_OUT.
    SendResult Send(const uint8_t* pbyRequest, uint64_t uiLength, uint32_t uiTimeoutMs, REPLY& stuReply);

    // For a sender that knows an earlier sender was ended while its request
    // was open (its dialog still on screen): waits, holding the senders'
    // mutex, until that request is answered (the answer is taken and thrown
    // away) or the receiver is gone, so that the answer can never be taken
    // for the next request's. SEND_ANSWERED when answered (or answered
    // already), SEND_NO_RECEIVER, SEND_TIMED_OUT or SEND_SENDERS_TIMED_OUT
    // (uiTimeoutMs bounds the whole of it), SEND_PLATFORM_FAILURE.
    SendResult AwaitAbandonedAnswer(uint32_t uiTimeoutMs);

    uint8_t* GetBuffer() const { return m_pbyBuffer; }
    const CMsgQueueLayout& GetLayout() const { return m_layout; }

private:
    class CSenderLock;

    bool WaitForAnswer(uint32_t uiTimeoutMs, SendResult& eResult);

    CMsgQueueLayout m_layout;
    std::wstring m_strExistenceMutexName;
    // The test for a receiver, made on every request.
    mutable CNamedMutexProbe m_objExistenceProbe;
    NamedHandle m_hMapFile;
    uint8_t* m_pbyBuffer;
    NamedHandle m_hEventSend;
    NamedHandle m_hEventResponse;
    NamedHandle m_hSenderMutex;
    uint32_t m_uiOpenError;
};

} // namespace OrvUtility
