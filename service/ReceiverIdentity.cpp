#include "service/ReceiverIdentity.h"

#include "Src/PrintingService/Common/Include/MsgQueueLayout.h"
#include "service/ScopedFd.h"
#include "utility/posix/NamedObjectPath.h"
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <unistd.h>

namespace OrvService {

std::string CReceiverIdentity::Current()
{
    using OrvUtility::CMsgQueueLayout;
    OrvUtility::CNamedObjectLocation location;
    if (!OrvUtility::LocateNamedObject(CMsgQueueLayout::ExistenceMutexName(ORVPRINT_QUEUE_NAME), location)) {
        return std::string();
    }
    const CScopedFd objFd(
        OrvUtility::OpenNamedObjectFile(location, OrvUtility::NAMED_FILE_REGULAR, false, 0600, true, nullptr));
    if (!objFd.IsValid()) {
        return std::string();
    }
    // The owner record: the pid, blank-padded, one line.
    char szRecord[32] = {};
    const ssize_t iRead = pread(objFd.Get(), szRecord, sizeof(szRecord) - 1, 0);
    if (iRead <= 0) {
        return std::string();
    }
    char* pEnd = nullptr;
    const long lPid = std::strtol(szRecord, &pEnd, 10);
    if (pEnd == szRecord || lPid <= 0) {
        return std::string();
    }
    return OfProcess(lPid);
}

std::string CReceiverIdentity::OfProcess(long lPid)
{
    std::ifstream stat("/proc/" + std::to_string(lPid) + "/stat");
    std::string strStat;
    std::getline(stat, strStat);
    // Field 22, start time; the name (field 2) is in parentheses and may
    // hold anything, so count from the last ')'.
    const size_t uiName = strStat.rfind(')');
    if (uiName == std::string::npos) {
        return std::string();
    }
    size_t uiAt = uiName + 1;
    for (int iField = 3; iField < 22 && uiAt != std::string::npos; ++iField) {
        uiAt = strStat.find(' ', uiAt + 1);
    }
    if (uiAt == std::string::npos) {
        return std::string();
    }
    const size_t uiEnd = strStat.find(' ', uiAt + 1);
    return std::to_string(lPid) + " " +
           strStat.substr(uiAt + 1, uiEnd == std::string::npos ? std::string::npos : uiEnd - uiAt - 1);
}

} // namespace OrvService
