#pragma once

#include <string>
#include <vector>
#include "Src/PrintingService/Common/Include/MsgQueueSender.h"

namespace OrvprintSend {

// Exit codes of orvprint-send.
enum ExitCode {
    EXIT_ANSWERED = 0,
    EXIT_USAGE = 1,
    EXIT_NO_RECEIVER = 2,
    EXIT_TIMED_OUT = 3,
    EXIT_BAD_INPUT = 4,
    EXIT_PLATFORM_FAILURE = 5,
    EXIT_MALFORMED_ANSWER = 6,
};

// Runs the tool on its arguments (without the program name). Output and
// errors are UTF-8 text for the platform's streams.
int RunSendTool(const std::vector<std::wstring>& vecArgs, std::string& strOut, std::string& strErr);

// The answer as printed: one JSON object on one line, UTF-8.
std::string FormatAnswer(const OrvUtility::CMsgQueueSender::REPLY& stuReply);

// What is wrong with an answer, "; "-separated, or "" for a well-formed
// one: a result code other than 0 and 6; with 0, a response length other
// than 44, a result other than 0 and 1, an id without its terminator.
std::string CheckAnswer(const OrvUtility::CMsgQueueSender::REPLY& stuReply);

// Platform parts: the bytes of a file (false when it cannot be read).
bool ReadFileBytes(const std::wstring& strPath, std::string& strBytes);

} // namespace OrvprintSend
