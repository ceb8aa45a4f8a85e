// The largest legal request (100 printers, 500 projects, 2,688,408 bytes):
// validation and reading every record, as the dialog does before it fills
// its lists. Beside it, the plain baseline: copying the same bytes.
#include <cstring>
#include "Src/Common/include/JobOptionData.h"
#include "support/BenchSupport.h"
#include "support/BenchTrace.h"

using namespace orvbench;

namespace {

void BM_ValidateAndReadAll(benchmark::State& state, ELogging eLogging)
{
    if (!UseLogging(eLogging)) {
        state.SkipWithError("logging could not be set up");
        return;
    }
    const std::vector<uint8_t>& vecRequest = LargestRequest();
    CPopupThreadScopes scopes;
    CJobOptionData::PRINTER_INFO stuPrinter;
    CJobOptionData::PROJECT_INFO stuProject;
    CSamples samples;
    for (auto _ : state) {
        const int64_t t0 = NowNs();
        CJobOptionData objRequest(vecRequest.data(), vecRequest.size(), true);
        const int32_t iPrinters = objRequest.GetPrinterCount();
        for (int32_t i = 0; i < iPrinters; ++i) {
            objRequest.GetPrinterInfo(static_cast<uint32_t>(i), stuPrinter);
            benchmark::DoNotOptimize(stuPrinter);
        }
        const int32_t iProjects = objRequest.GetProjectCount();
        for (int32_t j = 0; j < iProjects; ++j) {
            objRequest.GetProjectInfo(static_cast<uint32_t>(j), stuProject);
            benchmark::DoNotOptimize(stuProject);
        }
        samples.Add(NowNs() - t0);
    }
    samples.Report(state);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(vecRequest.size()));
}

// The same bytes copied record by record with memcpy: the floor.
void BM_CopyBaseline(benchmark::State& state)
{
    UseLogging(ELogging::OFF);
    const std::vector<uint8_t>& vecRequest = LargestRequest();
    CJobOptionData::PRINTER_INFO stuPrinter;
    CJobOptionData::PROJECT_INFO stuProject;
    CSamples samples;
    for (auto _ : state) {
        const int64_t t0 = NowNs();
        const uint8_t* p = vecRequest.data() + 4;
        for (int i = 0; i < 100; ++i, p += sizeof(stuPrinter)) {
            std::memcpy(&stuPrinter, p, sizeof(stuPrinter));
            benchmark::DoNotOptimize(stuPrinter);
        }
        p += 4;
        for (int j = 0; j < 500; ++j, p += sizeof(stuProject)) {
            std::memcpy(&stuProject, p, sizeof(stuProject));
            benchmark::DoNotOptimize(stuProject);
        }
        samples.Add(NowNs() - t0);
    }
    samples.Report(state);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(vecRequest.size()));
}

} // namespace

ORV_BENCH_REGISTER(Records)
{
    for (ELogging e : {ELogging::OFF, ELogging::SHIPPED}) {
        const std::string strName = std::string("Records/largest_request_validate_and_read_all/logging:") +
                                    LoggingName(e);
        benchmark::RegisterBenchmark(strName.c_str(), BM_ValidateAndReadAll, e)->Unit(benchmark::kMicrosecond);
    }
    benchmark::RegisterBenchmark("Records/baseline/memcpy_all_records", BM_CopyBaseline)
        ->Unit(benchmark::kMicrosecond);
}
