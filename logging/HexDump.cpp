#include "logging/HexDump.h"

#include <cstddef>
#include <cstdint>

void WriteHexDump(const char* szTitle, const void* pData, uint32_t uiLength, LogHexDumpOutput pfnOutput)
{
    if (!pfnOutput) {
        return;
    }
    pfnOutput(szTitle);
    pfnOutput("Address=0X%08X Length=%ld\n",
              static_cast<unsigned int>(reinterpret_cast<uintptr_t>(pData) & 0xFFFFFFFFu),
              static_cast<long>(uiLength));
    if (!pData || uiLength == 0) {
        return;
    }

    static const char s_szDigits[] = "0123456789ABCDEF";
    const unsigned char* pbyData = static_cast<const unsigned char*>(pData);
    for (uint32_t uiLine = 0; uiLine < uiLength; uiLine += 16) {
        char szLine[60] = {0};
        size_t uiPos = 0;
        for (uint32_t uiCol = 0; uiCol < 16 && uiLine + uiCol < uiLength; ++uiCol) {
            const unsigned char by = pbyData[uiLine + uiCol];
            szLine[uiPos++] = s_szDigits[by >> 4];
            szLine[uiPos++] = s_szDigits[by & 0x0F];
            const bool bLastOfData = (uiLine + uiCol + 1 == uiLength);
            if (uiCol != 15 && !bLastOfData) {
                szLine[uiPos++] = ' ';
                if (uiCol == 7) {
                    szLine[uiPos++] = ' ';
                }
            }
        }
        pfnOutput("%s\n", szLine);
    }
}
