// What the tiles of the last subtraction found; kept after it.
#ifndef VEXA_ALIGN_TILE_TABLE_H
#define VEXA_ALIGN_TILE_TABLE_H

#include <cstdint>

#include "vexalib/types.h"

namespace vexa
{

struct TileResult {
    float left, top;
    float range, deviation, differenceDeviation;
    float xOffset, yOffset;
};

class TileTable
{
public:
    // Drops what an earlier run kept. False, with the error, without memory.
    [[nodiscard]] bool create(int32_t tilesX, int32_t tilesY, float rangeThreshold, float stdvThreshold);
    void store(int32_t tx, int32_t ty, const TileResult& result);

    // The mean shift of the neighbours that have structure, or the given one.
    VexaPointF startFor(int32_t tx, int32_t ty, const VexaPointF& given) const;
    VexaPointF meanShift() const;
    void trace() const;

    int32_t tilesX() const { return tilesX_; }
    int32_t tilesY() const { return tilesY_; }
    int32_t count() const { return tilesX_ * tilesY_; }
    float rangeThreshold() const { return rangeThreshold_; }
    float stdvThreshold() const { return stdvThreshold_; }

private:
    int32_t tilesX_ = 0;
    int32_t tilesY_ = 0;
    float rangeThreshold_ = 0.0F;
    float stdvThreshold_ = 0.0F;
    // Rows of tiles, by Create2DArray.
    VexaPointF** xys_ = nullptr;
    float** ranges_ = nullptr;
    float** stdvs_ = nullptr;
    float** diffstdvs_ = nullptr;
    float** xoffsets_ = nullptr;
    float** yoffsets_ = nullptr;
};

TileTable& tileTable();

} // namespace vexa

#endif
