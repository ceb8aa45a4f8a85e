#pragma once

#include "logging/FunctionTrace.h"

// Opens a trace scope for its lifetime: TraceFunctionBegin on construction,
// TraceFunctionEnd on destruction (normal return or exception).
class FunctionTraceScope {
public:
    FunctionTraceScope(const char* szModule, const char* szClass, const char* szFunction)
    {
        TraceFunctionBegin(szModule, szClass, szFunction);
    }
    ~FunctionTraceScope() { TraceFunctionEnd(); }

    FunctionTraceScope(const FunctionTraceScope&) = delete;
    FunctionTraceScope& operator=(const FunctionTraceScope&) = delete;
};
