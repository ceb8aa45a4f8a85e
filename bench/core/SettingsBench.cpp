// The settings file Config.ini: reading both groups as the configuration
// object does when the dialog opens (ReadClientSetting, GetServerConfig),
// and writing the user's group back (WriteClientSetting). The run's machine
// registry names the run folder's temp/ as "TempDir". Beside them, the floor:
// reading the whole file.
#include <fcntl.h>
#include <unistd.h>
#include "support/BenchSupport.h"
#include "support/BenchTrace.h"
#include "utility/ClientInfo.h"

using namespace orvbench;

namespace {

const char* const CONFIG_INI =
    "[Setting]\n"
    "DisplayProjectSelection=1\n"
    "CanSelectNoPrinter=0\n"
    "CanSelectNoProject=1\n"
    "DefaultPrinter=打印机-042 行政楼007层 彩色激光\n"
    "DefaultProject=项目-137 年度审计与市场推广\n"
    "\n"
    "[ServerConfig]\n"
    "WaterPrintInstalled=0\n"
    "AuditInstalled=1\n"
    "SGIdentifyInstalled=0\n"
    "FilterIntalled=0\n";

std::string ConfigPath()
{
    return RunFile("temp/Config.ini");
}

bool ResetConfigFile()
{
    return WriteTextFile(ConfigPath(), CONFIG_INI);
}

void BM_ReadBothGroups(benchmark::State& state, ELogging eLogging)
{
    if (!UseLogging(eLogging) || !ResetConfigFile()) {
        state.SkipWithError("set-up failed");
        return;
    }
    CPopupThreadScopes scopes;
    CSamples samples;
    for (auto _ : state) {
        CLIENT_SETTING setting;
        SERVER_CONFIG config;
        const int64_t t0 = NowNs();
        const uint32_t uiServer = OrvUtility::GetServerConfig(config);
        const uint32_t uiClient = OrvUtility::ReadClientSetting(setting);
        samples.Add(NowNs() - t0);
        if (uiServer != 0 || uiClient != 0 || setting.szDefaultPrinter.empty()) {
            state.SkipWithError("reading the settings failed");
            break;
        }
        benchmark::DoNotOptimize(setting);
        benchmark::DoNotOptimize(config);
    }
    samples.Report(state);
}

void BM_WriteUserGroup(benchmark::State& state, ELogging eLogging)
{
    if (!UseLogging(eLogging) || !ResetConfigFile()) {
        state.SkipWithError("set-up failed");
        return;
    }
    CPopupThreadScopes scopes;
    CLIENT_SETTING setting;
    setting.bDisplayProjectSelection = 1;
    setting.bCanSelectNoPrinter = 0;
    setting.bCanSelectNoProject = 1;
    setting.szDefaultPrinter = L"打印机-042 行政楼007层 彩色激光";
    setting.szDefaultProject = L"项目-137 年度审计与市场推广";
    CSamples samples;
    for (auto _ : state) {
        const int64_t t0 = NowNs();
        const uint32_t uiResult = OrvUtility::WriteClientSetting(setting);
        samples.Add(NowNs() - t0);
        if (uiResult != 0) {
            state.SkipWithError("writing the settings failed");
            break;
        }
    }
    samples.Report(state);
}

void BM_ReadFileBaseline(benchmark::State& state)
{
    UseLogging(ELogging::OFF);
    if (!ResetConfigFile()) {
        state.SkipWithError("set-up failed");
        return;
    }
    const std::string strPath = ConfigPath();
    char abyBuffer[4096];
    CSamples samples;
    for (auto _ : state) {
        const int64_t t0 = NowNs();
        const int iFd = open(strPath.c_str(), O_RDONLY | O_CLOEXEC);
        const ssize_t n = iFd >= 0 ? read(iFd, abyBuffer, sizeof(abyBuffer)) : -1;
        if (iFd >= 0) {
            close(iFd);
        }
        samples.Add(NowNs() - t0);
        if (n <= 0) {
            state.SkipWithError("reading the file failed");
            break;
        }
        benchmark::DoNotOptimize(abyBuffer);
    }
    samples.Report(state);
}

} // namespace

ORV_BENCH_REGISTER(Settings)
{
    for (ELogging e : {ELogging::OFF, ELogging::SHIPPED}) {
        benchmark::RegisterBenchmark(
            (std::string("Settings/read_both_groups/logging:") + LoggingName(e)).c_str(), BM_ReadBothGroups, e)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark(
            (std::string("Settings/write_user_group/logging:") + LoggingName(e)).c_str(), BM_WriteUserGroup, e)
            ->Unit(benchmark::kMicrosecond);
    }
    benchmark::RegisterBenchmark("Settings/baseline/read_whole_file", BM_ReadFileBaseline)
        ->Unit(benchmark::kMicrosecond);
}
