#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Language {

// Splits a command line into its parts and appends them to vecParts; returns
// the number appended. A part in double quotes keeps its quote characters; a
// plain part ends at white space (a quote inside it is an ordinary
// character). A quoted part still open at the end of the line is dropped.
size_t SplitCommandLine(std::wstring strCommandLine, std::vector<std::wstring>& vecParts);

// Starts the program of a command line without waiting for it. The first
// part, without its quote characters, is the program's path.
// Throws Language::InvalidDataException ("命令的形式不正确。") for a line
// without parts, Language::FileNotFoundException when the program file does
// not exist, Language::CrtException ("malloc") when the argument array
// cannot be allocated. Whether the program then starts is not reported.
void RunCommand(const std::wstring& strCommandLine);

} // namespace Language
