#include "core/block_access.h"

#include <algorithm>
#include <cstring>
#include <functional>

#include "core/image_memory.h"
#include "core/image_table.h"
#include "core/pixel_types.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/color.h"
#include "vexalib/conversion.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

bool disjoint(const uint8_t* a, const uint8_t* b, int64_t bytes)
{
    return std::less_equal<>{}(a + bytes, b) || std::less_equal<>{}(b + bytes, a);
}

// The part of two rectangles that lies in both arrays.
struct CommonBlock {
    int64_t sourceX;
    int64_t sourceY;
    int64_t destX;
    int64_t destY;
    int64_t width;
    int64_t height;
};

void resolveSize(BlockPlace& place)
{
    if (place.width < 0)
        place.width = place.cols - place.x;
    if (place.height < 0)
        place.height = place.rows - place.y;
}

// A position in front of its array moves the other one and shortens the block.
void shiftInside(int64_t& position, int64_t& other, int64_t& size)
{
    if (position >= 0)
        return;
    other -= position;
    size += position;
    position = 0;
}

// Where a block lies in an array whose rows are bottom-up. A place outside the array is left as it was.
int64_t flippedPosition(int64_t position, int64_t size, const BlockPlace& place)
{
    const int64_t flipped = place.height - size - position;
    return flipped >= 0 && flipped + size <= place.rows ? flipped : position;
}

// Nothing in common leaves a size below 1.
CommonBlock commonBlock(BlockPlace from, BlockPlace to, const ScaleRecord* scale)
{
    resolveSize(from);
    resolveSize(to);
    CommonBlock block = {
        from.x, from.y, to.x, to.y, std::min(from.width, to.width), std::min(from.height, to.height)};
    shiftInside(block.sourceX, block.destX, block.width);
    shiftInside(block.destX, block.sourceX, block.width);
    shiftInside(block.sourceY, block.destY, block.height);
    shiftInside(block.destY, block.sourceY, block.height);
    block.width = std::min({block.width, from.cols - block.sourceX, to.cols - block.destX});
    block.height = std::min({block.height, from.rows - block.sourceY, to.rows - block.destY});
    if (scale && scale->sourceFlip)
        block.sourceY = flippedPosition(block.sourceY, block.height, from);
    if (scale && scale->destFlip)
        block.destY = flippedPosition(block.destY, block.height, to);
    return block;
}

bool rowOrderDiffers(const ScaleRecord* scale)
{
    return scale && (scale->sourceFlip != 0) != (scale->destFlip != 0);
}

// One array: the rectangles may overlap, so all is read before anything is written. False without memory.
bool copyThroughBuffers(const Rows& source, const WritableRows& dest, int32_t width, int32_t height,
                        bool reversed, const ScaleRecord* scale)
{
    const int64_t sourceBytes = int64_t{width} * I_ImTypeBytes(source.type);
    Buffer<uint8_t> sourceBlock(sourceBytes * height);
    if (malloctest(sourceBlock.data(), "I_CopyBlockType tsptr (%d x %d)", width, height))
        return false;
    const WritableRows taken = {sourceBlock.data(), sourceBytes, source.type};
    copyRows(source, taken, sourceBytes, height, false);
    if (source.type == dest.type) {
        copyRows({taken.pixels, taken.pitch, taken.type}, dest, sourceBytes, height, reversed);
        return true;
    }
    const int64_t destBytes = int64_t{width} * I_ImTypeBytes(dest.type);
    Buffer<uint8_t> destBlock(destBytes * height);
    if (malloctest(destBlock.data(), "I_CopyBlockType tdptr (%d x %d)", width, height))
        return false;
    const WritableRows made = {destBlock.data(), destBytes, dest.type};
    if (keepsOtherBands(source.type, dest.type))
        copyRows({dest.pixels, dest.pitch, dest.type}, made, destBytes, height, reversed);
    convertRows({taken.pixels, taken.pitch, taken.type}, made, width, height, false, scale);
    copyRows({made.pixels, made.pitch, made.type}, dest, destBytes, height, reversed);
    return true;
}

} // namespace

void copyRows(const Rows& source, const WritableRows& dest, int64_t rowBytes, int64_t rows, bool reversed)
{
    const auto bytes = static_cast<std::size_t>(rowBytes);
    const bool contiguous = source.pitch == rowBytes && dest.pitch == rowBytes && !reversed;
    if (contiguous && disjoint(source.pixels, dest.pixels, rowBytes * rows)) {
        std::memcpy(dest.pixels, source.pixels, bytes * static_cast<std::size_t>(rows));
        return;
    }
    for (int64_t row = 0; row < rows; ++row) {
        const int64_t destRow = reversed ? rows - 1 - row : row;
        std::memmove(dest.pixels + destRow * dest.pitch, source.pixels + row * source.pitch, bytes);
    }
}

void convertRows(const Rows& source, const WritableRows& dest, int32_t width, int64_t rows, bool reversed,
                 const ScaleRecord* scale)
{
    for (int64_t row = 0; row < rows; ++row) {
        const int64_t destRow = reversed ? rows - 1 - row : row;
        ConvertPixelType(source.pixels + row * source.pitch, source.type, dest.pixels + destRow * dest.pitch,
                         dest.type, width, scale);
    }
}

bool keepsOtherBands(int32_t sourceType, int32_t destType)
{
    return !isColorType(sourceType) && isColorType(destType) && static_cast<uint32_t>(I_GetColorBand()) < 3;
}

int64_t copyPlaces(Rows source, BlockPlace from, WritableRows dest, BlockPlace to, const ScaleRecord* scale)
{
    if (!source.pixels || !dest.pixels)
        return 0;
    const CommonBlock block = commonBlock(from, to, scale);
    if (block.width < 1 || block.height < 1)
        return 0;
    const int64_t sourceBytes = I_ImTypeBytes(source.type);
    const int64_t destBytes = I_ImTypeBytes(dest.type);
    const bool sameArray = source.pixels == dest.pixels;
    source.pitch = from.pitch > 0 ? from.pitch : from.cols * sourceBytes;
    dest.pitch = to.pitch > 0 ? to.pitch : to.cols * destBytes;
    source.pixels += block.sourceY * source.pitch + block.sourceX * sourceBytes;
    dest.pixels += block.destY * dest.pitch + block.destX * destBytes;
    const auto width = static_cast<int32_t>(block.width);
    const auto height = static_cast<int32_t>(block.height);
    const bool reversed = rowOrderDiffers(scale);
    const int64_t pixels = block.width * block.height;
    if (sameArray)
        return copyThroughBuffers(source, dest, width, height, reversed, scale) ? pixels : 0;
    if (source.type == dest.type) {
        copyRows(source, dest, block.width * sourceBytes, block.height, reversed);
        return pixels;
    }
    convertRows(source, dest, width, block.height, reversed, scale);
    return 1;
}

} // namespace vexa

using namespace vexa;

int32_t I_CopyBlockType(const void* source, int32_t sourcePitch, int32_t sourceCols, int32_t sourceRows,
                        int32_t sourceType, int32_t sourceX, int32_t sourceY, int32_t sourceWidth,
                        int32_t sourceHeight, void* dest, int32_t destPitch, int32_t destCols,
                        int32_t destRows, int32_t destType, int32_t destX, int32_t destY, int32_t destWidth,
                        int32_t destHeight, const ScaleRecord* scale)
{
    return saturateToInt32(
        copyPlaces({static_cast<const uint8_t*>(source), 0, sourceType},
                   {sourcePitch, sourceCols, sourceRows, sourceX, sourceY, sourceWidth, sourceHeight},
                   {static_cast<uint8_t*>(dest), 0, destType},
                   {destPitch, destCols, destRows, destX, destY, destWidth, destHeight}, scale));
}

int32_t I_CopyBlock(const void* source, int32_t sourcePitch, int32_t sourceRows, int32_t sourceX,
                    int32_t sourceY, int32_t sourceWidth, int32_t sourceHeight, void* dest, int32_t destPitch,
                    int32_t destRows, int32_t destX, int32_t destY, int32_t destWidth, int32_t destHeight,
                    int32_t bytes)
{
    if (bytes < 1 || sourcePitch < 1 || destPitch < 1)
        return 0;
    // A copy of bytes, in steps of whole pixels.
    const int64_t step = bytes;
    const BlockPlace from = {sourcePitch, sourcePitch / step * step, sourceRows,  sourceX * step,
                             sourceY,     sourceWidth * step,        sourceHeight};
    const BlockPlace to = {destPitch, destPitch / step * step, destRows,  destX * step,
                           destY,     destWidth * step,        destHeight};
    const int64_t copied = copyPlaces({static_cast<const uint8_t*>(source), 0, PIX_BYTE}, from,
                                      {static_cast<uint8_t*>(dest), 0, PIX_BYTE}, to, nullptr);
    return saturateToInt32(copied / step);
}

namespace
{

int32_t copyByteRows(int32_t rowBytes, int32_t rows, const void* source, int32_t sourcePitch, void* dest,
                     int32_t destPitch, bool reversed)
{
    if (rowBytes < 1 || rows < 1 || !source || !dest)
        return 0;
    copyRows({static_cast<const uint8_t*>(source), sourcePitch, PIX_BYTE},
             {static_cast<uint8_t*>(dest), destPitch, PIX_BYTE}, rowBytes, rows, reversed);
    return saturateToInt32(int64_t{rowBytes} * rows);
}

} // namespace

int32_t CopyBlock1(int32_t rowBytes, int32_t rows, const void* source, int32_t sourcePitch, void* dest,
                   int32_t destPitch)
{
    return copyByteRows(rowBytes, rows, source, sourcePitch, dest, destPitch, false);
}

int32_t CopyBlockRev(int32_t rowBytes, int32_t rows, const void* source, int32_t sourcePitch, void* dest,
                     int32_t destPitch)
{
    return copyByteRows(rowBytes, rows, source, sourcePitch, dest, destPitch, true);
}

int32_t I_CopySubArray(const void* source, int32_t sourcePitch, int32_t, void* dest, int32_t rowBytes,
                       int32_t rows, int32_t xOffset, int32_t yOffset)
{
    if (!source || !dest)
        return 0;
    const auto* const from = static_cast<const uint8_t*>(source) + int64_t{yOffset} * sourcePitch + xOffset;
    copyByteRows(rowBytes, rows, from, sourcePitch, dest, rowBytes, false);
    return 1;
}
