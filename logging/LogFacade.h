#pragma once

#include <cstdint>

// The log facade: one call per level, one level test per log4cpp priority,
// start-up and shutdown. Every call never throws and keeps the caller's error
// state (GetLastError/errno/_doserrno on Windows, errno on Linux).
//
// Records go to the log4cpp category resolved from the calling thread's
// innermost trace scope (see FunctionTraceScope). Call sites use the macros of
// LogMacros.h, which do the level test and add the source file and line.

int InitLogging(const char* szConfigPath); // always 0
void ShutdownLogging();

// The log folder (the client's LogDir), as narrow text like the
// configuration's path. A file appender whose file name in the configuration
// is relative writes into this folder, never into the current folder; the
// name stays as the configuration has it (OrvprintD.log, logs/OrvprintD.log).
// Set it before InitLogging. Null or empty: there is no log folder, and a
// relative file name is refused (its appender writes nowhere, and the
// refusal is reported like a refused log file).
void SetLogFolder(const char* szFolder);

void LogFatal(const char* szFormat, ...);
void LogError(const char* szFormat, ...);
void LogWarning(const char* szFormat, ...);
void LogInfo(const char* szFormat, ...);
void LogDebug(const char* szFormat, ...);
void LogParam(const char* szFormat, ...);

bool IsDebugEnabled();  // 700
bool IsInfoEnabled();   // 600
bool IsNoticeEnabled(); // 500
bool IsWarnEnabled();   // 400
bool IsErrorEnabled();  // 300
bool IsCritEnabled();   // 200
bool IsAlertEnabled();  // 100
bool IsFatalEnabled();  // 0
bool IsEmergEnabled();  // 0

// Opens again, at its configured path, every log file that went away while
// the program runs (its folder removed, the file deleted), the folder made
// again where it is missing. The launcher thread calls it once a cycle.
// Returns the number of files opened again; 0 while logging is disabled.
int ReopenMissingLogFiles();

typedef void (*LogHexDumpOutput)(const char* szFormat, ...);
void LogHexDump(const char* szTitle, const void* pData, uint32_t uiLength, LogHexDumpOutput pfnOutput);
