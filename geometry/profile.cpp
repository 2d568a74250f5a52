// Pixels along a line.
#include "vexalib/profile.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "core/image_table.h"
#include "geometry/sampler.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/conversion.h"
#include "vexalib/numeric.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int32_t kMostLines = 65535;

struct Line {
    float x0, y0, x1, y1;

    double dx() const { return static_cast<double>(x1) - static_cast<double>(x0); }
    double dy() const { return static_cast<double>(y1) - static_cast<double>(y0); }
    double length() const { return std::hypot(dx(), dy()); }
    int32_t samples(float step) const
    {
        return truncToInt32(length() / std::fabs(static_cast<double>(step)) + 1.0);
    }
};

// Where the samples go.
struct Target {
    void* buffer;
    int32_t im;
    int32_t type;
};

int32_t wholeFrom(float a, float b)
{
    return std::max(truncToInt32(std::min(a, b)), 0);
}

// A whole column or row of pixels at unit step. -1: the line is none.
int32_t readStraight(const Line& line, int32_t take, const Target& target, int32_t cols, int32_t rows)
{
    const int32_t x = wholeFrom(line.x0, line.x1);
    const int32_t y = wholeFrom(line.y0, line.y1);
    const bool vertical = line.x1 == line.x0 && static_cast<double>(line.y0) == y;
    if (!vertical && !(line.y1 == line.y0 && static_cast<double>(line.x0) == x))
        return -1;
    const int32_t n = std::min(take, vertical ? rows - y : cols - x);
    if (n < 1 || x >= cols || y >= rows)
        return 0;
    I_GetBlockType(x, y, vertical ? 1 : n, vertical ? n : 1, target.buffer, target.im, target.type);
    return n;
}

// Up to take of the line's samples. The result is their number, less one where the image ended before them.
int32_t sampleLine(const Line& line, int32_t samples, int32_t take, Sampler sample, SamplerContext& context)
{
    const double steps = std::max(samples - 1, 1);
    const double stepX = line.dx() / steps;
    const double stepY = line.dy() / steps;
    double x = static_cast<double>(line.x0);
    double y = static_cast<double>(line.y0);
    for (int32_t i = 0; i < take; ++i) {
        const int32_t x32 = truncToInt32(x * kSteps);
        const int32_t y32 = truncToInt32(y * kSteps);
        if (x32 >= 0 && y32 >= 0) {
            // Required: the sample in front of the one outside is lost too.
            if (x32 > context.maxX() || y32 > context.maxY())
                return i - 1;
            sample(context, x32, y32);
        }
        x += stepX;
        y += stepY;
        context.out += context.pixelBytes;
    }
    return take;
}

int32_t readAnyLine(const Line& line, int32_t samples, int32_t take, const Target& target)
{
    SamplerContext context;
    const Sampler sample = rotatePrep(target.im, imageRecordOrNull(target.im)->type, 1, context);
    if (!sample)
        return 0;
    Buffer<uint8_t> own;
    context.out = static_cast<uint8_t*>(target.buffer);
    if (context.pixelType != target.type) {
        own = Buffer<uint8_t>(int64_t{take} * context.pixelBytes);
        if (malloctest(own.data(), "I_GetProfileType"))
            return 0;
        context.out = own.data();
    }
    const int32_t n = sampleLine(line, samples, take, sample, context);
    if (own && n >= 1)
        I_ArrayConvert(own.data(), context.pixelType, target.buffer, target.type, n);
    return n;
}

int32_t readLine(const Line& line, float step, void* buffer, int32_t maxCount, int32_t im, int32_t pixelType)
{
    const int32_t samples = line.samples(step);
    if (samples < 1)
        return 0;
    if (!buffer || maxCount == 0)
        return samples;
    const int32_t take = std::min(samples, maxCount);
    int32_t cols = 0;
    int32_t rows = 0;
    if (take < 1 || !I_ImGetSize(&cols, &rows, nullptr, im))
        return 0;
    const Target target{buffer, im, pixelType};
    if (step == 1.0F) {
        const int32_t n = readStraight(line, take, target, cols, rows);
        if (n >= 0)
            return n;
    }
    return readAnyLine(line, samples, take, target);
}

// The k-th of the lines side by side.
Line lineBeside(const Line& line, int32_t k, float step)
{
    const double length = truncToInt32(line.length());
    const int32_t j = k / 2;
    // Required: lines 0 and 1 are both the centre line.
    const double shift = static_cast<double>(j) * truncToInt32(j % 2 != 0 ? step : -step);
    const double x = line.dy() / length * shift;
    const double y = -(line.dx() / length) * shift;
    const auto moved = [](float from, double by) {
        return static_cast<float>(static_cast<double>(from) + by);
    };
    return {moved(line.x0, x), moved(line.y0, y), moved(line.x1, x), moved(line.y1, y)};
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_GetProfileType(float x0, float y0, float x1, float y1, float step, void* buffer, int32_t maxCount,
                         int32_t im, int32_t pixelType)
{
    return readLine({x0, y0, x1, y1}, step, buffer, maxCount, im, pixelType);
}

int32_t I_GetProfileTypeEx(float x0, float y0, float x1, float y1, float step, int32_t width, void* buffer,
                           int32_t maxCount, int32_t im, int32_t pixelType)
{
    const Line line{x0, y0, x1, y1};
    const auto lines = static_cast<int32_t>(std::min<int64_t>(std::abs(int64_t{width}), kMostLines));
    if (lines < 2 || !buffer || maxCount <= 0)
        return readLine(line, step, buffer, maxCount, im, pixelType);
    Buffer<float> sum(maxCount);
    Buffer<float> one(maxCount);
    if (malloctest(sum && one ? sum.data() : nullptr, "I_GetProfileTypeEx"))
        return 0;
    int32_t n = 0;
    for (int32_t k = 0; k < lines; ++k) {
        n = readLine(lineBeside(line, k, step), step, one.data(), maxCount, im, PIX_FLOAT);
        for (int32_t i = 0; i < n; ++i)
            sum[i] += one[i];
    }
    for (float& value : sum)
        value /= static_cast<float>(lines);
    if (n >= 1)
        I_ArrayConvert(sum.data(), PIX_FLOAT, buffer, pixelType, n);
    return n;
}

void* I_DupProfileType(float x0, float y0, float x1, float y1, float step, int32_t* count, int32_t im,
                       int32_t pixelType)
{
    if (count)
        *count = 0;
    const Line line{x0, y0, x1, y1};
    const double steps = line.length() / std::fabs(static_cast<double>(step));
    const int32_t samples = wrapAdd(Rnd(static_cast<float>(steps)), 1);
    void* const block = allocateForCaller(int64_t{samples} + 2, std::max(I_ImTypeBytes(pixelType), 1));
    if (malloctest(block, "I_DupProfileType"))
        return nullptr;
    const int32_t n = readLine(line, step, block, samples, im, pixelType);
    if (count)
        *count = n;
    return block;
}
