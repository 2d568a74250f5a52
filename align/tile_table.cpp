#include "align/tile_table.h"

#include <algorithm>
#include <cstdlib>

#include "align/tile_rows.h"
#include "support/buffer.h"
#include "vexalib/listing.h"
#include "vexalib/numeric.h"
#include "vexalib/status.h"
#include "vexalib/tile_align.h"

#define VEXA_ROWS_FILE "align/tile_loops.h"
#include "support/for_each_instruction_set.h"

namespace vexa
{
namespace
{

template <typename T>
[[nodiscard]] bool remake(T**& array, int32_t cols, int32_t rows)
{
    Free2DArray(array);
    array = reinterpret_cast<T**>(Create2DArray(cols, rows, sizeof(T)));
    return !malloctest(array, "AlignSubtract Tiles");
}

// Writes an array to the debug trace.
void traceArray(const float* values, int32_t cols, int32_t rows)
{
    constexpr int64_t kCharacters = 48; // of the longest float and a separator
    Buffer<char> text(int64_t{cols} * rows * kCharacters + 1);
    if (malloctest(text.data(), "AlignStats"))
        return;
    FormatArray(text.data(), values, sizeof(float), cols, rows, "%.1f");
    vexa_dprintf("%s", text.data());
}

} // namespace

const TileRows& tileRows()
{
    return VEXA_ROWS(kTileRows);
}

TileTable& tileTable()
{
    static TileTable table;
    return table;
}

bool TileTable::create(int32_t tilesX, int32_t tilesY, float rangeThreshold, float stdvThreshold)
{
    tilesX_ = tilesX;
    tilesY_ = tilesY;
    rangeThreshold_ = rangeThreshold;
    stdvThreshold_ = stdvThreshold;
    bool isComplete = remake(xys_, tilesX, tilesY);
    for (float*** array : {&ranges_, &stdvs_, &diffstdvs_, &xoffsets_, &yoffsets_})
        isComplete = remake(*array, tilesX, tilesY) && isComplete;
    if (!isComplete)
        tilesX_ = tilesY_ = 0;
    return isComplete;
}

void TileTable::store(int32_t tx, int32_t ty, const TileResult& result)
{
    xys_[ty][tx] = {result.left, result.top};
    ranges_[ty][tx] = result.range;
    stdvs_[ty][tx] = result.deviation;
    diffstdvs_[ty][tx] = result.differenceDeviation;
    xoffsets_[ty][tx] = result.xOffset;
    yoffsets_[ty][tx] = result.yOffset;
}

VexaPointF TileTable::startFor(int32_t tx, int32_t ty, const VexaPointF& given) const
{
    float sumX = 0.0F, sumY = 0.0F;
    int32_t found = 0;
    const auto take = [&](int32_t nx, int32_t ny) {
        if (nx < 0 || nx >= tilesX_ || !(ranges_[ny][nx] > rangeThreshold_))
            return;
        sumX += xoffsets_[ny][nx];
        sumY += yoffsets_[ny][nx];
        ++found;
    };
    if (ty > 0)
        take(tx - 1, ty);
    // Required: the second row of tiles does not look at the first.
    for (int32_t nx = tx - 1; ty >= 2 && nx <= tx + 1; ++nx)
        take(nx, ty - 1);
    if (found == 0)
        return given;
    return {sumX / static_cast<float>(found), sumY / static_cast<float>(found)};
}

VexaPointF TileTable::meanShift() const
{
    float sumX = 0.0F, sumY = 0.0F;
    for (int32_t ty = 0; ty < tilesY_; ++ty) {
        for (int32_t tx = 0; tx < tilesX_; ++tx) {
            sumX += xoffsets_[ty][tx];
            sumY += yoffsets_[ty][tx];
        }
    }
    const auto tiles = static_cast<float>(std::max(count(), 1));
    return {sumX / tiles, sumY / tiles};
}

void TileTable::trace() const
{
    if (xys_ && count() > 0) {
        vexa_dprintf("xys: %d x %d (in clipboard too)", tilesX_, tilesY_);
        I_SetClipboardArray(xys_[0], sizeof(float), 2 * tilesX_, tilesY_, "%.1f");
        traceArray(&xys_[0]->x, 2 * tilesX_, tilesY_);
    } else {
        vexa_dprintf("_xys==NULL");
    }
    const auto traceOne = [this](float** array, const char* missing, auto&& headline) {
        if (!array || count() == 0) {
            vexa_dprintf("%s", missing);
            return;
        }
        headline();
        traceArray(array[0], tilesX_, tilesY_);
    };
    traceOne(ranges_, "_ranges=NULL",
             [this] { vexa_dprintf("ranges: thresh=%.1f", double{rangeThreshold_}); });
    traceOne(stdvs_, "_stdvs=NULL", [this] { vexa_dprintf("stdvs: thresh=%.1f", double{stdvThreshold_}); });
    traceOne(diffstdvs_, "_diffstdvs=NULL", [this] { vexa_dprintf("diffstdvs: %d x %d", tilesX_, tilesY_); });
    traceOne(xoffsets_, "_xoffsets=NULL", [this] { vexa_dprintf("xofsets: %d x %d", tilesX_, tilesY_); });
    traceOne(yoffsets_, "_yoffsets=NULL", [this] { vexa_dprintf("yofsets: %d x %d", tilesX_, tilesY_); });
}

} // namespace vexa

using namespace vexa;

int32_t I_AlignStats(VexaPointF* offset, int32_t, int32_t, int32_t* tilesX)
{
    const TileTable& table = tileTable();
    if (offset)
        *offset = table.meanShift();
    if (tilesX)
        *tilesX = table.tilesX();
    return table.count();
}

int32_t AlignStats()
{
    tileTable().trace();
    return tileTable().count();
}
