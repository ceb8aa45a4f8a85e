#include "service/WorkerResult.h"

#include <cstring>

namespace OrvService {

namespace {

// The id of a field: false unless terminated within it and zero after.
bool ReadId(const char16_t* pszField, std::u16string& strId)
{
    size_t uiLength = 0;
    while (uiLength < CWorkerResult::ID_UNITS && pszField[uiLength] != 0) {
        ++uiLength;
    }
    if (uiLength == CWorkerResult::ID_UNITS) {
        return false;
    }
    for (size_t i = uiLength; i < CWorkerResult::ID_UNITS; ++i) {
        if (pszField[i] != 0) {
            return false;
        }
    }
    strId.assign(pszField, uiLength);
    return true;
}

void WriteId(const std::u16string& strId, char16_t* pszField)
{
    const size_t uiLength = strId.size() < CWorkerResult::ID_UNITS - 1 ? strId.size() : CWorkerResult::ID_UNITS - 1;
    std::memcpy(pszField, strId.data(), uiLength * sizeof(char16_t));
}

} // namespace

CWorkerResult::CWorkerResult(EOutcome eOutcome, const std::u16string& strPrinterId,
                             const std::u16string& strProjectId, int32_t iPageTotal)
    : m_eOutcome(eOutcome), m_strPrinterId(strPrinterId), m_strProjectId(strProjectId), m_iPageTotal(iPageTotal)
{
}

std::string CWorkerResult::Encode() const
{
    RECORD stuRecord;
    std::memset(&stuRecord, 0, sizeof(stuRecord));
    stuRecord.uiMagic = MAGIC;
    stuRecord.uiOutcome = m_eOutcome;
    WriteId(m_strPrinterId, stuRecord.szPrinterId);
    WriteId(m_strProjectId, stuRecord.szProjectId);
    stuRecord.iPageTotal = m_iPageTotal;
    return std::string(reinterpret_cast<const char*>(&stuRecord), sizeof(stuRecord));
}

bool CWorkerResult::Decode(const void* pData, size_t uiSize, CWorkerResult& objResult, std::string& strProblem)
{
    if (uiSize != sizeof(RECORD)) {
        strProblem = "the record has " + std::to_string(uiSize) + " bytes, not " + std::to_string(sizeof(RECORD));
        return false;
    }
    RECORD stuRecord;
    std::memcpy(&stuRecord, pData, sizeof(stuRecord));
    if (stuRecord.uiMagic != MAGIC) {
        strProblem = "the record does not begin with its mark";
        return false;
    }
    if (stuRecord.uiOutcome < OUTCOME_OK || stuRecord.uiOutcome > OUTCOME_EARLIER_OPEN) {
        strProblem = "unknown outcome " + std::to_string(stuRecord.uiOutcome);
        return false;
    }
    std::u16string strPrinterId, strProjectId;
    if (!ReadId(stuRecord.szPrinterId, strPrinterId) || !ReadId(stuRecord.szProjectId, strProjectId)) {
        strProblem = "an id is not terminated within its field";
        return false;
    }
    if (stuRecord.uiOutcome != OUTCOME_OK && (!strPrinterId.empty() || !strProjectId.empty())) {
        strProblem = "ids with an outcome other than OK";
        return false;
    }
    if (stuRecord.iPageTotal < 0) {
        strProblem = "a negative page total";
        return false;
    }
    objResult = CWorkerResult(static_cast<EOutcome>(stuRecord.uiOutcome), strPrinterId, strProjectId,
                              stuRecord.iPageTotal);
    return true;
}

} // namespace OrvService
