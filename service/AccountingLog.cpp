#include "service/AccountingLog.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>
#include "service/ScopedFd.h"

namespace OrvService {

namespace {

const mode_t FOLDER_MODE = 0750;
const mode_t FILE_MODE = 0640;

const char* OutcomeName(CAccountingLog::EOutcome eOutcome)
{
    switch (eOutcome) {
    case CAccountingLog::OUTCOME_PRINTED:
        return "printed";
    case CAccountingLog::OUTCOME_ROAMING:
        return "roaming";
    case CAccountingLog::OUTCOME_CANCELLED:
        return "cancelled";
    default:
        return "held";
    }
}

template <typename T> nlohmann::ordered_json ValueOrNull(const std::optional<T>& oValue)
{
    return oValue ? nlohmann::ordered_json(*oValue) : nlohmann::ordered_json(nullptr);
}

std::string Errno()
{
    return std::strerror(errno);
}

// Refuses what root must not write through: "" when st may be used.
std::string Refusal(const struct stat& st, const std::string& strWhat)
{
    if (st.st_uid != 0) {
        return strWhat + " is not root's";
    }
    if ((st.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return strWhat + " may be written by group or others";
    }
    return std::string();
}

bool IsLink(const std::string& strPath)
{
    struct stat st;
    return lstat(strPath.c_str(), &st) == 0 && S_ISLNK(st.st_mode);
}

} // namespace

CAccountingLog::CAccountingLog(const std::string& strPath)
    : m_strPath(strPath)
{
}

std::string CAccountingLog::FormatTime(time_t tTime)
{
    struct tm stuLocal;
    if (!localtime_r(&tTime, &stuLocal)) {
        return std::string();
    }
    char szText[64];
    const size_t uiLength = strftime(szText, sizeof(szText), "%Y-%m-%dT%H:%M:%S", &stuLocal);
    const long lOffset = stuLocal.tm_gmtoff;
    const long lMinutes = (lOffset < 0 ? -lOffset : lOffset) / 60;
    char szOffset[48];
    std::snprintf(szOffset, sizeof(szOffset), "%c%02ld:%02ld", lOffset < 0 ? '-' : '+', lMinutes / 60, lMinutes % 60);
    return std::string(szText, uiLength) + szOffset;
}

std::string CAccountingLog::FormatLine(const ENTRY& stuEntry, time_t tTime)
{
    nlohmann::ordered_json jLine;
    jLine["time"] = FormatTime(tTime);
    jLine["job"] = stuEntry.llJob;
    jLine["user"] = stuEntry.strUser;
    jLine["title"] = stuEntry.strTitle;
    jLine["type"] = stuEntry.strType;
    jLine["pages"] = ValueOrNull(stuEntry.oPages);
    jLine["copies"] = stuEntry.iCopies;
    jLine["printer"] = ValueOrNull(stuEntry.oPrinter);
    jLine["queue"] = ValueOrNull(stuEntry.oQueue);
    jLine["project"] = ValueOrNull(stuEntry.oProject);
    jLine["outcome"] = OutcomeName(stuEntry.eOutcome);
    jLine["reason"] = ValueOrNull(stuEntry.oReason);
    jLine["forwarded"] = ValueOrNull(stuEntry.oForwarded);
    return jLine.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

int CAccountingLog::OpenFolder(const std::string& strFolder, std::string& strProblem) const
{
    const std::string strWhat = "the accounting log folder " + strFolder;
    int iFd = open(strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (iFd < 0 && errno == ENOENT) {
        // Made one level at a time from the first that is missing.
        for (size_t uiSlash = strFolder.find('/', 1);; uiSlash = strFolder.find('/', uiSlash + 1)) {
            const std::string strLevel = strFolder.substr(0, uiSlash);
            if (mkdir(strLevel.c_str(), FOLDER_MODE) == 0) {
                CScopedFd objMade(open(strLevel.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
                struct stat st;
                // Only a folder root has just made is given to root's group.
                if (objMade.IsValid() && fstat(objMade.Get(), &st) == 0 && st.st_uid == 0) {
                    if (fchown(objMade.Get(), 0, 0) != 0 || fchmod(objMade.Get(), FOLDER_MODE) != 0) {
                        strProblem = strWhat + " cannot be made (" + Errno() + ")";
                        return -1;
                    }
                }
            } else if (errno != EEXIST) {
                strProblem = strWhat + " cannot be made (" + Errno() + ")";
                return -1;
            }
            if (uiSlash == std::string::npos) {
                break;
            }
        }
        iFd = open(strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    }
    if (iFd < 0) {
        strProblem = IsLink(strFolder) ? strWhat + " is a link" : strWhat + " cannot be opened (" + Errno() + ")";
        return -1;
    }
    CScopedFd objFolder(iFd);
    struct stat st;
    if (fstat(objFolder.Get(), &st) != 0) {
        strProblem = strWhat + " cannot be read (" + Errno() + ")";
        return -1;
    }
    strProblem = Refusal(st, strWhat);
    return strProblem.empty() ? objFolder.Release() : -1;
}

int CAccountingLog::OpenFile(int iFolderFd, const std::string& strName, std::string& strProblem) const
{
    const std::string strWhat = "the accounting log " + m_strPath;
    const int iFlags = O_WRONLY | O_APPEND | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    CScopedFd objFile(openat(iFolderFd, strName.c_str(), iFlags | O_CREAT | O_EXCL, FILE_MODE));
    if (objFile.IsValid()) {
        if (fchown(objFile.Get(), 0, 0) != 0 || fchmod(objFile.Get(), FILE_MODE) != 0) {
            strProblem = strWhat + " cannot be made root's (" + Errno() + ")";
            return -1;
        }
    } else if (errno == EEXIST) {
        objFile.Reset(openat(iFolderFd, strName.c_str(), iFlags));
    }
    if (!objFile.IsValid()) {
        strProblem = errno == ELOOP ? strWhat + " is a link" : strWhat + " cannot be opened (" + Errno() + ")";
        return -1;
    }
    struct stat st;
    if (fstat(objFile.Get(), &st) != 0) {
        strProblem = strWhat + " cannot be read (" + Errno() + ")";
        return -1;
    }
    if (!S_ISREG(st.st_mode)) {
        strProblem = strWhat + " is not a regular file";
        return -1;
    }
    if (st.st_nlink != 1) {
        strProblem = strWhat + " is a link (it has " + std::to_string(st.st_nlink) + " names)";
        return -1;
    }
    strProblem = Refusal(st, strWhat);
    return strProblem.empty() ? objFile.Release() : -1;
}

bool CAccountingLog::Append(const ENTRY& stuEntry, time_t tTime, std::string& strProblem) const
{
    if (m_strPath.empty()) {
        return true;
    }
    const size_t uiSlash = m_strPath.rfind('/');
    if (m_strPath[0] != '/' || uiSlash == m_strPath.size() - 1) {
        strProblem = "the accounting log " + m_strPath + " is not an absolute path of a file";
        return false;
    }
    CScopedFd objFolder(OpenFolder(uiSlash == 0 ? std::string("/") : m_strPath.substr(0, uiSlash), strProblem));
    if (!objFolder.IsValid()) {
        return false;
    }
    CScopedFd objFile(OpenFile(objFolder.Get(), m_strPath.substr(uiSlash + 1), strProblem));
    if (!objFile.IsValid()) {
        return false;
    }
    // One write for the whole line: appends of other backends go before or
    // after it, never into it.
    const std::string strLine = FormatLine(stuEntry, tTime);
    ssize_t iWritten;
    do {
        iWritten = write(objFile.Get(), strLine.data(), strLine.size());
    } while (iWritten < 0 && errno == EINTR);
    if (iWritten != static_cast<ssize_t>(strLine.size())) {
        strProblem = "the accounting log " + m_strPath + " cannot be written (" +
                     (iWritten < 0 ? Errno() : "only " + std::to_string(iWritten) + " bytes written") + ")";
        return false;
    }
    return true;
}

} // namespace OrvService
