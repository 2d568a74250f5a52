// Row functions of the tiled subtraction, one set per instruction set.
#ifndef VEXA_ALIGN_TILE_ROWS_H
#define VEXA_ALIGN_TILE_ROWS_H

#include <cstdint>

namespace vexa
{

struct TileRows {
    // a - b around 128: clamped to a byte, or halved first.
    void (*subtract)(const uint8_t* a, const uint8_t* b, int32_t n, bool isHalved, uint8_t* out);
    // Differences around 128 into the coding of a clip mode, in place.
    void (*code)(uint8_t* differences, int64_t n, int32_t clipMode);
};

const TileRows& tileRows();

} // namespace vexa

#endif
