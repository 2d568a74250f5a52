// Row functions of the edge operators. Compiled once per instruction set, hence no include guard.

#include "operators/row_loops.h"

namespace vexa::VEXA_TARGET
{
namespace
{

inline uint8_t distance(uint8_t a, uint8_t b)
{
    return static_cast<uint8_t>(std::max(a, b) - std::min(a, b));
}
inline int16_t magnitude(int16_t x)
{
    return static_cast<int16_t>(x < 0 ? -x : x);
}

// The largest difference of the centre to its eight neighbours: to the largest or to the smallest of the
// nine.
inline void edgeRow(const FrameLine& line, void*)
{
    const Lattice<uint8_t> at = latticeOf<uint8_t>(line);
    auto* out = static_cast<uint8_t*>(line.out);
    forPieces<uint8_t>(line, [=](int32_t start, int32_t n) {
        VEXA_INDEPENDENT
        for (int32_t i = start; i < start + n; ++i) {
            uint8_t low = at.center[i];
            uint8_t high = low;
            for (const uint8_t* sample : {at.nw, at.n, at.ne, at.w, at.e, at.sw, at.s, at.se}) {
                low = std::min(low, sample[i]);
                high = std::max(high, sample[i]);
            }
            out[i] =
                std::max(static_cast<uint8_t>(high - at.center[i]), static_cast<uint8_t>(at.center[i] - low));
        }
    });
}

// Of neighbourhoods that are less than three wide or high: against the three samples above and to the left.
inline void smallEdgeRow(const FrameLine& line, void*)
{
    const Lattice<uint8_t> at = latticeOf<uint8_t>(line);
    auto* out = static_cast<uint8_t*>(line.out);
    forPieces<uint8_t>(line, [=](int32_t start, int32_t n) {
        VEXA_INDEPENDENT
        for (int32_t i = start; i < start + n; ++i) {
            const uint8_t center = at.center[i];
            out[i] =
                std::max({distance(center, at.nw[i]), distance(center, at.n[i]), distance(center, at.w[i])});
        }
    });
}

// One pass over bytes: no sum leaves 16 bits.
inline void sobelByteRow(const FrameLine& line, void*)
{
    const Lattice<uint8_t> at = latticeOf<uint8_t>(line);
    auto* out = static_cast<uint8_t*>(line.out);
    forPieces<uint8_t>(line, [=](int32_t start, int32_t n) {
        VEXA_INDEPENDENT
        for (int32_t i = start; i < start + n; ++i) {
            const auto falling = static_cast<int16_t>(at.nw[i] - at.se[i]);
            const auto rising = static_cast<int16_t>(at.sw[i] - at.ne[i]);
            const auto gx = static_cast<int16_t>(2 * (at.w[i] - at.e[i]) + falling + rising);
            const auto gy = static_cast<int16_t>(2 * (at.n[i] - at.s[i]) + falling - rising);
            const auto sum = static_cast<int16_t>(magnitude(gx) + magnitude(gy));
            out[i] = static_cast<uint8_t>(std::min<int16_t>(sum, 255));
        }
    });
}

// The sum is not stored above the float range, whose top is 0 for a destination of floats.
inline void sobelFloatRow(const FrameLine& line, void*)
{
    const Lattice<float> at = latticeOf<float>(line);
    auto* out = static_cast<float*>(line.out);
    const float top = clipLimits().high; // Required: also where 0 stands for no limit.
    const int32_t n = line.count;
    for (int32_t i = 0; i < n; ++i) {
        const double nw = at.nw[i];
        const double ne = at.ne[i];
        const double sw = at.sw[i];
        const double se = at.se[i];
        const double gx = 2.0 * at.w[i] - 2.0 * at.e[i] + nw + sw - ne - se;
        const double gy = 2.0 * at.n[i] - 2.0 * at.s[i] + ne + nw - se - sw;
        const int32_t x = truncToInt32(static_cast<float>(gx));
        const int32_t y = truncToInt32(static_cast<float>(gy));
        const auto sum =
            static_cast<float>(wrapAdd(x < 0 ? wrapSubtract(0, x) : x, y < 0 ? wrapSubtract(0, y) : y));
        out[i] = sum > top ? top : sum;
    }
}

// Half of the byte form each, without a limit: a magnitude above 255 wraps.
inline void verticalGradientRow(const FrameLine& line, void*)
{
    const Lattice<uint8_t> at = latticeOf<uint8_t>(line);
    auto* out = static_cast<uint8_t*>(line.out);
    forPieces<uint8_t>(line, [=](int32_t start, int32_t n) {
        VEXA_INDEPENDENT
        for (int32_t i = start; i < start + n; ++i) {
            const auto sides = static_cast<int16_t>(at.nw[i] + at.ne[i] - at.sw[i] - at.se[i]);
            out[i] = static_cast<uint8_t>(magnitude(static_cast<int16_t>(2 * (at.n[i] - at.s[i]) + sides)));
        }
    });
}
inline void horizontalGradientRow(const FrameLine& line, void*)
{
    const Lattice<uint8_t> at = latticeOf<uint8_t>(line);
    auto* out = static_cast<uint8_t*>(line.out);
    forPieces<uint8_t>(line, [=](int32_t start, int32_t n) {
        VEXA_INDEPENDENT
        for (int32_t i = start; i < start + n; ++i) {
            const auto sides = static_cast<int16_t>(at.nw[i] + at.sw[i] - at.ne[i] - at.se[i]);
            out[i] = static_cast<uint8_t>(magnitude(static_cast<int16_t>(2 * (at.w[i] - at.e[i]) + sides)));
        }
    });
}

// The remainder of x by a spacing from 2 to 256, whose reciprocal is 65536 / spacing + 1: the quotient's
// error stays below 255 * 255 / 65536 of a step, so it is exact for each byte.
struct ByteRemainder {
    uint16_t spacing;
    uint16_t reciprocal;
    uint16_t mask; // 0 for a spacing of 1

    uint16_t of(uint8_t x) const
    {
        const auto quotient = static_cast<uint16_t>((uint32_t{x} * reciprocal) >> 16);
        return static_cast<uint16_t>((x - quotient * spacing) & mask);
    }
};

inline ByteRemainder byteRemainder(int32_t spacing)
{
    // The remainder has the sign of the pixel; a byte is below every larger spacing.
    const auto size = static_cast<uint16_t>(std::min<int64_t>(std::abs(int64_t{spacing}), 256));
    if (size == 1)
        return {0, 0, 0};
    return {size, static_cast<uint16_t>(65536 / size + 1), 0xFFFF};
}

// user: a ContourParameter.
inline void contourRow(const FrameLine& line, void* user)
{
    const Lattice<uint8_t> at = latticeOf<uint8_t>(line);
    const auto& parameter = *static_cast<const ContourParameter*>(user);
    const ByteRemainder remainder = byteRemainder(parameter.spacing);
    const auto keep = static_cast<uint8_t>(parameter.mark < 0 ? 0xFF : 0);
    const auto mark = static_cast<uint8_t>(parameter.mark < 0 ? 0x80 : parameter.mark);
    auto* out = static_cast<uint8_t*>(line.out);
    forPieces<uint8_t>(line, [=](int32_t start, int32_t n) {
        VEXA_INDEPENDENT
        for (int32_t i = start; i < start + n; ++i) {
            const uint8_t center = at.center[i];
            const uint8_t high = std::max(std::max(at.n[i], at.w[i]), std::max(at.e[i], at.s[i]));
            const bool passed = (center < high) & (remainder.of(center) >= remainder.of(high));
            out[i] = passed ? static_cast<uint8_t>((center & keep) ^ mark) : center;
        }
    });
}

// isqrt of a sum of two squares of differences of bytes. From 65536 to 131071 isqrt is its table at the 128th
// part, times its table at 128, which is 11.
inline int32_t rootOfSquares(int32_t square)
{
    const bool large = square > 65535;
    const auto root =
        static_cast<int32_t>(std::sqrt(static_cast<float>(large ? square >> 7 : square)) + 0.5F);
    return std::min(root, 255) * (large ? 11 : 1);
}

// The magnitudes of n pixels of a row from their differences to the pixels below and STEP columns to the
// right.
inline void magnitudesRow(const uint8_t* row, const uint8_t* below, int32_t step, int32_t n, int32_t* sizes)
{
    const uint8_t* const beside = row + step;
    VEXA_INDEPENDENT
    for (int32_t x = 0; x < n; ++x) {
        const int32_t a = row[x] - below[x];
        const int32_t b = row[x] - beside[x];
        sizes[x] = rootOfSquares(a * a + b * b);
    }
}

// Adds up the magnitudes from STRONG on.
inline void addStrongRow(const int32_t* sizes, int32_t n, int32_t strong, int64_t* total, int32_t* count)
{
    int32_t sum = 0;
    int32_t number = 0;
    for (int32_t x = 0; x < n; ++x) {
        sum += sizes[x] >= strong ? sizes[x] : 0;
        number += sizes[x] >= strong;
    }
    *total += sum;
    *count += number;
}

inline void storeGentleRow(const int32_t* sizes, int32_t n, int32_t strong, uint8_t* out)
{
    VEXA_INDEPENDENT
    for (int32_t x = 0; x < n; ++x)
        out[x] = static_cast<uint8_t>(sizes[x] >= strong ? 0 : sizes[x]);
}

inline constexpr NinePointFilter kSobel = {sobelByteRow, sobelFloatRow};

} // namespace
} // namespace vexa::VEXA_TARGET
