#pragma once

#include <cstdint>
#include "language/BaseException.h"

// Construction of COrvConfig failed: the settings could not be read. Its
// code is always 0. Caught as itself or as OrvUtility::CBaseException.
class COrvConfigException : public OrvUtility::CBaseException {
public:
    explicit COrvConfigException(uint32_t uiCode) : OrvUtility::CBaseException(uiCode) {}
};
