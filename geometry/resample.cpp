#include "vexalib/scale.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <limits>
#include <type_traits>

#include "core/pixel_types.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/conversion.h"
#include "vexalib/image.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// Source positions are 16.16 fixed point. They start as such a 32-bit number and are carried in 64 bits, so
// that they go on rising in arrays of more than 32767 elements.
constexpr int32_t kPositionBits = 16;
constexpr int64_t kFractionMask = 0xffff;

// From destination element first on, whose position is given, by a step per element.
struct ResampleWalk {
    int64_t position;
    int64_t step;
    int32_t first;
    double scale;

    // The end of the destination elements that surely lie on source elements below n.
    int32_t reach(int64_t n, int32_t count) const
    {
        const int64_t room = (n << kPositionBits) - position;
        if (position < 0 || step < 1 || room < 1)
            return first;
        return static_cast<int32_t>(std::min<int64_t>(count, first + (room + step - 1) / step));
    }
};

using ResampleRow = void (*)(const uint8_t* source, int32_t n, uint8_t* dest, int32_t count,
                             const ResampleWalk& walk);
struct ResampleModes {
    ResampleRow nearest;
    ResampleRow area;
    ResampleRow linear;
};

struct ResampleRows {
    ResampleModes bytes;
    ResampleModes longs;
    ResampleModes floats;
    void (*blendBytes)(const uint8_t* a, const uint8_t* b, uint8_t* dest, int64_t n, int32_t w);
    void (*blendWords)(const uint8_t* a, const uint8_t* b, uint8_t* dest, int64_t n, int32_t w);
    void (*blendLongs)(const uint8_t* a, const uint8_t* b, uint8_t* dest, int64_t n, int32_t w);
    void (*blendFloats)(const uint8_t* a, const uint8_t* b, uint8_t* dest, int64_t n, double t);
};

} // namespace
} // namespace vexa

#define VEXA_ROWS_FILE "geometry/resample_rows.h"
#include "support/for_each_instruction_set.h"

namespace vexa
{
namespace
{

constexpr int32_t kPlanes = 3;
constexpr double kOne = 65536.0;

// Steps over the destination elements whose source index is negative.
ResampleWalk startWalk(double offset, double scale, int32_t count)
{
    ResampleWalk walk = {truncToInt32(offset * kOne), truncToInt32(kOne / scale), 0, scale};
    if (walk.position >= 0)
        return walk;
    if (walk.step <= 0) {
        walk.first = count;
        return walk;
    }
    const int64_t steps = std::min<int64_t>((-walk.position + walk.step - 1) / walk.step, count);
    walk.first = static_cast<int32_t>(steps);
    walk.position += steps * walk.step;
    return walk;
}

struct Array {
    const void* source;
    int32_t n;
    void* dest;
    int32_t count;
};

template <typename Pixel>
void resample(const Array& array, double offset, double scale, bool interpolate, const ResampleModes& modes)
{
    const auto* source = static_cast<const uint8_t*>(array.source);
    auto* dest = static_cast<uint8_t*>(array.dest);
    ResampleWalk walk = startWalk(offset, scale, array.count);
    if (!interpolate) {
        if constexpr (std::is_floating_point_v<Pixel>)
            walk.position = truncToInt32(static_cast<double>(walk.position) +
                                         scale * static_cast<double>(walk.step) * 0.5);
        else
            walk.position += (kFractionMask + 1) / 2;
        modes.nearest(source, array.n, dest, array.count, walk);
        return;
    }
    if (scale < 1.0) {
        modes.area(source, array.n, dest, array.count, walk);
        return;
    }
    if (offset < 0.0 && walk.first > 0 && walk.position >= 0) {
        const int64_t i = std::min<int64_t>(walk.position >> kPositionBits, array.n - 1);
        std::memcpy(dest + (walk.first - 1) * static_cast<int64_t>(sizeof(Pixel)),
                    source + i * static_cast<int64_t>(sizeof(Pixel)), sizeof(Pixel));
    }
    modes.linear(source, array.n, dest, array.count, walk);
}

template <typename Pixel>
void resampleIntegers(const Array& array, double offset, double scale, bool interpolate,
                      const ResampleModes& modes)
{
    if (scale == 1.0 && offset == 0.0) {
        std::memmove(array.dest, array.source,
                     static_cast<std::size_t>(std::min(array.n, array.count)) * sizeof(Pixel));
        return;
    }
    resample<Pixel>(array, offset, scale, interpolate, modes);
}

// Pixels of any size by copying: nothing behind the end of the source is filled.
void copyNearest(const Array& array, double offset, double scale, int64_t bytes)
{
    const auto* source = static_cast<const uint8_t*>(array.source);
    auto* dest = static_cast<uint8_t*>(array.dest);
    ResampleWalk walk = startWalk((offset * kOne + 0.5) / kOne, scale, array.count);
    const int32_t end = truncToInt32(std::min((array.n - offset) * scale, static_cast<double>(array.count)));
    for (int32_t k = walk.first; k < end; ++k, walk.position += walk.step) {
        const int64_t i = std::clamp<int64_t>(walk.position >> kPositionBits, 0, array.n - 1);
        std::memmove(dest + k * bytes, source + i * bytes, static_cast<std::size_t>(bytes));
    }
}

void resampleAsFloats(const Array& array, double offset, double scale, int32_t type)
{
    Buffer<float> source(array.n);
    Buffer<float> dest(array.count);
    if (malloctest(source ? dest.data() : nullptr, "I_ResampleArrayType"))
        return;
    I_ArrayConvert(array.source, type, source.data(), PIX_FLOAT, array.n);
    I_ArrayConvert(array.dest, type, dest.data(), PIX_FLOAT, array.count);
    I_ResampleArrayFloat(source.data(), array.n, dest.data(), array.count, offset, scale, 1);
    I_ArrayConvert(dest.data(), PIX_FLOAT, array.dest, type, array.count);
}

void resamplePlanes(const Array& array, double offset, double scale, int32_t interp)
{
    const auto* source = static_cast<void* const*>(array.source);
    const auto* dest = static_cast<void* const*>(array.dest);
    for (int32_t plane = 0; plane < kPlanes; ++plane)
        if (source[plane] && dest[plane])
            I_ResampleArrayByte(static_cast<const uint8_t*>(source[plane]), array.n,
                                static_cast<uint8_t*>(dest[plane]), array.count, offset, scale, interp);
}

bool blendsAsBytes(int32_t type)
{
    return type == kTypeOwn || type == PIX_BYTE || type == PIX_PALETTE || type == PIX_BGR32 ||
           type == PIX_RGB32 || I_ImTypeBytes(type) == 3;
}

void blendAsFloats(const void* a, const void* b, void* out, int32_t count, double t, int32_t type)
{
    Buffer<float> first(count);
    Buffer<float> second(count);
    Buffer<float> mixed(count);
    if (malloctest(first && second ? mixed.data() : nullptr, "I_BlendRowsType"))
        return;
    I_ArrayConvert(a, type, first.data(), PIX_FLOAT, count);
    I_ArrayConvert(b, type, second.data(), PIX_FLOAT, count);
    I_BlendRowsType(first.data(), second.data(), mixed.data(), count, t, PIX_FLOAT);
    I_ArrayConvert(mixed.data(), PIX_FLOAT, out, type, count);
}

} // namespace
} // namespace vexa

using namespace vexa;

void I_ResampleArrayByte(const uint8_t* src, int32_t srcCount, uint8_t* dst, int32_t dstCount, double offset,
                         double scale, int32_t interp)
{
    if (srcCount < 1 || dstCount < 1) {
        I_SetError(14, "I_ResampleArrayByte");
        return;
    }
    if (src && dst)
        resampleIntegers<uint8_t>({src, srcCount, dst, dstCount}, offset, scale, interp != 0,
                                  VEXA_ROWS(kResampleRows).bytes);
}

void I_ResampleArrayLong(const int32_t* src, int32_t srcCount, int32_t* dst, int32_t dstCount, double offset,
                         double scale, int32_t interp)
{
    if (srcCount < 1 || dstCount < 1) {
        I_SetError(14, "I_ResampleArraylong");
        return;
    }
    if (src && dst)
        resampleIntegers<int32_t>({src, srcCount, dst, dstCount}, offset, scale, interp != 0,
                                  VEXA_ROWS(kResampleRows).longs);
}

void I_ResampleArrayFloat(const float* src, int32_t srcCount, float* dst, int32_t dstCount, double offset,
                          double scale, int32_t interp)
{
    // Required: unlike the integer forms, a count of 0 is no error.
    if (srcCount < 0 || dstCount < 0) {
        I_SetError(14, "I_ResampleArrayFloat");
        return;
    }
    if (src && dst && srcCount > 0 && dstCount > 0)
        resample<float>({src, srcCount, dst, dstCount}, offset, scale, interp != 0,
                        VEXA_ROWS(kResampleRows).floats);
}

void I_ResampleArrayType(const void* src, int32_t srcCount, void* dst, int32_t dstCount, double offset,
                         double scale, int32_t interp, int32_t pixelType)
{
    if (!src || !dst || srcCount < 1 || dstCount < 2 || scale <= 0.0)
        return;
    const Array array = {src, srcCount, dst, dstCount};
    const int32_t bytes = I_ImTypeBytes(pixelType);
    if (pixelType == kTypeRaw) {
        resamplePlanes(array, offset, scale, interp);
        return;
    }
    if (scale == 1.0 && offset == 0.0) {
        if (src != dst)
            std::memmove(dst, src, static_cast<std::size_t>(int64_t{std::min(srcCount, dstCount)} * bytes));
        return;
    }
    switch (pixelType) {
    case PIX_BYTE:
    case PIX_PALETTE:
    case PIX_PLANAR:
        I_ResampleArrayByte(static_cast<const uint8_t*>(src), saturateToInt32(int64_t{srcCount} * bytes),
                            static_cast<uint8_t*>(dst), saturateToInt32(int64_t{dstCount} * bytes), offset,
                            scale, interp);
        return;
    case PIX_DWORD:
        resampleIntegers<int32_t>(array, offset, scale, interp != 0, VEXA_ROWS(kResampleRows).longs);
        return;
    case PIX_FLOAT:
        resample<float>(array, offset, scale, interp != 0, VEXA_ROWS(kResampleRows).floats);
        return;
    default:
        if (interp && bytes % 2 == 0 && bytes <= 8)
            resampleAsFloats(array, offset, scale, pixelType);
        else
            copyNearest(array, offset, scale, bytes);
    }
}

void I_BlendRowsType(const void* a, const void* b, void* out, int32_t count, double t, int32_t pixelType)
{
    if (!a || !b || !out || count < 1)
        return;
    if (pixelType == kTypeRaw) {
        for (int32_t plane = 0; plane < kPlanes; ++plane)
            I_BlendRowsType(static_cast<void* const*>(a)[plane], static_cast<void* const*>(b)[plane],
                            static_cast<void* const*>(out)[plane], count, t, PIX_BYTE);
        return;
    }
    const int64_t bytes = int64_t{count} * I_ImTypeBytes(pixelType);
    if (t == 1.0 || t == 0.0) {
        std::memmove(out, t == 1.0 ? a : b, static_cast<std::size_t>(bytes));
        return;
    }
    const auto* first = static_cast<const uint8_t*>(a);
    const auto* second = static_cast<const uint8_t*>(b);
    auto* mixed = static_cast<uint8_t*>(out);
    const ResampleRows& rows = VEXA_ROWS(kResampleRows);
    const int32_t w = truncToInt32(t * 256.0);
    if (blendsAsBytes(pixelType))
        rows.blendBytes(first, second, mixed, bytes, w);
    else if (pixelType == PIX_WORD)
        rows.blendWords(first, second, mixed, count, w);
    else if (pixelType == PIX_DWORD)
        rows.blendLongs(first, second, mixed, count, w);
    else if (pixelType == PIX_FLOAT)
        rows.blendFloats(first, second, mixed, count, static_cast<float>(t));
    else
        blendAsFloats(a, b, out, count, t, pixelType);
}
