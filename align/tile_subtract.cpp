#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "align/address_word.h"
#include "align/tile_rows.h"
#include "align/tile_table.h"
#include "core/image_table.h"
#include "core/roi.h"
#include "measure/byte_sums.h"
#include "measure/histogram_sums.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/align1d.h"
#include "vexalib/block.h"
#include "vexalib/frames.h"
#include "vexalib/image.h"
#include "vexalib/numeric.h"
#include "vexalib/roi.h"
#include "vexalib/scale.h"
#include "vexalib/statistics.h"
#include "vexalib/status.h"
#include "vexalib/tile_align.h"

namespace vexa
{
namespace
{

constexpr int32_t kFirstColorType = PIX_PALETTE + 1;
constexpr int32_t kHalfSignedClipMode = 4;
constexpr int32_t kGoodScore = 80;
constexpr int32_t kAutoAlignSide = 200;
constexpr int64_t kManyPixels = 1000000;
constexpr int32_t kLeastSide = 3;
constexpr float kRangePart = 0.6F;
constexpr float kDeviationPart = 5.0F;
constexpr float kRealignedQuality = 0.5F;
constexpr float kInPlace = 0.67F;    // residual shift, in pixels
constexpr float kLeastBlend = 0.01F; // of a residual that counts
constexpr int32_t kMostRestarts = 4, kMostRestartsInFirstRow = 6;
constexpr double kSettledPart = 0.6; // deviation of the difference against that of the tile

// The five differences and references: the reference a pixel to each side and in place.
enum Place : std::size_t { up, left, centre, right, down, places };
constexpr std::array<VexaPoint, places> kPlaces = {
    {{1, 0}, {0, 1}, {1, 1}, {2, 1}, {1, 2}}}; // corners in the margin

struct Valley {
    float position; // -1 to 1
    float depth;
};

// The lowest point of a parabola through three deviations, none much lower than the middle one.
Valley fitValley(float before, float middle, float after)
{
    const auto limited = [middle](float side, float other) {
        return std::max(static_cast<double>(side),
                        middle - 0.9 * std::fabs(static_cast<double>(other) - middle));
    };
    const auto a = static_cast<float>(limited(before, after));
    const auto b = static_cast<float>(limited(after, a));
    double position = 0.0, depth = 0.0;
    I_ParabolicPeak(a, middle, b, &position, &depth);
    return {static_cast<float>(std::clamp(position - 1.0, -1.0, 1.0)), static_cast<float>(depth)};
}

struct Inputs {
    int32_t imA, imB, imResult, imWarped;
    int32_t type, bytes; // of the pixels worked on
    int32_t colsB, rowsB;
    int32_t clipMode;
    VexaBox region;
    bool isRefined; // not in the automatic mode
    VexaPointF start;
};

// Buffers of one tile.
class TileBuffers
{
public:
    TileBuffers(int32_t width, int32_t height, int32_t bytes)
        : tile_(int64_t{width} * height * bytes), margin_(marginBytes(width, height, bytes)),
          blended_(marginBytes(width, height, bytes))
    {
        for (Buffer<uint8_t>& difference : differences_)
            difference = Buffer<uint8_t>(int64_t{width} * height * bytes);
    }
    explicit operator bool() const
    {
        return tile_ && margin_ && blended_ &&
               std::all_of(differences_.begin(), differences_.end(),
                           [](const auto& d) { return static_cast<bool>(d); });
    }
    static int64_t marginBytes(int32_t width, int32_t height, int32_t bytes)
    {
        return (int64_t{height} + 3) * (int64_t{width} + 2) * bytes;
    }

    uint8_t* tile() { return tile_.data(); }
    uint8_t* margin() { return margin_.data(); }
    uint8_t* blended() { return blended_.data(); }
    uint8_t* difference(Place place) { return differences_[place].data(); }

private:
    Buffer<uint8_t> tile_;
    Buffer<uint8_t> margin_;
    Buffer<uint8_t> blended_;
    std::array<Buffer<uint8_t>, places> differences_;
};

class TileSubtraction
{
public:
    TileSubtraction(const Inputs& inputs, TileTable& table, TileBuffers& buffers, int32_t tileW,
                    int32_t tileH)
        : in_(inputs), table_(table), buffers_(buffers), tileW_(tileW), tileH_(tileH)
    {
    }

    void run()
    {
        const int64_t pixels = (int64_t{in_.region.right} - in_.region.left + 1) *
                               (int64_t{in_.region.bottom} - in_.region.top + 1);
        for (int32_t ty = 0; ty < table_.tilesY(); ++ty) {
            for (int32_t tx = 0; tx < table_.tilesX(); ++tx) {
                if (pixels > kManyPixels)
                    I_TellProgress(static_cast<float>(ty * table_.tilesX() + tx),
                                   static_cast<float>(table_.count()), "AlignSubtract (warp)");
                subtractTile(tx, ty);
            }
        }
    }

private:
    // A tile at one shift.
    struct Tile {
        int32_t tx, ty;
        int32_t left, top, width, height;
        int32_t ix, iy; // whole shift
        float rx, ry;   // what the whole shift is more than the wanted one
        float range, deviation;
        float differenceDeviation;
    };

    void subtractTile(int32_t tx, int32_t ty)
    {
        VexaPointF shift = table_.startFor(tx, ty, in_.start);
        Tile tile = {};
        tile.tx = tx;
        tile.ty = ty;
        const int32_t mostRestarts = ty == 0 ? kMostRestartsInFirstRow : kMostRestarts;
        for (int32_t restarts = 0;; ++restarts) {
            setShift(tile, shift);
            if (!placeTile(tile))
                return;
            measureTile(tile);
            realign(tile, shift);
            if (!subtractAround(tile))
                break;
            estimateShift(tile);
            const bool isInPlace = std::fabs(tile.rx) < kInPlace && std::fabs(tile.ry) < kInPlace &&
                                   tile.differenceDeviation <= tile.deviation * kSettledPart;
            if (isInPlace || restarts > mostRestarts)
                break;
            shift = {static_cast<float>(tile.ix - Rnd(tile.rx)), static_cast<float>(tile.iy - Rnd(tile.ry))};
            if (I_GetDebug())
                I_PostMessage("Restart tile %d %d dx=%.1f %.1f; totdx=%.1f %.1f, x=%d %d; nLoop=%d", tx, ty,
                              double{tile.rx}, double{tile.ry}, double{shift.x}, double{shift.y}, tile.left,
                              tile.top, restarts + 1);
        }
        finish(tile);
    }

    static void setShift(Tile& tile, const VexaPointF& shift)
    {
        tile.ix = Rnd(shift.x);
        tile.iy = Rnd(shift.y);
        tile.rx = static_cast<float>(tile.ix) - shift.x;
        tile.ry = static_cast<float>(tile.iy) - shift.y;
    }

    // The tile's box in the region and, a pixel wider on each side, in imB. False where too little is left.
    bool placeTile(Tile& tile) const
    {
        tile.left = std::max(tile.ix, in_.region.left + tile.tx * tileW_);
        tile.top = std::max(tile.iy, in_.region.top + tile.ty * tileH_);
        tile.width = sizeInside(tile.left, tileW_, in_.region.right, tile.ix, in_.colsB);
        tile.height = sizeInside(tile.top, tileH_, in_.region.bottom, tile.iy, in_.rowsB);
        return tile.width >= kLeastSide && tile.height >= kLeastSide;
    }

    static int32_t sizeInside(int32_t at, int32_t size, int32_t last, int32_t shift, int32_t sizeOfB)
    {
        const int64_t inRegion = int64_t{last} - at + 1;
        const int64_t inB = int64_t{sizeOfB} - (int64_t{at} - shift) - 1;
        return static_cast<int32_t>(std::clamp<int64_t>(std::min(inRegion, inB), 0, size));
    }

    void measureTile(Tile& tile)
    {
        I_GetBlockType(tile.left, tile.top, tile.width, tile.height, buffers_.tile(), in_.imA, in_.type);
        I_SetWindowROI(tile.left, tile.top, tile.left + tile.width - 1, tile.top + tile.height - 1);
        float low = 0.0F, high = 0.0F, mean = 0.0F;
        tile.deviation = 0.0F;
        I_PixelStats(in_.imA, &low, &high, &mean, &tile.deviation);
        tile.range = high - low;
    }

    // After tiles without structure the neighbours' shift may no longer be right.
    void realign(Tile& tile, VexaPointF& shift)
    {
        if (!(tile.range > table_.rangeThreshold() && tile.deviation >= table_.stdvThreshold())) {
            ++skipCount_;
            return;
        }
        const int32_t index = tile.ty * table_.tilesX() + tile.tx;
        if (skipCount_ < 1 || index == realigned_)
            return;
        constexpr double kLeastRange = 4.0, kMostRange = 15.0;
        double range = skipCount_ * 1.5;
        range = range < kLeastRange ? kLeastRange : std::min(range, std::min<double>(tileW_ / 3, kMostRange));
        VexaPointF found = shift;
        float qualX = 0.0F, qualY = 0.0F;
        I_ImageAlign1D(in_.imB, in_.imA, tile.left - tile.ix, tile.top - tile.iy, tile.width, tile.height,
                       truncToInt32(range), truncToInt32(range), &found.x, &found.y, &qualX, &qualY);
        if (qualX > kRealignedQuality)
            shift.x = found.x;
        if (qualY > kRealignedQuality)
            shift.y = found.y;
        if (qualX > kRealignedQuality && qualY > kRealignedQuality)
            skipCount_ = 0;
        setShift(tile, shift);
        realigned_ = index;
    }

    // The five differences and their deviations. False where the tile is finished with them.
    bool subtractAround(Tile& tile)
    {
        I_GetBigBlockType(tile.left - tile.ix - 1, tile.top - tile.iy - 1, tile.width + 2, tile.height + 2,
                          buffers_.margin(), in_.imB, in_.type);
        for (std::size_t place = up; place < places; ++place)
            deviations_[place] = subtractAt(tile, static_cast<Place>(place));
        tile.differenceDeviation = deviations_[centre];
        if (!in_.isRefined || tile.range <= table_.rangeThreshold())
            return false;
        if (deviations_[centre] == 0.0F) {
            tile.rx = tile.ry = 0.0F;
            return false;
        }
        return true;
    }

    float subtractAt(const Tile& tile, Place place)
    {
        const int32_t rowBytes = tile.width * in_.bytes;
        // Sums of bytes tell the deviation of a histogram, as long as no 32-bit product of one would wrap.
        const bool isSummed = int64_t{rowBytes} * tile.height <= INT32_MAX / 255;
        ByteSums bytes;
        uint32_t histogram[256];
        for (int32_t y = 0; y < tile.height; ++y) {
            uint8_t* out = differenceRow(tile, place, y);
            tileRows().subtract(buffers_.tile() + int64_t{y} * rowBytes, referenceRow(tile, place, y),
                                rowBytes, in_.clipMode == kHalfSignedClipMode, out);
            if (isSummed)
                addBytes(out, rowBytes, bytes);
            else
                I_HistBuf(out, rowBytes, histogram, y == 0);
        }
        float deviation = 0.0F;
        if (isSummed)
            finishHistStats({static_cast<uint32_t>(bytes.count), static_cast<double>(bytes.sum),
                             static_cast<double>(bytes.squares)},
                            nullptr, &deviation);
        else
            I_HistStats(histogram, 0, 255, nullptr, nullptr, nullptr, &deviation);
        return deviation;
    }

    uint8_t* differenceRow(const Tile& tile, Place place, int32_t y)
    {
        return buffers_.difference(place) + int64_t{y} * tile.width * in_.bytes;
    }

    const uint8_t* referenceRow(const Tile& tile, Place place, int32_t y)
    {
        const int64_t row = int64_t{kPlaces[place].y} + y;
        return buffers_.margin() + (row * (tile.width + 2) + kPlaces[place].x) * in_.bytes;
    }

    void estimateShift(Tile& tile) const
    {
        const float su = deviations_[up], sl = deviations_[left], sc = deviations_[centre],
                    sr = deviations_[right], sd = deviations_[down];
        const Valley x = fitValley(sl, sc, sr), y = fitValley(su, sc, sd);
        tile.rx = x.position;
        tile.ry = y.position;
        tile.differenceDeviation = x.depth;
        // An axis on which the differences hardly change tells nothing.
        const float hx = std::max(std::fabs(sc - sl), std::fabs(sc - sr));
        const float hy = std::max(std::fabs(sc - su), std::fabs(sc - sd));
        if (hx < hy / 6.0F)
            tile.rx = 0.0F;
        if (hy < hx / 6.0F)
            tile.ry = 0.0F;
    }

    void finish(Tile& tile)
    {
        table_.store(tile.tx, tile.ty,
                     {static_cast<float>(tile.left), static_cast<float>(tile.top), tile.range, tile.deviation,
                      tile.differenceDeviation, static_cast<float>(tile.ix) - tile.rx,
                      static_cast<float>(tile.iy) - tile.ry});
        if (in_.isRefined) {
            tile.rx -= in_.start.x - static_cast<float>(Rnd(in_.start.x));
            tile.ry -= in_.start.y - static_cast<float>(Rnd(in_.start.y));
        }
        const float sum = std::fabs(tile.rx) + std::fabs(tile.ry);
        const Blend blend = {tile.rx < 0.0F ? left : right, tile.ry < 0.0F ? up : down,
                             std::fabs(tile.rx) / std::max(sum, kLeastBlend),
                             std::min(std::hypot(std::fabs(tile.rx), std::fabs(tile.ry)), 1.0F)};
        if (in_.imResult != 0 && blend.amount > kLeastBlend)
            blendDifferences(tile, blend);
        if (in_.imWarped != 0)
            warp(tile, blend);
        if (in_.imResult == 0)
            return;
        const int64_t bytes = int64_t{tile.width} * tile.height * in_.bytes;
        tileRows().code(buffers_.difference(centre), bytes, in_.clipMode);
        I_PutBlockType(tile.left, tile.top, tile.width, tile.height, buffers_.difference(centre),
                       in_.imResult, in_.type);
    }

    struct Blend {
        Place x, y;     // the sides that lie in the direction of the residual
        float sideways; // share of x
        float amount;   // share of the sides against the place itself
    };

    // Row by row: a tile may hold more pixels than a count of 32 bits tells.
    void blendDifferences(const Tile& tile, const Blend& blend)
    {
        uint8_t* sides = buffers_.blended();
        for (int32_t y = 0; y < tile.height; ++y) {
            uint8_t* inPlace = differenceRow(tile, centre, y);
            I_BlendRowsType(differenceRow(tile, blend.x, y), differenceRow(tile, blend.y, y), sides,
                            tile.width, double{blend.sideways}, in_.type);
            I_BlendRowsType(sides, inPlace, inPlace, tile.width, double{blend.amount}, in_.type);
        }
    }

    // The reference, blended in the same way, at the tile's place.
    void warp(const Tile& tile, const Blend& blend)
    {
        const int64_t rowBytes = int64_t{tile.width} * in_.bytes;
        for (int32_t y = 0; y < tile.height; ++y) {
            uint8_t* out = buffers_.blended() + y * rowBytes;
            const uint8_t* inPlace = referenceRow(tile, centre, y);
            if (blend.amount > kLeastBlend) {
                I_BlendRowsType(referenceRow(tile, blend.x, y), referenceRow(tile, blend.y, y), out,
                                tile.width, double{blend.sideways}, in_.type);
                I_BlendRowsType(out, inPlace, out, tile.width, double{blend.amount}, in_.type);
            } else {
                std::memcpy(out, inPlace, static_cast<std::size_t>(rowBytes));
            }
        }
        I_PutBlockTypeEx(tile.left, tile.top, tile.width, tile.height, buffers_.blended(), in_.imWarped,
                         in_.type, static_cast<int32_t>(rowBytes));
    }

    Inputs in_;
    TileTable& table_;
    TileBuffers& buffers_;
    int32_t tileW_;
    int32_t tileH_;
    std::array<float, places> deviations_ = {};
    int32_t skipCount_ = 0;
    int32_t realigned_ = -1;
};

// The type worked on and the region, of all images given. False without a type or a region.
bool findRegion(Inputs& in)
{
    int32_t type = std::min(I_ImGetType(in.imA), I_ImGetType(in.imB));
    if (in.imResult != 0)
        type = std::min(type, I_ImGetType(in.imResult));
    if (type == 0)
        return false;
    in.type = type < kFirstColorType ? PIX_BYTE : PIX_BGR24;
    in.bytes = I_ImTypeBytes(in.type);
    VexaBox& r = in.region;
    return in.imResult == 0
               ? I_ROIBoundingBox2(&r.left, &r.top, &r.right, &r.bottom, in.imA, in.imB) != 0
               : I_ROIBoundingBox3(&r.left, &r.top, &r.right, &r.bottom, in.imA, in.imB, in.imResult) != 0;
}

int32_t smallestSide(int32_t im)
{
    int32_t cols = 0, rows = 0;
    I_ImGetSize(&cols, &rows, nullptr, im);
    return std::min(cols, rows);
}

struct Grid {
    int32_t tilesX, tilesY, tileW, tileH;
};

Grid layGrid(const VexaBox& region, int32_t tileSize)
{
    const int32_t spanX = region.right - region.left + 1, spanY = region.bottom - region.top + 1;
    if (tileSize <= 0)
        tileSize = std::max(spanX, spanY);
    Grid grid = {std::max(spanX / tileSize, 1), std::max(spanY / tileSize, 1), 0, 0};
    grid.tileW = (spanX - 1) / grid.tilesX + 1;
    grid.tileH = (spanY - 1) / grid.tilesY + 1;
    return grid;
}

// The image that receives the warped reference; 0 without memory.
int32_t openWarped(int32_t imB, int32_t warpFill)
{
    const int32_t im = I_CloneImageEx(imB, 0, warpFill < 0, "_AlignSubtract-RefResult");
    if (im != 0 && warpFill > 0)
        I_ImClear(im, warpFill);
    return im;
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_AlignSubtract1(int32_t imA, int32_t imB, int32_t imResult, VexaPointF* offset, int32_t tileSize,
                         int32_t warpFill)
{
    Inputs in = {};
    in.imA = imA;
    in.imB = imB;
    in.imResult = imResult;
    if (imA == 0 || imB == 0 || !findRegion(in) || in.region.left > in.region.right ||
        in.region.top > in.region.bottom)
        return 0;
    in.clipMode = I_GetClipMode();
    in.isRefined = tileSize >= 0;
    I_ImGetSize(&in.colsB, &in.rowsB, nullptr, imB);
    float low = 0.0F, high = 0.0F, mean = 0.0F, deviation = 0.0F;
    I_PixelStats(imA, &low, &high, &mean, &deviation);
    const Grid grid = layGrid(in.region, tileSize);
    VexaPointF start = offset ? *offset : VexaPointF{0.0F, 0.0F};
    int32_t score = 0;
    if (tileSize < 0) {
        const int32_t side = std::min({kAutoAlignSide, smallestSide(imA), smallestSide(imB)});
        score = I_AutoAlign(imB, imA, 1, side, kGoodScore, nullptr, &start.x, &start.y);
    }
    in.start = start;
    TileTable& table = tileTable();
    if (!table.create(grid.tilesX, grid.tilesY, (high - low) * kRangePart, deviation / kDeviationPart))
        return 0;
    TileBuffers buffers(grid.tileW, grid.tileH, in.bytes);
    if (malloctest(buffers ? buffers.tile() : nullptr, "AlignSubtract. Bufs=%x %x %x; sizes=%d %d %d",
                   addressWord(buffers.tile()), addressWord(buffers.margin()), addressWord(buffers.blended()),
                   grid.tileW, grid.tileH,
                   static_cast<int32_t>(TileBuffers::marginBytes(grid.tileW, grid.tileH, in.bytes))))
        return 0;
    if (warpFill != 0 && (in.imWarped = openWarped(imB, warpFill)) == 0)
        return 0;
    const ImageGuard closeWarped(in.imWarped);
    {
        const RoiGuard region;
        TileSubtraction(in, table, buffers, grid.tileW, grid.tileH).run();
    }
    I_TellProgress(0.0F, 0.0F, "");
    if (in.imWarped != 0)
        I_ImageCopy(in.imWarped, imB);
    I_AlignStats(offset, 0, 0, nullptr);
    return score > kGoodScore;
}

int32_t I_AlignSubtract(int32_t imA, int32_t imB, int32_t imResult, int32_t dx, int32_t dy, int32_t tileSize,
                        int32_t warpFill)
{
    VexaPointF offset = {static_cast<float>(dx), static_cast<float>(dy)};
    return I_AlignSubtract1(imA, imB, imResult, &offset, tileSize, warpFill);
}
