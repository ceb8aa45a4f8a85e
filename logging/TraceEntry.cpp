#include "logging/TraceEntry.h"

#include <cstring>

namespace {

// The position of the last "$" at or before uiLast (npos when none): what
// std::string::rfind('$', uiLast) answers, with the C library's search
// where it has one (the entry is found on every traced call).
size_t FindLastDollar(const std::string& strText, size_t uiLast)
{
    if (strText.empty()) {
        return std::string::npos;
    }
    const size_t uiCount = (uiLast < strText.size() ? uiLast : strText.size() - 1) + 1;
#if defined(__GLIBC__)
    const void* pFound = memrchr(strText.data(), '$', uiCount);
    return pFound ? static_cast<size_t>(static_cast<const char*>(pFound) - strText.data()) : std::string::npos;
#else
    const char* pData = strText.data();
    for (size_t i = uiCount; i > 0; --i) {
        if (pData[i - 1] == '$') {
            return i - 1;
        }
    }
    return std::string::npos;
#endif
}

} // namespace

void BuildTraceEntry(std::string& strEntry, const char* szModule, const char* szClass, const char* szFunction)
{
    const char* m = szModule ? szModule : "";
    const char* c = szClass ? szClass : "";
    const char* f = szFunction ? szFunction : "";
    const size_t uiModule = std::strlen(m);
    const size_t uiClass = std::strlen(c);
    const size_t uiFunction = std::strlen(f);
    // One resize (no allocation once the buffer has grown), then the pieces.
    strEntry.resize(uiModule + uiClass + uiFunction + 3);
    char* p = &strEntry[0];
    std::memcpy(p, m, uiModule);
    p += uiModule;
    *p++ = '.';
    std::memcpy(p, c, uiClass);
    p += uiClass;
    *p++ = '.';
    std::memcpy(p, f, uiFunction);
    p += uiFunction;
    *p = '$';
}

std::string MakeTraceEntry(const char* szModule, const char* szClass, const char* szFunction)
{
    const char* m = szModule ? szModule : "";
    const char* c = szClass ? szClass : "";
    const char* f = szFunction ? szFunction : "";
    std::string strEntry;
    strEntry.reserve(std::strlen(m) + std::strlen(c) + std::strlen(f) + 3);
    BuildTraceEntry(strEntry, m, c, f);
    return strEntry;
}

bool CurrentTraceEntryView(const std::string& strNdc, size_t uiDepth, std::string_view& entry)
{
    if (uiDepth < 2) {
        // One entry: everything before its "$".
        const size_t uiDollar = FindLastDollar(strNdc, std::string::npos);
        if (uiDollar == std::string::npos) {
            return false;
        }
        entry = std::string_view(strNdc.data(), uiDollar);
        return true;
    }
    // Several: the entry begins behind the "$" and the blank that close the
    // one before it, and ends before the final "$".
    if (strNdc.size() < 2) {
        return false;
    }
    const size_t uiDollar = FindLastDollar(strNdc, strNdc.size() - 2);
    if (uiDollar == std::string::npos || uiDollar + 2 > strNdc.size() - 1) {
        return false;
    }
    entry = std::string_view(strNdc.data() + uiDollar + 2, strNdc.size() - 1 - (uiDollar + 2));
    return true;
}

bool CurrentTraceEntry(const std::string& strNdc, size_t uiDepth, std::string& strEntry)
{
    std::string_view entry;
    if (!CurrentTraceEntryView(strNdc, uiDepth, entry)) {
        return false;
    }
    strEntry.assign(entry.data(), entry.size());
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
