// What the files of the region share: the current region, the scan list buffer, the list builder.
#ifndef VEXA_CORE_ROI_STATE_H
#define VEXA_CORE_ROI_STATE_H

#include <cstdint>

#include "core/roi.h"

namespace vexa
{

inline constexpr int32_t kMostPolygonPoints = 99;
inline constexpr int32_t kNoImageSize = 65535; // image 0 stands for so many columns and rows

// The one list that is built for an image and that a Scanlist region keeps. Pairs of points are runs.
struct ScanList {
    VexaPoint* points = nullptr; // allocated at first need, for the life of the process
    int32_t capacity = 0;        // in points; there is room for one more behind it
    int32_t count = 0;
};

struct RoiState {
    int32_t type = kRoiFullFrame;
    VexaBox window = {50, 50, 500, 430};
    VexaPoint polygon[kMostPolygonPoints] = {{132, 370}, {132, 110}, {380, 110}, {380, 370}, {256, 420}};
    int32_t polygonCount = 5;
    ScanList list;
};
RoiState& roiState();

// I_ImGetSize, with the stated size for image 0.
bool roiImageSize(int32_t im, int32_t* cols, int32_t* rows);

// The list buffer exists from now on. False, with error 2: no memory.
[[nodiscard]] bool ensureScanList();
// The list buffer holds at least so many points; what it held is lost when it grows.
[[nodiscard]] bool growScanList(int64_t points);

// Builds the list of the current region for an image, unless the region is that list. The new length is the
// result.
int32_t buildScanList(int32_t im);

// The runs of a polygon on an image of this size, put into the list. The result is the number of points
// written, or -1 from convexRuns for a polygon that is not monotone in y. The list must hold two points per
// row.
int32_t convexRuns(const VexaPoint* polygon, int32_t n, int32_t cols, int32_t rows, const ScanList& list);
int32_t filledRuns(const VexaPoint* polygon, int32_t n, int32_t cols, int32_t rows, const ScanList& list);

} // namespace vexa

#endif
