#include "tools/orvprint-send/RequestBuilder.h"

#include <cstring>
#include <limits>
#include <set>
#include <nlohmann/json.hpp>
#include "Src/Common/include/JobOptionData.h"
#include "language/TextConvert.h"

namespace OrvprintSend {

namespace {

// The answer carries an id in 10 UTF-16 units with its terminator.
const size_t MAX_ID_UNITS = 9;
const size_t TEXT_UNITS = 1024;
const int32_t MAX_PRINTERS = CJobOptionData::TOO_MANY_PRINTER - 1;
const int32_t MAX_PROJECTS = CJobOptionData::TOO_MANY_PROJECT - 1;

typedef nlohmann::json Json;

[[noreturn]] void Fail(const std::string& strField, const std::string& strProblem)
{
    throw CRequestError(strField + ": " + strProblem);
}

void CheckKeys(const Json& jObject, const std::string& strField, const std::set<std::string>& setAllowed)
{
    if (!jObject.is_object()) {
        Fail(strField, "must be an object");
    }
    for (auto it = jObject.begin(); it != jObject.end(); ++it) {
        if (!setAllowed.count(it.key())) {
            Fail(strField + "." + it.key(), "unknown field");
        }
    }
}

// UTF-8 text into a fixed UTF-16 field with room for its terminator.
void PutText(const Json& jObject, const std::string& strObject, const char* szKey, bool bRequired,
             size_t uiMinUnits, size_t uiMaxUnits, char16_t* szTo)
{
    const std::string strField = strObject + "." + szKey;
    auto it = jObject.find(szKey);
    if (it == jObject.end()) {
        if (bRequired) {
            Fail(strField, "missing");
        }
        return;
    }
    if (!it->is_string()) {
        Fail(strField, "must be a string");
    }
    const std::u16string strUtf16 = Language::Utf16FromWide(Language::WideFromUtf8(it->get<std::string>()));
    if (strUtf16.size() < uiMinUnits || strUtf16.size() > uiMaxUnits) {
        Fail(strField, "must have " + std::to_string(uiMinUnits) + " to " + std::to_string(uiMaxUnits) +
                           " UTF-16 units, has " + std::to_string(strUtf16.size()));
    }
    if (strUtf16.find(u'\0') != std::u16string::npos) {
        Fail(strField, "must not contain NUL");
    }
    std::memcpy(szTo, strUtf16.data(), strUtf16.size() * sizeof(char16_t));
}

int32_t GetInt(const Json& jObject, const std::string& strObject, const char* szKey)
{
    auto it = jObject.find(szKey);
    if (it == jObject.end()) {
        return 0;
    }
    const std::string strField = strObject + "." + szKey;
    if (!it->is_number_integer()) {
        Fail(strField, "must be an integer");
    }
    if (it->is_number_unsigned()) {
        if (it->get<uint64_t>() > static_cast<uint64_t>(std::numeric_limits<int32_t>::max())) {
            Fail(strField, "out of the 32-bit range");
        }
        return static_cast<int32_t>(it->get<uint64_t>());
    }
    const int64_t iValue = it->get<int64_t>();
    if (iValue < std::numeric_limits<int32_t>::min() || iValue > std::numeric_limits<int32_t>::max()) {
        Fail(strField, "out of the 32-bit range");
    }
    return static_cast<int32_t>(iValue);
}

const Json* GetList(const Json& jRoot, const char* szKey, int32_t iMax)
{
    auto it = jRoot.find(szKey);
    if (it == jRoot.end()) {
        return nullptr;
    }
    if (!it->is_array()) {
        Fail(szKey, "must be an array");
    }
    if (it->size() > static_cast<size_t>(iMax)) {
        Fail(szKey, "at most " + std::to_string(iMax) + " entries, has " + std::to_string(it->size()));
    }
    return &*it;
}

void Append(std::string& strOut, const void* pData, size_t uiSize)
{
    strOut.append(static_cast<const char*>(pData), uiSize);
}

} // namespace

std::string BuildRequestFromJson(const std::string& strJsonUtf8)
{
    Json jRoot;
    try {
        jRoot = Json::parse(strJsonUtf8);
    } catch (const Json::exception& e) {
        // Syntax errors, and numbers too large for a double (out_of_range).
        throw CRequestError(std::string("not valid JSON (") + e.what() + ")");
    }
    CheckKeys(jRoot, "(top level)", {"printers", "projects"});
    const Json* pPrinters = GetList(jRoot, "printers", MAX_PRINTERS);
    const Json* pProjects = GetList(jRoot, "projects", MAX_PROJECTS);

    std::string strRequest;
    const int32_t iPrinters = pPrinters ? static_cast<int32_t>(pPrinters->size()) : 0;
    Append(strRequest, &iPrinters, sizeof(iPrinters));
    for (int32_t i = 0; i < iPrinters; ++i) {
        const Json& jPrinter = (*pPrinters)[static_cast<size_t>(i)];
        const std::string strObject = "printers[" + std::to_string(i) + "]";
        CheckKeys(jPrinter, strObject,
                  {"id", "name", "comment", "description", "status", "maxPagesPerJob", "pageTotal", "printTaskTotal",
                   "tooManyPages"});
        CJobOptionData::PRINTER_INFO stuPrinter;
        std::memset(&stuPrinter, 0, sizeof(stuPrinter));
        PutText(jPrinter, strObject, "id", true, 1, MAX_ID_UNITS, stuPrinter.szPrinterId);
        PutText(jPrinter, strObject, "name", true, 0, TEXT_UNITS - 1, stuPrinter.szPrinterName);
        PutText(jPrinter, strObject, "comment", false, 0, TEXT_UNITS - 1, stuPrinter.szComment);
        PutText(jPrinter, strObject, "description", false, 0, TEXT_UNITS - 1, stuPrinter.szDescription);
        stuPrinter.iStatus = GetInt(jPrinter, strObject, "status");
        stuPrinter.iMaxPagesPerJob = GetInt(jPrinter, strObject, "maxPagesPerJob");
        stuPrinter.iPageTotal = GetInt(jPrinter, strObject, "pageTotal");
        stuPrinter.iPrintTaskTotal = GetInt(jPrinter, strObject, "printTaskTotal");
        auto itFlag = jPrinter.find("tooManyPages");
        if (itFlag != jPrinter.end()) {
            if (!itFlag->is_boolean()) {
                Fail(strObject + ".tooManyPages", "must be true or false");
            }
            stuPrinter.bTooMayPages = itFlag->get<bool>();
        }
        Append(strRequest, &stuPrinter, sizeof(stuPrinter));
    }

    const int32_t iProjects = pProjects ? static_cast<int32_t>(pProjects->size()) : 0;
    Append(strRequest, &iProjects, sizeof(iProjects));
    for (int32_t i = 0; i < iProjects; ++i) {
        const Json& jProject = (*pProjects)[static_cast<size_t>(i)];
        const std::string strObject = "projects[" + std::to_string(i) + "]";
        CheckKeys(jProject, strObject, {"id", "name", "comment"});
        CJobOptionData::PROJECT_INFO stuProject;
        std::memset(&stuProject, 0, sizeof(stuProject));
        PutText(jProject, strObject, "id", true, 1, MAX_ID_UNITS, stuProject.szProjectId);
        PutText(jProject, strObject, "name", true, 0, TEXT_UNITS - 1, stuProject.szProjectName);
        PutText(jProject, strObject, "comment", false, 0, TEXT_UNITS - 1, stuProject.szComment);
        Append(strRequest, &stuProject, sizeof(stuProject));
    }
    return strRequest;
}

const char* RequestFormatHelp()
{
    return "REQUEST.json describes one job-option request:\n"
           "\n"
           "  {\n"
           "    \"printers\": [\n"
           "      {\n"
           "        \"id\": \"P1\",                  required, 1 to 9 characters\n"
           "        \"name\": \"Floor 2 colour\",    required, at most 1023 characters\n"
           "        \"comment\": \"A3, duplex\",     optional, at most 1023 characters\n"
           "        \"description\": \"Room 204\",   optional, at most 1023 characters\n"
           "        \"status\": 0,                 optional 32-bit integers, default 0\n"
           "        \"maxPagesPerJob\": 200,\n"
           "        \"pageTotal\": 12,\n"
           "        \"printTaskTotal\": 1,\n"
           "        \"tooManyPages\": false        optional true/false, default false\n"
           "      }\n"
           "    ],\n"
           "    \"projects\": [\n"
           "      { \"id\": \"J1\", \"name\": \"Research\", \"comment\": \"\" }\n"
           "    ]\n"
           "  }\n"
           "\n"
           "Both lists are optional (empty), with at most 100 printers and 500\n"
           "projects, in the order in which they are to be listed. Characters are\n"
           "counted in UTF-16 units. Unknown fields are refused. The text is UTF-8.\n";
}

} // namespace OrvprintSend
