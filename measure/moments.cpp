#include "vexalib/moments.h"

#include <algorithm>
#include <cmath>

#include "core/color_convert.h"
#include "measure/store_output.h"
#include "support/buffer.h"
#include "support/guard.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/color.h"
#include "vexalib/conversion.h"
#include "vexalib/image.h"
#include "vexalib/roi.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// How far into the point list the user is asked for a break.
constexpr int32_t kAskedPoints = 64;

struct Sums {
    double mass = 0.0; // the sum of the weights
    double x = 0.0;
    double y = 0.0;
    double xx = 0.0;
    double yy = 0.0;
    double xy = 0.0;

    // Adds pixels of one row: their mass, and the sums of x and of x squared under their weights.
    void addRow(double rowMass, double rowX, double rowXX, double rowY)
    {
        mass += rowMass;
        x += rowX;
        y += rowMass * rowY;
        xx += rowXX;
        yy += rowMass * rowY * rowY;
        xy += rowX * rowY;
    }
};

struct Axes {
    VexaPointF* centroid;
    double* longAxis;
    double* shortAxis;
    double* angle;
};

void storeAxes(const Axes& out, double longAxis, double shortAxis, double angle)
{
    storeOutput(out.longAxis, longAxis);
    storeOutput(out.shortAxis, shortAxis);
    storeOutput(out.angle, angle);
}

void storeCentroid(const Axes& out, double x, double y)
{
    storeOutput(out.centroid, VexaPointF{static_cast<float>(x), static_cast<float>(y)});
}

// Calls run(index, first point, last point) for each pair of points that is a run, until one returns false. A
// pair that is none is left by one point, not by two.
template <typename Run>
void forEachRun(const VexaPoint* points, int32_t count, Run run)
{
    for (int64_t i = 0; i + 1 < count;) {
        const VexaPoint& from = points[i];
        const VexaPoint& to = points[i + 1];
        if (from.y != to.y || to.x < from.x) {
            ++i;
            continue;
        }
        if (!run(i, from, to))
            return;
        i += 2;
    }
}

// Sums over the bytes of the region; addRow(sums, bytes, x, y, width) takes one run.
template <typename AddRow>
bool sumRegion(int32_t im, Sums& sums, AddRow addRow)
{
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t count = 0;
    if (!I_ImGetSize(&cols, &rows, nullptr, im))
        return false;
    Buffer<uint8_t> row(cols);
    if (malloctest(row.data(), ""))
        return false;
    const VexaPoint* points = I_ROIScanlist(&count, im);
    if (!points)
        return false;
    I_SetStatsProcMode(statsProcMode());
    const Guard restoreColor([] { I_ResetColorProcMode(); });
    forEachRun(points, count, [&](int64_t index, const VexaPoint& from, const VexaPoint& to) {
        const int32_t x = std::max(from.x, 0);
        const int32_t width = std::min(to.x, cols - 1) - x + 1;
        if (width > 0 && from.y >= 0 && from.y < rows &&
            I_GetBlockType(x, from.y, width, 1, row.data(), im, PIX_BYTE) != 0)
            addRow(sums, row.data(), x, from.y, width);
        if (index >= kAskedPoints || I_UserBreak(0) == 0)
            return true;
        I_SetError(6, "");
        return false;
    });
    return true;
}

// Counted pixels weigh 1.
struct BinaryRow {
    int32_t threshold;
    bool above;

    void operator()(Sums& sums, const uint8_t* bytes, int32_t x, int32_t y, int32_t width) const
    {
        int64_t n = 0;
        int64_t sumX = 0;
        int64_t sumXX = 0;
        for (int64_t i = 0; i < width; ++i) {
            const int64_t counts = (bytes[i] >= threshold) == above;
            n += counts;
            sumX += counts * (x + i);
            sumXX += counts * (x + i) * (x + i);
        }
        sums.addRow(static_cast<double>(n), static_cast<double>(sumX), static_cast<double>(sumXX), y);
    }
};

// Pixels weigh what they stand beyond the threshold; counts those that weigh anything.
struct GrayRow {
    int32_t threshold;
    bool above;
    int64_t* pixels;

    void operator()(Sums& sums, const uint8_t* bytes, int32_t x, int32_t y, int32_t width) const
    {
        double mass = 0.0;
        double sumX = 0.0;
        double sumXX = 0.0;
        for (int32_t i = 0; i < width; ++i) {
            const int64_t beyond = int64_t{bytes[i]} - threshold;
            const int64_t weight = std::max<int64_t>(above ? beyond + 1 : -beyond, 0);
            *pixels += weight > 0;
            const auto w = static_cast<double>(weight);
            const double place = x + i;
            mass += w;
            sumX += w * place;
            sumXX += w * place * place;
        }
        sums.addRow(mass, sumX, sumXX, y);
    }
};

int32_t axesOf(const Sums& sums, const Axes& out, double xScale, double yScale)
{
    return I_ComputeMoments(sums.x, sums.y, sums.xx, sums.yy, sums.xy, truncToInt32(sums.mass), out.centroid,
                            out.longAxis, out.shortAxis, out.angle, xScale, yScale);
}

// The sample at which the walk of I_CentroidType begins, or the length where the array has none.
int32_t peakStart(const float* values, int32_t length, int32_t center, int32_t halfWidth)
{
    const bool whole = center < 0;
    const int64_t from = whole ? 0 : std::max<int64_t>(int64_t{center} - halfWidth, 0);
    const int64_t to = whole ? length : std::min<int64_t>(int64_t{center} + halfWidth, length);
    if (from >= length)
        return length;
    int64_t peak = from;
    for (int64_t i = from + 1; i < to; ++i)
        if (values[i] > values[peak])
            peak = i;
    return static_cast<int32_t>(std::clamp<int64_t>(peak - halfWidth, 0, length));
}

// The centre of weight of what stands above the level of the start, up to where the level is met again.
double peakCentroid(const float* values, int32_t length, int32_t start)
{
    const double base = values[start];
    double weight = 0.0;
    double moment = 0.0;
    for (int32_t i = start + 1; i < length; ++i) {
        const double value = values[i];
        const double height = value - base;
        if (height > 0.0) {
            weight += height;
            moment += height * i;
            continue;
        }
        const double previous = values[i - 1];
        const double fraction = previous == value ? 0.0 : (previous - base) / (previous - value);
        weight += fraction * height;
        moment += fraction * height * (i * fraction);
        break;
    }
    return weight == 0.0 ? 0.0 : moment / weight;
}

} // namespace
} // namespace vexa

int32_t I_BinaryMoments(double* area, double* pixels, VexaPointF* centroid, double* longAxis,
                        double* shortAxis, double* angle, double xScale, double yScale, int32_t threshold,
                        int32_t above, int32_t im)
{
    using namespace vexa;
    Sums sums;
    if (!sumRegion(im, sums, BinaryRow{threshold, above != 0}))
        return 0;
    storeOutput(area, sums.mass * xScale * yScale);
    storeOutput(pixels, sums.mass);
    return axesOf(sums, {centroid, longAxis, shortAxis, angle}, xScale, yScale);
}

int32_t I_GrayMoments(double* area, double* pixels, VexaPointF* centroid, double* longAxis, double* shortAxis,
                      double* angle, double xScale, double yScale, int32_t threshold, int32_t above,
                      int32_t im)
{
    using namespace vexa;
    Sums sums;
    int64_t counted = 0;
    if (!sumRegion(im, sums, GrayRow{threshold, above != 0, &counted}))
        return 0;
    storeOutput(area, static_cast<double>(counted) * xScale * yScale);
    storeOutput(pixels, sums.mass);
    return axesOf(sums, {centroid, longAxis, shortAxis, angle}, xScale, yScale);
}

int32_t ScanlistMoments(const VexaPoint* points, int32_t count, double* pixels, VexaPointF* centroid,
                        double* longAxis, double* shortAxis, double* angle)
{
    using namespace vexa;
    const Axes out{centroid, longAxis, shortAxis, angle};
    storeOutput(pixels, 0.0);
    storeCentroid(out, 0.0, 0.0);
    storeAxes(out, 0.0, 0.0, 0.0);
    if (!points)
        return 0;
    Sums sums;
    forEachRun(points, count, [&sums](int64_t, const VexaPoint& from, const VexaPoint& to) {
        const double x = from.x;
        const double n = static_cast<double>(to.x) - x + 1.0;
        const double steps = n * (n - 1.0) / 2.0; // 0 + 1 + ... + (n - 1), and their squares
        const double stepSquares = (n - 1.0) * n * (2.0 * n - 1.0) / 6.0;
        sums.addRow(n, n * x + steps, n * x * x + 2.0 * x * steps + stepSquares, from.y);
        return true;
    });
    storeOutput(pixels, sums.mass);
    return axesOf(sums, out, 1.0, 1.0);
}

int32_t I_ComputeMoments(double sumX, double sumY, double sumXX, double sumYY, double sumXY, int32_t n,
                         VexaPointF* centroid, double* longAxis, double* shortAxis, double* angle,
                         double xScale, double yScale)
{
    using namespace vexa;
    const Axes out{centroid, longAxis, shortAxis, angle};
    if (n <= 0) {
        storeCentroid(out, 0.0, 0.0);
        storeAxes(out, 0.0, 0.0, 0.0);
        return 0;
    }
    storeCentroid(out, sumX / n, sumY / n);
    constexpr double c = 1.2732395447351628; // 4 / pi
    const double a = xScale;
    const double b = yScale;
    const double mx = c * a * a * a * b * (sumXX - sumX / n * sumX);
    const double my = c * b * b * b * a * (sumYY - sumY / n * sumY);
    const double mxy = c * a * a * b * b * (sumXY - sumX * sumY / n);
    const double spread = std::sqrt(4.0 * mxy * mxy + (mx - my) * (mx - my));
    const double determinant = mx * my - mxy * mxy;
    if (!(determinant > 0.0)) {
        storeAxes(out, 0.0, 0.0, 0.0);
        return 1;
    }
    const double r = std::sqrt(std::sqrt(determinant));
    if (r == 0.0)
        return I_SetError(15, "");
    const double longest = 0.5 * std::sqrt((mx + my + spread) / (2.0 * r));
    const double shortest = 0.5 * std::sqrt(std::max(mx + my - spread, 0.0) / (2.0 * r));
    storeAxes(out, longest, shortest, mx == my ? 0.0 : -0.5 * std::atan2(2.0 * mxy, mx - my));
    return 1;
}

float I_CentroidType(const void* buffer, int32_t length, int32_t center, int32_t halfWidth, int32_t type)
{
    using namespace vexa;
    if (!buffer || length < 1)
        return 0.0F;
    auto* values = static_cast<float*>(I_ArrayConvert(buffer, type, nullptr, PIX_FLOAT, length));
    if (!values)
        return 0.0F;
    const Guard release([values] { vexaFree(values); });
    const int32_t start = peakStart(values, length, center, halfWidth);
    return start < length ? static_cast<float>(peakCentroid(values, length, start)) : 0.0F;
}
