// Command-line splitting (the launcher splits the client tool's command
// line before it starts it). The input is the line as UTF-16LE code units.
//
// Checked: the count returned is the number of parts appended, parts already
// in the list are kept, and every part is a piece of the line in order: a
// quoted part runs from one double quote to the next and keeps both, a plain
// part holds no white space and does not start with a double quote.
#include <cstdint>
#include <string>
#include <vector>
#include "FuzzSupport.h"
#include "language/CommandLine.h"

namespace {

bool IsBlank(wchar_t ch)
{
    return ch == L' ' || ch == L'\t' || ch == L'\r' || ch == L'\n' || ch == L'\v' || ch == L'\f';
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyData, size_t uiSize)
{
    const std::wstring strLine = orvfuzz::WideUnits(pbyData, uiSize);

    std::vector<std::wstring> vecParts{L"kept"};
    const size_t uiCount = Language::SplitCommandLine(strLine, vecParts);
    FUZZ_CHECK(vecParts.size() == uiCount + 1);
    FUZZ_CHECK(vecParts[0] == L"kept");

    size_t uiFrom = 0;
    for (size_t i = 1; i < vecParts.size(); ++i) {
        const std::wstring& strPart = vecParts[i];
        FUZZ_CHECK(!strPart.empty());
        if (strPart[0] == L'"') {
            FUZZ_CHECK(strPart.size() >= 2);
            FUZZ_CHECK(strPart.back() == L'"');
            FUZZ_CHECK(strPart.find(L'"', 1) == strPart.size() - 1);
        } else {
            FUZZ_CHECK(strPart[0] != L'"');
            for (wchar_t ch : strPart) {
                FUZZ_CHECK(!IsBlank(ch));
            }
        }
        const size_t uiAt = strLine.find(strPart, uiFrom);
        FUZZ_CHECK(uiAt != std::wstring::npos);
        // Only white space lies between two parts (none at all behind a
        // quoted part that the next part follows at once).
        for (size_t k = uiFrom; k < uiAt; ++k) {
            FUZZ_CHECK(IsBlank(strLine[k]));
        }
        uiFrom = uiAt + strPart.size();
    }
    // Behind the last part: white space, or a quoted part left open.
    size_t uiRest = uiFrom;
    while (uiRest < strLine.size() && IsBlank(strLine[uiRest])) {
        ++uiRest;
    }
    FUZZ_CHECK(uiRest == strLine.size() || strLine[uiRest] == L'"');
    if (uiRest < strLine.size()) {
        FUZZ_CHECK(strLine.find(L'"', uiRest + 1) == std::wstring::npos);
    }

    // Splitting the parts joined by blanks gives the same parts.
    std::wstring strJoined;
    for (size_t i = 1; i < vecParts.size(); ++i) {
        strJoined += vecParts[i] + L' ';
    }
    std::vector<std::wstring> vecAgain;
    FUZZ_CHECK(Language::SplitCommandLine(strJoined, vecAgain) == uiCount);
    FUZZ_CHECK(std::vector<std::wstring>(vecParts.begin() + 1, vecParts.end()) == vecAgain);
    return 0;
}
