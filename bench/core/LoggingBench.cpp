// Logging: the trace scope that opens every function (logging disabled;
// enabled with the begin and end lines off; on), the level tests, and an
// ERROR record into a file appender, beside a plain formatted write.
#include <fcntl.h>
#include <unistd.h>
#include <cstdio>
#include <memory>
#include <log4cpp/NDC.hh>
#include "logging/LogFacade.h"
#include "logging/LogMacros.h"
#include "support/BenchSupport.h"
#include "support/BenchTrace.h"

using namespace orvbench;

namespace {

// Records written before the log file is emptied again.
const uint64_t TRUNCATE_EVERY = 1u << 16;

// Scopes open around the measured one: none, one (a worker's Run), or the
// popup thread's four (the measured scope is then the fifth).
enum class EDepth { OUTERMOST, ONE, FIVE };

const char* DepthName(EDepth eDepth)
{
    return eDepth == EDepth::OUTERMOST ? "outermost" : (eDepth == EDepth::ONE ? "depth:1" : "depth:5");
}

class COuterScopes {
public:
    explicit COuterScopes(EDepth eDepth)
    {
        if (eDepth == EDepth::ONE) {
            m_pOne.reset(new FunctionTraceScope(ORV_LOG_MODULE, nullptr, "CPopupThread::Run"));
        } else if (eDepth == EDepth::FIVE) {
            m_pPopup.reset(new CPopupThreadScopes());
        }
    }
    ~COuterScopes()
    {
        m_pPopup.reset();
        m_pOne.reset();
    }

private:
    std::unique_ptr<FunctionTraceScope> m_pOne;
    std::unique_ptr<CPopupThreadScopes> m_pPopup;
};

void BM_TraceScope(benchmark::State& state, ELogging eLogging, EDepth eDepth)
{
    if (!UseLogging(eLogging)) {
        state.SkipWithError("logging could not be set up");
        return;
    }
    const bool bWrites = eLogging == ELogging::BEGIN_END_ON;
    uint64_t uiCount = 0;
    {
        COuterScopes outer(eDepth);
        for (auto _ : state) {
            ORV_TRACE_SCOPE("COrvprintDDlg::UpdateUI");
            if (bWrites && (++uiCount % TRUNCATE_EVERY) == 0) {
                TruncateLogFile();
            }
        }
    }
    TruncateLogFile();
}

void BM_LevelTest(benchmark::State& state, bool (*pfnTest)(), ELogging eLogging)
{
    if (!UseLogging(eLogging)) {
        state.SkipWithError("logging could not be set up");
        return;
    }
    COuterScopes outer(EDepth::ONE);
    for (auto _ : state) {
        benchmark::DoNotOptimize(pfnTest());
    }
}

void BM_LogError(benchmark::State& state, ELogging eLogging)
{
    if (!UseLogging(eLogging)) {
        state.SkipWithError("logging could not be set up");
        return;
    }
    uint64_t uiCount = 0;
    {
        COuterScopes outer(EDepth::FIVE);
        ORV_TRACE_SCOPE("CJobOptionData::CJobOptionData");
        for (auto _ : state) {
            ORV_LOG_ERROR("%s(%d) : %s", "Shared memory buffer format error.");
            if ((++uiCount % TRUNCATE_EVERY) == 0) {
                TruncateLogFile();
            }
        }
    }
    TruncateLogFile();
}

// The floor of a file record: format a line of the same shape and write it.
void BM_WriteLineBaseline(benchmark::State& state)
{
    UseLogging(ELogging::OFF);
    const std::string strPath = RunFile("log/baseline.log");
    const int iFd = open(strPath.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (iFd < 0) {
        state.SkipWithError("cannot open the baseline file");
        return;
    }
    uint64_t uiCount = 0;
    char szLine[800];
    for (auto _ : state) {
        const int n = std::snprintf(szLine, sizeof(szLine), "2024-01-01 00:00:00,000 ERROR [ThreadID:%lu] ERROR - %s(%d) : %s\n",
                                    static_cast<unsigned long>(gettid()), "Src/Common/include/JobOptionData.cpp", 120,
                                    "Shared memory buffer format error.");
        if (write(iFd, szLine, static_cast<size_t>(n)) != n) {
            state.SkipWithError("write failed");
            break;
        }
        if ((++uiCount % TRUNCATE_EVERY) == 0) {
            if (ftruncate(iFd, 0) != 0) {
                state.SkipWithError("ftruncate failed");
                break;
            }
        }
    }
    close(iFd);
}

// The floor of a trace scope whose begin and end lines are off: the push and
// pop of its entry on the thread's NDC, four entries deep (as on the popup
// thread), and nothing else.
void BM_NdcPushPopBaseline(benchmark::State& state)
{
    UseLogging(ELogging::OFF);
    for (const char* szOuter : {"OrvprintD_exe..CPopupThread::Run$", "OrvprintD_exe..OrvUtility::CMsgQueueEx::RecvMsgLoop$",
                                "OrvprintD_exe..OrvUtility::CMsgQueueEx::RecvMsg$", "OrvprintD_exe..CPopupThread::MsgHandler$"}) {
        log4cpp::NDC::push(szOuter);
    }
    for (auto _ : state) {
        log4cpp::NDC::push("OrvprintD_exe..COrvprintDDlg::UpdateUI$");
        log4cpp::NDC::pop();
    }
    log4cpp::NDC::clear();
}

} // namespace

ORV_BENCH_REGISTER(Logging)
{
    benchmark::RegisterBenchmark("Logging/trace_scope/logging_disabled", BM_TraceScope, ELogging::OFF, EDepth::ONE);
    for (ELogging e : {ELogging::PLAIN, ELogging::SHIPPED}) {
        for (EDepth d : {EDepth::ONE, EDepth::FIVE}) {
            const std::string strName = std::string("Logging/trace_scope/begin_end_off/config:") + LoggingName(e) +
                                        "/" + DepthName(d);
            benchmark::RegisterBenchmark(strName.c_str(), BM_TraceScope, e, d);
        }
    }
    benchmark::RegisterBenchmark("Logging/trace_scope/begin_end_off/config:plain/outermost", BM_TraceScope,
                                 ELogging::PLAIN, EDepth::OUTERMOST);
    benchmark::RegisterBenchmark("Logging/trace_scope/begin_end_on/config:plain/depth:1", BM_TraceScope,
                                 ELogging::BEGIN_END_ON, EDepth::ONE);

    const struct {
        const char* szName;
        bool (*pfn)();
    } aTests[] = {{"IsFatalEnabled", IsFatalEnabled},
                  {"IsErrorEnabled", IsErrorEnabled},
                  {"IsWarnEnabled", IsWarnEnabled},
                  {"IsInfoEnabled", IsInfoEnabled},
                  {"IsDebugEnabled", IsDebugEnabled}};
    for (const auto& test : aTests) {
        benchmark::RegisterBenchmark((std::string("Logging/level_test/") + test.szName + "/config:plain").c_str(),
                                     BM_LevelTest, test.pfn, ELogging::PLAIN);
    }
    benchmark::RegisterBenchmark("Logging/level_test/IsErrorEnabled/logging_disabled", BM_LevelTest,
                                 IsErrorEnabled, ELogging::OFF);

    for (ELogging e : {ELogging::PLAIN, ELogging::SHIPPED}) {
        benchmark::RegisterBenchmark((std::string("Logging/LogError_to_file/config:") + LoggingName(e)).c_str(),
                                     BM_LogError, e);
    }
    benchmark::RegisterBenchmark("Logging/baseline/format_and_write_line", BM_WriteLineBaseline);
    benchmark::RegisterBenchmark("Logging/baseline/ndc_push_and_pop/depth:5", BM_NdcPushPopBaseline);
}
