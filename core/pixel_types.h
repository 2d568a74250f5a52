// What is known of each pixel type.
#ifndef VEXA_CORE_PIXEL_TYPES_H
#define VEXA_CORE_PIXEL_TYPES_H

#include <cstdint>
#include <type_traits>

#include "vexalib/types.h"

namespace vexa
{

// Codes that are no type of an image.
inline constexpr int32_t kTypeOwn = 0;    // the image's own type
inline constexpr int32_t kTypeSByte = 8;  // signed bytes, in conversions only
inline constexpr int32_t kTypeRGB15 = 14; // a 15-bit layout known to the colour conversion only
inline constexpr int32_t kTypeRaw = 25;   // block calls: no conversion, past the direct memory path

struct PixelTypeFacts {
    int32_t type;
    int32_t bytes;
    const char* name;
};

// The types that listings name; every other code is "user" there.
inline constexpr PixelTypeFacts kPixelTypes[] = {
    {0, 1, ""},
    {PIX_BYTE, 1, "byt"},
    {PIX_WORD, 2, "wrd"},
    {PIX_DWORD, 4, "DWord"},
    {PIX_FLOAT, 4, "float"},
    {PIX_DFLOAT, 8, "Dfloat"},
    {PIX_COMPLEX, 8, "cplx"},
    {PIX_DCOMPLEX, 16, "Dcplx"},
    {PIX_PALETTE, 1, "Palette"},
    {PIX_BGR15, 2, "BGR-15bit"},
    {PIX_BGR16, 2, "BGR-16bit"},
    {PIX_BGR24, 3, "BGR-24bit"},
    {PIX_RGB24, 3, "RGB-24bit"},
    {PIX_BGR32, 4, "BGR-32bit"},
    {PIX_RGB32, 4, "RGB-32bit"},
    {PIX_PLANAR, 3, "PLANAR"},
};

constexpr bool isColorType(int32_t type)
{
    return type >= PIX_PALETTE;
}
constexpr bool isFloatType(int32_t type)
{
    return type >= PIX_FLOAT && type <= 11;
}

// A pixel of PIX_COMPLEX.
struct ComplexPixel {
    float re;
    float im;
};

// The C++ type of a pixel, its code, and the type that arithmetic on it is done in.
template <typename Pixel>
inline constexpr int32_t kPixelType = 0;
template <>
inline constexpr int32_t kPixelType<uint8_t> = PIX_BYTE;
template <>
inline constexpr int32_t kPixelType<uint16_t> = PIX_WORD;
template <>
inline constexpr int32_t kPixelType<int32_t> = PIX_DWORD;
template <>
inline constexpr int32_t kPixelType<float> = PIX_FLOAT;
template <>
inline constexpr int32_t kPixelType<double> = PIX_DFLOAT;
template <>
inline constexpr int32_t kPixelType<ComplexPixel> = PIX_COMPLEX;

template <typename Pixel>
using Wide = std::conditional_t<std::is_floating_point_v<Pixel>, Pixel, int32_t>;

} // namespace vexa

#endif
