// The popup thread over many requests: a sender process sends them one after
// the other and checks every answer; this process, the receiver alone, is
// measured after the first tenth of the requests and after the last one.
// Whatever a request takes from the system (descriptors or handles, memory)
// must have been given back by then.
//
// ORV_SOAK_REQUESTS sets the number of requests (default 10,000).
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/JobRequestBuilder.h"
#include "PopupChannelSupport.h"
#include "ProcessFootprint.h"
#include "language/TextConvert.h"
#include "support/ChildMain.h"
#include "support/ChildProcess.h"
#include "support/LogCapture.h"
#include "tests/utility/NamedObjectTestSupport.h"

namespace {

using OrvUtility::CMsgQueueSender;

const int DEFAULT_REQUESTS = 10000;

const int PRINTERS = 10;
const int PROJECTS = 20;
// Resident memory may grow by less than this between the two measurements.
const int64_t RESIDENT_GROWTH_LIMIT = 2 * 1024 * 1024;

int SoakRequests()
{
    const char* szValue = std::getenv("ORV_SOAK_REQUESTS");
    if (!szValue || !*szValue) {
        return DEFAULT_REQUESTS;
    }
    char* pEnd = nullptr;
    const long lValue = std::strtol(szValue, &pEnd, 10);
    return (pEnd && !*pEnd && lValue >= 10 && lValue <= 10000000) ? static_cast<int>(lValue) : DEFAULT_REQUESTS;
}

std::u16string NumberedId(char16_t chLetter, int iNumber)
{
    std::u16string str(1, chLetter);
    str += static_cast<char16_t>(u'0' + iNumber / 10);
    str += static_cast<char16_t>(u'0' + iNumber % 10);
    return str;
}

// Ten printers P01..P10 and twenty projects J01..J20, with names of a
// realistic length.
std::vector<uint8_t> SoakRequest()
{
    orvtest::CJobRequestBuilder builder;
    for (int i = 1; i <= PRINTERS; ++i) {
        builder.Printer(NumberedId(u'P', i), u"Floor " + NumberedId(u'F', i) + u" office printer, colour, A3/A4",
                        0, false, i, 10 * i, 500, u"Room " + NumberedId(u'R', i));
    }
    for (int j = 1; j <= PROJECTS; ++j) {
        builder.Project(NumberedId(u'J', j), u"Project " + NumberedId(u'J', j) + u" of the accounting department",
                        u"cost centre " + NumberedId(u'C', j));
    }
    return builder.Build();
}

// What the user picks in dialog number iDialog (counted from 1): printer and
// project go round, so that every answer differs from the one before.
int PrinterOf(int iDialog)
{
    return (iDialog - 1) % PRINTERS;
}
int ProjectOf(int iDialog)
{
    return (iDialog - 1) % PROJECTS;
}

double Megabytes(int64_t iBytes)
{
    return static_cast<double>(iBytes) / (1024.0 * 1024.0);
}

} // namespace

// The printing service's side: NAME COUNT. Sends COUNT requests one after the
// other and checks each answer against the choice the receiver's script
// makes for it. 0 when all were right, 1 when a request was not answered,
// 2 for a wrong answer; stderr names the request and what was wrong.
ORV_CHILD_MAIN(SoakSender)
{
    if (args.size() != 2) {
        return 100;
    }
    CMsgQueueSender objSender(Language::WideFromUtf8(args[0]));
    if (!objSender.IsOpen()) {
        return 101;
    }
    const int iCount = std::atoi(args[1].c_str());
    const std::vector<uint8_t> vecRequest = SoakRequest();
    for (int k = 1; k <= iCount; ++k) {
        CMsgQueueSender::REPLY reply;
        const CMsgQueueSender::SendResult eResult =
            objSender.Send(vecRequest.data(), vecRequest.size(), 30000, reply);
        if (eResult != CMsgQueueSender::SEND_ANSWERED) {
            std::fprintf(stderr, "SoakSender: request %d: send result %u\n", k, static_cast<unsigned>(eResult));
            return 1;
        }
        const std::string strWrong = orvtest::CheckOkReply(reply, NumberedId(u'P', PrinterOf(k) + 1),
                                                           NumberedId(u'J', ProjectOf(k) + 1));
        if (!strWrong.empty()) {
            std::fprintf(stderr, "SoakSender: request %d: %s\n", k, strWrong.c_str());
            return 2;
        }
    }
    return 0;
}

TEST(PopupThreadSoakTest, ManyRequestsLeaveHandlesAndMemoryWhereTheyWere)
{
    orvtest::ScopedSharedFolder shared;
    orvtest::LogCapture cap("", "INFO");
    const int iRequests = SoakRequests();
    const int iFirstCheckpoint = iRequests / 10;
    const std::wstring strName = orvtest::UniquePopupQueueName(L"OrvPopupSoak");

    std::atomic<int> iDialogs{0};
    std::atomic<int> iWrongSetup{0};
    orvtest::ProcessFootprint stuFirst;
    orvtest::ProcessFootprint stuLast;
    orvtest::ScriptPopupDialogs([&](orvtest::CFakeOrvprintDDlgView& v) {
        const int iDialog = ++iDialogs;
        if (v.GetItemCount(IOrvprintDDlgView::PRINTER_LIST) != PRINTERS ||
            v.GetItemCount(IOrvprintDDlgView::PROJECT_LIST) != PROJECTS) {
            ++iWrongSetup;
        }
        v.SelectPrinter(PrinterOf(iDialog));
        v.SelectProject(ProjectOf(iDialog));
        // Both measurements at the same point of a request: its dialog is up.
        if (iDialog == iFirstCheckpoint) {
            stuFirst = orvtest::MeasureProcessFootprint();
        } else if (iDialog == iRequests) {
            stuLast = orvtest::MeasureProcessFootprint();
        }
        v.ClickOk();
    });

    orvtest::ServedPopupThread objThread(strName);
    ASSERT_TRUE(objThread.Start()) << "the popup thread does not serve its channel";

    const auto tStart = std::chrono::steady_clock::now();
    auto pSender = orvtest::ChildProcess::StartSelf("SoakSender",
                                                    {Language::Utf8FromWide(strName), std::to_string(iRequests)});
    ASSERT_TRUE(pSender);
    // A hang, not a slow machine, reaches this bound.
    const auto tLimit = std::chrono::seconds(60) + std::chrono::milliseconds(50) * iRequests;
    const bool bEnded = orvtest::WaitServingEventsFor([&]() { return !pSender->IsRunning(); },
                                                      std::chrono::duration_cast<std::chrono::milliseconds>(tLimit));
    const double dSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - tStart).count();
    if (!bEnded) {
        pSender->Kill();
        FAIL() << "the sender was not done after " << dSeconds << " s, at dialog " << iDialogs.load() << " of "
               << iRequests;
    }
    EXPECT_EQ(0, pSender->Wait()) << "1: a request was not answered; 2: a wrong answer (see its stderr)";
    ASSERT_TRUE(objThread.Stop());
    EXPECT_EQ(6, objThread.Thread().GetLoopResult());
    EXPECT_EQ(iRequests, iDialogs.load());
    EXPECT_EQ(0, iWrongSetup.load());

    const int64_t iGrowth = stuLast.iResidentBytes - stuFirst.iResidentBytes;
    char szLine[512];
    std::snprintf(szLine, sizeof(szLine),
                  "soak: %d requests (10 printers, 20 projects); after %d: %lld handles, %.2f MB resident; "
                  "after %d: %lld handles, %.2f MB resident (%+.3f MB); %.1f s, %.2f ms per request",
                  iRequests, iFirstCheckpoint, static_cast<long long>(stuFirst.iHandles),
                  Megabytes(stuFirst.iResidentBytes), iRequests, static_cast<long long>(stuLast.iHandles),
                  Megabytes(stuLast.iResidentBytes), Megabytes(iGrowth), dSeconds, 1000.0 * dSeconds / iRequests);
    std::printf("%s\n", szLine);
    std::fflush(stdout);
    ::testing::Test::RecordProperty("soak_requests", iRequests);
    ::testing::Test::RecordProperty("soak_first_checkpoint", iFirstCheckpoint);
    ::testing::Test::RecordProperty("soak_handles_first", std::to_string(stuFirst.iHandles));
    ::testing::Test::RecordProperty("soak_handles_last", std::to_string(stuLast.iHandles));
    ::testing::Test::RecordProperty("soak_resident_bytes_first", std::to_string(stuFirst.iResidentBytes));
    ::testing::Test::RecordProperty("soak_resident_bytes_last", std::to_string(stuLast.iResidentBytes));
    ::testing::Test::RecordProperty("soak_seconds", std::to_string(dSeconds));

    ASSERT_GT(stuFirst.iHandles, 0) << "the handle count could not be read";
    ASSERT_GE(stuFirst.iResidentBytes, 0) << "the resident size could not be read";
    EXPECT_EQ(stuFirst.iHandles, stuLast.iHandles);
#if defined(ORV_SANITIZED)
    // AddressSanitizer keeps freed memory in quarantine (up to 256 MB) by
    // design: resident memory rises whatever the program does. Handles and
    // descriptors are still compared.
    (void)iGrowth;
#else
    EXPECT_LT(iGrowth, RESIDENT_GROWTH_LIMIT);
#endif
    if (cap.Available()) {
        EXPECT_EQ(iRequests, cap.Count("INFO - User clicked OK, orvprintD dialog closed."));
        EXPECT_EQ(0, cap.Count("ERROR - "));
    }
}
