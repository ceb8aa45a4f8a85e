#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include "service/WorkerResult.h"

using OrvService::CWorkerResult;

namespace {

CWorkerResult::RECORD Record(uint32_t uiOutcome, const std::u16string& strPrinter, const std::u16string& strProject,
                             int32_t iPages)
{
    CWorkerResult::RECORD stuRecord;
    std::memset(&stuRecord, 0, sizeof(stuRecord));
    stuRecord.uiMagic = CWorkerResult::MAGIC;
    stuRecord.uiOutcome = uiOutcome;
    std::memcpy(stuRecord.szPrinterId, strPrinter.data(), strPrinter.size() * 2);
    std::memcpy(stuRecord.szProjectId, strProject.data(), strProject.size() * 2);
    stuRecord.iPageTotal = iPages;
    return stuRecord;
}

std::string Problem(const CWorkerResult::RECORD& stuRecord, size_t uiSize = sizeof(CWorkerResult::RECORD))
{
    CWorkerResult objResult;
    std::string strProblem;
    return CWorkerResult::Decode(&stuRecord, uiSize, objResult, strProblem) ? "(accepted)" : strProblem;
}

TEST(WorkerResultTest, EncodeDecodeRoundTrip)
{
    const CWorkerResult objSent(CWorkerResult::OUTCOME_OK, u"P-3F-01", u"\u65B0\u4EA7\u54C1", 120);
    const std::string strBytes = objSent.Encode();
    ASSERT_EQ(52u, strBytes.size());
    CWorkerResult objRead;
    std::string strProblem;
    ASSERT_TRUE(CWorkerResult::Decode(strBytes.data(), strBytes.size(), objRead, strProblem)) << strProblem;
    EXPECT_EQ(CWorkerResult::OUTCOME_OK, objRead.GetOutcome());
    EXPECT_EQ(u"P-3F-01", objRead.GetPrinterId());
    EXPECT_EQ(u"\u65B0\u4EA7\u54C1", objRead.GetProjectId());
    EXPECT_EQ(120, objRead.GetPageTotal());
}

TEST(WorkerResultTest, EncodeCutsIdsToNineUnits)
{
    const std::string strBytes = CWorkerResult(CWorkerResult::OUTCOME_OK, u"ABCDEFGHIJKL", u"", 0).Encode();
    CWorkerResult objRead;
    std::string strProblem;
    ASSERT_TRUE(CWorkerResult::Decode(strBytes.data(), strBytes.size(), objRead, strProblem));
    EXPECT_EQ(u"ABCDEFGHI", objRead.GetPrinterId());
}

TEST(WorkerResultTest, MalformedRecordsRefusedWithTheReason)
{
    const CWorkerResult::RECORD stuGood = Record(CWorkerResult::OUTCOME_OK, u"P1", u"J1", 3);
    EXPECT_EQ("(accepted)", Problem(stuGood));
    EXPECT_EQ("the record has 51 bytes, not 52", Problem(stuGood, 51));
    EXPECT_EQ("the record has 0 bytes, not 52", Problem(stuGood, 0));
    CWorkerResult::RECORD stuBad = stuGood;
    stuBad.uiMagic ^= 1;
    EXPECT_EQ("the record does not begin with its mark", Problem(stuBad));
    EXPECT_EQ("unknown outcome 0", Problem(Record(0, u"", u"", 0)));
    EXPECT_EQ("(accepted)", Problem(Record(CWorkerResult::OUTCOME_EARLIER_OPEN, u"", u"", 0)));
    EXPECT_EQ("unknown outcome 9", Problem(Record(9, u"", u"", 0)));
    EXPECT_EQ("an id is not terminated within its field", Problem(Record(1, u"ABCDEFGHIJ", u"", 0)));
    stuBad = stuGood;
    stuBad.szProjectId[5] = u'x'; // after the terminator
    EXPECT_EQ("an id is not terminated within its field", Problem(stuBad));
    EXPECT_EQ("ids with an outcome other than OK", Problem(Record(CWorkerResult::OUTCOME_CANCELLED, u"P1", u"", 0)));
    EXPECT_EQ("ids with an outcome other than OK", Problem(Record(CWorkerResult::OUTCOME_NOT_RUNNING, u"", u"J", 0)));
    EXPECT_EQ("a negative page total", Problem(Record(CWorkerResult::OUTCOME_OK, u"P1", u"", -1)));
    EXPECT_EQ("(accepted)", Problem(Record(CWorkerResult::OUTCOME_FAILED, u"", u"", 0)));
}

TEST(WorkerResultTest, RandomBytesNeverCrashAndAcceptedOnesAreWellFormed)
{
    std::mt19937 rng(24);
    for (int i = 0; i < 200000; ++i) {
        CWorkerResult::RECORD stuRecord = Record(1 + rng() % 7, u"P1", u"J1", 5);
        unsigned char* pby = reinterpret_cast<unsigned char*>(&stuRecord);
        const int iFlips = 1 + static_cast<int>(rng() % 4);
        for (int j = 0; j < iFlips; ++j) {
            pby[rng() % sizeof(stuRecord)] = static_cast<unsigned char>(rng());
        }
        CWorkerResult objResult;
        std::string strProblem;
        if (CWorkerResult::Decode(&stuRecord, sizeof(stuRecord), objResult, strProblem)) {
            ASSERT_LE(objResult.GetPrinterId().size(), 9u);
            ASSERT_LE(objResult.GetProjectId().size(), 9u);
            ASSERT_GE(objResult.GetPageTotal(), 0);
            ASSERT_TRUE(objResult.GetOutcome() >= CWorkerResult::OUTCOME_OK &&
                        objResult.GetOutcome() <= CWorkerResult::OUTCOME_FAILED);
        } else {
            ASSERT_FALSE(strProblem.empty());
        }
    }
}

} // namespace
