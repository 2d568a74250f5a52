// What the short and the careful list of defects have in common.
#ifndef VEXA_INSPECT_DEFECT_ORDER_H
#define VEXA_INSPECT_DEFECT_ORDER_H

#include <algorithm>
#include <cstdint>

#include "support/buffer.h"

namespace vexa
{

inline constexpr int32_t kSignedClipMode = 3;     // differences stand around 128
inline constexpr int32_t kHalfSignedClipMode = 4; // the same, halved
inline constexpr int32_t kSignedZero = 128;

// Descending by intensity in sort mode 2, else by area; equals in the order of their blobs.
template <typename Record>
void sortWorstFirst(Buffer<Record>& defects, int32_t sortMode)
{
    constexpr int32_t kSortByIntensity = 2;
    const auto key = sortMode == kSortByIntensity ? &Record::intensity : &Record::area;
    std::sort(defects.begin(), defects.end(), [key](const Record& a, const Record& b) {
        return a.*key != b.*key ? a.*key > b.*key : a.number < b.number;
    });
}

} // namespace vexa

#endif
