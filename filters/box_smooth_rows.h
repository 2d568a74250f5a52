// Row functions of the smoothing pass, whose windows are one pixel wide or one row high. Compiled once per instruction
// set, hence no include guard.

#include "operators/row_loops.h"

namespace vexa::VEXA_TARGET
{
namespace
{

// Outputs that are computed together, through the first-level cache.
inline constexpr int32_t kPiece = 1024;
// Windows are summed in parts of so many pixels.
inline constexpr int32_t kWindowPart = 256;

// (sum * scale + 512) >> 10 from the two halves of the product; the low byte of it is stored.
inline uint8_t scaleSum(uint16_t sum, uint16_t scale)
{
    const uint32_t product = uint32_t{sum} * scale;
    const auto high = static_cast<uint16_t>(product >> 16);
    const auto low = static_cast<uint16_t>(sum * uint32_t{scale});
    const auto doubled = static_cast<uint16_t>((high << 7) | (low >> 9));
    return static_cast<uint8_t>(static_cast<uint16_t>(doubled + 1) >> 1);
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
    const auto scale = static_cast<Sum>(box.scale);
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

// sums[i] += source[i] + ... + source[i + window - 1] for i below n, by doubling: the sums of 2, 4, 8, ... pixels, of
// which a window takes those that its binary digits name. The levels have room for kPiece + window - 1 sums.
template <typename Sum, typename Pixel>
void addWindows(const Pixel* source, int32_t n, int32_t window, Sum* sums, Sum* level, Sum* next)
{
    int32_t held = n + window - 1;
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < held; ++i)
        level[i] = static_cast<Sum>(source[i]);
    int32_t offset = 0;
    for (int32_t width = 1; width <= window; width *= 2) {
        if (width > 1) {
            held -= width / 2;
            const Sum* const shifted = level + width / 2;
            VEXA_INDEPENDENT
            for (int32_t i = 0; i < held; ++i)
                next[i] = static_cast<Sum>(level[i] + shifted[i]);
            std::swap(level, next);
        }
        if ((window & width) == 0)
            continue;
        const Sum* const part = level + offset;
        VEXA_INDEPENDENT
        for (int32_t i = 0; i < n; ++i)
            sums[i] = static_cast<Sum>(sums[i] + part[i]);
        offset += width;
    }
}

// finish(i, sum of window pixels from i on) for all outputs; wide windows are summed in parts.
template <typename Sum, typename Pixel, typename Finish>
[[gnu::always_inline]] inline void sumWindows(const Pixel* source, int32_t count, int32_t window,
                                              Finish finish)
{
    alignas(64) Sum sums[kPiece];
    alignas(64) Sum levels[2][kPiece + kWindowPart];
    for (int32_t start = 0; start < count; start += kPiece) {
        const int32_t n = std::min(kPiece, count - start);
        std::fill_n(sums, n, Sum{0});
        for (int32_t part = 0; part < window; part += kWindowPart)
            addWindows(source + start + part, n, std::min(kWindowPart, window - part), sums, levels[0],
                       levels[1]);
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
    const auto scale = static_cast<Sum>(box.scale);
    const auto weight = static_cast<uint16_t>(box.weight);
    if (weight == 0)
        return sumWindows<Sum>(row, line.count, line.width,
                               [=](int32_t i, Sum sum) { out[i] = scaleSum(sum, scale); });
    const uint8_t* const right = row + line.width - 1;
    sumWindows<Sum>(row + 1, line.count, line.width - 2, [=](int32_t i, Sum sum) {
        out[i] = scaleSum(static_cast<Sum>(sum + weighEnds(row[i], right[i], weight)), scale);
    });
}

// Floats are summed in doubles from the first row to the last, so that no pixel outside a window leaves a trace in it.
inline void boxColumnFloats(const FrameLine& line, void* user)
{
    const auto& box = *static_cast<const BoxParameter*>(user);
    const bool weighted = box.edge != 0.0;
    const int32_t last = line.height - 1;
    alignas(64) double sums[kPiece];
    for (int32_t start = 0; start < line.count; start += kPiece) {
        const int32_t n = std::min(kPiece, line.count - start);
        const auto row = [&](int32_t k) { return static_cast<const float*>(line.rows[k]) + start; };
        std::fill_n(sums, n, 0.0);
        for (int32_t k = weighted; k <= last - weighted; ++k) {
            const float* const pixels = row(k);
            for (int32_t i = 0; i < n; ++i)
                sums[i] += pixels[i];
        }
        auto* const out = static_cast<float*>(line.out) + start;
        const float* const top = row(0);
        const float* const bottom = row(last);
        VEXA_INDEPENDENT
        for (int32_t i = 0; i < n; ++i) {
            const double ends = weighted ? (double{top[i]} + bottom[i]) * box.edge : 0.0;
            out[i] = static_cast<float>((sums[i] + ends) * box.inverse);
        }
    }
}

inline void boxRowFloats(const FrameLine& line, void* user)
{
    const auto& box = *static_cast<const BoxParameter*>(user);
    const auto* const row = static_cast<const float*>(line.rows[0]);
    auto* const out = static_cast<float*>(line.out);
    const double inverse = box.inverse;
    const double edge = box.edge;
    if (edge == 0.0)
        return sumWindows<double>(row, line.count, line.width,
                                  [=](int32_t i, double sum) { out[i] = static_cast<float>(sum * inverse); });
    const float* const right = row + line.width - 1;
    sumWindows<double>(row + 1, line.count, line.width - 2, [=](int32_t i, double sum) {
        out[i] = static_cast<float>((sum + (double{row[i]} + right[i]) * edge) * inverse);
    });
}

inline constexpr BoxFilters kBoxFilters = {
    boxColumnBytes<uint16_t>, boxColumnBytes<uint32_t>, boxColumnBytesAnew, boxColumnFloats,
    boxRowBytes<uint16_t>,    boxRowBytes<uint32_t>,    boxRowFloats};

} // namespace
} // namespace vexa::VEXA_TARGET
