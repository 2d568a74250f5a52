// An integer kernel made ready for its row functions: which form of arithmetic gives every sum exactly, the weights in
// that form's order, and how a sum is divided.
//
// Why the forms are equal. The described sum is a 32-bit one that wraps, so any order and any grouping of its terms
// gives the same number, and so does leaving out terms whose weight is 0:
//
//     narrow    With 255 * sum|k| + |half| <= 32767 - 128 no partial sum, in whatever order, leaves 16 bits; all |k|
//               together stay below 128, so that no pair of products of an unsigned and a signed byte saturates.
//     bytes     Products of unsigned bytes and signed bytes, four at a time, added to a 32-bit sum that wraps.
//     words     Products of 16-bit weights and 16-bit pixels, two at a time; a pair stays below 2 * 32768 * 510 < 2^31.
//               Where columns c and M - 1 - c have the same weights throughout, their pixels are added before they are
//               multiplied, k * a + k * b = k * (a + b), and a + b <= 510 fits.
//     plain     The described sum as it stands.
//
// In bytes and words every row of the image is multiplied once, when it enters the neighbourhood, and its products are
// added to the sums of all lines that it will take part in. Rows r and N - 1 - r of a kernel that are the same share
// their products. The lines of a tall kernel do not stay in the first-level cache: there two rows enter together, and
// until the second one comes the first one is added to the line that it finishes alone.
#ifndef VEXA_FILTERS_INTEGER_KERNEL_H
#define VEXA_FILTERS_INTEGER_KERNEL_H

#include <array>
#include <cstdint>

#include "support/buffer.h"

namespace vexa
{

enum class SumForm { plain, narrow, bytes, words };
enum class QuotientForm { narrow, single, whole, negated };

// The forms that the row functions of an instruction set have.
struct SumForms {
    bool narrow;
    bool bytes;
    bool words;
};

// sum / divisor, truncated, for sums that include half. Each form is exact in its range:
//
//     narrow    |sum| < 2^15: (2 * |sum| * factor >> 16) >> shift, with factor = ceil(2^(15 + shift) / d) and shift =
//               ceil(log2 d), so that factor * d exceeds 2^(15 + shift) by less than 2^shift ("Division by invariant
//               integers using multiplication", PLDI 1994).
//     single    with r = 1 / d rounded up, r <= (1 + 2^-23) / d. A multiple m * d gives a product of at least m, which
//               stays there when rounded. Else sum / d <= m + 1 - 1 / d, and the product, rounded, stays below m + 1 if
//               1 / d > sum / d * 2^-23 + (m + 1) * 2^-24, which 3 * |sum| + d < 2^24 ensures.
//     whole     the same in double precision: 3 * |sum| + d < 2^53 always holds.
//     negated   d = -1, where the quotient of the lowest sum wraps.
struct Quotient {
    QuotientForm form;
    int32_t half;
    float single;
    double whole;
    uint16_t factor;
    uint16_t shift;
    uint16_t sign; // all bits set for a negative divisor
};

// The quotient for sums of at most `reach` in magnitude, before half is added.
Quotient quotientFor(int32_t divisor, int64_t reach, bool narrow);

// Two taps of the narrow form and their weights as bytes, both pairs of a 32-bit lane alike.
struct NarrowPair {
    int32_t row[2];
    int32_t column[2];
    int32_t weights;
};

inline constexpr int32_t kConvolveTile = 512; // outputs that are summed before they are divided
inline constexpr int32_t kMostNarrowPairs = 64;
inline constexpr int32_t kTallKernel = 6; // rows from which two rows enter together

struct IntegerKernel {
    const int32_t* weights; // height rows of width
    int32_t width;
    int32_t height;
    SumForm form;
    Quotient quotient;

    int32_t narrowPairs;
    std::array<NarrowPair, kMostNarrowPairs> narrow;

    // Bytes and words: `groups` lanes of 4 or 2 weights for each row, and a line of sums for each row of the kernel.
    // The lines are a ring: the one at `head` is finished next, the one before it has just begun.
    bool foldedColumns;
    bool mirroredRows;
    int32_t groups;
    Buffer<int32_t> lanes;
    int64_t columns; // sums of a line
    Buffer<int32_t> lines;
    int32_t head;
    bool pending;           // the newest row has not entered yet
    Buffer<uint8_t> strips; // room for the pixels of a block, side by side as the weights are
    Buffer<uint8_t>
        products; // room for the sums of a block with each row of the kernel, for two rows of the image

    int32_t* line(int32_t fromHead) { return lines.data() + (head + fromHead) % height * columns; }
};

// Prepares a kernel of positive size for pixels up to highestPixel (255 or 65535) in lines of up to `columns` outputs.
// False without memory, whose report is that of I_MxNConvolve.
[[nodiscard]] bool prepareKernel(IntegerKernel& prepared, const int32_t* weights, int32_t width,
                                 int32_t height, int32_t divisor, int32_t highestPixel, int32_t columns,
                                 SumForms forms);

} // namespace vexa

#endif
