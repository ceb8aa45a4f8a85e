#include "logging/log4cpp/LogFileGuard.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <sstream>
#include <log4cpp/Category.hh>
#include <log4cpp/FileAppender.hh>
#include "logging/FunctionTraceScope.h"
#include "logging/LogMacros.h"
#include "logging/log4cpp/LogFileState.h"
#include "logging/log4cpp/LogState.h"

namespace {

const char* const NULL_DEVICE = "/dev/null";

std::string Trimmed(const std::string& strText)
{
    const char* const szBlanks = " \t\r\n";
    const size_t uiBegin = strText.find_first_not_of(szBlanks);
    if (uiBegin == std::string::npos) {
        return std::string();
    }
    return strText.substr(uiBegin, strText.find_last_not_of(szBlanks) - uiBegin + 1);
}

bool EndsWith(const std::string& strText, const std::string& strEnd)
{
    return strText.size() >= strEnd.size() && strText.compare(strText.size() - strEnd.size(), strEnd.size(), strEnd) == 0;
}

// "${NAME}" as log4cpp replaces it: the environment variable, else a
// property defined before, else nothing; "${" without "}" stays as it is.
std::string Substituted(const std::string& strValue, const std::map<std::string, std::string>& mapProperties)
{
    size_t uiRight = strValue.find("${");
    if (uiRight == std::string::npos) {
        return strValue;
    }
    std::string strResult;
    size_t uiLeft = 0;
    for (;;) {
        strResult += strValue.substr(uiLeft, uiRight - uiLeft);
        if (uiRight == std::string::npos) {
            break;
        }
        uiLeft = uiRight + 2;
        uiRight = strValue.find('}', uiLeft);
        if (uiRight == std::string::npos) {
            strResult += strValue.substr(uiLeft - 2);
            break;
        }
        const std::string strKey = strValue.substr(uiLeft, uiRight - uiLeft);
        if (strKey == "${") {
            strResult += "${";
        } else if (const char* szEnv = std::getenv(strKey.c_str())) {
            strResult += szEnv;
        } else {
            const auto it = mapProperties.find(strKey);
            if (it != mapProperties.end()) {
                strResult += it->second;
            }
        }
        uiLeft = uiRight + 1;
        uiRight = strValue.find("${", uiLeft);
    }
    return strResult;
}

// The properties as log4cpp loads them: "#" starts a comment, key and value
// are trimmed, a "log4cpp." or "log4j." prefix is dropped, the first
// definition of a key wins.
std::map<std::string, std::string> LoadProperties(const std::string& strText)
{
    std::map<std::string, std::string> mapProperties;
    std::istringstream in(strText);
    std::string strLine;
    while (std::getline(in, strLine)) {
        const size_t uiComment = strLine.find('#');
        if (uiComment == 0) {
            continue;
        }
        const std::string strCommand = uiComment == std::string::npos ? strLine : strLine.substr(0, uiComment);
        const size_t uiEqual = strCommand.find('=');
        if (uiEqual == std::string::npos) {
            continue;
        }
        std::string strKey = Trimmed(strCommand.substr(0, uiEqual));
        const std::string strValue = Substituted(Trimmed(strCommand.substr(uiEqual + 1)), mapProperties);
        const size_t uiDot = strKey.find('.');
        const std::string strFirst = strKey.substr(0, uiDot);
        if (strFirst == "log4j" || strFirst == "log4cpp") {
            strKey.erase(0, uiDot == std::string::npos ? strKey.size() : uiDot + 1);
        }
        mapProperties.insert(std::make_pair(strKey, strValue));
    }
    return mapProperties;
}

// A text that log4cpp's substitution gives back as it is: each "${" is
// written as "${${}".
std::string Unsubstituted(const std::string& strText)
{
    std::string strResult;
    size_t uiLeft = 0;
    for (size_t uiAt = strText.find("${"); uiAt != std::string::npos; uiAt = strText.find("${", uiLeft)) {
        strResult += strText.substr(uiLeft, uiAt - uiLeft) + "${${}";
        uiLeft = uiAt + 2;
    }
    return strResult + strText.substr(uiLeft);
}

// The configured path and the descriptor of a file appender, which log4cpp
// keeps protected.
struct FileAppenderFields : log4cpp::FileAppender {
    static const std::string& FileName(const log4cpp::FileAppender& appender)
    {
        return appender.*(&FileAppenderFields::_fileName);
    }
    static int Descriptor(const log4cpp::FileAppender& appender) { return appender.*(&FileAppenderFields::_fd); }
};

} // namespace

const char* CLogFileGuard::InLogFolder(const std::string& strName, std::string& strPath)
{
    strPath.clear();
    switch (LogFileState::KindOfName(strName)) {
    case LogFileState::NAME_FULL:
        strPath = strName;
        return nullptr;
    case LogFileState::NAME_DRIVE_RELATIVE:
        return "it is relative to the current folder of a drive, not a name in the log folder.";
    case LogFileState::NAME_RELATIVE:
    default:
        break;
    }
    const std::string& strFolder = LogState::GetLogFolder();
    if (strFolder.empty()) {
        return "it is a relative name and there is no log folder (LogDir) to take it in.";
    }
    const std::string strInFolder = LogFileState::InFolder(strFolder, strName);
    if (strInFolder.find('#') != std::string::npos) {
        // The configuration cannot hold it: "#" begins a comment there.
        return "its path in the log folder has a \"#\", which the configuration cannot hold.";
    }
    strPath = strInFolder;
    return nullptr;
}

CLogFileGuard::~CLogFileGuard()
{
    for (const SChecked& checked : m_vecChecked) {
        LogFileState::CloseChecked(checked.iFd);
    }
    LogFileState::CloseChecked(m_iMemoryFd);
}

std::vector<std::pair<std::string, std::string>> CLogFileGuard::FileAppenders(const std::string& strText)
{
    std::vector<std::pair<std::string, std::string>> vecFiles;
    const std::map<std::string, std::string> mapProperties = LoadProperties(strText);
    const std::string strPrefix = "appender.";
    for (const auto& property : mapProperties) {
        const std::string& strKey = property.first;
        if (strKey.compare(0, strPrefix.size(), strPrefix) != 0 ||
            strKey.find('.', strPrefix.size()) != std::string::npos || !EndsWith(property.second, "FileAppender")) {
            continue;
        }
        // log4cpp's own default when no file name is given.
        const auto it = mapProperties.find(strKey + ".fileName");
        vecFiles.emplace_back(strKey.substr(strPrefix.size()), it == mapProperties.end() ? "foobar" : it->second);
    }
    return vecFiles;
}

std::string CLogFileGuard::Prepare(const std::string& strConfigPath)
{
    LogFileState::DefineUserFolders();
    std::ifstream in(strConfigPath.c_str(), std::ios::binary);
    if (!in.is_open()) {
        return strConfigPath; // log4cpp reports it
    }
    const std::string strText((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());

    std::string strOverrides;
    for (const auto& file : FileAppenders(strText)) {
        // The first definition of a key wins: an override line, put first,
        // replaces the file name of the configuration.
        const std::string strKey = "log4cpp.appender." + file.first + ".fileName=";
        std::string strPath;
        const char* szRefusal = InLogFolder(file.second, strPath);
        int iFd = -1;
        if (!szRefusal) {
            iFd = LogFileState::OpenChecked(strPath, &szRefusal);
        }
        if (szRefusal) {
            m_vecRefused.emplace_back(strPath.empty() ? file.second : strPath, szRefusal);
            strOverrides += strKey + NULL_DEVICE + "\n";
            continue;
        }
        if (strPath != file.second) {
            strOverrides += strKey + Unsubstituted(strPath) + "\n";
        }
        if (iFd >= 0) {
            m_vecChecked.push_back(SChecked{strPath, iFd});
        }
    }
    if (strOverrides.empty()) {
        return strConfigPath;
    }
    const std::string strMemory = LogFileState::InMemoryFile(strOverrides + strText, &m_iMemoryFd);
    // Without a copy, no file appender may run: the configuration fails.
    return strMemory.empty() ? std::string() : strMemory;
}

void CLogFileGuard::Finish()
{
    std::unique_ptr<std::vector<log4cpp::Category*>> pCategories(log4cpp::Category::getCurrentCategories());
    std::set<log4cpp::FileAppender*> setDone;
    for (log4cpp::Category* pCategory : pCategories ? *pCategories : std::vector<log4cpp::Category*>()) {
        for (log4cpp::Appender* pAppender : pCategory->getAllAppenders()) {
            auto* pFile = dynamic_cast<log4cpp::FileAppender*>(pAppender);
            if (!pFile || !setDone.insert(pFile).second) {
                continue;
            }
            for (const SChecked& checked : m_vecChecked) {
                if (checked.strPath == FileAppenderFields::FileName(*pFile)) {
                    LogFileState::KeepCheckedFile(checked.iFd, FileAppenderFields::Descriptor(*pFile));
                }
            }
        }
    }
    if (m_vecRefused.empty()) {
        return;
    }
    FunctionTraceScope scope(ORV_LOG_MODULE, "", "InitLogging");
    for (const auto& refused : m_vecRefused) {
        LogFileState::ReportToConsole("OrvprintD: Refused log file " + refused.first + ": " + refused.second);
        ORV_LOG_ERROR("%s(%d) : Refused %s: %s", refused.first.c_str(), refused.second);
    }
}
