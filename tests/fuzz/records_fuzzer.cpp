// The job-option request as the popup thread meets it: the request lies at
// offset 8 of the shared block behind its length, in a heap block of exactly
// the block's size (2,688,472 bytes), so that any read or write outside the
// block is caught; every byte the input does not set is zero.
//
// The input describes what a sender writes, compactly (records are mostly
// zeros, and a request may be megabytes long):
//   u64 request length (offset 0 of the block)
//   i32 printer count P (request offset 0)
//   for each printer record i < P (at most 100): u16 n, then n bytes that
//       begin the record (n is cut to the record's 6204 bytes)
//   i32 project count Q (request offset 4 + 6204 P, when 0 <= P <= 100)
//   for each project record j < Q (at most 500): u16 n, then n bytes (at
//       most 4136)
// An input that ends early leaves the rest zero.
//
// The request is decoded as the dialog decodes it: every printer and project
// record is read (the index equal to the count too, which the record view
// accepts), converted to text and dumped, and both ids are written into the
// answer area. The decoder's verdict is checked against the request rules:
// accepted exactly when the size and counts are valid, and refused with the
// code of the first rule broken.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include "FuzzSupport.h"
#include "Src/Common/include/JobOptionData.h"
#include "Src/Common/include/JobSelectedData.h"
#include "language/TextConvert.h"
#include "logging/ValueText.h"

namespace {

// Shared block: request length, request area, response length, response,
// result code.
const uint64_t REQUEST_CAPACITY = 2688408;
const uint64_t RESPONSE_CAPACITY = 44;
const size_t BLOCK_SIZE = REQUEST_CAPACITY + RESPONSE_CAPACITY + 20;
const size_t REQUEST_AT = 8;
const size_t RESPONSE_AT = 16 + REQUEST_CAPACITY;
static_assert(BLOCK_SIZE == 2688472, "shared block size");
static_assert(REQUEST_CAPACITY == CJobOptionData::MAX_BUFFER_SIZE, "request area = largest request");

const size_t PRINTER_SIZE = 6204;
const size_t PROJECT_SIZE = 4136;

uint8_t* Block()
{
    static uint8_t* s_pbyBlock = new uint8_t[BLOCK_SIZE];
    return s_pbyBlock;
}

int32_t Int32At(const uint8_t* pbyAt)
{
    int32_t iValue = 0;
    std::memcpy(&iValue, pbyAt, 4);
    return iValue;
}

// The code the request rules give for this request, 0 when it is valid.
uint32_t ExpectedCode(const uint8_t* pbyRequest, uint64_t uiSize)
{
    if (uiSize < 8 || uiSize > REQUEST_CAPACITY) {
        return CJobOptionDataException::OUT_OF_RANGE;
    }
    const int32_t iPrinters = Int32At(pbyRequest);
    if (iPrinters >= CJobOptionData::TOO_MANY_PRINTER) {
        return CJobOptionDataException::TOO_MANY_PRINTER;
    }
    if (iPrinters < 0) {
        // The project count would lie before the request: a format error.
        return CJobOptionDataException::FORMAT_ERROR;
    }
    const int32_t iProjects = Int32At(pbyRequest + 4 + PRINTER_SIZE * static_cast<size_t>(iPrinters));
    if (iProjects >= CJobOptionData::TOO_MANY_PROJECT) {
        return CJobOptionDataException::TOO_MANY_PROJECT;
    }
    const int64_t iExpected = 8 + static_cast<int64_t>(PRINTER_SIZE) * iPrinters +
                              static_cast<int64_t>(PROJECT_SIZE) * iProjects;
    if (iExpected < 0 || static_cast<uint64_t>(iExpected) != uiSize) {
        return CJobOptionDataException::FORMAT_ERROR;
    }
    return 0;
}

void CheckText(const char16_t* szText, size_t uiChars)
{
    const std::wstring strWide = Language::WideFromUtf16(szText, uiChars);
    FUZZ_CHECK(strWide.size() <= uiChars);
    const std::string strUtf8 = Language::Utf8FromWide(strWide);
    // Back and forth through UTF-8 keeps every character (unpaired
    // surrogates have become U+FFFD on the way in).
    FUZZ_CHECK(Language::Utf16FromWide(Language::WideFromUtf8(strUtf8)) == Language::Utf16FromWide(strWide));
    Language::NarrowFromWide(strWide);
}

void CheckAnswerId(const std::u16string& strStored, const char16_t* szOffered)
{
    FUZZ_CHECK(strStored.size() <= CJobSelectedData::ID_CHARS - 1);
    for (size_t i = 0; i < strStored.size(); ++i) {
        FUZZ_CHECK(strStored[i] == szOffered[i]);
    }
}

// Writes the input into the block; returns the offset behind the last byte
// written inside the request area.
size_t WriteBlock(uint8_t* pbyBlock, const uint8_t* pbyData, size_t uiSize)
{
    orvfuzz::CInput input(pbyData, uiSize);
    uint8_t abyLength[8];
    for (uint8_t& by : abyLength) {
        by = input.Byte();
    }
    std::memcpy(pbyBlock, abyLength, 8);
    uint8_t* pbyRequest = pbyBlock + REQUEST_AT;
    size_t uiEnd = 4;

    int32_t iPrinters = 0;
    uint8_t abyCount[4];
    for (uint8_t& by : abyCount) {
        by = input.Byte();
    }
    std::memcpy(&iPrinters, abyCount, 4);
    std::memcpy(pbyRequest, abyCount, 4);
    if (iPrinters < 0 || iPrinters > 100) {
        return uiEnd;
    }
    for (int32_t i = 0; i < iPrinters && input.Left() > 0; ++i) {
        const size_t uiAt = 4 + PRINTER_SIZE * static_cast<size_t>(i);
        const size_t uiLength = std::min<size_t>(input.Unit(), PRINTER_SIZE);
        for (size_t k = 0; k < uiLength && input.Left() > 0; ++k) {
            pbyRequest[uiAt + k] = input.Byte();
            uiEnd = std::max(uiEnd, uiAt + k + 1);
        }
    }
    const size_t uiProjectsAt = 4 + PRINTER_SIZE * static_cast<size_t>(iPrinters);
    int32_t iProjects = 0;
    for (uint8_t& by : abyCount) {
        by = input.Byte();
    }
    std::memcpy(&iProjects, abyCount, 4);
    std::memcpy(pbyRequest + uiProjectsAt, abyCount, 4);
    uiEnd = std::max(uiEnd, uiProjectsAt + 4);
    for (int32_t j = 0; j < iProjects && j < 500 && input.Left() > 0; ++j) {
        const size_t uiAt = uiProjectsAt + 4 + PROJECT_SIZE * static_cast<size_t>(j);
        const size_t uiLength = std::min<size_t>(input.Unit(), PROJECT_SIZE);
        for (size_t k = 0; k < uiLength && input.Left() > 0; ++k) {
            pbyRequest[uiAt + k] = input.Byte();
            uiEnd = std::max(uiEnd, uiAt + k + 1);
        }
    }
    return uiEnd;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyData, size_t uiSize)
{
    // Clear what the last input wrote: its part of the request area and the
    // answer behind it.
    static size_t s_uiDirty = REQUEST_CAPACITY;
    uint8_t* pbyBlock = Block();
    std::memset(pbyBlock, 0, REQUEST_AT + s_uiDirty);
    std::memset(pbyBlock + REQUEST_AT + REQUEST_CAPACITY, 0, BLOCK_SIZE - REQUEST_AT - REQUEST_CAPACITY);
    s_uiDirty = WriteBlock(pbyBlock, pbyData, uiSize);

    uint64_t uiRequestLength = 0;
    std::memcpy(&uiRequestLength, pbyBlock, 8);
    const uint8_t* pbyRequest = pbyBlock + REQUEST_AT;
    const uint32_t uiExpected = ExpectedCode(pbyRequest, uiRequestLength);

    try {
        CJobOptionData objOption(pbyRequest, uiRequestLength, true);
        FUZZ_CHECK(uiExpected == 0);
        CJobSelectedData objSelected(pbyBlock + RESPONSE_AT, RESPONSE_CAPACITY, true);
        objSelected.ClearIds();

        const int32_t iPrinters = objOption.GetPrinterCount();
        const int32_t iProjects = objOption.GetProjectCount();
        FUZZ_CHECK(iPrinters >= 0 && iPrinters < CJobOptionData::TOO_MANY_PRINTER);
        FUZZ_CHECK(iProjects < CJobOptionData::TOO_MANY_PROJECT);

        for (int32_t i = 0; i <= iPrinters; ++i) {
            CJobOptionData::PRINTER_INFO stuPrinter;
            objOption.GetPrinterInfo(static_cast<uint32_t>(i), stuPrinter);
            if (!stuPrinter.szPrinterId[0] && !stuPrinter.szPrinterName[0] && !stuPrinter.szComment[0] &&
                !stuPrinter.szDescription[0]) {
                continue; // an empty record (most of a long request): nothing more to learn
            }
            CheckText(stuPrinter.szPrinterId, 20);
            CheckText(stuPrinter.szPrinterName, 1024);
            CheckText(stuPrinter.szComment, 1024);
            CheckText(stuPrinter.szDescription, 1024);
            paramtrace::ValueText<CJobOptionData::PRINTER_INFO>::Text(stuPrinter);
            objSelected.SetPrinterId(stuPrinter.szPrinterId);
            CheckAnswerId(objSelected.GetPrinterId(), stuPrinter.szPrinterId);
        }
        for (int32_t j = 0; j <= iProjects; ++j) {
            CJobOptionData::PROJECT_INFO stuProject;
            objOption.GetProjectInfo(static_cast<uint32_t>(j), stuProject);
            if (!stuProject.szProjectId[0] && !stuProject.szProjectName[0] && !stuProject.szComment[0]) {
                continue;
            }
            CheckText(stuProject.szProjectId, 20);
            CheckText(stuProject.szProjectName, 1024);
            CheckText(stuProject.szComment, 1024);
            paramtrace::ValueText<CJobOptionData::PROJECT_INFO>::Text(stuProject);
            objSelected.SetProjectId(stuProject.szProjectId);
            CheckAnswerId(objSelected.GetProjectId(), stuProject.szProjectId);
        }
        // One past the index that the record view accepts is refused.
        for (const uint32_t uiIndex : {static_cast<uint32_t>(iPrinters) + 1, 0x80000000u, 0xFFFFFFFFu}) {
            try {
                CJobOptionData::PRINTER_INFO stuPrinter;
                objOption.GetPrinterInfo(uiIndex, stuPrinter);
                FUZZ_CHECK(!"printer index beyond the count accepted");
            } catch (const CJobOptionDataException& e) {
                FUZZ_CHECK(e.GetCode() == CJobOptionDataException::OUT_OF_RANGE);
            }
        }
        objSelected.SetResult(CJobSelectedData::RESULT_OK);
    } catch (const CJobOptionDataException& e) {
        FUZZ_CHECK(e.GetCode() == uiExpected);
    }
    return 0;
}
