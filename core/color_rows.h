// Rows of packed colour pixels to planes and back. Compiled once per instruction set, hence no include guard.

#include "core/convert_row.h"

namespace vexa::VEXA_TARGET
{

// Bytes of a pixel; the vectoriser knows the step.
template <int32_t Step>
struct PixelBytes {
    uint8_t byte[Step];
};

// plane[i] = byte `at` of packed pixel i.
template <int32_t Step>
inline void takeByte(const void* packed, uint8_t* plane, int32_t n, int32_t at)
{
    convertRow<PixelBytes<Step>, uint8_t>(packed, plane, n, [at](PixelBytes<Step> p) { return p.byte[at]; });
}

// Byte `at` of packed pixel i = plane[i]; the pixel's other bytes stay.
template <int32_t Step>
inline void putByte(const uint8_t* plane, void* packed, int32_t n, int32_t at)
{
    auto* out = static_cast<uint8_t*>(packed) + at;
    for (int32_t i = 0; i < n; ++i)
        out[int64_t{Step} * i] = plane[i];
}

inline void takeBits(const void* packed, uint8_t* plane, int32_t n, int32_t lowestBit, int32_t bits)
{
    const int32_t mask = (1 << bits) - 1;
    const int32_t up = 8 - bits;
    convertRow<uint16_t, uint8_t>(packed, plane, n,
                                  [=](uint16_t p) { return (p >> lowestBit & mask) << up; });
}

inline void putBits(const uint8_t* plane, void* packed, int32_t n, int32_t lowestBit, int32_t bits)
{
    const int32_t mask = ((1 << bits) - 1) << lowestBit;
    const int32_t down = 8 - bits;
    auto* out = static_cast<uint8_t*>(packed);
    for (int32_t i = 0; i < n; ++i) {
        const int32_t others = loadPixel<uint16_t>(out, i) & ~mask;
        storePixel<uint16_t>(out, i, static_cast<uint16_t>(others | plane[i] >> down << lowestBit));
    }
}

// The mean of three bytes, truncated: 21846 / 65536 is a third, exact enough for sums up to 765.
inline uint8_t meanOfThree(uint32_t a, uint32_t b, uint32_t c)
{
    return static_cast<uint8_t>((a + b + c) * 21846 >> 16);
}

inline void meanOfPacked(const void* packed, uint8_t* grey, int32_t n)
{
    convertRow<PixelBytes<3>, uint8_t>(
        packed, grey, n, [](PixelBytes<3> p) { return meanOfThree(p.byte[0], p.byte[1], p.byte[2]); });
}

inline void meanOfPlanes(const uint8_t* red, const uint8_t* green, const uint8_t* blue, uint8_t* grey,
                         int32_t n)
{
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i)
        grey[i] = meanOfThree(red[i], green[i], blue[i]);
}

inline void weightedPlanes(const uint8_t* red, const uint8_t* green, const uint8_t* blue, uint8_t* grey,
                           int32_t n)
{
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i)
        grey[i] = weightedGrey(red[i], green[i], blue[i]);
}

inline constexpr ColorRows kColorRows = {
    .takeByte = {takeByte<3>, takeByte<4>},
    .putByte = {putByte<3>, putByte<4>},
    .takeBits = takeBits,
    .putBits = putBits,
    .meanOfPacked = meanOfPacked,
    .meanOfPlanes = meanOfPlanes,
    .weightedPlanes = weightedPlanes,
};

} // namespace vexa::VEXA_TARGET
