#include "tiles.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

#include "failure.h"
#include "residue.h"
#include "vexalib/vexalib.h"

namespace app
{
namespace
{

constexpr int32_t kRange = 8;           // pixels that a tile may be off, if so large a shift is looked for
constexpr int32_t kMargin = kRange + 4; // around what is compared, so that it has a source
constexpr int32_t kLeastSeen =
    192; // side of what is compared: a defect must not be all that a small tile shows
constexpr float kGoodQuality = 0.5F;
// A tile moves where that leaves less than this part of what stands out of the noise. A defect alone does not achieve
// that: it counts no more than an edge that is off.
constexpr double kClearlyBetter = 0.7;

struct Tile {
    VexaBox box;     // of the tile in the picture
    VexaBox seen;    // what is compared
    VexaBox context; // with a margin for moves
    Pixels pixels;   // the reference in its context, moved
};

VexaBox widened(const VexaBox& box, int32_t by, const VexaBox& within)
{
    return {std::max(box.left - by, within.left), std::max(box.top - by, within.top),
            std::min(box.right + by, within.right), std::min(box.bottom + by, within.bottom)};
}

// The sum of what differences have above a third of the threshold, each counted up to the threshold.
int64_t misfit(const Tile& tile, const Image& defect, int32_t threshold)
{
    const int32_t noise = threshold / 3, cols = tile.seen.right - tile.seen.left + 1;
    int64_t sum = 0;
    for (int32_t y = tile.seen.top; y <= tile.seen.bottom; ++y) {
        const uint8_t* a = defect.row(y) + tile.seen.left;
        const uint8_t* b = tile.pixels.row(y - tile.context.top) + tile.seen.left - tile.context.left;
        int32_t row = 0;
        for (int32_t x = 0; x < cols; ++x)
            row += std::clamp(std::abs(a[x] - b[x]) - noise, 0, threshold - noise);
        sum += row;
    }
    return sum;
}

// Moves a tile's pixels to where they fit: by whole pixels first, then by a fraction. False where that is out of reach.
bool fit(Tile& tile, const Image& defect, const AlignSettings& settings)
{
    const Image moved{std::move(tile.pixels)};
    const int32_t cols = moved.cols(), rows = moved.rows();
    const Image target{defect.cut(tile.context)};
    const int32_t range = std::min(kRange, settings.maxShift);
    float dx = 0.0F, dy = 0.0F, qualX = 0.0F, qualY = 0.0F;
    I_ImageAlign1D(target.number(), moved.number(), kMargin, kMargin, cols - 2 * kMargin, rows - 2 * kMargin,
                   range, range, &dx, &dy, &qualX, &qualY);
    VexaPointF offset = {qualX > kGoodQuality ? -static_cast<float>(Rnd(dx)) : 0.0F,
                         qualY > kGoodQuality ? -static_cast<float>(Rnd(dy)) : 0.0F};
    constexpr int32_t kOneTile = 0, kKeepRest = -1;
    I_AlignSubtract1(target.number(), moved.number(), 0, &offset, kOneTile, kKeepRest);
    I_SetError(0, "");
    tile.pixels = moved.read();
    return std::fabs(offset.x) <= static_cast<float>(range) + 0.5F &&
           std::fabs(offset.y) <= static_cast<float>(range) + 0.5F;
}

void put(const Tile& tile, const Image& defect, Underlaid& under)
{
    const int32_t cols = tile.box.right - tile.box.left + 1;
    for (int32_t y = tile.box.top; y <= tile.box.bottom; ++y) {
        const uint8_t* source = tile.pixels.row(y - tile.context.top) + tile.box.left - tile.context.left;
        const uint8_t* other = defect.row(y) + tile.box.left;
        uint8_t* difference = under.difference.row(y) + tile.box.left;
        std::copy_n(source, cols, under.reference.row(y) + tile.box.left);
        for (int32_t x = 0; x < cols; ++x)
            difference[x] = static_cast<uint8_t>(std::clamp(other[x] - source[x] + kZero, 0, 255));
    }
}

} // namespace

void alignTiles(Underlaid& under, const Image& defect, const InspectSettings& settings)
{
    const VexaBox picture = {0, 0, defect.cols() - 1, defect.rows() - 1};
    const VexaBox& window = under.window;
    const int32_t side = settings.align.tile;
    std::vector<Tile> better;
    for (int32_t top = window.top; top <= window.bottom; top += side)
        for (int32_t left = window.left; left <= window.right; left += side) {
            Tile tile;
            tile.box = {left, top, std::min(left + side - 1, window.right),
                        std::min(top + side - 1, window.bottom)};
            if (!anyPasses(under.difference, tile.box, settings.threshold))
                continue;
            tile.seen = widened(tile.box, std::max(0, (kLeastSeen - side) / 2), window);
            tile.context = widened(tile.seen, kMargin, picture);
            tile.pixels = under.reference.cut(tile.context);
            const int64_t before = misfit(tile, defect, settings.threshold);
            if (!fit(tile, defect, settings.align))
                continue;
            const int64_t after = misfit(tile, defect, settings.threshold);
            if (settings.align.mode == AlignMode::tiles ||
                static_cast<double>(after) < kClearlyBetter * static_cast<double>(before))
                better.push_back(std::move(tile));
        }
    for (const Tile& tile : better)
        put(tile, defect, under);
}

} // namespace app
