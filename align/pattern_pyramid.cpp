#include "align/pattern_pyramid.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "align/correlation_rows.h"
#include "align/correlation_settings.h"
#include "support/guard.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/image.h"
#include "vexalib/numeric.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

static_assert(sizeof(void*) != 4 || sizeof(PatternPyramid) == kPyramidRecordSize);

constexpr int32_t kLeastSide = 3;
constexpr int32_t kLeastKeptSide = 129;

// Level k + 1 from level k: rounded means of two by two, odd ends dropped.
void halve(const uint8_t* source, int32_t cols, int32_t rows, uint8_t* dest)
{
    for (int32_t y = 0; y < rows / 2; ++y) {
        const uint8_t* upper = source + int64_t{2 * y} * cols;
        const uint8_t* lower = upper + cols;
        correlationRows().halve(upper, lower, cols / 2, dest);
        dest += cols / 2;
    }
}

struct LevelSums {
    int32_t low = 255;
    int32_t high = 0;
    double sum = 0.0;
    double squares = 0.0;
};

LevelSums sumLevel(const uint8_t* pixels, int64_t n)
{
    LevelSums sums;
    uint64_t sum = 0, squares = 0;
    for (int64_t i = 0; i < n; ++i) {
        const uint32_t value = pixels[i];
        sums.low = std::min<int32_t>(sums.low, pixels[i]);
        sums.high = std::max<int32_t>(sums.high, pixels[i]);
        sum += value;
        squares += value * value;
    }
    sums.sum = static_cast<double>(sum);
    sums.squares = static_cast<double>(squares);
    return sums;
}

// Of |p - mean|: those below the mean and those above add up to the same, but for rounding.
double sumOfDistances(const uint8_t* pixels, int64_t n, double mean, double sum)
{
    const int32_t highestBelow = truncToInt32(mean);
    int64_t count = 0, sumBelow = 0;
    for (int64_t i = 0; i < n; ++i) {
        const bool isBelow = pixels[i] <= highestBelow;
        count += isBelow;
        sumBelow += isBelow ? pixels[i] : 0;
    }
    const double below = mean * static_cast<double>(count) - static_cast<double>(sumBelow);
    const double above = sum - static_cast<double>(sumBelow) - mean * static_cast<double>(n - count);
    return below + above;
}

// Keeps a later distance to the mean inside a signed byte.
void stretch(uint8_t* pixels, int64_t n)
{
    const LevelSums sums = sumLevel(pixels, n);
    const int32_t mean = truncToInt32(sums.sum / static_cast<double>(n));
    const int32_t widest = std::max({mean - sums.low, sums.high - mean, 1});
    for (int64_t i = 0; i < n; ++i)
        pixels[i] = static_cast<uint8_t>((pixels[i] - sums.low) * 125 / widest);
}

void describeLevel(PatternPyramid& pyramid, int32_t level)
{
    uint8_t* pixels = pyramid.data + pyramid.levelOffset[level];
    const int64_t n = int64_t{pyramid.cols >> level} * (pyramid.rows >> level);
    if (n < 1)
        return;
    if (!correlationSettings().linear)
        stretch(pixels, n);
    const LevelSums sums = sumLevel(pixels, n);
    double mean = 0.0, deviation = 0.0;
    meanstdv(static_cast<double>(n), sums.sum, sums.squares, &mean, &deviation);
    const double distances = sumOfDistances(pixels, n, mean, sums.sum);
    pyramid.levelMean[level] = static_cast<float>(mean);
    pyramid.levelDeviation[level] = static_cast<float>(deviation);
    pyramid.levelMeanDiff[level] = static_cast<float>(distances / static_cast<double>(n));
}

void buildLevels(PatternPyramid& pyramid)
{
    for (int32_t k = 0; k + 1 < kPyramidLevels; ++k) {
        const int32_t cols = pyramid.cols >> k, rows = pyramid.rows >> k;
        pyramid.levelOffset[k + 1] = pyramid.levelOffset[k] + cols * rows;
        halve(pyramid.data + pyramid.levelOffset[k], cols, rows, pyramid.data + pyramid.levelOffset[k + 1]);
    }
}

Buffer<uint8_t> learn(VexaBox& box, int32_t image, bool isPattern)
{
    int32_t width = 0, height = 0;
    I_ImGetSize(&width, &height, nullptr, image);
    if (box.right == 0)
        box.right = width - 1;
    if (box.bottom == 0)
        box.bottom = height - 1;
    const int32_t left = std::max(box.left, 0), top = std::max(box.top, 0);
    const int64_t cols = int64_t{std::min(box.right, width - 1)} - left + 1;
    const int64_t rows = int64_t{std::min(box.bottom, height - 1)} - top + 1;
    if (cols < kLeastSide || rows < kLeastSide) {
        I_SetError(12, "LearnPattern: size= %d x %d box=%d %d %d %d; imSize=%d %d", saturateToInt32(cols),
                   saturateToInt32(rows), box.left, box.top, box.right, box.bottom, width, height);
        return {};
    }
    constexpr int64_t kRecordBytes = sizeof(PatternPyramid);
    // Offsets into larger pyramids would not fit their fields.
    const bool fits = cols * rows <= INT32_MAX / 4 * int64_t{3};
    Buffer<uint8_t> block(fits ? kRecordBytes + 4 * cols * rows / 3 : -1);
    if (malloctest(block.data(), "LearnPattern"))
        return {};
    auto& pyramid = *new (block.data()) PatternPyramid{};
    pyramid.data = block.data() + kRecordBytes;
    pyramid.image = image;
    pyramid.imageWidth = width;
    pyramid.imageHeight = height;
    std::memcpy(pyramid.box, &box, sizeof pyramid.box);
    pyramid.cols = static_cast<int32_t>(cols);
    pyramid.rows = static_cast<int32_t>(rows);
    pyramid.left = left;
    pyramid.top = top;
    I_GetBlockType(left, top, pyramid.cols, pyramid.rows, pyramid.data, image, PIX_BYTE);
    buildLevels(pyramid);
    for (int32_t level = 0; isPattern && level < kPyramidLevels; ++level)
        describeLevel(pyramid, level);
    pyramid.recordSize = kPyramidRecordSize;
    return block;
}

} // namespace

bool PyramidSlot::stillFits(const VexaBox& box, int32_t image)
{
    if (!correlationSettings().cacheEnable || !block_)
        return false;
    const PatternPyramid& kept = *record();
    int32_t width = 0, height = 0;
    I_ImGetSize(&width, &height, nullptr, image);
    if (int64_t{box.right} - box.left + 1 < kLeastKeptSide ||
        int64_t{box.bottom} - box.top + 1 < kLeastKeptSide || kept.image != image ||
        kept.imageWidth != width || kept.imageHeight != height || box.left < 0 || box.top < 0)
        return false;
    // Required: the lower half is not compared.
    const int32_t half = kept.rows / 2;
    void* upper = I_DupBlockType(kept.left, kept.top, kept.cols, half, image, PIX_BYTE);
    const Guard free([upper] { vexaFree(upper); });
    return upper &&
           std::memcmp(upper, kept.data,
                       static_cast<std::size_t>(kept.cols) * static_cast<std::size_t>(half)) == 0 &&
           std::memcmp(kept.box, &box, sizeof kept.box) == 0;
}

PatternPyramid* PyramidSlot::reuseOrLearn(VexaBox& box, int32_t image, bool isPattern)
{
    if (!stillFits(box, image)) {
        clear();
        block_ = learn(box, image, isPattern);
    }
    return block_ ? record() : nullptr;
}

} // namespace vexa
