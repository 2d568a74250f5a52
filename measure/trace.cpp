// Contours at a threshold, in fractions of a pixel.
#include "vexalib/trace.h"

#include <algorithm>
#include <array>
#include <utility>

#include "measure/store_output.h"
#include "support/buffer.h"
#include "support/guard.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/numeric.h"
#include "vexalib/roi.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// Clockwise from the upper right.
constexpr std::array<VexaPoint, 8> kDirections = {
    {{1, -1}, {1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}, {0, -1}}};

VexaPoint neighbour(VexaPoint p, int32_t direction)
{
    const VexaPoint d = kDirections[static_cast<std::size_t>(direction & 7)];
    return {p.x + d.x, p.y + d.y};
}

bool same(VexaPoint a, VexaPoint b)
{
    return a.x == b.x && a.y == b.y;
}

// The pixels of the region's box, in its own coordinates.
struct GreyBox {
    uint8_t** pixels;
    VexaPoint corner;
    int32_t cols;
    int32_t rows;
    int32_t threshold;

    int32_t at(VexaPoint p) const { return pixels[p.y][p.x]; }
    bool inside(VexaPoint p) const { return at(p) >= threshold; }
    bool onRim(VexaPoint p) const { return p.x <= 0 || p.y <= 0 || p.x >= cols - 1 || p.y >= rows - 1; }
    // At least a pixel from the sides.
    VexaPoint held(VexaPoint p) const { return {std::clamp(p.x, 1, cols - 2), std::clamp(p.y, 1, rows - 2)}; }
    // An inside pixel with a neighbour that is not: every one of eight, or every second one, from a direction
    // on.
    bool isEdge(VexaPoint p, int32_t firstDirection, int32_t everyNth) const
    {
        bool outsideNear = false;
        for (int32_t d = firstDirection; d < 8; d += everyNth)
            outsideNear = outsideNear || !inside(neighbour(p, d));
        return inside(p) && outsideNear;
    }
};

bool isEdge(const GreyBox& box, VexaPoint p)
{
    return box.isEdge(p, 0, 1);
}

// The odd directions lead straight left, right, up and down.
bool isStraightEdge(const GreyBox& box, VexaPoint p)
{
    return box.isEdge(p, 1, 2);
}

// The nearest edge in the order of the spiral, which is listed in growing parts. False: there is none, or no
// memory.
bool findNearestEdge(const GreyBox& box, VexaPoint* start)
{
    constexpr int32_t kFirstRadius = 16;
    const int32_t farthest = std::max(box.cols, box.rows) - 1;
    int32_t seen = 0;
    for (int64_t radius = kFirstRadius;; radius *= 4) {
        int32_t count = 0;
        VexaPoint* const list =
            I_SpiralOutList(box.cols, box.rows, start->x, start->y,
                            static_cast<int32_t>(std::min<int64_t>(radius, farthest)), &count);
        if (!list)
            return false;
        const Guard release([list] { vexaFree(list); });
        for (; seen < count; ++seen) {
            if (box.onRim(list[seen]) || !isStraightEdge(box, list[seen]))
                continue;
            *start = list[seen];
            return true;
        }
        if (radius >= farthest)
            return false;
    }
}

void reportNoEdge(const GreyBox& box, float threshold, VexaPoint given, VexaPoint held)
{
    uint8_t* const* const rows = box.pixels + held.y;
    const auto at = [&](int32_t dx, int32_t dy) { return static_cast<int32_t>(rows[dy][held.x + dx]); };
    I_SetError(1,
               "TraceEdge Thresh=%.1f ptStart=%d %d, xStart=%d %d, x0=%d %d cols=%d %d \r\n%d %d %d\r\n%d %d "
               "%d\r\n%d %d %d",
               static_cast<double>(threshold), given.x, given.y, held.x, held.y, box.corner.x, box.corner.y,
               box.cols, box.rows, at(-1, -1), at(0, -1), at(1, -1), at(-1, 0), at(0, 0), at(1, 0), at(-1, 1),
               at(0, 1), at(1, 1));
}

// Where to begin, in the box's coordinates. False: nowhere.
bool chooseStart(const GreyBox& box, float threshold, VexaPoint given, VexaPoint* start)
{
    const VexaPoint relative = {saturateToInt32(int64_t{given.x} - box.corner.x),
                                saturateToInt32(int64_t{given.y} - box.corner.y)};
    *start = box.held(relative);
    if (isEdge(box, *start))
        return true;
    if (relative.x >= 0 && relative.y >= 0 && relative.x < box.cols && relative.y < box.rows)
        reportNoEdge(box, threshold, given, *start);
    return findNearestEdge(box, start);
}

// Leaves on the rim of the box only what differs from the pixel inside of it, so that a contour runs along
// the rim.
void thinRim(const GreyBox& box)
{
    const auto thin = [&box](VexaPoint p) {
        if (box.inside(p) == box.inside(box.held(p)))
            box.pixels[p.y][p.x] = 0;
    };
    for (int32_t x = 0; x < box.cols; ++x) {
        thin({x, 0});
        thin({x, box.rows - 1});
    }
    for (int32_t y = 1; y < box.rows - 1; ++y) {
        thin({0, y});
        thin({box.cols - 1, y});
    }
}

struct Step {
    int32_t direction;
    VexaPoint pixel;
    VexaPointF point; // in image coordinates
};

VexaPointF crossing(const GreyBox& box, VexaPoint in, VexaPoint out)
{
    const double f =
        static_cast<double>(box.at(in) - box.threshold) / static_cast<double>(box.at(in) - box.at(out));
    return {static_cast<float>(in.x * (1.0 - f) + out.x * f + box.corner.x),
            static_cast<float>(in.y * (1.0 - f) + out.y * f + box.corner.y)};
}

// Looks around for the first pixel inside behind one outside.
bool findNext(const GreyBox& box, VexaPoint present, int32_t direction, Step* step)
{
    if (box.onRim(present)) {
        vexa_dprintf("FindNextPt: Cur point (%d,%d) = %d is at edge.", present.x, present.y, box.at(present));
        return false;
    }
    const int32_t first = direction + 5;
    VexaPoint before = neighbour(present, first);
    for (int32_t d = first + 1; d <= first + 8; ++d) {
        const VexaPoint here = neighbour(present, d);
        if (!box.inside(before) && box.inside(here)) {
            *step = {d & 7, here, crossing(box, here, before)};
            return true;
        }
        before = here;
    }
    return false;
}

// Both lists of points; they grow together and are the caller's in the end.
class Trace
{
public:
    explicit Trace(int64_t growth) : growth_(growth) {}
    ~Trace()
    {
        vexaFree(exact_);
        vexaFree(whole_);
    }
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

    int64_t count() const { return count_; }
    const VexaPointF* exact() const { return exact_; }

    [[nodiscard]] bool append(VexaPointF point, VexaPoint pixel)
    {
        if (count_ + 1 >= capacity_ && !grow()) // with room for the point behind
            return false;
        exact_[count_] = point;
        whole_[count_++] = pixel;
        return true;
    }
    void dropLast() { --count_; }
    // The point behind the last one, which is not counted.
    void setBehind(VexaPointF point) { exact_[count_] = point; }
    VexaPointF* releaseExact() { return std::exchange(exact_, nullptr); }
    VexaPoint* releaseWhole() { return std::exchange(whole_, nullptr); }

private:
    template <typename Point>
    [[nodiscard]] bool growList(Point** list)
    {
        auto* const larger = static_cast<Point*>(allocateForCaller(capacity_ + growth_, sizeof(Point)));
        if (malloctest(larger, "I_TraceEdge"))
            return false;
        std::copy_n(*list, count_, larger);
        vexaFree(std::exchange(*list, larger));
        return true;
    }
    [[nodiscard]] bool grow()
    {
        if (!growList(&exact_) || !growList(&whole_))
            return false;
        capacity_ += growth_;
        return true;
    }

    int64_t growth_;
    int64_t capacity_ = 0;
    int64_t count_ = 0;
    VexaPointF* exact_ = nullptr;
    VexaPoint* whole_ = nullptr;
};

bool meetsSecondPoint(const Trace& trace)
{
    const VexaPointF* const p = trace.exact();
    const int64_t last = trace.count() - 1;
    return last > 1 && p[last].x == p[1].x && p[last].y == p[1].y;
}

// False: no memory.
[[nodiscard]] bool follow(const GreyBox& box, VexaPoint start, bool stopAtRim, Trace& trace)
{
    VexaPoint present = start;
    int32_t direction = 0;
    for (Step step; findNext(box, present, direction, &step);) {
        present = step.pixel;
        direction = step.direction;
        if (!trace.append(step.point, {present.x + box.corner.x, present.y + box.corner.y}))
            return false;
        trace.setBehind(step.point);
        if (trace.count() > int64_t{box.rows} * box.cols) {
            I_SetError(1, "TraceEdge looping? cnt=%d too high. imSize=%dx%d", saturateToInt32(trace.count()),
                       box.cols, box.rows);
            break;
        }
        if (meetsSecondPoint(trace)) {
            trace.dropLast(); // and stays behind the last one
            return true;
        }
        if (stopAtRim && box.onRim(present))
            break;
        if (same(present, start)) {
            if (findNext(box, present, direction, &step))
                trace.setBehind(step.point);
            break;
        }
    }
    return true;
}

} // namespace
} // namespace vexa

using namespace vexa;

VexaPointF* I_TraceEdge(int32_t im, float threshold, VexaPoint* start, VexaPoint** points, int32_t* count,
                        int32_t stopAtEdge)
{
    storeOutput(points, nullptr);
    storeOutput(count, 0);
    VexaBox roi = {};
    if (!I_ROIBoundingBox(&roi.left, &roi.top, &roi.right, &roi.bottom, im))
        return nullptr;
    const int32_t cols = roi.right - roi.left + 1;
    const int32_t rows = roi.bottom - roi.top + 1;
    if (cols < 3 || rows < 3)
        return nullptr;
    void** const array = Create2DArray(cols, rows + 1, 1);
    if (!array)
        return nullptr;
    const Guard release([array] { Free2DArray(array); });
    if (!I_GetBlockType(roi.left, roi.top, cols, rows, array[0], im, PIX_BYTE))
        return nullptr;
    const VexaPoint corner = {roi.left, roi.top};
    const GreyBox box{reinterpret_cast<uint8_t**>(array), corner, cols, rows, truncToInt32(threshold)};
    VexaPoint from;
    if (!chooseStart(box, threshold, start ? *start : corner, &from))
        return nullptr;
    storeOutput(start, VexaPoint{from.x + corner.x, from.y + corner.y});
    if (stopAtEdge == 0)
        thinRim(box);
    Trace trace(4 * (int64_t{cols} + rows));
    if (!follow(box, from, stopAtEdge != 0, trace) || trace.count() == 0)
        return nullptr;
    storeOutput(count, saturateToInt32(trace.count()));
    if (points)
        *points = trace.releaseWhole();
    return trace.releaseExact();
}
