// Sums and extremes of bytes in one pass, without a histogram.
#ifndef VEXA_MEASURE_BYTE_SUMS_H
#define VEXA_MEASURE_BYTE_SUMS_H

#include <cstdint>

namespace vexa
{

struct ByteSums {
    int64_t count = 0;
    uint64_t sum = 0;
    uint64_t squares = 0;
    uint8_t low = 255; // of no bytes: the other way round
    uint8_t high = 0;
};

// Adds n bytes.
void addBytes(const void* bytes, int32_t n, ByteSums& sums);
// The bytes of an image inside the region of interest.
ByteSums sumImageBytes(int32_t im);
// About how many pixels that are: those of the region's box.
int64_t pixelsInBox(int32_t im);

} // namespace vexa

#endif
