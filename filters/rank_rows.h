// Row functions of the rank and shape operators. Compiled once per instruction set, hence no include guard.

#include "filters/lanes_rows.h"
#include "operators/row_loops.h"

namespace vexa::VEXA_TARGET
{
namespace
{

// Minimum and maximum of nine, blended toward the centre where a step is given.

struct Smallest {
    template <typename Vector>
    static Vector of(Vector a, Vector b)
    {
        return Vector::low(a, b);
    }
};
struct Largest {
    template <typename Vector>
    static Vector of(Vector a, Vector b)
    {
        return Vector::high(a, b);
    }
};

template <typename Choice, typename Pixel>
Lanes<Pixel> extremeOfNine(const Lattice<Pixel>& at, int32_t i)
{
    const auto sample = [i](const Pixel* p) { return Lanes<Pixel>::load(p + i); };
    const auto left = Choice::of(Choice::of(sample(at.nw), sample(at.w)), sample(at.sw));
    const auto middle = Choice::of(Choice::of(sample(at.n), sample(at.center)), sample(at.s));
    const auto right = Choice::of(Choice::of(sample(at.ne), sample(at.e)), sample(at.se));
    return Choice::of(Choice::of(left, middle), right);
}

// out[i] = vector(i) for all i. The last vector is cut: what it reads behind the row is the slack.
template <typename Pixel, typename Function>
[[gnu::always_inline]] inline void fillByLanes(Pixel* out, int32_t n, Function vector)
{
    constexpr int32_t kCount = Lanes<Pixel>::kCount;
    int32_t i = 0;
    for (; i + kCount <= n; i += kCount)
        vector(i).store(out + i);
    if (i == n)
        return;
    Pixel last[kCount];
    vector(i).store(last);
    std::copy_n(last, n - i, out + i);
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
    fillByLanes(out, line.count, [&](int32_t i) { return extremeOfNine<Choice>(at, i); });
    const float step = user ? *static_cast<const float*>(user) : 1.0F;
    // A whole step leaves the extreme as it is, where floats of very different size would not come back exactly.
    if (step == 1.0F)
        return;
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < line.count; ++i)
        out[i] = blended(at.center[i], out[i], step);
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

// Three samples of each column in rising order.
template <typename Pixel>
struct SortedColumns {
    Lanes<Pixel> low;
    Lanes<Pixel> middle;
    Lanes<Pixel> high;
};

template <typename Pixel>
SortedColumns<Pixel> sortedColumns(Lanes<Pixel> a, Lanes<Pixel> b, Lanes<Pixel> c)
{
    sortPair(a, b);
    sortPair(b, c);
    sortPair(a, b);
    return {a, b, c};
}

template <typename Pixel>
Lanes<Pixel> middleOf(Lanes<Pixel> a, Lanes<Pixel> b, Lanes<Pixel> c)
{
    sortPair(a, b);
    return Lanes<Pixel>::high(a, Lanes<Pixel>::low(b, c));
}

template <typename Pixel>
Lanes<Pixel> medianOfColumns(const SortedColumns<Pixel>& a, const SortedColumns<Pixel>& b,
                             const SortedColumns<Pixel>& c)
{
    using Vector = Lanes<Pixel>;
    const Vector low = Vector::high(Vector::high(a.low, b.low), c.low);
    const Vector high = Vector::low(Vector::low(a.high, b.high), c.high);
    return middleOf(low, middleOf(a.middle, b.middle, c.middle), high);
}

// A piece of a row in a neighbourhood of three columns: each column is sorted once and serves three medians. False
// where comparisons alone do not give the numbers of selectMedian.
template <typename Pixel, int32_t Piece>
bool sharedMedians(const Lattice<Pixel>& at, int32_t start, int32_t n, Pixel* out)
{
    using Vector = Lanes<Pixel>;
    // What the last vectors read and write behind the piece.
    constexpr int32_t kRoom = Piece + 2 * Vector::kCount;
    alignas(64) Pixel low[kRoom];
    alignas(64) Pixel middle[kRoom];
    alignas(64) Pixel high[kRoom];
    uint32_t odd = 0;
    for (int32_t i = 0; i < n + 2; i += Vector::kCount) {
        const Vector top = Vector::load(at.nw + start + i);
        const Vector center = Vector::load(at.w + start + i);
        const Vector bottom = Vector::load(at.sw + start + i);
        odd |= Vector::odd(top) | Vector::odd(center) | Vector::odd(bottom);
        const SortedColumns<Pixel> columns = sortedColumns(top, center, bottom);
        columns.low.store(low + i);
        columns.middle.store(middle + i);
        columns.high.store(high + i);
    }
    if (odd != 0)
        return false;
    const auto columns = [&](int32_t i) -> SortedColumns<Pixel> {
        return {Vector::load(low + i), Vector::load(middle + i), Vector::load(high + i)};
    };
    fillByLanes(out + start, n,
                [&](int32_t i) { return medianOfColumns(columns(i), columns(i + 1), columns(i + 2)); });
    return true;
}

// The same in neighbourhoods of other widths, which share no columns nearby.
template <typename Pixel>
bool latticeMedians(const Lattice<Pixel>& at, int32_t start, int32_t n, Pixel* out)
{
    using Vector = Lanes<Pixel>;
    uint32_t odd = 0;
    const auto columns = [&](const Pixel* top, const Pixel* center, const Pixel* bottom) {
        const Vector a = Vector::load(top);
        const Vector b = Vector::load(center);
        const Vector c = Vector::load(bottom);
        odd |= Vector::odd(a) | Vector::odd(b) | Vector::odd(c);
        return sortedColumns(a, b, c);
    };
    fillByLanes(out + start, n, [&](int32_t k) {
        const int32_t i = start + k;
        return medianOfColumns(columns(at.nw + i, at.w + i, at.sw + i),
                               columns(at.n + i, at.center + i, at.s + i),
                               columns(at.ne + i, at.e + i, at.se + i));
    });
    return odd == 0;
}

// user: a MedianScratch, filled by the first row that finds memory.
template <typename Pixel>
void medianRow(const FrameLine& line, void* user)
{
    constexpr int32_t kPiece = 2048 / sizeof(Pixel);
    auto& scratch = *static_cast<MedianScratch*>(user);
    if (!scratch)
        scratch = MedianScratch(9);
    if (malloctest(scratch.data(), "I_Median: %d", 36))
        return;
    const Lattice<Pixel> at = latticeOf<Pixel>(line);
    auto* out = static_cast<Pixel*>(line.out);
    for (int32_t start = 0; start < line.count; start += kPiece) {
        const int32_t n = std::min(kPiece, line.count - start);
        const bool done = line.width == 3 ? sharedMedians<Pixel, kPiece>(at, start, n, out)
                                          : latticeMedians(at, start, n, out);
        if (!done)
            selectedMedians(at, start, n, reinterpret_cast<Pixel*>(scratch.data()), out);
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
        const uint8_t low = std::min(std::min(at.n[i], at.w[i]), std::min(at.e[i], at.s[i]));
        out[i] = static_cast<uint8_t>(std::max(low, at.center[i]) - at.center[i]);
    }
}

inline void peakRow(const FrameLine& line, void*)
{
    const Lattice<uint8_t> at = latticeOf<uint8_t>(line);
    auto* out = static_cast<uint8_t*>(line.out);
    const int32_t n = line.count;
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i) {
        const uint8_t high = std::max(std::max(at.n[i], at.w[i]), std::max(at.e[i], at.s[i]));
        out[i] = static_cast<uint8_t>(std::max(high, at.center[i]) - high);
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
    fillByLanes(out, n, [&](int32_t i) { return extremeOfNine<Smallest>(at, i); });
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i)
        out[i] = out[i] != 0 ? at.center[i] : uint8_t{0};
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
