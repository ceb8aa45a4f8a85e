#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>
#include "language/PrivateProfile.h"
#include "support/TempFolder.h"

// One table of profile files and what the private-profile functions read
// from them. The same table runs against the Linux implementation and, in
// the Windows build, against the system's own functions; the expected
// results are those of the system functions. Files are ASCII.

using Language::PrivateProfileGetInt;
using Language::PrivateProfileGetString;
using Language::PrivateProfileWriteString;

namespace {

std::wstring W(const std::string& strText)
{
    return std::wstring(strText.begin(), strText.end());
}

std::string N(const std::wstring& strText)
{
    std::string strResult;
    for (wchar_t ch : strText) {
        strResult += static_cast<char>(ch);
    }
    return strResult;
}

template <size_t N_>
std::string Lit(const char (&szText)[N_])
{
    return std::string(szText, N_ - 1);
}

const char* const NO_FILE = "\x01";   // the case has no file at all
const char* const NONE = "\x02";      // a null pointer argument

enum EOp { GET_STRING, GET_INT };

struct ProfileCase {
    const char* szName;
    std::string strFile;
    EOp eOp;
    const char* szSection;
    const char* szKey;
    const char* szDefault;     // GET_STRING
    uint32_t uiSize;           // GET_STRING
    int32_t iDefault;          // GET_INT
    uint32_t uiExpected;       // result of the call
    std::string strExpected;   // GET_STRING: the first uiExpected characters of the buffer
};

ProfileCase S(const char* szName, std::string strFile, const char* szSection, const char* szKey,
              const char* szDefault, uint32_t uiSize, uint32_t uiExpected, std::string strExpected)
{
    return ProfileCase{szName, std::move(strFile), GET_STRING, szSection, szKey, szDefault, uiSize, 0,
                       uiExpected, std::move(strExpected)};
}

ProfileCase I(const char* szName, std::string strFile, const char* szSection, const char* szKey,
              int32_t iDefault, uint32_t uiExpected)
{
    return ProfileCase{szName, std::move(strFile), GET_INT, szSection, szKey, nullptr, 0, iDefault, uiExpected, ""};
}

const std::string CASE_FILE = "[Setting]\r\nKey=Value\r\n";
const std::string HEADER_BLANKS = "[ Setting ]\nKey=Value\n";
const std::string HEADER_TAIL = "[Setting] ;note\nKey=Value\n";
const std::string BLANKS = "  [Setting]\n  Key  =  Value with  blanks  \t\nK2=\nK3=   \nK4\n";
const std::string DUPLICATES = "[Setting]\nKey=First\nKey=Second\n[Setting]\nKey=Third\nOther=InSecond\n";
const std::string OUTSIDE = "Outside=1\n[Setting]\nKey=V\n";
const std::string COMMENTS = ";comment\n[Setting]\n;Key=Commented\nKey=V\n#Hash=1\n";
const std::string NUMBERS =
    "[S]\na=-5\nb= 12abc\nc=0x10\nd=abc\ne=0X10\nf=+7\ng=4294967297\nh=0b101\ni=0o17\nj=010\nk=- 5\n"
    "l=\"42\"\nm=1 2\nn=12345678901234567890123456789999\no=99999999999\np=2\nq=5.9\nr=0x\ns=-0x10\n"
    "t=   \nu=7 \n";
const std::string QUOTES =
    "[S]\nq1=\"quoted\"\nq2='single'\nq3=\"open\nq4=\"\nq5=\"\"\nq6=\"a\"b\"\nq7= \"sp\" \nq8=\"mis'\n";
const std::string LONG_FILE = "[S]\nlong=0123456789\n";
const std::string CRLF_FILE = "[S]\r\nk=v1\r\nk2=v2\r\n\r\n[T]\r\nk=t\r\n";
const std::string LF_FILE = "[S]\nk=v1\nk2=v2\n\n[T]\nk=t\n";
const std::string CR_FILE = "[S]\rk=v1\rk2=v2\r";
const std::string NO_END = "[S]\nk=v1";
const std::string LISTS = ";c\n[S]\na=1\n;x=2\nb\n\n[T]\n[Third]\nz=26\n";
const std::string HEADERS = "[a]b]\nk=1\n[c\nk=2\n";
const std::string OVERLONG = "[Setting]\nDefaultPrinter=" + std::string(300, 'p') + "\n";

const std::vector<ProfileCase>& Cases()
{
    static const std::vector<ProfileCase> s_vecCases = {
        // No file: the default, trailing blanks and quotes removed.
        S("MissingFileDefault", NO_FILE, "S", "k", "dflt", 50, 4, "dflt"),
        S("MissingFileDefaultTrailingBlanks", NO_FILE, "S", "k", "dflt  ", 50, 4, "dflt"),
        S("MissingFileDefaultQuoted", NO_FILE, "S", "k", "\"q\"", 50, 1, "q"),
        S("MissingFileNullDefault", NO_FILE, "S", "k", NONE, 50, 0, ""),
        I("MissingFileIntDefault", NO_FILE, "S", "k", 7, 7),
        I("MissingFileIntNegativeDefault", NO_FILE, "S", "k", -3, 0xFFFFFFFDu),
        // Names: case and blanks do not count.
        S("CaseOfNames", CASE_FILE, "setting", "KEY", "d", 50, 5, "Value"),
        S("BlanksAroundRequestedNames", CASE_FILE, " Setting ", "  key ", "d", 50, 5, "Value"),
        S("BlanksInsideHeader", HEADER_BLANKS, "Setting", "Key", "d", 50, 5, "Value"),
        S("TextAfterHeader", HEADER_TAIL, "Setting", "Key", "d", 50, 5, "Value"),
        S("HeaderNameToLastBracket", HEADERS, "a]b", "k", "d", 50, 1, "1"),
        S("HeaderNotCutAtFirstBracket", HEADERS, "a", "k", "d", 50, 1, "d"),
        S("HeaderWithoutBracketIsNoSection", HEADERS, "c", "k", "d", 50, 1, "d"),
        S("MissingSection", CASE_FILE, "Other", "Key", "d", 50, 1, "d"),
        S("MissingKey", CASE_FILE, "Setting", "Other", "d", 50, 1, "d"),
        // Blanks and empty values.
        S("BlanksAroundValue", BLANKS, "Setting", "Key", "d", 50, 18, "Value with  blanks"),
        S("EmptyValue", BLANKS, "Setting", "K2", "d", 50, 0, ""),
        S("BlankValue", BLANKS, "Setting", "K3", "d", 50, 0, ""),
        S("LineWithoutEquals", BLANKS, "Setting", "K4", "d", 50, 1, "d"),
        I("EmptyValueIntIsDefault", BLANKS, "Setting", "K2", 9, 9),
        I("LineWithoutEqualsIntIsDefault", BLANKS, "Setting", "K4", 9, 9),
        // Duplicates: the first section and the first key count.
        S("DuplicateKeyFirstWins", DUPLICATES, "Setting", "Key", "d", 50, 5, "First"),
        S("DuplicateSectionNotSearched", DUPLICATES, "Setting", "Other", "d", 50, 1, "d"),
        // A key before any section belongs to the nameless section.
        S("KeyOutsideSectionNotInSection", OUTSIDE, "Setting", "Outside", "d", 50, 1, "d"),
        S("KeyOutsideSectionInNameless", OUTSIDE, "", "Outside", "d", 50, 1, "1"),
        I("KeyOutsideSectionIntInNameless", OUTSIDE, "", "Outside", 5, 1),
        // Comments are lines like others: they hide nothing.
        S("KeyAfterComment", COMMENTS, "Setting", "Key", "d", 50, 1, "V"),
        S("CommentLineIsAKey", COMMENTS, "Setting", ";Key", "d", 50, 9, "Commented"),
        S("HashIsNoComment", COMMENTS, "Setting", "#Hash", "d", 50, 1, "1"),
        // Numbers.
        I("NegativeNumber", NUMBERS, "S", "a", -3, 0xFFFFFFFBu),
        I("NumberWithTrailingText", NUMBERS, "S", "b", -3, 12),
        I("HexNumber", NUMBERS, "S", "c", -3, 16),
        I("NoDigits", NUMBERS, "S", "d", -3, 0),
        I("UpperCaseHexPrefix", NUMBERS, "S", "e", -3, 0),
        I("PlusSign", NUMBERS, "S", "f", -3, 7),
        I("WrapsModulo2To32", NUMBERS, "S", "g", -3, 1),
        I("BinaryNumber", NUMBERS, "S", "h", -3, 5),
        I("OctalNumber", NUMBERS, "S", "i", -3, 15),
        I("LeadingZeroIsDecimal", NUMBERS, "S", "j", -3, 10),
        I("BlankAfterSign", NUMBERS, "S", "k", -3, 0),
        I("QuotedNumber", NUMBERS, "S", "l", -3, 42),
        I("NumberThenBlank", NUMBERS, "S", "m", -3, 1),
        I("OnlyFirst29CharactersCount", NUMBERS, "S", "n", -3, 1849262357u),
        I("LongNumberWraps", NUMBERS, "S", "o", -3, 1215752191u),
        I("PlainNumber", NUMBERS, "S", "p", -3, 2),
        I("DecimalFraction", NUMBERS, "S", "q", -3, 5),
        I("HexPrefixOnly", NUMBERS, "S", "r", -3, 0),
        I("NegativeHex", NUMBERS, "S", "s", -3, 0xFFFFFFF0u),
        I("BlankValueIntIsDefault", NUMBERS, "S", "t", -3, 0xFFFFFFFDu),
        I("NumberWithTrailingBlank", NUMBERS, "S", "u", -3, 7),
        I("MissingKeyInt", NUMBERS, "S", "zz", -3, 0xFFFFFFFDu),
        // Quotes.
        S("DoubleQuotesStripped", QUOTES, "S", "q1", "d", 50, 6, "quoted"),
        S("SingleQuotesStripped", QUOTES, "S", "q2", "d", 50, 6, "single"),
        S("OpeningQuoteOnlyKept", QUOTES, "S", "q3", "d", 50, 5, "\"open"),
        S("LoneQuoteKept", QUOTES, "S", "q4", "d", 50, 1, "\""),
        S("EmptyQuotes", QUOTES, "S", "q5", "d", 50, 0, ""),
        S("InnerQuoteKept", QUOTES, "S", "q6", "d", 50, 3, "a\"b"),
        S("QuotesInsideBlanks", QUOTES, "S", "q7", "d", 50, 2, "sp"),
        S("MismatchedQuotesKept", QUOTES, "S", "q8", "d", 50, 5, "\"mis'"),
        S("QuotedValueExactBuffer", QUOTES, "S", "q1", "d", 7, 5, "quote"),
        S("QuotedValueShortBuffer", QUOTES, "S", "q1", "d", 6, 5, "quote"),
        S("QuotedValueShorterBuffer", QUOTES, "S", "q1", "d", 5, 4, "quot"),
        S("QuotedValueTinyBuffer", QUOTES, "S", "q1", "d", 3, 2, "qu"),
        // Values cut to the buffer.
        S("CutToBufferMinusOne", LONG_FILE, "S", "long", "d", 5, 4, "0123"),
        S("ExactFit", LONG_FILE, "S", "long", "d", 11, 10, "0123456789"),
        S("OneShort", LONG_FILE, "S", "long", "d", 10, 9, "012345678"),
        S("BufferOfOne", LONG_FILE, "S", "long", "d", 1, 0, ""),
        S("DefaultCutToBuffer", LONG_FILE, "S", "nokey", "defaultlong", 5, 4, "defa"),
        S("OverlongValueCutTo255", OVERLONG, "Setting", "DefaultPrinter", "", 256, 255, std::string(255, 'p')),
        // Line ends.
        S("CrLfLastKey", CRLF_FILE, "S", "k2", "d", 50, 2, "v2"),
        S("CrLfSecondSection", CRLF_FILE, "T", "k", "d", 50, 1, "t"),
        S("LfLastKey", LF_FILE, "S", "k2", "d", 50, 2, "v2"),
        S("LfSecondSection", LF_FILE, "T", "k", "d", 50, 1, "t"),
        S("CrOnlyFirstKey", CR_FILE, "S", "k", "d", 50, 2, "v1"),
        S("CrOnlySecondKey", CR_FILE, "S", "k2", "d", 50, 2, "v2"),
        S("NoLineEndAtEnd", NO_END, "S", "k", "d", 50, 2, "v1"),
        S("Utf8ByteOrderMark", "\xEF\xBB\xBF[S]\nk=v\n", "S", "k", "d", 50, 1, "v"),
        // Name lists.
        S("SectionList", LISTS, NONE, NONE, "d", 50, 10, Lit("S\0T\0Third\0")),
        S("SectionListCut", LISTS, NONE, NONE, "d", 6, 4, Lit("S\0T\0")),
        S("KeyListWithoutCommentsAndBareLines", LISTS, "S", NONE, "d", 50, 2, Lit("a\0")),
        S("KeyListOfEmptySection", LISTS, "T", NONE, "d", 50, 1, "d"),
        S("KeyListOfMissingSection", LISTS, "Nope", NONE, "d", 50, 1, "d"),
    };
    return s_vecCases;
}

class PrivateProfileTableTest : public testing::TestWithParam<ProfileCase> {
protected:
    orvtest::TempFolder m_tmp;
};

const wchar_t* Arg(const std::wstring& strText, const char* szSource)
{
    return (szSource == NONE) ? nullptr : strText.c_str();
}

} // namespace

TEST_P(PrivateProfileTableTest, ReadsAsWindowsDoes)
{
    const ProfileCase& c = GetParam();
    const std::wstring strFile = W(m_tmp.File("Profile.ini"));
    if (c.strFile != NO_FILE) {
        m_tmp.WriteFile("Profile.ini", c.strFile);
    }
    const std::wstring strSection = W(c.szSection == NONE ? "" : c.szSection);
    const std::wstring strKey = W(c.szKey == NONE ? "" : c.szKey);
    if (c.eOp == GET_INT) {
        EXPECT_EQ(c.uiExpected, PrivateProfileGetInt(strSection.c_str(), strKey.c_str(), c.iDefault, strFile.c_str()));
        return;
    }
    const std::wstring strDefault = W(c.szDefault == NONE ? "" : c.szDefault);
    std::vector<wchar_t> vecBuffer(c.uiSize + 8, L'#');
    const uint32_t uiResult = PrivateProfileGetString(Arg(strSection, c.szSection), Arg(strKey, c.szKey),
                                                      Arg(strDefault, c.szDefault), vecBuffer.data(), c.uiSize,
                                                      strFile.c_str());
    ASSERT_EQ(c.uiExpected, uiResult);
    EXPECT_EQ(c.strExpected, N(std::wstring(vecBuffer.data(), uiResult)));
    EXPECT_EQ(L'\0', vecBuffer[uiResult]);
}

INSTANTIATE_TEST_SUITE_P(Table, PrivateProfileTableTest, testing::ValuesIn(Cases()),
                         [](const testing::TestParamInfo<ProfileCase>& info) { return std::string(info.param.szName); });

// Writes, checked by reading back (Windows formats the file its own way).

class PrivateProfileWriteTest : public testing::Test {
protected:
    std::wstring Path(const char* szName = "Profile.ini") { return W(m_tmp.File(szName)); }
    std::string Read(const char* szSection, const char* szKey, const char* szFile = "Profile.ini")
    {
        wchar_t szBuffer[300];
        const uint32_t n = PrivateProfileGetString(W(szSection).c_str(), W(szKey).c_str(), L"<none>", szBuffer, 300,
                                                   Path(szFile).c_str());
        return N(std::wstring(szBuffer, n));
    }
    int32_t Write(const char* szSection, const char* szKey, const char* szValue, const char* szFile = "Profile.ini")
    {
        const std::wstring strSection = W(szSection ? szSection : "");
        const std::wstring strKey = W(szKey ? szKey : "");
        const std::wstring strValue = W(szValue ? szValue : "");
        return PrivateProfileWriteString(szSection ? strSection.c_str() : nullptr, szKey ? strKey.c_str() : nullptr,
                                         szValue ? strValue.c_str() : nullptr, Path(szFile).c_str());
    }

    orvtest::TempFolder m_tmp;
};

TEST_F(PrivateProfileWriteTest, CreatesFileAndReadsBack)
{
    EXPECT_NE(0, Write("Setting", "DefaultPrinter", "Printer on floor 3"));
    EXPECT_EQ("Printer on floor 3", Read("Setting", "DefaultPrinter"));
    EXPECT_NE("", m_tmp.ReadFile("Profile.ini"));
}

TEST_F(PrivateProfileWriteTest, LeadingBlanksOfValueDropped)
{
    EXPECT_NE(0, Write("S", "k", "  lead"));
    EXPECT_EQ("lead", Read("S", "k"));
}

TEST_F(PrivateProfileWriteTest, ReplacesKeyWithoutRegardToCase)
{
    m_tmp.WriteFile("Profile.ini", "[Setting]\nA=1\nB=x\n");
    EXPECT_NE(0, Write("setting", "a", "2"));
    EXPECT_EQ("2", Read("Setting", "A"));
    EXPECT_EQ("x", Read("Setting", "B"));
    wchar_t szList[50];
    const uint32_t n = PrivateProfileGetString(L"Setting", nullptr, L"", szList, 50, Path().c_str());
    EXPECT_EQ(Lit("A\0B\0"), N(std::wstring(szList, n)));
}

TEST_F(PrivateProfileWriteTest, AddsKeyAndSection)
{
    m_tmp.WriteFile("Profile.ini", "; top\r\n[Setting]\r\nA=1\r\n; mid\r\n\r\n[Other]\r\nX=1\r\n");
    EXPECT_NE(0, Write("Setting", "New", "n"));
    EXPECT_NE(0, Write("Third", "K", "v"));
    EXPECT_EQ("n", Read("Setting", "New"));
    EXPECT_EQ("v", Read("Third", "K"));
    EXPECT_EQ("1", Read("Setting", "A"));
    EXPECT_EQ("1", Read("Other", "X"));
    EXPECT_EQ("<none>", Read("Other", "New"));
}

TEST_F(PrivateProfileWriteTest, KeepsCommentsOfOtherLines)
{
    m_tmp.WriteFile("Profile.ini", "[Setting]\n;Key=Commented\nKey=V\n");
    EXPECT_NE(0, Write("Setting", "Key", "W"));
    EXPECT_EQ("W", Read("Setting", "Key"));
    EXPECT_EQ("Commented", Read("Setting", ";Key"));
}

TEST_F(PrivateProfileWriteTest, DuplicateSectionWritesFirst)
{
    m_tmp.WriteFile("Profile.ini", "[S]\nA=1\n[S]\nB=2\n");
    EXPECT_NE(0, Write("S", "B", "3"));
    EXPECT_EQ("3", Read("S", "B"));
    EXPECT_EQ("1", Read("S", "A"));
}

TEST_F(PrivateProfileWriteTest, LfAndCrLfFilesBothWritable)
{
    m_tmp.WriteFile("Lf.ini", "[S]\nA=1\n");
    m_tmp.WriteFile("CrLf.ini", "[S]\r\nA=1\r\n");
    EXPECT_NE(0, Write("S", "B", "2", "Lf.ini"));
    EXPECT_NE(0, Write("S", "B", "2", "CrLf.ini"));
    EXPECT_EQ("2", Read("S", "B", "Lf.ini"));
    EXPECT_EQ("2", Read("S", "B", "CrLf.ini"));
    EXPECT_EQ("1", Read("S", "A", "CrLf.ini"));
}

TEST_F(PrivateProfileWriteTest, FileWithoutFinalLineEnd)
{
    m_tmp.WriteFile("Profile.ini", "[S]\nA=1");
    EXPECT_NE(0, Write("S", "B", "2"));
    EXPECT_EQ("1", Read("S", "A"));
    EXPECT_EQ("2", Read("S", "B"));
}

TEST_F(PrivateProfileWriteTest, QuotedAndEmptyValues)
{
    EXPECT_NE(0, Write("S", "Q", "\"quoted\""));
    EXPECT_NE(0, Write("S", "E", ""));
    EXPECT_EQ("quoted", Read("S", "Q"));
    EXPECT_EQ("", Read("S", "E"));
    EXPECT_EQ(4u, PrivateProfileGetInt(L"S", L"E", 4, Path().c_str()));
}

TEST_F(PrivateProfileWriteTest, NullValueDeletesKey)
{
    m_tmp.WriteFile("Profile.ini", "[S]\nA=1\nB=2\n[T]\nC=3\n");
    EXPECT_NE(0, Write("S", "A", nullptr));
    EXPECT_EQ("<none>", Read("S", "A"));
    EXPECT_EQ("2", Read("S", "B"));
}

TEST_F(PrivateProfileWriteTest, NullKeyDeletesSection)
{
    m_tmp.WriteFile("Profile.ini", "[S]\nA=1\nB=2\n[T]\nC=3\n");
    EXPECT_NE(0, Write("T", nullptr, nullptr));
    EXPECT_EQ("<none>", Read("T", "C"));
    EXPECT_EQ("1", Read("S", "A"));
}

TEST_F(PrivateProfileWriteTest, NullSectionFails)
{
    EXPECT_EQ(0, Write(nullptr, "x", "y"));
}

TEST_F(PrivateProfileWriteTest, UnchangedValueLeavesFileAlone)
{
    const std::string strContent = "; top\n[Setting]\n  A = 1  \n; mid\n\n[Other]\nX=1\n";
    m_tmp.WriteFile("Profile.ini", strContent);
    EXPECT_NE(0, Write("Setting", "A", "1"));
    EXPECT_EQ(strContent, m_tmp.ReadFile("Profile.ini"));
}

TEST_F(PrivateProfileWriteTest, WriteToFolderFails)
{
    const std::wstring strFolder = W(m_tmp.File("Folder.ini"));
    ASSERT_TRUE(std::filesystem::create_directory(m_tmp.File("Folder.ini")));
    EXPECT_EQ(0, PrivateProfileWriteString(L"S", L"K", L"V", strFolder.c_str()));
    wchar_t szBuffer[10];
    EXPECT_EQ(3u, PrivateProfileGetString(L"S", L"K", L"def", szBuffer, 10, strFolder.c_str()));
}

TEST_F(PrivateProfileWriteTest, WriteWithoutParentFolderFails)
{
    const std::wstring strPath = W((std::filesystem::path(m_tmp.File("missing")) / "Config.ini").string());
    EXPECT_EQ(0, PrivateProfileWriteString(L"S", L"K", L"V", strPath.c_str()));
}
