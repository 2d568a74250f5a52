// The pixels of an image in memory: their allocation, their addresses, the table of row addresses.
#ifndef VEXA_CORE_IMAGE_MEMORY_H
#define VEXA_CORE_IMAGE_MEMORY_H

#include <cstdint>

#include "vexalib/types.h"

namespace vexa
{

inline constexpr int64_t kPaletteBytes = 1024;

// The address of pixel (0, 0) if the pixels can be reached there; null if only the kind's operations reach them.
inline uint8_t* directPixels(const ImageRecord& record)
{
    // What a registered kind keeps in data is its own business, and no address.
    return record.ops ? nullptr : static_cast<uint8_t*>(record.data);
}

// Rows of so many pixels, rounded up to the default alignment of rows.
int64_t alignedStride(int64_t cols, int64_t bytes);
// Parameter 7. Rounding takes any number; those below 2 round nothing.
int32_t& strideAlignment();

// Bytes from pixel (0, 0) to the end of the last row's pixels, or of its stride if that lies further.
int64_t pixelSpan(const ImageRecord& record);
// The end of the pixels that the image, or the one it is a subimage of, spans.
const uint8_t* pixelSpanEnd(const ImageRecord& record);
// Gives the record a zeroed block for its size and stride, guard space at both ends, and its address.
[[nodiscard]] bool allocatePixels(ImageRecord& record);
// The same with pixels that the caller fills at once; only the guard space is zeroed.
[[nodiscard]] bool allocateUnclearedPixels(ImageRecord& record);
// I_ImOpenStride for pixels that the caller fills at once, what pads their rows included.
[[nodiscard]] int32_t openUnclearedImage(int32_t cols, int32_t rows, int32_t stride, int32_t type);
// True if rows at that distance stay inside the block that holds the pixels. Memory of the caller's takes any stride.
bool strideFits(const ImageRecord& record, int32_t stride);

// The getPtr of memory images: the address nearest to a pixel inside the span, whatever the coordinates.
void* memoryPointer(int32_t x, int32_t y, int32_t* bytesLeft, int32_t* stride, ImageRecord* record);
// Builds rowTable anew; null without pixels that are addressable, or without memory for it.
void** rebuildRowTable(ImageRecord& record);

} // namespace vexa

#endif
