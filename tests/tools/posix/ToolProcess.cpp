#include "tests/tools/ToolProcess.h"

#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include "support/TempFolder.h"

extern char** environ;

namespace orvtest {

int RunTool(const std::string& strProgram, const std::vector<std::string>& vecArgs, std::string& strOut,
            std::string& strErr)
{
    TempFolder folder;
    const std::string strOutPath = folder.File("stdout");
    const std::string strErrPath = folder.File("stderr");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, strOutPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, strErrPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    std::vector<char*> vecArgv;
    vecArgv.push_back(const_cast<char*>(strProgram.c_str()));
    for (const std::string& strArg : vecArgs) {
        vecArgv.push_back(const_cast<char*>(strArg.c_str()));
    }
    vecArgv.push_back(nullptr);
    pid_t pid = 0;
    const int iSpawn = posix_spawn(&pid, strProgram.c_str(), &actions, nullptr, vecArgv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (iSpawn != 0) {
        return -1;
    }
    int iStatus = 0;
    pid_t r;
    do {
        r = waitpid(pid, &iStatus, 0);
    } while (r < 0 && errno == EINTR);
    strOut = ReadWholeFile(strOutPath);
    strErr = ReadWholeFile(strErrPath);
    if (r < 0) {
        return -1;
    }
    return WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : 128 + WTERMSIG(iStatus);
}

} // namespace orvtest
