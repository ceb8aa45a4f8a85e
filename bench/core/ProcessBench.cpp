// The launcher's check "is the client tool running?" (IsProcessRunning) with
// N extra idle processes in the session, the tool's stand-in running. Beside
// it, the floor of a process scan: listing /proc and reading each
// executable link, and the same with each process's /proc/PID/stat read and
// parsed as well.
#include <dirent.h>
#include <unistd.h>
#include <climits>
#include <cstdio>
#include <cstring>
#include "language/Exception.h"
#include "language/ProcessHelpers.h"
#include "language/TextConvert.h"
#include "support/BenchSupport.h"

using namespace orvbench;

namespace {

void BM_IsProcessRunning(benchmark::State& state)
{
    UseLogging(ELogging::OFF);
    const std::string strTool = StartClientToolStandIn();
    if (strTool.empty()) {
        state.SkipWithError("the client tool stand-in did not start");
        return;
    }
    EnsureIdleProcesses(static_cast<size_t>(state.range(0)));
    const std::wstring strToolPath = Language::WideFromUtf8(strTool);
    CSamples samples;
    try {
        for (auto _ : state) {
            const int64_t t0 = NowNs();
            const bool bRunning = Language::IsProcessRunning(strToolPath);
            samples.Add(NowNs() - t0);
            if (!bRunning) {
                state.SkipWithError("the stand-in was not found");
                break;
            }
        }
    } catch (const Language::Exception& e) {
        state.SkipWithError(e.Message().c_str());
    }
    samples.Report(state);
    state.counters["listed_processes"] = static_cast<double>(CountListedProcesses());
}

// Reads and parses /proc/PID/stat as a process listing that records the
// parent, priority and thread count does.
void ReadStat(const char* szPid)
{
    char szPath[300];
    std::snprintf(szPath, sizeof(szPath), "/proc/%s/stat", szPid);
    FILE* pFile = std::fopen(szPath, "r");
    if (!pFile) {
        return;
    }
    char szLine[1024] = {0};
    if (std::fgets(szLine, sizeof(szLine), pFile)) {
        if (const char* szRest = std::strrchr(szLine, ')')) {
            char cState = 0;
            int iParent = 0;
            long lPriority = 0;
            long lThreads = 0;
            std::sscanf(szRest + 1, " %c %d %*d %*d %*d %*d %*u %*u %*u %*u %*u %*u %*u %*d %*d %ld %*d %ld",
                        &cState, &iParent, &lPriority, &lThreads);
            benchmark::DoNotOptimize(lThreads);
        }
    }
    std::fclose(pFile);
}

void BM_ScanBaseline(benchmark::State& state, bool bWithStat)
{
    UseLogging(ELogging::OFF);
    EnsureIdleProcesses(static_cast<size_t>(state.range(0)));
    CSamples samples;
    for (auto _ : state) {
        const int64_t t0 = NowNs();
        size_t uiListed = 0;
        if (DIR* pDir = opendir("/proc")) {
            while (const dirent* pEntry = readdir(pDir)) {
                if (pEntry->d_name[0] < '0' || pEntry->d_name[0] > '9') {
                    continue;
                }
                char szLink[300];
                std::snprintf(szLink, sizeof(szLink), "/proc/%s/exe", pEntry->d_name);
                char szTarget[PATH_MAX];
                if (readlink(szLink, szTarget, sizeof(szTarget)) > 0) {
                    ++uiListed;
                    if (bWithStat) {
                        ReadStat(pEntry->d_name);
                    }
                }
            }
            closedir(pDir);
        }
        samples.Add(NowNs() - t0);
        benchmark::DoNotOptimize(uiListed);
    }
    samples.Report(state);
}

} // namespace

ORV_BENCH_REGISTER(Process)
{
    const std::vector<int64_t> vecCounts = IsSmokeRun() ? std::vector<int64_t>{0, 5, 20}
                                                        : std::vector<int64_t>{0, 50, 500};
    auto* pRunning = benchmark::RegisterBenchmark("Process/IsProcessRunning", BM_IsProcessRunning);
    auto* pBaseline =
        benchmark::RegisterBenchmark("Process/baseline/list_proc_and_read_exe", BM_ScanBaseline, false);
    auto* pWithStat =
        benchmark::RegisterBenchmark("Process/baseline/list_proc_read_exe_and_stat", BM_ScanBaseline, true);
    for (auto* p : {pRunning, pBaseline, pWithStat}) {
        p->ArgName("extra_processes")->Unit(benchmark::kMicrosecond);
    }
    for (int64_t n : vecCounts) {
        pRunning->Arg(n);
    }
    // Largest first, then smallest first: each reuses the pool that the one
    // before it left.
    for (auto it = vecCounts.rbegin(); it != vecCounts.rend(); ++it) {
        pBaseline->Arg(*it);
    }
    for (int64_t n : vecCounts) {
        pWithStat->Arg(n);
    }
}
