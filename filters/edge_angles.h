// Directions of edges in bins over half a turn, without trigonometry for each pixel.
#ifndef VEXA_FILTERS_EDGE_ANGLES_H
#define VEXA_FILTERS_EDGE_ANGLES_H

#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "support/numbers.h"

namespace vexa
{

// a / b, truncated, not for INT32_MIN / -1: a double is exact enough for that, and divides faster than
// integers do.
inline int32_t truncatedQuotient(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<double>(a) / static_cast<double>(b));
}

// The bin of n, from 0 to 180 degrees, of a difference: linear in the slope within each octant. (0, 0) gives
// 0. The directions of pixels are as good as random: choices without branches.
inline int32_t quickAngle(int32_t dx, int32_t dy, int32_t n)
{
    const int32_t half = n / 2;
    const bool alongX = std::abs(int64_t{dy}) < std::abs(int64_t{dx});
    const int32_t smaller = alongX ? dy : dx;
    const int32_t larger = alongX ? dx : dy;
    if (larger == 0)
        return 0;
    const int32_t slope = truncatedQuotient(wrapMultiply(half, smaller), larger) / 2;
    const int32_t fromHalf = wrapSubtract(half, slope);
    const int32_t nearHalf = fromHalf < 0 ? wrapAdd(wrapSubtract(0, fromHalf), half) : fromHalf;
    const int32_t nearEnds = slope < 0 ? wrapAdd(slope, n) : slope;
    return alongX ? nearHalf : nearEnds;
}

// The angle in degrees that lies in a bin of quickAngle, by two steps of Newton's method, every value rounded
// to float.
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
