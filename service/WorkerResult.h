#pragma once

#include <cstdint>
#include <string>

namespace OrvService {

// The one fixed-size record the worker hands back to the backend's root part
// through a pipe. Ids are UTF-16, NUL-terminated, zero-filled, as in the
// answer record; the root part trusts none of it (Decode checks everything,
// and the ids are checked against what was offered afterwards).
class CWorkerResult {
public:
    enum EOutcome : uint32_t {
        OUTCOME_OK = 1,            // printer (empty: roaming) and project chosen
        OUTCOME_CANCELLED = 2,     // the user cancelled printing
        OUTCOME_NOT_RUNNING = 3,   // no OrvprintD of this user
        OUTCOME_TIMED_OUT = 4,     // no answer in time
        OUTCOME_RECEIVER_GONE = 5, // OrvprintD ended or quit without answering
        OUTCOME_BAD_ANSWER = 6,    // a malformed answer
        OUTCOME_FAILED = 7,        // the worker could not ask (privileges, channel)
        OUTCOME_EARLIER_OPEN = 8,  // an ended job's request is still open in OrvprintD
    };

    static constexpr uint32_t MAGIC = 0x57565230; // "0RVW"
    static constexpr size_t ID_UNITS = 10;        // with the terminator

    struct RECORD {
        uint32_t uiMagic;
        uint32_t uiOutcome;
        char16_t szPrinterId[ID_UNITS];
        char16_t szProjectId[ID_UNITS];
        int32_t iPageTotal;
    };

    CWorkerResult() = default;
    CWorkerResult(EOutcome eOutcome, const std::u16string& strPrinterId, const std::u16string& strProjectId,
                  int32_t iPageTotal);

    // The record's bytes (sizeof(RECORD)); ids longer than 9 units are cut.
    std::string Encode() const;
    // False (strProblem says why) unless the bytes are exactly one
    // well-formed record: the magic, a known outcome, ids terminated
    // within their fields and zero after the terminator, no ids unless the
    // outcome is OK, a page total of 0 or more.
    static bool Decode(const void* pData, size_t uiSize, CWorkerResult& objResult, std::string& strProblem);

    EOutcome GetOutcome() const { return m_eOutcome; }
    const std::u16string& GetPrinterId() const { return m_strPrinterId; }
    const std::u16string& GetProjectId() const { return m_strProjectId; }
    int32_t GetPageTotal() const { return m_iPageTotal; }

private:
    EOutcome m_eOutcome = OUTCOME_FAILED;
    std::u16string m_strPrinterId;
    std::u16string m_strProjectId;
    int32_t m_iPageTotal = 0;
};

static_assert(sizeof(CWorkerResult::RECORD) == 52, "the worker's record is 52 bytes");

} // namespace OrvService
