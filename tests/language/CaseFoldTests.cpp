// Case folding over all of Unicode, whatever the process locale.
#include <gtest/gtest.h>

#include <clocale>
#include <string>
#include "language/CaseFold.h"
#include "language/TextConvert.h"

using Language::ContainsFolded;
using Language::FoldCase;
using Language::FoldCodePoint;
using Language::StartsWithNoCase;

namespace {

// A wide string from UTF-16 units, so that supplementary characters are
// written once for both widths of wchar_t.
std::wstring W(const std::u16string& str) { return Language::WideFromUtf16(str.c_str(), str.size()); }

// Runs the check in the "C" locale, where towlower folds A-Z only.
class CaseFoldTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        const char* szOld = std::setlocale(LC_ALL, nullptr);
        m_strOldLocale = szOld != nullptr ? szOld : "C";
        std::setlocale(LC_ALL, "C");
    }
    void TearDown() override { std::setlocale(LC_ALL, m_strOldLocale.c_str()); }

    std::string m_strOldLocale;
};

} // namespace

TEST_F(CaseFoldTest, CodePoints)
{
    EXPECT_EQ(U'a', FoldCodePoint(U'A'));
    EXPECT_EQ(U'a', FoldCodePoint(U'a'));
    EXPECT_EQ(U'@', FoldCodePoint(U'@'));
    EXPECT_EQ(U'ä', FoldCodePoint(U'Ä'));
    EXPECT_EQ(U'ａ', FoldCodePoint(U'Ａ'));     // fullwidth
    EXPECT_EQ(U'σ', FoldCodePoint(U'Σ'));
    EXPECT_EQ(U'σ', FoldCodePoint(U'ς'));       // final sigma
    EXPECT_EQ(U'д', FoldCodePoint(U'Д'));
    EXPECT_EQ(U'k', FoldCodePoint(U'\u212A'));  // Kelvin sign
    EXPECT_EQ(U'ß', FoldCodePoint(U'\u1E9E'));  // capital sharp s (simple folding)
    EXPECT_EQ(U'\u0130', FoldCodePoint(U'\u0130')); // dotted capital I has no simple folding
    EXPECT_EQ(U'ā', FoldCodePoint(U'Ā'));       // every second code point
    EXPECT_EQ(U'ā', FoldCodePoint(U'ā'));
    EXPECT_EQ(U'\U00010428', FoldCodePoint(U'\U00010400')); // Deseret
    EXPECT_EQ(U'\U0001E943', FoldCodePoint(U'\U0001E921')); // Adlam, the last run
    EXPECT_EQ(U'中', FoldCodePoint(U'中'));
    EXPECT_EQ(U'\U0010FFFF', FoldCodePoint(U'\U0010FFFF'));
}

TEST_F(CaseFoldTest, StringsWithSurrogatePairs)
{
    EXPECT_EQ(L"äbc ａ σσ д", FoldCase(L"ÄBC Ａ Σς Д"));
    EXPECT_EQ(W(u"x\U00010428y"), FoldCase(W(u"X\U00010400Y")));
    EXPECT_EQ(W(u"\U0002A6A5"), FoldCase(W(u"\U0002A6A5"))); // a CJK extension character stays
    // An unpaired surrogate stays as it is (only representable in UTF-16).
    if (sizeof(wchar_t) == 2) {
        const std::wstring strLone(1, static_cast<wchar_t>(0xD801));
        EXPECT_EQ(strLone + L"a", FoldCase(strLone + L"A"));
    }
}

TEST_F(CaseFoldTest, PrefixIgnoresCaseOverAllOfUnicode)
{
    EXPECT_TRUE(StartsWithNoCase(L"Äbc Drucker", L"äBC"));
    EXPECT_TRUE(StartsWithNoCase(L"ａｂｃ打印机", L"ＡＢ"));
    EXPECT_TRUE(StartsWithNoCase(L"ΣΙΓΜΑ", L"σιγ"));
    EXPECT_TRUE(StartsWithNoCase(L"Дом печати", L"дом"));
    EXPECT_TRUE(StartsWithNoCase(W(u"\U00010400\U00010401 printer"), W(u"\U00010428\U00010429")));
    EXPECT_FALSE(StartsWithNoCase(L"abc", L"abcd"));
    EXPECT_FALSE(StartsWithNoCase(L"Äbc", L"ab"));
    EXPECT_TRUE(StartsWithNoCase(L"abc", L""));
}

TEST_F(CaseFoldTest, ContainsFoldedPart)
{
    EXPECT_TRUE(ContainsFolded(L"研发部 ÄBC", FoldCase(L"äb")));
    EXPECT_TRUE(ContainsFolded(L"三楼彩色打印机", FoldCase(L"彩色")));
    EXPECT_TRUE(ContainsFolded(L"ΟΔΟΣ", FoldCase(L"ος")));
    EXPECT_TRUE(ContainsFolded(W(u"A\U00010400B"), FoldCase(W(u"\U00010428b"))));
    EXPECT_TRUE(ContainsFolded(L"anything", L""));
    EXPECT_FALSE(ContainsFolded(L"abc", FoldCase(L"abd")));
    EXPECT_FALSE(ContainsFolded(L"ab", FoldCase(L"abc")));
}
