#include "core/error.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

#include <limits>

using namespace vexa::test;

namespace
{

constexpr double kPi = 3.14159265358979323846;

struct Result {
    double area = 9;
    double pixels = 9;
    VexaPointF centroid = {9, 9};
    double longAxis = 9;
    double shortAxis = 9;
    double angle = 9;
};

int32_t binary(int32_t im, Result& r, int32_t threshold, int32_t above = 1, double xScale = 1,
               double yScale = 1)
{
    return I_BinaryMoments(&r.area, &r.pixels, &r.centroid, &r.longAxis, &r.shortAxis, &r.angle, xScale,
                           yScale, threshold, above, im);
}
int32_t gray(int32_t im, Result& r, int32_t threshold, int32_t above = 1, double xScale = 1,
             double yScale = 1)
{
    return I_GrayMoments(&r.area, &r.pixels, &r.centroid, &r.longAxis, &r.shortAxis, &r.angle, xScale, yScale,
                         threshold, above, im);
}
int32_t listed(const std::vector<VexaPoint>& points, Result& r)
{
    return ScanlistMoments(points.data(), static_cast<int32_t>(points.size()), &r.pixels, &r.centroid,
                           &r.longAxis, &r.shortAxis, &r.angle);
}

void expectNoAxes(const Result& r)
{
    EXPECT_EQ(0.0, r.longAxis);
    EXPECT_EQ(0.0, r.shortAxis);
    EXPECT_EQ(0.0, r.angle);
}

// 200 inside an ellipse around (x0, y0) that is turned by an angle against the x axis, 0 outside.
int32_t ellipse(double p, double q, double angle, double x0 = 60, double y0 = 50)
{
    return byteImage(121, 101, [=](int32_t x, int32_t y) {
        const double dx = x - x0;
        const double dy = y - y0;
        const double u = (dx * std::cos(angle) + dy * std::sin(angle)) / p;
        const double v = (-dx * std::sin(angle) + dy * std::cos(angle)) / q;
        return u * u + v * v <= 1 ? 200 : 0;
    });
}

class Moments : public testing::Test
{
protected:
    ~Moments() override
    {
        I_SetROIType(0);
        I_SetColorProcMode(3);
        vexa::setUserBreakHook(nullptr);
    }
    Result r_;
};

TEST_F(Moments, LiteralDiscHasAxesOfHalfItsRadius)
{
    const int32_t im = ellipse(30, 30, 0);
    EXPECT_EQ(1, binary(im, r_, 100));
    EXPECT_NEAR(15.0, r_.longAxis, 0.05);
    EXPECT_NEAR(15.0, r_.shortAxis, 0.05);
    EXPECT_EQ(0.0, r_.angle) << "both moments are equal";
    EXPECT_EQ(60.0F, r_.centroid.x);
    EXPECT_EQ(50.0F, r_.centroid.y);
    EXPECT_NEAR(kPi * 900, r_.area, 15);
    EXPECT_EQ(r_.pixels, r_.area);
    closeImages({im});
}

TEST_F(Moments, LiteralEllipseAndTheSignOfItsAngle)
{
    for (const double angle : {0.0, 0.3, 1.2, -0.5}) {
        const int32_t im = ellipse(40, 15, angle);
        EXPECT_EQ(1, binary(im, r_, 100));
        EXPECT_NEAR(20.0, r_.longAxis, 0.1);
        EXPECT_NEAR(7.5, r_.shortAxis, 0.1);
        EXPECT_NEAR(-angle, r_.angle, 0.01) << "y points down";
        closeImages({im});
    }
}

TEST_F(Moments, LiteralScalesStretchTheAxesAndNotTheCentroid)
{
    const int32_t im = ellipse(20, 20, 0);
    EXPECT_EQ(1, binary(im, r_, 100, 1, 2.0, 1.0));
    EXPECT_NEAR(20.0, r_.longAxis, 0.1);
    EXPECT_NEAR(10.0, r_.shortAxis, 0.1);
    EXPECT_NEAR(0.0, r_.angle, 1e-9);
    EXPECT_EQ(60.0F, r_.centroid.x);
    EXPECT_EQ(2.0 * r_.pixels, r_.area);
    closeImages({im});
}

TEST_F(Moments, LiteralOnePixel)
{
    const int32_t im = byteImage(9, 9, [](int32_t x, int32_t y) { return x == 4 && y == 7 ? 50 : 0; });
    EXPECT_EQ(1, binary(im, r_, 50));
    EXPECT_EQ(1.0, r_.pixels);
    EXPECT_EQ(4.0F, r_.centroid.x);
    EXPECT_EQ(7.0F, r_.centroid.y);
    expectNoAxes(r_);
    closeImages({im});
}

TEST_F(Moments, LiteralLineHasNoAxes)
{
    const int32_t im = byteImage(9, 9, [](int32_t, int32_t y) { return y == 3 ? 1 : 0; });
    EXPECT_EQ(1, binary(im, r_, 1));
    EXPECT_EQ(9.0, r_.pixels);
    EXPECT_EQ(4.0F, r_.centroid.x);
    expectNoAxes(r_);
    closeImages({im});
}

TEST_F(Moments, LiteralBelowTheThreshold)
{
    const int32_t im = byteImage({{10, 49, 50, 51}});
    EXPECT_EQ(1, binary(im, r_, 50, 0));
    EXPECT_EQ(2.0, r_.pixels);
    EXPECT_EQ(0.5F, r_.centroid.x);
    EXPECT_EQ(1, binary(im, r_, 50, 1));
    EXPECT_EQ(2.0, r_.pixels);
    EXPECT_EQ(2.5F, r_.centroid.x);
    closeImages({im});
}

TEST_F(Moments, LiteralNothingCounts)
{
    const int32_t im = byteImage({{1, 2}});
    clearError();
    EXPECT_EQ(0, binary(im, r_, 200));
    EXPECT_EQ(0.0, r_.area);
    EXPECT_EQ(0.0, r_.pixels);
    EXPECT_EQ(0.0F, r_.centroid.x);
    expectNoAxes(r_);
    r_ = {};
    EXPECT_EQ(0, gray(im, r_, 200));
    EXPECT_EQ(0.0, r_.pixels);
    EXPECT_EQ(0.0F, r_.centroid.y);
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    closeImages({im});
}

TEST_F(Moments, LiteralGrayWeighsByTheDistanceFromTheThreshold)
{
    const int32_t im = byteImage({{49, 50, 53, 0}});
    EXPECT_EQ(1, gray(im, r_, 50, 1, 2.0, 3.0)); // weights 1 and 4
    EXPECT_EQ(12.0, r_.area) << "two pixels of 2 by 3";
    EXPECT_EQ(5.0, r_.pixels) << "the mass";
    EXPECT_FLOAT_EQ(9.0F / 5, r_.centroid.x);
    EXPECT_EQ(1, gray(im, r_, 50, 0)); // weights 1 and 50
    EXPECT_EQ(2.0, r_.area);
    EXPECT_EQ(51.0, r_.pixels);
    EXPECT_FLOAT_EQ(150.0F / 51, r_.centroid.x);
    closeImages({im});
}

TEST_F(Moments, AgainstReferenceGray)
{
    const int32_t im = noiseImage(70, 50, 11);
    double n = 0;
    double mass = 0;
    double x1 = 0;
    double y1 = 0;
    double xx = 0;
    double yy = 0;
    double xy = 0;
    for (int32_t y = 10; y <= 40; ++y)
        for (int32_t x = 5; x <= 60; ++x) {
            const double w = pixel(im, x, y) - 128 + 1;
            if (w <= 0)
                continue;
            ++n;
            mass += w;
            x1 += w * x;
            y1 += w * y;
            xx += w * x * x;
            yy += w * y * y;
            xy += w * x * y;
        }
    I_SetWindowROI(5, 10, 60, 40);
    ASSERT_EQ(1, gray(im, r_, 128, 1, 1.5, 0.5));
    Result e;
    ASSERT_EQ(1, I_ComputeMoments(x1, y1, xx, yy, xy, static_cast<int32_t>(mass), &e.centroid, &e.longAxis,
                                  &e.shortAxis, &e.angle, 1.5, 0.5));
    EXPECT_EQ(n * 0.75, r_.area);
    EXPECT_EQ(mass, r_.pixels);
    EXPECT_EQ(e.centroid.x, r_.centroid.x);
    EXPECT_EQ(e.centroid.y, r_.centroid.y);
    EXPECT_EQ(e.longAxis, r_.longAxis);
    EXPECT_EQ(e.shortAxis, r_.shortAxis);
    EXPECT_EQ(e.angle, r_.angle);
    closeImages({im});
}

TEST_F(Moments, BoundsOfAnyThreshold)
{
    const int32_t im = byteImage({{0, 255}, {7, 9}});
    constexpr int32_t least = std::numeric_limits<int32_t>::min();
    constexpr int32_t most = std::numeric_limits<int32_t>::max();
    EXPECT_EQ(1, binary(im, r_, least));
    EXPECT_EQ(4.0, r_.pixels);
    EXPECT_EQ(0, binary(im, r_, most));
    EXPECT_EQ(0, gray(im, r_, least)) << "a mass beyond 32 bits";
    EXPECT_EQ(4 * 2147483649.0 + 271, r_.pixels);
    EXPECT_EQ(0, gray(im, r_, most, 0));
    EXPECT_EQ(4 * 2147483647.0 - 271, r_.pixels);
    closeImages({im});
}

TEST_F(Moments, BoundsOfAScanListBeyondTheImage)
{
    const int32_t im = byteImage(4, 3, [](int32_t, int32_t) { return 9; });
    const VexaPoint runs[] = {{-3, 0}, {1, 0}, {2, 1}, {90, 1}, {0, 50}, {3, 50}};
    ASSERT_EQ(1, I_SetScanlistROI(runs, 6));
    EXPECT_EQ(1, binary(im, r_, 1));
    EXPECT_EQ(4.0, r_.pixels) << "(0, 0), (1, 0), (2, 1), (3, 1)";
    EXPECT_EQ(1.5F, r_.centroid.x);
    EXPECT_EQ(0.5F, r_.centroid.y);
    closeImages({im});
}

TEST_F(Moments, LiteralColorIsReadByTheStatisticMode)
{
    const int32_t im = I_ImOpen(2, 1, PIX_BGR24);
    const uint8_t bgr[] = {90, 0, 0, 0, 0, 30};
    I_PutBlockType(0, 0, 2, 1, bgr, im, PIX_BGR24);
    EXPECT_EQ(1, binary(im, r_, 30)); // means 30 and 10
    EXPECT_EQ(1.0, r_.pixels);
    EXPECT_EQ(0.0F, r_.centroid.x);
    EXPECT_EQ(3, I_GetColorProcMode());
    I_SetStatsProcMode(0);
    I_ResetColorProcMode();
    EXPECT_EQ(1, binary(im, r_, 30)); // red 0 and 30
    EXPECT_EQ(1.0, r_.pixels);
    EXPECT_EQ(1.0F, r_.centroid.x);
    EXPECT_EQ(3, I_GetColorProcMode());
    I_SetStatsProcMode(-2);
    I_ResetColorProcMode();
    closeImages({im});
}

int32_t breaks = 0;
int32_t breakAtThird(int32_t)
{
    return ++breaks == 3;
}

TEST_F(Moments, LiteralUserBreakUsesWhatWasSummed)
{
    const int32_t im = byteImage(10, 10, [](int32_t, int32_t) { return 9; });
    breaks = 0;
    vexa::setUserBreakHook(breakAtThird);
    clearError();
    EXPECT_EQ(1, binary(im, r_, 1));
    EXPECT_EQ(30.0, r_.pixels);
    EXPECT_EQ(6, I_GetError(nullptr, 0));
    EXPECT_EQ("USER_BREAK", errorText());
    breaks = 0;
    EXPECT_EQ(1, gray(im, r_, 9));
    EXPECT_EQ(30.0, r_.pixels);
    closeImages({im});
}

TEST_F(Moments, LiteralUserIsAskedInTheFirst64Points)
{
    const int32_t im = byteImage(3, 100, [](int32_t, int32_t) { return 9; });
    breaks = 10;
    vexa::setUserBreakHook(breakAtThird);
    EXPECT_EQ(1, binary(im, r_, 1));
    EXPECT_EQ(10 + 32, breaks) << "two points a run";
    EXPECT_EQ(300.0, r_.pixels);
    closeImages({im});
}

TEST_F(Moments, FailuresOfImagesAndMemory)
{
    const int32_t im = byteImage(10, 10, [](int32_t, int32_t) { return 9; });
    clearError();
    EXPECT_EQ(0, binary(-290, r_, 1));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ(0, gray(0, r_, 1));
    EXPECT_EQ(9.0, r_.area);
    const auto check = [](int64_t result) {
        EXPECT_EQ(0, result);
        EXPECT_EQ(2, I_GetError(nullptr, 0));
        EXPECT_THAT(errorText(), testing::StartsWith("Memory allocation failed: : "));
    };
    forEachFailingAllocation([&] { return binary(im, r_, 1); }, check);
    forEachFailingAllocation([&] { return gray(im, r_, 1); }, check);
    EXPECT_EQ(1, I_BinaryMoments(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 1, 1, 1, 1, im));
    EXPECT_EQ(1, I_GrayMoments(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 1, 1, 1, 1, im));
    closeImages({im});
}

TEST_F(Moments, LiteralScanListEqualsItsImage)
{
    const int32_t im = ellipse(40, 15, 0.4);
    std::vector<VexaPoint> runs;
    for (int32_t y = 0; y < 101; ++y) {
        int32_t first = -1;
        int32_t last = -1;
        for (int32_t x = 0; x < 121; ++x)
            if (pixel(im, x, y) > 0) {
                first = first < 0 ? x : first;
                last = x;
            }
        if (first >= 0) {
            runs.push_back({first, y});
            runs.push_back({last, y});
        }
    }
    Result r;
    EXPECT_EQ(1, binary(im, r, 100));
    EXPECT_EQ(1, listed(runs, r_));
    EXPECT_EQ(r.pixels, r_.pixels);
    EXPECT_EQ(r.centroid.x, r_.centroid.x);
    EXPECT_EQ(r.centroid.y, r_.centroid.y);
    EXPECT_EQ(r.longAxis, r_.longAxis);
    EXPECT_EQ(r.shortAxis, r_.shortAxis);
    EXPECT_EQ(r.angle, r_.angle);
    closeImages({im});
}

TEST_F(Moments, LiteralPairsThatAreNoRunsAreLeftByOnePoint)
{
    EXPECT_EQ(1, listed({{0, 0}, {5, 1}, {9, 1}, {9, 2}, {4, 2}, {6, 2}}, r_)); // (5..9, 1), then (4..6, 2)
    EXPECT_EQ(8.0, r_.pixels);
    EXPECT_EQ((35 + 15) / 8.0F, r_.centroid.x);
    EXPECT_EQ(1, listed({{3, 3}, {3, 3}, {7, 7}}, r_));
    EXPECT_EQ(1.0, r_.pixels) << "the last point has no partner";
}

TEST_F(Moments, LiteralScanListOfNothing)
{
    EXPECT_EQ(0, listed({}, r_));
    EXPECT_EQ(0.0, r_.pixels);
    EXPECT_EQ(0.0F, r_.centroid.x);
    expectNoAxes(r_);
    const VexaPoint point = {1, 1};
    r_ = {};
    EXPECT_EQ(0, ScanlistMoments(&point, -4, &r_.pixels, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, ScanlistMoments(nullptr, 4, &r_.pixels, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0.0, r_.pixels);
    constexpr int32_t least = std::numeric_limits<int32_t>::min();
    constexpr int32_t most = std::numeric_limits<int32_t>::max();
    listed({{least, least}, {most, least}}, r_);
    EXPECT_EQ(4294967296.0, r_.pixels);
}

TEST_F(Moments, LiteralComputeOfSums)
{
    // The four corners of a square of side 2 around (1, 1): sums of 4 pixels.
    EXPECT_EQ(1,
              I_ComputeMoments(4, 4, 8, 8, 4, 4, &r_.centroid, &r_.longAxis, &r_.shortAxis, &r_.angle, 1, 1));
    EXPECT_EQ(1.0F, r_.centroid.x);
    EXPECT_EQ(1.0F, r_.centroid.y);
    // M = 4/pi * 4 in both directions; r = sqrt(M); long = short = 0.5 * sqrt(2 M / (2 sqrt(M * M)^0.5 ...)).
    const double m = 4 / kPi * 4;
    const double axis = 0.5 * std::sqrt(m / std::sqrt(m));
    EXPECT_NEAR(axis, r_.longAxis, 1e-12);
    EXPECT_NEAR(axis, r_.shortAxis, 1e-12);
    EXPECT_EQ(0.0, r_.angle);
    for (const int32_t n : {0, -5}) {
        r_ = {};
        EXPECT_EQ(0, I_ComputeMoments(4, 4, 8, 8, 4, n, &r_.centroid, &r_.longAxis, &r_.shortAxis, &r_.angle,
                                      1, 1));
        EXPECT_EQ(0.0F, r_.centroid.x);
        expectNoAxes(r_);
    }
    EXPECT_EQ(1, I_ComputeMoments(4, 4, 8, 8, 4, 4, nullptr, nullptr, nullptr, nullptr, 1, 1));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(1, I_ComputeMoments(nan, 4, 8, 8, 4, 4, &r_.centroid, &r_.longAxis, &r_.shortAxis, &r_.angle,
                                  nan, 1));
    expectNoAxes(r_);
}

TEST(Centroid, LiteralPeak)
{
    const uint8_t peak[] = {0, 0, 0, 10, 20, 10, 0, 0, 0};
    EXPECT_EQ(4.0F, I_CentroidType(peak, 9, 4, 2, PIX_BYTE));
    EXPECT_EQ(4.0F, I_CentroidType(peak, 9, -1, 2, PIX_BYTE)) << "the whole array";
    const float floats[] = {0, 0, 0, 10, 20, 10, 0, 0, 0};
    EXPECT_EQ(4.0F, I_CentroidType(floats, 9, 4, 2, PIX_FLOAT));
    EXPECT_EQ(4.0F, I_CentroidType(peak, 9, 5, 2, PIX_BYTE)) << "the peak lies in the range 3 to 6";
}

TEST(Centroid, LiteralSampleBelowTheBaseIsInterpolated)
{
    // From 2 on: base 4; heights 6, 16, 6, then -4: a fraction of 0.6, weight -2.4 at 7 * 0.6.
    const uint8_t peak[] = {4, 4, 4, 10, 20, 10, 0};
    const double weight = 6 + 16 + 6;
    const double fraction = 6.0 / 10.0;
    const double expected =
        (6 * 3 + 16 * 4 + 6 * 5 + fraction * -4 * (6 * fraction)) / (weight + fraction * -4);
    EXPECT_FLOAT_EQ(static_cast<float>(expected), I_CentroidType(peak, 7, 4, 2, PIX_BYTE));
}

TEST(Centroid, LiteralFirstOfEqualMaximaAndTheRangesEnd)
{
    const uint8_t twin[] = {0, 30, 0, 0, 0, 30, 0, 0};
    EXPECT_EQ(1.0F, I_CentroidType(twin, 8, -1, 1, PIX_BYTE));
    EXPECT_EQ(5.0F, I_CentroidType(twin, 8, 5, 1, PIX_BYTE));
    EXPECT_EQ(1.0F, I_CentroidType(twin, 8, 3, 2, PIX_BYTE)) << "the range ends in front of 5";
    const uint8_t rising[] = {0, 1, 2, 3};
    EXPECT_FLOAT_EQ((1 * 1 + 2 * 2 + 3 * 3) / 6.0F, I_CentroidType(rising, 4, -1, 3, PIX_BYTE));
}

TEST(Centroid, LiteralFlatArray)
{
    const uint8_t flat[] = {7, 7, 7, 7};
    EXPECT_EQ(0.0F, I_CentroidType(flat, 4, -1, 2, PIX_BYTE));
    EXPECT_EQ(0.0F, I_CentroidType(flat, 4, 2, 1, PIX_BYTE));
}

TEST(Centroid, BoundsOfAnyArgument)
{
    const uint8_t values[] = {1, 5, 2, 9};
    constexpr int32_t least = std::numeric_limits<int32_t>::min();
    constexpr int32_t most = std::numeric_limits<int32_t>::max();
    for (const int32_t center : {least, -1, 0, 3, 4, 100, most})
        for (const int32_t half : {least, -2, 0, 1, 100, most})
            EXPECT_FALSE(std::isnan(I_CentroidType(values, 4, center, half, PIX_BYTE)));
    EXPECT_EQ(0.0F, I_CentroidType(nullptr, 4, 1, 1, PIX_BYTE));
    EXPECT_EQ(0.0F, I_CentroidType(values, 0, 1, 1, PIX_BYTE));
    EXPECT_EQ(0.0F, I_CentroidType(values, -4, 1, 1, PIX_BYTE));
    forEachFailingAllocation([&] { return static_cast<int64_t>(I_CentroidType(values, 4, 1, 1, PIX_BYTE)); },
                             [](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_EQ(2, I_GetError(nullptr, 0));
                             });
}

} // namespace
