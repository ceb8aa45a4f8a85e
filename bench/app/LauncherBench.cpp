// The launcher's cycle (CLauncherThread::OnTimer) with N extra idle
// processes in the session, while the client tool (its stand-in) runs: the
// steady state, in which each cycle finds the tool and starts nothing.
#include "app/LauncherThread.h"
#include "language/ProcessHelpers.h"
#include "language/TextConvert.h"
#include "support/BenchSupport.h"
#include "support/BenchTrace.h"

using namespace orvbench;

namespace {

void BM_LauncherCycle(benchmark::State& state)
{
    if (!UseLogging(ELogging::SHIPPED)) {
        state.SkipWithError("logging could not be set up");
        return;
    }
    const std::string strTool = StartClientToolStandIn();
    if (strTool.empty()) {
        state.SkipWithError("the client tool stand-in did not start");
        return;
    }
    EnsureIdleProcesses(static_cast<size_t>(state.range(0)));
    CLauncherThread launcher(Language::WideFromUtf8(strTool), CLauncherThread::LAUNCH_PERIOD);
    CSamples samples;
    {
        CLauncherThreadScopes scopes;
        for (auto _ : state) {
            const int64_t t0 = NowNs();
            launcher.OnTimer();
            samples.Add(NowNs() - t0);
        }
    }
    samples.Report(state);
    state.counters["listed_processes"] = static_cast<double>(CountListedProcesses());
    // Starting a second copy would mean that the cycle did not see the tool.
    if (Language::FindProcessesRunning(Language::WideFromUtf8(strTool)).size() != 1) {
        StopClientToolCopies();
        state.SkipWithError("the launcher started the client tool again");
    }
}

} // namespace

ORV_BENCH_REGISTER(Launcher)
{
    auto* p = benchmark::RegisterBenchmark("Launcher/cycle", BM_LauncherCycle);
    p->ArgName("extra_processes")->Unit(benchmark::kMicrosecond);
    for (int64_t n : IsSmokeRun() ? std::vector<int64_t>{0, 20} : std::vector<int64_t>{0, 50, 500}) {
        p->Arg(n);
    }
}
