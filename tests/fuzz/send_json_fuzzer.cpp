// The sending tool's JSON reader (orvprint-send REQUEST.json), which turns a
// request description into the wire form that the printing service writes
// into the shared block.
//
// Checked: the reader refuses what it cannot send with its own error
// (CRequestError) and nothing else, and whatever it builds is a request that
// the record view accepts, with every id of 1 to 9 units and every text
// terminated inside its field.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>
#include <nlohmann/json.hpp>
#include "FuzzSupport.h"
#include "Src/Common/include/JobOptionData.h"
#include "tools/orvprint-send/RequestBuilder.h"

namespace {

size_t TextLength(const char16_t* szText, size_t uiChars)
{
    size_t uiLength = 0;
    while (uiLength < uiChars && szText[uiLength] != u'\0') {
        ++uiLength;
    }
    FUZZ_CHECK(uiLength < uiChars);
    return uiLength;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyData, size_t uiSize)
{
    const std::string strJson(reinterpret_cast<const char*>(pbyData), uiSize);
    std::string strRequest;
    try {
        strRequest = OrvprintSend::BuildRequestFromJson(strJson);
    } catch (const OrvprintSend::CRequestError&) {
        return 0;
    }

    // The request area of the shared block.
    static std::vector<uint8_t>* s_pvecArea = new std::vector<uint8_t>(CJobOptionData::MAX_BUFFER_SIZE);
    FUZZ_CHECK(strRequest.size() <= s_pvecArea->size());
    std::memcpy(s_pvecArea->data(), strRequest.data(), strRequest.size());
    std::memset(s_pvecArea->data() + strRequest.size(), 0, s_pvecArea->size() - strRequest.size());

    CJobOptionData objOption(s_pvecArea->data(), strRequest.size(), true);
    for (int32_t i = 0; i < objOption.GetPrinterCount(); ++i) {
        CJobOptionData::PRINTER_INFO stuPrinter;
        objOption.GetPrinterInfo(static_cast<uint32_t>(i), stuPrinter);
        const size_t uiId = TextLength(stuPrinter.szPrinterId, 20);
        FUZZ_CHECK(uiId >= 1 && uiId <= 9);
        TextLength(stuPrinter.szPrinterName, 1024);
        TextLength(stuPrinter.szComment, 1024);
        TextLength(stuPrinter.szDescription, 1024);
    }
    for (int32_t j = 0; j < objOption.GetProjectCount(); ++j) {
        CJobOptionData::PROJECT_INFO stuProject;
        objOption.GetProjectInfo(static_cast<uint32_t>(j), stuProject);
        const size_t uiId = TextLength(stuProject.szProjectId, 20);
        FUZZ_CHECK(uiId >= 1 && uiId <= 9);
        TextLength(stuProject.szProjectName, 1024);
        TextLength(stuProject.szComment, 1024);
    }
    return 0;
}
