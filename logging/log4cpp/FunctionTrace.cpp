// Function tracing on the calling thread's log4cpp NDC: one entry per open
// scope, begin and end lines where OutputFunBeginInfo is on, and the
// call-stack dump where OutputNDCFullmessage is on.
#include "logging/FunctionTrace.h"

#include <string>
#include <log4cpp/Category.hh>
#include <log4cpp/NDC.hh>
#include "logging/ErrorState.h"
#include "logging/OutputSwitchTable.h"
#include "logging/ThreadId.h"
#include "logging/TraceEntry.h"
#include "logging/log4cpp/CategoryResolver.h"
#include "logging/log4cpp/EntryCache.h"
#include "logging/log4cpp/LogState.h"
#include "logging/log4cpp/ThreadNdc.h"
#include "logging/log4cpp/LogWriteLock.h"

namespace {

// Begin and end lines go out at priority 0, so they pass any threshold.
// Runs for every traced call: the current entry's category and switches come
// from the thread's cache of resolved entries.
void WriteScopeLine(const char* szSuffix)
{
    if (!OutputSwitchTable::Instance().AnyFunBeginInfo()) {
        return; // no name asks for begin and end lines
    }
    std::optional<ResolvedEntry> fallback;
    const ResolvedEntry& entry = ResolveCurrentEntry(fallback);
    // The enable test of the filter chain, then the category and its switch.
    if (!entry.bEnabled || !entry.pCategory || !entry.bHasSwitches || !entry.switches.bOutputFunBeginInfo) {
        return;
    }
    std::string strText;
    strText.reserve(entry.strModule.size() + entry.strClass.size() + entry.strFunction.size() + 16);
    strText.append(entry.strModule).append(1, '_').append(entry.strClass).append(1, '_');
    strText.append(entry.strFunction).append(1, ' ').append(szSuffix);
    const auto lock = LogWriteLock::ForWrite();
    entry.pCategory->fatal("[ThreadID:%lu] %s", LogThreadId(), strText.c_str());
}

} // namespace

void TraceFunctionBegin(const char* szModule, const char* szClass, const char* szFunction)
{
    if (LogState::IsDisabled()) {
        return;
    }
    CallerErrorState errorState;
    try {
        // Pushed before any test, so that begin and end stay paired.
        if (std::string* pBuffer = ThreadEntryBuffer()) {
            BuildTraceEntry(*pBuffer, szModule, szClass, szFunction);
            log4cpp::NDC::push(*pBuffer);
        } else {
            log4cpp::NDC::push(MakeTraceEntry(szModule, szClass, szFunction));
        }
        WriteScopeLine(":START......");
    } catch (...) {
    }
}

void TraceFunctionEnd()
{
    if (LogState::IsDisabled()) {
        return;
    }
    CallerErrorState errorState;
    try {
        WriteScopeLine(":End  ......\n");
    } catch (...) {
    }
    try {
        PopThreadNdc();
    } catch (...) {
    }
}

int DumpCallStack(const char* szModule, const char* szClass, const char* szFunction, int iPriority)
{
    if (LogState::IsDisabled()) {
        return -1;
    }
    CallerErrorState errorState;
    try {
        const std::string strStack = ThreadNdcText();
        log4cpp::Category* pCategory =
            ResolveCategory(szModule ? szModule : "", szClass ? szClass : "", szFunction ? szFunction : "");
        OutputSwitches switches;
        if (!pCategory || OutputSwitchTable::Instance().Get(pCategory->getName(), switches) != 0 ||
            !switches.bOutputNDCFullmessage) {
            return -1;
        }
        const auto lock = LogWriteLock::ForWrite();
        pCategory->log(iPriority, "\t\t\t@_@ ---------\tCall\tStack\t-----------\n");
        pCategory->log(iPriority, "\t\t\t@_@ depth\tModule Name\t\tClass Name\t\t\tFunction Name \n");
        // Outermost entry first. The blank the NDC puts between entries stays
        // at the front of the next one's module.
        int iDepth = 1;
        size_t uiStart = 0;
        for (;;) {
            const size_t uiDollar = strStack.find('$', uiStart);
            if (uiDollar == std::string::npos) {
                break;
            }
            const std::string strPiece = strStack.substr(uiStart, uiDollar - uiStart);
            std::string strModule, strClass, strFunction;
            if (!SplitTraceEntry(strPiece, strModule, strClass, strFunction)) {
                strModule = strPiece;
            }
            pCategory->log(iPriority, "\t\t\t@_@ %d\t%s\t\t\t%s\t\t\t\t%s\n", iDepth, strModule.c_str(),
                           strClass.c_str(), strFunction.c_str());
            uiStart = uiDollar + 1;
            ++iDepth;
        }
        pCategory->log(iPriority, "\t\t\t@_@ ---------\tStack\tEnd\t-----------\n\n\n");
        return 0;
    } catch (...) {
        return -1;
    }
}
