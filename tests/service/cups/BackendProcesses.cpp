#include "tests/service/cups/BackendProcesses.h"

#include <dirent.h>
#include <fstream>

namespace orvtest {

std::vector<BACKEND_PROCESS> BackendProcesses()
{
    std::vector<BACKEND_PROCESS> vecOut;
    DIR* pDir = opendir("/proc");
    if (!pDir) {
        return vecOut;
    }
    while (struct dirent* pEntry = readdir(pDir)) {
        const std::string strPid = pEntry->d_name;
        if (strPid.find_first_not_of("0123456789") != std::string::npos) {
            continue;
        }
        std::ifstream cmdline("/proc/" + strPid + "/cmdline", std::ios::binary);
        std::string strArg0;
        std::getline(cmdline, strArg0, '\0');
        if (strArg0 != "orvprint:/") {
            continue;
        }
        BACKEND_PROCESS stuProcess;
        stuProcess.pid = static_cast<pid_t>(std::stol(strPid));
        std::ifstream status("/proc/" + strPid + "/status");
        std::string strLine;
        bool bSeen = false;
        while (std::getline(status, strLine)) {
            if (strLine.compare(0, 4, "Uid:") == 0) {
                stuProcess.uidReal = static_cast<uid_t>(std::stoul(strLine.substr(5)));
                bSeen = true;
            }
            if (strLine.compare(0, 4, "Uid:") == 0 || strLine.compare(0, 4, "Gid:") == 0 ||
                strLine.compare(0, 7, "Groups:") == 0) {
                stuProcess.strCredentials += strLine + "\n";
            }
        }
        if (bSeen) {
            vecOut.push_back(stuProcess);
        }
    }
    closedir(pDir);
    return vecOut;
}

} // namespace orvtest
