#include "language/CommandLine.h"

#include <cerrno>
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

    pid_t pid = 0;
    if (posix_spawn(&pid, strProgramFile.c_str(), nullptr, nullptr, ppArgs, environ) == 0) {
        ReapWhenDone(pid);
    }
}

} // namespace Language
