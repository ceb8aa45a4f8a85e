#pragma once

#include <string>

// Text out of the tool: wide lines to the console (Windows) or as UTF-8.

// One line of the report. Values come from the registry and Config.ini,
// which other people may have written: control characters are shown as
// text (Language::EscapeControls), so that no value sends an escape
// sequence to the terminal or breaks the line.
void PrintLine(const std::wstring& strLine);

// The platform's output of one line as it stands, the line end added.
void WriteConsoleLine(const std::wstring& strLine);
