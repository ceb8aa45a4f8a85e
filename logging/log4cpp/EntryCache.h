#pragma once

#include <optional>
#include <string>
#include "logging/OutputSwitches.h"

namespace log4cpp {
class Category;
}

// What the log facade and the trace scopes work out from one trace entry
// text: the filter chain's verdict, the split, the category and its output
// switches. All of it depends on the entry text and the configuration only,
// so it is worked out once per text and configuration and kept per thread.
struct ResolvedEntry {
    // The filter chain does not deny the entry (true without a chain).
    bool bEnabled = true;
    std::string strModule;
    std::string strClass;
    std::string strFunction;
    // Null when the entry cannot be split or no category resolves.
    log4cpp::Category* pCategory = nullptr;
    // The category's switches; bHasSwitches false when its name is absent
    // from the switch table.
    bool bHasSwitches = false;
    OutputSwitches switches;
};

// The enable test every record passes first: logging is on and the filter
// chain (if any) does not deny the calling thread's current trace entry.
// The level of the record plays no part.
bool IsLoggingEnabled();

// Works out what ResolvedEntry holds for an entry text, without any cache.
void ResolveEntry(const std::string& strEntry, ResolvedEntry& resolved);

// The calling thread's current trace entry, resolved. A thread without a
// current entry resolves the empty text (no category; the filters decide on
// an empty context). The result is kept in the calling thread's cache until
// the configuration changes (LogState generation, switch table version); the
// reference stays valid until the thread's next call. Where the thread's
// cache is gone (thread exit), fallback is filled and returned.
const ResolvedEntry& ResolveCurrentEntry(std::optional<ResolvedEntry>& fallback);

// A text buffer of the calling thread in which a trace scope builds the entry
// it pushes, so that its memory is reused from call to call. Null where the
// thread's cache is gone (thread exit).
std::string* ThreadEntryBuffer();
