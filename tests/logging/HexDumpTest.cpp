#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>
#include <gtest/gtest.h>
#include "logging/HexDump.h"
#include "logging/LogFacade.h"

namespace {

std::vector<std::string> g_vecOutput;

void CollectOutput(const char* szFormat, ...)
{
    char szText[512];
    va_list va;
    va_start(va, szFormat);
    vsnprintf(szText, sizeof(szText), szFormat, va);
    va_end(va);
    g_vecOutput.push_back(szText);
}

std::string AddressLine(const void* pData, uint32_t uiLength)
{
    char szLine[64];
    snprintf(szLine, sizeof(szLine), "Address=0X%08X Length=%ld\n",
             static_cast<unsigned int>(reinterpret_cast<uintptr_t>(pData) & 0xFFFFFFFFu),
             static_cast<long>(uiLength));
    return szLine;
}

class HexDump : public ::testing::Test {
protected:
    void SetUp() override { g_vecOutput.clear(); }
};

} // namespace

TEST_F(HexDump, TwentyBytesGiveAFullLineAndAFourByteLine)
{
    unsigned char abyData[20];
    for (int i = 0; i < 20; ++i) abyData[i] = static_cast<unsigned char>(i);
    WriteHexDump("Title\n", abyData, 20, &CollectOutput);
    ASSERT_EQ(4u, g_vecOutput.size());
    EXPECT_EQ("Title\n", g_vecOutput[0]);
    EXPECT_EQ(AddressLine(abyData, 20), g_vecOutput[1]);
    EXPECT_EQ("00 01 02 03 04 05 06 07  08 09 0A 0B 0C 0D 0E 0F\n", g_vecOutput[2]);
    EXPECT_EQ("10 11 12 13\n", g_vecOutput[3]);
}

TEST_F(HexDump, EightBytesHaveSingleBlanksAndNoTrailingBlank)
{
    const unsigned char abyData[8] = {0xDE, 0xAD, 0xBE, 0xEF, 0x00, 0x7F, 0x80, 0xFF};
    WriteHexDump("T", abyData, 8, &CollectOutput);
    ASSERT_EQ(3u, g_vecOutput.size());
    EXPECT_EQ("DE AD BE EF 00 7F 80 FF\n", g_vecOutput[2]);
}

TEST_F(HexDump, NineBytesGetTheDoubleBlankAfterTheEighth)
{
    const unsigned char abyData[9] = {1, 2, 3, 4, 5, 6, 7, 8, 0xab};
    WriteHexDump("T", abyData, 9, &CollectOutput);
    ASSERT_EQ(3u, g_vecOutput.size());
    EXPECT_EQ("01 02 03 04 05 06 07 08  AB\n", g_vecOutput[2]);
}

TEST_F(HexDump, SixteenBytesEndWithoutBlank)
{
    unsigned char abyData[17];
    for (int i = 0; i < 17; ++i) abyData[i] = static_cast<unsigned char>(0xF0 + (i % 16));
    WriteHexDump("T", abyData, 16, &CollectOutput);
    ASSERT_EQ(3u, g_vecOutput.size());
    EXPECT_EQ("F0 F1 F2 F3 F4 F5 F6 F7  F8 F9 FA FB FC FD FE FF\n", g_vecOutput[2]);

    g_vecOutput.clear();
    WriteHexDump("T", abyData, 17, &CollectOutput);
    ASSERT_EQ(4u, g_vecOutput.size());
    EXPECT_EQ("F0\n", g_vecOutput[3]);
}

TEST_F(HexDump, LengthZeroGivesTitleAndAddressOnly)
{
    const unsigned char abyData[4] = {1, 2, 3, 4};
    WriteHexDump("Empty %d\n", abyData, 0, &CollectOutput);
    ASSERT_EQ(2u, g_vecOutput.size());
    EXPECT_EQ(AddressLine(abyData, 0), g_vecOutput[1]);
}

TEST_F(HexDump, NullDataGivesTitleAndAddressOnly)
{
    WriteHexDump("Null\n", nullptr, 16, &CollectOutput);
    ASSERT_EQ(2u, g_vecOutput.size());
    EXPECT_EQ("Null\n", g_vecOutput[0]);
    EXPECT_EQ("Address=0X00000000 Length=16\n", g_vecOutput[1]);
}

TEST_F(HexDump, FacadeWritesNothingWhileLoggingIsDisabled)
{
    ShutdownLogging();
    const unsigned char abyData[4] = {1, 2, 3, 4};
    LogHexDump("Title\n", abyData, 4, &CollectOutput);
    EXPECT_TRUE(g_vecOutput.empty());
}
