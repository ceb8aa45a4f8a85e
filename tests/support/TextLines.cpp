#include "support/TextLines.h"

namespace orvtest {

std::vector<std::string> SplitLines(const std::string& strText)
{
    std::vector<std::string> vecLines;
    size_t uiStart = 0;
    while (uiStart < strText.size()) {
        size_t uiEnd = strText.find('\n', uiStart);
        if (uiEnd == std::string::npos) {
            uiEnd = strText.size();
        }
        size_t uiLineEnd = uiEnd;
        if (uiLineEnd > uiStart && strText[uiLineEnd - 1] == '\r') {
            --uiLineEnd;
        }
        vecLines.push_back(strText.substr(uiStart, uiLineEnd - uiStart));
        uiStart = uiEnd + 1;
    }
    return vecLines;
}

} // namespace orvtest
