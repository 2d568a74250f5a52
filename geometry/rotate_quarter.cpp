#include "vexalib/rotate.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "core/image_table.h"
#include "core/roi.h"
#include "geometry/direct_pixels.h"
#include "support/buffer.h"
#include "support/guard.h"
#include "support/numbers.h"
#include "vexalib/arithmetic.h"
#include "vexalib/block.h"
#include "vexalib/color.h"
#include "vexalib/image.h"
#include "vexalib/roi.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

struct MatrixView {
    const uint8_t* pixels;
    int64_t pitch;
};
struct WritableMatrix {
    uint8_t* pixels;
    int64_t pitch;
};

using Transpose = void (*)(const MatrixView& source, const WritableMatrix& dest, int32_t cols, int32_t rows);
using Reverse = void (*)(const uint8_t* source, uint8_t* dest, int32_t n);

// The row functions for pixels of 1, 2, 3, 4, 8 and 16 bytes.
struct QuarterRows {
    std::array<Transpose, 6> transpose;
    std::array<Reverse, 6> reverse;
};

} // namespace
} // namespace vexa

#define VEXA_ROWS_FILE "geometry/quarter_rows.h"
#include "support/for_each_instruction_set.h"

namespace vexa
{
namespace
{

constexpr int32_t kNoTurn = 0;
constexpr int32_t kAntiDiagonal = 1;
constexpr int32_t kCounterClockwise = 2;
constexpr int32_t kClockwise = 3;
constexpr int32_t kHalfTurn = 4;
constexpr int32_t kLeftRight = 5;
constexpr int32_t kTopBottom = 6;
constexpr int32_t kDiagonal = 7;
constexpr int32_t kBadCode = -1;

constexpr int64_t kMostTileBytes = 65280;

int32_t codeOf(int32_t iRot)
{
    switch (iRot) {
    case 0:
    case 360:
    case -360:
        return kNoTurn;
    case 1:
        return kAntiDiagonal;
    case 2:
    case 90:
    case -270:
        return kCounterClockwise;
    case 3:
    case 270:
    case -90:
        return kClockwise;
    case 4:
    case 180:
    case -180:
        return kHalfTurn;
    case 5:
    case -1:
        return kLeftRight;
    case 6:
    case -2:
        return kTopBottom;
    case 7:
    case -3:
        return kDiagonal;
    default:
        return kBadCode;
    }
}

std::size_t rowsIndex(int32_t pixelBytes)
{
    return pixelBytes <= 4 ? static_cast<std::size_t>(pixelBytes - 1) : pixelBytes == 8 ? 4 : 5;
}

// One call: the images, the destination's box limited to what the source fills, and how pixels move.
struct Turn {
    int32_t code;
    int32_t imSrc;
    int32_t imDest;
    int32_t type;
    int32_t bands; // treated one at a time; 1: whole pixels
    int32_t pixelBytes;
    VexaBox box;
    int64_t tileSide;
    int32_t runPoints;     // of the scan list that the stores keep to
    const VexaPoint* runs; // null: tiles are stored whole
    Transpose transpose;
    Reverse reverse;
};

// A tile of the destination, in image coordinates.
struct Tile {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
};

// Where a tile comes from, in coordinates of the source.
struct SourceBlock {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
};

bool blockIsTurned(int32_t code)
{
    return code < kHalfTurn;
}

SourceBlock sourceBlock(const Turn& turn, const Tile& tile)
{
    const VexaBox& box = turn.box;
    const int32_t fromLeft = tile.x - box.left;
    const int32_t fromTop = tile.y - box.top;
    const int32_t fromRight = box.right - tile.width - tile.x + 1;
    const int32_t fromBottom = box.bottom - tile.height - tile.y + 1;
    const int32_t width = blockIsTurned(turn.code) ? tile.height : tile.width;
    const int32_t height = blockIsTurned(turn.code) ? tile.width : tile.height;
    const auto at = [&](int32_t x, int32_t y) {
        return SourceBlock{box.left + x, box.top + y, width, height};
    };
    switch (turn.code) {
    case kAntiDiagonal:
        return at(fromBottom, fromRight);
    case kCounterClockwise:
        return at(fromBottom, fromLeft);
    case kClockwise:
        return at(fromTop, fromRight);
    case kHalfTurn:
        return at(fromRight, fromBottom);
    case kLeftRight:
        return at(fromRight, fromTop);
    case kTopBottom:
        return at(fromLeft, fromBottom);
    default:
        // Required: read as wide as the tile, though it is indexed by the tile's height.
        return at(fromTop, fromLeft);
    }
}

// The rows of a matrix from the last to the first.
MatrixView upsideDown(MatrixView view, int32_t rows)
{
    return {view.pixels + (rows - 1) * view.pitch, -view.pitch};
}
WritableMatrix upsideDown(WritableMatrix view, int32_t rows)
{
    return {view.pixels + (rows - 1) * view.pitch, -view.pitch};
}

// Fills a tile from its block; source.pitch is that of the block's rows.
void rearrange(const Turn& turn, const Tile& tile, MatrixView source, WritableMatrix dest)
{
    if (turn.code == kAntiDiagonal || turn.code == kClockwise)
        source = upsideDown(source, tile.width);
    if (turn.code == kAntiDiagonal || turn.code == kCounterClockwise)
        dest = upsideDown(dest, tile.height);
    if (blockIsTurned(turn.code) || turn.code == kDiagonal) {
        turn.transpose(source, dest, tile.width, tile.height);
        return;
    }
    if (turn.code != kLeftRight)
        source = upsideDown(source, tile.height);
    for (int32_t r = 0; r < tile.height; ++r) {
        const uint8_t* const from = source.pixels + r * source.pitch;
        uint8_t* const to = dest.pixels + r * dest.pitch;
        if (turn.code == kTopBottom)
            std::memcpy(to, from, static_cast<std::size_t>(int64_t{tile.width} * turn.pixelBytes));
        else
            turn.reverse(from, to, tile.width);
    }
}

// Stores the part of a tile that lies in the runs, or all of it.
void storeTile(const Turn& turn, const Tile& tile, const uint8_t* pixels)
{
    if (!turn.runs) {
        I_PutBlockType(tile.x, tile.y, tile.width, tile.height, pixels, turn.imDest, turn.type);
        return;
    }
    for (const VexaPoint* run = turn.runs; run + 1 < turn.runs + turn.runPoints; run += 2) {
        const int64_t row = int64_t{run->y} - tile.y;
        if (row < 0 || row >= tile.height)
            continue;
        const int32_t left = std::max(run->x, tile.x);
        const int64_t right = std::min<int64_t>(run[1].x, int64_t{tile.x} + tile.width - 1);
        if (left > right)
            continue;
        const int64_t offset = (row * tile.width + left - tile.x) * turn.pixelBytes;
        I_PutBlockType(left, run->y, static_cast<int32_t>(right - left + 1), 1, pixels + offset, turn.imDest,
                       turn.type);
    }
}

// Two tiles of pixels, and for a mirror in place a band of rows.
struct TileBuffers {
    Buffer<uint8_t> block;
    Buffer<uint8_t> tile;
    Buffer<uint8_t> band;
};

void readBlock(const Turn& turn, const SourceBlock& block, TileBuffers& buffers)
{
    I_GetBlockType(block.x, block.y, block.width, block.height, buffers.block.data(), turn.imSrc, turn.type);
}

// From image to image.
void turnDirectly(const Turn& turn, const Tile& tile, const DirectPixels& direct)
{
    const SourceBlock block = sourceBlock(turn, tile);
    rearrange(
        turn, tile,
        {direct.source + block.y * direct.sourceStride + int64_t{block.x} * turn.pixelBytes,
         direct.sourceStride},
        {direct.dest + tile.y * direct.destStride + int64_t{tile.x} * turn.pixelBytes, direct.destStride});
}

void turnTile(const Turn& turn, const Tile& tile, TileBuffers& buffers)
{
    const SourceBlock block = sourceBlock(turn, tile);
    // Required: the rows of code 7 lie closer or further apart than they were read unless the tile is square.
    const int32_t blockCols = turn.code == kDiagonal ? tile.height : block.width;
    MatrixView source = {buffers.block.data(), int64_t{blockCols} * turn.pixelBytes};
    if (buffers.band) {
        const int64_t bandCols = int64_t{turn.box.right} - turn.box.left + 1;
        source = {buffers.band.data() + int64_t{block.x - turn.box.left} * turn.pixelBytes,
                  bandCols * turn.pixelBytes};
    } else {
        readBlock(turn, block, buffers);
    }
    rearrange(turn, tile, source, {buffers.tile.data(), int64_t{tile.width} * turn.pixelBytes});
    storeTile(turn, tile, buffers.tile.data());
}

// Calls visit for each tile, row by row; before each row of tiles, start with its y and height.
template <typename Start, typename Visit>
void forEachTile(const Turn& turn, Start start, Visit visit)
{
    const VexaBox& box = turn.box;
    const auto side = static_cast<int32_t>(turn.tileSide);
    // Required: no tile starts on the last row or column, so that a remainder of one pixel is left alone.
    for (int64_t y = box.top; y < box.bottom; y += side) {
        const auto height = static_cast<int32_t>(std::min<int64_t>(side, box.bottom - y + 1));
        start(static_cast<int32_t>(y), height);
        for (int64_t x = box.left; x < box.right; x += side)
            visit({static_cast<int32_t>(x), static_cast<int32_t>(y),
                   static_cast<int32_t>(std::min<int64_t>(side, box.right - x + 1)), height});
    }
}

void turnTiles(const Turn& turn, TileBuffers& buffers)
{
    const auto readBand = [&](int32_t y, int32_t height) {
        if (buffers.band)
            I_GetBlockType(turn.box.left, y, turn.box.right - turn.box.left + 1, height, buffers.band.data(),
                           turn.imSrc, turn.type);
    };
    // All bands of a tile before the next tile: what a block has outside the source, the block before left.
    const auto visit = [&](const Tile& tile) {
        for (int32_t band = 0; band < turn.bands; ++band) {
            if (turn.bands > 1)
                I_SetColorBand(band);
            turnTile(turn, tile, buffers);
        }
    };
    forEachTile(turn, readBand, visit);
}

// How much of a length of pixels the tiles fill.
int32_t filledLength(int32_t length, int64_t side)
{
    return (length - 1) % side == 0 ? length - 1 : length;
}

// All codes but 7 move a pixel alike in every tile: the tiles' area at once.
void turnArea(const Turn& turn, const DirectPixels& direct)
{
    const VexaBox& box = turn.box;
    const Tile area = {box.left, box.top, filledLength(box.right - box.left + 1, turn.tileSide),
                       filledLength(box.bottom - box.top + 1, turn.tileSide)};
    if (area.width > 0 && area.height > 0)
        turnDirectly(turn, area, direct);
}

// Code 7 fills whole tiles directly, which lie together at the upper left. Others go through the block, which
// holds what the tile before left of it.
void turnDiagonally(const Turn& turn, const DirectPixels& direct, int32_t cols, int32_t rows,
                    TileBuffers& buffers)
{
    const VexaBox& box = turn.box;
    const auto side = static_cast<int32_t>(turn.tileSide);
    // As far as a tile's block lies in the source too.
    const int32_t width =
        std::min(filledLength(box.right - box.left + 1, side), rows - box.top) / side * side;
    const int32_t height =
        std::min(filledLength(box.bottom - box.top + 1, side), cols - box.left) / side * side;
    if (width > 0 && height > 0)
        turnDirectly(turn, {box.left, box.top, width, height}, direct);
    SourceBlock skipped = {};
    const auto visit = [&](const Tile& tile) {
        if (tile.x - box.left < width && tile.y - box.top < height) {
            skipped = sourceBlock(turn, tile);
            return;
        }
        if (skipped.width > 0)
            readBlock(turn, skipped, buffers);
        skipped = {};
        turnTile(turn, tile, buffers);
    };
    forEachTile(
        turn, [](int32_t, int32_t) {}, visit);
}

void turnPixels(const Turn& turn, TileBuffers& buffers)
{
    DirectPixels direct;
    int32_t cols = 0;
    int32_t rows = 0;
    if (turn.runs || turn.bands > 1 || !findDirectPixels(turn.imSrc, turn.imDest, turn.type, direct) ||
        !I_ImGetSize(&cols, &rows, nullptr, turn.imSrc))
        turnTiles(turn, buffers);
    else if (turn.code == kDiagonal)
        turnDiagonally(turn, direct, cols, rows, buffers);
    else
        turnArea(turn, direct);
}

int64_t tileSide(const VexaBox& box, int32_t bands)
{
    const int64_t width = int64_t{box.right} - box.left + 1;
    const int64_t height = int64_t{box.bottom} - box.top + 1;
    const int64_t memory = int64_t{I_MemAvailable()} * 1024 - 4096;
    const int64_t budget = std::clamp<int64_t>(memory / (bands == 1 ? 3 : 7), 1, kMostTileBytes);
    auto side = static_cast<int64_t>(std::sqrt(static_cast<double>(budget)));
    const int64_t byHeight = budget / height;
    side = width < std::max(byHeight, side) ? width : std::max(byHeight, side);
    return std::max<int64_t>(1, std::min({height, budget / side, side}));
}

// Limits the box to what the source fills. False: nothing is left.
bool limitBox(Turn& turn, int32_t cols, int32_t rows)
{
    VexaBox& box = turn.box;
    const bool swap = blockIsTurned(turn.code);
    const int64_t width = swap ? int64_t{rows} - box.top : int64_t{cols} - box.left;
    const int64_t height = swap ? int64_t{cols} - box.left : int64_t{rows} - box.top;
    box.right = static_cast<int32_t>(std::min<int64_t>(box.right, box.left + width - 1));
    box.bottom = static_cast<int32_t>(std::min<int64_t>(box.bottom, box.top + height - 1));
    return box.right >= box.left && box.bottom >= box.top;
}

// Type and bands: bands of images of one type move together.
void chooseType(Turn& turn, int32_t sourceType, int32_t destType)
{
    turn.type = std::min(sourceType, destType);
    turn.bands = std::min(I_ImGetNBands(turn.imSrc), I_ImGetNBands(turn.imDest));
    if (turn.bands > 1 && sourceType != destType)
        turn.type = PIX_BYTE;
    else
        turn.bands = 1;
    turn.pixelBytes = I_ImTypeBytes(turn.type);
    const QuarterRows& rows = VEXA_ROWS(kQuarterRows);
    turn.transpose = rows.transpose[rowsIndex(turn.pixelBytes)];
    turn.reverse = rows.reverse[rowsIndex(turn.pixelBytes)];
}

int32_t runTurn(Turn& turn, bool inPlace)
{
    turn.tileSide = tileSide(turn.box, turn.bands);
    const int64_t room = std::max(roomOfPixel(turn.imSrc, turn.type), roomOfPixel(turn.imDest, turn.type));
    const int64_t bytes = turn.tileSide * turn.tileSide * room;
    TileBuffers buffers = {Buffer<uint8_t>(bytes), Buffer<uint8_t>(bytes), {}};
    if (malloctest(buffers.block ? buffers.tile.data() : nullptr, "rotate90"))
        return 0;
    if (inPlace) {
        const int64_t width = int64_t{turn.box.right} - turn.box.left + 1;
        buffers.band = Buffer<uint8_t>(width * turn.tileSide * room);
        if (malloctest(buffers.band.data(), "rotate90"))
            return 0;
    }
    turnPixels(turn, buffers);
    if (turn.bands > 1)
        I_SetColorBand(-1);
    return 1;
}

bool exchangesSides(int32_t iRot)
{
    constexpr int32_t kTurned[] = {-270, -90, -3, 1, 2, 3, 7, 90, 270};
    return std::find(std::begin(kTurned), std::end(kTurned), iRot) != std::end(kTurned);
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_Rotate90(int32_t imSrc, int32_t imDest, int32_t iRot)
{
    const int32_t code = codeOf(iRot);
    if (code == kBadCode) {
        I_SetError(12, "iRot=%d", iRot);
        return 0;
    }
    if (code == kNoTurn)
        return I_ROICopy(imSrc, imDest, 0, 0);
    const int32_t sourceType = I_ImGetType(imSrc);
    const int32_t destType = I_ImGetType(imDest);
    if (std::min(sourceType, destType) == 0)
        return 0;
    const bool inPlace = imSrc == imDest;
    const ImageGuard clone(inPlace && code != kLeftRight ? I_CloneImage(imSrc, 0, 1) : 0);
    if (inPlace && code != kLeftRight && clone.get() == 0)
        return 0;
    Turn turn = {};
    turn.code = code;
    turn.imSrc = clone.get() != 0 ? clone.get() : imSrc;
    turn.imDest = imDest;
    chooseType(turn, sourceType, destType);
    int32_t cols = 0;
    int32_t rows = 0;
    VexaBox& box = turn.box;
    if (!I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, imDest) ||
        !I_ImGetSize(&cols, &rows, nullptr, turn.imSrc) || cols < 1 || rows < 1 ||
        !limitBox(turn, cols, rows))
        return 0;
    // Required: of the two list regions only the polygon keeps the stores to its runs.
    if (I_GetROIType() == kRoiPolygon) {
        turn.runs = I_ROIScanlist(&turn.runPoints, turn.imSrc);
        if (!turn.runs)
            return 0;
    }
    return runTurn(turn, inPlace && code == kLeftRight);
}

int32_t I_Rotate90Ex(int32_t imSrc, int32_t iRot, int32_t replace)
{
    int32_t cols = 0;
    int32_t rows = 0;
    if (!I_ImGetSize(&cols, &rows, nullptr, imSrc))
        return 0;
    if (iRot == 0 && replace)
        return imSrc;
    int32_t result = imSrc;
    if (exchangesSides(iRot))
        result = I_ImOpen(rows, cols, I_ImGetType(imSrc));
    else if (iRot == 0 || !replace)
        result = I_CloneImage(imSrc, 0, 0);
    if (result == 0)
        return 0;
    if ((iRot >= -3 || iRot < -89) && iRot < 360)
        I_Rotate90(imSrc, result, iRot);
    else
        I_ROICopy(imSrc, result, 0, 0);
    if (result == imSrc)
        return result;
    I_ImCopyParams(imSrc, result);
    if (replace)
        I_ImClose(imSrc);
    return result;
}

int32_t I_HorizMirror(int32_t imSrc, int32_t imDest)
{
    return I_Rotate90(imSrc, imDest, kLeftRight);
}

int32_t I_DiagMirror(int32_t imSrc, int32_t imDest)
{
    return I_Rotate90(imSrc, imDest, kDiagonal);
}
