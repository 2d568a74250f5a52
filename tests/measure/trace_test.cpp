#include "vexalib/trace.h"

#include <cmath>
#include <limits>

#include "tests/core/platform_in_place.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/vexalib.h"

using namespace vexa::test;

namespace
{

constexpr double kPi = 3.14159265358979323846;

struct Contour {
    std::vector<VexaPointF> exact;
    std::vector<VexaPoint> whole;
    VexaPoint start = {-1, -1};
};

Contour trace(int32_t im, float threshold, VexaPoint start, int32_t stopAtEdge = 1)
{
    Contour contour;
    VexaPoint* whole = nullptr;
    int32_t count = -1;
    VexaPointF* const exact = I_TraceEdge(im, threshold, &start, &whole, &count, stopAtEdge);
    EXPECT_EQ(exact == nullptr, count == 0);
    EXPECT_EQ(exact == nullptr, whole == nullptr);
    contour.start = start;
    if (exact) {
        contour.exact.assign(exact, exact + count);
        contour.whole.assign(whole, whole + count);
        EXPECT_TRUE(std::isfinite(exact[count].x)) << "one point behind the last may be read";
    }
    vexaFree(exact);
    vexaFree(whole);
    return contour;
}

double area(const std::vector<VexaPointF>& p)
{
    double twice = 0;
    for (std::size_t i = 0; i < p.size(); ++i) {
        const VexaPointF a = p[i], b = p[(i + 1) % p.size()];
        twice += double{a.x} * b.y - double{b.x} * a.y;
    }
    return std::abs(twice) / 2;
}

// 220 in a disc, 20 outside, and a ramp of three pixels between, as a lens would show it.
int32_t discImage(int32_t cols, int32_t rows, double x0, double y0, double radius, int32_t type = PIX_BYTE)
{
    return image(cols, rows, type, [=](int32_t x, int32_t y) {
        return std::lround(std::clamp(120 + 200 * (radius - std::hypot(x - x0, y - y0)) / 3, 20.0, 220.0));
    });
}

// The description in plain loops, on the pixels of a box.
struct PlainTrace {
    std::vector<std::vector<int32_t>> pixel; // by row
    int32_t t;
    bool stop;

    int32_t rows() const { return static_cast<int32_t>(pixel.size()); }
    int32_t cols() const { return static_cast<int32_t>(pixel[0].size()); }
    int32_t& at(int32_t x, int32_t y)
    {
        return pixel[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)];
    }
    bool onEdge(int32_t x, int32_t y) const { return x == 0 || y == 0 || x == cols() - 1 || y == rows() - 1; }

    // From a start that is an edge.
    std::vector<VexaPointF> run(VexaPoint start)
    {
        static const int32_t dx[] = {1, 1, 1, 0, -1, -1, -1, 0}, dy[] = {-1, 0, 1, 1, 1, 0, -1, -1};
        if (!stop) {
            const auto before = pixel;
            const auto old = [&](int32_t x, int32_t y) {
                return before[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] >= t;
            };
            for (int32_t y = 0; y < rows(); ++y)
                for (int32_t x = 0; x < cols(); ++x)
                    if (onEdge(x, y) &&
                        old(x, y) == old(std::clamp(x, 1, cols() - 2), std::clamp(y, 1, rows() - 2)))
                        at(x, y) = 0;
        }
        std::vector<VexaPointF> points;
        VexaPoint p = start;
        int32_t direction = 0;
        while (!onEdge(p.x, p.y)) {
            bool found = false;
            for (int32_t step = 1; step <= 8 && !found; ++step) {
                const int32_t o = (direction + 5 + step - 1) % 8, i = (direction + 5 + step) % 8;
                const int32_t vo = at(p.x + dx[o], p.y + dy[o]), vi = at(p.x + dx[i], p.y + dy[i]);
                if (vo >= t || vi < t)
                    continue;
                const double f = double(vi - t) / (vi - vo);
                points.push_back({float((p.x + dx[i]) * (1 - f) + (p.x + dx[o]) * f),
                                  float((p.y + dy[i]) * (1 - f) + (p.y + dy[o]) * f)});
                p = {p.x + dx[i], p.y + dy[i]};
                direction = i;
                found = true;
            }
            if (!found)
                return points;
            if (points.size() > static_cast<std::size_t>(rows() * cols()))
                return points;
            if (points.size() > 2 && points.back().x == points[1].x && points.back().y == points[1].y) {
                points.pop_back();
                return points;
            }
            if ((stop && onEdge(p.x, p.y)) || (p.x == start.x && p.y == start.y))
                return points;
        }
        return points;
    }
};

class TraceEdge : public testing::Test
{
protected:
    void TearDown() override
    {
        I_SetROIType(0);
        I_ImCloseAll();
        clearError();
    }
    const PlatformInPlace platform_;
};
using LiteralTraceEdge = TraceEdge;
using AgainstReferenceTraceEdge = TraceEdge;
using BoundsTraceEdge = TraceEdge;
using FailuresTraceEdge = TraceEdge;

TEST_F(LiteralTraceEdge, SquareOfTwoByTwo)
{
    // 100 on 0 at (2, 2) to (3, 3), threshold 50. From (2, 2) with direction 0 the ring is looked at from 5
    // on: (1, 2) out, (1, 1) out, (2, 1) out, (3, 1) out, then (3, 2) in: half way between (3, 1) and (3, 2).
    const int32_t im =
        byteImage(6, 6, [](int32_t x, int32_t y) { return x >= 2 && x <= 3 && y >= 2 && y <= 3 ? 100 : 0; });
    const Contour c = trace(im, 50.9F, {2, 2});
    ASSERT_EQ(4U, c.exact.size());
    const VexaPointF exact[] = {{3.0F, 1.5F}, {3.5F, 3.0F}, {2.0F, 3.5F}, {1.5F, 2.0F}};
    const VexaPoint whole[] = {{3, 2}, {3, 3}, {2, 3}, {2, 2}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(exact[i].x, c.exact[i].x) << i;
        EXPECT_EQ(exact[i].y, c.exact[i].y) << i;
        EXPECT_EQ(whole[i].x, c.whole[i].x) << i;
        EXPECT_EQ(whole[i].y, c.whole[i].y) << i;
    }
    EXPECT_EQ(2, c.start.x);
    EXPECT_EQ(0, I_GetError(nullptr, 0));
}

TEST_F(LiteralTraceEdge, DiscIsClosedAndAsLargeAsItIs)
{
    for (const double radius : {8.0, 11.3, 20.0, 31.7})
        for (const double phase : {0.0, 0.25, 0.5, 0.8}) {
            const double x0 = 40 + phase, y0 = 40 - phase / 2;
            const int32_t im = discImage(80, 80, x0, y0, radius);
            const Contour c = trace(im, 120.0F, {static_cast<int32_t>(std::ceil(x0 - radius + 0.1)), 40});
            ASSERT_GT(c.exact.size(), 4 * radius);
            EXPECT_NEAR(kPi * radius * radius, area(c.exact), 0.01 * kPi * radius * radius) << radius;
            for (const VexaPointF p : c.exact)
                EXPECT_NEAR(radius, std::hypot(p.x - x0, p.y - y0), 0.1);
            EXPECT_LT(fdist(&c.start, &c.whole.back()), 1.5) << "it ends where it began";
            closeImages({im});
        }
}

TEST_F(LiteralTraceEdge, PointsOfABlurredStraightEdge)
{
    // A ramp of four pixels across a line of any slope: the crossing lies within 0.05 pixel of the true line.
    for (const double angle : {0.0, 0.1, 0.4, 0.7853981, 1.2})
        for (const double phase : {0.0, 0.3, 0.71}) {
            const double nx = std::cos(angle), ny = std::sin(angle);
            const auto distance = [=](double x, double y) { return (x - 30 - phase) * nx + (y - 30) * ny; };
            const int32_t im = byteImage(60, 60, [&](int32_t x, int32_t y) {
                return std::lround(std::clamp(120 + 50 * distance(x, y), 20.0, 220.0));
            });
            const Contour c = trace(im, 120.0F, {31, 30});
            ASSERT_GT(c.exact.size(), 20U);
            for (const VexaPointF p : c.exact)
                ASSERT_NEAR(0, distance(p.x, p.y), 0.05) << angle << ", " << phase;
            closeImages({im});
        }
}

TEST_F(LiteralTraceEdge, StartOnAFlatAreaIsReportedAndTheNearestEdgeTaken)
{
    const int32_t im = byteImage(
        30, 20, [](int32_t x, int32_t y) { return x >= 10 && x <= 14 && y >= 8 && y <= 12 ? 100 : y; });
    I_SetWindowROI(2, 1, 29, 19);
    // From the dark: row by row outward, the first pixel reached is (10, 8) of the image.
    Contour c = trace(im, 50.0F, {7, 10});
    EXPECT_EQ(10, c.start.x);
    EXPECT_EQ(8, c.start.y);
    EXPECT_EQ(16U, c.exact.size());
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ(
        "TraceEdge Thresh=50.0 ptStart=7 10, xStart=5 9, x0=2 1 cols=28 19 \r\n9 9 9\r\n10 10 10\r\n11 11 11",
        errorText());
    clearError();
    // From the middle of the bright: ring 2 begins at its upper left corner.
    c = trace(im, 50.0F, {12, 10});
    EXPECT_EQ(10, c.start.x);
    EXPECT_EQ(8, c.start.y);
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    clearError();
    // From outside of the box nothing is reported.
    c = trace(im, 50.0F, {-100, 10});
    EXPECT_EQ(16U, c.exact.size());
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    // A null start is the corner.
    int32_t count = 0;
    VexaPointF* const exact = I_TraceEdge(im, 50.0F, nullptr, nullptr, &count, 1);
    EXPECT_EQ(16, count);
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    vexaFree(exact);
}

TEST_F(LiteralTraceEdge, NothingToTrace)
{
    const int32_t bright = byteImage(20, 20, [](int32_t, int32_t) { return 200; });
    EXPECT_TRUE(trace(bright, 100.0F, {5, 5}).exact.empty());
    EXPECT_TRUE(trace(bright, 100.0F, {5, 5}, 0).exact.empty());
    EXPECT_TRUE(trace(bright, 201.0F, {5, 5}).exact.empty());
    EXPECT_TRUE(trace(bright, -5.0F, {5, 5}).exact.empty());
    EXPECT_TRUE(trace(bright, std::numeric_limits<float>::quiet_NaN(), {5, 5}).exact.empty());
    EXPECT_TRUE(trace(bright, 1e30F, {5, 5}).exact.empty());
    const int32_t dot = byteImage(20, 20, [](int32_t x, int32_t y) { return x == 9 && y == 9 ? 200 : 0; });
    EXPECT_TRUE(trace(dot, 100.0F, {9, 9}).exact.empty()) << "no neighbour to go to";
}

TEST_F(LiteralTraceEdge, ContourStopsAtTheBoxOrRunsAlongIt)
{
    // Bright in the left part of the box: the contour runs from top to bottom.
    const int32_t im = byteImage(20, 12, [](int32_t x, int32_t) { return x < 8 ? 200 : 0; });
    const Contour stopping = trace(im, 100.0F, {7, 6}, 1);
    ASSERT_FALSE(stopping.whole.empty());
    EXPECT_TRUE(stopping.whole.back().y == 0 || stopping.whole.back().y == 11);
    EXPECT_TRUE(platform_->boxes.empty());
    const Contour closed = trace(im, 100.0F, {7, 6}, 0);
    EXPECT_EQ(2U * (7 + 10) - 4, closed.whole.size()) << "once round (1, 1) to (7, 10)";
    EXPECT_EQ(7, closed.whole.back().x);
    EXPECT_EQ(6, closed.whole.back().y);
    EXPECT_TRUE(platform_->boxes.empty());
}

TEST_F(LiteralTraceEdge, RimPixelThatStaysIsTold)
{
    // (5, 0) is bright over the dark (5, 1): it stays on the rim, and the contour comes to it from (4, 1).
    const int32_t im = byteImage(12, 8, [](int32_t x, int32_t y) {
        return (x >= 2 && x <= 4 && y >= 1 && y <= 4) || (x == 5 && y == 0) ? 200 : 0;
    });
    const Contour c = trace(im, 100.0F, {3, 1}, 0);
    ASSERT_EQ(1U, platform_->boxes.size());
    EXPECT_EQ("FindNextPt: Cur point (5,0) = 200 is at edge.", platform_->boxes[0].text);
    ASSERT_FALSE(c.whole.empty());
    EXPECT_EQ(5, c.whole.back().x);
    EXPECT_EQ(0, c.whole.back().y);
}

TEST_F(LiteralTraceEdge, ReadsAnyTypeInsideTheRegion)
{
    for (const int32_t type : {PIX_WORD, PIX_DWORD, PIX_FLOAT, PIX_BGR24}) {
        const int32_t bytes = discImage(50, 40, 25, 20, 9), other = discImage(50, 40, 25, 20, 9, type);
        I_SetWindowROI(8, 5, 45, 35);
        const Contour a = trace(bytes, 120.0F, {16, 20}), b = trace(other, 120.0F, {16, 20});
        ASSERT_FALSE(a.exact.empty());
        ASSERT_EQ(a.exact.size(), b.exact.size()) << type;
        for (std::size_t i = 0; i < a.exact.size(); ++i)
            ASSERT_EQ(a.exact[i].x, b.exact[i].x);
        closeImages({bytes, other});
    }
}

TEST_F(AgainstReferenceTraceEdge, RandomBlobs)
{
    std::mt19937 random(11);
    for (int32_t round = 0; round < 400; ++round) {
        const int32_t cols = 3 + static_cast<int32_t>(random() % 20),
                      rows = 3 + static_cast<int32_t>(random() % 16);
        PlainTrace plain{
            std::vector(static_cast<std::size_t>(rows), std::vector<int32_t>(static_cast<std::size_t>(cols))),
            90 + static_cast<int32_t>(random() % 60), random() % 2 == 0};
        const uint32_t roughness = 1 + random() % 200;
        for (int32_t y = 0; y < rows; ++y)
            for (int32_t x = 0; x < cols; ++x)
                plain.at(x, y) =
                    std::clamp(static_cast<int32_t>(128 + 90 * std::sin(0.5 * x + round) * std::sin(0.6 * y) +
                                                    static_cast<double>(random() % roughness)),
                               0, 255);
        const int32_t im = byteImage(cols + 4, rows + 3, [&](int32_t x, int32_t y) {
            return x >= 2 && y >= 1 && x < cols + 2 && y < rows + 1 ? plain.at(x - 2, y - 1) : 255;
        });
        I_SetWindowROI(2, 1, cols + 1, rows);
        const Contour c = trace(
            im, static_cast<float>(plain.t),
            {2 + static_cast<int32_t>(random() % 20), 1 + static_cast<int32_t>(random() % 16)}, plain.stop);
        if (c.start.x > 2 && c.start.y > 1 && c.start.x < cols + 1 && c.start.y < rows &&
            plain.at(c.start.x - 2, c.start.y - 1) >= plain.t) {
            const auto expected = plain.run({c.start.x - 2, c.start.y - 1});
            ASSERT_EQ(expected.size(), c.exact.size()) << round;
            for (std::size_t i = 0; i < expected.size(); ++i) {
                ASSERT_NEAR(expected[i].x + 2, c.exact[i].x, 1e-5) << round;
                ASSERT_NEAR(expected[i].y + 1, c.exact[i].y, 1e-5) << round;
            }
        } else {
            ASSERT_TRUE(c.exact.empty()) << round;
        }
        closeImages({im});
    }
}

TEST_F(BoundsTraceEdge, SmallBoxesHaveNoEdge)
{
    const int32_t im = byteImage(9, 9, [](int32_t x, int32_t y) { return (x + y) % 2 * 200; });
    for (int32_t w = 1; w <= 4; ++w)
        for (int32_t h = 1; h <= 4; ++h) {
            I_SetWindowROI(3, 3, 2 + w, 2 + h);
            const Contour c = trace(im, 100.0F, {4, 4});
            EXPECT_TRUE(c.exact.empty() || (w > 2 && h > 2));
        }
    I_SetWindowROI(100, 100, 200, 200);
    EXPECT_TRUE(trace(im, 100.0F, {4, 4}).exact.empty());
}

TEST_F(FailuresTraceEdge, ImageThatIsNotOpenAndMissingMemory)
{
    int32_t count = 7;
    VexaPoint* whole = reinterpret_cast<VexaPoint*>(&count);
    EXPECT_EQ(nullptr, I_TraceEdge(-250, 100.0F, nullptr, &whole, &count, 1));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    EXPECT_EQ(0, count);
    EXPECT_EQ(nullptr, whole);
    EXPECT_EQ(nullptr, I_TraceEdge(0, 100.0F, nullptr, nullptr, nullptr, 1));
    const int32_t im = discImage(30, 30, 15, 15, 8);
    forEachFailingAllocation(
        [&] {
            VexaPointF* const exact = I_TraceEdge(im, 100.0F, nullptr, nullptr, &count, 1);
            const bool traced = exact != nullptr;
            vexaFree(exact);
            return traced;
        },
        [&](int64_t result) {
            EXPECT_EQ(0, result);
            EXPECT_EQ(0, count);
            EXPECT_EQ(2, I_GetError(nullptr, 0));
        });
}

} // namespace
