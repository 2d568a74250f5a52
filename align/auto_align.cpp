#include <algorithm>

#include "core/roi.h"
#include "support/numbers.h"
#include "vexalib/align1d.h"
#include "vexalib/image.h"
#include "vexalib/numeric.h"
#include "vexalib/roi.h"
#include "vexalib/statistics.h"
#include "vexalib/status.h"
#include "vexalib/tile_align.h"

namespace vexa
{
namespace
{

constexpr int32_t kDefaultBox = 75;
constexpr int32_t kDefaultQuality = 80;
constexpr int32_t kLargeSide = 401; // from here on the search stays clear of the image's edges
constexpr int32_t kEdgeMargin = 10;
constexpr int32_t kLeastBox = 10;
constexpr double kLeastRange = 15.0;
constexpr float kLeastContrast = 0.03F;
constexpr int32_t kQuietDiagonals = 7;

enum Corner : int32_t { fromRight = 1, fromBottom = 2 };

struct Found {
    float quality = -1.0F;
    VexaPoint at = {0, 0};
    float dx = 0.0F;
    float dy = 0.0F;
};

double rangeOf(int32_t im)
{
    double low = 0.0, high = 0.0;
    I_ComputePixelStats(1, nullptr, nullptr, nullptr, &low, &high, im);
    return high - low;
}

class CornerSearch
{
public:
    CornerSearch(int32_t imSrc, int32_t imRef, const VexaBox& region, int32_t boxSize, float startX,
                 float startY)
        : imSrc_(imSrc), imRef_(imRef), region_(region), boxSize_(boxSize), step_(boxSize / 2),
          startX_(startX), startY_(startY)
    {
    }

    Found run(int32_t cornerFlags, float enough, double wholeRange)
    {
        for (int64_t d = 0; d * step_ < 2 * int64_t{region_.right}; ++d) {
            for (int64_t k = 0; k <= d; ++k) {
                const int64_t i = (d - k) * step_, j = k * step_;
                const int64_t x = cornerFlags & fromRight ? region_.right - i - boxSize_ : region_.left + i;
                const int64_t y = cornerFlags & fromBottom ? region_.bottom - j - boxSize_ : region_.top + j;
                if (x < 0 || y < 0 || x > region_.right - step_ || y > region_.bottom - step_)
                    continue;
                if (d >= kQuietDiagonals)
                    I_TellProgressEx(static_cast<float>(d), static_cast<float>(region_.right), "AutoAlign");
                if (tryAt({static_cast<int32_t>(x), static_cast<int32_t>(y)}, wholeRange) &&
                    best_.quality > enough)
                    return best_;
            }
        }
        return best_;
    }

private:
    bool hasTexture(const VexaPoint& at, double wholeRange) const
    {
        const RoiGuard region;
        I_SetWindowROI(at.x, at.y, at.x + step_ - 1, at.y + step_ - 1);
        return rangeOf(imSrc_) > wholeRange / 4.0;
    }

    // True where this place is the best so far.
    bool tryAt(const VexaPoint& at, double wholeRange)
    {
        constexpr int32_t kInset = 2;
        if (!hasTexture(at, wholeRange))
            return false;
        float dx = startX_, dy = startY_, qualX = 0.0F, qualY = 0.0F, contrastX = 0.0F, contrastY = 0.0F;
        const int32_t side = boxSize_ - 2 * kInset;
        const int32_t aligned = I_ImageAlign1D(imSrc_, imRef_, at.x + kInset, at.y + kInset, side, side,
                                               boxSize_ / 3, boxSize_ / 3, &dx, &dy, &qualX, &qualY);
        I_GetAlign1DParams(nullptr, nullptr, nullptr, nullptr, &contrastX, &contrastY, nullptr, nullptr);
        const float quality = std::min(qualX, qualY);
        if (!aligned || !(quality >= best_.quality) || !(std::min(contrastX, contrastY) >= kLeastContrast))
            return false;
        best_ = {quality, at, dx, dy};
        return true;
    }

    int32_t imSrc_;
    int32_t imRef_;
    VexaBox region_;
    int32_t boxSize_;
    int32_t step_;
    float startX_;
    float startY_;
    Found best_;
};

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_AutoAlign(int32_t imSrc, int32_t imRef, int32_t cornerFlags, int32_t boxSize,
                    int32_t minQualityPercent, VexaPoint* xy, float* dx, float* dy)
{
    if (boxSize < 5)
        boxSize = kDefaultBox;
    if (minQualityPercent < 1)
        minQualityPercent = kDefaultQuality;
    VexaBox region = {};
    if (!I_ROIBoundingBox2(&region.left, &region.top, &region.right, &region.bottom, imSrc, imRef))
        return 0;
    const auto width = [&region] { return region.right - region.left + 1; };
    const auto height = [&region] { return region.bottom - region.top + 1; };
    if (width() < boxSize || height() < boxSize)
        return 0;
    int32_t cols = 0, rows = 0;
    I_ImGetSize(&cols, &rows, nullptr, imSrc);
    if (std::min(width(), height()) >= kLargeSide) {
        region = {std::max(region.left, kEdgeMargin), std::max(region.top, kEdgeMargin),
                  std::min(region.right, cols - kEdgeMargin - 1),
                  std::min(region.bottom, rows - kEdgeMargin - 1)};
    }
    if (region.right <= region.left + 10 || region.bottom <= region.top + 10) {
        I_SetError(1, "AutoAlign: x0y0=%d %d; last=%d %d; imSrc=%d x %d", region.left, region.top,
                   region.right, region.bottom, cols, rows);
        return 0;
    }
    boxSize = std::min({boxSize, width(), height()});
    if (boxSize < kLeastBox) {
        I_SetError(1, "AutoAlign BoxSize must be >=10: imSrc=%d imRef=%d Boxsize=%d. ROI=%d %d; %d %d", imSrc,
                   imRef, boxSize, region.left, region.top, region.right, region.bottom);
        return 0;
    }
    const double range = rangeOf(imSrc);
    if (range < kLeastRange)
        return 0;
    CornerSearch search(imSrc, imRef, region, boxSize, static_cast<float>(Rnd(dx ? *dx : 0.0F)),
                        static_cast<float>(Rnd(dy ? *dy : 0.0F)));
    const Found found = search.run(cornerFlags, static_cast<float>(minQualityPercent) / 100.0F, range);
    if (xy)
        *xy = found.at;
    if (dx)
        *dx = found.dx;
    if (dy)
        *dy = found.dy;
    return truncToInt32(found.quality * 100.0F);
}
