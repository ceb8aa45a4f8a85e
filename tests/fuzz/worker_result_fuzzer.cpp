// The one record the print service's root part reads from its unprivileged
// worker: whatever bytes a worker (run as the job's user) writes, the
// decoder accepts only one well-formed record, and what it accepts is what
// the record says: re-encoded, the same bytes.
#include <cstdint>
#include <cstring>
#include <string>
#include "FuzzSupport.h"
#include "service/WorkerResult.h"

using OrvService::CWorkerResult;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyData, size_t uiSize)
{
    CWorkerResult objResult;
    std::string strProblem;
    if (!CWorkerResult::Decode(pbyData, uiSize, objResult, strProblem)) {
        FUZZ_CHECK(!strProblem.empty());
        return 0;
    }
    FUZZ_CHECK(uiSize == sizeof(CWorkerResult::RECORD));
    FUZZ_CHECK(objResult.GetOutcome() >= CWorkerResult::OUTCOME_OK &&
               objResult.GetOutcome() <= CWorkerResult::OUTCOME_EARLIER_OPEN);
    FUZZ_CHECK(objResult.GetPrinterId().size() < CWorkerResult::ID_UNITS);
    FUZZ_CHECK(objResult.GetProjectId().size() < CWorkerResult::ID_UNITS);
    FUZZ_CHECK(objResult.GetPrinterId().find(u'\0') == std::u16string::npos);
    FUZZ_CHECK(objResult.GetProjectId().find(u'\0') == std::u16string::npos);
    FUZZ_CHECK(objResult.GetOutcome() == CWorkerResult::OUTCOME_OK ||
               (objResult.GetPrinterId().empty() && objResult.GetProjectId().empty()));
    FUZZ_CHECK(objResult.GetPageTotal() >= 0);
    const std::string strAgain = objResult.Encode();
    FUZZ_CHECK(strAgain.size() == uiSize && std::memcmp(strAgain.data(), pbyData, uiSize) == 0);
    return 0;
}
