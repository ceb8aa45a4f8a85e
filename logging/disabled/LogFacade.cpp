// The log facade in its disabled state: every call returns at once, every
// level test answers false, nothing is pushed on any trace context. This is
// what the facade does when its configuration cannot be read; builds without
// log4cpp link this file instead of the log4cpp-backed one.
#include "logging/LogFacade.h"
#include "logging/FunctionTrace.h"

int InitLogging(const char*) { return 0; }
void SetLogFolder(const char*) {}
void ShutdownLogging() {}

void LogFatal(const char*, ...) {}
void LogError(const char*, ...) {}
void LogWarning(const char*, ...) {}
void LogInfo(const char*, ...) {}
void LogDebug(const char*, ...) {}
void LogParam(const char*, ...) {}

bool IsDebugEnabled() { return false; }
bool IsInfoEnabled() { return false; }
bool IsNoticeEnabled() { return false; }
bool IsWarnEnabled() { return false; }
bool IsErrorEnabled() { return false; }
bool IsCritEnabled() { return false; }
bool IsAlertEnabled() { return false; }
bool IsFatalEnabled() { return false; }
bool IsEmergEnabled() { return false; }

int ReopenMissingLogFiles() { return 0; }

void LogHexDump(const char*, const void*, uint32_t, LogHexDumpOutput) {}

void TraceFunctionBegin(const char*, const char*, const char*) {}
void TraceFunctionEnd() {}
int DumpCallStack(const char*, const char*, const char*, int) { return -1; }
