// The four-tap filter of shifts by fractions of a pixel. Compiled once per instruction set, hence no include guard.

#include "filters/set_vectors.h"
#include "operators/row_loops.h"

namespace vexa::VEXA_TARGET
{
namespace
{

#if VEXA_HAS_X86_SETS

// Two weights as a vector of pairs of 16-bit numbers.
inline Set::Vector spreadPair(uint32_t first, uint32_t second)
{
    return Set::spread(static_cast<int32_t>((first & 0xFFFFU) | second << 16));
}

// Weights of 16 bits each: two samples are weighed and added at a time. Returns how many outputs are done. Sums of such
// weights stay far inside 16 bits once they have lost their fraction, so that packing limits them as it should.
inline int64_t weighPairs(const Taps<uint8_t>& taps, uint8_t* out, int64_t n, const TapWeights& weights)
{
    using Vector = Set::Vector;
    const auto [w0, w1, w2, w3] = weights.integers;
    const Vector before = spreadPair(w0, w1), behind = spreadPair(w2, w3);
    const Vector half = Set::spread(1024), zero = Set::zero();
    const auto sums = [&](Vector ab, Vector cd) {
        return Set::shiftRight32<11>(Set::addWords(Set::addWords(half, ab, before), cd, behind));
    };
    const auto words = [&](Vector ab, Vector cd) {
        return Set::pack32(sums(Set::joinLow8(ab, zero), Set::joinLow8(cd, zero)),
                           sums(Set::joinHigh8(ab, zero), Set::joinHigh8(cd, zero)));
    };
    constexpr auto kBytes = static_cast<int64_t>(sizeof(Vector));
    int64_t i = 0;
    for (; i + kBytes <= n; i += kBytes) {
        const Vector a = Set::load(taps[0] + i), b = Set::load(taps[1] + i);
        const Vector c = Set::load(taps[2] + i), d = Set::load(taps[3] + i);
        const Vector bytes = Set::pack16(words(Set::joinLow8(a, b), Set::joinLow8(c, d)),
                                         words(Set::joinHigh8(a, b), Set::joinHigh8(c, d)));
        std::memcpy(out + i, &bytes, sizeof bytes);
    }
    return i;
}

inline bool areNarrow(const std::array<uint32_t, 4>& weights)
{
    return std::all_of(weights.begin(), weights.end(),
                       [](uint32_t w) { return static_cast<int32_t>(w) == static_cast<int16_t>(w); });
}

#endif

// The sum of the weighted samples, rounded from 11 fractional bits and limited to bytes. Weights that no sharpness
// from 0 to 1 makes may let the sum wrap.
inline void weighBytes(const Taps<uint8_t>& taps, uint8_t* out, int64_t n, const TapWeights& weights)
{
    const auto [w0, w1, w2, w3] = weights.integers;
    int64_t first = 0;
#if VEXA_HAS_X86_SETS
    if (areNarrow(weights.integers))
        first = weighPairs(taps, out, n, weights);
#endif
    const auto [a, b, c, d] = taps;
    VEXA_INDEPENDENT
    for (int64_t i = first; i < n; ++i) {
        const uint32_t sum = w0 * a[i] + w1 * b[i] + w2 * c[i] + w3 * d[i] + 1024U;
        const int32_t rounded = static_cast<int32_t>(sum) >> 11;
        out[i] = static_cast<uint8_t>(std::clamp(rounded, 0, 255));
    }
}

inline void weighFloats(const Taps<float>& taps, float* out, int64_t n, const TapWeights& weights)
{
    const auto [w0, w1, w2, w3] = weights.floats;
    const auto [a, b, c, d] = taps;
    VEXA_INDEPENDENT
    for (int64_t i = 0; i < n; ++i)
        out[i] =
            static_cast<float>(double{w0} * a[i] + double{w1} * b[i] + double{w2} * c[i] + double{w3} * d[i]);
}

inline constexpr TapRows kTapRows = {weighBytes, weighFloats};

} // namespace
} // namespace vexa::VEXA_TARGET
