#include "align/debug_pictures.h"

#include <algorithm>

#include "align/correlation_settings.h"
#include "align/pattern_pyramid.h"
#include "core/image_table.h"
#include "core/roi.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/arithmetic.h"
#include "vexalib/block.h"
#include "vexalib/display.h"
#include "vexalib/drawing.h"
#include "vexalib/image.h"
#include "vexalib/numeric.h"
#include "vexalib/scale.h"
#include "vexalib/smoothing.h"
#include "vexalib/status.h"
#include "vexalib/threshold.h"

namespace vexa
{
namespace
{

// Graphics colours of the palette.
constexpr int32_t kRed = 252;
constexpr int32_t kGreen = 253;
constexpr int32_t kCyan = 254;

// A copy of an image to draw on: in bytes, or in its own colours. 0, without an error, for no image.
int32_t pictureOf(int32_t im)
{
    if (!I_ImValid(im))
        return 0;
    return I_CloneImage(im, I_ImGetType(im) >= PIX_PALETTE ? 0 : PIX_BYTE, 1);
}

void drawBox(const VexaBox& box, int32_t color, int32_t im)
{
    if (im != 0)
        I_DrawRect1(box.left, box.top, box.right, box.bottom, color, im);
}

// The box of a pyramid, moved.
VexaBox boxOf(const PatternPyramid& pyramid, int32_t dx, int32_t dy)
{
    const int64_t left = int64_t{pyramid.left} + dx, top = int64_t{pyramid.top} + dy;
    return {saturateToInt32(left), saturateToInt32(top), saturateToInt32(left + pyramid.cols - 1),
            saturateToInt32(top + pyramid.rows - 1)};
}

// A level's pixels as they were, but for a constant.
struct LevelPixels {
    bool areSigned;
    float added;
};

// One level as floats; 0 where there is no memory.
int32_t imageOfLevel(const PatternPyramid& pyramid, int32_t level, const LevelPixels& pixels)
{
    const int32_t cols = pyramid.cols >> level, rows = pyramid.rows >> level;
    ImageGuard image(I_ImOpen(cols, rows, PIX_FLOAT));
    Buffer<float> row(cols);
    if (image.get() == 0 || malloctest(row.data(), "I_WindowSearch"))
        return 0;
    const uint8_t* pixel = pyramid.data + pyramid.levelOffset[level];
    for (int32_t y = 0; y < rows; ++y) {
        for (int32_t x = 0; x < cols; ++x, ++pixel)
            row[x] =
                static_cast<float>(pixels.areSigned ? static_cast<int8_t>(*pixel) : *pixel) + pixels.added;
        I_PutBlockType(0, y, cols, 1, row.data(), image.get(), PIX_FLOAT);
    }
    return image.release();
}

// One level at the size of level 0, normalised; 0 where it cannot be had.
int32_t pictureOfLevel(const PatternPyramid& pyramid, int32_t level, const LevelPixels& pixels)
{
    const ImageGuard image(imageOfLevel(pyramid, level, pixels));
    if (image.get() == 0)
        return 0;
    const double scale = 1 << level;
    const ImageGuard enlarged(I_ScaleImage1(image.get(), 0.0, 0.0, scale, scale, 0));
    const int32_t picture = enlarged.get() != 0 ? I_CloneImage(enlarged.get(), PIX_BYTE, 0) : 0;
    const RoiTypeGuard whole(kRoiFullFrame);
    I_NormalizeROIEx(enlarged.get(), picture, 1);
    return picture;
}

} // namespace

void showSearch(const PatternPyramid& pattern, const PatternPyramid& search, int32_t levels, int32_t found,
                const float* x, const float* y)
{
    const ImageGuard imPattern(pictureOf(pattern.image)), imSearch(pictureOf(search.image));
    drawBox(boxOf(pattern, 0, 0), kGreen, imPattern.get());
    drawBox(boxOf(search, 0, 0), kGreen, imSearch.get());
    for (int32_t i = 0; x && y && i < found; ++i)
        drawBox(boxOf(pattern, Rnd(x[i]), Rnd(y[i])), kRed, imSearch.get());
    int32_t top = std::clamp(levels, 1, kPyramidLevels) - 1;
    while (top > 0 && !isUsableLevel(pattern, search, top))
        --top;
    // The normalised score leaves the pattern's distances to its mean, as signed bytes.
    const LevelPixels patternPixels = {found > 0 && !correlationSettings().linear,
                                       pattern.levelMean[top] + 0.5F};
    const bool hasLevels = levels >= 2;
    const ImageGuard patternTop(hasLevels ? pictureOfLevel(pattern, top, patternPixels) : 0);
    const ImageGuard searchTop(hasLevels ? pictureOfLevel(search, top, {false, 0.0F}) : 0);
    DisplayImage2x3(nullptr, 0.0F, imPattern.get(), imSearch.get(), patternTop.get(), searchTop.get(), 0, 0);
}

void showMisregistration(int32_t imDef, int32_t imRef, const VexaPointF& offset, const VexaBox& xBox,
                         const VexaBox& yBox, const VexaBox& both)
{
    constexpr int32_t kSignedClipMode = 3; // differences stand around 128
    const ImageGuard difference(pictureOf(imRef));
    if (difference.get() == 0 || !I_ImValid(imDef))
        return;
    {
        const RoiTypeGuard whole(kRoiFullFrame);
        I_ShiftSharpen(imRef, difference.get(), offset.x, offset.y, 0.0F);
        I_SubtractEx(imDef, difference.get(), difference.get(), 0, 0, kSignedClipMode);
    }
    drawBox(xBox, kGreen, difference.get());
    drawBox(yBox, kCyan, difference.get());
    drawBox(both, kRed, difference.get());
    DisplayImages(0.0F, difference.get(), 0);
}

} // namespace vexa
