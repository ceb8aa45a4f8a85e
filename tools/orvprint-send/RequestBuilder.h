#pragma once

#include <stdexcept>
#include <string>

namespace OrvprintSend {

// A request description that cannot be sent; the text names the field
// ("printers[2].id: ...").
class CRequestError : public std::runtime_error {
public:
    explicit CRequestError(const std::string& strText) : std::runtime_error(strText) {}
};

// Builds the wire form of a job-option request (printer count, printer
// records, project count, project records) from its JSON description:
//
//   {"printers": [{"id": "P1", "name": "...", "comment": "", "description": "",
//                  "status": 0, "maxPagesPerJob": 0, "pageTotal": 0,
//                  "printTaskTotal": 0, "tooManyPages": false}],
//    "projects": [{"id": "J1", "name": "...", "comment": ""}]}
//
// "id" and "name" are required, the other fields default to empty, 0 and
// false; unknown keys are refused. Texts are UTF-8 in, UTF-16 on the wire.
// Throws CRequestError.
std::string BuildRequestFromJson(const std::string& strJsonUtf8);

// The description of the format for --help.
const char* RequestFormatHelp();

} // namespace OrvprintSend
