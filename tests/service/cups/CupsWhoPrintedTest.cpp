#include "tests/service/cups/CupsServiceTest.h"
#include "tests/tools/ToolProcess.h"
#include <arpa/inet.h>
#include <cstdio>
#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace orvtest;

const char BOB[] = "orvtest-cups-bob";
// orvprint:/ as well, with the scheduler's default policy: CUPS's stock one.
const char STOCK_QUEUE[] = "StockPrint";

// A non-loopback IPv4 address of this computer, "" when it has none. A job
// sent to the scheduler there comes through the network: cupsd records the
// address as the job's host (and maps root to remroot), as for any other
// host's job.
std::string NetworkAddress()
{
    struct ifaddrs* pAll = nullptr;
    if (getifaddrs(&pAll) != 0) {
        return std::string();
    }
    std::string strAddress;
    for (struct ifaddrs* p = pAll; p && strAddress.empty(); p = p->ifa_next) {
        if (p->ifa_addr && p->ifa_addr->sa_family == AF_INET && (p->ifa_flags & IFF_UP) &&
            !(p->ifa_flags & IFF_LOOPBACK)) {
            char szText[INET_ADDRSTRLEN] = {};
            const auto* pIn = reinterpret_cast<struct sockaddr_in*>(p->ifa_addr);
            if (inet_ntop(AF_INET, &pIn->sin_addr, szText, sizeof(szText))) {
                strAddress = szText;
            }
        }
    }
    freeifaddrs(pAll);
    return strAddress;
}

// A TCP port free on that address just now, 0 when none was found.
int FreePort(const std::string& strAddress)
{
    const int iSocket = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (iSocket < 0) {
        return 0;
    }
    struct sockaddr_in stuAddr = {};
    stuAddr.sin_family = AF_INET;
    inet_pton(AF_INET, strAddress.c_str(), &stuAddr.sin_addr);
    socklen_t uiLength = sizeof(stuAddr);
    int iPort = 0;
    if (bind(iSocket, reinterpret_cast<struct sockaddr*>(&stuAddr), sizeof(stuAddr)) == 0 &&
        getsockname(iSocket, reinterpret_cast<struct sockaddr*>(&stuAddr), &uiLength) == 0) {
        iPort = ntohs(stuAddr.sin_port);
    }
    close(iSocket);
    return iPort;
}

// The secure queue, a second orvprint queue with the stock policy, a
// second test user and, where this computer has a network address, the
// scheduler listening there too.
class CupsWhoPrintedTest : public CupsServiceTest {
protected:
    static void SetUpTestSuite()
    {
        s_strNetworkHost = NetworkAddress();
        s_iNetworkPort = s_strNetworkHost.empty() ? 0 : FreePort(s_strNetworkHost);
        if (s_iNetworkPort == 0) {
            s_strNetworkHost.clear();
        }
        CupsServiceTest::SetUpTestSuite();
        if (!s_strSkip.empty() || !s_strSetupError.empty()) {
            return;
        }
        s_strSetupError = s_pCupsd->AddQueue(STOCK_QUEUE, "orvprint:/");
        s_pBob = new CTestUser(BOB);
        if (s_strSetupError.empty()) {
            s_strSetupError = s_pBob->GetError();
        }
    }

    static void TearDownTestSuite()
    {
        CupsServiceTest::TearDownTestSuite();
        delete s_pBob;
        s_pBob = nullptr;
        s_strNetworkHost.clear();
        s_iNetworkPort = 0;
    }

    static std::string HeldOn(const std::string& strQueue, const std::string& strReason, int iJob)
    {
        return strReason + "; the job is held. Release it with: lp -i " + strQueue + "-" + std::to_string(iJob) +
               " -H resume";
    }

    // The job id in lp's "request id is QUEUE-N (1 file(s))", else 0.
    static int JobIdOf(const std::string& strQueue, const std::string& strOut)
    {
        const std::string strPrefix = "request id is " + strQueue + "-";
        const size_t uiAt = strOut.find(strPrefix);
        return uiAt == std::string::npos ? 0 : std::atoi(strOut.c_str() + uiAt + strPrefix.size());
    }

    bool ReceiverWasAsked() const { return access((m_strRecords + "/request-1.bin").c_str(), F_OK) == 0; }

    static CTestUser* s_pBob;
};

CTestUser* CupsWhoPrintedTest::s_pBob = nullptr;

TEST_F(CupsWhoPrintedTest, JobInSomebodyElsesNameIsRefusedOnTheSecureQueue)
{
    const std::string strFile = WriteDocument("not-mine.txt", "not mine\n");
    const int iSecureJobs = s_pCupsd->CountJobs(SECURE_QUEUE);
    for (const char* szSender : {"root", BOB}) {
        std::string strOut, strErr;
        EXPECT_EQ(1, s_pCupsd->RunLp(szSender, {"-U", USER, "-d", SECURE_QUEUE, "-t", "In alice's name", strFile},
                                     strOut, strErr))
            << szSender;
        EXPECT_EQ("", strOut) << szSender;
        EXPECT_EQ("lp: Unauthorized\n", strErr) << szSender;
    }
    EXPECT_EQ(iSecureJobs, s_pCupsd->CountJobs(SECURE_QUEUE));

    // The same sent by the user itself is taken (held by lp here, then
    // cancelled).
    std::string strOut, strErr;
    EXPECT_EQ(0, s_pCupsd->RunLp(USER, {"-d", SECURE_QUEUE, "-t", "Mine", "-H", "indefinite", strFile}, strOut, strErr))
        << strErr;
    const int iJob = JobIdOf(SECURE_QUEUE, strOut);
    EXPECT_GT(iJob, 0) << strOut;
    EXPECT_EQ(iSecureJobs + 1, s_pCupsd->CountJobs(SECURE_QUEUE));
    EXPECT_EQ(0, RunTool("/usr/bin/cancel", {std::to_string(iJob)}, strOut, strErr)) << strErr;
}

TEST_F(CupsWhoPrintedTest, QueueWithTheStockPolicyHoldsEveryJob)
{
    const auto pReceiver = StartReceiver(0, u"P1", u"");
    const int iOfficeJobs = s_pCupsd->CountJobs("office");
    const int iBasementJobs = s_pCupsd->CountJobs("basement");
    const std::string strReason = "Queue StockPrint lets anybody submit jobs in another user's name "
                                  "(operation policy \"default\"); add the orvprint policy "
                                  "(/usr/share/orvprintd/orvprint-policy.conf) to cupsd.conf and run: "
                                  "lpadmin -p StockPrint -o printer-op-policy=orvprint";

    std::string strError;
    const int iJob = s_pCupsd->Submit(USER, STOCK_QUEUE, "Own job", WriteDocument("stock.txt", "stock\n"), strError);
    ASSERT_GT(iJob, 0) << strError;
    CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_HELD, WAIT_SECONDS);
    EXPECT_EQ(IPP_HELD, stuState.iState);
    EXPECT_EQ(HeldOn(STOCK_QUEUE, strReason, iJob), stuState.strMessage);

    // Why: there bob can send a job in alice's name.
    std::string strOut, strErr;
    EXPECT_EQ(0, s_pCupsd->RunLp(
                     BOB, {"-U", USER, "-d", STOCK_QUEUE, "-t", "In alice's name", WriteDocument("bob.txt", "bob\n")},
                     strOut, strErr))
        << strErr;
    const int iBobsJob = JobIdOf(STOCK_QUEUE, strOut);
    ASSERT_GT(iBobsJob, 0) << strOut;
    stuState = s_pCupsd->WaitForJobState(iBobsJob, IPP_HELD, WAIT_SECONDS);
    EXPECT_EQ(IPP_HELD, stuState.iState);
    EXPECT_EQ(HeldOn(STOCK_QUEUE, strReason, iBobsJob), stuState.strMessage);

    EXPECT_FALSE(ReceiverWasAsked());
    EXPECT_EQ(iOfficeJobs, s_pCupsd->CountJobs("office"));
    EXPECT_EQ(iBasementJobs, s_pCupsd->CountJobs("basement"));
}

TEST_F(CupsWhoPrintedTest, JobFromTheNetworkIsHeld)
{
    if (s_strNetworkHost.empty()) {
        GTEST_SKIP() << "this computer has no network address to send a job from";
    }
    const auto pReceiver = StartReceiver(0, u"P1", u"");
    const int iOfficeJobs = s_pCupsd->CountJobs("office");
    std::string strOut, strErr;
    ASSERT_EQ(0, s_pCupsd->RunLp(USER,
                                 {"-h", s_strNetworkHost + ":" + std::to_string(s_iNetworkPort), "-d", STOCK_QUEUE,
                                  "-t", "From the network", WriteDocument("network.txt", "network\n")},
                                 strOut, strErr))
        << strErr;
    const int iJob = JobIdOf(STOCK_QUEUE, strOut);
    ASSERT_GT(iJob, 0) << strOut;
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_HELD, WAIT_SECONDS);
    EXPECT_EQ(IPP_HELD, stuState.iState);
    EXPECT_EQ(HeldOn(STOCK_QUEUE,
                     "The job came from host " + s_strNetworkHost +
                         "; only jobs submitted on this computer are sent to "
                         "OrvprintD",
                     iJob),
              stuState.strMessage);
    EXPECT_FALSE(ReceiverWasAsked());
    EXPECT_EQ(iOfficeJobs, s_pCupsd->CountJobs("office"));
}

TEST_F(CupsWhoPrintedTest, JobRelayedFromAnotherHostIsHeld)
{
    // A local client may name the host it relays a job from, as cups-lpd
    // does; the scheduler records that host.
    const auto pReceiver = StartReceiver(0, u"P1", u"");
    const int iOfficeJobs = s_pCupsd->CountJobs("office");
    std::string strOut, strErr;
    ASSERT_EQ(
        0, s_pCupsd->RunLp(USER,
                           {"-d", SECURE_QUEUE, "-t", "Relayed", "-o", "job-originating-host-name=print-relay.example",
                            WriteDocument("relayed.txt", "relayed\n")},
                           strOut, strErr))
        << strErr;
    const int iJob = JobIdOf(SECURE_QUEUE, strOut);
    ASSERT_GT(iJob, 0) << strOut;
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_HELD, WAIT_SECONDS);
    EXPECT_EQ(IPP_HELD, stuState.iState);
    EXPECT_EQ(HeldMessage("The job came from host print-relay.example; only "
                          "jobs submitted on this computer are sent to OrvprintD",
                          iJob),
              stuState.strMessage);
    EXPECT_FALSE(ReceiverWasAsked());
    EXPECT_EQ(iOfficeJobs, s_pCupsd->CountJobs("office"));
}

TEST_F(CupsWhoPrintedTest, UnreadableSchedulerConfigurationHoldsTheJob)
{
    // The running scheduler has read its cupsd.conf; the backend reads it
    // again for every job.
    const std::string strConf = s_pCupsd->Folder() + "/cupsd.conf";
    const std::string strAway = strConf + ".away";
    ASSERT_EQ(0, std::rename(strConf.c_str(), strAway.c_str()));
    struct CPutBack {
        std::string strFrom, strTo;
        ~CPutBack() { std::rename(strFrom.c_str(), strTo.c_str()); }
    } objPutBack{strAway, strConf};

    const auto pReceiver = StartReceiver(0, u"P1", u"");
    const int iJob = Submit("No policy to read", WriteDocument("noconf.txt", "noconf\n"));
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_HELD, WAIT_SECONDS);
    EXPECT_EQ(IPP_HELD, stuState.iState);
    EXPECT_EQ(HeldMessage("The print service cannot check the operation policy "
                          "of queue SecurePrint: " +
                              strConf + " cannot be read (No such file or directory)",
                          iJob),
              stuState.strMessage);
    EXPECT_FALSE(ReceiverWasAsked());
}

} // namespace
