// The shared list of runs: its buffer, its builder, and a list given by the caller.
#include <algorithm>
#include <cstring>
#include <limits>

#include "core/roi_state.h"
#include "support/buffer.h"
#include "vexalib/drawing.h"
#include "vexalib/image.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int32_t kFirstCapacity = 50000;

// A new buffer in place of the old one, which stays if there is no memory.
bool replaceList(int64_t points, const char* tag)
{
    const bool fits = points < std::numeric_limits<int32_t>::max();
    // One point more, so that the pair at the end of a list of odd length can be read.
    void* block = fits ? allocateBlock(points + 1, sizeof(VexaPoint)) : nullptr;
    if (malloctest(block, "%s", tag))
        return false;
    ScanList& list = roiState().list;
    releaseBlock(list.points);
    list = {static_cast<VexaPoint*>(block), static_cast<int32_t>(points), 0};
    return true;
}

// One axis of a rectangle on the image, both ends inclusive.
struct Range {
    int32_t first;
    int32_t last;
};

Range windowRange(int32_t first, int32_t last, int32_t size)
{
    const int64_t edge = int64_t{size} - 1;
    const int64_t low = std::max<int64_t>(std::min<int64_t>(first, edge), 0);
    // Required: 0 means the last column or row here, unlike in the bounding box.
    const int64_t far = last < 1 ? last + edge : last;
    return {static_cast<int32_t>(low), static_cast<int32_t>(std::min(std::max(far, low), edge))};
}

int32_t rectangleRuns(Range x, Range y, const ScanList& list)
{
    VexaPoint* out = list.points;
    for (int32_t row = y.first; row <= y.last; ++row) {
        *out++ = {x.first, row};
        *out++ = {x.last, row};
    }
    return static_cast<int32_t>(out - list.points);
}

int32_t polygonRuns(int32_t cols, int32_t rows)
{
    const RoiState& roi = roiState();
    const int32_t n = convexRuns(roi.polygon, roi.polygonCount, cols, rows, roi.list);
    return n > 0 ? n : filledRuns(roi.polygon, roi.polygonCount, cols, rows, roi.list);
}

int32_t newListFor(int32_t im)
{
    int32_t cols = 0;
    int32_t rows = 0;
    if (!roiImageSize(im, &cols, &rows) || cols < 1 || rows < 1 || !growScanList(2 * int64_t{rows}))
        return 0;
    const RoiState& roi = roiState();
    if (roi.type == kRoiPolygon)
        return polygonRuns(cols, rows);
    if (roi.type == kRoiFullFrame)
        return rectangleRuns({0, cols - 1}, {0, rows - 1}, roi.list);
    return rectangleRuns(windowRange(roi.window.left, roi.window.right, cols),
                         windowRange(roi.window.top, roi.window.bottom, rows), roi.list);
}

// False, with a message posted: the run that begins at points[i] breaks a rule.
bool checkRun(const VexaPoint* points, int32_t i)
{
    const VexaPoint a = points[i];
    const VexaPoint b = points[i + 1];
    const bool badX = a.x > b.x;
    const bool badPair = a.y != b.y;
    const bool badOrder = i > 0 && a.y < points[i - 1].y;
    if (!badX && !badPair && !badOrder)
        return true;
    I_PostMessage(badX      ? "CHECKSCAN: #%d: X's out of order on line %d: %d,%d; %d,%d\n"
                  : badPair ? "CHECKSCAN: #%d Unpaired Y's on line %d: %d,%d; %d,%d\n"
                            : "CHECKSCAN: #%d Y's out of sequential order on line %d: %d,%d; %d,%d\n",
                  i / 2, a.y, a.x, a.y, b.x, b.y);
    return false;
}

bool checkScanList(const VexaPoint* points, int32_t count)
{
    for (int32_t i = 0; i < count; i += 2)
        if (!checkRun(points, i))
            return false;
    return true;
}

} // namespace

bool ensureScanList()
{
    return roiState().list.points || replaceList(kFirstCapacity, "Mkscanlist");
}

bool growScanList(int64_t points)
{
    return ensureScanList() && (points <= roiState().list.capacity || replaceList(points + 4, "mkscanlist1"));
}

int32_t buildScanList(int32_t im)
{
    if (!ensureScanList())
        return 0;
    RoiState& roi = roiState();
    if (roi.type != kRoiScanlist)
        roi.list.count = newListFor(im);
    return roi.list.count;
}

} // namespace vexa

VexaPoint* I_ROIScanlist(int32_t* count, int32_t im)
{
    const int32_t n = vexa::buildScanList(im);
    if (count)
        *count = n;
    return vexa::roiState().list.points;
}

int32_t I_SetScanlistROI(const VexaPoint* points, int32_t count)
{
    if (!vexa::ensureScanList())
        return 0;
    vexa::RoiState& roi = vexa::roiState();
    const bool countFits = count >= 0 && count <= roi.list.capacity && count % 2 == 0;
    if (!countFits || (!points && count > 0) || !vexa::checkScanList(points, count))
        return I_SetError(38, "SetScanList npts=%d, maxsize=%d", count, roi.list.capacity);
    if (count > 0)
        std::memmove(roi.list.points, points, static_cast<std::size_t>(count) * sizeof *points);
    roi.list.count = count;
    roi.type = vexa::kRoiScanlist;
    return 1;
}

int32_t I_GetScanlistROI(VexaPoint* points, int32_t maximum)
{
    if (!points || maximum < 0)
        return I_SetError(12, "getscanlist");
    const int32_t n = vexa::buildScanList(I_GetGraphicsFrame());
    if (n > 0)
        std::copy_n(vexa::roiState().list.points, std::min(n, maximum), points);
    return n;
}
