// The list of the best peaks of a surface of scores.
#ifndef VEXA_ALIGN_CORR_PEAKS_H
#define VEXA_ALIGN_CORR_PEAKS_H

#include <cstdint>

namespace vexa
{

struct CorrPeak {
    float value;
    float levelX; // in the surface
    float levelY;
    float fullX; // in pixels of level 0, relative to the search box
    float fullY;
    float spare;
};

// Puts a peak before the first record of the list that is lower; the last record falls out. The result is its index, 0
// also where it finds no place.
int32_t insertCorrPeak(CorrPeak* list, int32_t capacity, float value, float x, float y);

// The peaks of a surface into a list that holds zeros. The surface must be readable for a row behind its end.
void findCorrPeaks(const float* surface, int32_t cols, int32_t rows, CorrPeak* list, int32_t capacity);

} // namespace vexa

#endif
