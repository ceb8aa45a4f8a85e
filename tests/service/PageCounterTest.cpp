#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include "service/PageCounter.h"
#include "support/TempFolder.h"
#include "tests/service/TestPdf.h"

using OrvService::CPageCounter;

namespace {

class PageCounterTest : public ::testing::Test {
protected:
    // Pages of a document with these bytes, counted through a descriptor.
    int Count(const std::string& strBytes, CPageCounter::EKind* peKind = nullptr)
    {
        const std::string strPath = m_folder.WriteFile("doc" + std::to_string(++m_iFiles), strBytes);
        const int iFd = open(strPath.c_str(), O_RDONLY | O_CLOEXEC);
        EXPECT_GE(iFd, 0);
        if (peKind) {
            *peKind = CPageCounter::DetectKind(iFd);
        }
        const int iPages = CPageCounter::CountPages(iFd);
        close(iFd);
        return iPages;
    }

    orvtest::TempFolder m_folder;
    int m_iFiles = 0;
};

TEST_F(PageCounterTest, PdfPagesCountedByQpdf)
{
    CPageCounter::EKind eKind = CPageCounter::KIND_OTHER;
    EXPECT_EQ(1, Count(orvtest::MakePdf(1), &eKind));
    EXPECT_EQ(CPageCounter::KIND_PDF, eKind);
    EXPECT_EQ(3, Count(orvtest::MakePdf(3)));
    EXPECT_EQ(60, Count(orvtest::MakePdf(60)));
    EXPECT_EQ(0, Count(orvtest::MakePdf(0)));
}

TEST_F(PageCounterTest, UnreadablePdfCountsZero)
{
    EXPECT_EQ(0, Count("%PDF-1.4\nthis is no PDF at all\n"));
    const std::string strPdf = orvtest::MakePdf(5);
    EXPECT_EQ(0, Count(strPdf.substr(0, 40)));
}

TEST_F(PageCounterTest, PostScriptByPagesComment)
{
    CPageCounter::EKind eKind = CPageCounter::KIND_OTHER;
    EXPECT_EQ(7, Count("%!PS-Adobe-3.0\n%%Pages: 7\n%%EndComments\nshowpage\n%%EOF\n", &eKind));
    EXPECT_EQ(CPageCounter::KIND_POSTSCRIPT, eKind);
    EXPECT_EQ(12, Count("%!PS-Adobe-3.0\r\n%%Pages: (atend)\r\n%%EndComments\r\n%%Trailer\r\n%%Pages: 12\r\n%%EOF\r\n"));
    EXPECT_EQ(0, Count("%!PS-Adobe-3.0\n%%EndComments\nshowpage\n"));
    EXPECT_EQ(0, Count("%!PS-Adobe-3.0\n%%Pages: (atend)\n%%EOF\n"));
    EXPECT_EQ(0, Count("%!PS-Adobe-3.0\n%%Pages: many\n"));
}

TEST_F(PageCounterTest, OtherDocumentsCountZero)
{
    CPageCounter::EKind eKind = CPageCounter::KIND_PDF;
    EXPECT_EQ(0, Count("Hello, printer.\n%%Pages: 3\n", &eKind));
    EXPECT_EQ(CPageCounter::KIND_OTHER, eKind);
    EXPECT_EQ(0, Count(""));
    EXPECT_EQ(0, Count("%PD"));
}

} // namespace
