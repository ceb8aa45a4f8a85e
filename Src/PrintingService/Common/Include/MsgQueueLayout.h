#pragma once

#include <cstdint>
#include <string>

namespace OrvUtility {

// The base name of the job-option channel between the printing service and
// this client.
#define ORVPRINT_QUEUE_NAME L"Orvprint_Popup_Dialog"

// Names and layout of one shared-memory channel. With the base name N the
// named objects are (all in the global namespace):
//   "Global\" N "_SHM"               shared block
//   "Global\" N "_EVT_SEND"          request event (auto-reset)
//   "Global\" N "_EVT_RESPONSE"      response event (auto-reset)
//   "Global\" N "_MUTEX_EXISTANCE"   owned by the receiver while it loops
//   "Global\" N "_MUTEX_SENDER"      serialises the senders of orvprint-send
// The block, with request capacity R and response capacity S (little-endian):
//   0           u64      request length            (sender)
//   8           R bytes  request                   (sender)
//   8 + R       u64      response length           (receiver)
//   16 + R      S bytes  response                  (receiver)
//   16 + R + S  u32      result code: 0 served, 6 receiver quitting (receiver)
// R + S + 20 bytes in all: 2,688,472 for the job-option channel.
class CMsgQueueLayout {
public:
    static constexpr uint64_t JOB_REQUEST_CAPACITY = 2688408;
    static constexpr uint64_t JOB_RESPONSE_CAPACITY = 44;

    // Result codes stored at the end of the block.
    static constexpr uint32_t RESULT_SERVED = 0;
    static constexpr uint32_t RESULT_QUITTING = 6;

    CMsgQueueLayout(uint64_t uiRequestCapacity, uint64_t uiResponseCapacity)
        : m_uiRequestCapacity(uiRequestCapacity), m_uiResponseCapacity(uiResponseCapacity)
    {
    }

    uint64_t GetRequestCapacity() const { return m_uiRequestCapacity; }
    uint64_t GetResponseCapacity() const { return m_uiResponseCapacity; }

    uint64_t RequestLengthOffset() const { return 0; }
    uint64_t RequestOffset() const { return 8; }
    uint64_t ResponseLengthOffset() const { return 8 + m_uiRequestCapacity; }
    uint64_t ResponseOffset() const { return 16 + m_uiRequestCapacity; }
    uint64_t ResultCodeOffset() const { return 16 + m_uiRequestCapacity + m_uiResponseCapacity; }
    uint64_t BlockSize() const { return m_uiRequestCapacity + m_uiResponseCapacity + 20; }

    static std::wstring BlockName(const std::wstring& strBase) { return L"Global\\" + strBase + L"_SHM"; }
    static std::wstring SendEventName(const std::wstring& strBase) { return L"Global\\" + strBase + L"_EVT_SEND"; }
    static std::wstring ResponseEventName(const std::wstring& strBase)
    {
        return L"Global\\" + strBase + L"_EVT_RESPONSE";
    }
    static std::wstring ExistenceMutexName(const std::wstring& strBase)
    {
        return L"Global\\" + strBase + L"_MUTEX_EXISTANCE";
    }
    static std::wstring SenderMutexName(const std::wstring& strBase)
    {
        return L"Global\\" + strBase + L"_MUTEX_SENDER";
    }

private:
    uint64_t m_uiRequestCapacity;
    uint64_t m_uiResponseCapacity;
};

} // namespace OrvUtility
