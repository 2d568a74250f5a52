// The two walks over the region: run by run, and band by band.
#include <algorithm>
#include <cstring>
#include <utility>

#include "core/roi_state.h"
#include "support/numbers.h"
#include "vexalib/image.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

struct LineWalk {
    int32_t count = 0; // points of the list
    int32_t position = 0;
    int32_t cols = 0;
    int32_t rows = 0;
};

struct BandWalk {
    VexaBox box = {0, 0, -1, -1};
    int64_t rowsLeft = 0;
    int64_t bandRows = 0;
};

struct State {
    LineWalk line;
    BandWalk band;
    float chunkMB = 1.8F;
};
constinit State state;

constexpr double kBytesPerMB = 1024.0 * 1024.0;
constexpr int64_t kMostBands = 200;

void store(int32_t* out, int64_t value)
{
    if (out)
        *out = saturateToInt32(value);
}

void startLines(int32_t im)
{
    LineWalk walk;
    if (!roiImageSize(im, &walk.cols, &walk.rows))
        walk.cols = walk.rows = 0;
    walk.count = buildScanList(im);
    state.line = walk;
}

int32_t endOfLines(int32_t* x, int32_t* y, int32_t* width)
{
    const VexaPoint* points = roiState().list.points;
    store(x, points ? points[0].x : 0);
    store(y, points ? points[0].y : 0);
    store(width, 0);
    I_TellProgress(1.0F, 1.0F, "");
    return 0;
}

// How many bands a box is cut into, so that three images of one band fit the caching chunk together.
int64_t bandCount(int64_t boxBytes)
{
    const double bands = 3.0 * static_cast<double>(boxBytes) / (double{state.chunkMB} * kBytesPerMB);
    return bands < kMostBands ? std::clamp(static_cast<int64_t>(bands) + 1, int64_t{1}, kMostBands)
                              : kMostBands;
}

// False: there is nothing to walk over.
bool startBands(int32_t im)
{
    BandWalk& walk = state.band;
    walk = {};
    VexaBox& box = walk.box;
    if (!I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, im) && im != 0)
        return false;
    if (box.left < 0 || box.top < 0) {
        I_PostMessage("GetNextLines: Block origin is negative: Box=(%d,%d,%d,%d) ROIType=%d", box.left,
                      box.top, box.right, box.bottom, roiState().type);
        return false;
    }
    int32_t pixelBytes = 1;
    if (im != 0)
        I_ImGetSize(nullptr, nullptr, &pixelBytes, im);
    walk.rowsLeft = int64_t{box.bottom} - box.top + 1;
    // Required: a box of fewer rows than bands gives a height of 0, and nothing is delivered.
    const int64_t boxPixels = (int64_t{box.right} - box.left + 1) * walk.rowsLeft;
    walk.bandRows = walk.rowsLeft / bandCount(pixelBytes * boxPixels);
    return true;
}

// A pair of 32-bit integers if pointBytes is 8, of 16-bit integers otherwise; at any address.
VexaPoint pointAt(const void* points, int32_t i, int32_t pointBytes)
{
    const auto* bytes = static_cast<const uint8_t*>(points);
    if (pointBytes == 8) {
        VexaPoint point;
        std::memcpy(&point, bytes + int64_t{i} * 8, sizeof point);
        return point;
    }
    int16_t pair[2];
    std::memcpy(pair, bytes + int64_t{i} * 4, sizeof pair);
    return {pair[0], pair[1]};
}

} // namespace
} // namespace vexa

int32_t I_GetNextLine(int32_t* x, int32_t* y, int32_t* width, int32_t im, int32_t* first)
{
    if (!first)
        return 0;
    vexa::LineWalk& walk = vexa::state.line;
    if (*first != 0) {
        if (*first != 1 && *first != -1)
            I_SetError(1, "GetNextLine *first not initialized");
        vexa::startLines(im);
        *first = 0;
    }
    const VexaPoint* points = vexa::roiState().list.points;
    while (walk.position + 1 < walk.count && points[walk.position].y < walk.rows) {
        const VexaPoint start = points[walk.position];
        const int64_t end = std::min<int64_t>(int64_t{points[walk.position + 1].x} + 1, walk.cols);
        walk.position += 2;
        if (start.y < 0 || end <= start.x)
            continue;
        vexa::store(x, start.x);
        vexa::store(y, start.y);
        vexa::store(width, end - start.x);
        if (walk.position % 32 == 0)
            I_TellProgress(static_cast<float>(walk.position), static_cast<float>(walk.count), nullptr);
        return vexa::saturateToInt32(end - start.x);
    }
    return vexa::endOfLines(x, y, width);
}

int32_t I_GetNextLines(int32_t* x, int32_t* y, int32_t* width, int32_t* height, int32_t im, int32_t* first,
                       int32_t /*reserved*/)
{
    if (!first)
        return 0;
    if (vexa::roiState().type >= vexa::kRoiPolygon) {
        vexa::store(height, 1);
        return I_GetNextLine(x, y, width, im, first);
    }
    vexa::BandWalk& walk = vexa::state.band;
    if (*first != 0) {
        if (*first != 1 && *first != -1)
            I_SetError(1, "GetNextLines *first not initialized");
        *first = 0;
        if (!vexa::startBands(im)) {
            walk = {};
            vexa::store(width, 0);
            vexa::store(height, 0);
            return 0;
        }
    }
    const int64_t bandWidth = int64_t{walk.box.right} - walk.box.left + 1;
    const int64_t bandHeight = std::min(walk.bandRows, walk.rowsLeft);
    if (bandHeight < 0)
        I_PostMessage("GetNextLines: rows is negative: %d", vexa::saturateToInt32(bandHeight));
    vexa::store(x, walk.box.left);
    vexa::store(y, walk.box.top);
    vexa::store(width, bandWidth);
    vexa::store(height, bandHeight);
    walk.box.top = vexa::saturateToInt32(walk.box.top + bandHeight);
    walk.rowsLeft -= bandHeight;
    return bandWidth > 0 && bandHeight > 0;
}

float I_SetCachingChunkMB(const float* megabytes)
{
    if (!megabytes || !(*megabytes >= 0.5F))
        return vexa::state.chunkMB;
    const double chunk = std::max(*megabytes - 0.2, 0.4);
    return std::exchange(vexa::state.chunkMB, static_cast<float>(chunk));
}

int32_t pPolygonArea(const void* points, int32_t count, int32_t pointBytes)
{
    VexaPoint polygon[vexa::kMostPolygonPoints];
    // A count that the polygon refuses is not believed: the points behind it may not exist.
    const int32_t n = points && count <= vexa::kMostPolygonPoints ? count : 0;
    for (int32_t i = 0; i < n; ++i)
        polygon[i] = vexa::pointAt(points, i, pointBytes);
    if (!I_SetPolygonROI(points ? polygon : nullptr, count))
        return 0;
    int64_t area = 0;
    int32_t first = 1;
    while (const int32_t width = I_GetNextLine(nullptr, nullptr, nullptr, 0, &first))
        area += width;
    return vexa::saturateToInt32(area);
}
