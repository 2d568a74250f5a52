// What stands in a box of a picture: the boundaries that a circle around it meets.
#include <algorithm>
#include <cmath>
#include <utility>

#include "core/roi.h"
#include "inspect/shape_picture.h"
#include "inspect/trace_shape.h"
#include "measure/store_output.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/drawing.h"
#include "vexalib/edge_shape.h"
#include "vexalib/image.h"
#include "vexalib/numeric.h"
#include "vexalib/profile.h"
#include "vexalib/status.h"
#include "vexalib/trace.h"

namespace vexa
{
namespace
{

constexpr int32_t kMostTraces = 10;
constexpr double kCircleSpacing = 0.85;
constexpr float kFar = 99999.0F;

struct EdgeTrace {
    float pointCount = 0.0F;
    float centreDistance = 0.0F; // the smallest, from the centre of the box
    float neighbourGap = kFar;   // the smallest distance from the closest trace
    float localTurn = 0.0F;      // radians, around closestIndex
    float backDirection = 0.0F;  // radians
    float forwardDirection = 0.0F;
    float directionGap = 0.0F; // degrees, 0 to 180
    float wholeTurn = 0.0F;
    VexaPointF* points = nullptr; // owned
    int32_t count = 0;
    int32_t closestIndex = 0;
    bool darkBetween = false; // the pixel midway to the closest trace is below the threshold
    bool closed = false;

    EdgeTrace() = default;
    ~EdgeTrace() { vexaFree(points); }
    EdgeTrace(const EdgeTrace&) = delete;
    EdgeTrace& operator=(const EdgeTrace&) = delete;
};

// What is measured, and what comes out of it.
struct Shape {
    int32_t im;
    int32_t threshold;
    int32_t margin;
    int32_t cols = 0;
    int32_t rows = 0;
    VexaPointF centre = {};
    int64_t boxWidth = 0;
    int64_t boxHeight = 0;

    VexaPoint crossings[kMostTraces] = {};
    EdgeTrace traces[kMostTraces] = {};
    int32_t traceCount = 0;
    int32_t nearestDistance = 1000;
    int32_t closest = 0;
    VexaPoint midway = {}; // between the closest trace and the last one compared

    int32_t edges = 0;
    float separation = 0.0F;
    float width = 0.0F;
    float direction = 0.0F;
    float angle = 0.0F;
    float turn = 0.0F;
    int32_t closedPoints = 0;

    bool isDark(VexaPoint p) const { return static_cast<float>(threshold) > I_GetPix(p.x, p.y, im); }
};

VexaPoint midwayOf(VexaPointF a, VexaPointF b)
{
    return {Rnd((a.x + b.x) * 0.5F), Rnd((a.y + b.y) * 0.5F)};
}

// The path on which boundaries are looked for: whole pixels of the image, the first one again behind the
// last.
class Path
{
public:
    explicit Path(Shape& shape)
        : shape_(shape), box_{truncToInt32(shape.centre.x), truncToInt32(shape.centre.y),
                              truncToInt32(shape.centre.x), truncToInt32(shape.centre.y)}
    {
    }

    bool makeCircle()
    {
        const double radius =
            static_cast<double>((shape_.boxWidth + shape_.boxHeight) / 2) * 0.5 + shape_.margin;
        points_ = circlePoints(static_cast<double>(shape_.centre.x), static_cast<double>(shape_.centre.y),
                               radius, kCircleSpacing);
        n_ = static_cast<int32_t>(points_.size()) - 1;
        return n_ > 0;
    }

    // From the first point of the circle to the one across.
    bool makeDiameter()
    {
        const VexaPoint a = wholePoint(0);
        const VexaPoint b = wholePoint(n_ / 2);
        Buffer<VexaPoint> line(int64_t{std::max(shape_.cols, shape_.rows)} + 2);
        if (malloctest(line.data(), "I_EdgeShape"))
            return false;
        const int32_t n = I_GetLineCoords(shape_.im, &a, &b, line.data());
        Buffer<VexaPointF> points(int64_t{n} + 1);
        if (n < 1 || malloctest(points.data(), "I_EdgeShape"))
            return false;
        for (int32_t i = 0; i < n; ++i)
            points[i] = {static_cast<float>(line[i].x), static_cast<float>(line[i].y)};
        points_ = std::move(points);
        n_ = n;
        return true;
    }

    // Whole pixels, and the window around all points so far.
    void settle()
    {
        for (int32_t i = 0; i < n_; ++i) {
            points_[i] = {settled(points_[i].x, shape_.cols), settled(points_[i].y, shape_.rows)};
            const VexaPoint p = wholePoint(i);
            box_ = {std::min(box_.left, p.x), std::min(box_.top, p.y), std::max(box_.right, p.x),
                    std::max(box_.bottom, p.y)};
        }
        points_[n_] = points_[0];
        const auto moved = [](int32_t side, int64_t by) { return saturateToInt32(side + by); };
        I_SetWindowROI(moved(box_.left, -2), moved(box_.top, -2), moved(box_.right, 2),
                       moved(box_.bottom, 2));
    }

    // The pixels where the image rises through the threshold. False: no memory.
    [[nodiscard]] bool findRises()
    {
        Buffer<uint8_t> values(int64_t{n_} + 2);
        if (malloctest(values.data(), "I_EdgeShape"))
            return false;
        I_GetPixelsInList(points_.data(), values.data(), n_ + 1, shape_.im, PIX_BYTE);
        I_ShowError("EdgeShape 4");
        for (int32_t i = 0; i < n_ && shape_.traceCount < kMostTraces; ++i)
            if (values[i] < shape_.threshold && values[i + 1] >= shape_.threshold)
                shape_.crossings[shape_.traceCount++] = wholePoint(i + 1);
        return true;
    }

    const VexaPointF* points() const { return points_.data(); }
    int32_t size() const { return n_; }

private:
    VexaPoint wholePoint(int32_t i) const { return {truncToInt32(points_[i].x), truncToInt32(points_[i].y)}; }
    static float settled(float coordinate, int32_t size)
    {
        const double inside = std::clamp(static_cast<double>(coordinate) + 0.5, 0.0, size - 1.0);
        return static_cast<float>(truncToInt32(inside));
    }

    Shape& shape_;
    Buffer<VexaPointF> points_;
    int32_t n_ = 0;
    VexaBox box_;
};

// False: no memory.
[[nodiscard]] bool findRisesOn(Path& path, const Shape& shape)
{
    if (!path.makeCircle())
        return true;
    path.settle();
    if (!path.findRises())
        return false;
    if (shape.traceCount > 0 || !path.makeDiameter())
        return true;
    path.settle();
    return path.findRises();
}

// False: no memory.
[[nodiscard]] bool findCrossings(Shape& shape, ShapePicture& picture)
{
    Path path(shape);
    if (!findRisesOn(path, shape))
        return false;
    picture.putPath(path.points(), path.size());
    if (shape.traceCount == 0)
        picture.show();
    return true;
}

bool strictlyInside(const Shape& shape, VexaPoint p)
{
    return p.x > 0 && p.y > 0 && p.x < shape.cols - 1 && p.y < shape.rows - 1;
}

bool isClosed(const EdgeTrace& trace)
{
    constexpr double kNear = 1.5;
    const VexaPointF* const p = trace.points;
    return distance(p[0], p[trace.count - 1]) < kNear || distance(p[0], p[trace.count]) < kNear;
}

// The index of the last trace stays where no point is nearer to the centre than the number of points.
void findClosestPoint(const Shape& shape, EdgeTrace& trace, int32_t& closestIndex)
{
    double nearest = trace.count;
    for (int32_t i = 0; i < trace.count; ++i) {
        const double d = distance(trace.points[i], shape.centre);
        if (d < nearest) {
            nearest = d;
            closestIndex = i;
        }
    }
    trace.closestIndex = closestIndex;
    trace.centreDistance = static_cast<float>(nearest);
}

void followTrace(Shape& shape, int32_t i, int32_t& closestIndex, ShapePicture& picture)
{
    EdgeTrace& trace = shape.traces[i];
    const VexaPoint crossing = shape.crossings[i];
    VexaPoint start = crossing;
    trace.points =
        I_TraceEdge(shape.im, static_cast<float>(shape.threshold), &start, nullptr, &trace.count, 1);
    if (fdist(&start, &crossing) > 3.0 && strictlyInside(shape, crossing))
        trace.count = 0;
    else if (trace.count > 4)
        trace.closed = isClosed(trace);
    picture.putTrace(i, trace.points, trace.count, crossing, start);
    trace.pointCount = static_cast<float>(trace.count);
    if (trace.count < 2)
        return;
    ++shape.edges;
    findClosestPoint(shape, trace, closestIndex);
    // Required: of equals the later one.
    if (!(static_cast<float>(shape.nearestDistance) < trace.centreDistance)) {
        shape.closest = i;
        shape.nearestDistance = truncToInt32(trace.centreDistance);
    }
}

// The gap between the closest trace and each other one.
void measureGaps(Shape& shape)
{
    const EdgeTrace& closest = shape.traces[shape.closest];
    for (int32_t i = 0; i < shape.traceCount; ++i) {
        EdgeTrace& trace = shape.traces[i];
        if (i == shape.closest || trace.count <= 2)
            continue;
        double best = static_cast<double>(kFar);
        for (int32_t a = 0; a < closest.count; ++a)
            for (int32_t b = 0; b < trace.count; ++b) {
                const double d = distance(closest.points[a], trace.points[b]);
                if (d < best) {
                    best = d;
                    shape.midway = midwayOf(closest.points[a], trace.points[b]);
                }
            }
        trace.neighbourGap = static_cast<float>(best);
        trace.darkBetween = shape.isDark(shape.midway);
    }
}

void measureTurns(EdgeTrace& trace)
{
    const int32_t begin = std::clamp(trace.closestIndex - 2, 0, trace.count);
    trace.localTurn = sharpestTurn(trace.points + begin, std::min(trace.count - begin, 5));
    trace.wholeTurn = sharpestTurn(trace.points, trace.count);
    trace.backDirection =
        static_cast<float>(traceDirection(trace.points, trace.count, trace.closestIndex, true));
    trace.forwardDirection =
        static_cast<float>(traceDirection(trace.points, trace.count, trace.closestIndex, false));
    const double gap =
        std::fabs(static_cast<double>(trace.backDirection - trace.forwardDirection)) * kDegrees;
    trace.directionGap = static_cast<float>(gap > 180.0 ? 360.0 - gap : gap);
}

// Whether a trace begins in the direction in which the one before ended, within ten degrees.
bool runParallel(const EdgeTrace& before, const EdgeTrace& trace)
{
    auto angle =
        static_cast<float>(static_cast<double>(before.forwardDirection - trace.backDirection) * kDegrees);
    if (angle > 180.0F)
        angle = 360.0F - angle;
    if (angle > 90.0F)
        angle = 180.0F - angle;
    return std::abs(truncToInt32(angle)) < 10;
}

void compareDirections(Shape& shape)
{
    bool parallel = false;
    for (int32_t i = 0; i < shape.traceCount; ++i) {
        measureTurns(shape.traces[i]);
        parallel = parallel || (i > 0 && runParallel(shape.traces[i - 1], shape.traces[i]));
    }
    if (parallel)
        shape.edges = -shape.edges;
}

void describeClosest(Shape& shape)
{
    const EdgeTrace& closest = shape.traces[shape.closest];
    shape.angle = 180.0F - std::fabs(closest.directionGap);
    double d = -static_cast<double>(closest.forwardDirection + closest.backDirection) * 0.5 * kDegrees;
    if (d > 180.0)
        d -= 180.0;
    if (d <= 180.0)
        d += 180.0;
    if (d < 0.0)
        d += 180.0;
    shape.direction = static_cast<float>(d);
    const bool small = std::max(shape.boxWidth, shape.boxHeight) < 5;
    shape.turn =
        static_cast<float>(static_cast<double>(small ? closest.localTurn : closest.wholeTurn) * kDegrees);
}

struct Neighbour {
    float gap = kFar;
    bool dark = false;
    int32_t number = 0;
};

Neighbour chooseNeighbour(const Shape& shape)
{
    Neighbour held;
    for (int32_t i = 0; i < shape.traceCount; ++i) {
        const EdgeTrace& trace = shape.traces[i];
        if (i == shape.closest || trace.centreDistance <= 0.0F)
            continue;
        // Required: a distance from the centre is compared with a gap.
        const bool nearer = trace.centreDistance < held.gap && (trace.darkBetween || !held.dark);
        if ((!held.dark && trace.darkBetween) || nearer)
            held = {trace.neighbourGap, trace.darkBetween, i};
    }
    return held;
}

// The small and the large diameter of a closed contour.
void measureClosed(Shape& shape, const EdgeTrace& trace, float& smallest)
{
    const int32_t half = trace.count / 2;
    const int32_t quarter = half / 2;
    double small = 9999.0;
    double large = 0.0;
    for (int32_t i = 0; i < half; ++i)
        for (int32_t k = i + quarter; k < i + quarter + half; ++k) {
            const double d = distance(trace.points[i], trace.points[k % trace.count]);
            small = std::min(small, d);
            large = std::max(large, d);
        }
    const VexaPointF a = trace.points[0];
    const VexaPointF b = trace.points[half];
    const bool dark = shape.isDark({truncToInt32((a.x + b.x) * 0.5F), truncToInt32((a.y + b.y) * 0.5F)});
    shape.closedPoints = dark ? -trace.count : trace.count;
    shape.width = static_cast<float>(dark ? -large : large);
    smallest = static_cast<float>(dark ? -small : small);
}

// An open contour that goes around the end of a line stands nearest across it where its distance from its
// first point rises again after a fall.
void measureOpen(Shape& shape, const EdgeTrace& trace)
{
    int64_t turnaround = 2 * int64_t{shape.margin};
    double held = 0.0;
    bool falling = false;
    for (int32_t j = 2; j < trace.count; ++j) {
        // Required: the distance of point 1 counts as 0.
        const double before = j > 2 ? distance(trace.points[0], trace.points[j - 1]) : 0.0;
        const double here = distance(trace.points[0], trace.points[j]);
        held = before;
        if (falling && before < here) {
            turnaround = j - 1;
            break;
        }
        falling = falling || before > here;
    }
    double value = trace.count;
    VexaPoint midway = shape.midway;
    if (turnaround > 2 && turnaround < trace.count) {
        // Required: after a walk without a turn the distance is not that of the point.
        value = held;
        midway = midwayOf(trace.points[0], trace.points[turnaround]);
    }
    shape.width = static_cast<float>(shape.isDark(midway) ? -value : value);
}

void compareTraces(Shape& shape)
{
    measureGaps(shape);
    compareDirections(shape);
    describeClosest(shape);
    const EdgeTrace& closest = shape.traces[shape.closest];
    Neighbour neighbour = chooseNeighbour(shape);
    if (closest.closed)
        measureClosed(shape, closest, neighbour.gap);
    if (2.0 * shape.margin < static_cast<double>(neighbour.gap))
        shape.edges = 1;
    shape.separation = neighbour.dark ? -neighbour.gap : neighbour.gap;
    if (I_GetDebug() != 0)
        vexa_dprintf("Edges=%d iThresh=%d, minsep= %.1f, %.1f bDarkLine=%d %d iclose=%d iMinSep=%d",
                     shape.traceCount, shape.threshold, static_cast<double>(neighbour.gap),
                     static_cast<double>(closest.neighbourGap), shape.traces[neighbour.number].darkBetween,
                     neighbour.dark, shape.closest, neighbour.number);
    if (!closest.closed)
        measureOpen(shape, closest);
}

} // namespace
} // namespace vexa

using namespace vexa;

float I_EdgeShape(int32_t im, int32_t iThresh, const VexaBox* box, int32_t margin, int32_t* edges,
                  float* minsep, float* width, float* direction, float* angle, float* turn,
                  int32_t* closedPoints)
{
    storeOutput(edges, 0);
    storeOutput(minsep, 0.0F);
    Shape shape{.im = im, .threshold = iThresh, .margin = margin};
    if (!I_ImGetSize(&shape.cols, &shape.rows, nullptr, im) || !box)
        return 0.0F;
    shape.centre = {static_cast<float>((static_cast<double>(box->left) + box->right) * 0.5),
                    static_cast<float>((static_cast<double>(box->top) + box->bottom) * 0.5)};
    shape.boxWidth = int64_t{box->right} - box->left + 1;
    shape.boxHeight = int64_t{box->bottom} - box->top + 1;
    const RoiGuard restore;
    ShapePicture picture(im);
    if (!findCrossings(shape, picture))
        return 0.0F;
    int32_t closestIndex = 0;
    for (int32_t i = 0; i < shape.traceCount; ++i)
        followTrace(shape, i, closestIndex, picture);
    if (shape.edges < 1)
        return -1.0F;
    compareTraces(shape);
    storeOutput(edges, shape.edges);
    storeOutput(minsep, shape.separation);
    storeOutput(width, shape.width);
    storeOutput(direction, shape.direction);
    storeOutput(angle, shape.angle);
    storeOutput(turn, shape.turn);
    storeOutput(closedPoints, shape.closedPoints);
    return std::max(static_cast<float>(shape.nearestDistance), 0.1F);
}
