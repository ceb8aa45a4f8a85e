// The main of every benchmark binary: private run folder, child dispatch,
// registration, the run itself and the summary file.
#include "support/BenchSupport.h"

#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>

namespace orvbench {

namespace {

// Set in the parent, inherited by children: they share the run folder.
const char* const RUN_FOLDER_VARIABLE = "ORV_BENCH_RUN_FOLDER";

bool s_bSmoke = false;
std::string s_strRunFolder;
std::string s_strMemoryFolder;
bool s_bOwnsRunFolder = false;

std::vector<RegisterFunction>& Registrations()
{
    static std::vector<RegisterFunction> s_vec;
    return s_vec;
}

std::map<std::string, ChildEntry>& Children()
{
    static std::map<std::string, ChildEntry> s_map;
    return s_map;
}

std::vector<std::function<void()>>& RunEndWork()
{
    static std::vector<std::function<void()>> s_vec;
    return s_vec;
}

int RemoveEntry(const char* szPath, const struct stat*, int, struct FTW*)
{
    std::remove(szPath);
    return 0;
}

void RemoveRunFolder()
{
    if (!s_bOwnsRunFolder) {
        return;
    }
    for (const std::string& strFolder : {s_strMemoryFolder, s_strRunFolder}) {
        if (!strFolder.empty()) {
            nftw(strFolder.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS);
        }
    }
}

// The run folders and the environment that points the program's named
// objects, user objects and machine registry into them. Named objects live
// on tmpfs as in a session (/dev/shm, /run/user), files on disk:
//   <tmpfs>/shm/      "Global\" objects (ORVPRINT_SHM_DIR)
//   <tmpfs>/user/     the user's own objects (XDG_RUNTIME_DIR)
//   <disk>/config/orv-soft  the user's settings folder (XDG_CONFIG_HOME), a
//                     link to <disk>/temp
//   <disk>/machine.ini  the machine registry (ORVPRINT_MACHINE_CONFIG), whose
//                     client key names <disk>/temp as the folder of
//                     Config.ini and <disk>/log as the log folder
bool MakeRunFolder()
{
    const char* szInherited = std::getenv(RUN_FOLDER_VARIABLE);
    if (szInherited && *szInherited) {
        s_strRunFolder = szInherited;
        return true;
    }
    char szDisk[] = "/tmp/orv-bench.XXXXXX";
    if (!mkdtemp(szDisk)) {
        std::perror("mkdtemp");
        return false;
    }
    s_strRunFolder = szDisk;
    s_bOwnsRunFolder = true;
    chmod(szDisk, 0755);
    char szMemory[] = "/dev/shm/orv-bench.XXXXXX";
    if (mkdtemp(szMemory)) {
        s_strMemoryFolder = szMemory;
    } else {
        s_strMemoryFolder = s_strRunFolder + "/memory";
        mkdir(s_strMemoryFolder.c_str(), 0700);
    }
    chmod(s_strMemoryFolder.c_str(), 0755);
    for (const char* szSub : {"temp", "log"}) {
        mkdir((s_strRunFolder + "/" + szSub).c_str(), 0700);
    }
    const std::string strShm = s_strMemoryFolder + "/shm";
    const std::string strUser = s_strMemoryFolder + "/user";
    mkdir(strShm.c_str(), 0777);
    chmod(strShm.c_str(), 0777);
    mkdir(strUser.c_str(), 0700);
    const std::string strMachine = s_strRunFolder + "/machine.ini";
    WriteTextFile(strMachine, "[Software\\Orv-soft\\Client]\n"
                              "InstallDir=" + s_strRunFolder + "\n"
                              "TempDir=" + s_strRunFolder + "/temp\n"
                              "LogDir=" + s_strRunFolder + "/log\n"
                              "DataDir=" + s_strRunFolder + "/temp\n");
    setenv(RUN_FOLDER_VARIABLE, s_strRunFolder.c_str(), 1);
    setenv("ORVPRINT_SHM_DIR", strShm.c_str(), 1);
    setenv("XDG_RUNTIME_DIR", strUser.c_str(), 1);
    setenv("ORVPRINT_MACHINE_CONFIG", strMachine.c_str(), 1);
    // The user's own settings folder (Linux) is the run's Config.ini folder:
    // one settings file, and nothing of the account that runs it touched.
    mkdir((s_strRunFolder + "/config").c_str(), 0700);
    symlink((s_strRunFolder + "/temp").c_str(), (s_strRunFolder + "/config/orv-soft").c_str());
    setenv("XDG_CONFIG_HOME", (s_strRunFolder + "/config").c_str(), 1);
    setenv("XDG_STATE_HOME", (s_strRunFolder + "/state").c_str(), 1);
    return true;
}

double ToNanoseconds(const benchmark::BenchmarkReporter::Run& run)
{
    return run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e9;
}

// Console output as usual, and one line per result for scripts:
//   NAME <TAB> ns per iteration <TAB> counter=value ...
//   NAME <TAB> error <TAB> message
class CSummaryReporter : public benchmark::ConsoleReporter {
public:
    explicit CSummaryReporter(bool bColor)
        : ConsoleReporter(bColor ? OO_ColorTabular : OO_Tabular)
    {
    }

    void ReportRuns(const std::vector<Run>& vecRuns) override
    {
        ConsoleReporter::ReportRuns(vecRuns);
        for (const Run& run : vecRuns) {
            std::ostringstream line;
            line << run.benchmark_name() << '\t';
            if (run.error_occurred) {
                ++m_uiErrors;
                line << "error\t" << run.error_message;
            } else {
                char szValue[64];
                std::snprintf(szValue, sizeof(szValue), "%.3f", ToNanoseconds(run));
                line << szValue;
                for (const auto& counter : run.counters) {
                    std::snprintf(szValue, sizeof(szValue), "%.6g", static_cast<double>(counter.second.value));
                    line << '\t' << counter.first << '=' << szValue;
                }
            }
            m_vecLines.push_back(line.str());
        }
    }

    size_t Errors() const { return m_uiErrors; }

    bool Write(const std::string& strPath) const
    {
        std::ofstream out(strPath, std::ios::trunc);
        for (const std::string& strLine : m_vecLines) {
            out << strLine << '\n';
        }
        return static_cast<bool>(out);
    }

private:
    std::vector<std::string> m_vecLines;
    size_t m_uiErrors = 0;
};

} // namespace

bool IsSmokeRun()
{
    return s_bSmoke;
}

const std::string& RunFolder()
{
    return s_strRunFolder;
}

std::string RunFile(const std::string& strName)
{
    return s_strRunFolder + "/" + strName;
}

bool WriteTextFile(const std::string& strPath, const std::string& strText)
{
    std::ofstream out(strPath, std::ios::binary | std::ios::trunc);
    out << strText;
    return static_cast<bool>(out);
}

BenchRegistrar::BenchRegistrar(RegisterFunction pfn)
{
    Registrations().push_back(pfn);
}

ChildRegistrar::ChildRegistrar(const char* szName, ChildEntry pfn)
{
    Children()[szName] = pfn;
}

void AtRunEnd(std::function<void()> fnWork)
{
    RunEndWork().push_back(std::move(fnWork));
}

int64_t NowNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

int BenchMain(int argc, char** argv)
{
    if (!MakeRunFolder()) {
        return 1;
    }

    // Re-launched as the other process of a benchmark.
    if (argc > 1 && std::strncmp(argv[1], "--child=", 8) == 0) {
        const auto it = Children().find(argv[1] + 8);
        if (it == Children().end()) {
            std::fprintf(stderr, "unknown child %s\n", argv[1] + 8);
            return 2;
        }
        return it->second(std::vector<std::string>(argv + 2, argv + argc));
    }

    // Own flags out, Google Benchmark's through.
    std::string strSummary;
    bool bColor = isatty(STDOUT_FILENO) != 0;
    std::vector<char*> vecArgs;
    static char s_szSmokeMinTime[] = "--benchmark_min_time=0";
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], "--smoke") == 0) {
            s_bSmoke = true;
            vecArgs.push_back(s_szSmokeMinTime);
        } else if (std::strncmp(argv[i], "--summary=", 10) == 0) {
            strSummary = argv[i] + 10;
        } else if (std::strncmp(argv[i], "--write-largest-request=", 24) == 0) {
            const std::vector<uint8_t>& vecRequest = LargestRequest();
            const bool bWritten =
                WriteTextFile(argv[i] + 24, std::string(vecRequest.begin(), vecRequest.end()));
            RemoveRunFolder();
            return bWritten ? 0 : 1;
        } else {
            const std::string strArg = argv[i];
            if (strArg.compare(0, 18, "--benchmark_color=") == 0) {
                const std::string strValue = strArg.substr(18);
                bColor = !(strValue == "false" || strValue == "no" || strValue == "0" ||
                           (strValue == "auto" && !isatty(STDOUT_FILENO)));
            }
            vecArgs.push_back(argv[i]);
        }
    }
    int iArgc = static_cast<int>(vecArgs.size());
    vecArgs.push_back(nullptr);
    benchmark::Initialize(&iArgc, vecArgs.data());
    if (benchmark::ReportUnrecognizedArguments(iArgc, vecArgs.data())) {
        RemoveRunFolder();
        return 2;
    }

    for (RegisterFunction pfn : Registrations()) {
        pfn();
    }

    CSummaryReporter reporter(bColor);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    for (auto it = RunEndWork().rbegin(); it != RunEndWork().rend(); ++it) {
        (*it)();
    }
    // A benchmark that could not run (a peer that did not start, a result
    // that was not as expected) fails the smoke run; times never do.
    int iStatus = 0;
    if (s_bSmoke && reporter.Errors() != 0) {
        std::fprintf(stderr, "%zu benchmark(s) reported an error\n", reporter.Errors());
        iStatus = 1;
    }
    if (!strSummary.empty() && !reporter.Write(strSummary)) {
        std::fprintf(stderr, "cannot write %s\n", strSummary.c_str());
        iStatus = 1;
    }
    RemoveRunFolder();
    return iStatus;
}

} // namespace orvbench
