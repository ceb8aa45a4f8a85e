// The log facade over log4cpp. Every call returns at once while logging is
// disabled, never throws, and keeps the caller's error state.
#include "logging/LogFacade.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <log4cpp/Appender.hh>
#include <log4cpp/Category.hh>
#include <log4cpp/PropertyConfigurator.hh>
#include "logging/ErrorState.h"
#include "logging/FunctionTrace.h"
#include "logging/HexDump.h"
#include "logging/OutputSwitchTable.h"
#include "logging/RecordFormat.h"
#include "logging/ThreadId.h"
#include "logging/log4cpp/CategoryResolver.h"
#include "logging/log4cpp/EntryCache.h"
#include "logging/log4cpp/EventLogAppenderFactory.h"
#include "logging/log4cpp/LogConfigurator.h"
#include "logging/log4cpp/LogFileGuard.h"
#include "logging/log4cpp/LogFilter.h"
#include "logging/log4cpp/LogState.h"
#include "logging/log4cpp/ThreadNdc.h"
#include "logging/log4cpp/LogWriteLock.h"

namespace {

// Fixed stack buffers for the message and the record; longer texts are cut.
const size_t kRecordBufferSize = 800;

const int kPriorityFatal = 0;
const int kPriorityAlert = 100;
const int kPriorityCrit = 200;
const int kPriorityError = 300;
const int kPriorityWarn = 400;
const int kPriorityNotice = 500;
const int kPriorityInfo = 600;
const int kPriorityDebug = 700;

// Removes an appender from its category (which deletes it) on every way out.
class ScopedAppender {
public:
    ScopedAppender(log4cpp::Category& category, log4cpp::Appender* pAppender)
        : m_category(category), m_pAppender(pAppender)
    {
        m_category.addAppender(m_pAppender);
    }
    ~ScopedAppender() { m_category.removeAppender(m_pAppender); }

    ScopedAppender(const ScopedAppender&) = delete;
    ScopedAppender& operator=(const ScopedAppender&) = delete;

private:
    log4cpp::Category& m_category;
    log4cpp::Appender* m_pAppender;
};

// A record that stopped early (cut at the buffer's end, or before a text
// with a character the locale cannot express) can end between the two characters
// of a "%%". Handed to log4cpp as a format, a lone "%" at its end makes the
// formatter fail, and log4cpp answers a failure by growing its buffer and
// trying again without end. The lone "%" is dropped; the rest stays.
void DropLonePercentAtEnd(char* szRecord)
{
    size_t uiLength = std::strlen(szRecord);
    size_t uiPercents = 0;
    while (uiPercents < uiLength && szRecord[uiLength - 1 - uiPercents] == '%') {
        ++uiPercents;
    }
    if (uiPercents % 2 != 0) {
        szRecord[uiLength - 1] = '\0';
    }
}

// ERROR, WARNING, INFO and DEBUG: the record is built here and handed to
// log4cpp as its format, so log4cpp formats it a second time.
void LogTwiceFormatted(int iPriority, const char* szRecordFormat, bool bDumpStack, const char* szFormat,
                       va_list va)
{
    if (!IsLoggingEnabled()) {
        return;
    }
    TraceContext context;
    if (!ResolveCurrentContext(context)) {
        return;
    }
    char szMessage[kRecordBufferSize];
    FormatRecordV(szMessage, sizeof(szMessage), szFormat, va);
    char szRecord[kRecordBufferSize];
    FormatRecord(szRecord, sizeof(szRecord), szRecordFormat, LogThreadId(), szMessage);
    DropLonePercentAtEnd(szRecord);

    log4cpp::Category& category = *context.pCategory;
    {
        const auto lock = LogWriteLock::ForWrite();
        switch (iPriority) {
        case kPriorityError:
            category.error(szRecord);
            break;
        case kPriorityWarn:
            category.warn(szRecord);
            break;
        case kPriorityInfo:
            category.info(szRecord);
            break;
        default:
            category.debug(szRecord);
            break;
        }
    }
    if (bDumpStack) {
        DumpCallStack(context.strModule.c_str(), context.strClass.c_str(), context.strFunction.c_str(),
                      iPriority);
    }
}

void LogFatalV(const char* szFormat, va_list va)
{
    if (!IsLoggingEnabled()) {
        return;
    }
    TraceContext context;
    if (!ResolveCurrentContext(context)) {
        return;
    }
    // FATAL records are written only for modules the configuration names in
    // one of the output keys.
    OutputSwitches switches;
    if (OutputSwitchTable::Instance().Get(context.strModule, switches) != 0) {
        return;
    }
    char szMessage[kRecordBufferSize];
    FormatRecordV(szMessage, sizeof(szMessage), szFormat, va);

    log4cpp::Category& category = *context.pCategory;
    const char* szModule = context.strModule.c_str();
    const char* szClass = context.strClass.c_str();
    const char* szFunction = context.strFunction.c_str();

    if (switches.bOutputNTEventLog) {
        // The event-log appender lives for this one record and its dump.
        const std::string strSource = context.strModule + "_" + context.strClass + "_" + context.strFunction;
        log4cpp::Appender* pAppender = CreateEventLogAppender("NTEVENTLog", strSource);
        if (pAppender) {
            pAppender->setThreshold(kPriorityFatal);
            ScopedAppender attached(category, pAppender);
            {
                const auto lock = LogWriteLock::ForWrite();
                category.fatal("[ThreadID:%lu] FATAL - %s", LogThreadId(), szMessage);
            }
            DumpCallStack(szModule, szClass, szFunction, kPriorityFatal);
            return;
        }
    }
    {
        const auto lock = LogWriteLock::ForWrite();
        category.fatal("[ThreadID:%lu] FATAL - %s", LogThreadId(), szMessage);
    }
    DumpCallStack(szModule, szClass, szFunction, kPriorityFatal);
}

void LogParamV(const char* szFormat, va_list va)
{
    if (!IsLoggingEnabled()) {
        return;
    }
    TraceContext context;
    if (!ResolveCurrentContext(context)) {
        return;
    }
    OutputSwitches switches;
    if (OutputSwitchTable::Instance().Get(context.pCategory->getName(), switches) != 0 ||
        !switches.bOutputParam) {
        return;
    }
    char szMessage[kRecordBufferSize];
    FormatRecordV(szMessage, sizeof(szMessage), szFormat, va);
    const auto lock = LogWriteLock::ForWrite();
    context.pCategory->log(kPriorityFatal, "[ThreadID:%lu] Param - %s", LogThreadId(), szMessage);
}

bool IsPriorityEnabled(int iPriority)
{
    if (LogState::IsDisabled()) {
        return false;
    }
    CallerErrorState errorState;
    try {
        // Asked before nearly every record: the current entry's category
        // comes from the thread's cache of resolved entries.
        std::optional<ResolvedEntry> fallback;
        const ResolvedEntry& entry = ResolveCurrentEntry(fallback);
        if (!entry.pCategory) {
            return false;
        }
        return entry.pCategory->isPriorityEnabled(iPriority);
    } catch (...) {
        return false;
    }
}

} // namespace

// One public entry per level; the shared work runs inside a catch-all.
#define ORV_FACADE_CALL(szFormat, body)          \
    if (LogState::IsDisabled()) {                \
        return;                                  \
    }                                            \
    CallerErrorState errorState;                 \
    va_list va;                                  \
    va_start(va, szFormat);                      \
    try {                                        \
        body;                                    \
    } catch (...) {                              \
    }                                            \
    va_end(va)

void LogFatal(const char* szFormat, ...)
{
    ORV_FACADE_CALL(szFormat, LogFatalV(szFormat, va));
}

void LogError(const char* szFormat, ...)
{
    ORV_FACADE_CALL(szFormat, LogTwiceFormatted(kPriorityError, "[ThreadID:%lu] ERROR - %s", true, szFormat, va));
}

void LogWarning(const char* szFormat, ...)
{
    ORV_FACADE_CALL(szFormat,
                    LogTwiceFormatted(kPriorityWarn, "[ThreadID:%lu] WARNING - %s", false, szFormat, va));
}

void LogInfo(const char* szFormat, ...)
{
    ORV_FACADE_CALL(szFormat, LogTwiceFormatted(kPriorityInfo, "[ThreadID:%lu] INFO - %s", false, szFormat, va));
}

void LogDebug(const char* szFormat, ...)
{
    ORV_FACADE_CALL(szFormat, LogTwiceFormatted(kPriorityDebug, "[ThreadID:%lu] DEBUG - %s", true, szFormat, va));
}

void LogParam(const char* szFormat, ...)
{
    ORV_FACADE_CALL(szFormat, LogParamV(szFormat, va));
}

#undef ORV_FACADE_CALL

bool IsDebugEnabled() { return IsPriorityEnabled(kPriorityDebug); }
bool IsInfoEnabled() { return IsPriorityEnabled(kPriorityInfo); }
bool IsNoticeEnabled() { return IsPriorityEnabled(kPriorityNotice); }
bool IsWarnEnabled() { return IsPriorityEnabled(kPriorityWarn); }
bool IsErrorEnabled() { return IsPriorityEnabled(kPriorityError); }
bool IsCritEnabled() { return IsPriorityEnabled(kPriorityCrit); }
bool IsAlertEnabled() { return IsPriorityEnabled(kPriorityAlert); }
bool IsFatalEnabled() { return IsPriorityEnabled(kPriorityFatal); }
bool IsEmergEnabled() { return IsPriorityEnabled(kPriorityFatal); }

int InitLogging(const char* szConfigPath)
{
    CallerErrorState errorState;
    // A new configuration starts from nothing: no switches, no filters.
    LogState::SetDisabled(true);
    LogState::NextGeneration();
    try {
        LogState::ReplaceFilter(nullptr);
        OutputSwitchTable::Instance().Clear();

        const std::string strPath(szConfigPath ? szConfigPath : "");
        LogConfigurator configurator;
        CLogFileGuard fileGuard;
        log4cpp::PropertyConfigurator::configure(fileGuard.Prepare(strPath));
        configurator.Configure(strPath);

        LogState::ReplaceFilter(configurator.ReleaseFilter());
        LogState::SetDisabled(false);
        LogState::NextGeneration();
        fileGuard.Finish();
    } catch (...) {
        // Unreadable or malformed: the program runs on without logging.
        LogState::SetDisabled(true);
    }
    // Categories were made and switches read: nothing worked out before
    // stays valid.
    LogState::NextGeneration();
    return 0;
}

void SetLogFolder(const char* szFolder)
{
    CallerErrorState errorState;
    try {
        LogState::SetLogFolder(szFolder ? szFolder : "");
    } catch (...) {
    }
}

void ShutdownLogging()
{
    CallerErrorState errorState;
    try {
        if (!LogState::IsDisabled()) {
            log4cpp::Category::shutdown();
            LogState::SetDisabled(true);
        }
        LogState::NextGeneration();
        ReleaseThreadNdc();
    } catch (...) {
    }
}

void LogHexDump(const char* szTitle, const void* pData, uint32_t uiLength, LogHexDumpOutput pfnOutput)
{
    if (LogState::IsDisabled()) {
        return;
    }
    CallerErrorState errorState;
    try {
        WriteHexDump(szTitle, pData, uiLength, pfnOutput);
    } catch (...) {
    }
}
