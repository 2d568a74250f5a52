// Directions of edges in bins over half a turn, without trigonometry for each pixel.
#ifndef VEXA_FILTERS_EDGE_ANGLES_H
#define VEXA_FILTERS_EDGE_ANGLES_H

#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "support/numbers.h"

namespace vexa
{

// The bin of n, from 0 to 180 degrees, of a difference: linear in the slope within each octant. (0, 0) gives 0.
inline int32_t quickAngle(int32_t dx, int32_t dy, int32_t n)
{
    const int32_t half = n / 2;
    if (std::abs(int64_t{dy}) < std::abs(int64_t{dx})) {
        const int32_t bin =
            wrapSubtract(half, static_cast<int32_t>(wrapMultiply(half, dy) / int64_t{dx}) / 2);
        return bin < 0 ? wrapAdd(wrapSubtract(0, bin), half) : bin;
    }
    if (dy == 0)
        return 0;
    const auto bin = static_cast<int32_t>(wrapMultiply(half, dx) / int64_t{dy} / 2);
    return bin < 0 ? wrapAdd(bin, n) : bin;
}

// The angle in degrees that lies in a bin of quickAngle, by two steps of Newton's method, every value rounded to float.
inline float angleFromBin(float bin, int32_t n)
{
    constexpr double kRadian = 0.017453292519943295;
    const auto bins = static_cast<float>(n);
    const auto forward = [=](float degrees) {
        const auto angle = static_cast<float>(static_cast<double>(degrees) * kRadian);
        const auto x = static_cast<float>(std::sin(static_cast<double>(angle))) * 500.0F;
        const auto y = static_cast<float>(std::cos(static_cast<double>(angle))) * 500.0F;
        return static_cast<float>(quickAngle(truncToInt32(x), truncToInt32(y), n)) * 180.0F / bins;
    };
    const float angle = bin * 180.0F / bins;
    // At these angles the bins are exact.
    if (std::abs(angle) < 1.0F || std::abs(angle - 90.0F) < 1.0F || std::abs(angle - 180.0F) < 1.0F)
        return angle;
    const float error = angle - forward(angle);
    return (angle - forward(error + angle) + error) + angle;
}

} // namespace vexa

#endif
