#include "vexalib/edge_location.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/image_table.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/conversion.h"
#include "vexalib/edge_shape.h"

namespace vexa
{
namespace
{

// The samples from which a walk may step.
struct WalkBounds {
    int64_t low;
    int64_t high;

    WalkBounds(int32_t n, int32_t step)
        : low(step > 0 ? 0 : -int64_t{step}), high(step > 0 ? int64_t{n} - 1 - step : int64_t{n} - 1)
    {
    }
    // Required: a start at high is refused, though the walk itself may stand there.
    bool acceptsStart(int64_t start) const { return start >= low && start < high; }
};

template <typename Sample>
Sample sampleAt(const void* data, int64_t i)
{
    Sample sample;
    std::memcpy(&sample, static_cast<const uint8_t*>(data) + i * static_cast<int64_t>(sizeof sample),
                sizeof sample);
    return sample;
}

// Bytes and integers: the difference is cut to an integer, and the product of two wraps.
template <typename Sample>
struct WholeDifference {
    using Held = int32_t;
    static Held of(const void* data, int64_t i, float level)
    {
        return truncToInt32(static_cast<double>(sampleAt<Sample>(data, i)) - static_cast<double>(level));
    }
    static bool crossed(Held a, Held b) { return wrapMultiply(a, b) <= 0; }
    static double minus(Held a, Held b) { return static_cast<double>(a) - static_cast<double>(b); }
};

struct FloatDifference {
    using Held = float;
    static Held of(const void* data, int64_t i, float level) { return sampleAt<float>(data, i) - level; }
    static bool crossed(Held a, Held b) { return static_cast<double>(a) * static_cast<double>(b) <= 0.0; }
    static double minus(Held a, Held b) { return static_cast<double>(a) - static_cast<double>(b); }
};

template <typename Difference>
float walkToLevel(const void* data, int32_t n, int32_t start, int32_t step, float level)
{
    const WalkBounds bounds(n, step);
    auto previous = Difference::of(data, start, level);
    for (int64_t i = start; i >= bounds.low && i <= bounds.high; i += step) {
        const auto next = Difference::of(data, i + step, level);
        if (Difference::crossed(previous, next)) {
            const double fraction =
                previous == next ? 0.0 : static_cast<double>(previous) / Difference::minus(previous, next);
            const auto rounded = static_cast<double>(static_cast<float>(fraction));
            return static_cast<float>(static_cast<double>(i) + step * rounded);
        }
        previous = next;
    }
    return -1.0F;
}

// The count of j from 0 to last, in steps of one, for which from + j * step lies in 0 to size - 1.
struct Range {
    int64_t first;
    int64_t last;

    void keepInside(int64_t from, int64_t step, int64_t size)
    {
        if (step == 0) {
            if (from < 0 || from >= size)
                last = first - 1;
            return;
        }
        // Steps to the first and to the last position inside, in the order of the walk.
        const int64_t enter = step > 0 ? -from : from - (size - 1);
        const int64_t leave = step > 0 ? size - 1 - from : from;
        const int64_t stride = std::abs(step);
        if (enter > 0)
            first = std::max(first, (enter - 1) / stride + 1);
        last = leave < 0 ? first - 1 : std::min(last, leave / stride);
    }
    int64_t count() const { return std::max<int64_t>(last - first + 1, 0); }
};

// The walk of I_FindEdge. Pixels outside the image are never looked at one by one: there may be very many.
struct MajorityWalk {
    int64_t x, y, dx, dy;
    int32_t level;
    bool above;
    int64_t halfWidth;
    int32_t im;
    int64_t cols, rows;

    bool counts(float pixel) const { return above ? double{pixel} > level : double{pixel} < level; }

    bool endsAt(int64_t k) const
    {
        const int64_t atX = x + k * dx;
        const int64_t atY = y + k * dy;
        Range inside{0, 2 * halfWidth};
        const int64_t all = inside.count();
        inside.keepInside(atX, dy, cols);
        inside.keepInside(atY, -dx, rows);
        int64_t found = counts(0.0F) ? all - inside.count() : 0;
        for (int64_t j = inside.first; j <= inside.last && found <= halfWidth; ++j)
            found +=
                counts(I_GetPix(static_cast<int32_t>(atX + j * dy), static_cast<int32_t>(atY - j * dx), im));
        return found > halfWidth;
    }

    // The steps at which a line can meet the image, with a margin for rounding: all lines of a walk are
    // parallel.
    Range stepsNearImage(int64_t steps) const
    {
        const auto fx = static_cast<double>(dx);
        const auto fy = static_cast<double>(dy);
        const double square = fx * fx + fy * fy;
        const double across = static_cast<double>(cols) * fx;
        const double down = static_cast<double>(rows) * fy;
        const double from = static_cast<double>(x) * fx + static_cast<double>(y) * fy;
        const double nearest = (std::min(across, 0.0) + std::min(down, 0.0) - from) / square - 2.0;
        const double farthest = (std::max(across, 0.0) + std::max(down, 0.0) - from) / square + 2.0;
        const auto last = static_cast<double>(steps - 1);
        return {static_cast<int64_t>(std::clamp(nearest, 0.0, std::max(last, 0.0))),
                static_cast<int64_t>(std::clamp(farthest, -1.0, last))};
    }

    // The step at which the walk ends; -1 if it does not.
    int64_t findIn(int64_t steps) const
    {
        if (dx == 0 && dy == 0 && steps > 0 && halfWidth >= 0) // one pixel, again and again
            return counts(I_GetPix(static_cast<int32_t>(x), static_cast<int32_t>(y), im)) ? 0 : -1;
        // Where 0 counts, it ends at the first line outside at the latest.
        const bool endsOutside = counts(0.0F) || halfWidth < 0;
        const Range range = endsOutside ? Range{0, steps - 1} : stepsNearImage(steps);
        for (int64_t k = range.first; k <= range.last; ++k)
            if (endsAt(k))
                return k;
        return -1;
    }
};

struct Extremes {
    float low;
    float high;
};

Extremes extremesOf(const float* data, int32_t n)
{
    Extremes found{data[0], data[0]};
    for (int32_t i = 1; i < n; ++i) {
        found.low = data[i] < found.low ? data[i] : found.low;
        found.high = data[i] > found.high ? data[i] : found.high;
    }
    return found;
}

} // namespace
} // namespace vexa

using namespace vexa;

float I_FindEdgeType(const void* data, int32_t n, int32_t start, int32_t step, float level, int32_t pixelType)
{
    if (!data)
        return 0.0F;
    if (step == 0 || !WalkBounds(n, step).acceptsStart(start))
        return -1.0F;
    if (pixelType == PIX_BYTE)
        return walkToLevel<WholeDifference<uint8_t>>(data, n, start, step, level);
    if (pixelType == PIX_DWORD)
        return walkToLevel<WholeDifference<int32_t>>(data, n, start, step, level);
    if (pixelType == PIX_FLOAT)
        return walkToLevel<FloatDifference>(data, n, start, step, level);
    Buffer<float> floats(n);
    if (!floats)
        return -1.0F;
    I_ArrayConvert(data, pixelType, floats.data(), PIX_FLOAT, n);
    return walkToLevel<FloatDifference>(floats.data(), n, start, step, level);
}

int32_t I_FindEdge(int32_t x, int32_t y, int32_t dx, int32_t dy, int32_t level, int32_t above,
                   int32_t maxSteps, int32_t* outX, int32_t* outY, int32_t halfWidth, int32_t im)
{
    const ImageRecord* const record = imageRecordOrNull(im);
    if (!record && maxSteps > 0 && halfWidth >= 0)
        I_GetPix(x, y, im); // leaves the error of the lookup
    const MajorityWalk walk{
        x, y, dx, dy, level, above != 0, halfWidth, im, record ? record->cols : 0, record ? record->rows : 0};
    const int64_t found = walk.findIn(std::max(maxSteps, 0));
    const auto k = static_cast<int32_t>(found >= 0 ? found : std::max(maxSteps, 0));
    if (outX)
        *outX = wrapAdd(x, wrapMultiply(k, dx));
    if (outY)
        *outY = wrapAdd(y, wrapMultiply(k, dy));
    return found >= 0 ? k : 0;
}

float I_GetFWHM(const float* data, int32_t n, float fraction)
{
    if (!data || n < 5)
        return 0.0F;
    const int32_t middle = n / 2;
    const auto [low, high] = extremesOf(data, n);
    const double part = fraction <= 0.0F ? 0.5 : static_cast<double>(fraction);
    const double height = static_cast<double>(high) - static_cast<double>(low);
    const bool atPeak = data[0] == high;
    const double level = atPeak                   ? high * part
                         : data[0] < data[middle] ? low + height * part
                                                  : high - height * part;
    float e1 = -1.0F;
    float e2 = -1.0F;
    float e3 = -1.0F;
    I_GetEdges(data, n, atPeak ? 0 : middle, 1.0F, static_cast<float>(level), &e1, &e2, &e3);
    float width = e2;
    if (e3 > 0.0F && e3 != e2)
        width = e3 - e2;
    if (e1 > 0.0F && e2 > 0.0F)
        width = e2 - e1;
    return atPeak ? 2.0F * width : width;
}
