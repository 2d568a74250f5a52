#include "vexalib/rotate.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

#include "core/display_state.h"
#include "core/pixel_types.h"
#include "geometry/direct_pixels.h"
#include "geometry/sampler.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/image.h"
#include "vexalib/numeric.h"
#include "vexalib/roi.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// A walk through the source in 16.16 fixed point.
struct FixedPath {
    int32_t x;
    int32_t y;
    int32_t dx; // per pixel
    int32_t dy;

    FixedPath from(int32_t k) const
    {
        return {wrapAdd(x, wrapMultiply(dx, k)), wrapAdd(y, wrapMultiply(dy, k)), dx, dy};
    }
};

using RotateRow = void (*)(const SamplerContext& context, const FixedPath& path, int32_t n, uint8_t* out);

// The row functions by bytes per pixel; entry 0 of nearest is for all sizes above 4.
struct RotateRows {
    std::array<RotateRow, 5> nearest;
    std::array<RotateRow, 5> linearBytes;
    RotateRow linearFloat;

    RotateRow choose(const SamplerContext& context) const
    {
        const auto bytes = static_cast<std::size_t>(context.pixelBytes > 4 ? 0 : context.pixelBytes);
        switch (context.sampling) {
        case Sampling::linearFloat:
            return linearFloat;
        case Sampling::linearBytes:
            return linearBytes[bytes];
        default:
            return nearest[bytes];
        }
    }
};

} // namespace
} // namespace vexa

#define VEXA_ROWS_FILE "geometry/rotate_rows.h"
#include "support/for_each_instruction_set.h"

namespace vexa
{
namespace
{

struct State {
    int32_t smooth = 1;
};
constinit State state;

constexpr double kRadiansPerDegree = 0.017453292519943295;
constexpr double kFixedOne = 65536.0;
constexpr double kBytesPerMegabyte = 1e6;
// Positions have 11 fractional bits more than a sampler's.
constexpr int32_t kExtraBits = 11;
// So many runs are turned together, in pieces of so many columns: the slanted path through the source stays
// in the cache.
constexpr int32_t kRunsTogether = 64;
constexpr int32_t kStripCols = 256;

// The map from destination to source in 16.16 fixed point.
struct FixedMap {
    int32_t a, b, c, d, e, f;

    FixedMap(int32_t cx, int32_t cy, const float* m)
        : a(fixed(m[0])), b(fixed(m[1])), c(fixed(m[2] + static_cast<float>(cx))), d(fixed(m[3])),
          e(fixed(m[4])), f(fixed(m[5] + static_cast<float>(cy)))
    {
    }

    FixedPath pathAt(int32_t dx, int32_t dy) const
    {
        return {wrapAdd(wrapAdd(wrapMultiply(dx, a), wrapMultiply(dy, b)), c),
                wrapAdd(wrapAdd(wrapMultiply(dx, d), wrapMultiply(dy, e)), f), a, d};
    }

private:
    static int32_t fixed(float value) { return Rnd(value * static_cast<float>(kFixedOne)); }
};

// One rotation: the sampled source, and all pixels of the destination in a buffer.
struct Rotation {
    SamplerContext context;
    RotateRow row = nullptr;
    FixedMap map;
    int32_t cx;
    int32_t cy;
    Buffer<uint8_t> pixels;
    int32_t cols;
};

struct Run {
    int32_t x;
    int32_t y;
    int32_t n;
};

struct Interval {
    int64_t begin;
    int64_t end;
};

// The k from 0 to n - 1 for which low <= p + k * step <= high.
Interval insideSteps(int64_t p, int64_t step, int64_t high, int64_t n)
{
    if (step == 0)
        return p >= 0 && p <= high ? Interval{0, n} : Interval{0, 0};
    // The distance to the bound met first, and to that met last, in whole steps.
    const int64_t size = step > 0 ? step : -step;
    const int64_t toFirst = step > 0 ? -p : p - high;
    const int64_t toLast = step > 0 ? high - p : p;
    if (toLast < 0)
        return {0, 0};
    const int64_t begin = toFirst > 0 ? (toFirst + size - 1) / size : 0;
    return {begin, std::min(n, toLast / size + 1)};
}

bool fitsInt32(int64_t value)
{
    return value >= std::numeric_limits<int32_t>::min() && value <= std::numeric_limits<int32_t>::max();
}

// Positions that wrap around are tested one by one.
void rotatePixels(const Rotation& rotation, FixedPath path, int32_t n, uint8_t* out)
{
    const SamplerContext& context = rotation.context;
    for (int32_t k = 0; k < n; ++k, out += context.pixelBytes, path = path.from(1)) {
        const int32_t x32 = path.x >> kExtraBits;
        const int32_t y32 = path.y >> kExtraBits;
        if (x32 >= 0 && y32 >= 0 && x32 <= context.maxX() && y32 <= context.maxY())
            rotation.row(context, path, 1, out);
    }
}

void rotateRun(Rotation& rotation, int32_t x, int32_t y, int32_t n)
{
    const SamplerContext& context = rotation.context;
    const FixedPath path = rotation.map.pathAt(wrapSubtract(x, rotation.cx), wrapSubtract(y, rotation.cy));
    uint8_t* const out = rotation.pixels.data() + (int64_t{y} * rotation.cols + x) * context.pixelBytes;
    const int64_t last = int64_t{n} - 1;
    if (!fitsInt32(path.x + last * path.dx) || !fitsInt32(path.y + last * path.dy)) {
        rotatePixels(rotation, path, n, out);
        return;
    }
    constexpr int64_t kBelow = (1 << kExtraBits) - 1; // bits that a sampler's position does not have
    const Interval inX = insideSteps(path.x, path.dx, (context.maxX() << kExtraBits) + kBelow, n);
    const Interval inY = insideSteps(path.y, path.dy, (context.maxY() << kExtraBits) + kBelow, n);
    const auto begin = static_cast<int32_t>(std::max(inX.begin, inY.begin));
    const int64_t end = std::min(inX.end, inY.end);
    if (begin < end)
        rotation.row(context, path.from(begin), static_cast<int32_t>(end - begin),
                     out + int64_t{begin} * context.pixelBytes);
}

void rotateRuns(Rotation& rotation, const Run* runs, int32_t count)
{
    for (int32_t strip = 0; strip < rotation.cols; strip += kStripCols) {
        for (const Run* run = runs; run < runs + count; ++run) {
            const int32_t begin = std::max(run->x, strip);
            const int64_t end = std::min<int64_t>(int64_t{run->x} + run->n, int64_t{strip} + kStripCols);
            if (begin < end)
                rotateRun(rotation, begin, run->y, static_cast<int32_t>(end - begin));
        }
        if (strip > std::numeric_limits<int32_t>::max() - kStripCols)
            break;
    }
}

void rotateRegion(Rotation& rotation, int32_t imDest)
{
    Run runs[kRunsTogether];
    int32_t count = 0;
    int32_t first = 1;
    Run run = {0, 0, 0};
    while (I_GetNextLine(&run.x, &run.y, &run.n, imDest, &first) > 0) {
        runs[count++] = run;
        if (count == kRunsTogether) {
            rotateRuns(rotation, runs, count);
            count = 0;
        }
    }
    rotateRuns(rotation, runs, count);
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_Rotate(int32_t cx, int32_t cy, const float* m, int32_t imSrc, int32_t imDest)
{
    int32_t cols = 0;
    int32_t rows = 0;
    if (!m || !I_ImGetSize(nullptr, nullptr, nullptr, imSrc) || !I_ImGetSize(&cols, &rows, nullptr, imDest) ||
        cols < 1 || rows < 1)
        return 0;
    Rotation rotation = {{}, nullptr, FixedMap(cx, cy, m), cx, cy, {}, cols};
    const int32_t type = std::min(I_ImGetType(imSrc), I_ImGetType(imDest));
    if (!rotatePrep(imSrc, type, state.smooth, rotation.context))
        return 0;
    const SamplerContext& context = rotation.context;
    rotation.row = VEXA_ROWS(kRotateRows).choose(context);
    const int64_t bytes = int64_t{cols} * rows * context.pixelBytes;
    rotation.pixels = Buffer<uint8_t>(roomOfPixel(imDest, context.pixelType) * cols * rows);
    if (malloctest(rotation.pixels.data(), "I_Rotate %.1f MBytes",
                   static_cast<double>(bytes) / kBytesPerMegabyte))
        return 0;
    I_GetBlockType(0, 0, cols, rows, rotation.pixels.data(), imDest, context.pixelType);
    I_TellProgress(0.0F, 0.0F, "Rotate&Scale");
    rotateRegion(rotation, imDest);
    I_PutBlockType(0, 0, cols, rows, rotation.pixels.data(), imDest, context.pixelType);
    return 1;
}

int32_t I_RotateShift(int32_t cx, int32_t cy, double angle, double dx, double dy, double sx, double sy,
                      int32_t imSrc, int32_t imDest)
{
    if (sx == 0.0 || sy == 0.0)
        return 0;
    const double r = angle * kRadiansPerDegree;
    const double s = std::sin(r);
    const double c = std::cos(r);
    const double aspect = displayState().pixelAspect;
    const float m[] = {static_cast<float>(c / sx), static_cast<float>(-(s / sy) * aspect),
                       static_cast<float>(-dx),    static_cast<float>((s / sx) / aspect),
                       static_cast<float>(c / sy), static_cast<float>(-dy)};
    return I_Rotate(cx, cy, m, imSrc, imDest);
}

int32_t I_RotateShift1(int32_t cx, int32_t cy, double angle, double dx, double dy, double sx, double sy,
                       int32_t imSrc, int32_t imDest, int32_t rotateShift)
{
    if (sx == 0.0 || sy == 0.0)
        return 0;
    if (rotateShift) {
        const double r = static_cast<float>(angle * kRadiansPerDegree);
        const double x = static_cast<float>(dx);
        const double y = static_cast<float>(dy);
        dx = (x * std::cos(r) - y * std::sin(r)) / sx;
        dy = (std::sin(r) * x + y * std::cos(r)) / sy;
    }
    return I_RotateShift(cx, cy, angle, dx, dy, sx, sy, imSrc, imDest);
}

int32_t CalcMatrix(double x, double y, double angle, double sx, double sy, float* m)
{
    if (!m)
        return 1;
    if (sx == 0.0)
        sx = 1.0;
    if (sy == 0.0)
        sy = 1.0;
    m[0] = static_cast<float>(std::cos(angle) * sx);
    m[1] = static_cast<float>(std::sin(angle) * sy);
    m[2] = static_cast<float>(x);
    m[3] = static_cast<float>(-(sx * std::sin(angle)));
    m[4] = static_cast<float>(std::cos(angle) * sy);
    m[5] = static_cast<float>(y);
    return 1;
}

int32_t I_Match2Points(int32_t imSrc, int32_t imDest, const VexaPointF* a0, VexaPointF* a1,
                       const VexaPointF* b0, VexaPointF* b1)
{
    if (!a0 || !a1 || !b0 || !b1)
        return 0;
    const VexaPointF a = {a1->x - a0->x, a1->y - a0->y};
    const VexaPointF b = {b1->x - b0->x, b1->y - b0->y};
    const double length = std::max(0.01, std::hypot(double{b.x}, double{b.y}));
    const double k = std::hypot(double{a.x}, double{a.y}) / length;
    const float shift[] = {a0->x - b0->x, a0->y - b0->y};
    *a1 = a;
    *b1 = b;
    // Required: the first argument is the x difference.
    const double t = std::atan2(double{a.x}, double{a.y}) - std::atan2(double{b.x}, double{b.y});
    const float m[] = {static_cast<float>(std::cos(t) * k),  static_cast<float>(std::sin(t) * k), shift[0],
                       static_cast<float>(-std::sin(t) * k), static_cast<float>(std::cos(t) * k), shift[1]};
    return I_Rotate(truncToInt32(b0->x), truncToInt32(b0->y), m, imSrc, imDest);
}

void I_SetRotateSmooth(int32_t flag)
{
    state.smooth = flag;
}
