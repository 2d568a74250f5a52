#include "vexalib/smart_align.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "align/debug_pictures.h"
#include "align/image_size.h"
#include "measure/store_output.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/align1d.h"
#include "vexalib/block.h"
#include "vexalib/search.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int32_t kDefaultSlope = 45;
constexpr int32_t kLeastSlope = 13; // of both edges of a box that serves both axes
constexpr int32_t kAnySlope = 4;    // of an edge that is worth measuring
constexpr float kGoodQuality = 0.85F;
constexpr float kFoundQuality = 0.2F;
constexpr int32_t kLeastBox = 20;
constexpr int32_t kPatternMargin = 8;
constexpr VexaBox kNoBox = {-1, -1, -1, -1};

bool isInside(const VexaBox& box, int32_t x, int32_t y)
{
    return x >= box.left && x <= box.right && y >= box.top && y <= box.bottom;
}

// The best pixel of a round for one axis.
struct Edge {
    VexaPoint at = {0, 0};
    int32_t slope = 0;
    int64_t score = 0;

    void offer(int64_t newScore, int32_t newSlope, int32_t x, int32_t y)
    {
        if (newScore > score)
            *this = {{x, y}, newSlope, newScore};
    }
};

struct EdgePair {
    Edge x, y;
    int32_t smallerSlope() const { return std::min(x.slope, y.slope); }
};

int32_t centreOf(int32_t low, int32_t high, int32_t size)
{
    const auto middle = static_cast<int32_t>((int64_t{low} + high) / 2);
    return std::min(middle < 0 ? size / 2 : middle, size - 1);
}

class EdgeSearch
{
public:
    EdgeSearch(int32_t im, const ImageSize& size, const VexaBox& box)
        : im_(im), size_(size), box_(box), cx_(centreOf(box.left, box.right, size.cols)),
          cy_(centreOf(box.top, box.bottom, size.rows))
    {
    }

    // One round. False without memory.
    [[nodiscard]] bool look(int32_t radius, EdgePair& edges) const
    {
        const int32_t left = std::max(cx_ - radius, 0), right = std::min(cx_ + radius, size_.cols - 1);
        const int32_t top = std::max(cy_ - radius, 0), bottom = std::min(cy_ + radius, size_.rows - 1);
        const int32_t width = right - left + 1;
        Buffer<uint8_t> rows(2 * int64_t{width});
        if (malloctest(rows.data(), "FindClosestEdge"))
            return false;
        uint8_t* row = rows.data();
        uint8_t* below = row + width;
        edges = {};
        if (top + 1 < bottom)
            I_GetBlockType(left, top + 1, width, 1, below, im_, PIX_BYTE);
        for (int32_t y = top + 1; y < bottom; ++y) {
            std::swap(row, below);
            I_GetBlockType(left, y + 1, width, 1, below, im_, PIX_BYTE);
            for (int32_t x = left + 1; x < right; ++x)
                if (!isInside(box_, x, y))
                    score(row + (x - left), below[x - left], x, y, radius, edges);
        }
        return true;
    }

private:
    void score(const uint8_t* pixel, uint8_t below, int32_t x, int32_t y, int32_t radius,
               EdgePair& edges) const
    {
        const int32_t gx = std::abs(pixel[0] - pixel[1]), gy = std::abs(pixel[0] - below);
        if (gx == 0 && gy == 0)
            return;
        const int64_t nearness = 2 * int64_t{radius} - std::max(std::abs(x - cx_), std::abs(y - cy_));
        int64_t sx = gx * nearness, sy = gy * nearness;
        // A corner is worth little, a clean edge its slope.
        if (gx != 0) {
            const int32_t asymmetry = std::abs(gx - gy) * 100 / (gx + gy);
            sx = sx * asymmetry / 100;
            sy = sy * asymmetry / 100;
        }
        edges.x.offer(sx, gx, x, y);
        edges.y.offer(sy, gy, x, y);
    }

    int32_t im_;
    ImageSize size_;
    VexaBox box_;
    int32_t cx_;
    int32_t cy_;
};

EdgePair findClosestEdge(int32_t im, const VexaBox& box, int32_t minSlope)
{
    EdgePair edges;
    const ImageSize size = sizeOf(im);
    const EdgeSearch search(im, size, box);
    for (int64_t radius = 30; radius < std::max(size.cols, size.rows); radius *= 3)
        if (!search.look(static_cast<int32_t>(radius), edges) || edges.smallerSlope() >= minSlope)
            break;
    return edges;
}

VexaBox unionOf(const VexaBox& a, const VexaBox& b)
{
    return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
            std::max(a.bottom, b.bottom)};
}

// A box of width by height around a point, cut to an image of the given size.
VexaBox boxAround(const VexaPoint& at, int32_t width, int32_t height, int32_t leftPart, int32_t topPart,
                  const ImageSize& size)
{
    const int32_t left = std::max(at.x - leftPart, 0), top = std::max(at.y - topPart, 0);
    return {left, top, std::min(left + width, size.cols - 1), std::min(top + height, size.rows - 1)};
}

struct Shift {
    float dx, dy;
    float qualX = 0.0F, qualY = 0.0F;
};

class SmartAlignment
{
public:
    SmartAlignment(int32_t imDef, int32_t imRef, int32_t maxShift, const Shift& start)
        : imDef_(imDef), imRef_(imRef), maxShift_(maxShift), start_(start), shift_(start)
    {
    }

    void run(const VexaBox& given, int32_t span)
    {
        const EdgePair edges = findClosestEdge(imRef_, given, kLeastSlope);
        I_ShowError("SmartAlign 0");
        if (I_GetDebug())
            vexa_dprintf("FindClosestEdge: Slope=%d %d; minslopeAcceptable=%d at %d %d; %d %d", edges.x.slope,
                         edges.y.slope, kLeastSlope, edges.x.at.x, edges.x.at.y, edges.y.at.x, edges.y.at.y);
        const ImageSize size = sizeOf(imDef_);
        I_ShowError("SmartAlign: ImGetSize; imDef=%d", imDef_);
        const VexaBox xBox = boxAround(edges.x.at, span, span / 4, span / 2, span / 8, size);
        const VexaBox yBox = boxAround(edges.y.at, span / 4, span, span / 8, span / 2, size);
        const VexaBox both = unionOf(xBox, yBox);
        if (I_GetDebug())
            showStart(edges, xBox, yBox, both);
        const int32_t apart =
            std::max(std::abs(edges.x.at.x - edges.y.at.x), std::abs(edges.x.at.y - edges.y.at.y));
        if (apart <= span && edges.smallerSlope() >= kLeastSlope)
            alignBoth(both);
        if (isWanting(shift_.qualX, edges.x))
            alignX(xBox);
        if (isWanting(shift_.qualY, edges.y))
            alignY(yBox, edges.y.slope);
        if (isWanting(shift_.qualX, edges.x) || isWanting(shift_.qualY, edges.y))
            searchAround(both);
    }

    const Shift& shift() const { return shift_; }
    // The box used last; false where no step ran.
    bool usedBox(VexaBox& box) const
    {
        box = used_;
        return hasUsed_;
    }

private:
    static bool isWanting(float quality, const Edge& edge)
    {
        return quality < kGoodQuality && edge.slope >= kAnySlope;
    }

    void use(const VexaBox& box)
    {
        used_ = box;
        hasUsed_ = true;
    }

    void showStart(const EdgePair& edges, const VexaBox& x, const VexaBox& y, const VexaBox& both) const
    {
        showMisregistration(imDef_, imRef_, {start_.dx, start_.dy}, x, y, both);
        vexa_dprintf("xbox=%d %d %d %d  ybox=%d %d %d %d  abox = %d %d %d %d  xpk=%d %d, ypk = %d %d", x.left,
                     x.top, x.right, x.bottom, y.left, y.top, y.right, y.bottom, both.left, both.top,
                     both.right, both.bottom, edges.x.at.x, edges.x.at.y, edges.y.at.x, edges.y.at.y);
    }

    void align(const VexaBox& box, int32_t xRange, int32_t yRange, Shift& shift) const
    {
        I_ImageAlign1D(imDef_, imRef_, box.left, box.top, box.right - box.left + 1, box.bottom - box.top + 1,
                       xRange, yRange, &shift.dx, &shift.dy, &shift.qualX, &shift.qualY);
    }

    void alignBoth(const VexaBox& box)
    {
        use(box);
        align(box, maxShift_, maxShift_, shift_);
        I_ShowError("SmartAlign: error at XY align; maxshift=%d, abox=%d %d %d %d. ", maxShift_, box.left,
                    box.top, box.right, box.bottom);
        if (I_GetDebug())
            vexa_dprintf("xyAlign abox: dx=%.2f %.2f qual=%.2f %.2f", double{shift_.dx}, double{shift_.dy},
                         double{shift_.qualX}, double{shift_.qualY});
        if (shift_.qualX < kGoodQuality)
            shift_.dx = start_.dx;
        if (shift_.qualY < kGoodQuality)
            shift_.dy = start_.dy;
    }

    void alignX(const VexaBox& box)
    {
        Shift found = {shift_.dx, shift_.dy};
        align(box, maxShift_, 0, found);
        I_ShowError("SmartAlign: error at Xalign; maxshift=%d, xbox=%d %d %d %d. ", maxShift_, box.left,
                    box.top, box.right, box.bottom);
        if (I_GetDebug())
            vexa_dprintf("xAlign: OLD: dx=%.2f %.2f qual=%.2f %.2f; NEW: %.1f %.1f %.2f %.2f",
                         double{shift_.dx}, double{shift_.dy}, double{shift_.qualX}, double{shift_.qualY},
                         double{found.dx}, double{found.dy}, double{found.qualX}, double{found.qualY});
        if (found.qualX > std::max(shift_.qualX, kGoodQuality)) {
            shift_.dx = found.dx;
            shift_.qualX = found.qualX;
            use(box);
        }
    }

    void alignY(const VexaBox& box, int32_t slope)
    {
        Shift found = {shift_.dx, shift_.dy};
        align(box, 0, maxShift_, found);
        I_ShowError("SmartAlign: error at Yalign; maxshift=%d, ybox=%d %d %d %d. ", maxShift_, box.left,
                    box.top, box.right, box.bottom);
        if (I_GetDebug())
            vexa_dprintf("yAlign: dx=%.1f %.1f qual=%.2f %.2f; NEW: %.1f %.1f %.2f %.2f; yslope=%d "
                         "minslopeAcceptable=%d",
                         double{shift_.dx}, double{shift_.dy}, double{shift_.qualX}, double{shift_.qualY},
                         double{found.dx}, double{found.dy}, double{found.qualX}, double{found.qualY}, slope,
                         kAnySlope);
        if (found.qualY > std::max(shift_.qualY, kGoodQuality)) {
            shift_.dy = found.dy;
            shift_.qualY = found.qualY;
            use(box);
        }
    }

    void searchAround(const VexaBox& box)
    {
        const ImageSize size = sizeOf(imRef_);
        VexaBox pattern = {std::max(box.left - kPatternMargin, 1), box.top < 2 ? 1 : box.top - kPatternMargin,
                           std::min(box.right + kPatternMargin, size.cols - 2),
                           std::min(box.bottom + kPatternMargin, size.rows - 2)};
        VexaBox area = {
            static_cast<int32_t>(std::max(int64_t{pattern.left} - maxShift_, int64_t{0})),
            static_cast<int32_t>(std::max(int64_t{pattern.top} - maxShift_, int64_t{0})),
            static_cast<int32_t>(std::min(int64_t{pattern.right} + maxShift_, int64_t{size.cols} - 1)),
            static_cast<int32_t>(std::min(int64_t{pattern.bottom} + maxShift_, int64_t{size.rows} - 1))};
        if (I_GetDebug())
            vexa_dprintf("2D start: qual=%.2f %.2f; dx=%.2f %.2f Pattern=%d %d %d %d", double{shift_.qualX},
                         double{shift_.qualY}, double{shift_.dx}, double{shift_.dy}, pattern.left,
                         pattern.top, pattern.right, pattern.bottom);
        float x = shift_.dx, y = shift_.dy, quality = 0.0F;
        I_WindowSearch(&pattern, imDef_, &area, imRef_, 2, &x, &y, &quality, 1);
        I_ShowError("SmartAlign: at maxshift=%d; WindowSearch: pat= %d %d %d %d; s=%d %d %d %d img=%d %d",
                    maxShift_, pattern.left, pattern.top, pattern.right, pattern.bottom, area.left, area.top,
                    area.right, area.bottom, imDef_, imRef_);
        if (quality > kFoundQuality)
            shift_.qualX = shift_.qualY = quality;
        // Required: the position is taken from the search whatever its quality.
        shift_.dx = x;
        shift_.dy = y;
        use(pattern);
        if (I_GetDebug())
            vexa_dprintf("2D done: qual=%.2f dx=%.2f %.2f, maxshift=%d", double{quality}, double{x},
                         double{y}, maxShift_);
    }

    int32_t imDef_;
    int32_t imRef_;
    int32_t maxShift_;
    Shift start_;
    Shift shift_;
    VexaBox used_ = kNoBox;
    bool hasUsed_ = false;
};

} // namespace
} // namespace vexa

using namespace vexa;

int32_t FindClosestEdge(int32_t im, VexaBox* box, int32_t minSlope, VexaPoint* xPeak, VexaPoint* yPeak,
                        int32_t* xSlope, int32_t* ySlope)
{
    const bool isGiven = box && box->right > 0;
    const EdgePair edges =
        findClosestEdge(im, isGiven ? *box : kNoBox, minSlope < 2 ? kDefaultSlope : minSlope);
    if (edges.x.score > 0)
        storeOutput(xPeak, edges.x.at);
    if (edges.y.score > 0)
        storeOutput(yPeak, edges.y.at);
    storeOutput(xSlope, edges.x.slope);
    storeOutput(ySlope, edges.y.slope);
    return edges.smallerSlope();
}

int32_t I_SmartAlign(int32_t imDef, int32_t imRef, VexaBox* box, VexaBox* outBox, int32_t maxShift, float* dx,
                     float* dy, float* qualX, float* qualY)
{
    const auto span =
        static_cast<int32_t>(std::clamp<int64_t>(3 * int64_t{maxShift}, kLeastBox, INT32_MAX / 4));
    if (maxShift < 1) {
        I_PostMessage("I_SmartAlign: maxshift=%d; setting it to 1.", maxShift);
        maxShift = 1;
    }
    SmartAlignment alignment(imDef, imRef, maxShift, {dx ? *dx : 0.0F, dy ? *dy : 0.0F});
    alignment.run(box && box->right >= 1 ? *box : kNoBox, span);
    VexaBox used;
    if (alignment.usedBox(used))
        storeOutput(outBox, used);
    storeOutput(dx, alignment.shift().dx);
    storeOutput(dy, alignment.shift().dy);
    storeOutput(qualX, alignment.shift().qualX);
    storeOutput(qualY, alignment.shift().qualY);
    return 1;
}
