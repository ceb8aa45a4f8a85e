#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Trace entries: every open trace scope pushes module "." class "."
// function "$" on the calling thread's NDC; the NDC joins the entries of one
// thread with single blanks ("M..f$ M..g$"). The log facade reads only the
// full NDC text and its depth.

// The entry pushed for (module, class, function); null reads as empty.
std::string MakeTraceEntry(const char* szModule, const char* szClass, const char* szFunction);
// The same entry, built in a buffer that the caller keeps (its memory is
// reused from call to call).
void BuildTraceEntry(std::string& strEntry, const char* szModule, const char* szClass, const char* szFunction);

// The innermost entry (without its "$") of a full NDC text of the given
// depth. False when there is none (empty NDC).
bool CurrentTraceEntry(const std::string& strNdc, size_t uiDepth, std::string& strEntry);
// The same entry as a view into strNdc (valid while strNdc is unchanged).
bool CurrentTraceEntryView(const std::string& strNdc, size_t uiDepth, std::string_view& entry);

// Module: before the first "."; class: between the first and the last ".";
// function: behind the last ".". False (nothing written) without any ".".
bool SplitTraceEntry(const std::string& strEntry, std::string& strModule, std::string& strClass,
                     std::string& strFunction);

// The split used by the filters: module before the first "."; of the rest,
// class before its first "." and function behind it (a rest without "." is
// all class). An empty context or one without "." leaves all three empty and
// answers false.
bool SplitFilterContext(const std::string& strContext, std::string& strModule, std::string& strClass,
                        std::string& strFunction);
