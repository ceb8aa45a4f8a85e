#pragma once

#include <string>

namespace log4cpp {
class Category;
}

// The log4cpp category of a trace entry, found with Category::exists only
// (never created):
//   class empty:     module "." function;
//   class not empty: module "." class "." function, then module "." class;
//   then the module alone. Null when none exists (the record is dropped).
log4cpp::Category* ResolveCategory(const std::string& strModule, const std::string& strClass,
                                   const std::string& strFunction);

// The calling thread's current trace entry, split, and its category. Hot
// callers keep one per thread and reuse it, so that its texts keep their
// memory from call to call.
struct TraceContext {
    std::string strEntry;
    std::string strModule;
    std::string strClass;
    std::string strFunction;
    log4cpp::Category* pCategory = nullptr;
};

// False when the thread has no current entry, the entry cannot be split or
// no category resolves.
bool ResolveCurrentContext(TraceContext& context);
