#include "bench/service/ServiceDocuments.h"

#include <cstdio>
#include <memory>
#include <qpdf/Buffer.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFWriter.hh>
#include <sys/mman.h>
#include <unistd.h>

namespace orvbench {

std::string MakeTextPdf(int iPages, bool bObjectStreams)
{
    QPDF objPdf;
    objPdf.emptyPDF();
    QPDFObjectHandle hFont =
        objPdf.makeIndirectObject(QPDFObjectHandle::parse("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"));
    QPDFPageDocumentHelper objPages(objPdf);
    for (int i = 0; i < iPages; ++i) {
        char szText[128];
        std::snprintf(szText, sizeof(szText), "BT /F1 24 Tf 72 760 Td (Quarterly report - page %d of %d) Tj ET", i + 1,
                      iPages);
        QPDFObjectHandle hContents = QPDFObjectHandle::newStream(&objPdf, szText);
        QPDFObjectHandle hPage =
            objPdf.makeIndirectObject(QPDFObjectHandle::parse("<< /Type /Page /MediaBox [0 0 595 842] "
                                                              "/Resources << /Font << >> >> >>"));
        hPage.getKey("/Resources").getKey("/Font").replaceKey("/F1", hFont);
        hPage.replaceKey("/Contents", hContents);
        objPages.addPage(QPDFPageObjectHelper(hPage), false);
    }
    QPDFWriter objWriter(objPdf);
    objWriter.setOutputMemory();
    objWriter.setStaticID(true);
    objWriter.setObjectStreamMode(bObjectStreams ? qpdf_o_generate : qpdf_o_disable);
    objWriter.write();
    const std::shared_ptr<Buffer> pBuffer = objWriter.getBufferSharedPointer();
    return std::string(reinterpret_cast<const char*>(pBuffer->getBuffer()), pBuffer->getSize());
}

std::string MakePostScript(int iPages, size_t uiBytes)
{
    std::string strOut = "%!PS-Adobe-3.0\n%%Creator: orv_bench_service\n%%Pages: "
                         "(atend)\n%%EndComments\n"
                         "/Helvetica findfont 24 scalefont setfont\n";
    const size_t uiPerPage = iPages > 0 ? uiBytes / static_cast<size_t>(iPages) : 0;
    for (int i = 1; i <= iPages; ++i) {
        const size_t uiStart = strOut.size();
        char szPage[160];
        std::snprintf(szPage, sizeof(szPage),
                      "%%%%Page: %d %d\n72 760 moveto (Quarterly report - page %d "
                      "of %d) show\n",
                      i, i, i, iPages);
        strOut += szPage;
        // Drawing lines up to the page's share of the size.
        while (strOut.size() - uiStart + 40 < uiPerPage) {
            strOut += "72 700 moveto 451 0 rlineto stroke\n";
        }
        strOut += "showpage\n";
    }
    char szTrailer[64];
    std::snprintf(szTrailer, sizeof(szTrailer), "%%%%Trailer\n%%%%Pages: %d\n%%%%EOF\n", iPages);
    return strOut + szTrailer;
}

int MemoryFile(const std::string& strBytes)
{
    const int iFd = memfd_create("orv-bench-document", MFD_CLOEXEC);
    if (iFd < 0) {
        return -1;
    }
    size_t uiDone = 0;
    while (uiDone < strBytes.size()) {
        const ssize_t n = write(iFd, strBytes.data() + uiDone, strBytes.size() - uiDone);
        if (n <= 0) {
            close(iFd);
            return -1;
        }
        uiDone += static_cast<size_t>(n);
    }
    lseek(iFd, 0, SEEK_SET);
    return iFd;
}

} // namespace orvbench
