#include <fcntl.h>
#include <unistd.h>
#include "language/TextConvert.h"
#include "tools/orvprint-send/SendTool.h"

namespace OrvprintSend {

bool ReadFileBytes(const std::wstring& strPath, std::string& strBytes)
{
    const int iFd = open(Language::Utf8FromWide(strPath).c_str(), O_RDONLY | O_CLOEXEC);
    if (iFd < 0) {
        return false;
    }
    char abyChunk[65536];
    bool bOk = true;
    for (;;) {
        const ssize_t n = read(iFd, abyChunk, sizeof(abyChunk));
        if (n > 0) {
            strBytes.append(abyChunk, static_cast<size_t>(n));
        } else {
            bOk = n == 0;
            break;
        }
    }
    close(iFd);
    return bOk;
}

} // namespace OrvprintSend
