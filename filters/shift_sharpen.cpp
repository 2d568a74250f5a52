// Shifts by fractions of a pixel with a filter of four taps.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>

#include "core/image_memory.h"
#include "core/image_table.h"
#include "core/pixel_types.h"
#include "operators/row_frames.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/arithmetic.h"
#include "vexalib/block.h"
#include "vexalib/conversion.h"
#include "vexalib/numeric.h"
#include "vexalib/roi.h"
#include "vexalib/smoothing.h"
#include "vexalib/status.h"
#include "vexalib/threshold.h"

namespace vexa
{
namespace
{

// The weights of the samples at -1, 0, 1 and 2: as floats, and in units of 1/2048, modulo 2 to the 32.
struct TapWeights {
    std::array<float, 4> floats;
    std::array<uint32_t, 4> integers;

    TapWeights(float shift, float s);
};

// Where the samples at -1, 0, 1 and 2 of the first output stand.
template <typename Sample>
using Taps = std::array<const Sample*, 4>;

struct TapRows {
    void (*bytes)(const Taps<uint8_t>& taps, uint8_t* out, int64_t n, const TapWeights& weights);
    void (*floats)(const Taps<float>& taps, float* out, int64_t n, const TapWeights& weights);
};

} // namespace
} // namespace vexa

#define VEXA_ROWS_FILE "filters/shift_sharpen_rows.h"
#include "support/for_each_instruction_set.h"

namespace vexa
{
namespace
{

TapWeights::TapWeights(float shift, float s)
{
    const float t = shift - std::floor(shift);
    const float a = t * s;
    const float q = t * t * s;
    if (t <= 0.5F) {
        floats = {(q - a) * 0.5F, a - 1.5F * q - t + 1.0F, t + 1.5F * q - 0.5F * a, -0.5F * q};
    } else {
        const float b = 0.5F * s;
        floats = {a - 0.5F * q - b, s + (1.5F * q - 2.5F * a - t) + 1.0F, t + 2.0F * a - 1.5F * q - b,
                  0.5F * q - 0.5F * a};
    }
    for (std::size_t i = 0; i < 4; ++i)
        integers[i] = static_cast<uint32_t>(truncToInt32(floats[i] * 2048.0F));
}

// A block of samples, of which a pixel has one or more side by side.
struct BlockSize {
    int64_t samples; // of a pixel
    int64_t width;
    int64_t height;

    int64_t rowSamples() const { return width * samples; }
    int64_t all() const { return rowSamples() * height; }
};

void weigh(const Taps<uint8_t>& taps, uint8_t* out, int64_t n, const TapWeights& weights)
{
    VEXA_ROWS(kTapRows).bytes(taps, out, n, weights);
}
void weigh(const Taps<float>& taps, float* out, int64_t n, const TapWeights& weights)
{
    VEXA_ROWS(kTapRows).floats(taps, out, n, weights);
}

// The samples around place i of a line of so many places; those beyond its ends are the samples at its ends.
template <typename Sample>
Taps<Sample> tapsAt(const Sample* line, int64_t i, int64_t places, int64_t step)
{
    const auto at = [=](int64_t k) { return line + std::clamp<int64_t>(k, 0, places - 1) * step; };
    return {at(i - 1), at(i), at(i + 1), at(i + 2)};
}

template <typename Sample>
void shiftRows(const Sample* in, Sample* out, const BlockSize& size, const TapWeights& weights)
{
    const int64_t step = size.samples;
    for (int64_t y = 0; y < size.height; ++y, in += size.rowSamples(), out += size.rowSamples()) {
        const auto weighPixels = [&](int64_t x, int64_t pixels) {
            weigh(tapsAt(in, x, size.width, step), out + x * step, pixels * step, weights);
        };
        weighPixels(0, 1);
        if (size.width > 3)
            weighPixels(1, size.width - 3);
        for (int64_t x = std::max<int64_t>(size.width - 2, 1); x < size.width; ++x)
            weighPixels(x, 1);
    }
}

template <typename Sample>
void shiftColumns(const Sample* in, Sample* out, const BlockSize& size, const TapWeights& weights)
{
    const int64_t step = size.rowSamples();
    for (int64_t y = 0; y < size.height; ++y)
        weigh(tapsAt(in, y, size.height, step), out + y * step, step, weights);
}

// What the two passes do; an axis without a shift is copied.
struct ShiftPlan {
    bool rows;
    bool columns;
    TapWeights x;
    TapWeights y;
};

template <typename Sample>
void shiftBlock(const Sample* in, Sample* scratch, Sample* out, const BlockSize& size, const ShiftPlan& plan)
{
    const auto bytes = static_cast<std::size_t>(size.all()) * sizeof(Sample);
    if (plan.rows)
        shiftRows(in, scratch, size, plan.x);
    else
        std::memcpy(scratch, in, bytes);
    if (plan.columns)
        shiftColumns(scratch, out, size, plan.y);
    else
        std::memcpy(out, scratch, bytes);
}

bool shiftsBytes(float offset, int64_t pixels)
{
    return !(std::fabs(offset) <= 0.005F) && pixels >= 2;
}
bool shiftsFloats(float offset, int64_t pixels)
{
    return offset != 0.0F && pixels >= 2;
}

int32_t shiftFloats(const void* in, void* scratch, void* out, const BlockSize& size, const ShiftPlan& plan,
                    int32_t type)
{
    auto* const floats = static_cast<float*>(scratch);
    if (type == PIX_FLOAT) {
        shiftBlock(static_cast<const float*>(in), floats, static_cast<float*>(out), size, plan);
        return 1;
    }
    const int32_t pixels = saturateToInt32(size.all());
    auto* const converted = static_cast<float*>(I_DupArrayType(in, type, PIX_FLOAT, pixels));
    if (!converted)
        return 0;
    shiftBlock(converted, floats, converted, size, plan);
    I_ArrayConvert(converted, PIX_FLOAT, out, type, pixels);
    vexaFree(converted);
    return 1;
}

// A shift to the right of a single row, made one to the left by moving the result. False: nothing is left of the row.
bool moveResult(const void* in, uint8_t*& out, int64_t& width, float& dx, int64_t pixelBytes)
{
    const float whole = std::floor(dx);
    const double moved = -double{whole};
    if (moved > static_cast<double>(width))
        return false;
    const auto pixels = static_cast<int64_t>(moved);
    out += pixels * pixelBytes;
    // Required: of the pixels in front of the result only the last one is filled.
    std::memcpy(out - pixelBytes, in, static_cast<std::size_t>(pixelBytes));
    dx -= whole;
    width -= pixels;
    return width > 0;
}

} // namespace
} // namespace vexa

int32_t I_ShiftSharpenArray(const void* in, void* out, int32_t width, int32_t height, float dx, float dy,
                            float sharpness, int32_t type)
{
    using namespace vexa;
    if (!in || !out)
        return 0;
    if (width < 1 || height < 1)
        return 1;
    if (dy < 0.0F || (dx < 0.0F && height > 1)) {
        I_PostMessage("I_ShiftSharpenArray: Negative shift not supported. dx=%.1f dy=%.1f",
                      static_cast<double>(dx), static_cast<double>(dy));
        return 0;
    }
    const int64_t pixelBytes = I_ImTypeBytes(type);
    auto* result = static_cast<uint8_t*>(out);
    int64_t cols = width;
    if (dx < 0.0F && !moveResult(in, result, cols, dx, pixelBytes))
        return 1;
    const bool bytes = type == PIX_BYTE || type > PIX_PALETTE;
    const BlockSize size = {bytes ? pixelBytes : 1, cols, height};
    const int64_t scratchBytes =
        size.width * size.height * (bytes ? pixelBytes : std::max<int64_t>(pixelBytes, 4));
    Buffer<uint8_t> scratch(scratchBytes);
    if (malloctest(scratch.data(), "I_ShiftSharpenArray %d bytes", saturateToInt32(scratchBytes)))
        return 0;
    const auto shifts = bytes ? shiftsBytes : shiftsFloats;
    const ShiftPlan plan = {shifts(dx, size.width), shifts(dy, size.height), TapWeights(dx, sharpness),
                            TapWeights(dy, sharpness)};
    if (!bytes)
        return shiftFloats(in, scratch.data(), result, size, plan, type);
    shiftBlock(static_cast<const uint8_t*>(in), scratch.data(), result, size, plan);
    return 1;
}

namespace vexa
{
namespace
{

// One axis of a shift.
struct Offset {
    int32_t whole;
    float fraction;

    explicit Offset(float offset) : whole(truncToInt32(std::floor(offset)))
    {
        fraction = offset - static_cast<float>(whole);
        if (fraction < 0.01F || fraction > 0.99F) {
            whole = Rnd(offset);
            fraction = 0.0F;
        }
    }
    // How many columns or rows the samples at 0 and 1 may lie beyond the near and the far end of the source.
    int32_t nearReach() const { return truncToInt32(fraction + 0.2F); }
    int32_t farReach() const { return truncToInt32(fraction + 0.8F); }
};

// One axis of the box to be filled, limited to what has a source.
struct Span {
    int64_t first;
    int64_t last;

    Span(int32_t low, int32_t high, const Offset& offset, int32_t sourceSize)
        : first(std::max<int64_t>(low, -(int64_t{offset.nearReach()} + offset.whole))),
          last(std::min<int64_t>(high, int64_t{sourceSize} - offset.farReach() - offset.whole - 1))
    {
    }
    int64_t size() const { return last - first + 1; }
};

int32_t workingType(int32_t imSrc, int32_t imDest)
{
    const int32_t type = std::min(I_ImGetType(imSrc), I_ImGetType(imDest));
    if (type <= PIX_BYTE || type == PIX_PALETTE)
        return PIX_BYTE;
    if (type < PIX_PALETTE)
        return PIX_FLOAT;
    return type == PIX_RGB24 || type == PIX_BGR32 ? PIX_BYTE : PIX_BGR24;
}

// A rectangle of the source, which may reach over its edges.
struct SourceBlock {
    int32_t im;
    int32_t type;
    int64_t pixelBytes;
    int64_t x;
    int64_t y;
    int64_t width;
    int64_t height;

    int64_t pitch() const { return width * pixelBytes; }
};

// The rows of the block that lie in front of the source and behind it, and its columns likewise.
struct Overhang {
    int64_t left;
    int64_t top;
    int64_t right;
    int64_t bottom;
};

// An image without addresses is read where it has pixels only, by way of packed rows.
void readInside(const SourceBlock& block, const Overhang& over, uint8_t* pixels, uint8_t* packed)
{
    const int64_t width = block.width - over.left - over.right;
    const int64_t height = block.height - over.top - over.bottom;
    I_GetBlockType(static_cast<int32_t>(block.x + over.left), static_cast<int32_t>(block.y + over.top),
                   static_cast<int32_t>(width), static_cast<int32_t>(height), packed, block.im, block.type);
    CopyBlock1(saturateToInt32(width * block.pixelBytes), static_cast<int32_t>(height), packed,
               saturateToInt32(width * block.pixelBytes),
               pixels + over.top * block.pitch() + over.left * block.pixelBytes,
               saturateToInt32(block.pitch()));
}

void readBlock(const SourceBlock& block, const ImageRecord& source, uint8_t* pixels, uint8_t* packed)
{
    Overhang over = {std::max<int64_t>(0, -block.x), std::max<int64_t>(0, -block.y),
                     std::max<int64_t>(0, block.x + block.width - source.cols),
                     std::max<int64_t>(0, block.y + block.height - source.rows)};
    if (directPixels(source)) {
        I_GetBlockType(static_cast<int32_t>(block.x), static_cast<int32_t>(block.y),
                       static_cast<int32_t>(block.width), static_cast<int32_t>(block.height), pixels,
                       block.im, block.type);
        // The rows of an inverted image arrive in reverse order.
        if (source.inverted)
            std::swap(over.top, over.bottom);
    } else {
        readInside(block, over, pixels, packed);
    }
    I_CopyBorder(pixels, static_cast<int32_t>(block.pixelBytes), saturateToInt32(block.pitch()),
                 static_cast<int32_t>(block.height), static_cast<int32_t>(over.left),
                 static_cast<int32_t>(over.top), static_cast<int32_t>(block.width - over.right - 1),
                 static_cast<int32_t>(block.height - over.bottom - 1));
}

// Stores a part of a block. Images without addresses take packed rows only.
void storePart(const Span& x, const Span& y, uint8_t* part, int64_t pitch, int64_t pixelBytes, int32_t imDest,
               int32_t type)
{
    const ImageRecord* const dest = imageRecordOrNull(imDest);
    const int64_t rowBytes = x.size() * pixelBytes;
    if (dest && !directPixels(*dest)) {
        for (int64_t row = 1; row < y.size(); ++row)
            std::memmove(part + row * rowBytes, part + row * pitch, static_cast<std::size_t>(rowBytes));
        pitch = rowBytes;
    }
    I_PutBlockTypeEx(static_cast<int32_t>(x.first), static_cast<int32_t>(y.first),
                     static_cast<int32_t>(x.size()), static_cast<int32_t>(y.size()), part, imDest, type,
                     saturateToInt32(pitch));
}

// Pixels that the filter needs around the result: one in front, two behind.
constexpr int64_t kTapMargin = 3;

int32_t shiftImage(int32_t imSrc, int32_t imDest, const Offset& dx, const Offset& dy, float sharpness)
{
    const ImageRecord* const source = findImageRecord(imSrc, "I_ImGetSize");
    VexaBox box = {};
    if (!source || !I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, imDest))
        return 0;
    const int32_t type = workingType(imSrc, imDest);
    const Span x(box.left, box.right, dx, source->cols);
    const Span y(box.top, box.bottom, dy, source->rows);
    if (x.size() < 1 || y.size() < 1)
        return 0;
    const SourceBlock block = {imSrc,
                               type,
                               I_ImTypeBytes(type),
                               dx.whole + x.first - 1,
                               dy.whole + y.first - 1,
                               x.size() + kTapMargin,
                               y.size() + kTapMargin};
    const int64_t blockBytes = block.pitch() * block.height;
    Buffer<uint8_t> blocks(2 * blockBytes);
    if (malloctest(blocks.data(), "I_ShiftSharpen %d bytes", saturateToInt32(2 * blockBytes)))
        return 0;
    uint8_t* const pixels = blocks.data();
    uint8_t* const shifted = pixels + blockBytes;
    readBlock(block, *source, pixels, shifted);
    I_ShiftSharpenArray(pixels, shifted, static_cast<int32_t>(block.width),
                        static_cast<int32_t>(block.height), dx.fraction, dy.fraction, sharpness, type);
    storePart(x, y, shifted + block.pitch() + block.pixelBytes, block.pitch(), block.pixelBytes, imDest,
              type);
    return 1;
}

} // namespace
} // namespace vexa

int32_t I_ShiftSharpen(int32_t imSrc, int32_t imDest, float dx, float dy, float sharpness)
{
    using namespace vexa;
    if (imSrc == 0 || imDest == 0)
        return 0;
    const Offset x(dx);
    const Offset y(dy);
    if (x.fraction == 0.0F && y.fraction == 0.0F)
        return I_ROICopy(imSrc, imDest, truncToInt32(dx), truncToInt32(dy));
    return shiftImage(imSrc, imDest, x, y, sharpness);
}
