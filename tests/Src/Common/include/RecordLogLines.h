#pragma once

#include <regex>
#include <string>
#include <vector>
#include "support/LogCapture.h"

namespace recordtest {

// The captured lines with the variable parts made fixed: the thread id of
// the record prefix becomes "[ThreadID:#]" and the source line "(#)".
inline std::vector<std::string> NormalizedLines(const orvtest::LogCapture& cap)
{
    static const std::regex s_reThread(R"(^\[ThreadID:\d+\] )");
    static const std::regex s_reLine(R"(\.cpp\(\d+\) : )");
    std::vector<std::string> vecLines;
    for (const std::string& strLine : cap.Lines()) {
        std::string strText = std::regex_replace(strLine, s_reThread, "[ThreadID:#] ");
        vecLines.push_back(std::regex_replace(strText, s_reLine, ".cpp(#) : "));
    }
    return vecLines;
}

} // namespace recordtest
