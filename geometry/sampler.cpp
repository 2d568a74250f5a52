#include "geometry/sampler.h"

#include <algorithm>
#include <cstring>

#include "core/pixel_types.h"
#include "geometry/direct_pixels.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/image.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int64_t kSpareRows = 2; // in front of a private copy, and behind it
constexpr double kBytesPerMegabyte = 1e6;

const uint8_t* rowAt(const SamplerContext& context, int32_t j)
{
    return static_cast<const uint8_t*>(context.rows[j]);
}

template <std::size_t Bytes>
void nearest(const SamplerContext& context, int32_t x32, int32_t y32)
{
    const std::size_t bytes = Bytes ? Bytes : static_cast<std::size_t>(context.pixelBytes);
    const auto i = static_cast<std::size_t>((x32 + kSteps / 2) >> kStepBits);
    std::memcpy(context.out, rowAt(context, (y32 + kSteps / 2) >> kStepBits) + i * bytes, bytes);
}

template <int32_t Channels>
void linearBytes(const SamplerContext& context, int32_t x32, int32_t y32)
{
    const int32_t i = x32 >> kStepBits;
    const int32_t j = y32 >> kStepBits;
    const int32_t fx = x32 & (kSteps - 1);
    const int32_t fy = y32 & (kSteps - 1);
    const uint8_t* const r0 = rowAt(context, j) + int64_t{i} * Channels;
    const uint8_t* const r1 = rowAt(context, j + 1) + int64_t{i} * Channels;
    // The pixel behind a row weighs nothing, and need not exist.
    const int32_t next = i + 1 < context.cols ? Channels : 0;
    for (int32_t c = 0; c < Channels; ++c) {
        const int32_t upper = r0[c] * (kSteps - fx) + r0[c + next] * fx;
        const int32_t lower = r1[c] * (kSteps - fx) + r1[c + next] * fx;
        context.out[c] = static_cast<uint8_t>((upper * (kSteps - fy) + lower * fy) >> (2 * kStepBits));
    }
}

float floatAt(const uint8_t* row, int64_t i)
{
    float pixel;
    std::memcpy(&pixel, row + i * static_cast<int64_t>(sizeof pixel), sizeof pixel);
    return pixel;
}

void linearFloat(const SamplerContext& context, int32_t x32, int32_t y32)
{
    const int32_t i = x32 >> kStepBits;
    const int32_t j = y32 >> kStepBits;
    const float u = static_cast<float>(x32 & (kSteps - 1)) * 0.03125F;
    const float v = static_cast<float>(y32 & (kSteps - 1)) * 0.03125F;
    const uint8_t* const r0 = rowAt(context, j);
    const uint8_t* const r1 = rowAt(context, j + 1);
    const bool inside = i + 1 < context.cols;
    const float next0 = inside ? floatAt(r0, i + 1) : 0.0F;
    const float next1 = inside ? floatAt(r1, i + 1) : 0.0F;
    const float pixel = (floatAt(r0, i) * (1.0F - u) + next0 * u) * (1.0F - v) +
                        v * ((1.0F - u) * floatAt(r1, i) + u * next1);
    std::memcpy(context.out, &pixel, sizeof pixel);
}

Sampler nearestSampler(int32_t bytes)
{
    switch (bytes) {
    case 1:
        return nearest<1>;
    case 2:
        return nearest<2>;
    case 3:
        return nearest<3>;
    case 4:
        return nearest<4>;
    default:
        return nearest<0>;
    }
}

Sampler chooseSampler(bool smooth, SamplerContext& context)
{
    context.pixelBytes = I_ImTypeBytes(context.pixelType);
    if (smooth && context.pixelType > PIX_PALETTE && context.pixelBytes < 3) {
        context.pixelType = PIX_BGR24;
        context.pixelBytes = I_ImTypeBytes(PIX_BGR24);
    }
    context.isByteLike = context.pixelType == PIX_BYTE || context.pixelType > PIX_PALETTE;
    context.sampling = Sampling::nearest;
    if (smooth && context.pixelType == PIX_FLOAT) {
        context.sampling = Sampling::linearFloat;
        return linearFloat;
    }
    if (smooth && context.isByteLike) {
        context.sampling = Sampling::linearBytes;
        return context.pixelBytes == 1   ? linearBytes<1>
               : context.pixelBytes == 3 ? linearBytes<3>
                                         : linearBytes<4>;
    }
    return nearestSampler(context.pixelBytes);
}

// The image in the sampling type, with spare rows around it and a row table behind it.
bool makeOwnCopy(int32_t im, SamplerContext& context)
{
    if (context.cols < 1 || context.rowCount < 1)
        return false;
    const int64_t rowBytes = int64_t{context.cols} * context.pixelBytes;
    const int64_t entries = context.rowCount + 2 * kSpareRows;
    constexpr auto kPointer = static_cast<int64_t>(sizeof(void*));
    const int64_t room = context.cols * roomOfPixel(im, context.pixelType);
    const int64_t pixels = (room * entries + kPointer - 1) / kPointer * kPointer;
    const int64_t size = pixels + kPointer * entries;
    context.ownCopy = Buffer<uint8_t>(size);
    if (malloctest(context.ownCopy.data(), "Malloc failed: RotatePrep %.1f MBytes",
                   static_cast<double>((rowBytes + kPointer) * entries) / kBytesPerMegabyte))
        return false;
    context.data = context.ownCopy.data() + kSpareRows * rowBytes;
    context.rowBytes = saturateToInt32(rowBytes);
    I_GetBlockType(0, 0, context.cols, context.rowCount, context.data, im, context.pixelType);
    std::memcpy(context.data + rowBytes * context.rowCount, context.data + rowBytes * (context.rowCount - 1),
                static_cast<std::size_t>(rowBytes));
    // NOLINTNEXTLINE: aligned above
    context.rows = reinterpret_cast<void**>(context.ownCopy.data() + pixels) + kSpareRows;
    for (int64_t row = -kSpareRows; row < context.rowCount + kSpareRows; ++row)
        context.rows[row] = context.data + std::clamp<int64_t>(row, 0, context.rowCount - 1) * rowBytes;
    return true;
}

} // namespace

Sampler rotatePrep(int32_t im, int32_t pixelType, int32_t smooth, SamplerContext& context)
{
    context = SamplerContext();
    context.pixelType = pixelType;
    const Sampler sampler = chooseSampler(smooth != 0, context);
    if (!I_ImGetSize(&context.cols, &context.rowCount, nullptr, im))
        return nullptr;
    context.rows = I_ImGet2DPtr(nullptr, nullptr, im, context.pixelType);
    if (!context.rows)
        return makeOwnCopy(im, context) ? sampler : nullptr;
    context.data = static_cast<uint8_t*>(context.rows[0]);
    context.rowBytes = I_ImGetStride(im);
    return sampler;
}

} // namespace vexa
