#pragma once

// Documents of print jobs for the print service's benchmarks, made in
// memory.

#include <cstddef>
#include <string>

namespace orvbench {

// A PDF of iPages A4 pages with one line of text each (one content stream
// per page, one shared font), as an application writes it; with
// bObjectStreams the objects are packed into object streams behind a
// cross-reference stream (PDF 1.5), else a plain cross-reference table.
std::string MakeTextPdf(int iPages, bool bObjectStreams);

// A DSC PostScript document of iPages pages, about uiBytes long, with
// "%%Pages: (atend)" in its header and the count in its trailer.
std::string MakePostScript(int iPages, size_t uiBytes);

// A memory file (memfd) holding the bytes, its offset at 0; -1 on failure.
int MemoryFile(const std::string& strBytes);

} // namespace orvbench
