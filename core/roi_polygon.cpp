// The runs of a polygon: the walker for polygons that are monotone in y, and the fill for all others.
#include <algorithm>

#include "core/roi_state.h"
#include "support/line_steps.h"

namespace vexa
{
namespace
{

// Coordinates of a chain carry 9 fractional bits.
constexpr int64_t kOne = 512;

// One of the two ways down from the top vertex. x is the chain's place on the row it stands on.
struct Chain {
    const VexaPoint* polygon;
    int32_t n;
    int32_t step; // 1 forwards, n - 1 backwards
    int32_t at;   // the next vertex
    int64_t x;
    int64_t slope = 0;

    // Passes the vertices on row y. False: one above this row was left behind, so the chain turns upward.
    bool arrive(int64_t y)
    {
        for (int32_t guard = 0; guard <= n && polygon[at].y == y; ++guard) {
            const VexaPoint here = polygon[at];
            at = static_cast<int32_t>((int64_t{at} + step) % n);
            const VexaPoint next = polygon[at];
            x = (here.x * kOne) | (kOne / 2);
            if (next.y != here.y)
                slope = (int64_t{next.x} - here.x) * kOne / (int64_t{next.y} - here.y);
        }
        return polygon[at].y >= y;
    }
};

struct Extent {
    int32_t top; // index
    int64_t lowestY;
    int64_t highestY;
    int64_t lowestX;
    int64_t highestX;
};

// The top vertex is the last one of those with the lowest y.
Extent extentOf(const VexaPoint* polygon, int32_t n)
{
    Extent e{0, polygon[0].y, polygon[0].y, polygon[0].x, polygon[0].x};
    for (int32_t i = 1; i < n; ++i) {
        if (polygon[i].y <= e.lowestY) {
            e.top = i;
            e.lowestY = polygon[i].y;
        }
        e.highestY = std::max<int64_t>(e.highestY, polygon[i].y);
        e.lowestX = std::min<int64_t>(e.lowestX, polygon[i].x);
        e.highestX = std::max<int64_t>(e.highestX, polygon[i].x);
    }
    return e;
}

// A run from the fixed-point places a to b, each limited to 0 and highest, in rising order.
VexaPoint* putRun(VexaPoint* out, int64_t a, int64_t b, int64_t y, int32_t highest)
{
    const auto column = [highest](int64_t x) {
        return static_cast<int32_t>(std::clamp<int64_t>(x >> 9, 0, highest));
    };
    const auto row = static_cast<int32_t>(y);
    *out++ = {std::min(column(a), column(b)), row};
    *out++ = {std::max(column(a), column(b)), row};
    return out;
}

// False if a vertex that neither chain has passed lies above the last row.
bool restIsFlat(const Chain& left, const Chain& right, int64_t lastY)
{
    int32_t at = left.at;
    for (int32_t i = 0; i < left.n; ++i) {
        if (left.polygon[at].y < lastY)
            return false;
        if (at == right.at)
            break;
        at = static_cast<int32_t>((int64_t{at} + left.step) % left.n);
    }
    return true;
}

} // namespace

int32_t convexRuns(const VexaPoint* polygon, int32_t n, int32_t cols, int32_t rows, const ScanList& list)
{
    if (n < 1)
        return 0;
    const Extent extent = extentOf(polygon, n);
    Chain left{polygon, n, n - 1, extent.top, extent.lowestX * kOne};
    Chain right{polygon, n, 1, extent.top, extent.highestX * kOne};
    VexaPoint* out = list.points;
    // From vertex to vertex, so that rows outside the image cost nothing.
    for (int64_t y = extent.lowestY; y < extent.highestY;) {
        if (!left.arrive(y) || !right.arrive(y))
            return -1;
        const int64_t next =
            std::min({int64_t{polygon[left.at].y}, int64_t{polygon[right.at].y}, extent.highestY});
        const int64_t last = std::min<int64_t>(next, rows);
        for (int64_t row = std::max<int64_t>(y, 0); row < last; ++row)
            out = putRun(out, left.x + (row - y) * left.slope, right.x + (row - y) * right.slope, row,
                         cols - 1);
        left.x += (next - y) * left.slope;
        right.x += (next - y) * right.slope;
        y = next;
    }
    if (!restIsFlat(left, right, extent.highestY))
        return -1;
    // Required: the last row is limited to cols, not to cols - 1.
    if (extent.highestY >= 0 && extent.highestY < rows)
        out = putRun(out, left.x, right.x, extent.highestY, cols);
    return static_cast<int32_t>(out - list.points);
}

namespace
{

// The boundary pixels of a polygon in the list's buffer, at most capacity of them.
struct Boundary {
    VexaPoint* points;
    int32_t capacity;
    int32_t count = 0;

    int32_t room() const { return capacity - count; }
    void add(int64_t x, int64_t y)
    {
        if (room() > 0)
            points[count++] = {static_cast<int32_t>(x), static_cast<int32_t>(y)};
    }
};

// An edge with more pixels than there is room for: the first and the last pixel on each row of the image and
// on two rows beyond. The fill keeps no others of an edge, so that the region is the same.
void addRowEnds(const LineSteps& line, int32_t rows, Boundary* boundary)
{
    const LineSteps::Range range = line.stepsWithinRows(-2, int64_t{rows} + 1);
    for (int64_t k = range.first; k < range.last;) {
        const int64_t last = std::min(line.lastStepOnRow(k), range.last - 1);
        boundary->add(line.x(k), line.y(k));
        if (last > k)
            boundary->add(line.x(last), line.y(last));
        k = last + 1;
    }
}

void addEdge(VexaPoint from, VexaPoint to, int32_t rows, Boundary* boundary)
{
    const LineSteps line(from.x, from.y, to.x, to.y);
    if (line.count() > boundary->room())
        return addRowEnds(line, rows, boundary);
    for (int64_t k = 0; k < line.count(); ++k)
        boundary->add(line.x(k), line.y(k));
}

void addEdges(const VexaPoint* polygon, int32_t n, int32_t cols, int32_t rows, Boundary* boundary)
{
    for (int32_t i = 0; i < n; ++i) {
        const bool closing = i + 1 == n;
        const VexaPoint from = polygon[i];
        const VexaPoint to = polygon[closing ? 0 : i + 1];
        if (from.x == to.x && from.y == to.y && !closing)
            continue;
        addEdge(from, to, rows, boundary);
        // Required: what does not fit in front of the last cols points of the buffer is left out.
        if (boundary->count >= boundary->capacity - cols)
            return;
    }
}

// Keeps the pixels for which keep holds. It is given the y of the two pixels before, of the pixel and of the
// one behind, all as they were before the pass and with the list as a ring, and how many pixels would be left
// with this one.
template <typename Keep>
void keepIf(Boundary* b, Keep keep)
{
    const int32_t n = b->count;
    if (n < 3)
        return;
    VexaPoint* p = b->points;
    const int64_t firstY = p[0].y;
    int64_t beforePrevious = p[n - 2].y;
    int64_t previous = p[n - 1].y;
    int32_t kept = 0;
    for (int32_t i = 0; i < n; ++i) {
        const VexaPoint here = p[i];
        const int64_t next = i + 1 < n ? p[i + 1].y : firstY;
        if (keep(beforePrevious, previous, int64_t{here.y}, next, n - i + kept))
            p[kept++] = here;
        beforePrevious = previous;
        previous = here.y;
    }
    b->count = kept;
}

int32_t sign(int64_t x)
{
    return (x > 0) - (x < 0);
}

// A pixel between two others on its row goes, so that the ends of horizontal stretches stay.
void dropMiddles(Boundary* b)
{
    keepIf(b, [](int64_t, int64_t previous, int64_t y, int64_t next, int32_t remaining) {
        return previous != y || next != y || remaining <= 2;
    });
}

// The second of two pixels on one row goes where the outline goes on in the same direction: one crossing, not
// two.
void dropJogs(Boundary* b)
{
    keepIf(b, [](int64_t beforePrevious, int64_t previous, int64_t y, int64_t next, int32_t) {
        const int32_t in = sign(previous - beforePrevious);
        return previous != y || in == 0 || in != sign(next - y);
    });
}

// A single pixel where the outline turns back in y counts as two crossings.
void doubleTips(Boundary* b)
{
    const int32_t n = b->count;
    if (n < 2)
        return;
    VexaPoint* p = b->points;
    const auto isTip = [](int64_t previous, int64_t y, int64_t next) {
        return sign(y - previous) * sign(next - y) < 0;
    };
    int32_t tips = 0;
    for (int32_t i = 0; i < n; ++i)
        tips += isTip(p[i > 0 ? i - 1 : n - 1].y, p[i].y, p[i + 1 < n ? i + 1 : 0].y);
    int32_t to = std::min(n + tips, b->capacity);
    b->count = to;
    // From the end, so that nothing is overwritten before it was moved.
    int64_t next = p[0].y;
    const int64_t lastY = p[n - 1].y;
    for (int32_t i = n - 1; i >= 0; --i) {
        const VexaPoint here = p[i];
        const bool tip = isTip(i > 0 ? p[i - 1].y : lastY, here.y, next);
        next = here.y;
        p[--to] = here;
        if (tip && to > i)
            p[--to] = here;
    }
}

} // namespace

int32_t filledRuns(const VexaPoint* polygon, int32_t n, int32_t cols, int32_t rows, const ScanList& list)
{
    Boundary boundary{list.points, list.capacity};
    addEdges(polygon, n, cols, rows, &boundary);
    dropMiddles(&boundary);
    dropJogs(&boundary);
    doubleTips(&boundary);
    VexaPoint* end = boundary.points + boundary.count;
    std::sort(boundary.points, end,
              [](VexaPoint a, VexaPoint b) { return a.y != b.y ? a.y < b.y : a.x < b.x; });
    while (boundary.count > 0 && boundary.points[boundary.count - 1].y >= rows)
        --boundary.count;
    // Required: the limit is cols, not cols - 1.
    for (int32_t i = 0; i < boundary.count; ++i)
        boundary.points[i].x = std::min(boundary.points[i].x, cols);
    return boundary.count;
}

} // namespace vexa
