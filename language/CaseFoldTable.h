#pragma once

#include <cstddef>
#include <cstdint>

namespace Language {

// One run of the Unicode simple case folding: the code points first, first +
// uiStride, ... up to last fold to themselves plus iDelta. Runs are sorted
// and their spans [first, last] do not overlap.
struct CASE_FOLD_RANGE {
    uint32_t uiFirst;
    uint32_t uiLast;
    uint32_t uiStride;
    int32_t iDelta;
};

extern const CASE_FOLD_RANGE g_aCaseFoldRanges[];
extern const size_t g_uiCaseFoldRangeCount;

} // namespace Language
