#pragma once

#include <memory>
#include <string>
#include <qpdf/Buffer.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFWriter.hh>

namespace orvtest {

// A valid PDF of iPages empty Letter pages, made with qpdf.
inline std::string MakePdf(int iPages)
{
    QPDF objPdf;
    objPdf.emptyPDF();
    QPDFPageDocumentHelper objPages(objPdf);
    for (int i = 0; i < iPages; ++i) {
        QPDFObjectHandle hPage =
            objPdf.makeIndirectObject(QPDFObjectHandle::parse("<< /Type /Page /MediaBox [0 0 612 792] >>"));
        objPages.addPage(QPDFPageObjectHelper(hPage), false);
    }
    QPDFWriter objWriter(objPdf);
    objWriter.setOutputMemory();
    objWriter.setStaticID(true);
    objWriter.write();
    const std::shared_ptr<Buffer> pBuffer = objWriter.getBufferSharedPointer();
    return std::string(reinterpret_cast<const char*>(pBuffer->getBuffer()), pBuffer->getSize());
}

} // namespace orvtest
