// Smart alignment against a plain reference of its steps.
#include <array>
#include <cmath>

#include "tests/support/precompiled.h"
#include "tests/support/random_images.h"
#include "tests/support/test_images.h"
#include "vexalib/align1d.h"
#include "vexalib/search.h"
#include "vexalib/smart_align.h"

namespace
{

using vexa::test::byteImage;
using vexa::test::closeImages;
using vexa::test::plain::between;
using vexa::test::plain::Random;

constexpr float kGood = 0.85F;

struct Edges {
    VexaPoint x{0, 0}, y{0, 0};
    int32_t xSlope = 0, ySlope = 0;
};

Edges closestEdge(int32_t im, const VexaBox* given, int32_t minSlope)
{
    int32_t cols = 0, rows = 0;
    I_ImGetSize(&cols, &rows, nullptr, im);
    const VexaBox box = given && given->right > 0 ? *given : VexaBox{-1, -1, -1, -1};
    int32_t cx = (box.left + box.right) / 2, cy = (box.top + box.bottom) / 2;
    cx = std::min(box.right < 0 || cx < 0 ? cols / 2 : cx, cols - 1);
    cy = std::min(box.right < 0 || cy < 0 ? rows / 2 : cy, rows - 1);
    minSlope = minSlope < 2 ? 45 : minSlope;
    std::vector<int32_t> pixels;
    for (int32_t y = 0; y < rows; ++y)
        for (int32_t x = 0; x < cols; ++x)
            pixels.push_back(static_cast<int32_t>(vexa::test::pixel(im, x, y)));
    const auto at = [&](int32_t x, int32_t y) { return pixels[static_cast<std::size_t>(y * cols + x)]; };
    Edges e;
    for (int64_t radius = 30;; radius *= 3) {
        int64_t bestX = 0, bestY = 0;
        e.xSlope = e.ySlope = 0;
        const auto r = static_cast<int32_t>(radius);
        for (int32_t y = std::max(cy - r, 0) + 1; y <= std::min(cy + r, rows - 1) - 1; ++y) {
            for (int32_t x = std::max(cx - r, 0) + 1; x <= std::min(cx + r, cols - 1) - 1; ++x) {
                if (x >= box.left && x <= box.right && y >= box.top && y <= box.bottom)
                    continue;
                const int32_t gx = std::abs(at(x, y) - at(x + 1, y)), gy = std::abs(at(x, y) - at(x, y + 1));
                const int64_t w = 2 * radius - std::max(std::abs(x - cx), std::abs(y - cy));
                int64_t sx = gx * w, sy = gy * w;
                if (gx != 0) {
                    const int32_t a = std::abs(gx - gy) * 100 / (gx + gy);
                    sx = sx * a / 100;
                    sy = sy * a / 100;
                }
                if (sx > bestX) {
                    bestX = sx;
                    e.x = {x, y};
                    e.xSlope = gx;
                }
                if (sy > bestY) {
                    bestY = sy;
                    e.y = {x, y};
                    e.ySlope = gy;
                }
            }
        }
        if (std::min(e.xSlope, e.ySlope) >= minSlope || radius * 3 >= std::max(cols, rows))
            return e;
    }
}

// Edges, blocks, lines of one direction, slopes, noise, or nothing.
double sceneAt(int32_t kind, const std::array<int32_t, 6>& p, int32_t x, int32_t y)
{
    double v = 60;
    if (kind == 0)
        v += (x > p[0] ? 90 : 0) + (y > p[1] ? 70 : 0);
    else if (kind == 1)
        v += x > p[0] && x < p[0] + p[2] && y > p[1] && y < p[1] + p[3] ? 110 : 0;
    else if (kind == 2)
        v += (x + 600) % p[4] < p[4] / 2 ? 100 : 0;
    else if (kind == 3)
        v += 50 * std::sin(x / 9.0) + 40 * std::sin(y / 7.0 + x / 40.0);
    else if (kind == 4)
        v += (x > p[0] && y < p[1] ? 100 : 0) + (std::abs(x - p[1]) + std::abs(y - p[0]) < 12 ? 60 : 0);
    else if (kind == 5)
        v += (x * 7919 + y * 104729 + (x * y) % 97) % 61;
    return v;
}

struct Pair {
    int32_t imDef, imRef, cols, rows;

    Pair(Random& random, int32_t kind)
        : imDef(0), imRef(0), cols(between(random, 50, 220)), rows(between(random, 50, 160))
    {
        const std::array<int32_t, 6> p = {between(random, 10, cols), between(random, 10, rows),
                                          between(random, 8, 60),    between(random, 8, 60),
                                          between(random, 8, 50),    0};
        const int32_t sx = between(random, -5, 5), sy = between(random, -5, 5), grain = between(random, 0, 3);
        const auto value = [&](int32_t x, int32_t y) {
            return std::clamp(sceneAt(kind, p, x, y) + (kind < 6 ? between(random, -grain, grain) : 0), 0.0,
                              255.0);
        };
        imRef = byteImage(cols, rows, value);
        imDef = byteImage(cols, rows, [&](int32_t x, int32_t y) { return value(x + sx, y + sy); });
    }
    ~Pair() { closeImages({imDef, imRef}); }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;
};

TEST(IndependentSmartAlign, ClosestEdges)
{
    Random random(741);
    for (int32_t run = 0; run < 60; ++run) {
        const Pair p(random, between(random, 0, 6));
        const int32_t left = between(random, 0, p.cols / 2), top = between(random, 0, p.rows / 2);
        VexaBox box{left, top, left + between(random, 1, 30), top + between(random, 1, 30)};
        VexaBox* given = run % 2 ? &box : nullptr;
        const int32_t minSlope = between(random, 0, 120);
        const Edges expected = closestEdge(p.imRef, given, minSlope);
        Edges e;
        EXPECT_EQ(FindClosestEdge(p.imRef, given, minSlope, &e.x, &e.y, &e.xSlope, &e.ySlope),
                  std::min(expected.xSlope, expected.ySlope));
        EXPECT_EQ(e.xSlope, expected.xSlope);
        EXPECT_EQ(e.ySlope, expected.ySlope);
        EXPECT_TRUE(expected.xSlope == 0 || (e.x.x == expected.x.x && e.x.y == expected.x.y))
            << e.x.x << " " << e.x.y;
        EXPECT_TRUE(expected.ySlope == 0 || (e.y.x == expected.y.x && e.y.y == expected.y.y))
            << e.y.x << " " << e.y.y;
        ASSERT_FALSE(HasFailure()) << "run " << run << " " << p.cols << "x" << p.rows << " slope "
                                   << minSlope;
    }
}

struct Shift {
    float dx, dy, qualX = 0, qualY = 0;
    VexaBox box{-9, -9, -9, -9};
    int32_t stages = 0; // 1 both axes, 2 x, 4 y, 8 two dimensions
};

void alignBox(int32_t imDef, int32_t imRef, const VexaBox& b, int32_t xRange, int32_t yRange, Shift& s)
{
    I_ImageAlign1D(imDef, imRef, b.left, b.top, b.right - b.left + 1, b.bottom - b.top + 1, xRange, yRange,
                   &s.dx, &s.dy, &s.qualX, &s.qualY);
}

void searchBox(const Pair& p, const VexaBox& abox, int32_t maxShift, Shift& s)
{
    VexaBox pattern{std::max(abox.left - 8, 1), abox.top < 2 ? 1 : abox.top - 8,
                    std::min(abox.right + 8, p.cols - 2), std::min(abox.bottom + 8, p.rows - 2)};
    VexaBox search{std::max(pattern.left - maxShift, 0), std::max(pattern.top - maxShift, 0),
                   std::min(pattern.right + maxShift, p.cols - 1),
                   std::min(pattern.bottom + maxShift, p.rows - 1)};
    float x = s.dx, y = s.dy, q = 0; // what a failed search leaves
    s.box = pattern;
    I_WindowSearch(&pattern, p.imDef, &search, p.imRef, 2, &x, &y, &q, 1);
    s.stages += 8;
    if (q > 0.2F)
        s.qualX = s.qualY = q;
    s.dx = x;
    s.dy = y;
}

Shift smartAlign(const Pair& p, const VexaBox* given, int32_t maxShift, float dx, float dy)
{
    const int32_t side = std::max(20, 3 * maxShift);
    maxShift = std::max(maxShift, 1);
    const Edges e = closestEdge(p.imRef, given, 13);
    const int32_t apart = std::max(std::abs(e.x.x - e.y.x), std::abs(e.x.y - e.y.y));
    VexaBox xbox{std::max(e.x.x - side / 2, 0), std::max(e.x.y - side / 8, 0), 0, 0};
    xbox.right = std::min(xbox.left + side, p.cols - 1);
    xbox.bottom = std::min(xbox.top + side / 4, p.rows - 1);
    VexaBox ybox{std::max(e.y.x - side / 8, 0), std::max(e.y.y - side / 2, 0), 0, 0};
    ybox.right = std::min(ybox.left + side / 4, p.cols - 1);
    ybox.bottom = std::min(ybox.top + side, p.rows - 1);
    const VexaBox abox{std::min(xbox.left, ybox.left), std::min(xbox.top, ybox.top),
                       std::max(xbox.right, ybox.right), std::max(xbox.bottom, ybox.bottom)};
    Shift s{dx, dy, 0, 0, {-9, -9, -9, -9}, 0};
    if (apart <= side && std::min(e.xSlope, e.ySlope) >= 13) {
        s.stages += 1;
        s.box = abox;
        alignBox(p.imDef, p.imRef, abox, maxShift, maxShift, s);
        s.dx = s.qualX < kGood ? dx : s.dx;
        s.dy = s.qualY < kGood ? dy : s.dy;
    }
    if (s.qualX < kGood && e.xSlope >= 4) {
        s.stages += 2;
        Shift n = s;
        alignBox(p.imDef, p.imRef, xbox, maxShift, 0, n);
        if (n.qualX > s.qualX && n.qualX > kGood) {
            s.dx = n.dx;
            s.qualX = n.qualX;
            s.box = xbox;
        }
    }
    if (s.qualY < kGood && e.ySlope >= 4) {
        s.stages += 4;
        Shift n = s;
        alignBox(p.imDef, p.imRef, ybox, 0, maxShift, n);
        if (n.qualY > s.qualY && n.qualY > kGood) {
            s.dy = n.dy;
            s.qualY = n.qualY;
            s.box = ybox;
        }
    }
    if ((s.qualX < kGood && e.xSlope >= 4) || (s.qualY < kGood && e.ySlope >= 4))
        searchBox(p, abox, maxShift, s);
    return s;
}

TEST(IndependentSmartAlign, StepByStep)
{
    Random random(742);
    std::array<int32_t, 16> stages{};
    for (int32_t run = 0; run < 160; ++run) {
        const int32_t kind = run % 7;
        const Pair p(random, kind);
        const int32_t left = between(random, 0, p.cols / 2), top = between(random, 0, p.rows / 2);
        VexaBox box{left, top, left + between(random, 1, 30), top + between(random, 1, 30)};
        VexaBox* given = run % 4 == 3 ? &box : nullptr;
        const int32_t maxShift = between(random, 1, 14);
        const float dx = run % 3 ? 0 : static_cast<float>(between(random, -20, 20)) / 10,
                    dy = run % 3 ? 0 : 1.25F;
        const Shift expected = smartAlign(p, given, maxShift, dx, dy);
        I_SetError(0, "");
        Shift s{dx, dy, 9, 9, {-9, -9, -9, -9}, expected.stages};
        EXPECT_EQ(I_SmartAlign(p.imDef, p.imRef, given, &s.box, maxShift, &s.dx, &s.dy, &s.qualX, &s.qualY),
                  1);
        I_SetError(0, "");
        EXPECT_FLOAT_EQ(s.qualX, expected.qualX);
        EXPECT_FLOAT_EQ(s.qualY, expected.qualY);
        EXPECT_FLOAT_EQ(s.dx, expected.dx);
        EXPECT_FLOAT_EQ(s.dy, expected.dy);
        EXPECT_EQ(s.box.left, expected.box.left);
        EXPECT_EQ(s.box.top, expected.box.top);
        EXPECT_EQ(s.box.right, expected.box.right);
        EXPECT_EQ(s.box.bottom, expected.box.bottom);
        ASSERT_FALSE(HasFailure()) << "run " << run << " kind " << kind << " " << p.cols << "x" << p.rows
                                   << " shift " << maxShift << " stages " << expected.stages;
        ++stages[static_cast<std::size_t>(expected.stages)];
    }
    int32_t searched = 0, alone = 0;
    for (std::size_t i = 0; i < stages.size(); ++i) {
        searched += i & 8U ? stages[i] : 0;
        alone += i & 6U ? stages[i] : 0;
    }
    EXPECT_GT(stages[0], 5); // blank images
    EXPECT_GT(stages[1], 10);
    EXPECT_GT(alone, 10);
    EXPECT_GT(searched, 5);
}

} // namespace
