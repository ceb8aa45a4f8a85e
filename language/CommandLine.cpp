#include "language/CommandLine.h"

namespace Language {

namespace {

const wchar_t g_szBlanks[] = L" \t\r\n\v\f";

bool IsBlank(wchar_t c)
{
    return std::char_traits<wchar_t>::find(g_szBlanks, 6, c) != nullptr;
}

enum class SplitState { Between, Quoted, Plain };

} // namespace

size_t SplitCommandLine(std::wstring strCommandLine, std::vector<std::wstring>& vecParts)
{
    // Trim both ends, then close a last plain part with one blank.
    const size_t uiFirst = strCommandLine.find_first_not_of(g_szBlanks);
    if (uiFirst == std::wstring::npos) {
        strCommandLine.clear();
    } else {
        const size_t uiLast = strCommandLine.find_last_not_of(g_szBlanks);
        strCommandLine = strCommandLine.substr(uiFirst, uiLast - uiFirst + 1);
    }
    strCommandLine += L' ';

    size_t uiCount = 0;
    size_t uiStart = 0;
    SplitState state = SplitState::Between;
    for (size_t i = 0; i < strCommandLine.size(); ++i) {
        const wchar_t c = strCommandLine[i];
        switch (state) {
        case SplitState::Between:
            if (c == L'"') {
                uiStart = i;
                state = SplitState::Quoted;
            } else if (!IsBlank(c)) {
                uiStart = i;
                state = SplitState::Plain;
            }
            break;
        case SplitState::Quoted:
            if (c == L'"') {
                vecParts.push_back(strCommandLine.substr(uiStart, i - uiStart + 1));
                ++uiCount;
                state = SplitState::Between;
            }
            break;
        case SplitState::Plain:
            if (IsBlank(c)) {
                vecParts.push_back(strCommandLine.substr(uiStart, i - uiStart));
                ++uiCount;
                state = SplitState::Between;
            }
            break;
        }
    }
    return uiCount;
}

} // namespace Language
