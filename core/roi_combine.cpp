// Regions as sets of pixels: exclusive-or, complement, and clearing inside or outside.
#include <algorithm>
#include <cstring>

#include "core/roi_slots.h"
#include "core/roi_state.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/image.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// A copy of a scan list whose runs are half-open: each end is one behind the last pixel.
struct Boundaries {
    Buffer<VexaPoint> points;
    int32_t count = 0;
};

bool boundariesOf(int32_t slot, int32_t im, const char* tag, Boundaries* out)
{
    if (!I_RecallROI(slot))
        return false;
    const VexaPoint* list = I_ROIScanlist(&out->count, im);
    out->points = Buffer<VexaPoint>(int64_t{out->count} + 1);
    if (malloctest(out->points.data(), "%s", tag))
        return false;
    for (int32_t i = 0; i < out->count; ++i)
        out->points[i] = {saturateToInt32(int64_t{list[i].x} + i % 2), list[i].y};
    return true;
}

bool before(VexaPoint a, VexaPoint b)
{
    return a.y != b.y ? a.y < b.y : a.x < b.x;
}

// Boundaries that coincide cancel each other; what remains are the ends of the areas where exactly one list
// holds.
int32_t mergeBoundaries(const Boundaries& a, const Boundaries& b, VexaPoint* out)
{
    int32_t n = 0;
    int32_t i = 0;
    int32_t j = 0;
    while (i < a.count || j < b.count) {
        const bool fromB = i == a.count || (j < b.count && before(b.points[j], a.points[i]));
        const VexaPoint point = fromB ? b.points[j++] : a.points[i++];
        if (n > 0 && point.x <= out[n - 1].x && point.y <= out[n - 1].y)
            --n;
        else
            out[n++] = point;
    }
    return n;
}

bool combine(int32_t slotA, int32_t slotB, int32_t slotResult, int32_t im)
{
    Boundaries a;
    Boundaries b;
    if (!boundariesOf(slotA, im, "CombineROIs1", &a) || !boundariesOf(slotB, im, "CombineROIs2", &b))
        return false;
    Buffer<VexaPoint> result(int64_t{a.count} + b.count + 1);
    if (malloctest(result.data(), "CombineROIs3"))
        return false;
    const int32_t n = mergeBoundaries(a, b, result.data());
    for (int32_t i = 1; i < n; i += 2)
        result[i].x = saturateToInt32(int64_t{result[i].x} - 1);
    // Two runs per row, as a complement has them, can be more than the list holds for the image itself.
    if (!growScanList(n))
        return false;
    I_SetScanlistROI(result.data(), n);
    return I_SaveROI(slotResult) != 0;
}

// A right or bottom of 0 becomes the last column or row.
void fillFarSides(VexaBox* rectangle, int32_t cols, int32_t rows)
{
    if (rectangle->right == 0)
        rectangle->right = cols - 1;
    if (rectangle->bottom == 0)
        rectangle->bottom = rows - 1;
}

int32_t saveWindow(const VexaBox& window, int32_t slot)
{
    I_SetWindowROI(window.left, window.top, window.right, window.bottom);
    return I_SaveROI(slot);
}

} // namespace
} // namespace vexa

void I_CombineROIs(int32_t slotA, int32_t slotB, int32_t slotResult, int32_t im)
{
    vexa::combine(slotA, slotB, slotResult, im);
}

int32_t I_CombineRectROIs(VexaBox* a, VexaBox* b, int32_t im)
{
    int32_t cols = 0;
    int32_t rows = 0;
    if (!a || !b || !vexa::roiImageSize(im, &cols, &rows))
        return 0;
    vexa::fillFarSides(a, cols, rows);
    vexa::fillFarSides(b, cols, rows);
    return vexa::saveWindow(*a, vexa::kTextSlot) && vexa::saveWindow(*b, vexa::kSavedSlot) &&
           vexa::combine(vexa::kTextSlot, vexa::kSavedSlot, vexa::kResultSlot, im);
}

int32_t I_ReverseROI(int32_t im)
{
    int32_t cols = 10000000;
    int32_t rows = 100000;
    if (im != 0 && !I_ImGetSize(&cols, &rows, nullptr, im))
        return 0;
    return I_SaveROI(vexa::kTextSlot) && vexa::saveWindow({0, 0, cols - 1, rows - 1}, vexa::kSavedSlot) &&
           vexa::combine(vexa::kTextSlot, vexa::kSavedSlot, vexa::kResultSlot, im);
}

int32_t I_ClearROI(int32_t value, int32_t im)
{
    int32_t cols = 0;
    if (!I_ImGetSize(&cols, nullptr, nullptr, im))
        return 0;
    vexa::Buffer<uint8_t> row(cols);
    if (malloctest(row.data(), "I_ClearROI"))
        return 0;
    std::memset(row.data(), static_cast<uint8_t>(value), static_cast<std::size_t>(cols));
    int32_t x = 0;
    int32_t y = 0;
    int32_t width = 0;
    int32_t first = 1;
    while (I_GetNextLine(&x, &y, &width, im, &first)) {
        // A run may begin left of the image; the row holds the image's columns only.
        const int32_t start = std::max(x, 0);
        const int64_t inside = int64_t{x} + width - start;
        if (inside > 0)
            I_PutBlockType(start, y, static_cast<int32_t>(inside), 1, row.data(), im, PIX_BYTE);
    }
    return 1;
}

int32_t I_ClearOutsideROI(int32_t value, int32_t im)
{
    if (!I_SaveROI(vexa::kSavedSlot))
        return 0;
    I_SetROIType(vexa::kRoiFullFrame);
    int32_t result = 0;
    // Without a complement nothing is cleared: slot 17 would still be the whole image.
    if (I_SaveROI(vexa::kResultSlot) &&
        vexa::combine(vexa::kSavedSlot, vexa::kResultSlot, vexa::kResultSlot, im)) {
        I_RecallROI(vexa::kResultSlot);
        result = I_ClearROI(value, im);
    }
    I_RecallROI(vexa::kSavedSlot);
    return result;
}
