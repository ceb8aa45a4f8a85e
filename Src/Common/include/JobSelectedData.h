#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include "Src/Common/include/JobOptionDataException.h"

// Write view of the job-selection answer in the shared block:
//   0   int32        result: 0 = OK (a choice was confirmed), 1 = cancelled
//   4   char16_t[10] chosen printer id, all zero when none
//   24  char16_t[10] chosen project id, all zero when none
// The layout is shared with the printing service. The id fields are half as
// wide as the request's ids; an id is stored with at most 9 characters and
// its terminator, never beyond its field.
class CJobSelectedData {
public:
    struct SELECTED_INFO {
        int32_t iResult;
        char16_t szPrinterId[10];
        char16_t szProjectId[10];
    };

    static constexpr uint32_t TOTAL_BUFFER_SIZE = 44;
    static constexpr size_t ID_CHARS = 10; // including the terminator
    enum : int32_t { RESULT_OK = 0, RESULT_CANCEL = 1 };

    // pBuffer must hold at least TOTAL_BUFFER_SIZE bytes; the object's size is
    // always TOTAL_BUFFER_SIZE. The view never owns the bytes (the attached
    // flag is always set). Throws CJobOptionDataException(INVALID_PARAMETER)
    // when ui64Size < TOTAL_BUFFER_SIZE. Nothing is written by construction.
    CJobSelectedData(void* pBuffer, uint64_t ui64Size, bool bAttached = true);
    ~CJobSelectedData();

    CJobSelectedData(const CJobSelectedData&) = delete;
    CJobSelectedData& operator=(const CJobSelectedData&) = delete;

    void SetResult(int32_t iResult);
    int32_t GetResult() const;

    // Copies the id up to its terminator, cut to 9 characters; the rest of the
    // 10-character field is zero. A null id clears the field.
    void SetPrinterId(const char16_t* szPrinterId);
    void SetProjectId(const char16_t* szProjectId);
    void SetPrinterId(const std::wstring& strPrinterId);
    void SetProjectId(const std::wstring& strProjectId);
    // Both id fields all zero.
    void ClearIds();

    // The stored ids (up to the terminator or the field's end).
    std::u16string GetPrinterId() const;
    std::u16string GetProjectId() const;

    bool IsAttached() const { return m_bAttached; }
    uint8_t* GetBuffer() const { return m_pbyBuffer; }
    uint64_t GetSize() const { return m_ui64Size; }

private:
    bool m_bAttached;
    uint8_t* m_pbyBuffer;
    uint64_t m_ui64Size;
};

static_assert(sizeof(CJobSelectedData::SELECTED_INFO) == CJobSelectedData::TOTAL_BUFFER_SIZE,
              "the answer is 44 bytes");
static_assert(offsetof(CJobSelectedData::SELECTED_INFO, iResult) == 0, "answer layout");
static_assert(offsetof(CJobSelectedData::SELECTED_INFO, szPrinterId) == 4, "answer layout");
static_assert(offsetof(CJobSelectedData::SELECTED_INFO, szProjectId) == 24, "answer layout");
