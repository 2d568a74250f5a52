// Moments against plain sums over the scan list, and the ellipse formula step by step.
#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

struct Shaped {
    int32_t result = 0;
    VexaPointF centroid{-7, -7};
    double length = -7, width = -7, angle = -7;
};

Shaped ellipse(double sx, double sy, double sxx, double syy, double sxy, int32_t n, double a, double b)
{
    Shaped s;
    if (n <= 0)
        return {0, {0, 0}, 0, 0, 0};
    s.centroid = {static_cast<float>(sx / n), static_cast<float>(sy / n)};
    const double c = 1.2732395447351628;
    const double mx = c * a * a * a * b * (sxx - (sx / n) * sx),
                 my = c * b * b * b * a * (syy - (sy / n) * sy),
                 mxy = c * a * a * b * b * (sxy - sx * sy / n);
    const double d = std::sqrt(4 * mxy * mxy + (mx - my) * (mx - my)), det = mx * my - mxy * mxy;
    s.result = 1;
    s.length = s.width = s.angle = 0;
    if (det > 0) {
        const double r = std::sqrt(std::sqrt(det));
        s.length = 0.5 * std::sqrt((mx + my + d) / (2 * r));
        s.width = 0.5 * std::sqrt((mx + my - d) / (2 * r));
        s.angle = mx == my ? 0 : -0.5 * std::atan2(2 * mxy, mx - my);
    }
    return s;
}

TEST(IndependentMoments, BinaryAndGreyRegions)
{
    Random random(41);
    static const int32_t kTypes[] = {PIX_BYTE, PIX_BYTE, PIX_WORD, PIX_FLOAT, PIX_BGR24};
    for (int32_t round = 0; round < 600; ++round) {
        const Shape shape = randomShape(random, kTypes[random() % 5]);
        const Picture p = shape.open();
        if (between(random, 0, 1))
            I_SetROIType(0);
        else
            I_SetWindowROI(between(random, 0, shape.cols), between(random, 0, shape.rows),
                           between(random, -4, shape.cols), between(random, -2, shape.rows));
        const int32_t threshold = between(random, -5, 260), above = between(random, 0, 1);
        const bool grey = between(random, 0, 1);
        const double xs = between(random, 1, 8) / 4.0, ys = between(random, 1, 8) / 4.0;
        SCOPED_TRACE(tell(shape) + (grey ? " grey " : " binary ") + std::to_string(threshold) + " above " +
                     std::to_string(above));
        double n = 0, mass = 0, sx = 0, sy = 0, sxx = 0, syy = 0, sxy = 0;
        int32_t count = 0;
        const VexaPoint* list = I_ROIScanlist(&count, p.im);
        const std::vector<VexaPoint> points(list, list + count);
        for (std::size_t i = 0; i + 1 < points.size(); i += 2) {
            const int32_t w = points[i + 1].x - points[i].x + 1;
            std::vector<uint8_t> row(static_cast<std::size_t>(w));
            I_GetBlockType(points[i].x, points[i].y, w, 1, row.data(), p.im, PIX_BYTE);
            for (int32_t k = 0; k < w; ++k) {
                const int32_t v = row[static_cast<std::size_t>(k)];
                const double weight = grey ? (above ? v - threshold + 1 : threshold - v)
                                           : (above ? v >= threshold : v < threshold);
                if (weight <= 0)
                    continue;
                const double x = points[i].x + k, y = points[i].y;
                n += 1;
                mass += weight;
                sx += weight * x;
                sy += weight * y;
                sxx += weight * x * x;
                syy += weight * y * y;
                sxy += weight * x * y;
            }
        }
        const Shaped wanted = ellipse(sx, sy, sxx, syy, sxy, static_cast<int32_t>(mass), xs, ys);
        Shaped got;
        double area = -7, pixels = -7;
        got.result =
            (grey ? I_GrayMoments : I_BinaryMoments)(&area, &pixels, &got.centroid, &got.length, &got.width,
                                                     &got.angle, xs, ys, threshold, above, p.im);
        EXPECT_EQ(wanted.result, got.result);
        EXPECT_DOUBLE_EQ(n * xs * ys, area);
        EXPECT_EQ(mass, pixels);
        EXPECT_EQ(wanted.centroid.x, got.centroid.x);
        EXPECT_EQ(wanted.centroid.y, got.centroid.y);
        EXPECT_NEAR(wanted.length, got.length, 1e-9 * (1 + wanted.length));
        EXPECT_NEAR(wanted.width, got.width, 1e-9 * (1 + wanted.width));
        EXPECT_NEAR(wanted.angle, got.angle, 1e-9);
        p.close();
        if (HasFailure())
            return;
    }
}

TEST(IndependentMoments, ListsAndDegenerateShapes)
{
    std::vector<VexaPoint> disc;
    double n = 0, sx = 0, sy = 0, sxx = 0, syy = 0, sxy = 0;
    for (int32_t y = -20; y <= 20; ++y) {
        const auto half = static_cast<int32_t>(std::sqrt(400.0 - y * y));
        disc.push_back({50 - half, 60 + y});
        disc.push_back({50 + half, 60 + y});
        for (int32_t x = 50 - half; x <= 50 + half; ++x) {
            n += 1;
            sx += x;
            sy += 60 + y;
            sxx += x * x;
            syy += (60 + y) * (60 + y);
            sxy += x * (60 + y);
        }
    }
    Shaped got;
    double pixels = -7;
    EXPECT_EQ(1, ScanlistMoments(disc.data(), static_cast<int32_t>(disc.size()), &pixels, &got.centroid,
                                 &got.length, &got.width, &got.angle));
    const Shaped wanted = ellipse(sx, sy, sxx, syy, sxy, static_cast<int32_t>(n), 1, 1);
    EXPECT_EQ(n, pixels);
    EXPECT_EQ(50.0F, got.centroid.x);
    EXPECT_EQ(60.0F, got.centroid.y);
    EXPECT_NEAR(wanted.length, got.length, 1e-9);
    EXPECT_NEAR(10.0, got.length, 0.2);
    EXPECT_NEAR(10.0, got.width, 0.2);
    EXPECT_EQ(1,
              I_ComputeMoments(3, 4, 9, 16, 12, 1, &got.centroid, &got.length, &got.width, &got.angle, 1, 1));
    EXPECT_EQ(0.0, got.length);
    EXPECT_EQ(0.0, got.width);
    EXPECT_EQ(0.0, got.angle);
    EXPECT_EQ(3.0F, got.centroid.x);
    EXPECT_EQ(0,
              I_ComputeMoments(3, 4, 9, 16, 12, 0, &got.centroid, &got.length, &got.width, &got.angle, 1, 1));
    EXPECT_EQ(0.0F, got.centroid.x);
    EXPECT_EQ(0, ScanlistMoments(nullptr, 0, &pixels, &got.centroid, nullptr, nullptr, nullptr));
    EXPECT_EQ(0.0, pixels);
}

TEST(IndependentMoments, CentroidOfAPeak)
{
    const auto plainPeak = [](const std::vector<float>& v, int32_t centre, int32_t half) {
        const auto size = static_cast<int32_t>(v.size());
        const int32_t low = centre < 0 ? 0 : std::max(centre - half, 0),
                      high = centre < 0 ? size : std::min(centre + half, size);
        int32_t best = low;
        for (int32_t i = low; i < high; ++i)
            if (v[static_cast<std::size_t>(i)] > v[static_cast<std::size_t>(best)])
                best = i;
        const int32_t start = std::max(best - half, 0);
        const float base = v[static_cast<std::size_t>(start)];
        double weight = 0, moment = 0;
        for (int32_t i = start; i < size; ++i) {
            const double value = v[static_cast<std::size_t>(i)], d = value - base;
            if (d > 0) {
                weight += d;
                moment += d * i;
            } else if (i > start) {
                const double previous = v[static_cast<std::size_t>(i - 1)];
                const double f = previous == value ? 0 : (previous - base) / (previous - value);
                weight += f * d;
                moment += f * d * i * f;
                break;
            }
        }
        return weight == 0 ? 0.0 : moment / weight;
    };
    Random random(43);
    for (int32_t round = 0; round < 300; ++round) {
        const int32_t n = between(random, 5, 40), top = between(random, 2, n - 2);
        std::vector<float> v(static_cast<std::size_t>(n));
        for (int32_t i = 0; i < n; ++i)
            v[static_cast<std::size_t>(i)] =
                static_cast<float>(100 - 7 * std::abs(i - top) + between(random, 0, 5));
        v.back() = v.front() = -300;
        const int32_t half = between(random, 1, 6),
                      centre = between(random, 0, 3) == 0
                                   ? -1
                                   : std::clamp(top + between(random, -half, half), 0, n - 1);
        EXPECT_NEAR(plainPeak(v, centre, half), I_CentroidType(v.data(), n, centre, half, PIX_FLOAT), 2e-3)
            << n << " top " << top << " centre " << centre << " half " << half;
    }
    const uint8_t flat[8] = {5, 5, 5, 5, 5, 5, 5, 5}, peak[7] = {0, 0, 10, 20, 10, 0, 0};
    EXPECT_EQ(0.0F, I_CentroidType(flat, 8, -1, 3, PIX_BYTE));
    EXPECT_EQ(3.0F, I_CentroidType(peak, 7, 3, 2, PIX_BYTE));
}

} // namespace
