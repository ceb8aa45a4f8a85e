#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include "Src/PrintingService/Common/Include/MsgQueueEx.h"
#include "Src/PrintingService/Common/Include/MsgQueueLayout.h"
#include "support/ChildProcess.h"
#include "tests/utility/NamedObjectTestSupport.h"
#include "utility/NamedEvent.h"
#include "utility/NamedMutex.h"

namespace orvtest {

const uint64_t R = OrvUtility::CMsgQueueLayout::JOB_REQUEST_CAPACITY;
const uint64_t S = OrvUtility::CMsgQueueLayout::JOB_RESPONSE_CAPACITY;
const uint64_t BLOCK_SIZE = 2688472;
// A safety net for waits that a working implementation ends at once.
const uint32_t GENEROUS_MS = 30000;

inline uint64_t ReadU64(const uint8_t* p)
{
    uint64_t v = 0;
    std::memcpy(&v, p, sizeof(v));
    return v;
}

inline uint32_t ReadU32(const uint8_t* p)
{
    uint32_t v = 0;
    std::memcpy(&v, p, sizeof(v));
    return v;
}

inline void WriteU64(uint8_t* p, uint64_t v)
{
    std::memcpy(p, &v, sizeof(v));
}

// The existence mutex as another thread sees it.
inline OrvUtility::NamedMutexState ProbeExistence(const std::wstring& strBase)
{
    OrvUtility::NamedMutexState eState = OrvUtility::NAMED_MUTEX_PROBE_FAILED;
    std::thread([&]() {
        eState = OrvUtility::ProbeNamedMutex(OrvUtility::CMsgQueueLayout::ExistenceMutexName(strBase));
    }).join();
    return eState;
}

// An owned named handle.
struct Handle {
    OrvUtility::NamedHandle h = nullptr;
    Handle() = default;
    explicit Handle(OrvUtility::NamedHandle hObject) : h(hObject) {}
    ~Handle()
    {
        if (h) {
            OrvUtility::CloseNamedObject(h);
        }
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
};

// A request with P printers and Q projects whose ids are "P<i>" and "J<i>"
// (with another prefix: "<prefix>P<i>", "<prefix>J<i>"), the rest zero.
std::string MakeJobRequest(int iPrinters, int iProjects, const std::string& strPrefix = "");

// The id at a response offset (4: printer, 24: project).
std::string ResponseId(const uint8_t* pbyResponse, size_t uiOffset);

// The answer a test handler gives: result 0 and the first printer's and the
// first project's ids from the request (empty ids without any).
int AnswerFirstIds(uint8_t* pbyRequest, uint64_t& uiRequestLength, uint8_t* pbyResponse, uint64_t& uiResponseLength);

// "Global\<base><suffix>" as a wide name.
std::wstring GlobalName(const std::string& strBase, const char* szSuffix);

// A receiver process (this test binary's child entry "QueueReceiver") and the
// events that drive it. Modes: "answer" answers each request at once with
// AnswerFirstIds; "immediate" returns at once without touching anything; "block" first tells WaitEntered() that it holds a request
// and waits for Release(). The child owns the existence mutex before its
// loop starts, so WaitReady() can wait for it on an event; the loop's own
// create then finds the mutex and its release at the end gives it up. Stop()
// sets the queue's quit event; the child exits with the loop's code.
class ChildReceiver {
public:
    ChildReceiver(const std::string& strBase, const char* szMode);
    ChildReceiver(const ChildReceiver&) = delete;
    ChildReceiver& operator=(const ChildReceiver&) = delete;

    bool WaitReady();
    bool WaitEntered();
    void Stop();
    void Release();
    ChildProcess& Process() { return *m_pChild; }

private:
    std::vector<std::unique_ptr<Handle>> m_vecEvents;
    std::unique_ptr<ChildProcess> m_pChild;
};

} // namespace orvtest
