#pragma once

#include <cstdint>
#include "language/BaseException.h"

// Failure of the job-option request or the job-selection answer record.
// Carries its code only; caught as itself or as OrvUtility::CBaseException.
class CJobOptionDataException : public OrvUtility::CBaseException {
public:
    enum : uint32_t {
        OUT_OF_RANGE = 2,      // request size out of bounds, or record index out of bounds
        FORMAT_ERROR = 3,      // request size differs from 8 + 6204*P + 4136*Q
        TOO_MANY_PRINTER = 4,  // printer count of 101 or more
        TOO_MANY_PROJECT = 5,  // project count of 501 or more
        INVALID_PARAMETER = 6  // answer buffer smaller than 44 bytes
    };

    explicit CJobOptionDataException(uint32_t uiCode) : OrvUtility::CBaseException(uiCode) {}
};
