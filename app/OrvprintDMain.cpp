#include "app/OrvprintDMain.h"

#include <cstdio>
#include "app/AppPlatform.h"
#include "app/OrvprintDApp.h"
#include "logging/LogFacade.h"
#include "logging/ValueText.h"

#ifndef ORVPRINTD_VERSION
#define ORVPRINTD_VERSION "0.0.0"
#endif

namespace {

const unsigned QUIT_WAIT_MS = 60000;

void PrintUsage(FILE* pOut)
{
    std::fprintf(pOut,
                 "Usage: OrvprintD [--version | --help | --quit]\n"
                 "\n"
                 "Without arguments OrvprintD runs as the desktop companion of the secure-printing\n"
                 "system: it shows the print-option dialog for jobs held by the printing service\n"
                 "and keeps the client tool running. Only one instance runs per machine.\n"
                 "\n"
                 "  --version  print the version and exit\n"
                 "  --help     print this text and exit\n"
                 "  --quit     ask the running instance to end, wait until it has exited\n"
                 "             (exit code 0: ended, 3: none was running, 4: it did not end in time,\n"
                 "             5: it runs under another account and this user may not end it)\n");
}

} // namespace

int HandleCommandLine(const std::vector<std::string>& vecArgs, bool& bRun)
{
    bRun = false;
    if (vecArgs.empty()) {
        bRun = true;
        return 0;
    }
    if (vecArgs.size() == 1) {
        const std::string& strArg = vecArgs[0];
        if (strArg == "--version") {
            std::printf("OrvprintD %s\n", ORVPRINTD_VERSION);
            return 0;
        }
        if (strArg == "--help" || strArg == "-h") {
            PrintUsage(stdout);
            return 0;
        }
        if (strArg == "--quit") {
            switch (AppPlatform::QuitRunningInstance(QUIT_WAIT_MS)) {
            case AppPlatform::QUIT_ENDED:
                std::printf("OrvprintD has ended.\n");
                return QUIT_DONE;
            case AppPlatform::QUIT_NONE:
                std::printf("OrvprintD is not running.\n");
                return QUIT_NONE_RUNNING;
            case AppPlatform::QUIT_NOT_ENDED:
                std::fprintf(stderr, "OrvprintD is running but could not be ended: this user may not end it "
                                     "(it runs under another account). Run --quit as that user or as an "
                                     "administrator.\n");
                return QUIT_NOT_PERMITTED;
            default:
                std::fprintf(stderr, "OrvprintD did not end within %u seconds.\n", QUIT_WAIT_MS / 1000);
                return QUIT_TIMED_OUT;
            }
        }
    }
    std::fprintf(stderr, "OrvprintD: unknown argument '%s'\n\n", vecArgs[0].c_str());
    PrintUsage(stderr);
    return USAGE_ERROR;
}

int RunOrvprintD()
{
    // Records convert wide text in the C library's locale: set it before the
    // first record, so that Chinese names come out from the first line on.
    paramtrace::SetRecordTextLocale();
    const std::string strLogConfig = FindLogConfigFile();
    // A relative log file name is taken in the log folder, not in whatever
    // folder the program was started in.
    SetLogFolder(FindLogFolder().c_str());
    InitLogging(strLogConfig.c_str());
    // No trace scope is open yet, so this record finds no category.
    if (IsFatalEnabled()) {
        LogFatal("Log4cpp config file : %s", strLogConfig.c_str());
    }
    COrvprintDApp objApp;
    objApp.InitInstance();
    ShutdownLogging();
    return 0;
}
