#include "service/PageCounter.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <qpdf/QPDF.hh>
#include <sys/stat.h>
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
    try {
        QPDF objPdf;
        objPdf.setSuppressWarnings(true);
        // qpdf seeks and reads for every object: through a FILE that is
        // thousands of system calls for a long document. Read into memory
        // once (up to a size), it parses from there.
        struct stat st;
        std::string strDocument;
        if (fstat(iFd, &st) == 0 && S_ISREG(st.st_mode) && st.st_size > 0 && st.st_size <= MAX_IN_MEMORY) {
            strDocument.resize(static_cast<size_t>(st.st_size));
            size_t uiHave = 0;
            while (uiHave < strDocument.size()) {
                const ssize_t iRead = ReadAt(iFd, &strDocument[uiHave], strDocument.size() - uiHave,
                                             static_cast<off_t>(uiHave));
                if (iRead <= 0) {
                    break;
                }
                uiHave += static_cast<size_t>(iRead);
            }
            strDocument.resize(uiHave);
            objPdf.processMemoryFile("document", strDocument.data(), strDocument.size());
        } else {
            const int iOwnFd = dup(iFd);
            FILE* pFile = iOwnFd < 0 ? nullptr : fdopen(iOwnFd, "rb");
            if (!pFile) {
                if (iOwnFd >= 0) {
                    close(iOwnFd);
                }
                return 0;
            }
            objPdf.processFile("document", pFile, true); // closes pFile
        }
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
