// Row functions of the smoothing pass, whose windows are one pixel wide or one row high. Compiled once per instruction
// set, hence no include guard.

#include "operators/row_loops.h"

namespace vexa::VEXA_TARGET
{
namespace
{

// Windows are summed in parts of so many pixels at most.
inline constexpr int32_t kWindowPart = 256;

// Doubles of one vector register, and the floats they are made of and become.
inline constexpr int32_t kLanes = VEXA_LEVEL == 3 ? 8 : VEXA_LEVEL == 2 ? 4 : 2;
typedef double DoubleLanes __attribute__((vector_size(kLanes * 8)));
typedef float FloatLanes __attribute__((vector_size(kLanes * 4)));

// One number or a register of them, as doubles.
template <typename Number>
Number loadAs(const double* from)
{
    Number numbers;
    std::memcpy(&numbers, from, sizeof numbers);
    return numbers;
}
template <typename Number>
Number loadAs(const float* from)
{
    if constexpr (std::is_same_v<Number, double>) {
        return double{*from};
    } else {
#if VEXA_LEVEL >= 3
        return _mm512_cvtps_pd(_mm256_loadu_ps(from)); // which a conversion of vectors does not always become
#elif VEXA_LEVEL == 2
        return _mm256_cvtps_pd(_mm_loadu_ps(from));
#else
        FloatLanes floats;
        std::memcpy(&floats, from, sizeof floats);
        return __builtin_convertvector(floats, DoubleLanes);
#endif
    }
}

inline void storeAs(float* to, double number)
{
    *to = static_cast<float>(number);
}
inline void storeAs(float* to, DoubleLanes numbers)
{
    const FloatLanes floats = __builtin_convertvector(numbers, FloatLanes);
    std::memcpy(to, &floats, sizeof floats);
}
template <typename Number>
void storeAs(double* to, Number numbers)
{
    std::memcpy(to, &numbers, sizeof numbers);
}

// body(i, a number of the kind to load) for all i below n, in whole registers as far as they go.
template <typename Body>
[[gnu::always_inline]] inline void forLanes(int32_t n, Body body)
{
    int32_t i = 0;
    for (; i + kLanes <= n; i += kLanes)
        body(i, DoubleLanes{});
    for (; i < n; ++i)
        body(i, double{});
}

// (sum * scale + 512) >> 10, of which the low byte is stored. In 16 bits: the high half of sum * (scale * 128) is
// sum * scale / 512, for scales up to kMostShortScale.
inline uint16_t scaleFactor(uint16_t, int32_t scale)
{
    return static_cast<uint16_t>(scale * 128);
}
inline uint8_t scaleSum(uint16_t sum, uint16_t factor)
{
    const auto doubled = static_cast<uint16_t>((uint32_t{sum} * factor) >> 16);
    return static_cast<uint8_t>(static_cast<uint16_t>(doubled + 1) >> 1);
}
inline uint32_t scaleFactor(uint32_t, int32_t scale)
{
    return static_cast<uint32_t>(scale);
}
inline uint8_t scaleSum(uint32_t sum, uint32_t scale)
{
    return static_cast<uint8_t>((sum * scale + 512U) >> 10);
}

// ((a + b) * weight) >> 10 for a weight below 1024.
inline uint16_t weighEnds(uint8_t a, uint8_t b, uint16_t weight)
{
    return static_cast<uint16_t>((uint32_t{static_cast<uint16_t>((a + b) << 6)} * weight) >> 16);
}

template <typename Sum>
void addRow(Sum* sums, const uint8_t* row, int32_t n)
{
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i)
        sums[i] = static_cast<Sum>(sums[i] + row[i]);
}

// A column window: the sums of rows 1 to N - 1 are kept from line to line, those of rows 1 to N - 2 where the ends have
// a weight of their own. A line costs the same for any height of the window.
template <typename Sum>
void boxColumnBytes(const FrameLine& line, void* user)
{
    auto& box = *static_cast<BoxParameter*>(user);
    auto* const sums = static_cast<Sum*>(box.sums);
    auto* const out = static_cast<uint8_t*>(line.out);
    const int32_t n = line.count;
    const auto row = [&](int32_t k) { return static_cast<const uint8_t*>(line.rows[k]); };
    const int32_t last = line.height - 1;
    const auto scale = scaleFactor(Sum{}, box.scale);
    const auto weight = static_cast<uint16_t>(box.weight);
    const uint8_t* const first = row(0);
    const uint8_t* const bottom = row(last);
    const int32_t newest = weight != 0 ? last - 1 : last;
    if (line.bandStart) {
        std::fill_n(sums, n, Sum{0});
        for (int32_t k = 1; k <= newest; ++k)
            addRow(sums, row(k), n);
    } else if (line.newLine) {
        const uint8_t* const entering = row(newest);
        if (weight == 0) {
            VEXA_INDEPENDENT
            for (int32_t i = 0; i < n; ++i) {
                const auto sum = static_cast<Sum>(sums[i] + entering[i]);
                sums[i] = static_cast<Sum>(sum - first[i]);
                out[i] = scaleSum(sum, scale);
            }
            return;
        }
        VEXA_INDEPENDENT
        for (int32_t i = 0; i < n; ++i)
            sums[i] = static_cast<Sum>(sums[i] + entering[i] - first[i]);
    }
    if (weight == 0) {
        VEXA_INDEPENDENT
        for (int32_t i = 0; i < n; ++i)
            out[i] = scaleSum(static_cast<Sum>(sums[i] + first[i]), scale);
    } else {
        VEXA_INDEPENDENT
        for (int32_t i = 0; i < n; ++i)
            out[i] = scaleSum(static_cast<Sum>(sums[i] + weighEnds(first[i], bottom[i], weight)), scale);
    }
}

// Without memory for the sums: each line anew.
inline void boxColumnBytesAnew(const FrameLine& line, void* user)
{
    const auto& box = *static_cast<const BoxParameter*>(user);
    constexpr int32_t kPiece = 1024;
    auto* const out = static_cast<uint8_t*>(line.out);
    uint32_t sums[kPiece];
    for (int32_t start = 0; start < line.count; start += kPiece) {
        const int32_t n = std::min(kPiece, line.count - start);
        const auto row = [&](int32_t k) { return static_cast<const uint8_t*>(line.rows[k]) + start; };
        const int32_t last = line.height - 1;
        std::fill_n(sums, n, 0U);
        for (int32_t k = box.weight != 0; k <= last - (box.weight != 0); ++k)
            addRow(sums, row(k), n);
        for (int32_t i = 0; i < n; ++i) {
            const uint32_t ends = weighEnds(row(0)[i], row(last)[i], static_cast<uint16_t>(box.weight));
            out[start + i] = scaleSum(sums[i] + ends, static_cast<uint32_t>(box.scale));
        }
    }
}

// finish(i, sum of up to Parts levels from i on, and of the source's pixel where the window is odd).
template <int32_t Parts, typename Sum, typename Pixel, typename Finish>
[[gnu::always_inline]] inline void finishWindows(const Pixel* source, const Sum* const* parts, int32_t n,
                                                 bool odd, Finish finish)
{
    const Sum* const a = parts[0];
    const Sum* const b = parts[1];
    const Sum* const c = parts[2];
    if constexpr (std::is_same_v<Sum, double>) {
        forLanes(n, [=](int32_t i, auto kind) {
            using Number = decltype(kind);
            Number sum = kind;
            if (odd)
                sum = loadAs<Number>(source + i);
            if constexpr (Parts > 0)
                sum += loadAs<Number>(a + i);
            if constexpr (Parts > 1)
                sum += loadAs<Number>(b + i);
            if constexpr (Parts > 2)
                sum += loadAs<Number>(c + i);
            finish(i, sum);
        });
    } else {
        const auto rest = [=](int32_t i) {
            Sum sum = Parts > 0 ? a[i] : Sum{0};
            if constexpr (Parts > 1)
                sum = static_cast<Sum>(sum + b[i]);
            if constexpr (Parts > 2)
                sum = static_cast<Sum>(sum + c[i]);
            return sum;
        };
        if (odd) {
            VEXA_INDEPENDENT
            for (int32_t i = 0; i < n; ++i)
                finish(i, static_cast<Sum>(rest(i) + source[i]));
        } else {
            VEXA_INDEPENDENT
            for (int32_t i = 0; i < n; ++i)
                finish(i, rest(i));
        }
    }
}

template <typename Sum, typename Other>
void addTo(Sum* sums, const Sum* a, const Other* b, int32_t n)
{
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i)
        sums[i] = static_cast<Sum>(a[i] + static_cast<Sum>(b[i]));
}

// What the sums of one piece are made of, in the first-level cache.
template <typename Sum>
struct WindowLevels {
    static constexpr int32_t kPiece = sizeof(Sum) == 2 ? 1024 : 384;
    static constexpr int32_t kLevels = 8; // of 2, 4, ... 256 pixels
    // Levels are computed in whole vectors, beyond what is needed: for that the rows have slack.
    static constexpr int32_t kStep = sizeof(Sum) == 2 ? 32 : 16;

    alignas(64) Sum level[kLevels][kPiece + kWindowPart + 5 * kStep];
    alignas(64) Sum combined[kPiece];
    alignas(64) double widened[std::is_same_v<Sum, double> ? kPiece + kWindowPart + 5 * kStep : 1];

    // finish(i, sum of window pixels from i on) for i below n, by doubling: the sums of 2, 4, 8, ... pixels, of which a
    // window takes those that its binary digits name. So the cost grows by the digits of the window only.
    template <typename Pixel, typename Finish>
    [[gnu::always_inline]] inline void sum(const Pixel* source, int32_t n, int32_t window, Finish finish)
    {
        int32_t levels = 0;
        while (2 << levels <= window)
            ++levels;
        int32_t held[kLevels] = {};
        int32_t needed = n + window - (1 << levels);
        for (int32_t k = levels - 1; k >= 0; --k) {
            held[k] = (needed + kStep - 1) / kStep * kStep;
            needed = held[k] + (1 << k);
        }
        if constexpr (std::is_same_v<Pixel, float>) {
            forLanes(std::max(held[0], n), [&](int32_t i, auto kind) {
                const auto pixel = loadAs<decltype(kind)>(source + i);
                storeAs(widened + i, pixel);
                storeAs(level[0] + i, pixel + loadAs<decltype(kind)>(source + i + 1));
            });
            combine(widened, n, window, levels, held, finish);
        } else {
            addPairs(source, held[0]);
            combine(source, n, window, levels, held, finish);
        }
    }

private:
    template <typename Pixel, typename Finish>
    [[gnu::always_inline]] inline void combine(const Pixel* source, int32_t n, int32_t window, int32_t levels,
                                               const int32_t* held, Finish finish)
    {
        const Sum* parts[kLevels] = {};
        int32_t used = 0;
        int32_t offset = window % 2;
        for (int32_t k = 0; k < levels; ++k) {
            const int32_t width = 2 << k;
            if (k > 0)
                addTo(level[k], level[k - 1], level[k - 1] + width / 2, held[k]);
            if ((window & width) != 0) {
                parts[used++] = level[k] + offset;
                offset += width;
            }
        }
        for (; used > 3; --used) {
            addTo(combined, parts[used - 2], parts[used - 1], n);
            parts[used - 2] = combined;
        }
        const bool odd = window % 2 != 0;
        if (used == 0)
            finishWindows<0>(source, parts, n, odd, finish);
        else if (used == 1)
            finishWindows<1>(source, parts, n, odd, finish);
        else if (used == 2)
            finishWindows<2>(source, parts, n, odd, finish);
        else
            finishWindows<3>(source, parts, n, odd, finish);
    }

    template <typename Pixel>
    void addPairs(const Pixel* source, int32_t n)
    {
        VEXA_INDEPENDENT
        for (int32_t i = 0; i < n; ++i)
            level[0][i] = static_cast<Sum>(static_cast<Sum>(source[i]) + static_cast<Sum>(source[i + 1]));
    }
};

// finish(i, sum of window pixels from i on) for all outputs.
template <typename Sum, typename Pixel, typename Finish>
[[gnu::always_inline]] inline void sumWindows(const Pixel* source, int32_t count, int32_t window,
                                              Finish finish)
{
    WindowLevels<Sum> levels;
    for (int32_t start = 0; start < count; start += levels.kPiece) {
        const int32_t n = std::min(levels.kPiece, count - start);
        levels.sum(source + start, n, window, [=](int32_t i, auto sum) { finish(start + i, sum); });
    }
}

// The same for windows of any width, in parts.
template <typename Sum, typename Pixel, typename Finish>
[[gnu::always_inline]] inline void sumWideWindows(const Pixel* source, int32_t count, int32_t window,
                                                  Finish finish)
{
    WindowLevels<Sum> levels;
    alignas(64) Sum sums[levels.kPiece];
    for (int32_t start = 0; start < count; start += levels.kPiece) {
        const int32_t n = std::min(levels.kPiece, count - start);
        std::fill_n(sums, n, Sum{0});
        for (int32_t part = 0; part < window; part += kWindowPart)
            levels.sum(source + start + part, n, std::min(kWindowPart, window - part),
                       [&sums](int32_t i, auto sum) {
                           if constexpr (std::is_same_v<Sum, double>)
                               storeAs(sums + i, loadAs<decltype(sum)>(sums + i) + sum);
                           else
                               sums[i] = static_cast<Sum>(sums[i] + sum);
                       });
        VEXA_INDEPENDENT
        for (int32_t i = 0; i < n; ++i)
            finish(start + i, sums[i]);
    }
}

template <typename Sum>
void boxRowBytes(const FrameLine& line, void* user)
{
    const auto& box = *static_cast<const BoxParameter*>(user);
    const auto* const row = static_cast<const uint8_t*>(line.rows[0]);
    auto* const out = static_cast<uint8_t*>(line.out);
    const auto scale = scaleFactor(Sum{}, box.scale);
    const auto weight = static_cast<uint16_t>(box.weight);
    const uint8_t* const right = row + line.width - 1;
    const auto store = [=](int32_t i, Sum sum) { out[i] = scaleSum(sum, scale); };
    const auto storeWithEnds = [=](int32_t i, Sum sum) {
        out[i] = scaleSum(static_cast<Sum>(sum + weighEnds(row[i], right[i], weight)), scale);
    };
    if constexpr (sizeof(Sum) > 2) {
        if (weight == 0)
            sumWideWindows<Sum>(row, line.count, line.width, store);
        else
            sumWideWindows<Sum>(row + 1, line.count, line.width - 2, storeWithEnds);
    } else {
        if (weight == 0)
            sumWindows<Sum>(row, line.count, line.width, store);
        else
            sumWindows<Sum>(row + 1, line.count, line.width - 2, storeWithEnds);
    }
}

// Floats are summed in doubles, and no sum is ever taken back that is not exact: a pixel outside a window leaves no
// trace in it.

// (sum + the weighted ends) / area for the outputs of a line.
template <typename SumAt>
[[gnu::always_inline]] inline void finishFloats(float* out, const float* low, const float* high, int32_t n,
                                                const BoxParameter& box, SumAt sumAt)
{
    const double inverse = box.inverse;
    const double edge = box.edge;
    if (edge == 0.0)
        forLanes(n, [=](int32_t i, auto kind) { storeAs(out + i, sumAt(i, kind) * inverse); });
    else
        forLanes(n, [=](int32_t i, auto kind) {
            using Number = decltype(kind);
            const Number ends = loadAs<Number>(low + i) + loadAs<Number>(high + i);
            storeAs(out + i, (sumAt(i, kind) + ends * edge) * inverse);
        });
}

// A low window, its rows summed in registers.
template <int32_t Rows>
void boxColumnFloatsLow(const FrameLine& line, const BoxParameter& box)
{
    const int32_t first = box.edge != 0.0;
    const auto row = [&](int32_t k) { return static_cast<const float*>(line.rows[k]); };
    const float* rows[Rows];
    for (int32_t k = 0; k < Rows; ++k)
        rows[k] = row(first + k);
    finishFloats(static_cast<float*>(line.out), row(0), row(line.height - 1), line.count, box,
                 [=](int32_t i, auto kind) {
                     auto sum = loadAs<decltype(kind)>(rows[0] + i);
                     for (int32_t k = 1; k < Rows; ++k)
                         sum += loadAs<decltype(kind)>(rows[k] + i);
                     return sum;
                 });
}

inline void boxColumnFloatsAnew(const FrameLine& line, const BoxParameter& box)
{
    constexpr int32_t kPiece = 512;
    const int32_t first = box.edge != 0.0;
    const int32_t last = line.height - 1;
    alignas(64) double sums[kPiece];
    for (int32_t start = 0; start < line.count; start += kPiece) {
        const int32_t n = std::min(kPiece, line.count - start);
        const auto row = [&](int32_t k) { return static_cast<const float*>(line.rows[k]) + start; };
        std::fill_n(sums, n, 0.0);
        for (int32_t k = first; k <= last - first; ++k)
            addTo(sums, sums, row(k), n);
        finishFloats(static_cast<float*>(line.out) + start, row(0), row(last), n, box,
                     [&sums](int32_t i, auto kind) { return loadAs<decltype(kind)>(sums + i); });
    }
}

inline void extendSpread(Spread& spread, const float* row, int32_t n)
{
    uint32_t highest = spread.highest;
    uint32_t lowest = spread.lowest;
    for (int32_t i = 0; i < n; ++i) {
        uint32_t bits = 0;
        std::memcpy(&bits, row + i, sizeof bits);
        bits <<= 1; // without the sign
        highest = std::max(highest, bits);
        lowest = std::min(lowest, bits - 1); // 0 becomes the largest of all
    }
    spread = {highest, lowest};
}

// The rows that a column window counts in full.
struct WindowRows {
    const FrameLine& line;
    int32_t first;
    int32_t count;

    const float* operator[](int32_t k) const { return static_cast<const float*>(line.rows[first + k]); }
    template <typename SumAt>
    void finish(const BoxParameter& box, SumAt sumAt) const
    {
        finishFloats(static_cast<float*>(line.out), static_cast<const float*>(line.rows[0]),
                     static_cast<const float*>(line.rows[line.height - 1]), line.count, box, sumAt);
    }
};

// True while the sums can be carried from line to line. The floats of all rows met so far have a say in that.
inline bool staysExact(const WindowRows& rows, BoxParameter& box)
{
    const FrameLine& line = rows.line;
    if (line.bandStart) {
        box.spread = {};
        box.running = true;
        for (int32_t k = 0; k < rows.count; ++k)
            extendSpread(box.spread, rows[k], line.count);
    } else if (line.newLine && box.running) {
        extendSpread(box.spread, rows[rows.count - 1], line.count);
    }
    return box.running && box.spread.sumsExactly(rows.count + 1);
}

// The sums of all rows but the first are kept from line to line.
inline void boxColumnFloatsRunning(const WindowRows& rows, double* kept, const BoxParameter& box)
{
    const FrameLine& line = rows.line;
    const float* const top = rows[0];
    if (line.bandStart) {
        std::fill_n(kept, line.count, 0.0);
        for (int32_t k = 1; k < rows.count; ++k)
            addTo(kept, kept, rows[k], line.count);
    } else if (line.newLine) {
        const float* const entering = rows[rows.count - 1];
        rows.finish(box, [=](int32_t i, auto kind) {
            using Number = decltype(kind);
            const Number sum = loadAs<Number>(kept + i) + loadAs<Number>(entering + i);
            storeAs(kept + i, sum - loadAs<Number>(top + i));
            return sum;
        });
        return;
    }
    rows.finish(box, [=](int32_t i, auto kind) {
        return loadAs<decltype(kind)>(kept + i) + loadAs<decltype(kind)>(top + i);
    });
}

// A column window over blocks of as many rows as it has: its rows are the last ones of a block and the first ones of the
// next. When it covers a block, the sums from each row of the block to its last one are made; from then on the sum of
// the next block's rows grows line by line. So a line costs the same for any height of the window, and nothing is taken
// back (van Herk, "A fast algorithm for local minimum and maximum filters on rectangular and octagonal kernels", 1992,
// has it for minima).
inline void boxColumnFloatsByBlocks(const WindowRows& rows, double* grown, BoxParameter& box, bool start)
{
    const FrameLine& line = rows.line;
    const int32_t n = line.count;
    const auto fromRow = [=](int32_t k) { return grown + int64_t{k + 1} * (n + kFloatSumsGap); };
    if (start || line.newLine)
        box.phase = start || box.phase + 1 == rows.count ? 0 : box.phase + 1;
    if (box.phase == 0 && (start || line.newLine)) {
        std::copy_n(rows[rows.count - 1], n, fromRow(rows.count - 1));
        for (int32_t k = rows.count - 2; k >= 0; --k)
            addTo(fromRow(k), fromRow(k + 1), rows[k], n);
        std::fill_n(grown, n, 0.0);
    }
    const double* const rest = fromRow(box.phase);
    if (line.newLine && box.phase != 0)
        addTo(grown, grown, rows[rows.count - 1], n);
    rows.finish(box, [=](int32_t i, auto kind) {
        return loadAs<decltype(kind)>(rest + i) + loadAs<decltype(kind)>(grown + i);
    });
}

// A line costs the same for any height of the window.
inline void boxColumnFloats(const FrameLine& line, void* user)
{
    auto& box = *static_cast<BoxParameter*>(user);
    const int32_t first = box.edge != 0.0;
    const WindowRows rows = {line, first, line.height - 2 * first};
    if (rows.count == 1)
        return boxColumnFloatsLow<1>(line, box);
    if (rows.count == 3)
        return boxColumnFloatsLow<3>(line, box);
    if (rows.count == 5)
        return boxColumnFloatsLow<5>(line, box);
    if (!box.sums)
        return boxColumnFloatsAnew(line, box);
    auto* const sums = static_cast<double*>(box.sums);
    if (staysExact(rows, box))
        return boxColumnFloatsRunning(rows, sums, box);
    const bool start = line.bandStart || box.running;
    box.running = false;
    boxColumnFloatsByBlocks(rows, sums, box, start);
}

inline void boxRowFloats(const FrameLine& line, void* user)
{
    const auto& box = *static_cast<const BoxParameter*>(user);
    const auto* const row = static_cast<const float*>(line.rows[0]);
    const float* const right = row + line.width - 1;
    auto* const out = static_cast<float*>(line.out);
    const double inverse = box.inverse;
    const double edge = box.edge;
    const auto store = [=](int32_t i, auto sum) { storeAs(out + i, sum * inverse); };
    const auto storeWithEnds = [=](int32_t i, auto sum) {
        const auto ends = loadAs<decltype(sum)>(row + i) + loadAs<decltype(sum)>(right + i);
        storeAs(out + i, (sum + ends * edge) * inverse);
    };
    if (line.width > kMostShortWindow)
        edge == 0.0 ? sumWideWindows<double>(row, line.count, line.width, store)
                    : sumWideWindows<double>(row + 1, line.count, line.width - 2, storeWithEnds);
    else
        edge == 0.0 ? sumWindows<double>(row, line.count, line.width, store)
                    : sumWindows<double>(row + 1, line.count, line.width - 2, storeWithEnds);
}

inline constexpr BoxFilters kBoxFilters = {
    boxColumnBytes<uint16_t>, boxColumnBytes<uint32_t>, boxColumnBytesAnew, boxColumnFloats,
    boxRowBytes<uint16_t>,    boxRowBytes<uint32_t>,    boxRowFloats};

} // namespace
} // namespace vexa::VEXA_TARGET
