// Smoothing of one-dimensional arrays.
#include <algorithm>
#include <cstring>

#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/smoothing.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

int32_t limitWidth(int32_t width, int32_t count)
{
    return std::min(width, count / 2 - 1);
}

// A window of width elements around each, from reachLeft before it on; the array's ends are repeated.
void averageFloats(const float* a, float* out, int32_t count, int32_t width)
{
    const int32_t reachLeft = width / 2;
    const int32_t reachRight = width - reachLeft - 1;
    float sum = static_cast<float>(reachLeft) * a[0];
    for (int32_t i = 0; i < reachRight; ++i)
        sum += a[i];
    for (int32_t i = 0; i < count; ++i) {
        sum += a[std::min(i + reachRight, count - 1)];
        out[i] = sum / static_cast<float>(width);
        sum -= a[std::max(i - reachLeft, 0)];
    }
}

void weighFloats(const float* a, float* out, int32_t count)
{
    out[0] = (a[0] + a[1]) * 0.5F;
    for (int32_t i = 1; i + 1 < count; ++i)
        out[i] = ((a[i - 1] + a[i + 1]) * 0.5F + a[i]) * 0.5F;
    out[count - 1] = (a[count - 2] + a[count - 1]) * 0.5F;
}

// The sum of the first n elements of an array whose last one is repeated, modulo 2 to the 32.
int32_t sumOfFirst(const int32_t* a, int32_t count, int32_t n)
{
    int32_t sum = 0;
    for (int32_t i = 0; i < std::min(n, count); ++i)
        sum = wrapAdd(sum, a[i]);
    return n > count ? wrapAdd(sum, wrapMultiply(n - count, a[count - 1])) : sum;
}

// Required: the reach is that of the width as given, the divisor is the limited one.
void averageLongs(const int32_t* a, int32_t* out, int32_t count, int32_t given, int32_t width)
{
    const int32_t reachLeft = given / 2;
    const int32_t reachRight = given - reachLeft - 1;
    int32_t sum = wrapAdd(wrapMultiply(reachLeft, a[0]), sumOfFirst(a, count, reachRight));
    int32_t carry = 0;
    for (int32_t i = 0; i < count; ++i) {
        sum = wrapAdd(sum, a[std::min<int64_t>(int64_t{i} + reachRight, count - 1)]);
        out[i] = wrapAdd(wrapAdd(carry, sum), reachLeft) / width;
        carry = wrapAdd(carry, wrapSubtract(sum, wrapMultiply(out[i], width)));
        sum = wrapSubtract(sum, a[std::max(i - reachLeft, 0)]);
    }
}

void weighLongs(const int32_t* a, int32_t* out, int32_t count)
{
    const auto end = [](int32_t x, int32_t next) { return wrapAdd(wrapMultiply(3, x), next) / 4; };
    out[0] = end(a[0], a[1]);
    for (int32_t i = 1; i + 1 < count; ++i) {
        const int32_t sides = wrapAdd(wrapAdd(a[i - 1], a[i + 1]), 1) / 2;
        out[i] = wrapAdd(wrapAdd(sides, a[i]), 1) / 2;
    }
    out[count - 1] = end(a[count - 1], a[count - 2]);
}

// Smooths an array of smaller integers by way of 32 bits.
template <typename Element>
int32_t smoothAsLongs(Element* array, int32_t count, int32_t width)
{
    if (!array)
        return 0;
    if (count < 1)
        return 1;
    Buffer<int32_t> longs(count);
    if (malloctest(longs.data(), ""))
        return 0;
    std::copy_n(array, count, longs.data());
    if (!I_SmoothArrayLong(longs.data(), count, width))
        return 0;
    std::transform(longs.begin(), longs.end(), array, [](int32_t x) { return static_cast<Element>(x); });
    return 1;
}

} // namespace
} // namespace vexa

int32_t I_SmoothArrayFloat(float* array, int32_t count, int32_t width)
{
    if (!array)
        return 0;
    const int32_t limited = vexa::limitWidth(width, count);
    if (limited < 1)
        return 1;
    vexa::Buffer<float> smoothed(count);
    if (malloctest(smoothed.data(), "arraysmooth"))
        return 0;
    if (limited == 2)
        vexa::weighFloats(array, smoothed.data(), count);
    else
        vexa::averageFloats(array, smoothed.data(), count, limited);
    std::copy(smoothed.begin(), smoothed.end(), array);
    return 1;
}

int32_t I_SmoothArrayLong(int32_t* array, int32_t count, int32_t width)
{
    if (!array)
        return 0;
    const int32_t limited = vexa::limitWidth(width, count);
    if (limited < 1)
        return 1;
    vexa::Buffer<int32_t> smoothed(count);
    if (malloctest(smoothed.data(), "arraysmooth"))
        return 0;
    if (limited == 2)
        vexa::weighLongs(array, smoothed.data(), count);
    else
        vexa::averageLongs(array, smoothed.data(), count, width, limited);
    std::copy(smoothed.begin(), smoothed.end(), array);
    return 1;
}

int32_t I_SmoothArrayShort(int16_t* array, int32_t count, int32_t width)
{
    return vexa::smoothAsLongs(array, count, vexa::limitWidth(width, count));
}

int32_t I_SmoothArrayByte(uint8_t* array, int32_t count, int32_t width)
{
    return vexa::smoothAsLongs(array, count, width);
}
