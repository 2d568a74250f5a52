// How blocks of pixels move: between arrays, and through the operations of an image.
#ifndef VEXA_CORE_BLOCK_ACCESS_H
#define VEXA_CORE_BLOCK_ACCESS_H

#include <cstdint>

#include "vexalib/types.h"

namespace vexa
{

// Rows of pixels and the distance in bytes from one to the next.
struct Rows {
    const uint8_t* pixels;
    int64_t pitch;
    int32_t type;
};
struct WritableRows {
    uint8_t* pixels;
    int64_t pitch;
    int32_t type;
};

// Rows of bytes from top to bottom, or landing in reverse order.
void copyRows(const Rows& source, const WritableRows& dest, int64_t rowBytes, int64_t rows, bool reversed);
// Rows of pixels likewise, with conversion.
void convertRows(const Rows& source, const WritableRows& dest, int32_t width, int64_t rows, bool reversed,
                 const ScaleRecord* scale);
// True if a write of one type into the other keeps the bands that are not selected.
bool keepsOtherBands(int32_t sourceType, int32_t destType);

// A rectangle of an array of pixels. A pitch of 0 or below means packed rows, a negative size up to the far edge.
struct BlockPlace {
    int64_t pitch;
    int64_t cols;
    int64_t rows;
    int64_t x;
    int64_t y;
    int64_t width;
    int64_t height;
};
// The common part of the two rectangles is copied, with conversion where the types differ: see I_CopyBlockType.
int64_t copyPlaces(Rows source, BlockPlace from, WritableRows dest, BlockPlace to, const ScaleRecord* scale);

// The getBlock and putBlock of images that have a getPtr only: memory, in one piece or in segments.
int32_t getBlockByPointer(int32_t x, int32_t y, int32_t width, int32_t height, void* buffer,
                          ImageRecord* record);
int32_t putBlockByPointer(int32_t x, int32_t y, int32_t width, int32_t height, void* buffer,
                          ImageRecord* record);

// I_ImClearBlockType with sizes that may exceed what an argument holds.
int32_t clearBlock(int64_t x, int64_t y, int64_t width, int64_t height, const void* value, int32_t im,
                   int32_t valueType);

} // namespace vexa

#endif
