#include "vexalib/neighbourhood.h"

#include <algorithm>

#include "core/pixel_types.h"
#include "operators/clip_table.h"
#include "vexalib/image.h"

namespace
{

constexpr int32_t kNoImage = 4095;

// Takes in one more image: its bytes per pixel to bytes, the smaller sizes to width and height.
int32_t shrinkToImage(int32_t* width, int32_t* height, int32_t* bytes, int32_t im)
{
    int32_t cols = 0;
    int32_t rows = 0;
    const int32_t found = I_ImGetSize(&cols, &rows, bytes, im);
    *width = std::min(*width, cols);
    *height = std::min(*height, rows);
    return found;
}

// The types of the images that are given, colour types as bytes where the flag is set, and the clip range of the last.
template <typename Choose>
int32_t selectType(int32_t im1, int32_t im2, int32_t im3, bool colorAsBytes, Choose choose)
{
    int32_t selected = -1;
    for (const int32_t im : {im1, im2, im3}) {
        if (im == kNoImage)
            continue;
        const int32_t own = I_ImGetType(im);
        const int32_t type = colorAsBytes && vexa::isColorType(own) ? PIX_BYTE : own;
        selected = selected < 0 ? type : choose(selected, type);
    }
    const int32_t dest = im3 != kNoImage ? im3 : im2;
    vexa::setFloatRange(dest != kNoImage ? I_ImGetType(dest) : vexa::kTypeOwn);
    return std::max(selected, 0);
}

} // namespace

int32_t I_GetMinSize2(int32_t* width, int32_t* height, int32_t* bytes1, int32_t* bytes2, int32_t im1,
                      int32_t im2)
{
    if (bytes1 && bytes2)
        *bytes1 = *bytes2 = 1;
    if (im1 == 0)
        return I_ImGetSize(width, height, bytes2, im2);
    if (im2 == 0)
        return I_ImGetSize(width, height, bytes1, im1);
    int32_t cols = 0;
    int32_t rows = 0;
    const int32_t found1 = I_ImGetSize(&cols, &rows, bytes1, im1);
    const int32_t found2 = shrinkToImage(&cols, &rows, bytes2, im2);
    if (width)
        *width = cols;
    if (height)
        *height = rows;
    return found1 & found2;
}

int32_t I_GetMinSize3(int32_t* width, int32_t* height, int32_t* bytes1, int32_t* bytes2, int32_t* bytes3,
                      int32_t im1, int32_t im2, int32_t im3)
{
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t found = I_GetMinSize2(&cols, &rows, bytes1, bytes2, im1, im2);
    // Required: the test is on the second image, so that a third image of 0 fails as an image that is not open.
    if (im2 != 0)
        found &= shrinkToImage(&cols, &rows, bytes3, im3);
    if (width)
        *width = cols;
    if (height)
        *height = rows;
    return found;
}

int32_t NarrowestPixelType(int32_t im1, int32_t im2, int32_t im3, int32_t colorAsBytes)
{
    return selectType(im1, im2, im3, colorAsBytes != 0, [](int32_t a, int32_t b) { return std::min(a, b); });
}

int32_t WidestPixelType(int32_t im1, int32_t im2, int32_t im3)
{
    const int32_t widest =
        selectType(im1, im2, im3, true, [](int32_t a, int32_t b) { return std::max(a, b); });
    return widest > PIX_COMPLEX ? static_cast<int32_t>(PIX_DFLOAT) : widest;
}
