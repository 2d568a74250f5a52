// An integer kernel made ready for its row functions: which form of arithmetic gives every sum exactly, the weights in
// that form's order, and how a sum is divided.
//
// Why the forms are equal. The described sum is a 32-bit one that wraps, so any order and any grouping of its terms
// gives the same number, and so does leaving out terms whose weight is 0:
//
//     narrow    With 255 * sum|k| + |half| <= 32767 - 128 no partial sum, in whatever order, leaves 16 bits; |k| is then
//               below 128 and the weights of a pair below 129 together, so that no pair of byte products saturates.
//     bytes     Products of unsigned bytes and signed bytes, four at a time, added to a 32-bit sum that wraps. A weight
//               outside signed bytes is high * 256 + low with a signed low byte: 256 * sum(high * p) + sum(low * p).
//     words     Products of 16-bit weights and 16-bit pixels, two at a time; a pair stays below 2 * 32768 * 510 < 2^31.
//               Rows r and N - 1 - r with the same weights are added before they are multiplied, k * a + k * b =
//               k * (a + b), and a + b <= 510 fits.
//     plain     The described sum as it stands.
#ifndef VEXA_FILTERS_INTEGER_KERNEL_H
#define VEXA_FILTERS_INTEGER_KERNEL_H

#include <array>
#include <cstdint>

#include "support/buffer.h"

namespace vexa
{

enum class SumForm { plain, narrow, bytes, splitBytes, words };
enum class QuotientForm { narrow, single, whole, negated };

// The forms that the row functions of an instruction set have.
struct SumForms {
    bool narrow;
    SumForm grouped; // bytes, words, or plain where there are none
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

// A tap of the grouped forms: the place of its first lane in the workspace, and the weights of the rows of its group.
struct GroupTap {
    int64_t lane;
    int32_t low;
    int32_t high;
};

inline constexpr int32_t kConvolveTile = 512; // outputs that are summed before they are divided
inline constexpr int32_t kMostNarrowPairs = 65;

struct IntegerKernel {
    const int32_t* weights; // height rows of width
    int32_t width;
    int32_t height;
    SumForm form;
    Quotient quotient;

    int32_t narrowPairs;
    std::array<NarrowPair, kMostNarrowPairs> narrow;

    // Grouped forms: several rows side by side in each 32-bit lane of a strip of the workspace.
    bool folded; // rows r and height - 1 - r are one
    int32_t groups;
    int64_t groupTaps;
    int64_t stride; // lanes of a strip
    Buffer<GroupTap> taps;
    Buffer<uint32_t> strips;
    Buffer<uint8_t> zeros; // a row for the lanes of a group that have none
};

// Rows that the lanes of a group hold.
constexpr int32_t rowsPerGroup(SumForm form)
{
    return form == SumForm::words ? 2 : 4;
}

// Prepares a kernel of positive size for pixels up to highestPixel (255 or 65535). 0 without memory, whose report is
// that of I_MxNConvolve.
[[nodiscard]] bool prepareKernel(IntegerKernel& prepared, const int32_t* weights, int32_t width,
                                 int32_t height, int32_t divisor, int32_t highestPixel, SumForms forms);

} // namespace vexa

#endif
