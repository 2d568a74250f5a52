#include <algorithm>

#include "core/pixel_types.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/image.h"
#include "vexalib/statistics.h"
#include "vexalib/status.h"
#include "vexalib/threshold.h"
#include "vexalib/tile_align.h"

namespace vexa
{
namespace
{

// Whether a row or a column of an image spans no more than some grey levels.
class Strips
{
public:
    Strips(int32_t im, int32_t minRange, uint8_t* pixels) : im_(im), minRange_(minRange), pixels_(pixels) {}

    bool isEmpty(int32_t x, int32_t y, int32_t width, int32_t height) const
    {
        I_GetBlockType(x, y, width, height, pixels_, im_, PIX_BYTE);
        double low = 0.0, high = 0.0;
        I_ArrayStatsType(pixels_, std::max(width, height), PIX_BYTE, nullptr, nullptr, &low, &high);
        return high - low <= minRange_;
    }

private:
    int32_t im_;
    int32_t minRange_;
    uint8_t* pixels_;
};

// The box as told, inside an image. False where nothing of it is.
bool resolveBox(VexaBox& box, int32_t cols, int32_t rows)
{
    VexaBox resolved = box;
    if (box.left == 0 || box.right == 0) {
        resolved = {0, 0, cols - 1, rows - 1};
    } else {
        resolved.right = box.right < 0 ? wrapAdd(box.right, cols - 1) : box.right;
        resolved.bottom = box.bottom < 0 ? wrapAdd(box.bottom, rows - 1) : box.bottom;
    }
    resolved = {std::max(resolved.left, 0), std::max(resolved.top, 0), std::min(resolved.right, cols - 1),
                std::min(resolved.bottom, rows - 1)};
    if (resolved.left > resolved.right || resolved.top > resolved.bottom)
        return false;
    box = resolved;
    return true;
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_FindBorder(int32_t im, VexaBox* box, int32_t minRange)
{
    int32_t cols = 0, rows = 0;
    I_ImGetSize(&cols, &rows, nullptr, im);
    if (!box || !resolveBox(*box, cols, rows))
        return 1;
    Buffer<uint8_t> pixels(std::max(cols, rows));
    if (malloctest(pixels.data(), "I_FindBorder"))
        return 0;
    const VexaBox start = *box;
    const int32_t width = start.right - start.left + 1, height = start.bottom - start.top + 1;
    const int32_t cx = (start.left + start.right) / 2, cy = (start.top + start.bottom) / 2;
    const Strips strips(im, minRange, pixels.data());
    while (box->top < cy && strips.isEmpty(start.left, box->top, width, 1))
        ++box->top;
    while (box->bottom > cy && strips.isEmpty(start.left, box->bottom, width, 1))
        --box->bottom;
    // Required: columns are judged over the height that the box had at the start.
    while (box->left < cx && strips.isEmpty(box->left, start.top, 1, height))
        ++box->left;
    while (box->right > cx && strips.isEmpty(box->right, start.top, 1, height))
        --box->right;
    return 1;
}

int32_t I_GetBigBlockType(int32_t x, int32_t y, int32_t cols, int32_t rows, void* buffer, int32_t im,
                          int32_t type)
{
    const int32_t result = I_GetBlockType(x, y, cols, rows, buffer, im, type);
    int32_t imCols = 0, imRows = 0;
    const int32_t bytes = I_ImTypeBytes(type);
    if (!buffer || cols < 1 || rows < 1 || bytes < 1 || !I_ImGetSize(&imCols, &imRows, nullptr, im))
        return result;
    const int64_t left = -int64_t{x}, top = -int64_t{y};
    const int64_t right = left + imCols - 1, bottom = top + imRows - 1;
    const bool isInside = left <= 0 && top <= 0 && right >= cols - 1 && bottom >= rows - 1;
    if (!isInside)
        I_CopyBorder(buffer, bytes, static_cast<int32_t>(std::min<int64_t>(int64_t{bytes} * cols, INT32_MAX)),
                     rows, saturateToInt32(left), saturateToInt32(top), saturateToInt32(right),
                     saturateToInt32(bottom));
    return result;
}
