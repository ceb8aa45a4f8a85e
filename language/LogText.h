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

} // namespace Language
