#include <algorithm>

#include "core/block_access.h"
#include "core/image_memory.h"
#include "core/image_table.h"
#include "core/pixel_types.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/conversion.h"
#include "vexalib/image.h"
#include "vexalib/numeric.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

struct Rect {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
};

// The bytes of a pixel in a block read with a type code. Only an image of the library's own kinds has pixels of another
// width than its type for good.
int64_t blockPixelBytes(const ImageRecord& record, int32_t type)
{
    const bool itsOwn = type == kTypeRaw || (type == record.type && !record.ops);
    return itsOwn ? record.bytes : I_ImTypeBytes(type);
}

bool touchesImage(const Rect& rect, const ImageRecord& record)
{
    return rect.x < record.cols && rect.y < record.rows && int64_t{rect.x} + rect.width > 0 &&
           int64_t{rect.y} + rect.height > 0;
}

// A block outside the image is no failure: the buffer stays as it is.
bool readBlock(const Rect& rect, void* buffer, int32_t im, int32_t type, const ImageRecord& record)
{
    return I_GetBlockType(rect.x, rect.y, rect.width, rect.height, buffer, im, type) != 0 ||
           !touchesImage(rect, record);
}

// A size left over between two positions; a negative one means up to the destination's edge.
int32_t commonSize(int32_t wanted, int64_t sourceLeft, int64_t destLeft)
{
    const int64_t size = wanted < 0 ? destLeft : wanted;
    return saturateToInt32(std::min({size, sourceLeft, destLeft}));
}

// Images that are not addressable: through a buffer of the higher type code.
int32_t copyThroughBuffer(const Rect& from, int32_t imSrc, const ImageRecord& source, VexaPoint to,
                          int32_t imDest, const ImageRecord& dest)
{
    const int32_t type = std::max(source.type, dest.type);
    const int64_t bytes = std::max(blockPixelBytes(source, type), blockPixelBytes(dest, type));
    Buffer<uint8_t> block(int64_t{from.width} * from.height * bytes);
    if (malloctest(block.data(), "CopyBlock (%d x %d)", from.width, from.height))
        return 0;
    if (!I_GetBlockType(from.x, from.y, from.width, from.height, block.data(), imSrc, type) ||
        !I_PutBlockType(to.x, to.y, from.width, from.height, block.data(), imDest, type))
        return 0;
    return saturateToInt32(int64_t{from.width} * from.height);
}

int32_t copyDirect(const Rect& from, const ImageRecord& source, VexaPoint to, const ImageRecord& dest)
{
    ScaleRecord scale;
    const bool readDirection = dest.type == PIX_BYTE || isColorType(dest.type);
    SetupScale(&source, dest.type, &scale, source.palette, dest.palette, source.inverted, dest.inverted,
               readDirection);
    return saturateToInt32(
        copyPlaces({directPixels(source), 0, source.type},
                   {source.stride, source.cols, source.rows, from.x, from.y, from.width, from.height},
                   {directPixels(dest), 0, dest.type},
                   {dest.stride, dest.cols, dest.rows, to.x, to.y, from.width, from.height}, &scale));
}

void copyPalette(int32_t imSrc, int32_t imDest)
{
    uint8_t palette[kPaletteBytes];
    constexpr int32_t kPaletteCode = 13;
    if (I_ImGetParam(palette, sizeof palette, kPaletteCode, imSrc))
        I_ImSetParam(palette, sizeof palette, kPaletteCode, imDest);
}

// A size below 1 is relative to the far edge; none reaches beyond it.
int32_t sizeToEdge(int32_t size, int32_t position, int32_t edge)
{
    const int64_t left = int64_t{edge} - position;
    return saturateToInt32(std::min(size < 1 ? size + left : size, left));
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_ImCopyBlock(int32_t width, int32_t height, int32_t sourceX, int32_t sourceY, int32_t imSrc,
                      int32_t destX, int32_t destY, int32_t imDest)
{
    const ImageRecord* const source = findImageRecord(imSrc, "CopyBlock");
    const ImageRecord* const dest = source ? findImageRecord(imDest, "CopyBlock") : nullptr;
    if (!dest)
        return 0;
    const int32_t cols = commonSize(width, int64_t{source->cols} - sourceX, int64_t{dest->cols} - destX);
    const int32_t rows = commonSize(height, int64_t{source->rows} - sourceY, int64_t{dest->rows} - destY);
    if (cols < 1 || rows < 1)
        return 0;
    const Rect from = {sourceX, sourceY, cols, rows};
    const VexaPoint to = {destX, destY};
    if (directPixels(*source) && directPixels(*dest))
        return copyDirect(from, *source, to, *dest);
    return copyThroughBuffer(from, imSrc, *source, to, imDest, *dest);
}

int32_t I_RectCopy(int32_t sourceX, int32_t sourceY, int32_t destX, int32_t destY, int32_t width,
                   int32_t height, int32_t imSrc, int32_t imDest)
{
    return I_ImCopyBlock(width, height, sourceX, sourceY, imSrc, destX, destY, imDest);
}

int32_t I_ImageCopy(int32_t imSrc, int32_t imDest)
{
    if (imSrc == 0 || imDest == 0)
        return 0;
    const int32_t copied = I_ImCopyBlock(-1, -1, 0, 0, imSrc, 0, 0, imDest);
    if (copied)
        I_ImCopyParams(imSrc, imDest);
    return copied;
}

int32_t I_CloneImage(int32_t imSrc, int32_t type, int32_t copyContents)
{
    int32_t cols = 0;
    int32_t rows = 0;
    if (!I_ImGetSize(&cols, &rows, nullptr, imSrc) || cols < 1 || rows < 1)
        return 0;
    ImageGuard clone(I_ImOpen(cols, rows, type < 1 ? I_ImGetType(imSrc) : type));
    if (clone.get() == 0)
        return 0;
    if (!copyContents)
        copyPalette(imSrc, clone.get());
    else if (!I_ImageCopy(imSrc, clone.get()))
        return 0;
    return clone.release();
}

int32_t I_CloneImageEx(int32_t imSrc, int32_t type, int32_t copyContents, const char* comment)
{
    const int32_t clone = I_CloneImage(imSrc, type, copyContents);
    I_ImSetComment(comment, clone);
    return clone;
}

int32_t I_CloneRect(int32_t im, int32_t type, int32_t x1, int32_t y1, int32_t x2, int32_t y2)
{
    const ImageRecord* const record = findImageRecord(im, "I_ImGetSize");
    if (!record)
        return 0;
    const Rect rect = {x1, y1, saturateToInt32(int64_t{x2} - x1 + 1), saturateToInt32(int64_t{y2} - y1 + 1)};
    ImageGuard clone(I_ImOpen(rect.width, rect.height, type == kTypeOwn ? record->type : type));
    if (clone.get() == 0)
        return 0;
    const int32_t copied = I_ImCopyBlock(rect.width, rect.height, rect.x, rect.y, im, 0, 0, clone.get());
    return copied || !touchesImage(rect, *record) ? clone.release() : 0;
}

int32_t I_RectDup(int32_t x, int32_t y, int32_t width, int32_t height, int32_t im)
{
    if (im == 0)
        return 0;
    const ImageRecord* const record = findImageRecord(im, "I_ImGetSize");
    if (!record)
        return 0;
    const VexaPoint from = {std::max(x, 0), std::max(y, 0)};
    const int32_t cols = sizeToEdge(width, from.x, record->cols);
    const int32_t rows = sizeToEdge(height, from.y, record->rows);
    if (cols < 1 || rows < 1)
        return 0;
    ImageGuard dup(I_ImOpen(cols, rows, record->type));
    if (dup.get() == 0 || !I_ImCopyBlock(cols, rows, from.x, from.y, im, 0, 0, dup.get()))
        return 0;
    copyPalette(im, dup.get());
    I_SetPixValueRange(record->minValue, record->maxValue, dup.get());
    return dup.release();
}

void* I_DupBlockType(int32_t x, int32_t y, int32_t width, int32_t height, int32_t im, int32_t type)
{
    if (width < 1 || height < 1)
        return nullptr;
    const ImageRecord* const record = findImageRecord(im, "I_GetBlockType");
    if (!record)
        return nullptr;
    void* const block = allocateForCaller(int64_t{width} * height, blockPixelBytes(*record, type));
    if (malloctest(block, "I_DupBlockType (%d x %d)", width, height))
        return nullptr;
    if (readBlock({x, y, width, height}, block, im, type, *record))
        return block;
    vexaFree(block);
    return nullptr;
}

void** I_Dup2DBlockType(int32_t x, int32_t y, int32_t width, int32_t height, int32_t im, int32_t type)
{
    if (width < 1 || height < 1)
        return nullptr;
    const ImageRecord* const record = findImageRecord(im, "I_GetBlockType");
    if (!record)
        return nullptr;
    const auto bytes = static_cast<int32_t>(blockPixelBytes(*record, type));
    // The second half is spare space for the caller.
    void** const array = Create2DArray(width, saturateToInt32(int64_t{height} * 2), bytes);
    if (!array)
        return nullptr;
    if (readBlock({x, y, width, height}, array[0], im, type, *record))
        return array;
    Free2DArray(array);
    return nullptr;
}

int32_t I_Put2DBlockType(int32_t x, int32_t y, int32_t width, int32_t height, void** array, int32_t im,
                         int32_t type)
{
    if (!array || im == 0)
        return 0;
    int64_t pitch = 0;
    if (height > 1)
        pitch =
            static_cast<int64_t>(reinterpret_cast<intptr_t>(array[1]) - reinterpret_cast<intptr_t>(array[0]));
    return I_PutBlockTypeEx(x, y, width, height, array[0], im, type, saturateToInt32(pitch));
}
