#pragma once

#include "logging/LogFacade.h"

// Call-site helpers: test, then log. The located forms pass the source file
// and line as the first two arguments, so their format begins with "%s(%d)"
// ("%s(%d) : iIndex = %d", "%s(%d)Failed to launch apps. err = %s").
// The plain forms pass the caller's arguments only ("thread %S started.").
// __FILE__ is made relative to the project root by the build.

#define ORV_LOG_FATAL(fmt, ...)   do { if (IsFatalEnabled()) LogFatal(fmt, __FILE__, __LINE__, ##__VA_ARGS__); } while (0)
#define ORV_LOG_ERROR(fmt, ...)   do { if (IsErrorEnabled()) LogError(fmt, __FILE__, __LINE__, ##__VA_ARGS__); } while (0)
#define ORV_LOG_WARNING(fmt, ...) do { if (IsWarnEnabled()) LogWarning(fmt, __FILE__, __LINE__, ##__VA_ARGS__); } while (0)
#define ORV_LOG_INFO(fmt, ...)    do { if (IsInfoEnabled()) LogInfo(fmt, __FILE__, __LINE__, ##__VA_ARGS__); } while (0)
#define ORV_LOG_DEBUG(fmt, ...)   do { if (IsDebugEnabled()) LogDebug(fmt, __FILE__, __LINE__, ##__VA_ARGS__); } while (0)

#define ORV_LOG_FATAL_PLAIN(fmt, ...)   do { if (IsFatalEnabled()) LogFatal(fmt, ##__VA_ARGS__); } while (0)
#define ORV_LOG_ERROR_PLAIN(fmt, ...)   do { if (IsErrorEnabled()) LogError(fmt, ##__VA_ARGS__); } while (0)
#define ORV_LOG_WARNING_PLAIN(fmt, ...) do { if (IsWarnEnabled()) LogWarning(fmt, ##__VA_ARGS__); } while (0)
#define ORV_LOG_INFO_PLAIN(fmt, ...)    do { if (IsInfoEnabled()) LogInfo(fmt, ##__VA_ARGS__); } while (0)
#define ORV_LOG_DEBUG_PLAIN(fmt, ...)   do { if (IsDebugEnabled()) LogDebug(fmt, ##__VA_ARGS__); } while (0)

// "%s(%d) : throw %s" naming the exception expression as written, then throw it:
//   ORV_THROW(CJobOptionDataException(CJobOptionDataException::OUT_OF_RANGE));
#define ORV_THROW(...) \
    do { ORV_LOG_ERROR("%s(%d) : throw %s", #__VA_ARGS__); throw __VA_ARGS__; } while (0)

// The module name under which every scope of this program is traced.
#define ORV_LOG_MODULE "OrvprintD_exe"

// Opens the trace scope of the enclosing function under its qualified name:
//   ORV_TRACE_SCOPE("CPopupThread::Run");
#define ORV_TRACE_SCOPE(name) ::FunctionTraceScope orvTraceScope_(ORV_LOG_MODULE, nullptr, name)

// Writes the parameter list of a traced function as one Param record
// (failure paths, before the ERROR line). The list's text is the format.
#define ORV_LOG_PARAMS(params) do { if (IsFatalEnabled()) LogParam((params).Text().c_str()); } while (0)

#include "logging/FunctionTraceScope.h"
