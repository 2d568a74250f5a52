// Rectangles of an image copied out and back together with their region.
#include "core/roi_slots.h"
#include "core/roi_state.h"
#include "support/numbers.h"
#include "vexalib/arithmetic.h"
#include "vexalib/block.h"
#include "vexalib/drawing.h"
#include "vexalib/image.h"

namespace vexa
{
namespace
{

int32_t span(int32_t first, int32_t last)
{
    return saturateToInt32(int64_t{last} - first + 1);
}

// The image to reuse, if it is one of this size and of the source's type.
bool canReuse(int32_t imReuse, int32_t width, int32_t height, int32_t imSrc)
{
    int32_t cols = 0;
    int32_t rows = 0;
    return I_ImGetSize(&cols, &rows, nullptr, imReuse) && cols == width && rows == height &&
           I_ImGetType(imReuse) == I_ImGetType(imSrc);
}

int32_t rectangleOf(const VexaBox& box, int32_t im, int32_t imReuse)
{
    if (I_ImValid(imReuse)) {
        const int32_t width = span(box.left, box.right);
        const int32_t height = span(box.top, box.bottom);
        if (canReuse(imReuse, width, height, im)) {
            I_RectCopy(box.left, box.top, 0, 0, width, height, im, imReuse);
            return imReuse;
        }
        I_ImClose(imReuse);
    }
    return I_CloneRect(im, 0, box.left, box.top, box.right, box.bottom);
}

} // namespace
} // namespace vexa

int32_t windowdup(int32_t left, int32_t top, int32_t right, int32_t bottom, int32_t im, int32_t imReuse)
{
    const int32_t copy = vexa::rectangleOf({left, top, right, bottom}, im, imReuse);
    if (copy == 0 || !I_SaveROI(vexa::kSavedSlot))
        return copy;
    I_SetWindowROI(left, top, right, bottom);
    vexa::keepRoiWithImage(copy);
    I_RecallROI(vexa::kSavedSlot);
    return copy;
}

int32_t I_ROIDup(int32_t im)
{
    VexaBox box = {};
    if (!I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, im))
        return 0;
    const int32_t copy = windowdup(box.left, box.top, box.right, box.bottom, im, 0);
    if (copy != 0)
        vexa::keepRoiWithImage(copy);
    return copy;
}

int32_t windowpaste(int32_t dx, int32_t dy, int32_t imDest, int32_t imSrc)
{
    if (!I_SaveROI(vexa::kSavedSlot))
        return 0;
    vexa::recallRoiOfImage(imSrc);
    VexaBox window = {};
    I_GetWindowROI(&window.left, &window.top, &window.right, &window.bottom);
    I_RectCopy(0, 0, vexa::saturateToInt32(int64_t{window.left} + dx),
               vexa::saturateToInt32(int64_t{window.top} + dy), vexa::span(window.left, window.right),
               vexa::span(window.top, window.bottom), imSrc, imDest);
    I_RecallROI(vexa::kSavedSlot);
    return I_ImValid(imDest) && I_ImValid(imSrc);
}

int32_t polygonpaste(int32_t /*unused1*/, int32_t /*unused2*/, int32_t imDest, int32_t imSrc)
{
    int32_t left = 0;
    int32_t top = 0;
    I_ROIBoundingBox(&left, &top, nullptr, nullptr, I_GetGraphicsFrame());
    I_ROICopy(imSrc, imDest, left, top);
    return I_ImValid(imDest) && I_ImValid(imSrc);
}

int32_t roipaste(int32_t unused1, int32_t unused2, int32_t imSrc)
{
    return polygonpaste(unused1, unused2, I_GetGraphicsFrame(), imSrc);
}
