#pragma once

#include <cstdint>

namespace OrvUtility {

// Code-carrying base of the application's own exceptions
// (COrvConfigException, CJobOptionDataException, COrvprintDDlgException).
// No virtual operations; derived classes add no fields.
class CBaseException {
public:
    explicit CBaseException(uint32_t uiCode) : m_uiCode(uiCode) {}
    uint32_t GetCode() const { return m_uiCode; }

private:
    uint32_t m_uiCode;
};

} // namespace OrvUtility
