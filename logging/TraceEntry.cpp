#include "logging/TraceEntry.h"

#include <cstring>

std::string MakeTraceEntry(const char* szModule, const char* szClass, const char* szFunction)
{
    const char* m = szModule ? szModule : "";
    const char* c = szClass ? szClass : "";
    const char* f = szFunction ? szFunction : "";
    std::string strEntry;
    strEntry.reserve(std::strlen(m) + std::strlen(c) + std::strlen(f) + 3);
    strEntry.append(m).append(1, '.').append(c).append(1, '.').append(f).append(1, '$');
    return strEntry;
}

bool CurrentTraceEntry(const std::string& strNdc, size_t uiDepth, std::string& strEntry)
{
    if (uiDepth < 2) {
        // One entry: everything before its "$".
        const size_t uiDollar = strNdc.rfind('$');
        if (uiDollar == std::string::npos) {
            return false;
        }
        strEntry.assign(strNdc, 0, uiDollar);
        return true;
    }
    // Several: the entry begins behind the "$" and the blank that close the
    // one before it, and ends before the final "$".
    if (strNdc.size() < 2) {
        return false;
    }
    const size_t uiDollar = strNdc.rfind('$', strNdc.size() - 2);
    if (uiDollar == std::string::npos || uiDollar + 2 > strNdc.size() - 1) {
        return false;
    }
    strEntry.assign(strNdc, uiDollar + 2, strNdc.size() - 1 - (uiDollar + 2));
    return true;
}

bool SplitTraceEntry(const std::string& strEntry, std::string& strModule, std::string& strClass,
                     std::string& strFunction)
{
    const size_t uiFirst = strEntry.find('.');
    if (uiFirst == std::string::npos) {
        return false;
    }
    const size_t uiLast = strEntry.rfind('.');
    strModule.assign(strEntry, 0, uiFirst);
    if (uiLast > uiFirst) {
        strClass.assign(strEntry, uiFirst + 1, uiLast - uiFirst - 1);
    } else {
        strClass.clear();
    }
    strFunction.assign(strEntry, uiLast + 1, std::string::npos);
    return true;
}

bool SplitFilterContext(const std::string& strContext, std::string& strModule, std::string& strClass,
                        std::string& strFunction)
{
    strModule.clear();
    strClass.clear();
    strFunction.clear();
    const size_t uiFirst = strContext.find('.');
    if (uiFirst == std::string::npos) {
        return false;
    }
    strModule.assign(strContext, 0, uiFirst);
    const size_t uiSecond = strContext.find('.', uiFirst + 1);
    if (uiSecond == std::string::npos) {
        strClass.assign(strContext, uiFirst + 1, std::string::npos);
    } else {
        strClass.assign(strContext, uiFirst + 1, uiSecond - uiFirst - 1);
        strFunction.assign(strContext, uiSecond + 1, std::string::npos);
    }
    return true;
}
