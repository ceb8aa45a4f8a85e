#include <gtest/gtest.h>
#include "service/ServiceConfig.h"
#include "support/TempFolder.h"

using OrvService::CServiceConfig;
using OrvService::CServiceConfigError;

namespace {

const char FILE_NAME[] = "/etc/orv-soft/print-service.conf";

const char FULL_CONFIG[] =
    "; the service's own settings\n"
    "[Service]\n"
    "AnswerTimeoutSeconds=120      ; longest wait\n"
    "RoamingQueue=SecureRelease\n"
    "AccountingLog=/var/log/orv-soft/print-service/accounting.jsonl\n"
    "\n"
    "[Printer:P-3F-01]\n"
    "Name=\xE4\xB8\x89\xE6\xA5\xBC\xE4\xB8\x9C HP LaserJet\n"
    "Queue=office-3f-east\n"
    "Comment=A4 only\n"
    "Description=Room 301\n"
    "MaxPagesPerJob=50\n"
    "Hours=08:00-20:00\n"
    "\n"
    "[Printer:P2]\r\n"
    "Name=Basement\r\n"
    "Queue=basement\r\n"
    "\n"
    "[Project:PRJ-001]\n"
    "Name=\xE6\x96\xB0\xE4\xBA\xA7\xE5\x93\x81\xE5\x8F\x91\xE5\xB8\x83\n"
    "Comment=launch\n"
    "Users=alice, bob, @staff\n"
    "[Project:OPEN]\n"
    "Name=Everybody's\n"
    "Users=\n"
    "[Project:STAFF]\n"
    "Name=Staff only\n"
    "Users=@staff\n";

// The error text of a configuration that must be refused.
std::string ErrorOf(const std::string& strText)
{
    try {
        CServiceConfig::Parse(strText, FILE_NAME);
    } catch (const CServiceConfigError& e) {
        return e.what();
    }
    return "(accepted)";
}

std::string Printer(const std::string& strId, const std::string& strExtra = "")
{
    return "[Printer:" + strId + "]\nName=n\nQueue=q\n" + strExtra;
}

TEST(ServiceConfigTest, ReadsEveryKeyInFileOrder)
{
    const CServiceConfig objConfig = CServiceConfig::Parse(FULL_CONFIG, FILE_NAME);
    EXPECT_EQ(120, objConfig.GetAnswerTimeoutSeconds());
    EXPECT_EQ("SecureRelease", objConfig.GetRoamingQueue());
    EXPECT_EQ("/var/log/orv-soft/print-service/accounting.jsonl", objConfig.GetAccountingLog());
    ASSERT_EQ(2u, objConfig.GetPrinters().size());
    const CServiceConfig::PRINTER_ENTRY& stuFirst = objConfig.GetPrinters()[0];
    EXPECT_EQ("P-3F-01", stuFirst.strId);
    EXPECT_EQ("\xE4\xB8\x89\xE6\xA5\xBC\xE4\xB8\x9C HP LaserJet", stuFirst.strName);
    EXPECT_EQ("office-3f-east", stuFirst.strQueue);
    EXPECT_EQ("A4 only", stuFirst.strComment);
    EXPECT_EQ("Room 301", stuFirst.strDescription);
    EXPECT_EQ(50, stuFirst.iMaxPagesPerJob);
    EXPECT_EQ(8 * 60, stuFirst.iHoursFrom);
    EXPECT_EQ(20 * 60, stuFirst.iHoursTo);
    EXPECT_EQ(7, stuFirst.iLine);
    const CServiceConfig::PRINTER_ENTRY& stuSecond = objConfig.GetPrinters()[1];
    EXPECT_EQ("P2", stuSecond.strId);
    EXPECT_EQ("Basement", stuSecond.strName);
    EXPECT_EQ("basement", stuSecond.strQueue);
    EXPECT_EQ(0, stuSecond.iMaxPagesPerJob);
    EXPECT_EQ(-1, stuSecond.iHoursFrom);
    ASSERT_EQ(3u, objConfig.GetProjects().size());
    EXPECT_EQ("PRJ-001", objConfig.GetProjects()[0].strId);
    EXPECT_EQ((std::vector<std::string>{"alice", "bob"}), objConfig.GetProjects()[0].vecUsers);
    EXPECT_EQ((std::vector<std::string>{"staff"}), objConfig.GetProjects()[0].vecGroups);
    EXPECT_EQ(&objConfig.GetPrinters()[1], objConfig.FindPrinter("P2"));
    EXPECT_EQ(nullptr, objConfig.FindPrinter("P3"));
}

TEST(ServiceConfigTest, DefaultsWithoutServiceSection)
{
    const CServiceConfig objConfig = CServiceConfig::Parse(Printer("P1"), FILE_NAME);
    EXPECT_EQ(900, objConfig.GetAnswerTimeoutSeconds());
    EXPECT_EQ("", objConfig.GetRoamingQueue());
    EXPECT_EQ("/var/log/orv-soft/print-service/accounting.jsonl", objConfig.GetAccountingLog());
    EXPECT_TRUE(objConfig.GetProjects().empty());
}

TEST(ServiceConfigTest, AccountingLogMissingIsTheDefaultEmptyIsNone)
{
    unsetenv(CServiceConfig::ACCOUNTING_LOG_VARIABLE);
    EXPECT_EQ("/var/log/orv-soft/print-service/accounting.jsonl",
              CServiceConfig::Parse("[Service]\nAnswerTimeoutSeconds=5\n", FILE_NAME).GetAccountingLog());
    EXPECT_EQ("", CServiceConfig::Parse("[Service]\nAccountingLog=\n", FILE_NAME).GetAccountingLog());
    EXPECT_EQ("/srv/a.jsonl",
              CServiceConfig::Parse("[Service]\nAccountingLog=/srv/a.jsonl\n", FILE_NAME).GetAccountingLog());
    // The scheduler's environment may move the default, never a relative path.
    setenv(CServiceConfig::ACCOUNTING_LOG_VARIABLE, "/tmp/orvtest/accounting.jsonl", 1);
    EXPECT_EQ("/tmp/orvtest/accounting.jsonl", CServiceConfig::Parse(Printer("P1"), FILE_NAME).GetAccountingLog());
    EXPECT_EQ("", CServiceConfig::Parse("[Service]\nAccountingLog=\n", FILE_NAME).GetAccountingLog());
    setenv(CServiceConfig::ACCOUNTING_LOG_VARIABLE, "accounting.jsonl", 1);
    EXPECT_EQ("/var/log/orv-soft/print-service/accounting.jsonl", CServiceConfig::DefaultAccountingLog());
    unsetenv(CServiceConfig::ACCOUNTING_LOG_VARIABLE);
}

TEST(ServiceConfigTest, ErrorCarriesTheAccountingLogReadBeforeIt)
{
    unsetenv(CServiceConfig::ACCOUNTING_LOG_VARIABLE);
    auto LogOf = [](const std::string& strText) -> std::string {
        try {
            CServiceConfig::Parse(strText, FILE_NAME);
        } catch (const CServiceConfigError& e) {
            return e.GetAccountingLog() ? *e.GetAccountingLog() : "(unknown)";
        }
        return "(accepted)";
    };
    EXPECT_EQ("/srv/a.jsonl", LogOf("[Service]\nAccountingLog=/srv/a.jsonl\n[Printers]\n"));
    EXPECT_EQ("", LogOf("[Service]\nAccountingLog=\nTimeout=1\n"));
    EXPECT_EQ("/var/log/orv-soft/print-service/accounting.jsonl",
              LogOf("[Printers]\n[Service]\nAccountingLog=/srv/a\n"));
    EXPECT_EQ("/var/log/orv-soft/print-service/accounting.jsonl", LogOf("[Service]\nAccountingLog=a.jsonl\n"));
    EXPECT_EQ("/var/log/orv-soft/print-service/accounting.jsonl", LogOf("[Service]\nAccountingLog=/srv/\n"));
    orvtest::TempFolder objFolder;
    try {
        CServiceConfig::Load(objFolder.File("missing.conf"));
        FAIL() << "accepted";
    } catch (const CServiceConfigError& e) {
        EXPECT_FALSE(e.GetAccountingLog().has_value());
    }
}

TEST(ServiceConfigTest, ProjectsVisiblePerUserAndGroup)
{
    const CServiceConfig objConfig = CServiceConfig::Parse(FULL_CONFIG, FILE_NAME);
    auto Ids = [&](const std::string& strUser, const std::vector<std::string>& vecGroups) {
        std::string strIds;
        for (const CServiceConfig::PROJECT_ENTRY* pProject : objConfig.VisibleProjects(strUser, vecGroups)) {
            strIds += pProject->strId + " ";
        }
        return strIds;
    };
    EXPECT_EQ("PRJ-001 OPEN ", Ids("alice", {"alice"}));
    EXPECT_EQ("PRJ-001 OPEN ", Ids("bob", {}));
    EXPECT_EQ("OPEN ", Ids("carol", {"carol", "users"}));
    EXPECT_EQ("PRJ-001 OPEN STAFF ", Ids("carol", {"carol", "staff"}));
    EXPECT_EQ("OPEN ", Ids("staff", {})); // a user named like the group is not the group
}

TEST(ServiceConfigTest, AtMost500ProjectsOffered)
{
    std::string strText;
    for (int i = 0; i < 502; ++i) {
        strText += "[Project:J" + std::to_string(i) + "]\nName=n\n";
    }
    const CServiceConfig objConfig = CServiceConfig::Parse(strText, FILE_NAME);
    EXPECT_EQ(502u, objConfig.GetProjects().size());
    const auto vecVisible = objConfig.VisibleProjects("alice", {});
    ASSERT_EQ(500u, vecVisible.size());
    EXPECT_EQ("J499", vecVisible.back()->strId);
}

TEST(ServiceConfigTest, HoursInsideAndOutside)
{
    const CServiceConfig objConfig =
        CServiceConfig::Parse(Printer("DAY", "Hours=08:00-20:00\n") + Printer("NIGHT", "Hours=22:30-06:00\n"), FILE_NAME);
    const CServiceConfig::PRINTER_ENTRY& stuDay = objConfig.GetPrinters()[0];
    const CServiceConfig::PRINTER_ENTRY& stuNight = objConfig.GetPrinters()[1];
    EXPECT_FALSE(stuDay.IsWithinHours(7 * 60 + 59));
    EXPECT_TRUE(stuDay.IsWithinHours(8 * 60));
    EXPECT_TRUE(stuDay.IsWithinHours(19 * 60 + 59));
    EXPECT_FALSE(stuDay.IsWithinHours(20 * 60));
    EXPECT_TRUE(stuNight.IsWithinHours(23 * 60));
    EXPECT_TRUE(stuNight.IsWithinHours(5 * 60 + 59));
    EXPECT_FALSE(stuNight.IsWithinHours(6 * 60));
    EXPECT_FALSE(stuNight.IsWithinHours(22 * 60 + 29));
}

TEST(ServiceConfigTest, EveryBadValueNamesFileLineAndProblem)
{
    const std::string strAt = std::string(FILE_NAME) + ", line ";
    EXPECT_EQ(strAt + "1: unknown section [Printers]", ErrorOf("[Printers]\n"));
    EXPECT_EQ(strAt + "2: unknown key Colour in [Printer:P1]", ErrorOf("[Printer:P1]\nColour=yes\n"));
    EXPECT_EQ(strAt + "2: unknown key Timeout in [Service]", ErrorOf("[Service]\nTimeout=5\n"));
    EXPECT_EQ(strAt + "2: unknown key Queue in [Project:J1]", ErrorOf("[Project:J1]\nQueue=q\n"));
    EXPECT_EQ(strAt + "1: printer id P123456789 is longer than 9 characters", ErrorOf("[Printer:P123456789]\n"));
    EXPECT_EQ(strAt + "1: project id J123456789 is longer than 9 characters", ErrorOf("[Project:J123456789]\n"));
    EXPECT_EQ(strAt + "1: printer id is empty", ErrorOf("[Printer:]\n"));
    EXPECT_EQ(strAt + "4: printer id P1 repeated", ErrorOf(Printer("P1") + "[Printer:P1]\n"));
    EXPECT_EQ(strAt + "3: project id J1 repeated", ErrorOf("[Project:J1]\nName=n\n[Project:J1]\n"));
    EXPECT_EQ(strAt + "4: MaxPagesPerJob must be a whole number of 0 or more", ErrorOf(Printer("P1", "MaxPagesPerJob=-1\n")));
    EXPECT_EQ(strAt + "4: MaxPagesPerJob must be a whole number of 0 or more", ErrorOf(Printer("P1", "MaxPagesPerJob=2.5\n")));
    EXPECT_EQ(strAt + "4: MaxPagesPerJob must be a whole number of 0 or more", ErrorOf(Printer("P1", "MaxPagesPerJob=ten\n")));
    EXPECT_EQ(strAt + "4: MaxPagesPerJob must be a whole number of 0 or more",
              ErrorOf(Printer("P1", "MaxPagesPerJob=99999999999\n")));
    for (const char* szHours : {"8:00-20:00", "08:00-24:00", "08:60-20:00", "08:00", "08:00-20:00-21:00", "08.00-20.00", "x"}) {
        EXPECT_EQ(strAt + "4: Hours must be HH:MM-HH:MM", ErrorOf(Printer("P1", std::string("Hours=") + szHours + "\n")))
            << szHours;
    }
    EXPECT_EQ(strAt + "4: Hours must not begin and end at the same time", ErrorOf(Printer("P1", "Hours=08:00-08:00\n")));
    for (const char* szTimeout : {"0", "86401", "-5", "1.5", "", "abc"}) {
        EXPECT_EQ(strAt + "2: AnswerTimeoutSeconds must be a whole number from 1 to 86400",
                  ErrorOf(std::string("[Service]\nAnswerTimeoutSeconds=") + szTimeout + "\n"))
            << szTimeout;
    }
    EXPECT_EQ(strAt + "3: key Name repeated", ErrorOf("[Project:J1]\nName=a\nName=b\n"));
    EXPECT_EQ(strAt + "1: key Name outside a section", ErrorOf("Name=a\n"));
    EXPECT_EQ(strAt + "2: not a section or a key=value line", ErrorOf("[Service]\nRoamingQueue\n"));
    EXPECT_EQ(strAt + "1: a section line must end with ']'", ErrorOf("[Service\n"));
    EXPECT_EQ(strAt + "3: section [Service] repeated", ErrorOf("[Service]\n\n[Service]\n"));
    EXPECT_EQ(strAt + "1: printer P1 has no Queue", ErrorOf("[Printer:P1]\nName=n\n"));
    EXPECT_EQ(strAt + "1: printer P1 has no Name", ErrorOf("[Printer:P1]\nQueue=q\n[Project:J]\nName=n\n"));
    EXPECT_EQ(strAt + "1: project J1 has no Name", ErrorOf("[Project:J1]\nComment=c\n"));
    EXPECT_EQ(strAt + "3: Queue \"office 3\" is not a CUPS queue name", ErrorOf("[Printer:P1]\nName=n\nQueue=office 3\n"));
    EXPECT_EQ(strAt + "2: RoamingQueue \"a/b\" is not a CUPS queue name", ErrorOf("[Service]\nRoamingQueue=a/b\n"));
    EXPECT_EQ(strAt + "2: AccountingLog must be an absolute path", ErrorOf("[Service]\nAccountingLog=log.jsonl\n"));
    EXPECT_EQ(strAt + "2: Users must be user names and @groups separated by commas",
              ErrorOf("[Project:J1]\nUsers=alice,,bob\n"));
    EXPECT_EQ(strAt + "2: not valid UTF-8", ErrorOf("[Project:J1]\nName=\xC0\xAF\n"));
    EXPECT_EQ(strAt + "2: Name is longer than 1023 characters",
              ErrorOf("[Project:J1]\nName=" + std::string(1024, 'x') + "\n"));
}

TEST(ServiceConfigTest, TooManyPrinters)
{
    std::string strText;
    for (int i = 0; i < 100; ++i) {
        strText += Printer("P" + std::to_string(i));
    }
    EXPECT_EQ(100u, CServiceConfig::Parse(strText, FILE_NAME).GetPrinters().size());
    strText += Printer("P100");
    EXPECT_EQ(std::string(FILE_NAME) + ", line 301: too many printers (at most 100)", ErrorOf(strText));
}

TEST(ServiceConfigTest, IdsCountCharactersNotBytes)
{
    // Nine Chinese characters are 27 bytes of UTF-8 and nine UTF-16 units.
    const std::string strNine = "\xE4\xB8\x80\xE4\xB8\x80\xE4\xB8\x80\xE4\xB8\x80\xE4\xB8\x80\xE4\xB8\x80\xE4\xB8\x80"
                                "\xE4\xB8\x80\xE4\xB8\x80";
    EXPECT_EQ(strNine, CServiceConfig::Parse(Printer(strNine), FILE_NAME).GetPrinters()[0].strId);
}

TEST(ServiceConfigTest, LoadReportsUnreadableFile)
{
    orvtest::TempFolder objFolder;
    const std::string strMissing = objFolder.File("missing.conf");
    try {
        CServiceConfig::Load(strMissing);
        FAIL() << "accepted";
    } catch (const CServiceConfigError& e) {
        EXPECT_EQ(strMissing + ": cannot be read (No such file or directory)", std::string(e.what()));
        EXPECT_EQ(0, e.GetLine());
    }
    const std::string strFile = objFolder.WriteFile("print-service.conf", "[Service]\nAnswerTimeoutSeconds=0\n");
    try {
        CServiceConfig::Load(strFile);
        FAIL() << "accepted";
    } catch (const CServiceConfigError& e) {
        EXPECT_EQ(strFile, e.GetFile());
        EXPECT_EQ(2, e.GetLine());
        EXPECT_EQ("AnswerTimeoutSeconds must be a whole number from 1 to 86400", e.GetProblem());
    }
    const std::string strGood = objFolder.WriteFile("good.conf", FULL_CONFIG);
    EXPECT_EQ(2u, CServiceConfig::Load(strGood).GetPrinters().size());
}

TEST(ServiceConfigTest, PathFromEnvironment)
{
    unsetenv(CServiceConfig::PATH_VARIABLE);
    EXPECT_EQ("/etc/orv-soft/print-service.conf", CServiceConfig::ConfiguredPath());
    setenv(CServiceConfig::PATH_VARIABLE, "/tmp/x.conf", 1);
    EXPECT_EQ("/tmp/x.conf", CServiceConfig::ConfiguredPath());
    unsetenv(CServiceConfig::PATH_VARIABLE);
}

} // namespace
