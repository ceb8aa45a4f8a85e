#include "language/CommandLine.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <system_error>
#include <spawn.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <boost/bind/bind.hpp>
#include "language/CrtException.h"
#include "language/FileNotFoundException.h"
#include "language/InvalidDataException.h"
#include "language/TextConvert.h"
#include "language/scope_guard.h"

extern char** environ;

namespace Language {

namespace {

// A quoted part loses its enclosing quote characters: on Windows the started
// program's runtime library removes them when it parses its command line; here
// the argument vector reaches the program as it is.
std::string ArgumentFromPart(const std::wstring& strPart)
{
    if (strPart.size() >= 2 && strPart.front() == L'"' && strPart.back() == L'"') {
        return Utf8FromWide(strPart.substr(1, strPart.size() - 2));
    }
    return Utf8FromWide(strPart);
}

// Started programs are not waited for, but each is reaped when it ends so that
// it does not remain a zombie. Only that one child is waited for: no signal
// disposition of the process is changed.
void ReapWhenDone(pid_t pid)
{
    try {
        std::thread([pid]() {
            int iStatus = 0;
            while (waitpid(pid, &iStatus, 0) == -1 && errno == EINTR) {
            }
        }).detach();
    } catch (const std::system_error&) {
        // No thread to spare: the program runs all the same.
    }
}

} // namespace

void RunCommand(const std::wstring& strCommandLine)
{
    std::vector<std::wstring> vecParts;
    const size_t uiCount = SplitCommandLine(strCommandLine, vecParts);
    if (uiCount == 0) {
        throw InvalidDataException(L"命令的形式不正确。");
    }

    std::wstring strProgram;
    for (wchar_t c : vecParts[0]) {
        if (c != L'"') {
            strProgram += c;
        }
    }
    const std::string strProgramFile = Utf8FromWide(strProgram);
    if (access(strProgramFile.c_str(), F_OK) != 0) {
        throw FileNotFoundException(strProgram);
    }

    std::vector<std::string> vecArgs;
    vecArgs.reserve(uiCount);
    for (const std::wstring& strPart : vecParts) {
        vecArgs.push_back(ArgumentFromPart(strPart));
    }

    char** ppArgs = static_cast<char**>(std::malloc((uiCount + 1) * sizeof(char*)));
    if (!ppArgs) {
        throw CrtException("malloc");
    }
    scope_guard guardArgs(boost::bind(std::free, static_cast<void*>(ppArgs)));
    for (size_t i = 0; i < uiCount; ++i) {
        ppArgs[i] = const_cast<char*>(vecArgs[i].c_str());
    }
    ppArgs[uiCount] = nullptr;

    // The program gets standard input, output and error only: descriptors
    // that libraries of this process opened without close-on-exec (log4cpp's
    // log files, for one) would otherwise stay open in it for as long as it
    // runs. And it starts with no signal blocked and the quit signals at
    // their default action, whatever this process did with them.
    posix_spawn_file_actions_t actions;
    if (posix_spawn_file_actions_init(&actions) != 0) {
        throw CrtException("posix_spawn_file_actions_init");
    }
    scope_guard guardActions(boost::bind(posix_spawn_file_actions_destroy, &actions));
    posix_spawnattr_t attributes;
    if (posix_spawnattr_init(&attributes) != 0) {
        throw CrtException("posix_spawnattr_init");
    }
    scope_guard guardAttributes(boost::bind(posix_spawnattr_destroy, &attributes));
    sigset_t setEmpty;
    sigemptyset(&setEmpty);
    sigset_t setDefault;
    sigemptyset(&setDefault);
    for (int iSignal : {SIGTERM, SIGINT, SIGHUP, SIGPIPE}) {
        sigaddset(&setDefault, iSignal);
    }
    if (posix_spawn_file_actions_addclosefrom_np(&actions, 3) != 0 ||
        posix_spawnattr_setsigmask(&attributes, &setEmpty) != 0 ||
        posix_spawnattr_setsigdefault(&attributes, &setDefault) != 0 ||
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF) != 0) {
        throw CrtException("posix_spawn");
    }

    pid_t pid = 0;
    if (posix_spawn(&pid, strProgramFile.c_str(), &actions, &attributes, ppArgs, environ) == 0) {
        ReapWhenDone(pid);
    }
}

} // namespace Language
