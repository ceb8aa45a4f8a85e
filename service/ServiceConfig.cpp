#include "service/ServiceConfig.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <set>
#include <sys/stat.h>
#include <unistd.h>
#include "service/ServiceClock.h"

namespace OrvService {

namespace {

const size_t MAX_FILE_BYTES = 4 * 1024 * 1024;

enum ESection { SECTION_NONE, SECTION_SERVICE, SECTION_PRINTER, SECTION_PROJECT };

std::string Trim(const std::string& strText)
{
    const size_t uiBegin = strText.find_first_not_of(" \t");
    if (uiBegin == std::string::npos) {
        return std::string();
    }
    const size_t uiEnd = strText.find_last_not_of(" \t");
    return strText.substr(uiBegin, uiEnd - uiBegin + 1);
}

// UTF-16 units of a UTF-8 text; -1 when it is not well-formed UTF-8 (overlong
// forms, surrogates and values beyond U+10FFFF included).
long Utf16Units(const std::string& strText)
{
    long lUnits = 0;
    const unsigned char* p = reinterpret_cast<const unsigned char*>(strText.data());
    const unsigned char* pEnd = p + strText.size();
    while (p < pEnd) {
        const unsigned char c = *p;
        int iMore = 0;
        unsigned long ulCode = 0;
        if (c < 0x80) {
            ulCode = c;
        } else if (c >= 0xC2 && c <= 0xDF) {
            iMore = 1;
            ulCode = c & 0x1F;
        } else if (c >= 0xE0 && c <= 0xEF) {
            iMore = 2;
            ulCode = c & 0x0F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            iMore = 3;
            ulCode = c & 0x07;
        } else {
            return -1;
        }
        if (pEnd - p <= iMore) {
            return -1;
        }
        for (int i = 1; i <= iMore; ++i) {
            if ((p[i] & 0xC0) != 0x80) {
                return -1;
            }
            ulCode = (ulCode << 6) | (p[i] & 0x3F);
        }
        if ((iMore == 2 && (ulCode < 0x800 || (ulCode >= 0xD800 && ulCode <= 0xDFFF))) ||
            (iMore == 3 && (ulCode < 0x10000 || ulCode > 0x10FFFF))) {
            return -1;
        }
        lUnits += ulCode >= 0x10000 ? 2 : 1;
        p += iMore + 1;
    }
    return lUnits;
}

// A whole decimal number without sign; false when it is not one or exceeds
// lMax.
bool ParseWhole(const std::string& strText, long lMax, long& lValue)
{
    if (strText.empty() || strText.size() > 10 ||
        strText.find_first_not_of("0123456789") != std::string::npos) {
        return false;
    }
    lValue = std::strtol(strText.c_str(), nullptr, 10);
    return lValue <= lMax;
}

// A CUPS queue name: printable, no space, '/', '#', '\\', quotes; at most
// 127 bytes.
bool IsQueueName(const std::string& strName)
{
    if (strName.empty() || strName.size() > 127) {
        return false;
    }
    for (unsigned char c : strName) {
        if (c <= 0x20 || c == 0x7F || c == '/' || c == '#' || c == '\\' || c == '"' || c == '\'') {
            return false;
        }
    }
    return true;
}

// Raises the errors of one file.
class CParser {
public:
    explicit CParser(const std::string& strFile) : m_strFile(strFile) {}

    [[noreturn]] void Fail(int iLine, const std::string& strProblem) const
    {
        throw CServiceConfigError(m_strFile, iLine, strProblem);
    }

private:
    std::string m_strFile;
};

} // namespace

bool CServiceConfig::PRINTER_ENTRY::IsWithinHours(int iMinuteOfDay) const
{
    if (iHoursFrom < 0) {
        return true;
    }
    if (iHoursFrom < iHoursTo) {
        return iMinuteOfDay >= iHoursFrom && iMinuteOfDay < iHoursTo;
    }
    return iMinuteOfDay >= iHoursFrom || iMinuteOfDay < iHoursTo; // overnight
}

bool CServiceConfig::PROJECT_ENTRY::IsVisibleTo(const std::string& strUser,
                                                 const std::vector<std::string>& vecUserGroups) const
{
    if (vecUsers.empty() && vecGroups.empty()) {
        return true;
    }
    if (std::find(vecUsers.begin(), vecUsers.end(), strUser) != vecUsers.end()) {
        return true;
    }
    for (const std::string& strGroup : vecUserGroups) {
        if (std::find(vecGroups.begin(), vecGroups.end(), strGroup) != vecGroups.end()) {
            return true;
        }
    }
    return false;
}

std::string CServiceConfig::ConfiguredPath()
{
    const char* szPath = std::getenv(PATH_VARIABLE);
    return szPath && *szPath ? std::string(szPath) : std::string(DEFAULT_PATH);
}

std::string CServiceConfig::DefaultAccountingLog()
{
    const char* szPath = std::getenv(ACCOUNTING_LOG_VARIABLE);
    return szPath && szPath[0] == '/' ? std::string(szPath) : std::string(DEFAULT_ACCOUNTING_LOG);
}

CServiceConfig CServiceConfig::Load(const std::string& strPath)
{
    const int iFd = open(strPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (iFd < 0) {
        throw CServiceConfigError(strPath, 0, std::string("cannot be read (") + std::strerror(errno) + ")");
    }
    struct CCloseFd {
        int iFd;
        ~CCloseFd() { close(iFd); }
        CCloseFd(const CCloseFd&) = delete;
        CCloseFd& operator=(const CCloseFd&) = delete;
    } closeFd{iFd};
    struct stat st;
    if (fstat(iFd, &st) != 0 || !S_ISREG(st.st_mode)) {
        throw CServiceConfigError(strPath, 0, "is not a regular file");
    }
    if (static_cast<unsigned long long>(st.st_size) > MAX_FILE_BYTES) {
        throw CServiceConfigError(strPath, 0, "is larger than 4 MiB");
    }
    std::string strText;
    char achBuf[65536];
    for (;;) {
        const ssize_t iRead = read(iFd, achBuf, sizeof(achBuf));
        if (iRead < 0 && errno == EINTR) {
            continue;
        }
        if (iRead < 0) {
            throw CServiceConfigError(strPath, 0, std::string("cannot be read (") + std::strerror(errno) + ")");
        }
        if (iRead == 0) {
            break;
        }
        strText.append(achBuf, static_cast<size_t>(iRead));
        if (strText.size() > MAX_FILE_BYTES) {
            throw CServiceConfigError(strPath, 0, "is larger than 4 MiB");
        }
    }
    return Parse(strText, strPath);
}

CServiceConfig CServiceConfig::Parse(const std::string& strText, const std::string& strFile)
{
    CServiceConfig objConfig;
    try {
        ParseInto(strText, strFile, objConfig);
    } catch (CServiceConfigError& e) {
        e.SetAccountingLog(objConfig.m_strAccountingLog);
        throw;
    }
    return objConfig;
}

void CServiceConfig::ParseInto(const std::string& strText, const std::string& strFile, CServiceConfig& objConfig)
{
    PRINTER_ENTRY* pPrinter = nullptr;
    PROJECT_ENTRY* pProject = nullptr;
    const CParser objParser(strFile);
    ESection eSection = SECTION_NONE;
    int iSectionLine = 0;
    std::set<std::string> setKeys;          // keys seen in the current section
    std::set<std::string> setPrinterIds;
    std::set<std::string> setProjectIds;
    bool bServiceSeen = false;

    // A finished section must have its required keys.
    auto CloseSection = [&]() {
        if (eSection == SECTION_PRINTER) {
            if (!setKeys.count("Name")) {
                objParser.Fail(iSectionLine, "printer " + objConfig.m_vecPrinters.back().strId + " has no Name");
            }
            if (!setKeys.count("Queue")) {
                objParser.Fail(iSectionLine, "printer " + objConfig.m_vecPrinters.back().strId + " has no Queue");
            }
        } else if (eSection == SECTION_PROJECT) {
            if (!setKeys.count("Name")) {
                objParser.Fail(iSectionLine, "project " + objConfig.m_vecProjects.back().strId + " has no Name");
            }
        }
        setKeys.clear();
    };

    size_t uiAt = 0;
    int iLine = 0;
    if (strText.compare(0, 3, "\xEF\xBB\xBF") == 0) {
        uiAt = 3; // byte order mark
    }
    while (uiAt < strText.size()) {
        ++iLine;
        size_t uiEnd = strText.find('\n', uiAt);
        if (uiEnd == std::string::npos) {
            uiEnd = strText.size();
        }
        std::string strLine = strText.substr(uiAt, uiEnd - uiAt);
        uiAt = uiEnd + 1;
        if (!strLine.empty() && strLine.back() == '\r') {
            strLine.pop_back();
        }
        if (Utf16Units(strLine) < 0) {
            objParser.Fail(iLine, "not valid UTF-8");
        }
        if (strLine.find('\0') != std::string::npos) {
            objParser.Fail(iLine, "contains a NUL character");
        }
        // Comments: whole lines, and the rest of a line from " ;".
        for (size_t uiSemi = strLine.find(';'); uiSemi != std::string::npos; uiSemi = strLine.find(';', uiSemi + 1)) {
            if (uiSemi > 0 && (strLine[uiSemi - 1] == ' ' || strLine[uiSemi - 1] == '\t')) {
                strLine.erase(uiSemi);
                break;
            }
        }
        strLine = Trim(strLine);
        if (strLine.empty() || strLine[0] == ';' || strLine[0] == '#') {
            continue;
        }

        if (strLine[0] == '[') {
            if (strLine.back() != ']') {
                objParser.Fail(iLine, "a section line must end with ']'");
            }
            CloseSection();
            const std::string strName = strLine.substr(1, strLine.size() - 2);
            iSectionLine = iLine;
            if (strName == "Service") {
                if (bServiceSeen) {
                    objParser.Fail(iLine, "section [Service] repeated");
                }
                bServiceSeen = true;
                eSection = SECTION_SERVICE;
                continue;
            }
            const bool bPrinter = strName.compare(0, 8, "Printer:") == 0;
            const bool bProject = strName.compare(0, 8, "Project:") == 0;
            if (!bPrinter && !bProject) {
                objParser.Fail(iLine, "unknown section [" + strName + "]");
            }
            const std::string strId = strName.substr(8);
            const long lUnits = Utf16Units(strId);
            const std::string strKind = bPrinter ? "printer" : "project";
            if (strId.empty()) {
                objParser.Fail(iLine, strKind + " id is empty");
            }
            if (lUnits > static_cast<long>(MAX_ID_UNITS)) {
                objParser.Fail(iLine, strKind + " id " + strId + " is longer than 9 characters");
            }
            if (strId != Trim(strId) || strId.find_first_of(",") != std::string::npos) {
                objParser.Fail(iLine, strKind + " id \"" + strId + "\" has white space or a comma");
            }
            if (bPrinter) {
                if (!setPrinterIds.insert(strId).second) {
                    objParser.Fail(iLine, "printer id " + strId + " repeated");
                }
                if (objConfig.m_vecPrinters.size() >= MAX_PRINTERS) {
                    objParser.Fail(iLine, "too many printers (at most 100)");
                }
                objConfig.m_vecPrinters.push_back(PRINTER_ENTRY());
                pPrinter = &objConfig.m_vecPrinters.back();
                pPrinter->strId = strId;
                pPrinter->iLine = iLine;
                eSection = SECTION_PRINTER;
            } else {
                if (!setProjectIds.insert(strId).second) {
                    objParser.Fail(iLine, "project id " + strId + " repeated");
                }
                objConfig.m_vecProjects.push_back(PROJECT_ENTRY());
                pProject = &objConfig.m_vecProjects.back();
                pProject->strId = strId;
                pProject->iLine = iLine;
                eSection = SECTION_PROJECT;
            }
            continue;
        }

        const size_t uiEqual = strLine.find('=');
        if (uiEqual == std::string::npos) {
            objParser.Fail(iLine, "not a section or a key=value line");
        }
        const std::string strKey = Trim(strLine.substr(0, uiEqual));
        const std::string strValue = Trim(strLine.substr(uiEqual + 1));
        if (eSection == SECTION_NONE) {
            objParser.Fail(iLine, "key " + strKey + " outside a section");
        }
        if (!setKeys.insert(strKey).second) {
            objParser.Fail(iLine, "key " + strKey + " repeated");
        }
        auto Text = [&](std::string& strTo) {
            if (Utf16Units(strValue) > static_cast<long>(MAX_TEXT_UNITS)) {
                objParser.Fail(iLine, strKey + " is longer than 1023 characters");
            }
            strTo = strValue;
        };
        auto Queue = [&](std::string& strTo, bool bMayBeEmpty) {
            if (!(bMayBeEmpty && strValue.empty()) && !IsQueueName(strValue)) {
                objParser.Fail(iLine, strKey + " \"" + strValue + "\" is not a CUPS queue name");
            }
            strTo = strValue;
        };

        if (eSection == SECTION_SERVICE) {
            if (strKey == "AnswerTimeoutSeconds") {
                long lValue = 0;
                if (!ParseWhole(strValue, MAX_ANSWER_TIMEOUT, lValue) || lValue < 1) {
                    objParser.Fail(iLine, "AnswerTimeoutSeconds must be a whole number from 1 to 86400");
                }
                objConfig.m_iAnswerTimeoutSeconds = static_cast<int>(lValue);
            } else if (strKey == "RoamingQueue") {
                Queue(objConfig.m_strRoamingQueue, true);
            } else if (strKey == "AccountingLog") {
                if (!strValue.empty() && (strValue[0] != '/' || strValue.back() == '/')) {
                    objParser.Fail(iLine, "AccountingLog must be an absolute path");
                }
                objConfig.m_strAccountingLog = strValue;
            } else {
                objParser.Fail(iLine, "unknown key " + strKey + " in [Service]");
            }
        } else if (eSection == SECTION_PRINTER) {
            if (strKey == "Name") {
                Text(pPrinter->strName);
            } else if (strKey == "Queue") {
                Queue(pPrinter->strQueue, false);
            } else if (strKey == "Comment") {
                Text(pPrinter->strComment);
            } else if (strKey == "Description") {
                Text(pPrinter->strDescription);
            } else if (strKey == "MaxPagesPerJob") {
                long lValue = 0;
                if (!strValue.empty() && !ParseWhole(strValue, 0x7FFFFFFF, lValue)) {
                    objParser.Fail(iLine, "MaxPagesPerJob must be a whole number of 0 or more");
                }
                pPrinter->iMaxPagesPerJob = static_cast<int>(lValue);
            } else if (strKey == "Hours") {
                const size_t uiDash = strValue.find('-');
                const int iFrom = uiDash == 5 ? CServiceClock::Parse(strValue.substr(0, 5)) : -1;
                const int iTo = uiDash == 5 ? CServiceClock::Parse(strValue.substr(6)) : -1;
                if (iFrom < 0 || iTo < 0) {
                    objParser.Fail(iLine, "Hours must be HH:MM-HH:MM");
                }
                if (iFrom == iTo) {
                    objParser.Fail(iLine, "Hours must not begin and end at the same time");
                }
                pPrinter->iHoursFrom = iFrom;
                pPrinter->iHoursTo = iTo;
            } else {
                objParser.Fail(iLine, "unknown key " + strKey + " in [Printer:" + pPrinter->strId + "]");
            }
        } else {
            if (strKey == "Name") {
                Text(pProject->strName);
            } else if (strKey == "Comment") {
                Text(pProject->strComment);
            } else if (strKey == "Users") {
                size_t uiFrom = 0;
                while (!strValue.empty() && uiFrom <= strValue.size()) {
                    size_t uiComma = strValue.find(',', uiFrom);
                    if (uiComma == std::string::npos) {
                        uiComma = strValue.size();
                    }
                    const std::string strEntry = Trim(strValue.substr(uiFrom, uiComma - uiFrom));
                    uiFrom = uiComma + 1;
                    if (strEntry.empty() || strEntry == "@" || strEntry.find_first_of(" \t") != std::string::npos) {
                        objParser.Fail(iLine, "Users must be user names and @groups separated by commas");
                    }
                    if (strEntry[0] == '@') {
                        pProject->vecGroups.push_back(strEntry.substr(1));
                    } else {
                        pProject->vecUsers.push_back(strEntry);
                    }
                }
            } else {
                objParser.Fail(iLine, "unknown key " + strKey + " in [Project:" + pProject->strId + "]");
            }
        }
    }
    CloseSection();
}

const CServiceConfig::PRINTER_ENTRY* CServiceConfig::FindPrinter(const std::string& strId) const
{
    for (const PRINTER_ENTRY& stuPrinter : m_vecPrinters) {
        if (stuPrinter.strId == strId) {
            return &stuPrinter;
        }
    }
    return nullptr;
}

std::vector<const CServiceConfig::PROJECT_ENTRY*>
CServiceConfig::VisibleProjects(const std::string& strUser, const std::vector<std::string>& vecUserGroups) const
{
    std::vector<const PROJECT_ENTRY*> vecVisible;
    for (const PROJECT_ENTRY& stuProject : m_vecProjects) {
        if (vecVisible.size() < MAX_PROJECTS && stuProject.IsVisibleTo(strUser, vecUserGroups)) {
            vecVisible.push_back(&stuProject);
        }
    }
    return vecVisible;
}

} // namespace OrvService
