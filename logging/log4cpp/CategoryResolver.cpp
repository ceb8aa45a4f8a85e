#include "logging/log4cpp/CategoryResolver.h"

#include <log4cpp/Category.hh>
#include "logging/TraceEntry.h"
#include "logging/log4cpp/ThreadNdc.h"

log4cpp::Category* ResolveCategory(const std::string& strModule, const std::string& strClass,
                                   const std::string& strFunction)
{
    // Built in a per-thread buffer: no allocation once it has grown.
    static thread_local std::string s_strName;
    std::string& strName = s_strName;
    strName.clear();
    log4cpp::Category* pCategory = nullptr;
    if (strClass.empty()) {
        strName.append(strModule).append(1, '.').append(strFunction);
        pCategory = log4cpp::Category::exists(strName);
    } else {
        strName.append(strModule).append(1, '.').append(strClass).append(1, '.').append(strFunction);
        pCategory = log4cpp::Category::exists(strName);
        if (!pCategory) {
            strName.resize(strModule.size() + 1 + strClass.size());
            pCategory = log4cpp::Category::exists(strName);
        }
    }
    if (!pCategory) {
        pCategory = log4cpp::Category::exists(strModule);
    }
    return pCategory;
}

bool ResolveCurrentContext(TraceContext& context)
{
    if (!ReadCurrentEntry(context.strEntry)) {
        return false;
    }
    if (!SplitTraceEntry(context.strEntry, context.strModule, context.strClass, context.strFunction)) {
        return false;
    }
    context.pCategory = ResolveCategory(context.strModule, context.strClass, context.strFunction);
    return context.pCategory != nullptr;
}
