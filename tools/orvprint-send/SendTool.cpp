#include "tools/orvprint-send/SendTool.h"

#include <cmath>
#include <cstring>
#include <nlohmann/json.hpp>
#include "Src/PrintingService/Common/Include/MsgQueueLayout.h"
#include "Src/PrintingService/Common/Include/MsgQueueSender.h"
#include "language/LogText.h"
#include "language/TextConvert.h"
#include "tools/orvprint-send/RequestBuilder.h"
#include "utility/NamedObject.h"

namespace OrvprintSend {

namespace {

const char USAGE[] =
    "usage: orvprint-send [--name BASE] [--timeout SECONDS] REQUEST.json\n"
    "       orvprint-send [--name BASE] [--timeout SECONDS] --raw FILE\n"
    "       orvprint-send --help\n";

const char HELP[] =
    "Sends one job-option request to the print-option dialog of the user's\n"
    "OrvprintD, as the printing service does, waits for the answer and prints\n"
    "it as one JSON object on one line:\n"
    "\n"
    "  {\"resultCode\":0,\"responseLength\":44,\"result\":0,\"printerId\":\"P1\",\"projectId\":\"J1\"}\n"
    "\n"
    "resultCode is 0 when the request was served and 6 when the receiver was\n"
    "quitting; result is 0 (OK) or 1 (cancelled); printerId and projectId are\n"
    "the chosen ids (empty when none). Fields the answer is too short for, and\n"
    "all but the first two with resultCode 6, are null.\n"
    "\n"
    "A malformed answer (a resultCode other than 0 and 6; with resultCode 0, a\n"
    "responseLength other than 44, a result other than 0 and 1, or an id that\n"
    "has no terminator within its 20 bytes, that is more than 9 characters)\n"
    "exits 6 with one line on standard error naming what was wrong. The JSON\n"
    "still shows the raw values: an id as its characters up to the terminator\n"
    "or the field's end.\n"
    "\n"
    "Options:\n"
    "  --raw FILE         send the file's bytes unchanged as the request\n"
    "  --timeout SECONDS  give up after this long (default: wait for ever); the\n"
    "                     limit covers the whole exchange: the wait for other\n"
    "                     senders (one request at a time) and the wait for the\n"
    "                     answer together\n"
    "  --name BASE        channel base name (default Orvprint_Popup_Dialog)\n"
    "  --help             this text\n"
    "\n"
    "Exit codes: 0 answered, 1 bad command line, 2 no receiver (or it went away\n"
    "without answering), 3 timed out, 4 bad input file, 5 platform failure,\n"
    "6 malformed answer.\n"
    "\n"
    "A timeout (exit 3) says on standard error which wait ran out:\n"
    "  orvprint-send: timed out waiting for other senders to finish\n"
    "  orvprint-send: timed out waiting for the answer\n"
    "\n"
    "Control characters never reach the terminal: ids carry them as JSON\n"
    "escapes (DEL and U+0080-U+009F too), messages show those of arguments,\n"
    "file names and the request file as \\r, \\n, \\t, \\xHH and \\u00HH.\n"
    "\n";

std::string Utf8(const std::wstring& strText)
{
    return Language::Utf8FromWide(strText);
}

// A text from outside the tool (an argument, a file name, what the request
// file holds) as it goes into a message on standard error: its control
// characters shown as text, so that none reaches the terminal.
std::string Shown(const std::string& strUtf8)
{
    return Language::EscapeControls(strUtf8);
}

std::string Shown(const std::wstring& strText)
{
    return Shown(Utf8(strText));
}

// The JSON text escapes U+0000-U+001F itself; DEL and the C1 controls
// (U+0080-U+009F), which JSON lets stand, are written as \u escapes too, so
// that an id from the receiver cannot send a terminal control. They occur
// only inside strings, where the escapes mean the same characters.
std::string WithoutRawControls(const std::string& strJson)
{
    static const char HEX_DIGITS[] = "0123456789abcdef";
    std::string strResult;
    strResult.reserve(strJson.size());
    for (size_t i = 0; i < strJson.size(); ++i) {
        const unsigned char by = static_cast<unsigned char>(strJson[i]);
        unsigned uiControl = 0;
        if (by == 0x7F) {
            uiControl = 0x7F;
        } else if (by == 0xC2 && i + 1 < strJson.size() && static_cast<unsigned char>(strJson[i + 1]) >= 0x80 &&
                   static_cast<unsigned char>(strJson[i + 1]) <= 0x9F) {
            uiControl = static_cast<unsigned char>(strJson[++i]);
        }
        if (uiControl) {
            strResult += "\\u00";
            strResult += HEX_DIGITS[uiControl >> 4];
            strResult += HEX_DIGITS[uiControl & 0xF];
        } else {
            strResult += static_cast<char>(by);
        }
    }
    return strResult;
}

// Seconds as a decimal number into milliseconds; false when it is none.
bool ParseTimeout(const std::wstring& strText, uint32_t& uiMilliseconds)
{
    const std::string strNarrow = Utf8(strText);
    if (strNarrow.empty() || strNarrow.find_first_not_of("0123456789.") != std::string::npos) {
        return false;
    }
    char* pEnd = nullptr;
    const double dSeconds = std::strtod(strNarrow.c_str(), &pEnd);
    if (!pEnd || *pEnd || !(dSeconds >= 0) || dSeconds > 4000000.0) {
        return false;
    }
    uiMilliseconds = static_cast<uint32_t>(std::llround(dSeconds * 1000.0));
    return true;
}

// Characters of an id field (10 UTF-16 units: at most 9 and a terminator).
const size_t ID_UNITS = 10;

// The id at a response offset: its characters up to the terminator or the
// field's end. *pbTerminated tells whether a terminator came.
std::u16string IdAt(const std::vector<uint8_t>& vecResponse, size_t uiOffset, bool* pbTerminated = nullptr)
{
    std::u16string strId;
    bool bTerminated = false;
    for (size_t i = 0; i < ID_UNITS; ++i) {
        char16_t ch = 0;
        std::memcpy(&ch, vecResponse.data() + uiOffset + 2 * i, sizeof(ch));
        if (!ch) {
            bTerminated = true;
            break;
        }
        strId += ch;
    }
    if (pbTerminated) {
        *pbTerminated = bTerminated;
    }
    return strId;
}

} // namespace

std::string CheckAnswer(const OrvUtility::CMsgQueueSender::REPLY& stuReply)
{
    using OrvUtility::CMsgQueueLayout;
    if (stuReply.uiResultCode == CMsgQueueLayout::RESULT_QUITTING) {
        return std::string();
    }
    if (stuReply.uiResultCode != CMsgQueueLayout::RESULT_SERVED) {
        return "unknown resultCode " + std::to_string(stuReply.uiResultCode) + " (known: 0 served, 6 quitting)";
    }
    std::string strProblems;
    const auto add = [&strProblems](const std::string& strProblem) {
        strProblems += (strProblems.empty() ? "" : "; ") + strProblem;
    };
    if (stuReply.uiResponseLength != CMsgQueueLayout::JOB_RESPONSE_CAPACITY) {
        add("responseLength " + std::to_string(stuReply.uiResponseLength) + ", not 44");
    }
    const std::vector<uint8_t>& vecResponse = stuReply.vecResponse;
    if (vecResponse.size() >= 4) {
        int32_t iResult = 0;
        std::memcpy(&iResult, vecResponse.data(), sizeof(iResult));
        if (iResult != 0 && iResult != 1) {
            add("result " + std::to_string(iResult) + ", neither 0 (OK) nor 1 (cancelled)");
        }
    }
    const struct {
        size_t uiOffset;
        const char* szName;
    } aIds[] = {{4, "printerId"}, {24, "projectId"}};
    for (const auto& id : aIds) {
        bool bTerminated = true;
        if (vecResponse.size() >= id.uiOffset + 2 * ID_UNITS) {
            IdAt(vecResponse, id.uiOffset, &bTerminated);
        }
        if (!bTerminated) {
            add(std::string(id.szName) + " has no terminator within its 20 bytes (more than 9 characters)");
        }
    }
    return strProblems;
}

std::string FormatAnswer(const OrvUtility::CMsgQueueSender::REPLY& stuReply)
{
    nlohmann::ordered_json jAnswer;
    jAnswer["resultCode"] = stuReply.uiResultCode;
    jAnswer["responseLength"] = stuReply.uiResponseLength;
    // The fields of an answer that was served, and the raw ones of any
    // other but a quitting receiver's.
    const bool bHasFields = stuReply.uiResultCode != OrvUtility::CMsgQueueLayout::RESULT_QUITTING;
    const std::vector<uint8_t>& vecResponse = stuReply.vecResponse;
    jAnswer["result"] = nullptr;
    jAnswer["printerId"] = nullptr;
    jAnswer["projectId"] = nullptr;
    if (bHasFields && vecResponse.size() >= 4) {
        int32_t iResult = 0;
        std::memcpy(&iResult, vecResponse.data(), sizeof(iResult));
        jAnswer["result"] = iResult;
    }
    if (bHasFields && vecResponse.size() >= 24) {
        const std::u16string strId = IdAt(vecResponse, 4);
        jAnswer["printerId"] = Utf8(Language::WideFromUtf16(strId.c_str(), strId.size()));
    }
    if (bHasFields && vecResponse.size() >= 44) {
        const std::u16string strId = IdAt(vecResponse, 24);
        jAnswer["projectId"] = Utf8(Language::WideFromUtf16(strId.c_str(), strId.size()));
    }
    return WithoutRawControls(jAnswer.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace)) + "\n";
}

int RunSendTool(const std::vector<std::wstring>& vecArgs, std::string& strOut, std::string& strErr)
{
    std::wstring strBase = ORVPRINT_QUEUE_NAME;
    uint32_t uiTimeoutMs = OrvUtility::NAMED_INFINITE;
    std::wstring strFile;
    bool bRaw = false;

    for (size_t i = 0; i < vecArgs.size(); ++i) {
        const std::wstring& strArg = vecArgs[i];
        const bool bHasValue = i + 1 < vecArgs.size();
        if (strArg == L"--help" || strArg == L"-h") {
            strOut += std::string(USAGE) + "\n" + HELP + RequestFormatHelp();
            return EXIT_ANSWERED;
        } else if (strArg == L"--name" && bHasValue) {
            strBase = vecArgs[++i];
            if (strBase.empty()) {
                strErr += "orvprint-send: --name needs a base name\n";
                return EXIT_USAGE;
            }
        } else if (strArg == L"--timeout" && bHasValue) {
            if (!ParseTimeout(vecArgs[++i], uiTimeoutMs)) {
                strErr += "orvprint-send: --timeout needs a number of seconds, not \"" + Shown(vecArgs[i]) + "\"\n";
                return EXIT_USAGE;
            }
        } else if (strArg == L"--raw" && bHasValue && strFile.empty()) {
            bRaw = true;
            strFile = vecArgs[++i];
        } else if (!strArg.empty() && strArg[0] != L'-' && strFile.empty()) {
            strFile = strArg;
        } else {
            strErr += "orvprint-send: unexpected argument \"" + Shown(strArg) + "\"\n" + USAGE;
            return EXIT_USAGE;
        }
    }
    if (strFile.empty()) {
        strErr += std::string("orvprint-send: no request file\n") + USAGE;
        return EXIT_USAGE;
    }

    std::string strBytes;
    if (!ReadFileBytes(strFile, strBytes)) {
        strErr += "orvprint-send: " + Shown(strFile) + ": cannot be read\n";
        return EXIT_BAD_INPUT;
    }
    std::string strRequest;
    if (bRaw) {
        strRequest.swap(strBytes);
    } else {
        try {
            strRequest = BuildRequestFromJson(strBytes);
        } catch (const CRequestError& e) {
            strErr += "orvprint-send: " + Shown(strFile) + ": " + Shown(std::string(e.what())) + "\n";
            return EXIT_BAD_INPUT;
        }
    }
    if (strRequest.size() > OrvUtility::CMsgQueueLayout::JOB_REQUEST_CAPACITY) {
        strErr += "orvprint-send: " + Shown(strFile) + ": " + std::to_string(strRequest.size()) +
                  " bytes, longer than the request area of " +
                  std::to_string(OrvUtility::CMsgQueueLayout::JOB_REQUEST_CAPACITY) + " bytes\n";
        return EXIT_BAD_INPUT;
    }

    OrvUtility::CMsgQueueSender sender(strBase);
    if (!sender.IsOpen()) {
        strErr += "orvprint-send: cannot open the channel " + Shown(strBase) + " (platform error " +
                  std::to_string(sender.GetOpenError()) + ")\n";
        return EXIT_PLATFORM_FAILURE;
    }
    OrvUtility::CMsgQueueSender::REPLY stuReply;
    switch (sender.Send(reinterpret_cast<const uint8_t*>(strRequest.data()), strRequest.size(), uiTimeoutMs,
                        stuReply)) {
    case OrvUtility::CMsgQueueSender::SEND_ANSWERED: {
        strOut += FormatAnswer(stuReply);
        const std::string strProblems = CheckAnswer(stuReply);
        if (!strProblems.empty()) {
            strErr += "orvprint-send: malformed answer: " + strProblems + "\n";
            return EXIT_MALFORMED_ANSWER;
        }
        return EXIT_ANSWERED;
    }
    case OrvUtility::CMsgQueueSender::SEND_NO_RECEIVER:
        strErr += "orvprint-send: no receiver on " + Shown(strBase) + " (or it went away without answering)\n";
        return EXIT_NO_RECEIVER;
    case OrvUtility::CMsgQueueSender::SEND_SENDERS_TIMED_OUT:
        strErr += "orvprint-send: timed out waiting for other senders to finish\n";
        return EXIT_TIMED_OUT;
    case OrvUtility::CMsgQueueSender::SEND_TIMED_OUT:
        strErr += "orvprint-send: timed out waiting for the answer\n";
        return EXIT_TIMED_OUT;
    case OrvUtility::CMsgQueueSender::SEND_REQUEST_TOO_LONG:
        strErr += "orvprint-send: " + Shown(strFile) + ": longer than the request area\n";
        return EXIT_BAD_INPUT;
    case OrvUtility::CMsgQueueSender::SEND_PLATFORM_FAILURE:
    default:
        strErr += "orvprint-send: the channel " + Shown(strBase) + " failed\n";
        return EXIT_PLATFORM_FAILURE;
    }
}

} // namespace OrvprintSend
