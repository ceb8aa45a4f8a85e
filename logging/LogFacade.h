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

typedef void (*LogHexDumpOutput)(const char* szFormat, ...);
void LogHexDump(const char* szTitle, const void* pData, uint32_t uiLength, LogHexDumpOutput pfnOutput);
