#include "vexalib/image.h"

#include "core/image_memory.h"
#include "core/image_table.h"
#include "core/pixel_types.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/platform.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// Null leaves the outputs as they are.
void* pointerTo(int32_t x, int32_t y, int32_t* bytesLeft, int32_t* stride, ImageRecord& record)
{
    if (y >= record.rows) {
        I_SetError(26, "I_ImGetPtr");
        return nullptr;
    }
    int32_t left = 0;
    int32_t step = 0;
    void* const pointer = record.getPtr ? record.getPtr(x, y, &left, &step, &record) : nullptr;
    if (pointer && bytesLeft)
        *bytesLeft = left;
    if (pointer && stride)
        *stride = step;
    return pointer;
}

// An image whose pixels may move: it owns them, and no subimage looks at them.
bool ownsPixels(const ImageRecord& record)
{
    return record.data && (record.block || record.dibHandle) && record.subimageCount == 0;
}

// Takes over the block and the layout of a record that holds the converted pixels.
void adoptPixels(ImageRecord& record, const ImageRecord& converted)
{
    releaseBlock(record.block);
    if (record.dibHandle)
        vexaGlobalFree(record.dibHandle);
    record.dibHandle = nullptr;
    record.block = converted.block;
    record.data = converted.data;
    record.type = converted.type;
    record.bytes = converted.bytes;
    record.stride = converted.stride;
    record.inverted = 0;
}

} // namespace
} // namespace vexa

using namespace vexa;

void* I_ImGetPtr(int32_t x, int32_t y, int32_t* bytesLeft, int32_t* stride, int32_t im)
{
    ImageRecord* const record = findImageRecord(im, "I_ImGetPtr");
    return record ? pointerTo(x, y, bytesLeft, stride, *record) : nullptr;
}

void* I_ImGetPtrEx(int32_t x, int32_t y, int32_t* stride, int32_t im, int32_t type)
{
    ImageRecord* const record = findImageRecord(im, "I_ImGetPtr");
    if (!record || (type != kTypeOwn && type != record->type))
        return nullptr;
    return pointerTo(x, y, nullptr, stride, *record);
}

void** I_ImGet2DPtr(int32_t* cols, int32_t* rows, int32_t im, int32_t type)
{
    ImageRecord* const record = findImageRecord(im, "I_ImGetPtr");
    // Required: only the widths of the types are compared.
    if (!record || (type != kTypeOwn && I_ImTypeBytes(type) != I_ImTypeBytes(record->type)))
        return nullptr;
    void** const table = rebuildRowTable(*record);
    if (table && cols)
        *cols = record->cols;
    if (table && rows)
        *rows = record->rows;
    return table;
}

int32_t I_ImConvertType(int32_t im, int32_t type)
{
    if (type == PIX_PALETTE) {
        I_SetError(1, "I_ImConvert to Palette not supported");
        return 0;
    }
    ImageRecord* const record = findImageRecord(im, "ImConvertType");
    if (!record || record->type == type)
        return record != nullptr;
    if (!ownsPixels(*record)) {
        I_SetError(1, "I_ImConvert: cannot change (realloc) non-memory or sub-image");
        return 0;
    }
    if (type == kTypeRaw) { // a request of the block calls, no type of an image
        I_SetError(12, "");
        return 0;
    }
    ImageRecord converted = {};
    converted.cols = record->cols;
    converted.rows = record->rows;
    converted.type = type;
    converted.bytes = I_ImTypeBytes(type);
    const int64_t stride = alignedStride(converted.cols, converted.bytes);
    converted.stride = saturateToInt32(stride);
    const bool allocated = converted.stride == stride && allocatePixels(converted);
    if (malloctest(allocated ? converted.block : nullptr, "I_ImConvertType %d x %d", record->cols,
                   record->rows))
        return 0;
    if (!I_GetBlockTypeEx(0, 0, record->cols, record->rows, converted.data, im, type, converted.stride)) {
        releaseBlock(converted.block);
        return 0;
    }
    adoptPixels(*record, converted);
    rebuildRowTable(*record);
    return 1;
}
