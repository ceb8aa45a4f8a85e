#include "logging/log4cpp/LogConfigurator.h"

#include <fstream>
#include <iostream>
#include "logging/log4cpp/LogFilter.h"

namespace {

const char* const kSwitchKeys[] = {"OutputParam", "OutputFunBeginInfo", "OutputNTEventLog",
                                   "OutputNDCFullmessage"};

std::string WithoutBlanks(const std::string& strText)
{
    std::string strResult;
    strResult.reserve(strText.size());
    for (char ch : strText) {
        if (ch != ' ') {
            strResult += ch;
        }
    }
    return strResult;
}

std::string LowerAscii(std::string strText)
{
    for (char& ch : strText) {
        if (ch >= 'A' && ch <= 'Z') {
            ch = static_cast<char>(ch - 'A' + 'a');
        }
    }
    return strText;
}

} // namespace

LogConfigurator::LogConfigurator(OutputSwitchTable& table) : m_table(table), m_pFilter(nullptr), m_iGroupCount(0) {}

LogConfigurator::~LogConfigurator()
{
    delete m_pFilter;
}

LogFilter* LogConfigurator::ReleaseFilter()
{
    LogFilter* pFilter = m_pFilter;
    m_pFilter = nullptr;
    return pFilter;
}

void LogConfigurator::Configure(const std::string& strPath)
{
    std::ifstream in(strPath.c_str());
    if (!in.is_open()) {
        std::cout << "Config File" << strPath << "does not exist or is unreadable" << std::endl;
        return;
    }
    // A line longer than 1023 characters fails the stream and ends the reading.
    char szLine[1024];
    while (in.getline(szLine, sizeof(szLine))) {
        ReadLine(szLine);
    }
}

void LogConfigurator::ReadLine(std::string strLine)
{
    // A file written on Windows read elsewhere: drop the carriage return.
    if (!strLine.empty() && strLine.back() == '\r') {
        strLine.pop_back();
    }
    if (strLine.empty() || strLine[0] == '#') {
        return;
    }
    const size_t uiComment = strLine.find('#');
    if (uiComment != std::string::npos) {
        strLine.erase(uiComment);
    }
    const size_t uiEqual = strLine.find('=');
    if (uiEqual == std::string::npos) {
        return;
    }
    const std::string strKey = strLine.substr(0, uiEqual);
    const std::string strValue = strLine.substr(uiEqual + 1);

    ReadSwitches(strKey, strValue);
    if (strLine.find("filter") != std::string::npos) {
        ReadFilterKey(strKey, strValue);
    }
}

void LogConfigurator::ReadSwitches(const std::string& strKey, const std::string& strValue)
{
    for (const char* szWord : kSwitchKeys) {
        const std::string strWord(szWord);
        if (strKey.find(strWord) == std::string::npos) {
            continue;
        }
        // "OutputParam.OrvprintD_exe = True": the name follows the word and
        // one separator.
        const std::string strCompactKey = WithoutBlanks(strKey);
        const std::string strCompactValue = LowerAscii(WithoutBlanks(strValue));
        if (strCompactKey.size() < strWord.size() + 1) {
            continue;
        }
        m_table.Set(strCompactKey.substr(strWord.size() + 1), strWord, strCompactValue == "true");
    }
}

void LogConfigurator::ReadFilterKey(std::string strKey, const std::string& strValue)
{
    const size_t uiDot = strKey.find('.');
    if (uiDot != std::string::npos && strKey.compare(0, uiDot, "filter") == 0) {
        strKey.erase(0, uiDot + 1);
    }
    // Exact names, untrimmed: "filter.module =x" is no key of a group.
    if (strKey == "module") {
        m_strModule = strValue;
    } else if (strKey == "class") {
        m_strClass = strValue;
    } else if (strKey == "function") {
        m_strFunction = strValue;
    } else if (strKey == "putoutpermission") {
        m_strPermission = strValue;
    } else {
        return;
    }
    if (++m_iGroupCount < 4) {
        return;
    }
    m_iGroupCount = 0;
    LogFilter* pFilter = new LogFilter(m_strModule, m_strClass, m_strFunction, m_strPermission);
    if (!m_pFilter) {
        m_pFilter = pFilter;
    } else {
        m_pFilter->appendChainedFilter(pFilter);
    }
}
