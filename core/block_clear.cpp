#include <algorithm>
#include <cstring>

#include "core/block_access.h"
#include "core/image_memory.h"
#include "core/image_table.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/conversion.h"
#include "vexalib/numeric.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int64_t kFillBytes = 4096;
constexpr std::size_t kMostPixelBytes = 16;

// The part of a range that starts at 0 and ends before an edge; a size below 1 is relative to the edge.
void limitRange(int64_t& start, int64_t& size, int64_t edge)
{
    if (size < 1)
        size += edge - start;
    if (start < 0) {
        size += start;
        start = 0;
    }
    size = std::min(size, edge - start);
}

// Fills with one value of any type as the image's type holds it. Without a value the buffer stays zero.
void fillPixels(Buffer<uint8_t>& buffer, int64_t pixels, const void* value, int32_t valueType,
                const ImageRecord& record)
{
    if (!value || valueType < 1)
        return;
    alignas(kMostPixelBytes) uint8_t pixel[kMostPixelBytes] = {};
    I_ArrayConvert(value, valueType, pixel, record.type, 1);
    memsetStruct(buffer.data(), pixel, static_cast<int32_t>(pixels), record.bytes);
}

void swapRows(ImageRecord& record)
{
    const int64_t rowBytes = std::max<int64_t>(record.cols, 0) * record.bytes;
    uint8_t* const pixels = directPixels(record);
    for (int64_t i = 0; i < record.rows / 2; ++i) {
        uint8_t* const upper = pixels + i * record.stride;
        uint8_t* const lower = pixels + (record.rows - 1 - i) * record.stride;
        std::swap_ranges(upper, upper + rowBytes, lower);
    }
}

uint32_t lowWord(const void* pointer)
{
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(pointer));
}

// Tells too whether the pixels of a kind's image turned to another type meanwhile; the rest is not written then.
int32_t clearOnce(int64_t x, int64_t y, int64_t width, int64_t height, const void* value, int32_t im,
                  int32_t valueType, bool& changed)
{
    ImageRecord* const record = findImageRecord(im, "I_ImClearBlockType");
    if (!record || !record->putBlock)
        return 0;
    limitRange(x, width, record->cols);
    limitRange(y, height, record->rows);
    if (width < 1 || height < 1)
        return 0;
    const int64_t rowBytes = record->bytes * width;
    const int64_t bufferRows = std::max<int64_t>(1, kFillBytes / rowBytes);
    Buffer<uint8_t> buffer(bufferRows * rowBytes);
    if (malloctest(buffer.data(), "I_ImClearBlockType(im=%d, cols=%d %d, bufrows=%d buflen=%d", im,
                   record->cols, static_cast<int32_t>(width), static_cast<int32_t>(bufferRows),
                   saturateToInt32(bufferRows * rowBytes)))
        return 0;
    fillPixels(buffer, bufferRows * width, value, valueType, *record);
    const int32_t type = record->type;
    for (int64_t row = 0; row < height && record->type == type; row += bufferRows)
        record->putBlock(static_cast<int32_t>(x), static_cast<int32_t>(y + row), static_cast<int32_t>(width),
                         static_cast<int32_t>(std::min(bufferRows, height - row)), buffer.data(), record);
    changed = record->type != type;
    return 1;
}

} // namespace

int32_t clearBlock(int64_t x, int64_t y, int64_t width, int64_t height, const void* value, int32_t im,
                   int32_t valueType)
{
    bool changed = false;
    const int32_t done = clearOnce(x, y, width, height, value, im, valueType, changed);
    return changed ? clearOnce(x, y, width, height, value, im, valueType, changed) : done;
}

} // namespace vexa

using namespace vexa;

int32_t I_ImClear(int32_t im, double value)
{
    return I_ImClearBlockType(0, 0, 0, 0, &value, im, PIX_DFLOAT);
}

int32_t I_ImClearType(int32_t im, const void* value, int32_t valueType)
{
    return I_ImClearBlockType(0, 0, 0, 0, value, im, valueType);
}

int32_t I_ImClearBlockType(int32_t x, int32_t y, int32_t width, int32_t height, const void* value, int32_t im,
                           int32_t valueType)
{
    return clearBlock(x, y, width, height, value, im, valueType);
}

int32_t I_ClearRect(int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t value, int32_t im)
{
    const auto byte = static_cast<uint8_t>(value);
    const auto [left, right] = std::minmax(x1, x2);
    const auto [top, bottom] = std::minmax(y1, y2);
    return clearBlock(left, top, int64_t{right} - left + 1, int64_t{bottom} - top + 1, &byte, im, PIX_BYTE);
}

int32_t I_ImInvertRows(int32_t im)
{
    ImageRecord* const record = findImageRecord(im, "I_ImInvertRows");
    if (!record)
        return 0;
    if (!rebuildRowTable(*record)) {
        I_SetError(1, "I_ImInvertRows Failed: imSrc=%d buf = %x img=%x ptr=%x", im, 0U, lowWord(record),
                   lowWord(record->data));
        return 0;
    }
    swapRows(*record);
    record->inverted = !record->inverted;
    rebuildRowTable(*record);
    return 1;
}
