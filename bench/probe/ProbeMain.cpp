// orv_bench_probe: whole-process measurements of the built programs for
// scripts/bench.sh. Each command prints one line of key=value pairs.
//
// The programs started keep running after the probe has ended (but for
// peak's); their standard output is discarded, or written into FILE with
// --output FILE.
//
//   serve --lock FILE [--timeout-ms N] -- PROGRAM [ARGS...]
//       Starts PROGRAM and prints serving_ms (from the exec until a process
//       holds an flock on FILE, seen through /proc/PID/fdinfo without
//       touching the lock) and pid. PROGRAM keeps running.
//
//   window --title TITLE [--may-end] [--timeout-ms N] -- PROGRAM [ARGS...]
//       Watches the X display ($DISPLAY) for windows being mapped, starts
//       PROGRAM and prints mapped_ms (from the exec until a window named
//       TITLE is mapped), window and pid. PROGRAM keeps running. With
//       --may-end PROGRAM may end first (lp hands the job on), unless it
//       fails.
//
//   window and capture take --user NAME: PROGRAM runs as that user, and the
//   time starts when the probe's child has become the user and goes on to
//   exec PROGRAM (the change of user is not timed).
//
//   capture --dir DIR [--timeout-ms N] -- PROGRAM [ARGS...]
//       Watches the folder DIR (inotify), starts PROGRAM and prints done_ms
//       (from the exec until a file is renamed into DIR, or written and
//       closed there, under a name that does not end in .part or .args: a
//       capture printer's finished copy), file and pid.
//
//   peak [--argv0 NAME] [--timeout-ms N] -- PROGRAM [ARGS...]
//       Runs PROGRAM (argv[0] NAME) to its end, following its forks
//       (ptrace), and prints for each of its processes, while it is stopped
//       at its exit, one line "process pid=P ppid=Q uid=U hwm_kb=K
//       rss_kb=R": the peak resident size (VmHWM) and the resident size
//       then (VmRSS) of /proc/PID/status; then "exit=CODE ms=T". PROGRAM's
//       standard error is the probe's. Out of time, the probe ends and
//       PROGRAM with it.
//
//   idle --pid PID [--seconds S]
//       Watches a running process for S seconds (default 60) and prints its
//       resident memory at the end and at most (rss_kb, max_rss_kb, from
//       /proc/PID/status VmRSS, sampled every second; anon_kb, file_kb,
//       shmem_kb: its parts at the end; pss_kb: its proportional share of
//       the pages it shares with other processes) and the CPU time it
//       used meanwhile: cpu_ms from /proc/PID/stat utime+stime (clock
//       ticks) and cpu_exact_ms from the threads' schedstat (nanoseconds).
#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/ptrace.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>
#ifdef ORV_BENCH_PROBE_X11
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#endif

namespace {

typedef std::chrono::steady_clock Clock;

double MillisecondsSince(Clock::time_point tp)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - tp).count();
}

struct CArgs {
    std::string strCommand;
    std::string strLock;
    std::string strTitle;
    std::string strDir;
    std::string strOutput;
    std::string strArgv0;
    std::string strUser;
    bool bMayEnd = false;
    int iPid = -1;
    int iSeconds = 60;
    int iTimeoutMs = 20000;
    std::vector<std::string> vecProgram;
};

int Usage()
{
    std::fprintf(stderr,
                 "usage: orv_bench_probe serve --lock FILE [--timeout-ms N] [--output FILE] -- PROGRAM [ARGS...]\n"
                 "       orv_bench_probe window --title TITLE [--may-end] [--user NAME] [--timeout-ms N] [--output FILE] -- PROGRAM [ARGS...]\n"
                 "       orv_bench_probe capture --dir DIR [--user NAME] [--timeout-ms N] [--output FILE] -- PROGRAM [ARGS...]\n"
                 "       orv_bench_probe peak [--argv0 NAME] [--timeout-ms N] [--output FILE] -- PROGRAM [ARGS...]\n"
                 "       orv_bench_probe idle --pid PID [--seconds S]\n");
    return 2;
}

bool ParseArgs(int argc, char** argv, CArgs& args)
{
    if (argc < 2) {
        return false;
    }
    args.strCommand = argv[1];
    for (int i = 2; i < argc; ++i) {
        const std::string strArg = argv[i];
        const bool bHasValue = i + 1 < argc;
        if (strArg == "--") {
            args.vecProgram.assign(argv + i + 1, argv + argc);
            break;
        } else if (strArg == "--lock" && bHasValue) {
            args.strLock = argv[++i];
        } else if (strArg == "--title" && bHasValue) {
            args.strTitle = argv[++i];
        } else if (strArg == "--dir" && bHasValue) {
            args.strDir = argv[++i];
        } else if (strArg == "--output" && bHasValue) {
            args.strOutput = argv[++i];
        } else if (strArg == "--argv0" && bHasValue) {
            args.strArgv0 = argv[++i];
        } else if (strArg == "--user" && bHasValue) {
            args.strUser = argv[++i];
        } else if (strArg == "--may-end") {
            args.bMayEnd = true;
        } else if (strArg == "--pid" && bHasValue) {
            args.iPid = std::atoi(argv[++i]);
        } else if (strArg == "--seconds" && bHasValue) {
            args.iSeconds = std::atoi(argv[++i]);
        } else if (strArg == "--timeout-ms" && bHasValue) {
            args.iTimeoutMs = std::atoi(argv[++i]);
        } else {
            return false;
        }
    }
    return true;
}

// In the forked child: becomes the user for good (groups, group, user;
// HOME, USER and LOGNAME as the user's). False when that failed.
bool BecomeUser(const std::string& strUser)
{
    const struct passwd* pPw = getpwnam(strUser.c_str());
    if (!pPw || initgroups(pPw->pw_name, pPw->pw_gid) != 0 || setresgid(pPw->pw_gid, pPw->pw_gid, pPw->pw_gid) != 0 ||
        setresuid(pPw->pw_uid, pPw->pw_uid, pPw->pw_uid) != 0) {
        return false;
    }
    setenv("HOME", pPw->pw_dir, 1);
    setenv("USER", pPw->pw_name, 1);
    setenv("LOGNAME", pPw->pw_name, 1);
    return true;
}

// Starts the program; the time of the fork is the start (*pStart). Its
// standard output goes to /dev/null (or the --output file): the probe's own
// output is often read through a pipe, which a program left running must not
// hold open. bTraced: the probe traces the program from its exec on. With
// --user the forked child first becomes that user, and the start is when it
// is let go on to its exec: the change of user is not timed.
pid_t Start(const CArgs& args, bool bTraced = false, Clock::time_point* pStart = nullptr)
{
    int aiReady[2] = {-1, -1};
    int aiGo[2] = {-1, -1};
    if (!args.strUser.empty() && (pipe2(aiReady, O_CLOEXEC) != 0 || pipe2(aiGo, O_CLOEXEC) != 0)) {
        return -1;
    }
    std::vector<char*> vecArgv;
    for (const std::string& s : args.vecProgram) {
        vecArgv.push_back(const_cast<char*>(s.c_str()));
    }
    vecArgv.push_back(nullptr);
    if (!args.strArgv0.empty()) {
        vecArgv[0] = const_cast<char*>(args.strArgv0.c_str());
    }
    if (pStart) {
        *pStart = Clock::now();
    }
    const pid_t pid = fork();
    if (pid == 0) {
        // The output file is the probe's (opened before the change of user).
        const int iOut = args.strOutput.empty() ? open("/dev/null", O_WRONLY)
                                                : open(args.strOutput.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (iOut >= 0) {
            dup2(iOut, STDOUT_FILENO);
            close(iOut);
        }
        if (!args.strUser.empty()) {
            char chGo = 0;
            if (!BecomeUser(args.strUser) || write(aiReady[1], "R", 1) != 1 || read(aiGo[0], &chGo, 1) != 1) {
                _exit(126);
            }
        }
        if (bTraced && ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
            _exit(126);
        }
        execvp(args.vecProgram[0].c_str(), vecArgv.data());
        std::perror(vecArgv[0]);
        _exit(127);
    }
    if (!args.strUser.empty()) {
        close(aiReady[1]);
        close(aiGo[0]);
        char chReady = 0;
        const bool bReady = pid > 0 && read(aiReady[0], &chReady, 1) == 1;
        if (pStart) {
            *pStart = Clock::now();
        }
        if (bReady) {
            (void)!write(aiGo[1], "G", 1);
        }
        close(aiReady[0]);
        close(aiGo[1]);
    }
    return pid;
}

bool HasEnded(pid_t pid)
{
    int iStatus = 0;
    return waitpid(pid, &iStatus, WNOHANG) == pid;
}

std::string RealPath(const std::string& strPath)
{
    char szResolved[PATH_MAX];
    return realpath(strPath.c_str(), szResolved) ? std::string(szResolved) : strPath;
}

// True when the process holds an flock on the file (a "lock:" line in the
// fdinfo of a descriptor open on it).
bool HoldsFlock(pid_t pid, const std::string& strRealPath)
{
    const std::string strFdFolder = "/proc/" + std::to_string(pid) + "/fd";
    DIR* pDir = opendir(strFdFolder.c_str());
    if (!pDir) {
        return false;
    }
    bool bHeld = false;
    while (const dirent* pEntry = readdir(pDir)) {
        if (pEntry->d_name[0] < '0' || pEntry->d_name[0] > '9') {
            continue;
        }
        char szTarget[PATH_MAX];
        const ssize_t n = readlink((strFdFolder + "/" + pEntry->d_name).c_str(), szTarget, sizeof(szTarget) - 1);
        if (n <= 0 || strRealPath.compare(0, std::string::npos, szTarget, static_cast<size_t>(n)) != 0) {
            continue;
        }
        std::ifstream info("/proc/" + std::to_string(pid) + "/fdinfo/" + pEntry->d_name);
        std::string strLine;
        while (std::getline(info, strLine)) {
            if (strLine.compare(0, 5, "lock:") == 0 && strLine.find("FLOCK") != std::string::npos) {
                bHeld = true;
            }
        }
        if (bHeld) {
            break;
        }
    }
    closedir(pDir);
    return bHeld;
}

int Serve(const CArgs& args)
{
    if (args.strLock.empty() || args.vecProgram.empty()) {
        return Usage();
    }
    const size_t uiSlash = args.strLock.rfind('/');
    const std::string strFolder = uiSlash == std::string::npos ? "." : args.strLock.substr(0, uiSlash);
    const std::string strLockPath = RealPath(strFolder) + args.strLock.substr(uiSlash == std::string::npos ? 0 : uiSlash);

    const Clock::time_point tpStart = Clock::now();
    const pid_t pid = Start(args);
    if (pid < 0) {
        std::perror("fork");
        return 1;
    }
    for (;;) {
        struct stat st;
        if (stat(strLockPath.c_str(), &st) == 0 && HoldsFlock(pid, strLockPath)) {
            std::printf("serving_ms=%.2f pid=%d\n", MillisecondsSince(tpStart), static_cast<int>(pid));
            return 0;
        }
        if (HasEnded(pid)) {
            std::printf("error=ended_early pid=%d\n", static_cast<int>(pid));
            return 1;
        }
        if (MillisecondsSince(tpStart) > args.iTimeoutMs) {
            std::printf("error=timeout pid=%d\n", static_cast<int>(pid));
            return 1;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(1000));
    }
}

#ifdef ORV_BENCH_PROBE_X11
std::string WindowName(Display* pDisplay, Window w)
{
    const Atom atomNetName = XInternAtom(pDisplay, "_NET_WM_NAME", False);
    const Atom atomUtf8 = XInternAtom(pDisplay, "UTF8_STRING", False);
    Atom atomType = None;
    int iFormat = 0;
    unsigned long ulItems = 0;
    unsigned long ulAfter = 0;
    unsigned char* pData = nullptr;
    std::string strName;
    if (XGetWindowProperty(pDisplay, w, atomNetName, 0, 1024, False, atomUtf8, &atomType, &iFormat, &ulItems,
                           &ulAfter, &pData) == Success &&
        pData) {
        strName.assign(reinterpret_cast<char*>(pData), ulItems);
        XFree(pData);
        if (!strName.empty()) {
            return strName;
        }
    }
    char* szName = nullptr;
    if (XFetchName(pDisplay, w, &szName) && szName) {
        strName = szName;
        XFree(szName);
    }
    return strName;
}

int WindowProbe(const CArgs& args)
{
    if (args.strTitle.empty() || args.vecProgram.empty()) {
        return Usage();
    }
    Display* pDisplay = XOpenDisplay(nullptr);
    if (!pDisplay) {
        std::printf("error=no_display\n");
        return 1;
    }
    const Window root = DefaultRootWindow(pDisplay);
    XSelectInput(pDisplay, root, SubstructureNotifyMask);
    XSync(pDisplay, False);

    Clock::time_point tpStart = Clock::now();
    const pid_t pid = Start(args, false, &tpStart);
    if (pid < 0) {
        std::perror("fork");
        return 1;
    }
    const int iFd = ConnectionNumber(pDisplay);
    bool bEnded = false;
    for (;;) {
        while (XPending(pDisplay)) {
            XEvent event;
            XNextEvent(pDisplay, &event);
            Window w = None;
            if (event.type == MapNotify) {
                w = event.xmap.window;
                // Names set after the map are caught when they change.
                XSelectInput(pDisplay, w, PropertyChangeMask | StructureNotifyMask);
            } else if (event.type == PropertyNotify) {
                XWindowAttributes attributes;
                if (XGetWindowAttributes(pDisplay, event.xproperty.window, &attributes) &&
                    attributes.map_state == IsViewable) {
                    w = event.xproperty.window;
                }
            }
            if (w != None && WindowName(pDisplay, w) == args.strTitle) {
                std::printf("mapped_ms=%.2f window=%lu pid=%d\n", MillisecondsSince(tpStart),
                            static_cast<unsigned long>(w), static_cast<int>(pid));
                XCloseDisplay(pDisplay);
                return 0;
            }
        }
        int iStatus = 0;
        if (!bEnded && waitpid(pid, &iStatus, WNOHANG) == pid) {
            bEnded = true;
            if (!args.bMayEnd || !WIFEXITED(iStatus) || WEXITSTATUS(iStatus) != 0) {
                std::printf("error=ended_early pid=%d\n", static_cast<int>(pid));
                return 1;
            }
        }
        const double dLeft = args.iTimeoutMs - MillisecondsSince(tpStart);
        if (dLeft <= 0) {
            std::printf("error=timeout pid=%d\n", static_cast<int>(pid));
            return 1;
        }
        fd_set fds;
        FD_ZERO(&fds);
        FD_SET(iFd, &fds);
        timeval tv{0, 20000}; // wake now and then to notice the program's end
        select(iFd + 1, &fds, nullptr, nullptr, &tv);
    }
}
#else
int WindowProbe(const CArgs&)
{
    std::printf("error=built_without_x11\n");
    return 1;
}
#endif

// A "Key:   123 kB" line of /proc/PID/status; false when absent.
bool ReadStatusKb(pid_t pid, const char* szKey, long& lKb)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    const size_t uiKey = std::strlen(szKey);
    std::string strLine;
    while (std::getline(status, strLine)) {
        if (strLine.compare(0, uiKey, szKey) == 0 && strLine.size() > uiKey && strLine[uiKey] == ':') {
            lKb = std::atol(strLine.c_str() + uiKey + 1);
            return true;
        }
    }
    return false;
}

// Proportional set size (shared pages divided among their users) from
// /proc/PID/smaps_rollup; -1 when unavailable.
long ReadPssKb(pid_t pid)
{
    std::ifstream rollup("/proc/" + std::to_string(pid) + "/smaps_rollup");
    std::string strLine;
    while (std::getline(rollup, strLine)) {
        if (strLine.compare(0, 4, "Pss:") == 0) {
            return std::atol(strLine.c_str() + 4);
        }
    }
    return -1;
}

bool ReadRssKb(pid_t pid, long& lRssKb)
{
    return ReadStatusKb(pid, "VmRSS", lRssKb);
}

// utime + stime in clock ticks (fields 14 and 15 of /proc/PID/stat).
bool ReadCpuTicks(pid_t pid, unsigned long long& ullTicks)
{
    std::ifstream statFile("/proc/" + std::to_string(pid) + "/stat");
    std::string strLine;
    if (!std::getline(statFile, strLine)) {
        return false;
    }
    const size_t uiParen = strLine.rfind(')');
    if (uiParen == std::string::npos) {
        return false;
    }
    std::istringstream fields(strLine.substr(uiParen + 2));
    std::string strField;
    unsigned long long ullUser = 0;
    unsigned long long ullSystem = 0;
    // Field 3 (state) is the first here; utime is field 14, stime 15.
    for (int iField = 3; iField <= 15 && (fields >> strField); ++iField) {
        if (iField == 14) {
            ullUser = std::strtoull(strField.c_str(), nullptr, 10);
        } else if (iField == 15) {
            ullSystem = std::strtoull(strField.c_str(), nullptr, 10);
        }
    }
    ullTicks = ullUser + ullSystem;
    return true;
}

// Time on the CPU of each thread, in nanoseconds (first field of schedstat).
std::map<std::string, unsigned long long> ReadThreadCpuNs(pid_t pid)
{
    const std::string strTasks = "/proc/" + std::to_string(pid) + "/task";
    std::map<std::string, unsigned long long> mapThreads;
    DIR* pDir = opendir(strTasks.c_str());
    if (!pDir) {
        return mapThreads;
    }
    while (const dirent* pEntry = readdir(pDir)) {
        if (pEntry->d_name[0] < '0' || pEntry->d_name[0] > '9') {
            continue;
        }
        std::ifstream schedstat(strTasks + "/" + pEntry->d_name + "/schedstat");
        unsigned long long ullNs = 0;
        if (schedstat >> ullNs) {
            mapThreads[pEntry->d_name] = ullNs;
        }
    }
    closedir(pDir);
    return mapThreads;
}

// CPU time between two readings: each thread's growth, all of a thread that
// began in between. (A thread that ended in between is missing here; the
// clock-tick figure of /proc/PID/stat includes it.)
unsigned long long CpuNsBetween(const std::map<std::string, unsigned long long>& mapBefore,
                                const std::map<std::string, unsigned long long>& mapAfter)
{
    unsigned long long ullTotal = 0;
    for (const auto& thread : mapAfter) {
        auto it = mapBefore.find(thread.first);
        const unsigned long long ullBefore = it == mapBefore.end() ? 0 : it->second;
        ullTotal += thread.second >= ullBefore ? thread.second - ullBefore : 0;
    }
    return ullTotal;
}

int Idle(const CArgs& args)
{
    if (args.iPid <= 0 || args.iSeconds <= 0) {
        return Usage();
    }
    const pid_t pid = args.iPid;
    unsigned long long ullTicks0 = 0;
    long lRss = 0;
    if (!ReadCpuTicks(pid, ullTicks0) || !ReadRssKb(pid, lRss)) {
        std::printf("error=no_process\n");
        return 1;
    }
    const std::map<std::string, unsigned long long> mapNs0 = ReadThreadCpuNs(pid);
    long lMaxRss = lRss;
    for (int i = 0; i < args.iSeconds; ++i) {
        std::this_thread::sleep_for(std::chrono::seconds(1));
        if (!ReadRssKb(pid, lRss)) {
            std::printf("error=ended\n");
            return 1;
        }
        lMaxRss = lRss > lMaxRss ? lRss : lMaxRss;
    }
    unsigned long long ullTicks1 = 0;
    ReadCpuTicks(pid, ullTicks1);
    const std::map<std::string, unsigned long long> mapNs1 = ReadThreadCpuNs(pid);
    const double dTickMs = 1000.0 / static_cast<double>(sysconf(_SC_CLK_TCK));
    long lAnon = 0;
    long lFile = 0;
    long lShmem = 0;
    ReadStatusKb(pid, "RssAnon", lAnon);
    ReadStatusKb(pid, "RssFile", lFile);
    ReadStatusKb(pid, "RssShmem", lShmem);
    std::printf("rss_kb=%ld max_rss_kb=%ld anon_kb=%ld file_kb=%ld shmem_kb=%ld pss_kb=%ld cpu_ms=%.1f "
                "cpu_exact_ms=%.3f seconds=%d\n",
                lRss, lMaxRss, lAnon, lFile, lShmem, ReadPssKb(pid),
                static_cast<double>(ullTicks1 - ullTicks0) * dTickMs,
                static_cast<double>(CpuNsBetween(mapNs0, mapNs1)) / 1e6, args.iSeconds);
    return 0;
}


// The name of a finished copy in a capture printer's folder: not its .part
// while it is written, not its .args.
bool IsFinishedCopy(const std::string& strName)
{
    for (const std::string strEnd : {".part", ".args"}) {
        if (strName.size() >= strEnd.size() &&
            strName.compare(strName.size() - strEnd.size(), strEnd.size(), strEnd) == 0) {
            return false;
        }
    }
    return !strName.empty();
}

int CaptureProbe(const CArgs& args)
{
    if (args.strDir.empty() || args.vecProgram.empty()) {
        return Usage();
    }
    const int iNotify = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (iNotify < 0 || inotify_add_watch(iNotify, args.strDir.c_str(), IN_MOVED_TO | IN_CLOSE_WRITE) < 0) {
        std::printf("error=no_watch\n");
        return 1;
    }
    Clock::time_point tpStart = Clock::now();
    const pid_t pid = Start(args, false, &tpStart);
    if (pid < 0) {
        std::perror("fork");
        return 1;
    }
    bool bEnded = false;
    for (;;) {
        alignas(struct inotify_event) char achEvents[8192];
        const ssize_t iRead = read(iNotify, achEvents, sizeof(achEvents));
        for (ssize_t iAt = 0; iAt < iRead;) {
            const struct inotify_event* pEvent = reinterpret_cast<const struct inotify_event*>(achEvents + iAt);
            iAt += static_cast<ssize_t>(sizeof(struct inotify_event) + pEvent->len);
            const std::string strName = pEvent->len ? pEvent->name : "";
            if (IsFinishedCopy(strName)) {
                std::printf("done_ms=%.2f file=%s pid=%d\n", MillisecondsSince(tpStart), strName.c_str(),
                            static_cast<int>(pid));
                close(iNotify);
                return 0;
            }
        }
        int iStatus = 0;
        if (!bEnded && waitpid(pid, &iStatus, WNOHANG) == pid) {
            bEnded = true;
            if (!WIFEXITED(iStatus) || WEXITSTATUS(iStatus) != 0) {
                std::printf("error=program_failed pid=%d\n", static_cast<int>(pid));
                close(iNotify);
                return 1;
            }
        }
        if (MillisecondsSince(tpStart) > args.iTimeoutMs) {
            std::printf("error=timeout pid=%d\n", static_cast<int>(pid));
            close(iNotify);
            return 1;
        }
        fd_set fds;
        FD_ZERO(&fds);
        FD_SET(iNotify, &fds);
        timeval tv{0, 20000}; // wake now and then to notice the program's end
        select(iNotify + 1, &fds, nullptr, nullptr, &tv);
    }
}

// The first number of a "Key:" line of /proc/PID/status; -1 when absent.
long StatusNumber(pid_t pid, const char* szKey)
{
    long lValue = -1;
    return ReadStatusKb(pid, szKey, lValue) ? lValue : -1;
}

int PeakProbe(const CArgs& args)
{
    if (args.vecProgram.empty()) {
        return Usage();
    }
    // Out of time the probe ends, and its tracees with it (EXITKILL).
    alarm(static_cast<unsigned>((args.iTimeoutMs + 999) / 1000));
    const Clock::time_point tpStart = Clock::now();
    const pid_t pidMain = Start(args, true);
    if (pidMain < 0) {
        std::perror("fork");
        return 1;
    }
    // The first stop is after the exec. From there on forks are followed,
    // and every process stops once more just before it ends.
    int iStatus = 0;
    if (waitpid(pidMain, &iStatus, 0) != pidMain || !WIFSTOPPED(iStatus)) {
        std::printf("error=not_started\n");
        return 1;
    }
    const long lOptions = PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK | PTRACE_O_TRACEEXEC | PTRACE_O_TRACEEXIT |
                          PTRACE_O_EXITKILL;
    ptrace(PTRACE_SETOPTIONS, pidMain, nullptr, reinterpret_cast<void*>(lOptions));
    ptrace(PTRACE_CONT, pidMain, nullptr, nullptr);
    std::map<pid_t, bool> mapStarted; // the traced processes: true once their first stop was seen
    mapStarted[pidMain] = true;
    int iExit = -1;
    for (;;) {
        const pid_t pid = waitpid(-1, &iStatus, __WALL);
        if (pid < 0) {
            break;
        }
        if (WIFEXITED(iStatus) || WIFSIGNALED(iStatus)) {
            mapStarted.erase(pid);
            if (pid == pidMain) {
                iExit = WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : 128 + WTERMSIG(iStatus);
            }
            if (iExit >= 0 && mapStarted.empty()) {
                break;
            }
            continue;
        }
        if (!WIFSTOPPED(iStatus)) {
            continue;
        }
        const int iEvent = iStatus >> 16;
        const int iSignal = WSTOPSIG(iStatus);
        long lDeliver = 0;
        if (iEvent == PTRACE_EVENT_EXIT) {
            std::printf("process pid=%d ppid=%ld uid=%ld hwm_kb=%ld rss_kb=%ld\n", static_cast<int>(pid),
                        StatusNumber(pid, "PPid"), StatusNumber(pid, "Uid"), StatusNumber(pid, "VmHWM"),
                        StatusNumber(pid, "VmRSS"));
        } else if (iEvent == 0 && !(iSignal == SIGSTOP && !mapStarted[pid])) {
            lDeliver = iSignal; // the process's own signal (not a new process's first stop)
        }
        mapStarted[pid] = true;
        ptrace(PTRACE_CONT, pid, nullptr, reinterpret_cast<void*>(lDeliver));
    }
    std::printf("exit=%d ms=%.1f\n", iExit, MillisecondsSince(tpStart));
    return iExit == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    CArgs args;
    if (!ParseArgs(argc, argv, args)) {
        return Usage();
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    if (args.strCommand == "serve") {
        return Serve(args);
    }
    if (args.strCommand == "window") {
        return WindowProbe(args);
    }
    if (args.strCommand == "capture") {
        return CaptureProbe(args);
    }
    if (args.strCommand == "peak") {
        return PeakProbe(args);
    }
    if (args.strCommand == "idle") {
        return Idle(args);
    }
    return Usage();
}
