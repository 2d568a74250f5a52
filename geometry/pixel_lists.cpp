// Pixels at listed points.
#include <algorithm>
#include <cstring>

#include "core/image_table.h"
#include "geometry/sampler.h"
#include "support/buffer.h"
#include "vexalib/conversion.h"
#include "vexalib/image.h"
#include "vexalib/numeric.h"
#include "vexalib/profile.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

struct Position {
    int32_t x32;
    int32_t y32;
};

Position positionOf(VexaPointF point, const SamplerContext& context)
{
    const auto limited = [](float coordinate, int64_t highest) {
        return static_cast<int32_t>(std::clamp<int64_t>(Rnd(coordinate * kSteps), 0, highest));
    };
    return {limited(point.x, context.maxX()), limited(point.y, context.maxY())};
}

// An open image's sampler with smoothing on; null on failure.
Sampler prepare(int32_t im, SamplerContext& context)
{
    const ImageRecord* const record = findImageRecord(im, "I_ImGetPtr");
    return record ? rotatePrep(im, record->type, 1, context) : nullptr;
}

uint8_t* pixelAt(const SamplerContext& context, int32_t x, int32_t y)
{
    return static_cast<uint8_t*>(context.rows[y]) + int64_t{x} * context.pixelBytes;
}

void overwriteNearest(const SamplerContext& context, Position at, const uint8_t* value)
{
    std::memcpy(pixelAt(context, (at.x32 + kSteps / 2) >> kStepBits, (at.y32 + kSteps / 2) >> kStepBits),
                value, static_cast<std::size_t>(context.pixelBytes));
}

void blendBytes(uint8_t* pixel, const uint8_t* value, int32_t bytes, int32_t weight)
{
    for (int32_t i = 0; i < bytes; ++i)
        pixel[i] = static_cast<uint8_t>((pixel[i] * (kSteps * kSteps - weight) + value[i] * weight) >>
                                        (2 * kStepBits));
}

// The four pixels around take the value by their nearness; one of weight 0 may lie outside and is not
// touched.
void spread(const SamplerContext& context, Position at, const uint8_t* value)
{
    const int32_t fx = at.x32 & (kSteps - 1);
    const int32_t fy = at.y32 & (kSteps - 1);
    for (int32_t below = 0; below < 2; ++below)
        for (int32_t right = 0; right < 2; ++right) {
            const int32_t weight = (right != 0 ? fx : kSteps - fx) * (below != 0 ? fy : kSteps - fy);
            if (weight != 0)
                blendBytes(pixelAt(context, (at.x32 >> kStepBits) + right, (at.y32 >> kStepBits) + below),
                           value, context.pixelBytes, weight);
        }
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_GetPixelsInList(const VexaPointF* points, void* buffer, int32_t count, int32_t im,
                          int32_t pixelType)
{
    if (!buffer || count < 1)
        return count;
    if (!points)
        return 0;
    SamplerContext context;
    const Sampler sample = prepare(im, context);
    if (!sample)
        return 0;
    Buffer<uint8_t> own;
    context.out = static_cast<uint8_t*>(buffer);
    if (context.pixelType != pixelType) {
        own = Buffer<uint8_t>(int64_t{count} * context.pixelBytes);
        if (malloctest(own.data(), "I_GetPixelsInList"))
            return 0;
        context.out = own.data();
    }
    for (int32_t i = 0; i < count; ++i, context.out += context.pixelBytes) {
        const Position at = positionOf(points[i], context);
        sample(context, at.x32, at.y32);
    }
    if (own)
        I_ArrayConvert(own.data(), context.pixelType, buffer, pixelType, count);
    return count;
}

int32_t I_PutPixelsInList(const VexaPointF* points, const void* values, int32_t count, int32_t im,
                          int32_t pixelType)
{
    if (!values || count < 1)
        return count;
    if (!points)
        return 0;
    SamplerContext context;
    if (!prepare(im, context))
        return 0;
    Buffer<uint8_t> own;
    auto* value = static_cast<const uint8_t*>(values);
    if (context.pixelType != pixelType) {
        own = Buffer<uint8_t>(int64_t{count} * context.pixelBytes);
        if (malloctest(own.data(), "I_PutPixelsInList"))
            return 0;
        I_ArrayConvert(values, pixelType, own.data(), context.pixelType, count);
        value = own.data();
    }
    // Required: an image without rows of its own is written in a copy, which is dropped.
    if (context.ownCopy)
        return count;
    for (int32_t i = 0; i < count; ++i, value += context.pixelBytes) {
        const Position at = positionOf(points[i], context);
        if (context.isByteLike)
            spread(context, at, value);
        else
            overwriteNearest(context, at, value);
    }
    return count;
}
