#include "logging/log4cpp/EntryCache.h"

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <log4cpp/Category.hh>
#include "logging/OutputSwitchTable.h"
#include "logging/TraceEntry.h"
#include "logging/log4cpp/CategoryResolver.h"
#include "logging/log4cpp/LogState.h"
#include "logging/log4cpp/ThreadNdc.h"

namespace {

// Entries kept per thread; the program traces a few hundred functions at
// most, so the cache is emptied only when something unexpected fills it.
const size_t kMaxCachedEntries = 1024;

struct ThreadEntryCache {
    uint64_t uiGeneration = 0;
    uint64_t uiSwitchVersion = 0;
    bool bValid = false;
    std::unordered_map<std::string, ResolvedEntry> mapEntries;
    // The entry found last (nodes of the map keep their place until it is
    // emptied): a scope's end and the level tests inside it ask for the same
    // entry as its begin.
    const std::string* pLastKey = nullptr;
    const ResolvedEntry* pLastEntry = nullptr;
    std::string strKey;
    std::string strBuffer;
};

// The cache is reached through a plain pointer, so that calls made while the
// thread's objects are destroyed (or afterwards) find it gone rather than
// touch a destroyed object.
thread_local ThreadEntryCache* t_pCache = nullptr;
thread_local bool t_bCacheGone = false;

struct ThreadEntryCacheOwner {
    ~ThreadEntryCacheOwner()
    {
        t_bCacheGone = true;
        delete t_pCache;
        t_pCache = nullptr;
    }
};

ThreadEntryCache* ThreadCache()
{
    if (t_pCache) {
        return t_pCache;
    }
    if (t_bCacheGone) {
        return nullptr;
    }
    static thread_local ThreadEntryCacheOwner t_owner;
    (void)t_owner;
    t_pCache = new ThreadEntryCache();
    return t_pCache;
}

} // namespace

void ResolveEntry(const std::string& strEntry, ResolvedEntry& resolved)
{
    resolved.bEnabled = DecideByFilters(strEntry);
    resolved.pCategory = nullptr;
    resolved.bHasSwitches = false;
    resolved.switches = OutputSwitches();
    if (!SplitTraceEntry(strEntry, resolved.strModule, resolved.strClass, resolved.strFunction)) {
        resolved.strModule.clear();
        resolved.strClass.clear();
        resolved.strFunction.clear();
        return;
    }
    resolved.pCategory = ResolveCategory(resolved.strModule, resolved.strClass, resolved.strFunction);
    if (resolved.pCategory) {
        resolved.bHasSwitches =
            OutputSwitchTable::Instance().Get(resolved.pCategory->getName(), resolved.switches) == 0;
    }
}

const ResolvedEntry& ResolveCurrentEntry(std::optional<ResolvedEntry>& fallback)
{
    ThreadEntryCache* pCache = ThreadCache();
    if (!pCache) {
        std::string strEntry;
        if (!ReadCurrentEntry(strEntry)) {
            strEntry.clear();
        }
        fallback.emplace();
        ResolveEntry(strEntry, *fallback);
        return *fallback;
    }
    // Read before anything is worked out: a change made meanwhile raises
    // them again, and the next call starts afresh.
    const uint64_t uiGeneration = LogState::Generation();
    const uint64_t uiSwitchVersion = OutputSwitchTable::Instance().Version();
    if (!pCache->bValid || pCache->uiGeneration != uiGeneration || pCache->uiSwitchVersion != uiSwitchVersion) {
        pCache->pLastKey = nullptr;
        pCache->pLastEntry = nullptr;
        pCache->mapEntries.clear();
        pCache->uiGeneration = uiGeneration;
        pCache->uiSwitchVersion = uiSwitchVersion;
        pCache->bValid = true;
    }
    // No current entry: the empty text.
    std::string_view entry;
    if (!ReadCurrentEntryView(entry)) {
        entry = std::string_view();
    }
    if (pCache->pLastKey && entry == std::string_view(*pCache->pLastKey)) {
        return *pCache->pLastEntry;
    }
    pCache->strKey.assign(entry.data(), entry.size());
    auto it = pCache->mapEntries.find(pCache->strKey);
    if (it == pCache->mapEntries.end()) {
        if (pCache->mapEntries.size() >= kMaxCachedEntries) {
            pCache->pLastKey = nullptr;
            pCache->pLastEntry = nullptr;
            pCache->mapEntries.clear();
        }
        ResolvedEntry resolved;
        ResolveEntry(pCache->strKey, resolved);
        it = pCache->mapEntries.emplace(pCache->strKey, std::move(resolved)).first;
    }
    pCache->pLastKey = &it->first;
    pCache->pLastEntry = &it->second;
    return it->second;
}

std::string* ThreadEntryBuffer()
{
    ThreadEntryCache* pCache = ThreadCache();
    return pCache ? &pCache->strBuffer : nullptr;
}

bool IsLoggingEnabled()
{
    if (LogState::IsDisabled()) {
        return false;
    }
    if (!LogState::GetFilter()) {
        return true;
    }
    // The filters look at the event's context text only (the current entry),
    // so their verdict is worked out once per entry text.
    std::optional<ResolvedEntry> fallback;
    return ResolveCurrentEntry(fallback).bEnabled;
}
