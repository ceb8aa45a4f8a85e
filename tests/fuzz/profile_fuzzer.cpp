// The settings file Config.ini through the private-profile reader and
// writer. Config.ini may be shared by every user of the machine, and the
// names this program writes into it (the default printer and project) come
// from requests, so both the file and the written values are hostile.
//
// Input: a value (UTF-8, up to the first NUL byte), then the file's bytes.
// Checked:
// - reads into buffers of every small size stay inside the buffer, are
//   terminated and return fewer characters than the buffer holds;
// - writing DefaultPrinter and reading it back gives the value (without
//   leading and trailing blanks, and without matching quotes around it) for
//   every value without a line break;
// - that write changes no other key of the file's "Setting" and
//   "ServerConfig" sections.
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>
#include "FuzzSupport.h"
#include "language/PrivateProfile.h"
#include "language/TextConvert.h"

namespace {

const wchar_t* const SETTING = L"Setting";
const wchar_t* const SERVER_CONFIG = L"ServerConfig";
const wchar_t* const SETTING_KEYS[] = {L"DisplayProjectSelection", L"CanSelectNoPrinter", L"CanSelectNoProject",
                                       L"DefaultPrinter", L"DefaultProject"};
const wchar_t* const SERVER_KEYS[] = {L"WaterPrintInstalled", L"AuditInstalled", L"SGIdentifyInstalled",
                                      L"FilterIntalled"};

bool IsBlank(wchar_t ch)
{
    switch (ch) {
    case L' ': case L'\t': case L'\n': case L'\v': case L'\f': case L'\r': case 0x1A:
    case 0x85: case 0xA0: case 0x1680: case 0x2028: case 0x2029: case 0x202F: case 0x205F: case 0x3000:
        return true;
    default:
        return ch >= 0x2000 && ch <= 0x200A;
    }
}

std::wstring Read(const wchar_t* szSection, const wchar_t* szKey, const std::wstring& strFile, uint32_t uiSize)
{
    std::vector<wchar_t> vecBuffer(uiSize, L'#');
    const uint32_t uiLength =
        Language::PrivateProfileGetString(szSection, szKey, L"", vecBuffer.data(), uiSize, strFile.c_str());
    FUZZ_CHECK(uiLength < uiSize);
    FUZZ_CHECK(vecBuffer[uiLength] == L'\0');
    return std::wstring(vecBuffer.data(), uiLength);
}

// A list of names (null section or key): terminated names and one more NUL.
void ReadList(const wchar_t* szSection, const std::wstring& strFile, uint32_t uiSize)
{
    std::vector<wchar_t> vecBuffer(uiSize, L'#');
    const uint32_t uiLength =
        Language::PrivateProfileGetString(szSection, nullptr, L"", vecBuffer.data(), uiSize, strFile.c_str());
    FUZZ_CHECK(uiLength < uiSize);
    FUZZ_CHECK(vecBuffer[uiLength] == L'\0');
}

std::wstring Expected(const std::wstring& strValue)
{
    // What reaches the file is UTF-8: what it cannot carry comes back as U+FFFD.
    std::wstring strText = Language::WideFromUtf8(Language::Utf8FromWide(strValue));
    size_t uiBegin = 0;
    while (uiBegin < strText.size() && IsBlank(strText[uiBegin])) {
        ++uiBegin;
    }
    size_t uiEnd = strText.size();
    while (uiEnd > uiBegin && IsBlank(strText[uiEnd - 1])) {
        --uiEnd;
    }
    strText = strText.substr(uiBegin, uiEnd - uiBegin);
    if (strText.size() >= 2 && (strText[0] == L'"' || strText[0] == L'\'') && strText.back() == strText[0]) {
        strText = strText.substr(1, strText.size() - 2);
    }
    return strText.substr(0, 255);
}

bool HasLineBreak(const std::wstring& strValue)
{
    return strValue.find_first_of(L"\r\n") != std::wstring::npos;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyData, size_t uiSize)
{
    orvfuzz::CInput input(pbyData, uiSize);
    const std::wstring strValue = Language::WideFromUtf8(input.Text(200));
    const std::string strContent = input.Rest();

    const std::string strPath = orvfuzz::ScratchFolder() + "/Config.ini";
    std::ofstream(strPath, std::ios::binary | std::ios::trunc) << strContent;
    const std::wstring strFile = Language::WideFromUtf8(strPath);

    for (uint32_t uiBuffer : {1u, 2u, 3u, 7u, 30u, 256u}) {
        Read(SETTING, L"DefaultPrinter", strFile, uiBuffer);
        ReadList(SETTING, strFile, uiBuffer);
        ReadList(nullptr, strFile, uiBuffer);
    }
    for (const wchar_t* szKey : SERVER_KEYS) {
        Language::PrivateProfileGetInt(SERVER_CONFIG, szKey, 0, strFile.c_str());
    }

    std::vector<std::wstring> vecBefore;
    for (const wchar_t* szKey : SETTING_KEYS) {
        vecBefore.push_back(Read(SETTING, szKey, strFile, 256));
    }
    for (const wchar_t* szKey : SERVER_KEYS) {
        vecBefore.push_back(Read(SERVER_CONFIG, szKey, strFile, 256));
    }

    if (Language::PrivateProfileWriteString(SETTING, L"DefaultPrinter", strValue.c_str(), strFile.c_str()) == 0) {
        return 0; // not written (a file that cannot be read is never replaced)
    }
    if (HasLineBreak(strValue)) {
        return 0; // a line break in a value starts a new line: see docs/SECURITY.md
    }
    FUZZ_CHECK(Read(SETTING, L"DefaultPrinter", strFile, 256) == Expected(strValue));

    size_t uiIndex = 0;
    for (const wchar_t* szKey : SETTING_KEYS) {
        if (std::wstring(szKey) != L"DefaultPrinter") {
            FUZZ_CHECK(Read(SETTING, szKey, strFile, 256) == vecBefore[uiIndex]);
        }
        ++uiIndex;
    }
    for (const wchar_t* szKey : SERVER_KEYS) {
        FUZZ_CHECK(Read(SERVER_CONFIG, szKey, strFile, 256) == vecBefore[uiIndex]);
        ++uiIndex;
    }
    return 0;
}
