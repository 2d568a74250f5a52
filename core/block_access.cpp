#include "core/block_access.h"

#include <algorithm>
#include <cstring>

#include "core/image_memory.h"
#include "core/image_table.h"
#include "core/pixel_types.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/conversion.h"
#include "vexalib/image.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// Instead of a result: the kind gave pixels of another type than its image had at the start of the call.
constexpr int32_t kPixelsChanged = -1;

// One block call: the rectangle, the caller's buffer, the image.
struct BlockRequest {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
    uint8_t* buffer;
    int32_t type;
    int32_t pitch;
    ImageRecord& record;
};

// Bytes of a row in the image's own width of storage, as its operations move it.
int64_t imageRowBytes(const BlockRequest& request)
{
    return int64_t{request.width} * request.record.bytes;
}

// The type given to the open of a kind's image stands until the kind is asked for its size: so long it may be of another
// width than the pixels.
bool movesAsItIs(const BlockRequest& request)
{
    const ImageRecord& record = request.record;
    return request.type == record.type && (!record.ops || record.bytes == I_ImTypeBytes(record.type));
}

int64_t bufferRowBytes(const BlockRequest& request)
{
    return movesAsItIs(request) ? imageRowBytes(request)
                                : int64_t{request.width} * I_ImTypeBytes(request.type);
}

// A block of the image's own pixels for a conversion, which reads and writes the width of the type.
Buffer<uint8_t> ownBlock(const BlockRequest& request)
{
    const int64_t typeBytes = int64_t{request.width} * I_ImTypeBytes(request.record.type);
    return Buffer<uint8_t>(std::max(imageRowBytes(request), typeBytes) * request.height);
}

// Storage rows of an inverted image count from the bottom.
int32_t storageY(const BlockRequest& request)
{
    const int64_t mirrored = int64_t{request.record.rows} - request.y - request.height;
    return request.record.inverted ? saturateToInt32(mirrored) : request.y;
}

// A palette index moves as the byte that it is.
int32_t movedType(int32_t type)
{
    return type == PIX_PALETTE ? PIX_BYTE : type;
}

int32_t getDirect(const BlockRequest& request, uint8_t* pixels)
{
    const ImageRecord& record = request.record;
    ScaleRecord scale;
    SetupScale(&record, request.type, &scale, record.palette, record.palette, 0, record.inverted, 1);
    return saturateToInt32(copyPlaces(
        {pixels, 0, record.type}, {record.stride, record.cols, record.rows, request.x, request.y, -1, -1},
        {request.buffer, 0, request.type},
        {request.pitch, request.width, request.height, 0, 0, request.width, request.height}, &scale));
}

int32_t putDirect(const BlockRequest& request, uint8_t* pixels)
{
    const ImageRecord& record = request.record;
    ScaleRecord scale;
    SetupScale(&record, request.type, &scale, record.palette, record.palette, record.inverted, 0, 0);
    return saturateToInt32(
        copyPlaces({request.buffer, 0, request.type},
                   {request.pitch, request.width, request.height, 0, 0, request.width, request.height},
                   {pixels, 0, record.type},
                   {record.stride, record.cols, record.rows, request.x, request.y, -1, -1}, &scale));
}

// Required: the pitch holds for inverted images only. All others deliver packed rows.
int32_t getByKind(const BlockRequest& request)
{
    ImageRecord& record = request.record;
    if (!record.getBlock)
        return 0;
    const int64_t rowBytes = bufferRowBytes(request);
    const int32_t bytes = record.bytes;
    Buffer<uint8_t> upright;
    uint8_t* target = request.buffer;
    if (record.inverted) {
        upright = Buffer<uint8_t>(rowBytes * request.height);
        if (malloctest(upright.data(), "I_GetBlockType-3"))
            return 0;
        target = upright.data();
    }
    Buffer<uint8_t> own;
    uint8_t* readTarget = target;
    if (!movesAsItIs(request)) {
        own = ownBlock(request);
        if (malloctest(own.data(), "I_GetBlockType-4"))
            return 0;
        readTarget = own.data();
    }
    record.getBlock(request.x, storageY(request), request.width, request.height, readTarget, &record);
    if (record.bytes != bytes || (!own && record.type != request.type))
        return kPixelsChanged;
    if (own) {
        ScaleRecord scale;
        SetupScale(&record, movedType(request.type), &scale, record.palette, record.palette, 0, 0, 1);
        convertRows({own.data(), imageRowBytes(request), movedType(record.type)},
                    {target, rowBytes, movedType(request.type)}, request.width, request.height, false,
                    &scale);
    }
    if (record.inverted)
        copyRows({target, rowBytes, request.type},
                 {request.buffer, request.pitch > 0 ? request.pitch : rowBytes, request.type}, rowBytes,
                 request.height, true);
    return 1;
}

int32_t putByKind(const BlockRequest& request)
{
    ImageRecord& record = request.record;
    if (!record.putBlock)
        return 0;
    const int64_t rowBytes = bufferRowBytes(request);
    const int32_t type = record.type;
    const int32_t bytes = record.bytes;
    const int32_t y = storageY(request);
    Buffer<uint8_t> upright;
    uint8_t* block = request.buffer;
    if (record.inverted) {
        upright = Buffer<uint8_t>(rowBytes * request.height);
        if (malloctest(upright.data(), "I_PutBlockType-3"))
            return 0;
        copyRows({block, request.pitch > 0 ? request.pitch : rowBytes, request.type},
                 {upright.data(), rowBytes, request.type}, rowBytes, request.height, true);
        block = upright.data();
    }
    Buffer<uint8_t> own;
    if (!movesAsItIs(request)) {
        own = ownBlock(request);
        if (malloctest(own.data(), "I_PutBlockType-4"))
            return 0;
        if (keepsOtherBands(request.type, record.type) && record.getBlock)
            record.getBlock(request.x, y, request.width, request.height, own.data(), &record);
        if (record.bytes != bytes)
            return kPixelsChanged;
        ScaleRecord scale;
        SetupScale(&record, movedType(request.type), &scale, record.palette, record.palette, 0, 0, 0);
        convertRows({block, rowBytes, movedType(request.type)},
                    {own.data(), imageRowBytes(request), movedType(record.type)}, request.width,
                    request.height, false, &scale);
        block = own.data();
    }
    record.putBlock(request.x, y, request.width, request.height, block, &record);
    if (record.type != type)
        return kPixelsChanged;
    return saturateToInt32(int64_t{request.width} * request.height);
}

// A kind that has turned to other pixels since it was last asked gets a second chance, and no more.
template <typename Call>
int32_t withPresentPixels(const Call& call)
{
    const int32_t first = call();
    return first == kPixelsChanged ? std::max(call(), 0) : first;
}

// The address of a storage row's pixel for the short cut of single rows; null where the short cut does not hold.
uint8_t* rowAddress(const ImageRecord& record, int32_t x, int32_t y, int32_t type)
{
    uint8_t* const pixels = type == record.type ? directPixels(record) : nullptr;
    return pixels ? pixels + int64_t{y} * record.stride + int64_t{x} * record.bytes : nullptr;
}

// The columns of a row block that lie in the image.
int32_t columnsFrom(const ImageRecord& record, int32_t x, int32_t width)
{
    const int64_t left = int64_t{record.cols} - x;
    return left < width ? static_cast<int32_t>(std::max<int64_t>(left, 0)) : width;
}

// Bytes from an address to the end of what the mover may touch, at most those that getPtr promised.
int64_t movableBytes(const ImageRecord& record, const uint8_t* address, int32_t promised)
{
    if (record.getPtr != memoryPointer)
        return promised;
    return std::min<int64_t>(promised, pixelSpanEnd(record) - address);
}

enum class Direction { get, put };

void moveRows(Direction direction, uint8_t* buffer, uint8_t* pixels, int64_t stride, int64_t rowBytes,
              int64_t rows)
{
    if (direction == Direction::get)
        copyRows({pixels, stride, PIX_BYTE}, {buffer, rowBytes, PIX_BYTE}, rowBytes, rows, false);
    else
        copyRows({buffer, rowBytes, PIX_BYTE}, {pixels, stride, PIX_BYTE}, rowBytes, rows, false);
}

// Where getPtr finds a pixel, and how far its segment reaches.
struct Segment {
    uint8_t* pixels;
    int64_t bytes;
    int64_t stride;
};

Segment segmentAt(ImageRecord& record, int64_t x, int64_t y)
{
    int32_t left = 0;
    int32_t stride = 0;
    auto* const pixels =
        static_cast<uint8_t*>(record.getPtr(saturateToInt32(x), saturateToInt32(y), &left, &stride, &record));
    return {pixels, pixels ? movableBytes(record, pixels, left) : 0, stride};
}

// Whole rows that one segment holds: as many as its strides, and none that ends behind it.
int64_t rowsInSegment(const Segment& segment, int64_t rowBytes, int64_t rows)
{
    if (segment.stride < 1)
        return 1;
    const int64_t whole = (segment.bytes - rowBytes) / segment.stride + 1;
    return std::clamp<int64_t>(std::min(segment.bytes / segment.stride, whole), 1, rows);
}

// Images whose pixels only getPtr reaches. Where a row is split between two segments it is moved in two parts.
int32_t moveByPointer(Direction direction, int32_t x, int32_t y, int32_t width, int32_t height,
                      uint8_t* buffer, ImageRecord* record)
{
    if (!record->getPtr || !buffer || width < 1)
        return 0;
    const int64_t rowBytes = int64_t{record->bytes} * width;
    int64_t row = 0;
    while (row < height) {
        const Segment segment = segmentAt(*record, x, int64_t{y} + row);
        if (segment.bytes < 1)
            return 0;
        if (segment.bytes >= rowBytes) {
            const int64_t run = rowsInSegment(segment, rowBytes, height - row);
            moveRows(direction, buffer, segment.pixels, segment.stride, rowBytes, run);
            buffer += run * rowBytes;
            row += run;
            continue;
        }
        moveRows(direction, buffer, segment.pixels, 0, segment.bytes, 1);
        const Segment rest = segmentAt(*record, x + segment.bytes / record->bytes, int64_t{y} + row);
        if (rest.bytes < 1)
            return 0;
        // The rest of a row that leaves the image has no place; what is there ends the row.
        const int64_t restBytes = std::min(rowBytes - segment.bytes, rest.bytes);
        moveRows(direction, buffer + segment.bytes, rest.pixels, 0, restBytes, 1);
        buffer += rowBytes;
        ++row;
    }
    return 1;
}

} // namespace

int32_t getBlockByPointer(int32_t x, int32_t y, int32_t width, int32_t height, void* buffer,
                          ImageRecord* record)
{
    return moveByPointer(Direction::get, x, y, width, height, static_cast<uint8_t*>(buffer), record);
}

int32_t putBlockByPointer(int32_t x, int32_t y, int32_t width, int32_t height, void* buffer,
                          ImageRecord* record)
{
    return moveByPointer(Direction::put, x, y, width, height, static_cast<uint8_t*>(buffer), record);
}

} // namespace vexa

using namespace vexa;

int32_t I_GetBlockTypeEx(int32_t x, int32_t y, int32_t width, int32_t height, void* buffer, int32_t im,
                         int32_t type, int32_t pitch)
{
    if (!buffer || width < 1 || height < 1)
        return 0;
    ImageRecord* const record = findImageRecord(im, "I_GetBlockType");
    if (!record)
        return 0;
    BlockRequest request = {x, y, width, height, static_cast<uint8_t*>(buffer), type, pitch, *record};
    uint8_t* const pixels = directPixels(*record);
    if (pixels && type != kTypeRaw)
        return getDirect(request, pixels);
    if (type == kTypeRaw)
        request.type = record->type;
    return withPresentPixels([&] { return getByKind(request); });
}

int32_t I_PutBlockTypeEx(int32_t x, int32_t y, int32_t width, int32_t height, const void* buffer, int32_t im,
                         int32_t type, int32_t pitch)
{
    if (!buffer || width < 1 || height < 1)
        return 0;
    ImageRecord* const record = findImageRecord(im, "I_PutBlockType");
    if (!record)
        return 0;
    // The buffer is only read, but the kinds' operations have one form for both directions.
    auto* const bytes = static_cast<uint8_t*>(const_cast<void*>(buffer));
    BlockRequest request = {x, y, width, height, bytes, type, pitch, *record};
    uint8_t* const pixels = directPixels(*record);
    if (pixels && type != kTypeRaw)
        return putDirect(request, pixels);
    if (type == kTypeRaw)
        request.type = record->type;
    return withPresentPixels([&] { return putByKind(request); });
}

int32_t I_GetBlockType(int32_t x, int32_t y, int32_t width, int32_t height, void* buffer, int32_t im,
                       int32_t type)
{
    if (height == 1 && x >= 0 && y >= 0 && buffer) {
        const ImageRecord* const record = findImageRecord(im, "I_GetBlockType");
        if (!record)
            return 0;
        width = columnsFrom(*record, x, width);
        if (width < 1 || y >= record->rows)
            return 0;
        if (const uint8_t* const row = rowAddress(*record, x, y, type)) {
            std::memmove(buffer, row,
                         static_cast<std::size_t>(width) * static_cast<std::size_t>(record->bytes));
            return width;
        }
    }
    return I_GetBlockTypeEx(x, y, width, height, buffer, im, type, 0);
}

int32_t I_PutBlockType(int32_t x, int32_t y, int32_t width, int32_t height, const void* buffer, int32_t im,
                       int32_t type)
{
    if (height == 1 && x >= 0 && y >= 0 && buffer) {
        const ImageRecord* const record = findImageRecord(im, "I_PutBlockType");
        if (!record)
            return 0;
        width = columnsFrom(*record, x, width);
        if (width < 1 || y >= record->rows)
            return 0;
        if (uint8_t* const row = rowAddress(*record, x, y, type)) {
            std::memmove(row, buffer,
                         static_cast<std::size_t>(width) * static_cast<std::size_t>(record->bytes));
            return width;
        }
    }
    return I_PutBlockTypeEx(x, y, width, height, buffer, im, type, 0);
}
