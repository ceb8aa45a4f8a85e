#pragma once

// Support shared by the benchmark binaries.
//
// Every binary runs BenchMain (BenchMain.cpp): it makes a private folder for
// the run (named objects, settings, logs), dispatches "--child=NAME args..."
// to a registered child entry when the binary is re-launched as the other
// process of a cross-process benchmark, registers the benchmarks, runs them
// and writes the summary file asked for with --summary=FILE.
//
// Own flags (besides Google Benchmark's):
//   --smoke           every benchmark once, small process pools (ctest)
//   --summary=FILE    one line per result: name, time per iteration, counters
//   --write-largest-request=FILE
//                     writes the largest legal request (see LargestRequest) and
//                     exits, for sending it with orvprint-send --raw

#include <sys/types.h>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>
#include <benchmark/benchmark.h>

namespace orvbench {

// ---------------------------------------------------------------- run

// True for --smoke: one iteration each, no thresholds, small pools.
bool IsSmokeRun();

// The run's private folder (removed at exit) and a path inside it.
const std::string& RunFolder();
std::string RunFile(const std::string& strName);

// Writes a whole file; false on failure.
bool WriteTextFile(const std::string& strPath, const std::string& strText);

// Benchmark registration: each source file adds a function that registers
// its benchmarks; BenchMain calls them once the flags are known.
typedef void (*RegisterFunction)();
struct BenchRegistrar {
    explicit BenchRegistrar(RegisterFunction pfn);
};

// Work to do after all benchmarks ran (stopping child processes, ...), in
// reverse order of registration.
void AtRunEnd(std::function<void()> fnWork);

int BenchMain(int argc, char** argv);

// ---------------------------------------------------------------- children

// Child entries: the binary re-launched with "--child=NAME args...".
typedef int (*ChildEntry)(const std::vector<std::string>& vecArgs);
struct ChildRegistrar {
    ChildRegistrar(const char* szName, ChildEntry pfn);
};

// Re-launches this binary as the child NAME. The descriptors in vecPassFds
// are handed over as 3, 4, ... (in that order); every other descriptor above
// 2 is closed in the child. The child is killed when this process ends.
// Returns the child's pid, or -1.
pid_t SpawnChild(const std::string& strName, const std::vector<std::string>& vecArgs,
                 const std::vector<int>& vecPassFds);

// Starts a program (found on PATH when it has no '/') with the arguments,
// killed when this process ends. -1 on failure.
pid_t SpawnProgram(const std::string& strProgram, const std::vector<std::string>& vecArgs);

// SIGKILL and reap.
void StopProcess(pid_t pid);

// A pool of idle processes ("sleep infinity"), grown or shrunk to the number
// asked for and stopped at the end of the run. Idle processes stand for the
// other programs of a user's session.
void EnsureIdleProcesses(size_t uiCount);
size_t IdleProcessCount();

// The number of processes whose executable this process can read in /proc
// (the ones a process scan lists).
size_t CountListedProcesses();

// A stand-in for the client tool that the launcher keeps running: a copy of
// "sleep" named OrvClientTool in the run folder, started once ("sleep
// infinity") and stopped at the end of the run. Returns its path, empty on
// failure.
std::string StartClientToolStandIn();
// Stops every process that runs the stand-in's file except the stand-in
// itself (copies that a launcher started); returns how many there were.
size_t StopClientToolCopies();

// ---------------------------------------------------------------- logging

enum class ELogging {
    OFF,           // no configuration: logging disabled
    PLAIN,         // category OrvprintD_exe at ERROR into a file, begin/end lines off, no filter
    BEGIN_END_ON,  // as PLAIN with OutputFunBeginInfo on
    SHIPPED,       // logging/LogConfig.conf as shipped, its file redirected into the run folder
};
const char* LoggingName(ELogging eLogging);
ELogging LoggingFromName(const std::string& strName);

// Puts the process's logging into the given state (re-initialising only on a
// change). False when the configuration could not be set up.
bool UseLogging(ELogging eLogging);

// The file that the PLAIN, BEGIN_END_ON and SHIPPED appenders write; empties
// it (the appenders write in append mode and carry on).
std::string LogFilePath();
void TruncateLogFile();

// ---------------------------------------------------------------- samples

// Per-iteration latencies, reported as percentiles: robust against the odd
// slow iteration on a shared machine.
class CSamples {
public:
    void Reserve(size_t n) { m_vecNs.reserve(n); }
    void Add(int64_t iNs) { m_vecNs.push_back(iNs); }
    size_t Size() const { return m_vecNs.size(); }
    // p in [0, 100]; 0 without samples.
    double PercentileNs(double p) const;
    double MedianNs() const { return PercentileNs(50); }
    // Counters <prefix>p50_us, <prefix>p90_us, <prefix>p99_us.
    void Report(benchmark::State& state, const std::string& strPrefix = "") const;

private:
    std::vector<int64_t> m_vecNs;
};

int64_t NowNs(); // steady clock

// ---------------------------------------------------------------- requests

// The largest legal job-option request: 100 printers and 500 projects,
// 2,688,408 bytes. Printer i (0-based) is named "打印机-NNN ..." with NNN =
// i + 1, project j "项目-NNN ...". A mix of usable printers, printers whose
// time is over (status 1) and printers with too many pages.
const std::vector<uint8_t>& LargestRequest();
// Names that select the last printer and the last project as defaults (the
// longest search of the saved defaults).
std::wstring LastPrinterPrefix();
std::wstring LastProjectPrefix();

} // namespace orvbench

// Registers this file's benchmarks:  ORV_BENCH_REGISTER(Channel) { ... }
#define ORV_BENCH_REGISTER(name)                                                  \
    static void OrvBenchRegister_##name();                                        \
    static ::orvbench::BenchRegistrar orvBenchRegistrar_##name(&OrvBenchRegister_##name); \
    static void OrvBenchRegister_##name()

// A child entry:  ORV_BENCH_CHILD(echo) { ...; return 0; }
#define ORV_BENCH_CHILD(name)                                                     \
    static int OrvBenchChild_##name(const std::vector<std::string>& vecArgs);     \
    static ::orvbench::ChildRegistrar orvBenchChild_##name(#name, &OrvBenchChild_##name); \
    static int OrvBenchChild_##name(const std::vector<std::string>& vecArgs)
