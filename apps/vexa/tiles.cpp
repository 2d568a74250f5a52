#include "tiles.h"

#include <algorithm>
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

constexpr int32_t kRange = 8;           // pixels that a tile may be off
constexpr int32_t kMargin = kRange + 4; // around a tile, so that its own pixels have a source
constexpr float kGoodQuality = 0.5F;
// A tile moves where that leaves less than this part of the difference. A defect alone does not achieve that: what it
// counts is limited to the threshold.
constexpr double kClearlyBetter = 0.7;

struct Tile {
    VexaBox box;     // of the tile in the picture
    VexaBox context; // with the margin
    Pixels pixels;   // the reference in its context, moved
};

VexaBox widened(const VexaBox& box, int32_t by, const VexaBox& within)
{
    return {std::max(box.left - by, within.left), std::max(box.top - by, within.top),
            std::min(box.right + by, within.right), std::min(box.bottom + by, within.bottom)};
}

// The sum of differences in a tile, each limited.
int64_t limitedDifference(const Tile& tile, const Image& defect, int32_t limit)
{
    int64_t sum = 0;
    const int32_t left = tile.box.left - tile.context.left;
    for (int32_t y = tile.box.top; y <= tile.box.bottom; ++y) {
        const uint8_t* a = defect.row(y) + tile.box.left;
        const uint8_t* b = tile.pixels.row(y - tile.context.top) + left;
        int32_t row = 0;
        for (int32_t x = 0; x <= tile.box.right - tile.box.left; ++x)
            row += std::min(std::abs(a[x] - b[x]), limit);
        sum += row;
    }
    return sum;
}

// Moves a tile's pixels to where they fit: by whole pixels first, then by a fraction.
void fit(Tile& tile, const Image& defect)
{
    const Image moved{std::move(tile.pixels)};
    const int32_t cols = moved.cols(), rows = moved.rows();
    const Image target{defect.cut(tile.context)};
    float dx = 0.0F, dy = 0.0F, qualX = 0.0F, qualY = 0.0F;
    I_ImageAlign1D(target.number(), moved.number(), kMargin, kMargin, cols - 2 * kMargin, rows - 2 * kMargin,
                   kRange, kRange, &dx, &dy, &qualX, &qualY);
    VexaPointF offset = {qualX > kGoodQuality ? -static_cast<float>(Rnd(dx)) : 0.0F,
                         qualY > kGoodQuality ? -static_cast<float>(Rnd(dy)) : 0.0F};
    constexpr int32_t kOneTile = 0, kKeepRest = -1;
    I_AlignSubtract1(target.number(), moved.number(), 0, &offset, kOneTile, kKeepRest);
    I_SetError(0, "");
    tile.pixels = moved.read();
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
            tile.context = widened(tile.box, kMargin, picture);
            tile.pixels = under.reference.cut(tile.context);
            const int64_t before = limitedDifference(tile, defect, settings.threshold);
            fit(tile, defect);
            const int64_t after = limitedDifference(tile, defect, settings.threshold);
            if (settings.align.mode == AlignMode::tiles ||
                static_cast<double>(after) < kClearlyBetter * static_cast<double>(before))
                better.push_back(std::move(tile));
        }
    for (const Tile& tile : better)
        put(tile, defect, under);
}

} // namespace app
