#include "core/image_memory.h"

#include <algorithm>
#include <cstring>

#include "core/image_table.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "support/uncleared.h"
#include "vexalib/image.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constinit int32_t alignment = 8;

// Row tables have this many more entries at either end, pixel blocks this many rows and pixels.
constexpr int64_t kGuard = 2;

int64_t guardBytes(const ImageRecord& record)
{
    return kGuard * (int64_t{record.stride} + record.bytes);
}

// The same in front of the first pixel, which so lies as the block does.
int64_t frontGuardBytes(const ImageRecord& record)
{
    return (guardBytes(record) + 63) & ~int64_t{63};
}

int64_t pixelSpanAt(const ImageRecord& record, int64_t stride)
{
    // Overlapping rows, or an own width of storage below that of the type, let the last row end behind its stride.
    const int64_t pixel = std::max(record.bytes, I_ImTypeBytes(record.type));
    return std::max(stride * record.rows, stride * (int64_t{record.rows} - 1) + record.cols * pixel);
}

const ImageRecord& rootOf(const ImageRecord& record)
{
    const ImageRecord* root = &record;
    while (root->parent != 0) {
        const ImageRecord* parent = imageRecordOrNull(root->parent);
        if (!parent)
            break;
        root = parent;
    }
    return *root;
}

} // namespace

int32_t& strideAlignment()
{
    return alignment;
}

int64_t alignedStride(int64_t cols, int64_t bytes)
{
    const int64_t packed = cols * bytes;
    return alignment < 2 ? packed : (packed + alignment - 1) / alignment * alignment;
}

int64_t pixelSpan(const ImageRecord& record)
{
    return pixelSpanAt(record, record.stride);
}

const uint8_t* pixelSpanEnd(const ImageRecord& record)
{
    const ImageRecord& root = rootOf(record);
    return static_cast<const uint8_t*>(root.data) + root.fileStart + pixelSpan(root);
}

bool allocatePixels(ImageRecord& record)
{
    const int64_t front = frontGuardBytes(record);
    record.block = allocateBlock(front + pixelSpan(record) + guardBytes(record));
    record.data = record.block ? static_cast<uint8_t*>(record.block) + front : nullptr;
    return record.block != nullptr;
}

bool allocateUnclearedPixels(ImageRecord& record)
{
    const int64_t front = frontGuardBytes(record);
    const int64_t span = pixelSpan(record);
    auto* const block = static_cast<uint8_t*>(allocateUncleared(front + span + guardBytes(record)));
    if (!block)
        return false;
    std::memset(block, 0, static_cast<std::size_t>(front));
    std::memset(block + front + span, 0, static_cast<std::size_t>(guardBytes(record)));
    record.block = block;
    record.data = block + front;
    return true;
}

bool strideFits(const ImageRecord& record, int32_t stride)
{
    const ImageRecord& root = rootOf(record);
    if (!root.block || !record.data)
        return true;
    const auto* block = static_cast<const uint8_t*>(root.block);
    const int64_t offset = static_cast<const uint8_t*>(record.data) - block;
    // Block copies take a stride of 0 as that of packed rows.
    const int64_t used = stride > 0 ? stride : int64_t{record.cols} * I_ImTypeBytes(record.type);
    return stride >= 0 && offset + pixelSpanAt(record, used) <= blockBytes(block);
}

void* memoryPointer(int32_t x, int32_t y, int32_t* bytesLeft, int32_t* stride, ImageRecord* record)
{
    const int64_t end = int64_t{record->stride} * record->rows + record->fileStart;
    if (end < 1 || !record->data)
        return nullptr;
    const int64_t wanted = int64_t{y} * record->stride + int64_t{x} * record->bytes + record->fileStart;
    const int64_t position = std::clamp<int64_t>(wanted, 0, end - 1);
    *bytesLeft = saturateToInt32(end - position);
    *stride = record->stride;
    return static_cast<uint8_t*>(record->data) + position;
}

void** rebuildRowTable(ImageRecord& record)
{
    uint8_t* const pixels = directPixels(record);
    if (!pixels || record.rows < 1)
        return nullptr;
    const int64_t entries = record.rows + 2 * kGuard;
    const auto bytes = entries * static_cast<int64_t>(sizeof(void*));
    if (!record.rowTableBlock || blockBytes(record.rowTableBlock) < bytes) {
        releaseBlock(record.rowTableBlock);
        record.rowTable = nullptr;
        record.rowTableBlock = allocateBlock(entries, sizeof(void*));
        if (malloctest(record.rowTableBlock, "I_ImGet2DPtr %d rows", record.rows))
            return nullptr;
    }
    auto** const table = static_cast<void**>(record.rowTableBlock) + kGuard;
    for (int64_t entry = -kGuard; entry < record.rows + kGuard; ++entry) {
        const int64_t row = std::clamp<int64_t>(entry, 0, record.rows - 1);
        table[entry] = pixels + (record.inverted ? record.rows - 1 - row : row) * record.stride;
    }
    record.rowTable = table;
    return table;
}

} // namespace vexa
