#pragma once

#include <cstdint>
#include "logging/LogFacade.h"

// The body of LogHexDump once logging is known to be on: the title (as the
// format), the address line "Address=0X%08X Length=%ld\n" (low 32 bits of
// the address) and the bytes, sixteen a line as upper-case hex pairs with an
// extra blank after the eighth, each line through "%s\n".
void WriteHexDump(const char* szTitle, const void* pData, uint32_t uiLength, LogHexDumpOutput pfnOutput);
