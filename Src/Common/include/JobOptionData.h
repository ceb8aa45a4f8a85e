#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include "Src/Common/include/JobOptionDataException.h"
#include "logging/ValueText.h"

// Read view of a job-option request written by the printing service into the
// shared block: the printers and the projects one print job may go to.
//
// Layout (little-endian, UTF-16 texts NUL-terminated in fixed arrays):
//   0               int32  printer count P (0..100)
//   4               P x PRINTER_INFO (6204 bytes each)
//   4 + 6204*P      int32  project count Q (0..500)
//   8 + 6204*P      Q x PROJECT_INFO (4136 bytes each)
// The request is exactly 8 + 6204*P + 4136*Q bytes long. The layout is shared
// with the printing service: every width and offset below is fixed.
class CJobOptionData {
public:
    struct PRINTER_INFO {
        char16_t szPrinterId[20];       // sent back when the printer is chosen
        char16_t szPrinterName[1024];   // shown in the printer list
        char16_t szComment[1024];
        char16_t szDescription[1024];
        int32_t iStatus;                // printer state as sent by the service
        int32_t iMaxPagesPerJob;
        int32_t iPageTotal;             // pages of the current job
        int32_t iPrintTaskTotal;
        bool bTooMayPages;              // one byte, 0 or 1
        uint8_t abyReserved[3];         // zero
    };

    struct PROJECT_INFO {
        char16_t szProjectId[20];       // sent back when the project is chosen
        char16_t szProjectName[1024];
        char16_t szComment[1024];
    };

    // A count of TOO_MANY_PRINTER (TOO_MANY_PROJECT) or more is refused.
    static constexpr int32_t TOO_MANY_PRINTER = 101;
    static constexpr int32_t TOO_MANY_PROJECT = 501;
    static constexpr uint64_t MIN_BUFFER_SIZE = 8;
    // 100 printers and 500 projects; also the capacity of the queue's request area.
    static constexpr uint64_t MAX_BUFFER_SIZE = 2688408;

    // Validates the request and keeps pointer and size; the bytes are not
    // copied and must outlive the object. The view never owns the bytes: the
    // attached flag is always set, whatever the caller passes.
    // Throws CJobOptionDataException: OUT_OF_RANGE, TOO_MANY_PRINTER,
    // TOO_MANY_PROJECT, FORMAT_ERROR (checked in this order).
    CJobOptionData(const void* pBuffer, uint64_t ui64Size, bool bAttached = true);
    ~CJobOptionData();

    CJobOptionData(const CJobOptionData&) = delete;
    CJobOptionData& operator=(const CJobOptionData&) = delete;

    int32_t GetPrinterCount() const;
    int32_t GetProjectCount() const;

    // Copies record number iIndex. Accepted while (int32)iIndex <= count, so
    // the index equal to the count copies the bytes that follow the last
    // record. Throws CJobOptionDataException(OUT_OF_RANGE) otherwise.
    void GetPrinterInfo(uint32_t iIndex, PRINTER_INFO& stuPrinterInfo) const;
    void GetProjectInfo(uint32_t iIndex, PROJECT_INFO& stuProjectInfo) const;

    bool IsAttached() const { return m_bAttached; }
    const uint8_t* GetBuffer() const { return m_pbyBuffer; }
    uint64_t GetSize() const { return m_ui64Size; }

    // Record texts for parameter traces, in the current C locale, each text
    // of the request with its control characters shown as text
    // (Language::EscapeControls), so that the record stays one line:
    //   "{szPrinterId = .., szPrinterName = .., szComment = .., szDescription = ..,
    //     iStatus = n, iMaxPagesPerJob = n, iPageTotal = n, iPrintTaskTotal = n,
    //     bTooMayPages = 0|1"   (no closing brace)
    //   "{szProjectId = .., szProjectName = .., szComment = ..}"
    static std::string DumpPrinterInfo(const PRINTER_INFO& stuPrinterInfo);
    static std::string DumpProjectInfo(const PROJECT_INFO& stuProjectInfo);

private:
    bool m_bAttached;
    const uint8_t* m_pbyBuffer;
    uint64_t m_ui64Size;
};

static_assert(sizeof(bool) == 1, "bTooMayPages is one byte on the wire");
static_assert(sizeof(char16_t) == 2, "wire texts are UTF-16");
static_assert(sizeof(CJobOptionData::PRINTER_INFO) == 6204, "PRINTER_INFO is 6204 bytes");
static_assert(offsetof(CJobOptionData::PRINTER_INFO, szPrinterId) == 0, "PRINTER_INFO layout");
static_assert(offsetof(CJobOptionData::PRINTER_INFO, szPrinterName) == 40, "PRINTER_INFO layout");
static_assert(offsetof(CJobOptionData::PRINTER_INFO, szComment) == 2088, "PRINTER_INFO layout");
static_assert(offsetof(CJobOptionData::PRINTER_INFO, szDescription) == 4136, "PRINTER_INFO layout");
static_assert(offsetof(CJobOptionData::PRINTER_INFO, iStatus) == 6184, "PRINTER_INFO layout");
static_assert(offsetof(CJobOptionData::PRINTER_INFO, iMaxPagesPerJob) == 6188, "PRINTER_INFO layout");
static_assert(offsetof(CJobOptionData::PRINTER_INFO, iPageTotal) == 6192, "PRINTER_INFO layout");
static_assert(offsetof(CJobOptionData::PRINTER_INFO, iPrintTaskTotal) == 6196, "PRINTER_INFO layout");
static_assert(offsetof(CJobOptionData::PRINTER_INFO, bTooMayPages) == 6200, "PRINTER_INFO layout");
static_assert(offsetof(CJobOptionData::PRINTER_INFO, abyReserved) == 6201, "PRINTER_INFO layout");
static_assert(sizeof(CJobOptionData::PROJECT_INFO) == 4136, "PROJECT_INFO is 4136 bytes");
static_assert(offsetof(CJobOptionData::PROJECT_INFO, szProjectId) == 0, "PROJECT_INFO layout");
static_assert(offsetof(CJobOptionData::PROJECT_INFO, szProjectName) == 40, "PROJECT_INFO layout");
static_assert(offsetof(CJobOptionData::PROJECT_INFO, szComment) == 2088, "PROJECT_INFO layout");
static_assert(CJobOptionData::MAX_BUFFER_SIZE ==
                  8 + 100 * sizeof(CJobOptionData::PRINTER_INFO) + 500 * sizeof(CJobOptionData::PROJECT_INFO),
              "largest request: 100 printers, 500 projects");

namespace paramtrace {

// Record dumps as traced parameter texts ("stuPrinterInfo", "stuProjectInfo").
// The const forms come from ValueText<const T>.
template <>
struct ValueText<CJobOptionData::PRINTER_INFO> {
    static std::string Text(const CJobOptionData::PRINTER_INFO& stuPrinterInfo);
};

template <>
struct ValueText<CJobOptionData::PROJECT_INFO> {
    static std::string Text(const CJobOptionData::PROJECT_INFO& stuProjectInfo);
};

} // namespace paramtrace
