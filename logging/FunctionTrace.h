#pragma once

// Function tracing on the calling thread's log4cpp NDC. Each of module, class
// and function may be null (read as empty). None of these throws.
void TraceFunctionBegin(const char* szModule, const char* szClass, const char* szFunction);
void TraceFunctionEnd();

// Call-stack dump after FATAL (0), ERROR (300) and DEBUG (700) records.
// 0 when printed, -1 when not.
int DumpCallStack(const char* szModule, const char* szClass, const char* szFunction, int iPriority);
