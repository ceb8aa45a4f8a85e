#include "logging/log4cpp/CategoryResolver.h"

#include <log4cpp/Category.hh>
#include "logging/TraceEntry.h"
#include "logging/log4cpp/ThreadNdc.h"

log4cpp::Category* ResolveCategory(const std::string& strModule, const std::string& strClass,
                                   const std::string& strFunction)
{
    std::string strName;
    strName.reserve(strModule.size() + strClass.size() + strFunction.size() + 2);
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
    std::string strEntry;
    if (!ReadCurrentEntry(strEntry)) {
        return false;
    }
    if (!SplitTraceEntry(strEntry, context.strModule, context.strClass, context.strFunction)) {
        return false;
    }
    context.pCategory = ResolveCategory(context.strModule, context.strClass, context.strFunction);
    return context.pCategory != nullptr;
}
