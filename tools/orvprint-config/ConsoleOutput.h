#pragma once

#include <string>

// Text out of the tool: wide lines to the console (Windows) or as UTF-8.
void PrintLine(const std::wstring& strLine);
