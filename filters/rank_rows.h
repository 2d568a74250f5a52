// Row functions of the rank and shape operators. Compiled once per instruction set, hence no include guard.

#include "operators/row_loops.h"

namespace vexa::VEXA_TARGET
{
namespace
{

template <typename Pixel>
Pixel smaller(Pixel a, Pixel b)
{
    return b < a ? b : a;
}
template <typename Pixel>
Pixel larger(Pixel a, Pixel b)
{
    return a < b ? b : a;
}

template <typename Pixel>
Pixel middleOf(Pixel a, Pixel b, Pixel c)
{
    return larger(smaller(a, b), smaller(larger(a, b), c));
}

// Minimum and maximum of nine, blended toward the centre where a step is given.

struct Smallest {
    template <typename Pixel>
    static Pixel of(Pixel a, Pixel b)
    {
        return smaller(a, b);
    }
};
struct Largest {
    template <typename Pixel>
    static Pixel of(Pixel a, Pixel b)
    {
        return larger(a, b);
    }
};

template <typename Choice, typename Pixel>
Pixel extremeOfNine(const Lattice<Pixel>& at, int32_t i)
{
    const Pixel left = Choice::of(Choice::of(at.nw[i], at.w[i]), at.sw[i]);
    const Pixel middle = Choice::of(Choice::of(at.n[i], at.center[i]), at.s[i]);
    const Pixel right = Choice::of(Choice::of(at.ne[i], at.e[i]), at.se[i]);
    return Choice::of(Choice::of(left, middle), right);
}

inline uint8_t blended(uint8_t center, uint8_t extreme, float step)
{
    const auto weight = static_cast<int16_t>(step * 128.0F);
    return static_cast<uint8_t>(center + (((extreme - center) * weight + 64) >> 7));
}
inline float blended(float center, float extreme, float step)
{
    return center + (extreme - center) * step;
}

// user: the step, a float from 0 to 1, or null.
template <typename Pixel, typename Choice>
void extremeRow(const FrameLine& line, void* user)
{
    const Lattice<Pixel> at = latticeOf<Pixel>(line);
    auto* out = static_cast<Pixel*>(line.out);
    const float step = user ? *static_cast<const float*>(user) : 1.0F;
    const int32_t n = line.count;
    // A whole step leaves the extreme as it is, where floats of very different size would not come back exactly.
    if (step == 1.0F) {
        VEXA_INDEPENDENT
        for (int32_t i = 0; i < n; ++i)
            out[i] = extremeOfNine<Choice>(at, i);
        return;
    }
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i)
        out[i] = blended(at.center[i], extremeOfNine<Choice>(at, i), step);
}

// The median of nine.

// The fifth of nine samples in the order of an insertion sort in which each goes in before the first larger one: among
// zeros of either sign, and with samples that are no number, no other order gives the same.
template <typename Pixel>
Pixel selectMedian(Pixel* samples)
{
    Pixel sorted[9];
    for (int32_t count = 0; count < 9; ++count) {
        int32_t place = 0;
        while (place < count && !(sorted[place] > samples[count]))
            ++place;
        for (int32_t i = count; i > place; --i)
            sorted[i] = sorted[i - 1];
        sorted[place] = samples[count];
    }
    std::copy_n(sorted, 9, samples);
    return sorted[4];
}

template <typename Pixel>
void selectedMedians(const Lattice<Pixel>& at, int32_t start, int32_t n, Pixel* scratch, Pixel* out)
{
    for (int32_t i = start; i < start + n; ++i) {
        const Pixel samples[] = {at.nw[i], at.n[i],  at.ne[i], at.w[i], at.center[i],
                                 at.e[i],  at.sw[i], at.s[i],  at.se[i]};
        std::copy_n(samples, 9, scratch);
        out[i] = selectMedian(scratch);
    }
}

// Three samples of a column in rising order.
template <typename Pixel>
struct SortedColumn {
    Pixel low;
    Pixel middle;
    Pixel high;
};

template <typename Pixel>
SortedColumn<Pixel> sortedColumn(Pixel a, Pixel b, Pixel c)
{
    const Pixel first = smaller(a, b);
    const Pixel second = larger(a, b);
    const Pixel upper = smaller(second, c);
    return {smaller(first, upper), larger(first, upper), larger(second, c)};
}

template <typename Pixel>
Pixel medianOfColumns(SortedColumn<Pixel> a, SortedColumn<Pixel> b, SortedColumn<Pixel> c)
{
    const Pixel low = larger(larger(a.low, b.low), c.low);
    const Pixel middle = middleOf(a.middle, b.middle, c.middle);
    const Pixel high = smaller(smaller(a.high, b.high), c.high);
    return middleOf(low, middle, high);
}

// True where sorting by comparisons alone gives the numbers of selectMedian: no sample is no number or -0.
inline bool plainlyOrdered(const uint8_t*, int32_t)
{
    return true;
}
inline bool plainlyOrdered(const float* row, int32_t n)
{
    int32_t odd = 0;
    for (int32_t i = 0; i < n; ++i) {
        int32_t bits;
        std::memcpy(&bits, row + i, sizeof bits);
        odd |= static_cast<int32_t>(row[i] != row[i]) | static_cast<int32_t>(bits == INT32_MIN);
    }
    return odd == 0;
}

// A piece of a row in a neighbourhood of three columns: each column is sorted once and serves three medians.
template <typename Pixel, int32_t Piece>
void sharedMedians(const Lattice<Pixel>& at, int32_t start, int32_t n, Pixel* out)
{
    alignas(64) Pixel low[Piece + 2];
    alignas(64) Pixel middle[Piece + 2];
    alignas(64) Pixel high[Piece + 2];
    const Pixel* top = at.nw + start;
    const Pixel* center = at.w + start;
    const Pixel* bottom = at.sw + start;
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n + 2; ++i) {
        const SortedColumn<Pixel> column = sortedColumn(top[i], center[i], bottom[i]);
        low[i] = column.low;
        middle[i] = column.middle;
        high[i] = column.high;
    }
    Pixel* dest = out + start;
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i)
        dest[i] =
            medianOfColumns<Pixel>({low[i], middle[i], high[i]}, {low[i + 1], middle[i + 1], high[i + 1]},
                                   {low[i + 2], middle[i + 2], high[i + 2]});
}

template <typename Pixel>
void latticeMedians(const Lattice<Pixel>& at, int32_t start, int32_t n, Pixel* out)
{
    VEXA_INDEPENDENT
    for (int32_t i = start; i < start + n; ++i)
        out[i] = medianOfColumns(sortedColumn(at.nw[i], at.w[i], at.sw[i]),
                                 sortedColumn(at.n[i], at.center[i], at.s[i]),
                                 sortedColumn(at.ne[i], at.e[i], at.se[i]));
}

template <typename Pixel>
void medianRow(const FrameLine& line, void*)
{
    constexpr int32_t kPiece = 2048 / sizeof(Pixel);
    Buffer<float> scratch(9);
    if (malloctest(scratch.data(), "I_Median: %d", 36))
        return;
    const Lattice<Pixel> at = latticeOf<Pixel>(line);
    auto* out = static_cast<Pixel*>(line.out);
    for (int32_t start = 0; start < line.count; start += kPiece) {
        const int32_t n = std::min(kPiece, line.count - start);
        const int32_t reach = n + line.width - 1;
        if (!plainlyOrdered(at.nw + start, reach) || !plainlyOrdered(at.w + start, reach) ||
            !plainlyOrdered(at.sw + start, reach))
            selectedMedians(at, start, n, reinterpret_cast<Pixel*>(scratch.data()), out);
        else if (line.width == 3)
            sharedMedians<Pixel, kPiece>(at, start, n, out);
        else
            latticeMedians(at, start, n, out);
    }
}

// Peaks and pits.

inline void pitRow(const FrameLine& line, void*)
{
    const Lattice<uint8_t> at = latticeOf<uint8_t>(line);
    auto* out = static_cast<uint8_t*>(line.out);
    const int32_t n = line.count;
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i) {
        const uint8_t low = smaller(smaller(at.n[i], at.w[i]), smaller(at.e[i], at.s[i]));
        out[i] = static_cast<uint8_t>(larger(low, at.center[i]) - at.center[i]);
    }
}

inline void peakRow(const FrameLine& line, void*)
{
    const Lattice<uint8_t> at = latticeOf<uint8_t>(line);
    auto* out = static_cast<uint8_t*>(line.out);
    const int32_t n = line.count;
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i) {
        const uint8_t high = larger(larger(at.n[i], at.w[i]), larger(at.e[i], at.s[i]));
        out[i] = static_cast<uint8_t>(larger(high, at.center[i]) - high);
    }
}

// Growth and shrinking of labelled regions.

// A pixel of 0 takes its first neighbour that is not 0, in this order.
inline void binaryDilateRow(const FrameLine& line, void*)
{
    const Lattice<uint8_t> at = latticeOf<uint8_t>(line);
    auto* out = static_cast<uint8_t*>(line.out);
    const int32_t n = line.count;
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i) {
        uint8_t value = at.se[i];
        for (const uint8_t* neighbour : {at.sw, at.ne, at.nw, at.s, at.e, at.w, at.n, at.center})
            value = neighbour[i] != 0 ? neighbour[i] : value;
        out[i] = value;
    }
}

inline void binaryErodeRow(const FrameLine& line, void*)
{
    const Lattice<uint8_t> at = latticeOf<uint8_t>(line);
    auto* out = static_cast<uint8_t*>(line.out);
    const int32_t n = line.count;
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i)
        out[i] = extremeOfNine<Smallest>(at, i) != 0 ? at.center[i] : uint8_t{0};
}

// Fields.

template <typename Pixel>
void fieldMeanRow(const FrameLine& line, void*)
{
    const auto* above = static_cast<const Pixel*>(line.rows[0]);
    const auto* own = static_cast<const Pixel*>(line.rows[1]);
    auto* out = static_cast<Pixel*>(line.out);
    const int32_t n = line.count;
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i) {
        if constexpr (sizeof(Pixel) == 1)
            out[i] = static_cast<Pixel>((above[i] + own[i]) >> 1);
        else
            out[i] = (above[i] + own[i]) * 0.5F;
    }
}

inline constexpr NinePointFilter kErode = {extremeRow<uint8_t, Smallest>, extremeRow<float, Smallest>};
inline constexpr NinePointFilter kDilate = {extremeRow<uint8_t, Largest>, extremeRow<float, Largest>};
inline constexpr NinePointFilter kMedian = {medianRow<uint8_t>, medianRow<float>};
inline constexpr NinePointFilter kBinaryErode = {binaryErodeRow, nullptr};
inline constexpr NinePointFilter kBinaryDilate = {binaryDilateRow, nullptr};
inline constexpr NinePointFilter kFieldMean = {fieldMeanRow<uint8_t>, fieldMeanRow<float>};

} // namespace
} // namespace vexa::VEXA_TARGET
