#pragma once

#include <string>

namespace Language {

// Texts that come from outside the program (printer and project names of a
// request, names kept in Config.ini) and are put into a log message.
//
// The log facade hands the ERROR, WARNING, INFO and DEBUG record text to
// log4cpp as a format string, and the parameter text of a "Param" record is
// the facade's format: either way the message is read as printf conversions
// once more after the caller's arguments are in it. That is how the
// program's own texts are meant to be logged, but a foreign text with "%s",
// "%n" or "%99999999d" in it would then read arguments that do not exist.
//
// EscapePercent doubles every "%", so that the one further formatting turns
// "%%" back into "%" and the record shows the text exactly as it came:
//
//   ORV_LOG_INFO_PLAIN("Selected printer : %S, selected project : %S",
//                      Language::EscapePercent(strPrinterName).c_str(), ...);
//
// Use it once for every such text, at the point where it enters a message
// that is formatted again; never for the program's own format strings.
std::string EscapePercent(const std::string& strText);
std::wstring EscapePercent(const std::wstring& strText);

// Such texts may also hold control characters: a line end that forges a
// second log line ("A\nFATAL forged"), or an escape sequence that a terminal
// would act on when the log or a tool's output is shown. EscapeControls
// writes each control character as visible text, one log line and no
// terminal control for any text:
//
//   CR, LF, TAB                 \r  \n  \t
//   other C0 controls and DEL   \xHH     (U+0000-U+001F, U+007F; ESC is \x1b)
//   C1 controls                 \u00HH   (U+0080-U+009F)
//
// with HH two lower-case hexadecimal digits. Every other character, the
// backslash included, stays as it is, so a text without control characters
// comes out unchanged (byte for byte). The result is for people to read: it
// is not meant to be turned back.
//
// The narrow form takes UTF-8 (a C1 control is the two bytes C2 80-C2 9F);
// text in another code page is escaped in its wide form before it is made
// narrow. Apply it before EscapePercent where both are needed (the order
// does not change the result: neither adds what the other changes).
std::string EscapeControls(const std::string& strUtf8);
std::wstring EscapeControls(const std::wstring& strText);

} // namespace Language
