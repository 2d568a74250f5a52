#include "residue.h"

#include <algorithm>
#include <cstring>

#include "neighbourhood.h"
#include "vexalib/types.h"

namespace app
{
namespace
{

constexpr int32_t kSide = 64; // of the blocks that are looked at one by one

bool rowPasses(const uint8_t* row, int32_t n, int32_t threshold)
{
    uint8_t low = kZero, high = kZero;
    for (int32_t i = 0; i < n; ++i) {
        low = std::min(low, row[i]);
        high = std::max(high, row[i]);
    }
    return low <= kZero - threshold || high >= kZero + threshold;
}

VexaBox widened(const VexaBox& box, int32_t by, const VexaBox& within)
{
    return {std::max(box.left - by, within.left), std::max(box.top - by, within.top),
            std::min(box.right + by, within.right), std::min(box.bottom + by, within.bottom)};
}

// What one has more than other, around 128, where a pixel of one is brighter than every pixel nearby of the other, or
// darker than every one: an edge that is off by up to the tolerance is no defect. Both are cut from a window; the result
// covers a smaller one. So near to the border of the pictures that an edge may lie outside, nothing is told.
Pixels excess(const Pixels& one, const Pixels& other, const VexaBox& window, const VexaBox& inner,
              const VexaBox& picture, int32_t tolerance)
{
    const VexaBox told = {picture.left + tolerance, picture.top + tolerance, picture.right - tolerance,
                          picture.bottom - tolerance};
    const Pixels largest = localExtreme(other, tolerance, Extreme::largest);
    const Pixels smallest = localExtreme(other, tolerance, Extreme::smallest);
    Pixels result(inner.right - inner.left + 1, inner.bottom - inner.top + 1, 1);
    std::fill(result.bytes.begin(), result.bytes.end(), uint8_t{kZero});
    const int32_t left = inner.left - window.left;
    const int32_t first = std::max(told.left - inner.left, 0);
    const int32_t end = std::min(told.right - inner.left + 1, result.cols);
    for (int32_t y = std::max(told.top - inner.top, 0);
         y < std::min(told.bottom - inner.top + 1, result.rows); ++y) {
        const int32_t from = inner.top - window.top + y;
        const uint8_t* value = one.row(from) + left;
        const uint8_t* high = largest.row(from) + left;
        const uint8_t* low = smallest.row(from) + left;
        uint8_t* out = result.row(y);
        for (int32_t x = first; x < end; ++x) {
            const int32_t d = std::max(value[x] - high[x], 0) - std::max(low[x] - value[x], 0) + kZero;
            out[x] = static_cast<uint8_t>(std::clamp(d, 0, 255));
        }
    }
    return result;
}

// Adds to a block what of a difference reaches the threshold and fills a square of the smallest size; mirrored, the
// difference is turned about 128. The difference covers the block and a margin around it.
void sieve(const Pixels& difference, bool mirrored, const InspectSettings& settings, int32_t marginX,
           int32_t marginY, Pixels& block)
{
    for (const int32_t sign : {1, -1}) {
        const Pixels passed = passing(difference, sign, settings.threshold);
        if (!holdsSquare(passed, settings.minSize))
            continue;
        const Pixels kept = opened(passed, settings.minSize);
        for (int32_t y = 0; y < block.rows; ++y) {
            const uint8_t* mask = kept.row(y + marginY) + marginX;
            const uint8_t* value = difference.row(y + marginY) + marginX;
            uint8_t* out = block.row(y);
            for (int32_t x = 0; x < block.cols; ++x)
                if (mask[x])
                    out[x] = mirrored ? static_cast<uint8_t>(std::min(2 * kZero - value[x], 255)) : value[x];
        }
    }
}

struct Inputs {
    const Image& underlaid;
    const Image& defect;
    const Image& difference;
    const VexaBox& window;
    const InspectSettings& settings;
};

// What is left of a box of the difference, written into a block of 128s.
void sieveBlock(const Inputs& in, const VexaBox& box, Pixels& block)
{
    const InspectSettings& settings = in.settings;
    const VexaBox inner = widened(box, settings.minSize - 1, in.window);
    const int32_t marginX = box.left - inner.left, marginY = box.top - inner.top;
    const Pixels difference = in.difference.cut(inner);
    if (settings.edgeTolerance == 0) {
        sieve(difference, false, settings, marginX, marginY, block);
        return;
    }
    // The excess is never more than the difference, so that most blocks end here.
    if (!holdsSquare(passing(difference, 1, settings.threshold), settings.minSize) &&
        !holdsSquare(passing(difference, -1, settings.threshold), settings.minSize))
        return;
    const VexaBox picture = {0, 0, in.defect.cols() - 1, in.defect.rows() - 1};
    const VexaBox outer = widened(inner, settings.edgeTolerance, picture);
    const Pixels one = in.underlaid.cut(outer), other = in.defect.cut(outer);
    const int32_t tolerance = settings.edgeTolerance;
    // What the reference has and the defect picture has not, and the other way round.
    sieve(excess(one, other, outer, inner, picture, tolerance), true, settings, marginX, marginY, block);
    sieve(excess(other, one, outer, inner, picture, tolerance), false, settings, marginX, marginY, block);
}

} // namespace

bool anyPasses(const Image& difference, const VexaBox& box, int32_t threshold)
{
    for (int32_t y = box.top; y <= box.bottom; ++y)
        if (rowPasses(difference.row(y) + box.left, box.right - box.left + 1, threshold))
            return true;
    return false;
}

Residue::Residue(const Image& underlaid, const Image& defect, const Image& difference, const VexaBox& window,
                 const InspectSettings& settings)
{
    for (int32_t top = window.top; top <= window.bottom; top += kSide)
        for (int32_t left = window.left; left <= window.right; left += kSide) {
            const VexaBox box = {left, top, std::min(left + kSide - 1, window.right),
                                 std::min(top + kSide - 1, window.bottom)};
            if (!anyPasses(difference, box, settings.threshold))
                continue;
            Block block = {left, top, Pixels(box.right - left + 1, box.bottom - top + 1, 1)};
            std::fill(block.pixels.bytes.begin(), block.pixels.bytes.end(), uint8_t{kZero});
            sieveBlock({underlaid, defect, difference, window, settings}, box, block.pixels);
            if (std::any_of(block.pixels.bytes.begin(), block.pixels.bytes.end(),
                            [](uint8_t value) { return value != kZero; }))
                blocks_.push_back(std::move(block));
        }
}

Image Residue::asImage(int32_t cols, int32_t rows) const
{
    Image image(cols, rows, PIX_BYTE, Image::Fill::none);
    writeTo(image);
    return image;
}

void Residue::writeTo(Image& image) const
{
    for (int32_t y = 0; y < image.rows(); ++y)
        std::memset(image.row(y), kZero, static_cast<std::size_t>(image.cols()));
    for (const Block& block : blocks_)
        for (int32_t y = 0; y < block.pixels.rows; ++y)
            std::copy_n(block.pixels.row(y), block.pixels.cols, image.row(block.top + y) + block.left);
}

Pixels Residue::cut(const VexaBox& window) const
{
    Pixels part(window.right - window.left + 1, window.bottom - window.top + 1, 1);
    std::fill(part.bytes.begin(), part.bytes.end(), uint8_t{kZero});
    for (const Block& block : blocks_) {
        const int32_t left = std::max(block.left, window.left);
        const int32_t right = std::min(block.left + block.pixels.cols - 1, window.right);
        const int32_t top = std::max(block.top, window.top);
        const int32_t bottom = std::min(block.top + block.pixels.rows - 1, window.bottom);
        for (int32_t y = top; y <= bottom && left <= right; ++y)
            std::copy_n(block.pixels.row(y - block.top) + left - block.left, right - left + 1,
                        part.row(y - window.top) + left - window.left);
    }
    return part;
}

} // namespace app
