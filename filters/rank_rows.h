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
    const float step = user ? *static_cast<const float*>(user) : 1.0F;
    forPieces<Pixel>(line, [&](int32_t start, int32_t n) {
        fillByLanes(out + start, n, [&](int32_t i) { return extremeOfNine<Choice>(at, start + i); });
        // A whole step leaves the extreme as it is, where floats of very different size would not come back
        // exactly.
        if (step == 1.0F)
            return;
        VEXA_INDEPENDENT
        for (int32_t i = start; i < start + n; ++i)
            out[i] = blended(at.center[i], out[i], step);
    });
}

// The median of nine.

// The fifth of nine samples in the order of an insertion sort in which each goes in before the first larger
// one: among zeros of either sign, and with samples that are no number, no other order gives the same.
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

// A piece of a row in a neighbourhood of three columns: each column is sorted once and serves three medians.
template <typename Pixel>
void sharedMedians(const Lattice<Pixel>& at, int32_t start, int32_t n, Pixel* out)
{
    using Vector = Lanes<Pixel>;
    // With what the last vectors read and write behind the piece.
    constexpr int32_t kRoom = kPieceBytes / sizeof(Pixel) + 2 * Vector::kCount;
    alignas(64) Pixel low[kRoom];
    alignas(64) Pixel middle[kRoom];
    alignas(64) Pixel high[kRoom];
    for (int32_t i = 0; i < n + 2; i += Vector::kCount) {
        const SortedColumns<Pixel> columns = sortedColumns(
            Vector::load(at.nw + start + i), Vector::load(at.w + start + i), Vector::load(at.sw + start + i));
        columns.low.store(low + i);
        columns.middle.store(middle + i);
        columns.high.store(high + i);
    }
    const auto columns = [&](int32_t i) -> SortedColumns<Pixel> {
        return {Vector::load(low + i), Vector::load(middle + i), Vector::load(high + i)};
    };
    fillByLanes(out + start, n,
                [&](int32_t i) { return medianOfColumns(columns(i), columns(i + 1), columns(i + 2)); });
}

#if VEXA_LEVEL >= 3
// Floats are few to a vector: shifting sorted columns from two vectors into one costs less than storing them.
inline void sharedMedians(const Lattice<float>& at, int32_t start, int32_t n, float* out)
{
    using Vector = Lanes<float>;
    const auto sorted = [&](int32_t i) {
        return sortedColumns(Vector::load(at.nw + i), Vector::load(at.w + i), Vector::load(at.sw + i));
    };
    const auto moved = [](auto by, const SortedColumns<float>& here, const SortedColumns<float>& next) {
        const auto join = [](Vector a, Vector b) -> Vector {
            return {_mm512_castsi512_ps(_mm512_alignr_epi32(
                _mm512_castps_si512(b.value), _mm512_castps_si512(a.value), decltype(by)::value))};
        };
        return SortedColumns<float>{join(here.low, next.low), join(here.middle, next.middle),
                                    join(here.high, next.high)};
    };
    SortedColumns<float> next = sorted(start);
    fillByLanes(out + start, n, [&](int32_t i) {
        const SortedColumns<float> here = next;
        next = sorted(start + i + Vector::kCount);
        return medianOfColumns(here, moved(std::integral_constant<int, 1>{}, here, next),
                               moved(std::integral_constant<int, 2>{}, here, next));
    });
}
#endif

// The same in neighbourhoods of other widths, which share no columns nearby.
template <typename Pixel>
void latticeMedians(const Lattice<Pixel>& at, int32_t start, int32_t n, Pixel* out)
{
    const auto columns = [](const Pixel* top, const Pixel* center, const Pixel* bottom) {
        using Vector = Lanes<Pixel>;
        return sortedColumns(Vector::load(top), Vector::load(center), Vector::load(bottom));
    };
    fillByLanes(out + start, n, [&](int32_t k) {
        const int32_t i = start + k;
        return medianOfColumns(columns(at.nw + i, at.w + i, at.sw + i),
                               columns(at.n + i, at.center + i, at.s + i),
                               columns(at.ne + i, at.e + i, at.se + i));
    });
}

// True where comparisons alone do not give the numbers of selectMedian.
template <typename Pixel>
bool oddIn(const Pixel* row, int32_t n)
{
    using Vector = Lanes<Pixel>;
    uint32_t odd = 0;
    for (int32_t i = 0; i < n; i += Vector::kCount)
        odd |= Vector::odd(Vector::load(row + i));
    return odd != 0;
}

// Looks at each row once, when it enters, as far as the rows of the lattice follow one another.
template <typename Pixel>
bool oddInRows(const FrameLine& line, const Lattice<Pixel>& at, MedianState& state)
{
    if constexpr (sizeof(Pixel) == 1)
        return false;
    const int32_t n = line.count + line.width - 1;
    if (line.bandStart || line.height != 3) {
        state.odd = {oddIn(at.nw, n), oddIn(at.w, n), oddIn(at.sw, n)};
    } else if (line.newLine) {
        state.odd = {state.odd[1], state.odd[2], oddIn(at.sw, n)};
    }
    return state.odd[0] || state.odd[1] || state.odd[2];
}

template <typename Pixel>
void medianRow(const FrameLine& line, void* user)
{
    auto& state = *static_cast<MedianState*>(user);
    const Lattice<Pixel> at = latticeOf<Pixel>(line);
    auto* out = static_cast<Pixel*>(line.out);
    const bool someOdd = oddInRows(line, at, state);
    if (!state.samples)
        state.samples = Buffer<float>(9);
    if (malloctest(state.samples.data(), "I_Median: %d", 36))
        return;
    forPieces<Pixel>(line, [&](int32_t start, int32_t n) {
        const int32_t reach = n + line.width - 1;
        if (someOdd &&
            (oddIn(at.nw + start, reach) || oddIn(at.w + start, reach) || oddIn(at.sw + start, reach)))
            selectedMedians(at, start, n, reinterpret_cast<Pixel*>(state.samples.data()), out);
        else if (line.width == 3)
            sharedMedians(at, start, n, out);
        else
            latticeMedians(at, start, n, out);
    });
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
