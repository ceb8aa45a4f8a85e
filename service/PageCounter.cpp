#include "service/PageCounter.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <qpdf/QPDF.hh>
#include <unistd.h>

namespace OrvService {

namespace {

// Bytes read from the start of the file, retrying interrupted reads.
ssize_t ReadAt(int iFd, char* pchBuf, size_t uiSize, off_t iOffset)
{
    ssize_t iRead;
    do {
        iRead = pread(iFd, pchBuf, uiSize, iOffset);
    } while (iRead < 0 && errno == EINTR);
    return iRead;
}

// "%%Pages: N" → N; -1 for "(atend)" or anything else.
int PagesComment(const std::string& strLine)
{
    size_t uiAt = 8;
    while (uiAt < strLine.size() && (strLine[uiAt] == ' ' || strLine[uiAt] == '\t')) {
        ++uiAt;
    }
    const size_t uiDigits = strLine.find_first_not_of("0123456789", uiAt);
    const size_t uiEnd = uiDigits == std::string::npos ? strLine.size() : uiDigits;
    if (uiEnd == uiAt || uiEnd - uiAt > 9) {
        return -1;
    }
    return std::atoi(strLine.substr(uiAt, uiEnd - uiAt).c_str());
}

} // namespace

CPageCounter::EKind CPageCounter::DetectKind(int iFd)
{
    char achHead[5] = {0};
    const ssize_t iRead = ReadAt(iFd, achHead, sizeof(achHead), 0);
    if (iRead >= 5 && std::memcmp(achHead, "%PDF-", 5) == 0) {
        return KIND_PDF;
    }
    if (iRead >= 2 && std::memcmp(achHead, "%!", 2) == 0) {
        return KIND_POSTSCRIPT;
    }
    return KIND_OTHER;
}

int CPageCounter::CountPages(int iFd)
{
    switch (DetectKind(iFd)) {
    case KIND_PDF:
        return CountPdfPages(iFd);
    case KIND_POSTSCRIPT:
        return CountPostScriptPages(iFd);
    default:
        return 0;
    }
}

int CPageCounter::CountPdfPages(int iFd)
{
    const int iOwnFd = dup(iFd);
    if (iOwnFd < 0) {
        return 0;
    }
    FILE* pFile = fdopen(iOwnFd, "rb");
    if (!pFile) {
        close(iOwnFd);
        return 0;
    }
    try {
        QPDF objPdf;
        objPdf.setSuppressWarnings(true);
        objPdf.processFile("document", pFile, true); // closes pFile
        const size_t uiPages = objPdf.getAllPages().size();
        return uiPages > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<int>(uiPages);
    } catch (const std::exception&) {
        return 0;
    }
}

int CPageCounter::CountPostScriptPages(int iFd)
{
    // Line by line: the header's count, or with "(atend)" the last count of
    // the file (the trailer's).
    char achBuf[65536];
    std::string strLine;
    off_t iOffset = 0;
    int iHeaderPages = -1;
    int iLastPages = -1;
    bool bAtEnd = false;
    bool bHeaderSeen = false;
    auto TakeLine = [&]() {
        if (strLine.compare(0, 8, "%%Pages:") == 0) {
            const int iPages = PagesComment(strLine);
            if (!bHeaderSeen) {
                bHeaderSeen = true;
                iHeaderPages = iPages;
                bAtEnd = strLine.find("(atend)") != std::string::npos;
            }
            if (iPages >= 0) {
                iLastPages = iPages;
            }
        }
        strLine.clear();
    };
    for (;;) {
        const ssize_t iRead = ReadAt(iFd, achBuf, sizeof(achBuf), iOffset);
        if (iRead <= 0) {
            break;
        }
        iOffset += iRead;
        for (ssize_t i = 0; i < iRead; ++i) {
            const char ch = achBuf[i];
            if (ch == '\n' || ch == '\r') {
                TakeLine();
            } else if (strLine.size() < 256) {
                strLine.push_back(ch);
            }
        }
    }
    TakeLine();
    if (bAtEnd) {
        return iLastPages < 0 ? 0 : iLastPages;
    }
    return iHeaderPages < 0 ? 0 : iHeaderPages;
}

} // namespace OrvService
