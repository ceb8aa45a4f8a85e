#include "language/posix/PrivateProfileDocument.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cwctype>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>
#include <boost/bind/bind.hpp>
#include "language/TextConvert.h"
#include "language/scope_guard.h"
#include "logging/posix/NoFollowFile.h"

namespace Language {

namespace {

const char UTF8_BOM[] = "\xEF\xBB\xBF";

const size_t MAX_FILE_BYTES = 1024 * 1024;

// Reads to the end, or until uiLimit bytes are there.
bool ReadAll(int iFd, std::string* pstrData, size_t uiLimit)
{
    char achBuffer[65536];
    while (pstrData->size() < uiLimit) {
        const ssize_t n = read(iFd, achBuffer, std::min(sizeof(achBuffer), uiLimit - pstrData->size()));
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        if (n == 0) {
            return true;
        }
        pstrData->append(achBuffer, static_cast<size_t>(n));
    }
    return true;
}

// One ERROR line for a refused file, not one for every value read from it
// (settings are read key by key): a refusal is logged again only after the
// file was read or found missing in between.
std::mutex g_mtxRefusal;
std::string g_strLastRefusal;

void ReportRefusal(const std::string& strPath, const char* szReason)
{
    const std::string strRefusal = strPath + '\n' + szReason;
    {
        std::lock_guard<std::mutex> lock(g_mtxRefusal);
        if (strRefusal == g_strLastRefusal) {
            return;
        }
        g_strLastRefusal = strRefusal;
    }
    NoFollowFile::LogRefused(strPath, szReason);
}

void ForgetRefusal(const std::string& strPath)
{
    std::lock_guard<std::mutex> lock(g_mtxRefusal);
    if (g_strLastRefusal.compare(0, strPath.size() + 1, strPath + '\n') == 0) {
        g_strLastRefusal.clear();
    }
}

wchar_t FoldCase(wchar_t ch)
{
    if (ch < 0x80) {
        return (ch >= L'a' && ch <= L'z') ? static_cast<wchar_t>(ch - L'a' + L'A') : ch;
    }
    return static_cast<wchar_t>(std::towupper(static_cast<wint_t>(ch)));
}

} // namespace

bool CPrivateProfileDocument::IsBlank(wchar_t ch)
{
    switch (ch) {
    case L' ': case L'\t': case L'\n': case L'\v': case L'\f': case L'\r':
    case 0x1A:   // end-of-file mark of old editors
    case 0x85: case 0xA0: case 0x1680: case 0x2028: case 0x2029: case 0x202F: case 0x205F: case 0x3000:
        return true;
    default:
        return ch >= 0x2000 && ch <= 0x200A;
    }
}

std::wstring CPrivateProfileDocument::TrimLeft(const std::wstring& strText)
{
    size_t uiBegin = 0;
    while (uiBegin < strText.size() && IsBlank(strText[uiBegin])) {
        ++uiBegin;
    }
    return strText.substr(uiBegin);
}

std::wstring CPrivateProfileDocument::Trim(const std::wstring& strText)
{
    std::wstring strResult = TrimLeft(strText);
    size_t uiEnd = strResult.size();
    while (uiEnd > 0 && IsBlank(strResult[uiEnd - 1])) {
        --uiEnd;
    }
    strResult.resize(uiEnd);
    return strResult;
}

bool CPrivateProfileDocument::NamesEqual(const std::wstring& strLeft, const std::wstring& strRight)
{
    if (strLeft.size() != strRight.size()) {
        return false;
    }
    for (size_t i = 0; i < strLeft.size(); ++i) {
        if (FoldCase(strLeft[i]) != FoldCase(strRight[i])) {
            return false;
        }
    }
    return true;
}

CPrivateProfileDocument::SLine CPrivateProfileDocument::ParseLine(const std::string& strRaw, const std::string& strEnd)
{
    SLine line;
    line.strRaw = strRaw;
    line.strEnd = strEnd;
    const std::wstring strText = Trim(WideFromUtf8(strRaw));
    if (strText.empty()) {
        line.eKind = LINE_BLANK;
        return line;
    }
    if (strText[0] == L'[') {
        const size_t uiClose = strText.rfind(L']');
        if (uiClose != std::wstring::npos && uiClose > 0) {
            line.eKind = LINE_SECTION;
            line.strName = Trim(strText.substr(1, uiClose - 1));
            return line;
        }
    }
    line.eKind = LINE_ENTRY;
    const size_t uiEqual = strText.find(L'=');
    if (uiEqual == std::wstring::npos) {
        line.strName = strText;
        line.bHasValue = false;
    } else {
        line.strName = Trim(strText.substr(0, uiEqual));
        line.strValue = Trim(strText.substr(uiEqual + 1));
        line.bHasValue = true;
    }
    return line;
}

CPrivateProfileDocument::SLine CPrivateProfileDocument::MakeLine(const std::wstring& strText) const
{
    // New lines end the way the file's first line does (LF for a new file).
    std::string strEnd = "\n";
    for (const SLine& line : m_vecLines) {
        if (!line.strEnd.empty()) {
            strEnd = line.strEnd;
            break;
        }
    }
    return ParseLine(Utf8FromWide(strText), strEnd);
}

CPrivateProfileDocument::ELoadResult CPrivateProfileDocument::Load(const std::string& strPath)
{
    m_strPath = strPath;
    m_vecLines.clear();
    m_bUtf8Bom = false;
    m_bExists = false;

    // The file may lie in a folder that other users can write: a link, a
    // FIFO, a folder or a second name of another file there is refused
    // and its content never taken into settings that are written back.
    const char* szRefusal = nullptr;
    const int iFd = NoFollowFile::Open(strPath, O_RDONLY, false, 0, &szRefusal);
    if (iFd < 0) {
        if (szRefusal) {
            ReportRefusal(strPath, szRefusal);
            return LOAD_FAILED;
        }
        if (errno == ENOENT || errno == ENOTDIR) {
            ForgetRefusal(strPath);
            return LOAD_MISSING;
        }
        return LOAD_FAILED;
    }
    // A settings file is small: a larger one (or one that grows while it
    // is read) is refused rather than read without bound.
    std::string strData;
    const bool bRead = ReadAll(iFd, &strData, MAX_FILE_BYTES + 1);
    close(iFd);
    if (!bRead) {
        return LOAD_FAILED;
    }
    if (strData.size() > MAX_FILE_BYTES) {
        ReportRefusal(strPath, "it is larger than 1 MiB.");
        return LOAD_FAILED;
    }
    ForgetRefusal(strPath);
    m_bExists = true;

    size_t uiPos = 0;
    if (strData.compare(0, 3, UTF8_BOM) == 0) {
        m_bUtf8Bom = true;
        uiPos = 3;
    }
    while (uiPos < strData.size()) {
        const size_t uiEnd = strData.find_first_of("\r\n", uiPos);
        if (uiEnd == std::string::npos) {
            m_vecLines.push_back(ParseLine(strData.substr(uiPos), ""));
            break;
        }
        size_t uiNext = uiEnd + 1;
        if (strData[uiEnd] == '\r' && uiNext < strData.size() && strData[uiNext] == '\n') {
            ++uiNext;
        }
        m_vecLines.push_back(ParseLine(strData.substr(uiPos, uiEnd - uiPos), strData.substr(uiEnd, uiNext - uiEnd)));
        uiPos = uiNext;
    }
    return LOAD_OK;
}

bool CPrivateProfileDocument::Save() const
{
    std::string strData = m_bUtf8Bom ? UTF8_BOM : "";
    for (const SLine& line : m_vecLines) {
        strData += line.strRaw;
        strData += line.strEnd;
    }

    // The name itself is replaced, in its own folder, never a target it
    // may point to: what lies there must be a regular file with one link.
    const size_t uiSlash = m_strPath.rfind('/');
    const std::string strFolder = uiSlash == std::string::npos ? std::string(".")
                                  : uiSlash == 0                ? std::string("/")
                                                                : m_strPath.substr(0, uiSlash);
    const std::string strName = uiSlash == std::string::npos ? m_strPath : m_strPath.substr(uiSlash + 1);
    const int iDirFd = open(strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (iDirFd < 0) {
        return false;
    }
    const scope_guard guardDir(boost::bind(close, iDirFd));
    if (const char* szRefusal = NoFollowFile::CheckInPlace(iDirFd, strName)) {
        ReportRefusal(m_strPath, szRefusal);
        return false;
    }

    std::string strTemp;
    const int iFd = NoFollowFile::CreateTemporary(iDirFd, strName, &strTemp);
    if (iFd < 0) {
        return false;
    }
    bool bOk = NoFollowFile::WriteAll(iFd, strData);
    if (bOk) {
        // Read and write for this user alone: never execute, set-user-ID,
        // set-group-ID or sticky bits, and never the mode or owner of what
        // lay there before (another user may have put it there).
        const mode_t uiMode = 0600;
        bOk = fchmod(iFd, uiMode) == 0 && fsync(iFd) == 0;
    }
    if (close(iFd) != 0) {
        bOk = false;
    }
    if (bOk && renameat(iDirFd, strTemp.c_str(), iDirFd, strName.c_str()) != 0) {
        bOk = false;
    }
    if (!bOk) {
        unlinkat(iDirFd, strTemp.c_str(), 0);
    }
    return bOk;
}

bool CPrivateProfileDocument::FindSection(const std::wstring& strSection, size_t* puiBegin, size_t* puiEnd) const
{
    const std::wstring strName = Trim(strSection);
    // The nameless section: the lines before the first header.
    size_t uiIndex = 0;
    bool bInSection = strName.empty();
    size_t uiBegin = 0;
    for (; uiIndex < m_vecLines.size(); ++uiIndex) {
        if (m_vecLines[uiIndex].eKind != LINE_SECTION) {
            continue;
        }
        if (bInSection) {
            break;
        }
        if (NamesEqual(m_vecLines[uiIndex].strName, strName)) {
            bInSection = true;
            uiBegin = uiIndex + 1;
        }
    }
    if (!bInSection) {
        return false;
    }
    *puiBegin = uiBegin;
    *puiEnd = uiIndex;
    return true;
}

bool CPrivateProfileDocument::HasSectionPrefix(const std::wstring& strPrefix, wchar_t chSeparator) const
{
    const std::wstring strName = Trim(strPrefix);
    for (const SLine& line : m_vecLines) {
        if (line.eKind != LINE_SECTION) {
            continue;
        }
        if (NamesEqual(line.strName, strName)) {
            return true;
        }
        if (line.strName.size() > strName.size() && line.strName[strName.size()] == chSeparator &&
            NamesEqual(line.strName.substr(0, strName.size()), strName)) {
            return true;
        }
    }
    return false;
}

const CPrivateProfileDocument::SLine* CPrivateProfileDocument::FindEntryLine(const std::wstring& strSection,
                                                                             const std::wstring& strKey,
                                                                             size_t* puiIndex) const
{
    size_t uiBegin = 0;
    size_t uiEnd = 0;
    if (!FindSection(strSection, &uiBegin, &uiEnd)) {
        return nullptr;
    }
    const std::wstring strName = Trim(strKey);
    for (size_t i = uiBegin; i < uiEnd; ++i) {
        const SLine& line = m_vecLines[i];
        if (line.eKind == LINE_ENTRY && NamesEqual(line.strName, strName)) {
            if (puiIndex) {
                *puiIndex = i;
            }
            return &line;
        }
    }
    return nullptr;
}

const std::wstring* CPrivateProfileDocument::FindValue(const std::wstring& strSection, const std::wstring& strKey,
                                                       bool* pbHasValue) const
{
    const SLine* pLine = FindEntryLine(strSection, strKey, nullptr);
    if (!pLine) {
        return nullptr;
    }
    if (pbHasValue) {
        *pbHasValue = pLine->bHasValue;
    }
    return &pLine->strValue;
}

std::vector<std::wstring> CPrivateProfileDocument::SectionNames() const
{
    std::vector<std::wstring> vecNames;
    for (const SLine& line : m_vecLines) {
        if (line.eKind == LINE_SECTION && !line.strName.empty()) {
            vecNames.push_back(line.strName);
        }
    }
    return vecNames;
}

bool CPrivateProfileDocument::KeyNames(const std::wstring& strSection, std::vector<std::wstring>* pvecNames) const
{
    size_t uiBegin = 0;
    size_t uiEnd = 0;
    if (!FindSection(strSection, &uiBegin, &uiEnd)) {
        return false;
    }
    for (size_t i = uiBegin; i < uiEnd; ++i) {
        const SLine& line = m_vecLines[i];
        if (line.eKind == LINE_ENTRY && line.bHasValue && (line.strName.empty() || line.strName[0] != L';')) {
            pvecNames->push_back(line.strName);
        }
    }
    return true;
}

bool CPrivateProfileDocument::SetValue(const std::wstring& strSection, const std::wstring& strKey,
                                       const std::wstring& strValue)
{
    const std::wstring strNewValue = TrimLeft(strValue);
    size_t uiIndex = 0;
    if (const SLine* pLine = FindEntryLine(strSection, strKey, &uiIndex)) {
        if (pLine->bHasValue && pLine->strValue == strNewValue) {
            return false;
        }
        const std::string strEnd = pLine->strEnd;
        SLine line = ParseLine(Utf8FromWide(pLine->strName + L"=" + strNewValue), strEnd);
        m_vecLines[uiIndex] = line;
        return true;
    }

    const std::wstring strEntry = Trim(strKey) + L"=" + strNewValue;
    size_t uiBegin = 0;
    size_t uiEnd = 0;
    if (FindSection(strSection, &uiBegin, &uiEnd)) {
        // After the section's last non-blank line, so that the blank lines
        // that part it from the next section stay where they are.
        size_t uiInsert = uiEnd;
        while (uiInsert > uiBegin && m_vecLines[uiInsert - 1].eKind == LINE_BLANK) {
            --uiInsert;
        }
        SLine line = MakeLine(strEntry);
        if (uiInsert > 0 && m_vecLines[uiInsert - 1].strEnd.empty()) {
            m_vecLines[uiInsert - 1].strEnd = line.strEnd;
        }
        if (uiInsert == m_vecLines.size()) {
            // A new last line keeps the file's habit of ending with a line end.
            m_vecLines.push_back(line);
        } else {
            m_vecLines.insert(m_vecLines.begin() + static_cast<std::ptrdiff_t>(uiInsert), line);
        }
        return true;
    }

    AddSection(strSection);
    m_vecLines.push_back(MakeLine(strEntry));
    return true;
}

bool CPrivateProfileDocument::AddSection(const std::wstring& strSection)
{
    size_t uiBegin = 0;
    size_t uiEnd = 0;
    if (FindSection(strSection, &uiBegin, &uiEnd)) {
        return false;
    }
    // A blank line parts the new section from the one before.
    SLine header = MakeLine(L"[" + Trim(strSection) + L"]");
    if (!m_vecLines.empty()) {
        if (m_vecLines.back().strEnd.empty()) {
            m_vecLines.back().strEnd = header.strEnd;
        }
        if (m_vecLines.back().eKind != LINE_BLANK) {
            m_vecLines.push_back(MakeLine(L""));
        }
    }
    m_vecLines.push_back(header);
    return true;
}

bool CPrivateProfileDocument::DeleteKey(const std::wstring& strSection, const std::wstring& strKey)
{
    size_t uiIndex = 0;
    if (!FindEntryLine(strSection, strKey, &uiIndex)) {
        return false;
    }
    m_vecLines.erase(m_vecLines.begin() + static_cast<std::ptrdiff_t>(uiIndex));
    return true;
}

bool CPrivateProfileDocument::DeleteSection(const std::wstring& strSection)
{
    size_t uiBegin = 0;
    size_t uiEnd = 0;
    if (!FindSection(strSection, &uiBegin, &uiEnd)) {
        return false;
    }
    // The header goes with the body; the nameless section has none.
    const size_t uiFirst = (uiBegin > 0 && m_vecLines[uiBegin - 1].eKind == LINE_SECTION) ? uiBegin - 1 : uiBegin;
    if (uiFirst == uiEnd) {
        return false;
    }
    m_vecLines.erase(m_vecLines.begin() + static_cast<std::ptrdiff_t>(uiFirst),
                     m_vecLines.begin() + static_cast<std::ptrdiff_t>(uiEnd));
    return true;
}

} // namespace Language
