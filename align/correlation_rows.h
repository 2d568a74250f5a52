// Row functions of the correlation, one set per instruction set.
#ifndef VEXA_ALIGN_CORRELATION_ROWS_H
#define VEXA_ALIGN_CORRELATION_ROWS_H

#include <cstdint>

namespace vexa
{

struct RowSums {
    int32_t sum;
    int32_t squares;
};

struct CorrelationPattern {
    const uint8_t* pixels; // packed
    int32_t cols;
    int32_t rows;
};

// Rows of positions that are worked out together.
inline constexpr int32_t kScoreRows = 4;

struct CorrelationRows {
    // Sums of absolute differences at outCols positions in each of outRows rows (at most kScoreRows), modulo 2 to the 32.
    void (*differences)(const CorrelationPattern& pattern, const uint8_t* image, int64_t stride,
                        int32_t outCols, int32_t outRows, int32_t* out);
    // The sum of signed pattern bytes times window bytes, modulo 2 to the 32.
    int32_t (*product)(const CorrelationPattern& pattern, const uint8_t* image, int64_t stride);
    RowSums (*sums)(const uint8_t* pixels, int32_t n);
    // n rounded means of two by two pixels. dest lies clear of the rows.
    void (*halve)(const uint8_t* upper, const uint8_t* lower, int32_t n, uint8_t* dest);
};

const CorrelationRows& correlationRows();

} // namespace vexa

#endif
