// Integer arithmetic that never is undefined: conversions as the processor makes them, sums that wrap.
#ifndef VEXA_SUPPORT_NUMBERS_H
#define VEXA_SUPPORT_NUMBERS_H

#include <cstdint>
#include <limits>

namespace vexa
{

// Truncates toward zero. A value that does not fit, or none at all, gives INT32_MIN.
inline int32_t truncToInt32(double x)
{
    return x > -2147483649.0 && x < 2147483648.0 ? static_cast<int32_t>(x)
                                                 : std::numeric_limits<int32_t>::min();
}
inline int32_t truncToInt32(float x)
{
    return x >= -2147483648.0F && x < 2147483648.0F ? static_cast<int32_t>(x)
                                                    : std::numeric_limits<int32_t>::min();
}

// 32-bit sums, differences and products modulo 2 to the 32.
inline int32_t wrapAdd(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
inline int32_t wrapSubtract(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
inline int32_t wrapMultiply(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

// A 64-bit quantity told through a 32-bit argument: the nearest value that fits.
inline int32_t saturateToInt32(int64_t x)
{
    constexpr int64_t low = std::numeric_limits<int32_t>::min();
    constexpr int64_t high = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(x < low ? low : x > high ? high : x);
}

} // namespace vexa

#endif
