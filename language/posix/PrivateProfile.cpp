#include "language/PrivateProfile.h"

#include <cwchar>
#include <mutex>
#include <string>
#include <vector>
#include "language/TextConvert.h"
#include "language/posix/PrivateProfileDocument.h"

namespace Language {

namespace {

// One profile operation at a time in this process, as on Windows: a write
// is a read, a change and a replacement of the file.
std::mutex& ProfileMutex()
{
    static std::mutex s_mutex;
    return s_mutex;
}

std::string PathOf(const wchar_t* szFileName)
{
    return Utf8FromWide(szFileName ? std::wstring(szFileName) : std::wstring());
}

// Copies a value the way the profile functions hand values out: a value in
// matching quotes loses them, and the copy is cut to uiSize - 1
// characters. When the closing quote was cut away the last character of
// the copy goes too; callers see e.g. "quote" for "\"quoted\"" in a buffer
// of 7. Returns the length of the copy.
uint32_t CopyEntry(wchar_t* szBuffer, uint32_t uiSize, const std::wstring& strValue)
{
    std::wstring strSource = strValue;
    bool bQuoted = false;
    if (strSource.size() >= 2 && (strSource[0] == L'"' || strSource[0] == L'\'') &&
        strSource.back() == strSource[0]) {
        bQuoted = true;
        strSource.erase(0, 1);
    }
    const size_t uiCopy = std::min<size_t>(strSource.size(), uiSize - 1);
    std::wmemcpy(szBuffer, strSource.data(), uiCopy);
    szBuffer[uiCopy] = L'\0';
    size_t uiLength = uiCopy;
    if (bQuoted && uiSize >= strSource.size() && uiLength > 0) {
        szBuffer[--uiLength] = L'\0';
    }
    return static_cast<uint32_t>(uiLength);
}

// A list of names, each terminated, closed by one more NUL. When the buffer
// is too small the last name is cut and the result is uiSize - 2.
uint32_t CopyNameList(wchar_t* szBuffer, uint32_t uiSize, const std::vector<std::wstring>& vecNames)
{
    if (uiSize == 1) {
        szBuffer[0] = L'\0';
        return 0;
    }
    size_t uiLeft = uiSize - 1;
    wchar_t* pOut = szBuffer;
    for (const std::wstring& strName : vecNames) {
        const size_t uiNeed = strName.size() + 1;
        if (uiNeed >= uiLeft) {
            if (uiLeft > 0) {
                std::wmemcpy(pOut, strName.data(), uiLeft - 1);
                pOut += uiLeft - 1;
                *pOut++ = L'\0';
            }
            *pOut = L'\0';
            return uiSize - 2;
        }
        std::wmemcpy(pOut, strName.data(), strName.size());
        pOut += strName.size();
        *pOut++ = L'\0';
        uiLeft -= uiNeed;
    }
    *pOut = L'\0';
    return static_cast<uint32_t>(pOut - szBuffer);
}

// The number at the start of a text: characters up to the blank skipped,
// an optional sign, a "0b", "0o" or "0x" prefix for bases 2, 8 and 16,
// then digits of the base; it ends at the first other character.
uint32_t LeadingInteger(const std::wstring& strText)
{
    size_t i = 0;
    while (i < strText.size() && strText[i] <= L' ') {
        ++i;
    }
    bool bMinus = false;
    if (i < strText.size() && (strText[i] == L'+' || strText[i] == L'-')) {
        bMinus = strText[i] == L'-';
        ++i;
    }
    uint32_t uiBase = 10;
    if (i + 1 < strText.size() && strText[i] == L'0') {
        if (strText[i + 1] == L'b') {
            uiBase = 2;
            i += 2;
        } else if (strText[i + 1] == L'o') {
            uiBase = 8;
            i += 2;
        } else if (strText[i + 1] == L'x') {
            uiBase = 16;
            i += 2;
        }
    }
    uint32_t uiTotal = 0;
    for (; i < strText.size(); ++i) {
        const wchar_t ch = strText[i];
        uint32_t uiDigit = 0;
        if (ch >= L'0' && ch <= L'9') {
            uiDigit = static_cast<uint32_t>(ch - L'0');
        } else if (ch >= L'A' && ch <= L'Z') {
            uiDigit = static_cast<uint32_t>(ch - L'A' + 10);
        } else if (ch >= L'a' && ch <= L'z') {
            uiDigit = static_cast<uint32_t>(ch - L'a' + 10);
        } else {
            break;
        }
        if (uiDigit >= uiBase) {
            break;
        }
        uiTotal = uiTotal * uiBase + uiDigit;
    }
    return bMinus ? 0u - uiTotal : uiTotal;
}

uint32_t GetStringLocked(const wchar_t* szSection, const wchar_t* szKey, const wchar_t* szDefault,
                         wchar_t* szBuffer, uint32_t uiSize, const wchar_t* szFileName)
{
    if (!szBuffer || uiSize == 0) {
        return 0;
    }
    // The default loses trailing blanks (spaces only, and never its first
    // character).
    std::wstring strDefault = szDefault ? szDefault : L"";
    size_t uiDefault = strDefault.size();
    while (uiDefault > 1 && strDefault[uiDefault - 1] == L' ') {
        --uiDefault;
    }
    strDefault.resize(uiDefault);

    CPrivateProfileDocument doc;
    if (doc.Load(PathOf(szFileName)) == CPrivateProfileDocument::LOAD_FAILED) {
        return CopyEntry(szBuffer, uiSize, strDefault);
    }
    if (!szSection) {
        return CopyNameList(szBuffer, uiSize, doc.SectionNames());
    }
    if (!szKey) {
        std::vector<std::wstring> vecNames;
        if (doc.KeyNames(szSection, &vecNames) && !vecNames.empty()) {
            return CopyNameList(szBuffer, uiSize, vecNames);
        }
        return CopyEntry(szBuffer, uiSize, strDefault);
    }
    bool bHasValue = false;
    const std::wstring* pValue = doc.FindValue(szSection, szKey, &bHasValue);
    return CopyEntry(szBuffer, uiSize, (pValue && bHasValue) ? *pValue : strDefault);
}

} // namespace

uint32_t PrivateProfileGetInt(const wchar_t* szSection, const wchar_t* szKey, int32_t iDefault,
                              const wchar_t* szFileName)
{
    // The value is read as a string of at most 29 characters first.
    wchar_t szValue[30];
    std::lock_guard<std::mutex> lock(ProfileMutex());
    if (GetStringLocked(szSection, szKey, L"", szValue, 30, szFileName) == 0) {
        return static_cast<uint32_t>(iDefault);
    }
    return LeadingInteger(szValue);
}

uint32_t PrivateProfileGetString(const wchar_t* szSection, const wchar_t* szKey, const wchar_t* szDefault,
                                 wchar_t* szBuffer, uint32_t uiSize, const wchar_t* szFileName)
{
    std::lock_guard<std::mutex> lock(ProfileMutex());
    return GetStringLocked(szSection, szKey, szDefault, szBuffer, uiSize, szFileName);
}

int32_t PrivateProfileWriteString(const wchar_t* szSection, const wchar_t* szKey, const wchar_t* szValue,
                                  const wchar_t* szFileName)
{
    if (!szSection || !szFileName) {
        return 0;
    }
    std::lock_guard<std::mutex> lock(ProfileMutex());
    CPrivateProfileDocument doc;
    if (doc.Load(PathOf(szFileName)) == CPrivateProfileDocument::LOAD_FAILED) {
        // Never replace a file that could not be read.
        return 0;
    }
    bool bChanged = false;
    if (!szKey) {
        bChanged = doc.DeleteSection(szSection);
    } else if (!szValue) {
        bChanged = doc.DeleteKey(szSection, szKey);
    } else {
        bChanged = doc.SetValue(szSection, szKey, szValue);
    }
    if (!bChanged) {
        return 1;
    }
    return doc.Save() ? 1 : 0;
}

} // namespace Language
