#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace orvtest {

// The 44 answer bytes of the print-option dialog as the printing service
// reads them: result, printer id, project id (10 UTF-16 units each).
inline std::vector<uint8_t> AnswerBytes(int32_t iResult, const std::u16string& strPrinterId,
                                        const std::u16string& strProjectId)
{
    std::vector<uint8_t> vec(44, 0);
    std::memcpy(vec.data(), &iResult, 4);
    std::memcpy(vec.data() + 4, strPrinterId.data(), strPrinterId.size() * 2);
    std::memcpy(vec.data() + 24, strProjectId.data(), strProjectId.size() * 2);
    return vec;
}

} // namespace orvtest
