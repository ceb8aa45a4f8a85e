// The page count that the print service's worker makes of every job before
// it asks OrvprintD (CPageCounter on the descriptor the root part hands it):
// a 500-page PDF, counted with qpdf (cross-reference, page tree), in three
// forms: empty pages (tests/service/TestPdf.h), a line of text on each page
// with a plain cross-reference table, and the same packed into object
// streams. Beside them a PostScript document of the same size as the text
// PDF, counted by its "%%Pages:" comments (the whole file is read), and the
// floor: reading that many bytes through the descriptor, and qpdf's count
// of the text PDF once it is read into memory. The documents are memory
// files; the counts are checked.
#include <qpdf/QPDF.hh>
#include "bench/service/ServiceDocuments.h"
#include "service/PageCounter.h"
#include "support/BenchSupport.h"
#include "tests/service/TestPdf.h"
#include <unistd.h>

using namespace orvbench;

namespace {

const int PAGES = 500;

enum class EDocument { PDF_EMPTY_PAGES, PDF_TEXT_PAGES, PDF_OBJECT_STREAMS, POSTSCRIPT };

const std::string& TextPdf()
{
    static const std::string s_str = MakeTextPdf(PAGES, false);
    return s_str;
}

std::string MakeDocument(EDocument eDocument)
{
    switch (eDocument) {
    case EDocument::PDF_EMPTY_PAGES:
        return orvtest::MakePdf(PAGES);
    case EDocument::PDF_TEXT_PAGES:
        return TextPdf();
    case EDocument::PDF_OBJECT_STREAMS:
        return MakeTextPdf(PAGES, true);
    case EDocument::POSTSCRIPT:
    default:
        return MakePostScript(PAGES, TextPdf().size());
    }
}

// Owns the memory file of a document.
class CMemoryDocument {
public:
    explicit CMemoryDocument(const std::string& strBytes)
        : m_iFd(MemoryFile(strBytes))
    {
    }
    ~CMemoryDocument()
    {
        if (m_iFd >= 0) {
            close(m_iFd);
        }
    }
    CMemoryDocument(const CMemoryDocument&) = delete;
    CMemoryDocument& operator=(const CMemoryDocument&) = delete;
    int Get() const { return m_iFd; }

private:
    int m_iFd;
};

void BM_CountPages(benchmark::State& state, EDocument eDocument)
{
    UseLogging(ELogging::OFF);
    const std::string strBytes = MakeDocument(eDocument);
    CMemoryDocument objDocument(strBytes);
    if (objDocument.Get() < 0) {
        state.SkipWithError("no memory file");
        return;
    }
    CSamples samples;
    for (auto _ : state) {
        const int64_t t0 = NowNs();
        const int iPages = OrvService::CPageCounter::CountPages(objDocument.Get());
        samples.Add(NowNs() - t0);
        if (iPages != PAGES) {
            state.SkipWithError(("counted " + std::to_string(iPages) + " pages, not 500").c_str());
            break;
        }
    }
    samples.Report(state);
    state.counters["document_kb"] = static_cast<double>(strBytes.size()) / 1024.0;
}

void BM_ReadWholeFile(benchmark::State& state)
{
    UseLogging(ELogging::OFF);
    const std::string& strBytes = TextPdf();
    CMemoryDocument objDocument(strBytes);
    if (objDocument.Get() < 0) {
        state.SkipWithError("no memory file");
        return;
    }
    char achBuf[65536];
    CSamples samples;
    for (auto _ : state) {
        const int64_t t0 = NowNs();
        off_t iOffset = 0;
        ssize_t n;
        while ((n = pread(objDocument.Get(), achBuf, sizeof(achBuf), iOffset)) > 0) {
            iOffset += n;
        }
        samples.Add(NowNs() - t0);
        benchmark::DoNotOptimize(achBuf);
        if (static_cast<size_t>(iOffset) != strBytes.size()) {
            state.SkipWithError("short read");
            break;
        }
    }
    samples.Report(state);
    state.counters["document_kb"] = static_cast<double>(strBytes.size()) / 1024.0;
}

// What qpdf takes for the count once the document is in memory: the whole
// file read through the descriptor, then parsed from memory, without the
// seeks and reads of a FILE stream per object.
void BM_PdfFromMemory(benchmark::State& state)
{
    UseLogging(ELogging::OFF);
    const std::string& strBytes = TextPdf();
    CMemoryDocument objDocument(strBytes);
    if (objDocument.Get() < 0) {
        state.SkipWithError("no memory file");
        return;
    }
    CSamples samples;
    for (auto _ : state) {
        const int64_t t0 = NowNs();
        std::string strCopy(strBytes.size(), '\0');
        size_t uiDone = 0;
        ssize_t n = 1;
        while (uiDone < strCopy.size() && n > 0) {
            n = pread(objDocument.Get(), &strCopy[uiDone], strCopy.size() - uiDone, static_cast<off_t>(uiDone));
            uiDone += n > 0 ? static_cast<size_t>(n) : 0;
        }
        QPDF objPdf;
        objPdf.setSuppressWarnings(true);
        objPdf.processMemoryFile("document", strCopy.data(), strCopy.size());
        const size_t uiPages = objPdf.getAllPages().size();
        samples.Add(NowNs() - t0);
        if (uiPages != PAGES) {
            state.SkipWithError("not 500 pages");
            break;
        }
    }
    samples.Report(state);
}

} // namespace

ORV_BENCH_REGISTER(PageCount)
{
    const struct {
        const char* szName;
        EDocument eDocument;
    } astuCases[] = {
        {"PageCount/pdf_500_pages/empty_pages", EDocument::PDF_EMPTY_PAGES},
        {"PageCount/pdf_500_pages/text_pages", EDocument::PDF_TEXT_PAGES},
        {"PageCount/pdf_500_pages/object_streams", EDocument::PDF_OBJECT_STREAMS},
        {"PageCount/postscript_500_pages/pages_atend", EDocument::POSTSCRIPT},
    };
    for (const auto& stuCase : astuCases) {
        benchmark::RegisterBenchmark(stuCase.szName, BM_CountPages, stuCase.eDocument)->Unit(benchmark::kMillisecond);
    }
    benchmark::RegisterBenchmark("PageCount/baseline/read_whole_file", BM_ReadWholeFile)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("PageCount/baseline/pdf_500_pages/text_pages_qpdf_from_memory", BM_PdfFromMemory)
        ->Unit(benchmark::kMillisecond);
}
