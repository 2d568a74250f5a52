// Drawing primitives against pixels set one by one.
#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

using Points = std::vector<VexaPoint>;

Points walked(VexaPoint a, VexaPoint b)
{
    const int32_t dx = b.x - a.x, dy = b.y - a.y;
    if (dx == 0 && dy == 0)
        return {a};
    const bool alongX = std::abs(dx) >= std::abs(dy);
    const int32_t length = alongX ? dx : dy, other = alongX ? dy : dx, step = length < 0 ? -1 : 1;
    const int32_t slope = other * 2048 / std::abs(length);
    int32_t fixed = (alongX ? a.y : a.x) * 2048 + 1024;
    Points points;
    for (int32_t i = 0; i <= std::abs(length); ++i, fixed += slope)
        points.push_back(alongX ? VexaPoint{a.x + i * step, fixed >> 11}
                                : VexaPoint{fixed >> 11, a.y + i * step});
    return points;
}

TEST(IndependentDrawing, LineCoordinates)
{
    Random random(1);
    for (int32_t round = 0; round < 3000; ++round) {
        const VexaPoint a{between(random, -60, 60), between(random, -60, 60)},
            b{between(random, -60, 60), between(random, -60, 60)};
        const Points wanted = walked(a, b);
        Points got(wanted.size() + 4, VexaPoint{-999, -999});
        ASSERT_EQ(static_cast<int32_t>(wanted.size()), I_GetLineCoords(0, &a, &b, got.data()));
        for (std::size_t i = 0; i < wanted.size(); ++i)
            ASSERT_TRUE(wanted[i].x == got[i].x && wanted[i].y == got[i].y)
                << a.x << "," << a.y << " to " << b.x << "," << b.y << " point " << i << ": " << got[i].x
                << "," << got[i].y;
        ASSERT_EQ(-999, got[wanted.size()].x);
    }
}

TEST(IndependentDrawing, LinesOfThreeKinds)
{
    Random random(2);
    for (int32_t round = 0; round < 400; ++round) {
        const int32_t cols = between(random, 3, 40), rows = between(random, 3, 20);
        const int32_t im = noiseImage(cols, rows, 5), plain = noiseImage(cols, rows, 5);
        const int32_t kind = between(random, 0, 2), color = between(random, -1, 255),
                      drawColor = between(random, -1, 255);
        VexaPoint a{between(random, 0, cols - 1), between(random, 0, rows - 1)},
            b{between(random, 0, cols - 1), between(random, 0, rows - 1)};
        if (kind == 0)
            b.y = a.y = between(random, -3, rows + 3);
        if (kind == 1)
            b.x = a.x = between(random, -3, cols + 3);
        vexaSetDrawColor(drawColor);
        const auto dot = [&](int32_t x, int32_t y, int32_t c) {
            const auto v = static_cast<uint8_t>(c < 0 ? static_cast<int32_t>(pixel(plain, x, y)) ^ 128 : c);
            I_PutBlockType(x, y, 1, 1, &v, plain, PIX_BYTE);
        };
        const int32_t result = I_DrawLine(im, a.x, a.y, b.x, b.y, color);
        if (a.y == b.y) {
            EXPECT_EQ(a.x - b.x, result);
            for (int32_t x = std::clamp(std::min(a.x, b.x), 0, cols - 1);
                 x <= std::clamp(std::max(a.x, b.x), 0, cols - 1); ++x)
                dot(x, std::clamp(a.y, 0, rows - 1), drawColor);
        } else if (a.x == b.x) {
            EXPECT_EQ(a.y - b.y, result);
            for (int32_t y = std::clamp(std::min(a.y, b.y), 0, rows - 1);
                 y <= std::clamp(std::max(a.y, b.y), 0, rows - 1); ++y)
                dot(std::clamp(a.x, 0, cols - 1), y, drawColor);
        } else {
            const Points points = walked(a, b);
            for (const VexaPoint& p : points)
                dot(p.x, p.y, color);
        }
        ASSERT_EQ(bytesOf(plain), bytesOf(im)) << a.x << "," << a.y << " to " << b.x << "," << b.y
                                               << " colour " << color << " draw " << drawColor;
        closeImages({im, plain});
    }
    vexaSetDrawColor(252);
}

TEST(IndependentDrawing, RectanglesLeaveOutSidesBeyondTheEdge)
{
    Random random(3);
    for (int32_t round = 0; round < 600; ++round) {
        const int32_t type = between(random, 0, 1) ? PIX_BYTE : PIX_WORD;
        const int32_t cols = between(random, 4, 20), rows = between(random, 4, 15),
                      im = I_ImOpen(cols, rows, type);
        int32_t l = between(random, -3, cols - 1), t = between(random, -3, rows - 1),
                r = between(random, std::max(l, 0), cols + 2), b = between(random, std::max(t, 0), rows + 2);
        EXPECT_EQ(1, I_DrawRect1(l, t, r, b, 9, im));
        const int32_t cl = std::clamp(l, 0, cols - 1), ct = std::clamp(t, 0, rows - 1),
                      cr = std::clamp(r, 0, cols - 1), cb = std::clamp(b, 0, rows - 1);
        for (int32_t y = 0; y < rows; ++y)
            for (int32_t x = 0; x < cols; ++x) {
                const bool inX = x >= cl && x <= cr, inY = y >= ct && y <= cb;
                const bool on = (inX && ((t >= 0 && y == ct) || (b < rows && y == cb))) ||
                                (inY && ((l >= 0 && x == cl) || (r < cols && x == cr)));
                ASSERT_EQ(on ? 9 : 0, pixel(im, x, y))
                    << l << " " << t << " " << r << " " << b << " in " << cols << "x" << rows << " type "
                    << type << " at " << x << "," << y;
            }
        I_ImClose(im);
    }
    EXPECT_EQ(0, I_DrawRect1(0, 0, 3, 3, 9, 0));
}

TEST(IndependentDrawing, CursorsComeOffAgain)
{
    Random random(4);
    for (int32_t round = 0; round < 300; ++round) {
        const int32_t cols = between(random, 3, 30), rows = between(random, 3, 20),
                      im = noiseImage(cols, rows, 8);
        I_SetGraphicsFrame(im);
        const auto before = bytesOf(im);
        const int32_t x = between(random, 0, cols - 1), y = between(random, 0, rows - 1),
                      w = between(random, 0, cols + 4), h = between(random, 0, rows + 4);
        int32_t start[2], kept[2];
        const auto limit = [](int32_t centre, int32_t length, int32_t size, int32_t& s, int32_t& k) {
            s = std::clamp(centre - length / 2, 0, size - 1);
            k = std::max(0, std::min({length, centre - s - length / 2 + length, size - s}));
        };
        limit(x, w, cols, start[0], kept[0]);
        limit(y, h, rows, start[1], kept[1]);
        int32_t s = -9, k = -9;
        EXPECT_EQ(kept[0], limitbox(x, w, cols, &s, &k));
        EXPECT_EQ(start[0], s);
        EXPECT_EQ(kept[0], k);
        void* block = I_CursorUp(x, y, w, h, 77);
        EXPECT_EQ(kept[0] > 0 || kept[1] > 0, block != nullptr);
        for (int32_t py = 0; py < rows; ++py)
            for (int32_t px = 0; px < cols; ++px) {
                const bool on = (py == y && px >= start[0] && px < start[0] + kept[0]) ||
                                (px == x && py >= start[1] && py < start[1] + kept[1]);
                ASSERT_EQ(on ? 77 : before[static_cast<std::size_t>(py * cols + px)], pixel(im, px, py));
            }
        I_SetGraphicsFrame(0);
        I_CursorDown(block);
        EXPECT_EQ(before, bytesOf(im));
        if (block) {
            EXPECT_EQ(im, I_GetGraphicsFrame());
        }
        I_ImClose(im);
        if (HasFailure())
            return;
    }
    I_CursorDown(nullptr);
}

TEST(IndependentDrawing, ClippingToABox)
{
    Random random(5);
    for (int32_t round = 0; round < 3000; ++round) {
        const VexaPoint lo{between(random, -5, 5), between(random, -5, 5)},
            hi{lo.x + between(random, 1, 20), lo.y + between(random, 1, 20)};
        const auto coordinate = [&] { return static_cast<float>(between(random, -30000, 40000)) / 1024.0F; };
        VexaPointF p{coordinate(), coordinate()}, q{coordinate(), coordinate()};
        double a[2] = {double{p.x}, double{p.y}}, b[2] = {double{q.x}, double{q.y}};
        const double low[2] = {double{1.0} * lo.x, double{1.0} * lo.y},
                     high[2] = {double{1.0} * hi.x, double{1.0} * hi.y};
        int32_t wanted = 1;
        bool inside = true, narrow = false;
        for (const int32_t k : {0, 1})
            inside = inside && a[k] >= low[k] && a[k] <= high[k] && b[k] >= low[k] && b[k] <= high[k];
        if (!inside) {
            double t0 = 0, t1 = 1;
            const double d[2] = {b[0] - a[0], b[1] - a[1]};
            for (int32_t side = 0; side < 4 && wanted; ++side) {
                const int32_t k = side / 2;
                const double dir = side % 2 ? d[k] : -d[k], dist = side % 2 ? high[k] - a[k] : a[k] - low[k];
                if (dir < 0) {
                    wanted = dist / dir <= t1;
                    narrow = narrow || std::fabs(dist / dir - t1) < 1e-4;
                    t0 = std::max(t0, dist / dir);
                } else if (dir > 0) {
                    wanted = dist / dir >= t0;
                    narrow = narrow || std::fabs(dist / dir - t0) < 1e-4;
                    t1 = std::min(t1, dist / dir);
                } else {
                    wanted = dist >= 0;
                }
            }
            for (const int32_t k : {0, 1}) {
                const double from = a[k];
                if (wanted && t1 < 1)
                    b[k] = from + t1 * d[k];
                if (wanted && t0 > 0)
                    a[k] = from + t0 * d[k];
                a[k] = std::clamp(a[k], low[k], high[k]);
                b[k] = std::clamp(b[k], low[k], high[k]);
            }
        }
        if (narrow)
            continue;
        EXPECT_EQ(wanted, I_ClipLine(&lo, &hi, &p, &q));
        EXPECT_NEAR(a[0], p.x, 1e-3);
        EXPECT_NEAR(a[1], p.y, 1e-3);
        EXPECT_NEAR(b[0], q.x, 1e-3);
        EXPECT_NEAR(b[1], q.y, 1e-3);
        if (HasFailure())
            return;
    }
    const VexaPoint lo{0, 0}, hi{10, 10};
    VexaPoint p{-5, 5}, q{15, 5};
    EXPECT_EQ(1, I_ClipLineInt(&lo, &hi, &p, &q));
    EXPECT_EQ(0, p.x);
    EXPECT_EQ(10, q.x);
}

TEST(IndependentDrawing, FramesAndDefaults)
{
    const int32_t im = byteImage(8, 8);
    I_SetGraphicsFrame(im);
    EXPECT_EQ(im, I_GetGraphicsFrame());
    EXPECT_EQ(im, I_SetGraphicsFrame(7)); // no image: the frame stays
    EXPECT_EQ(im, I_GetGraphicsFrame());
    EXPECT_EQ(252, vexaSetDrawColor(252));
    I_DrawLine(im, 5, 5, 5, 5, 10);
    EXPECT_EQ(252, pixel(im, 5, 5));
    graphputpix(1, 1, 33);
    EXPECT_EQ(33, graphgetpix(1, 1));
    EXPECT_EQ(1, I_DrawRect(0, 0, 7, 7, 4));
    EXPECT_EQ(4, pixel(im, 7, 7));
    const VexaPointF end{6, 2}, start{2, 2.4F};
    EXPECT_GT(fdrawline(&end, &start, 9), 0);
    EXPECT_EQ(9, pixel(im, 4, 2));
    I_ImClose(im);
    EXPECT_EQ(0, I_GetGraphicsFrame());
}

} // namespace
