#pragma once

#include <string>

namespace OrvService {

// Counts the pages of a job's document, read through an open descriptor
// (the worker never opens the document by name). PDF is counted with qpdf;
// PostScript by its "%%Pages:" comment (with "(atend)", the one at the end).
// Every other document, and one that cannot be read, counts 0: its pages are
// unknown and never "too many". The kind is told by the document's first
// bytes, not by its name or the content type it was submitted with.
class CPageCounter {
public:
    enum EKind { KIND_OTHER, KIND_PDF, KIND_POSTSCRIPT };
    // PDF documents up to this size are read into memory to be counted;
    // larger ones are read through the descriptor.
    static constexpr long long MAX_IN_MEMORY = 256LL * 1024 * 1024;

    // Reads the descriptor from its start; its offset is left anywhere.
    static int CountPages(int iFd);
    static EKind DetectKind(int iFd);

private:
    static int CountPdfPages(int iFd);
    static int CountPostScriptPages(int iFd);
};

} // namespace OrvService
