#include <cstdlib>
#include <gtest/gtest.h>
#include "service/QueuePolicy.h"
#include "support/TempFolder.h"
#include "tests/service/StockCupsPolicy.h"

using OrvService::CQueuePolicy;

namespace {

const char HEAD[] = "LogLevel warn\n"
                    "Listen /run/cups/cups.sock\n"
                    "DefaultAuthType Basic\n"
                    "<Location />\n"
                    "  Order allow,deny\n"
                    "</Location>\n";

std::string OrvprintPolicy()
{
    return orvtest::ReadWholeFile(ORVPRINT_POLICY_PATH);
}

// A policy "p" of one <Limit> for job creation with the given lines, and a
// <Limit All> that lets everybody through.
std::string OneLimit(const std::string& strOps, const std::string& strLines)
{
    return std::string(HEAD) + "<Policy p>\n  <Limit " + strOps + ">\n" + strLines +
           "  </Limit>\n  <Limit All>\n    Order deny,allow\n  </Limit>\n</Policy>\n";
}

CQueuePolicy::VERDICT Verdict(const std::string& strText, const std::string& strPolicy, std::string& strDetail)
{
    return CQueuePolicy::Evaluate(strText, strPolicy, strDetail);
}

TEST(QueuePolicyTest, StockDefaultPolicyLetsAnybodyCreateJobs)
{
    std::string strDetail;
    EXPECT_EQ(CQueuePolicy::VERDICT_ANYBODY,
              Verdict(std::string(HEAD) + orvtest::STOCK_DEFAULT_POLICY, "default", strDetail));
    EXPECT_EQ("Create-Job: <Limit> of line 12: no AuthType: the scheduler takes the name the sender gives", strDetail);
}

TEST(QueuePolicyTest, OrvprintPolicyRequiresAUser)
{
    const std::string strPolicy = OrvprintPolicy();
    ASSERT_NE(std::string::npos, strPolicy.find("<Policy orvprint>"));
    std::string strDetail;
    EXPECT_EQ(CQueuePolicy::VERDICT_USER_REQUIRED,
              Verdict(std::string(HEAD) + orvtest::STOCK_DEFAULT_POLICY + strPolicy, "orvprint", strDetail));
    EXPECT_EQ("", strDetail);
    // Policy names and directives in any case, as cupsd reads them.
    std::string strShouted = strPolicy;
    for (char& ch : strShouted) {
        ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    }
    EXPECT_EQ(CQueuePolicy::VERDICT_USER_REQUIRED, Verdict(strShouted, "OrvPrint", strDetail)) << strDetail;
    // The stock policy beside it stays what it is.
    EXPECT_EQ(CQueuePolicy::VERDICT_ANYBODY,
              Verdict(std::string(HEAD) + strPolicy + orvtest::STOCK_DEFAULT_POLICY, "default", strDetail));
}

TEST(QueuePolicyTest, AuthenticatedUserOrGroupIsAccepted)
{
    std::string strDetail;
    for (const char* szLines :
         {"    AuthType Default\n    Require valid-user\n", "    AuthType Basic\n    Require user alice @staff\n",
          "    Require group lpusers\n    AuthType Negotiate\n",
          "    authtype default\n    require user @OWNER @SYSTEM\n    satisfy all\n",
          "    AuthType Default\n    Require user \"alice\" @OWNER\n"}) {
        EXPECT_EQ(CQueuePolicy::VERDICT_USER_REQUIRED,
                  Verdict(OneLimit("Create-Job Print-Job", szLines), "p", strDetail))
            << szLines << strDetail;
    }
    // <Limit All> alone rules job creation too.
    EXPECT_EQ(CQueuePolicy::VERDICT_USER_REQUIRED,
              Verdict(std::string(HEAD) +
                          "<Policy p>\n<Limit All>\nAuthType Default\nRequire valid-user\n</Limit>\n</Policy>\n",
                      "p", strDetail))
        << strDetail;
}

TEST(QueuePolicyTest, WithoutAuthenticationOrARealNameAnybodyMayCreateJobs)
{
    struct CASE {
        const char* szLines;
        const char* szDetail;
    };
    const CASE astuCases[] = {
        {"    Require valid-user\n",
         "Create-Job: <Limit> of line 8: no AuthType: the scheduler takes the name the sender gives"},
        {"    AuthType None\n    Require valid-user\n", "Create-Job: <Limit> of line 8: AuthType None (line 9)"},
        {"    Require valid-user\n    AuthType Default\n    AuthType None\n",
         "Create-Job: <Limit> of line 8: AuthType None (line 11)"},
        {"    AuthType Default\n", "Create-Job: <Limit> of line 8: no Require"},
        {"    AuthType Default\n    Require user @OWNER\n",
         "Create-Job: <Limit> of line 8: Require names nobody but @OWNER"},
        {"    AuthType Default\n    Require valid-user\n    Satisfy Any\n",
         "Create-Job: <Limit> of line 8: Satisfy any (line 11)"},
        {"    AuthType Digest\n    Require valid-user\n",
         "Create-Job: <Limit> of line 8: unknown AuthType Digest (line 9)"},
        {"    AuthType Default\n    AuthClass User\n", "Create-Job: <Limit> of line 8: AuthClass (line 10)"},
        {"    AuthType Default\n    Require somebody\n",
         "Create-Job: <Limit> of line 8: unknown Require somebody (line 10)"},
        // A '#' starts a comment: this is "AuthType" without a value.
        {"    AuthType # Default\n    Require valid-user\n",
         "Create-Job: <Limit> of line 8: unknown AuthType  (line 9)"},
    };
    for (const CASE& stuCase : astuCases) {
        std::string strDetail;
        EXPECT_EQ(CQueuePolicy::VERDICT_ANYBODY,
                  Verdict(OneLimit("Create-Job Print-Job", stuCase.szLines), "p", strDetail))
            << stuCase.szLines;
        EXPECT_EQ(stuCase.szDetail, strDetail) << stuCase.szLines;
    }
}

TEST(QueuePolicyTest, EachWayOfCreatingAJobCounts)
{
    std::string strDetail;
    // Print-Job falls to <Limit All>, which lets everybody through.
    EXPECT_EQ(CQueuePolicy::VERDICT_ANYBODY,
              Verdict(OneLimit("Create-Job", "    AuthType Default\n    Require valid-user\n"), "p", strDetail));
    EXPECT_EQ("Print-Job: <Limit> of line 12: no AuthType: the scheduler takes the name the sender gives", strDetail);
    // No <Limit> at all for Print-Job: nothing is checked.
    EXPECT_EQ(CQueuePolicy::VERDICT_ANYBODY,
              Verdict(std::string(HEAD) +
                          "<Policy p>\n<Limit Create-Job>\nAuthType Default\nRequire valid-user\n</Limit>\n</Policy>\n",
                      "p", strDetail));
    EXPECT_EQ("Print-Job: no <Limit> applies", strDetail);
    // The first <Limit> that names an operation rules it.
    EXPECT_EQ(CQueuePolicy::VERDICT_ANYBODY,
              Verdict(std::string(HEAD) +
                          "<Policy p>\n<Limit print-job create-job>\nOrder deny,allow\n</Limit>\n"
                          "<Limit Create-Job Print-Job>\nAuthType Default\nRequire valid-user\n</Limit>\n"
                          "</Policy>\n",
                      "p", strDetail));
    EXPECT_EQ("Create-Job: <Limit> of line 8: no AuthType: the scheduler takes the name the sender gives", strDetail);
    // A <Limit> of unknown operations only applies to all, as in cupsd.
    EXPECT_EQ(CQueuePolicy::VERDICT_ANYBODY,
              Verdict(std::string(HEAD) + "<Policy p>\n<Limit Make-Job>\nOrder deny,allow\n</Limit>\n"
                                          "<Limit All>\nAuthType Default\nRequire valid-user\n</Limit>\n</Policy>\n",
                      "p", strDetail));
    EXPECT_EQ("Create-Job: <Limit> of line 8: no AuthType: the scheduler takes the name the sender gives", strDetail);
}

TEST(QueuePolicyTest, DefaultAuthTypeNoneMakesAuthTypeDefaultNone)
{
    std::string strDetail;
    const std::string strText =
        OneLimit("Create-Job Print-Job", "    AuthType Default\n    Require valid-user\n") + "DefaultAuthType None\n";
    EXPECT_EQ(CQueuePolicy::VERDICT_ANYBODY, Verdict(strText, "p", strDetail));
    EXPECT_EQ("Create-Job: <Limit> of line 8: AuthType Default while DefaultAuthType is None (line 9)", strDetail);
}

TEST(QueuePolicyTest, CommentsLocationsAndOtherPoliciesAreSkipped)
{
    std::string strDetail;
    const std::string strText = std::string("# <Policy p>\n") +
                                "<Location /p>\n  <Limit All>\n  </Limit>\n</Location>\n"
                                "<Policy other>\n<Limit All>\n</Limit>\n</Policy>\n"
                                "<Policy p> # the one\n<Limit All>\nAuthType Default\nRequire user \\#1\n</Limit>\n"
                                "</Policy>\n";
    EXPECT_EQ(CQueuePolicy::VERDICT_USER_REQUIRED, Verdict(strText, "p", strDetail)) << strDetail;
    EXPECT_EQ(CQueuePolicy::VERDICT_NOT_DEFINED, Verdict(strText, "q", strDetail));
    EXPECT_EQ(CQueuePolicy::VERDICT_NOT_DEFINED, Verdict(HEAD, "default", strDetail));
}

TEST(QueuePolicyTest, MalformedPolicyIsRefusedNamingTheLine)
{
    struct CASE {
        const char* szText;
        const char* szDetail;
    };
    const CASE astuCases[] = {
        {"<Policy p>\n<Limit All>\nAuthType Default\nRequire valid-user\n</Limit>\n",
         "line 1: <Policy p> without </Policy>"},
        {"<Policy p>\n<Limit All>\nAuthType Default\nRequire valid-user\n</Policy>\n",
         "line 5: </Policy> before </Limit>"},
        {"<Policy p>\n<Limit All>\n<Limit Create-Job>\n</Limit>\n</Limit>\n</Policy>\n",
         "line 3: <Limit> inside <Limit>"},
        {"<Policy p>\n</Limit>\n</Policy>\n", "line 2: </Limit> without <Limit>"},
        {"<Policy p>\n<Limit Create-Job\n</Limit>\n</Policy>\n", "line 2: <Limit> without its operations"},
        {"<Policy p>\n</Policy>\n<Policy P>\n</Policy>\n", "line 3: policy p is defined twice"},
    };
    for (const CASE& stuCase : astuCases) {
        std::string strDetail;
        EXPECT_EQ(CQueuePolicy::VERDICT_MALFORMED, Verdict(stuCase.szText, "p", strDetail)) << stuCase.szText;
        EXPECT_EQ(stuCase.szDetail, strDetail) << stuCase.szText;
    }
}

TEST(QueuePolicyTest, HeldReasonsNameQueuePolicyAndFix)
{
    EXPECT_EQ("Queue SecurePrint lets anybody submit jobs in another user's name (operation policy \"default\"); add "
              "the orvprint policy (/usr/share/orvprintd/orvprint-policy.conf) to cupsd.conf and run: lpadmin -p "
              "SecurePrint -o printer-op-policy=orvprint",
              CQueuePolicy::Reason(CQueuePolicy::VERDICT_ANYBODY, "SecurePrint", "default", "/etc/cups/cupsd.conf",
                                   "Create-Job: no <Limit> applies"));
    EXPECT_EQ(
        "Queue Secure2 lets anybody submit jobs in another user's name (operation policy \"default\", which "
        "/etc/cups/cupsd.conf does not define: cupsd's built-in one); add the orvprint policy "
        "(/usr/share/orvprintd/orvprint-policy.conf) to cupsd.conf and run: lpadmin -p Secure2 -o "
        "printer-op-policy=orvprint",
        CQueuePolicy::Reason(CQueuePolicy::VERDICT_NOT_DEFINED, "Secure2", "default", "/etc/cups/cupsd.conf", ""));
    EXPECT_EQ(
        "Queue SecurePrint has operation policy \"orvprint\", which /etc/cups/cupsd.conf does not define (cupsd "
        "falls back to its default policy); add the orvprint policy (/usr/share/orvprintd/orvprint-policy.conf) "
        "to cupsd.conf and run: lpadmin -p SecurePrint -o printer-op-policy=orvprint",
        CQueuePolicy::Reason(CQueuePolicy::VERDICT_NOT_DEFINED, "SecurePrint", "orvprint", "/etc/cups/cupsd.conf", ""));
    EXPECT_EQ("The print service cannot check the operation policy of queue SecurePrint: /etc/cups/cupsd.conf, line "
              "3: <Limit> inside <Limit>",
              CQueuePolicy::Reason(CQueuePolicy::VERDICT_MALFORMED, "SecurePrint", "orvprint", "/etc/cups/cupsd.conf",
                                   "line 3: <Limit> inside <Limit>"));
    EXPECT_EQ("", CQueuePolicy::Reason(CQueuePolicy::VERDICT_USER_REQUIRED, "SecurePrint", "orvprint",
                                       "/etc/cups/cupsd.conf", ""));
}

TEST(QueuePolicyTest, ConfigurationIsTheSchedulersServerRoot)
{
    const char* szOld = std::getenv("CUPS_SERVERROOT");
    const std::string strOld = szOld ? szOld : "";
    setenv("CUPS_SERVERROOT", "/tmp/orvtest-root", 1);
    EXPECT_EQ("/tmp/orvtest-root/cupsd.conf", CQueuePolicy::ConfPath());
    unsetenv("CUPS_SERVERROOT");
    EXPECT_EQ("/etc/cups/cupsd.conf", CQueuePolicy::ConfPath());
    if (szOld) {
        setenv("CUPS_SERVERROOT", strOld.c_str(), 1);
    }
}

} // namespace
