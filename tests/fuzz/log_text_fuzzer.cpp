// Request texts on their way into the log. The dialog logs the chosen
// printer's and project's names at INFO ("Selected printer : %S, selected
// project : %S"), and record dumps of a request become the format of a
// "Param" record; the facade formats both once more after the names are in.
// With Language::EscapePercent applied to the names, any name must come out
// of the real facade and log4cpp as it is: no crash, no hang, no conversion.
//
// The input is two names as UTF-16LE units (split at the first 0xFFFF unit
// pair), anything at all: printf conversions, unpaired surrogates, NULs,
// names longer than a record.
#include <algorithm>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <log4cpp/Category.hh>
#include <log4cpp/PatternLayout.hh>
#include <log4cpp/StringQueueAppender.hh>
#include "FuzzSupport.h"
#include "language/LogText.h"
#include "language/TextConvert.h"
#include "logging/LogFacade.h"
#include "logging/LogMacros.h"

namespace {

log4cpp::StringQueueAppender* g_pQueue = nullptr;

void StartLogging()
{
    std::setlocale(LC_ALL, "C.UTF-8");
    const std::string strConfig = orvfuzz::ScratchFolder() + "/LogConfig.conf";
    std::ofstream(strConfig) << "log4cpp.rootCategory=ERROR\n"
                                "log4cpp.category.OrvprintD_exe=DEBUG\n"
                                "OutputParam.OrvprintD_exe=true\n";
    InitLogging(strConfig.c_str());
    g_pQueue = new log4cpp::StringQueueAppender("queue");
    log4cpp::PatternLayout* pLayout = new log4cpp::PatternLayout();
    pLayout->setConversionPattern("%m");
    g_pQueue->setLayout(pLayout);
    log4cpp::Category::getInstance("OrvprintD_exe").addAppender(g_pQueue);
}

// Names the C library can turn into UTF-8 through "%S": no surrogate,
// nothing past U+10FFFF.
bool Convertible(const std::wstring& strName)
{
    for (wchar_t ch : strName) {
        if ((ch >= 0xD800 && ch <= 0xDFFF) || static_cast<uint32_t>(ch) > 0x10FFFF) {
            return false;
        }
    }
    return true;
}

// Names that come out whole: convertible and without a NUL (which would end
// the text early).
bool Printable(const std::wstring& strName)
{
    return Convertible(strName) && strName.find(L'\0') == std::wstring::npos;
}

std::string Pop()
{
    std::string strRecord;
    while (g_pQueue->queueSize() > 0) {
        strRecord += g_pQueue->popMessage();
    }
    return strRecord;
}

std::string Tail(const std::string& strRecord)
{
    const size_t uiAt = strRecord.find("] ");
    return uiAt == std::string::npos ? std::string() : strRecord.substr(uiAt + 2);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyData, size_t uiSize)
{
    static bool s_bStarted = (StartLogging(), true);
    (void)s_bStarted;

    std::wstring strPrinter = orvfuzz::WideUnits(pbyData, uiSize);
    std::wstring strProject;
    const size_t uiSplit = strPrinter.find(static_cast<wchar_t>(0xFFFF));
    if (uiSplit != std::wstring::npos) {
        strProject = strPrinter.substr(uiSplit + 1);
        strPrinter.erase(uiSplit);
    }
    // A request's name field holds up to 1023 units and a terminator. Such a
    // name, escaped, is longer than a record: records are cut, and a cut (or
    // a name the C library cannot convert) can fall inside an escaped "%%".
    const size_t MAX_NAME_UNITS = 1023;
    strPrinter.resize(std::min(strPrinter.size(), MAX_NAME_UNITS));
    strProject.resize(std::min(strProject.size(), MAX_NAME_UNITS));

    ORV_TRACE_SCOPE("LogTextFuzzer::Run");

    // The dialog's INFO record of the user's choice.
    Pop();
    ORV_LOG_INFO_PLAIN("Selected printer : %S, selected project : %S",
                       Language::EscapePercent(strPrinter).c_str(), Language::EscapePercent(strProject).c_str());
    const std::string strInfo = Pop();
    if (Printable(strPrinter) && Printable(strProject)) {
        const std::string strMessage = "Selected printer : " + Language::Utf8FromWide(strPrinter) +
                                       ", selected project : " + Language::Utf8FromWide(strProject);
        // Records longer than their buffer are cut; short ones are exact. The
        // message fills the buffer escaped ("%" doubled), before the record's
        // second formatting.
        if (Language::EscapePercent(strMessage).size() < 700) {
            FUZZ_CHECK(Tail(strInfo) == "INFO - " + strMessage);
        }
    }

    // A record dump as the text of a "Param" record.
    const std::string strValue = Language::Utf8FromWide(strPrinter);
    const std::string strParams = "X::Y([stuPrinterInfo] = {szPrinterName = " + Language::EscapePercent(strValue) + ", )";
    LogParam(strParams.c_str());
    const std::string strParam = Pop();
    if (strValue.size() < 600 && strValue.find('\0') == std::string::npos) {
        FUZZ_CHECK(Tail(strParam) == "Param - X::Y([stuPrinterInfo] = {szPrinterName = " + strValue + ", )");
    }

    // The same text as a located ERROR message (formatted twice as well).
    ORV_LOG_ERROR("%s(%d) : szName = %s", Language::EscapePercent(strValue).c_str());
    Pop();
    return 0;
}
