#include "vexalib/roi.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "core/roi_state.h"
#include "support/numbers.h"
#include "vexalib/drawing.h"
#include "vexalib/image.h"
#include "vexalib/statistics.h"
#include "vexalib/status.h"

namespace vexa
{

RoiState& roiState()
{
    static constinit RoiState state;
    return state;
}

bool roiImageSize(int32_t im, int32_t* cols, int32_t* rows)
{
    if (im != 0)
        return I_ImGetSize(cols, rows, nullptr, im) != 0;
    *cols = *rows = kNoImageSize;
    return true;
}

namespace
{

// One axis of a box, in 64 bits since the stored numbers may be anything.
struct Span {
    int64_t low = 0;
    int64_t high = 0;
};

// The lower limit goes first, so that a span wholly below the image becomes its first pixel.
int64_t limit(int64_t value, int64_t low, int64_t high)
{
    return value < low ? low : std::min(value, high);
}

Span windowSpan(int64_t first, int64_t last, int64_t size)
{
    // A negative far side is a distance from the image's far edge.
    // Required: a far side of 0 is taken literally here, unlike in the scan list.
    if (last < 0 && first >= 0)
        return {first, std::max(first, last + size - 1)};
    return {std::max<int64_t>(std::min(first, last), 0), std::max(first, last)};
}

Span clamped(Span span, int64_t size)
{
    const int64_t low = limit(span.low, 0, std::min(size - 1, span.high));
    return {low, limit(span.high, low, size - 1)};
}

// The extremes of n points, n at least 1.
void polygonSpans(const VexaPoint* points, int32_t n, Span* x, Span* y)
{
    *x = {points[0].x, points[0].x};
    *y = {points[0].y, points[0].y};
    for (int32_t i = 1; i < n; ++i) {
        *x = {std::min<int64_t>(x->low, points[i].x), std::max<int64_t>(x->high, points[i].x)};
        *y = {std::min<int64_t>(y->low, points[i].y), std::max<int64_t>(y->high, points[i].y)};
    }
}

void listSpans(const ScanList& list, Span* x, Span* y)
{
    *x = {list.points[0].x, list.points[1].x};
    for (int32_t i = 0; i + 1 < list.count; i += 2)
        *x = {std::min<int64_t>(x->low, list.points[i].x), std::max<int64_t>(x->high, list.points[i + 1].x)};
    *y = {list.points[0].y, list.points[list.count - 1].y};
}

void roiSpans(int32_t cols, int32_t rows, Span* x, Span* y)
{
    const RoiState& roi = roiState();
    *x = *y = {};
    switch (roi.type) {
    case kRoiWindow:
        *x = windowSpan(roi.window.left, roi.window.right, cols);
        *y = windowSpan(roi.window.top, roi.window.bottom, rows);
        break;
    case kRoiPolygon:
        if (roi.polygonCount > 0)
            polygonSpans(roi.polygon, roi.polygonCount, x, y);
        break;
    case kRoiScanlist:
        if (roi.list.count > 0)
            listSpans(roi.list, x, y);
        break;
    default:
        *x = {0, cols - int64_t{1}};
        *y = {0, rows - int64_t{1}};
    }
}

void store(int32_t* out, int64_t value)
{
    if (out)
        *out = saturateToInt32(value);
}

// The number of pixels of the current region on the graphics image.
double pixelsInRegion()
{
    uint32_t histogram[256] = {};
    I_CalcHist(histogram, I_GetGraphicsFrame());
    double sum = 0.0;
    for (const uint32_t bin : histogram)
        sum += bin;
    return sum;
}

double outlineLength(const VexaPoint* points, int32_t n, double xScale, double yScale)
{
    double sum = 0.0;
    for (int32_t i = 0; i < n; ++i)
        sum += scaledDist(&points[i], &points[i + 1 < n ? i + 1 : 0], xScale, yScale);
    return sum;
}

} // namespace
} // namespace vexa

int32_t I_GetROIType()
{
    return vexa::roiState().type;
}

int32_t I_SetROIType(int32_t type)
{
    if (type < 0 || type > vexa::kRoiScanlist)
        return I_SetError(12, "I_SetROIType=%d", type);
    return std::exchange(vexa::roiState().type, type);
}

int32_t I_SetWindowROI(int32_t left, int32_t top, int32_t right, int32_t bottom)
{
    left = std::max(left, 0);
    top = std::max(top, 0);
    if (right >= 1)
        left = std::min(left, right);
    if (bottom >= 1)
        top = std::min(top, bottom);
    vexa::RoiState& roi = vexa::roiState();
    roi.window = {left, top, right, bottom};
    roi.type = vexa::kRoiWindow;
    return 1;
}

void I_GetWindowROI(int32_t* left, int32_t* top, int32_t* right, int32_t* bottom)
{
    const VexaBox& window = vexa::roiState().window;
    vexa::store(left, window.left);
    vexa::store(top, window.top);
    vexa::store(right, window.right);
    vexa::store(bottom, window.bottom);
}

int32_t I_SetRectROI(const VexaBox* rectangle, int32_t margin)
{
    if (!rectangle)
        return 0;
    const auto grown = [margin](int64_t side, int32_t direction) {
        return vexa::saturateToInt32(side + int64_t{margin} * direction);
    };
    return I_SetWindowROI(grown(rectangle->left, -1), grown(rectangle->top, -1), grown(rectangle->right, 1),
                          grown(rectangle->bottom, 1));
}

int32_t I_SetPolygonROI(const VexaPoint* points, int32_t count)
{
    if (!points || count < 1 || count > vexa::kMostPolygonPoints)
        return I_SetError(12, "SetPolygonROI npts=%d", count);
    vexa::RoiState& roi = vexa::roiState();
    std::memmove(roi.polygon, points, static_cast<std::size_t>(count) * sizeof *points);
    roi.polygonCount = count;
    roi.type = vexa::kRoiPolygon;
    return 1;
}

int32_t I_GetPolygonROI(VexaPoint* points, int32_t maximum)
{
    const vexa::RoiState& roi = vexa::roiState();
    if (points && maximum > 0)
        std::copy_n(roi.polygon, std::min(maximum, roi.polygonCount), points);
    return roi.polygonCount;
}

int32_t I_ImGetMinSize(int32_t* cols, int32_t* rows, const int32_t* images, int32_t count)
{
    int32_t smallestCols = vexa::kNoImageSize;
    int32_t smallestRows = vexa::kNoImageSize;
    int32_t result = 0;
    for (int32_t i = 0; images && i < count; ++i) {
        if (images[i] == 0)
            continue;
        int32_t imCols = 0;
        int32_t imRows = 0;
        result = I_ImGetSize(&imCols, &imRows, nullptr, images[i]);
        if (!result)
            continue;
        smallestCols = std::min(smallestCols, imCols);
        smallestRows = std::min(smallestRows, imRows);
    }
    vexa::store(cols, smallestCols);
    vexa::store(rows, smallestRows);
    return result;
}

int32_t I_ROIBoundingBoxN(int32_t* left, int32_t* top, int32_t* right, int32_t* bottom, const int32_t* images,
                          int32_t count)
{
    int32_t cols = 0;
    int32_t rows = 0;
    const int32_t result = I_ImGetMinSize(&cols, &rows, images, count);
    vexa::Span x;
    vexa::Span y;
    vexa::roiSpans(cols, rows, &x, &y);
    x = vexa::clamped(x, cols);
    y = vexa::clamped(y, rows);
    vexa::store(left, x.low);
    vexa::store(top, y.low);
    vexa::store(right, x.high);
    vexa::store(bottom, y.high);
    return result;
}

int32_t I_ROIBoundingBox(int32_t* left, int32_t* top, int32_t* right, int32_t* bottom, int32_t im)
{
    return I_ROIBoundingBoxN(left, top, right, bottom, &im, 1);
}

int32_t I_ROIBoundingBox2(int32_t* left, int32_t* top, int32_t* right, int32_t* bottom, int32_t im1,
                          int32_t im2)
{
    const int32_t images[] = {im1, im2};
    return I_ROIBoundingBoxN(left, top, right, bottom, images, 2);
}

int32_t I_ROIBoundingBox3(int32_t* left, int32_t* top, int32_t* right, int32_t* bottom, int32_t im1,
                          int32_t im2, int32_t im3)
{
    const int32_t images[] = {im1, im2, im3};
    return I_ROIBoundingBoxN(left, top, right, bottom, images, 3);
}

double* I_ROISize(int32_t im, double* area, double* perimeter, double xScale, double yScale)
{
    const vexa::RoiState& roi = vexa::roiState();
    if (roi.type == vexa::kRoiFullFrame || roi.type == vexa::kRoiWindow) {
        VexaBox box = {};
        I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, im);
        const auto width = static_cast<float>((static_cast<double>(box.right) - box.left + 1.0) * xScale);
        const auto height = static_cast<float>((static_cast<double>(box.bottom) - box.top + 1.0) * yScale);
        if (area)
            *area = static_cast<double>(width) * height;
        if (perimeter)
            *perimeter = 2.0 * (static_cast<double>(width) + height);
        return perimeter;
    }
    if (perimeter) {
        int32_t n = 0;
        const VexaPoint* points = getroidata(nullptr, &n);
        *perimeter = vexa::outlineLength(points, n, xScale, yScale);
    }
    if (area)
        *area = vexa::pixelsInRegion() * xScale * yScale;
    return perimeter;
}
