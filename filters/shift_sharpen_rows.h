// The four-tap filter of shifts by fractions of a pixel. Compiled once per instruction set, hence no include guard.

#include "operators/row_loops.h"

namespace vexa::VEXA_TARGET
{
namespace
{

// The sum of the weighted samples, rounded from 11 fractional bits and limited to bytes. Weights that no sharpness
// from 0 to 1 makes may let the sum wrap.
inline void weighBytes(const Taps<uint8_t>& taps, uint8_t* out, int64_t n, const TapWeights& weights)
{
    const auto [w0, w1, w2, w3] = weights.integers;
    const auto [a, b, c, d] = taps;
    VEXA_INDEPENDENT
    for (int64_t i = 0; i < n; ++i) {
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
