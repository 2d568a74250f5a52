// How pixels are moved: the room that blocks need, and pairs of images that need no blocks in between.
#ifndef VEXA_GEOMETRY_DIRECT_PIXELS_H
#define VEXA_GEOMETRY_DIRECT_PIXELS_H

#include <algorithm>
#include <cstdint>
#include <functional>

#include "core/image_memory.h"
#include "core/image_table.h"
#include "vexalib/image.h"

namespace vexa
{

// The room that a pixel takes in a block of a type. Blocks of an image's own type are as wide as its storage,
// which an application may have chosen.
inline int64_t roomOfPixel(int32_t im, int32_t type)
{
    int32_t bytes = 0;
    I_ImGetSize(nullptr, nullptr, &bytes, im);
    return std::max(bytes, I_ImTypeBytes(type));
}

struct DirectPixels {
    const uint8_t* source;
    int64_t sourceStride;
    uint8_t* dest;
    int64_t destStride;
};

// Pixels of a type in memory, the top row first.
inline bool isDirect(const ImageRecord* record, int32_t type)
{
    return record && record->type == type && record->bytes == I_ImTypeBytes(type) && !record->inverted &&
           record->stride > 0 && directPixels(*record);
}

// True if both images hold pixels of the type, in memory that they do not share.
inline bool findDirectPixels(int32_t imSrc, int32_t imDest, int32_t type, DirectPixels& direct)
{
    const ImageRecord* const source = imageRecordOrNull(imSrc);
    const ImageRecord* const dest = imageRecordOrNull(imDest);
    if (!isDirect(source, type) || !isDirect(dest, type))
        return false;
    direct = {directPixels(*source), source->stride, directPixels(*dest), dest->stride};
    return std::less_equal<>{}(direct.source + pixelSpan(*source), direct.dest) ||
           std::less_equal<>{}(direct.dest + pixelSpan(*dest), direct.source);
}

} // namespace vexa

#endif
