#include <algorithm>

#include "core/image_table.h"
#include "core/roi.h"
#include "vexalib/arithmetic.h"
#include "vexalib/blob_table.h"
#include "vexalib/blobs.h"
#include "vexalib/block.h"
#include "vexalib/convolution.h"
#include "vexalib/defects.h"
#include "vexalib/numeric.h"
#include "vexalib/rank.h"
#include "vexalib/roi.h"
#include "vexalib/scale.h"
#include "vexalib/statistics.h"
#include "vexalib/threshold.h"

namespace vexa
{
namespace
{

constexpr int32_t kDefaultDot = 15;
constexpr int32_t kLargestReduction = 8;
constexpr double kLeastSpan = 25.0;
constexpr int32_t kStrictThreshold = 25; // above it a dot has to be small
constexpr int32_t kSpareSide = 3;

// The step from a dot to the image displaced by it.
VexaPoint directionOf(int32_t orientation)
{
    switch (orientation) {
    case 1:
    case 90:
        return {0, 1};
    case 2:
    case 180:
        return {1, 0};
    case 3:
    case 270:
        return {0, -1};
    default:
        return {-1, 0};
    }
}

// The region of the full image, on the reduced one.
void reduceRegion(int32_t im, int32_t reduction)
{
    VexaBox box = {};
    I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, im);
    I_SetWindowROI(box.left / reduction, box.top / reduction, box.right / reduction + 1,
                   box.bottom / reduction + 1);
}

// Paints over the dots that are in the blob table; the result is their number.
int32_t paintDots(int32_t im, int32_t reduction, int32_t dotSize, int32_t largestSide)
{
    int32_t painted = 0;
    const int32_t blobs = I_GetBlobCount();
    for (int32_t blob = 0; blob < blobs; ++blob) {
        int32_t left = 0, top = 0, right = 0, bottom = 0, count = 0, sumX = 0, sumY = 0;
        I_GetBlobBoundingBox(blob, &left, &top, &right, &bottom);
        I_GetBlobMoments1(blob, &count, nullptr, &sumX, &sumY);
        if (std::max(right - left, bottom - top) + 1 > largestSide || count < 1)
            continue;
        ++painted;
        const double pixels = count;
        I_FillCircle(im, static_cast<float>(reduction * sumX / pixels),
                     static_cast<float>(reduction * sumY / pixels), 0.0F, static_cast<float>(dotSize));
    }
    return painted;
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_BlackenBraille(int32_t im, int32_t dotSize, int32_t orientation, int32_t iThresh)
{
    const int32_t reduction = std::clamp(Rnd(static_cast<float>(dotSize * 0.25)), 1, kLargestReduction);
    const int32_t im8 = I_CloneImageEx(im, PIX_BYTE, 1, "BlackenBraille im8");
    if (im8 == 0)
        return 0;
    const ImageGuard closeIm8(im8);
    if (dotSize < 1)
        dotSize = kDefaultDot;
    I_Dilate(im8, im8, 1.0F);
    I_Dilate(im8, im8, -1.0F);
    const int32_t small = I_ScaleImage1(im8, 0.0, 0.0, 1.0 / reduction, 1.0 / reduction, 1);
    if (small == 0)
        return 0;
    const ImageGuard closeSmall(small);
    const int32_t imDiff = I_CloneImageEx(small, 0, 0, "BlackenBraille imDiff");
    if (imDiff == 0)
        return 0;
    const ImageGuard closeDiff(imDiff);
    const int32_t shift = Rnd(static_cast<float>(dotSize * 0.8 / reduction));
    {
        const RoiGuard region;
        if (I_GetROIType() >= kRoiWindow)
            reduceRegion(im8, reduction);
        const VexaPoint direction = directionOf(orientation);
        I_Subtract(small, small, imDiff, shift * direction.x, shift * direction.y);
        double low = 0.0, high = 0.0;
        I_ComputePixelStats(1, nullptr, nullptr, nullptr, &low, &high, imDiff);
        if (high - low < kLeastSpan)
            return 0;
        I_NormalizeROI(imDiff, small);
        I_FindBlobs1(std::clamp(iThresh, 0, 255), 256.0, small, imDiff);
    }
    return paintDots(im, reduction, dotSize, iThresh > kStrictThreshold ? shift + kSpareSide : INT32_MAX);
}
