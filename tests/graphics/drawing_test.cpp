#include "vexalib/drawing.h"

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <vector>

#include "graphics/display_hooks.h"
#include "graphics/line_walker.h"
#include "support/buffer.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

inline bool operator==(const VexaPoint& a, const VexaPoint& b)
{
    return a.x == b.x && a.y == b.y;
}
inline std::ostream& operator<<(std::ostream& out, const VexaPoint& p)
{
    return out << p.x << "," << p.y;
}

namespace vexa::test
{
namespace
{

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using Points = std::vector<VexaPoint>;

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();
const int32_t kExtremes[] = {kLowest, kLowest + 1, -1, 0, 1, 3, kHighest - 1, kHighest};

std::vector<double> columnOf(int32_t im, int32_t x)
{
    int32_t rows = 0;
    I_ImGetSize(nullptr, &rows, nullptr, im);
    std::vector<double> column;
    for (int32_t y = 0; y < rows; ++y)
        column.push_back(pixel(im, x, y));
    return column;
}

Points lineCoords(int32_t im, VexaPoint a, VexaPoint b)
{
    Points out(100000, VexaPoint{-77, -77});
    const int32_t n = I_GetLineCoords(im, &a, &b, out.data());
    EXPECT_EQ((VexaPoint{-77, -77}), out[static_cast<std::size_t>(n)]) << "written behind the end";
    out.resize(static_cast<std::size_t>(n));
    return out;
}

// Where an image is not zero.
Points drawn(int32_t im)
{
    int32_t cols = 0, rows = 0;
    I_ImGetSize(&cols, &rows, nullptr, im);
    Points points;
    for (int32_t y = 0; y < rows; ++y)
        for (int32_t x = 0; x < cols; ++x)
            if (pixel(im, x, y) != 0)
                points.push_back({x, y});
    return points;
}

class Drawing : public testing::Test
{
protected:
    void SetUp() override
    {
        vexaSetDrawColor(252);
        clearError();
    }
    void TearDown() override
    {
        setRectangleHook(nullptr);
        setCursorHook(nullptr);
        vexaSetDrawColor(252);
    }
};
class LiteralDrawing : public Drawing
{
};
class AgainstReferenceDrawing : public Drawing
{
};
class BoundsDrawing : public Drawing
{
};
class FailuresDrawing : public Drawing
{
};

TEST_F(LiteralDrawing, GraphicsFrame)
{
    const int32_t a = byteImage(4, 4);
    const int32_t b = byteImage(4, 4);
    I_SetGraphicsFrame(a);
    EXPECT_EQ(a, I_SetGraphicsFrame(b));
    EXPECT_EQ(b, I_SetGraphicsFrame(-200)); // not open: the frame stays
    EXPECT_EQ(b, I_SetGraphicsFrame(0));
    EXPECT_EQ(b, I_SetGraphicsFrame(17));
    EXPECT_EQ(b, I_GetGraphicsFrame());
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    closeImages({b});
    EXPECT_EQ(0, I_GetGraphicsFrame());
    I_SetGraphicsFrame(0);
    EXPECT_EQ(0, I_SetGraphicsFrame(a));
    EXPECT_EQ(a, I_GetGraphicsFrame());
    EXPECT_EQ(252, vexaSetDrawColor(3));
    EXPECT_EQ(3, vexaSetDrawColor(252));
    closeImages({a});
}

TEST_F(LiteralDrawing, SinglePixels)
{
    const int32_t im = byteImage({{1, 2}, {3, 4}});
    I_SetGraphicsFrame(im);
    graphputpix(1, 0, 200);
    EXPECT_EQ(200, pixel(im, 1, 0));
    EXPECT_EQ(200, graphgetpix(1, 0));
    graphputpix(1, 0, -1);
    EXPECT_EQ(200 ^ 128, graphgetpix(1, 0));
    EXPECT_EQ(0, graphgetpix(5, 0));
    closeImages({im});
    EXPECT_EQ(0, graphputpix(0, 0, 1));
    EXPECT_EQ(0, graphgetpix(0, 0));
}

TEST_F(LiteralDrawing, StraightLinesAreMovedToTheEdge)
{
    const int32_t im = byteImage(6, 4);
    hline(4, -3, 2, im);
    EXPECT_THAT(rowOf(im, 0), ElementsAre(0, 0, 252, 252, 252, 0));
    hline(-9, 99, 1, im);
    EXPECT_THAT(rowOf(im, 3), ElementsAre(252, 252, 0, 0, 0, 0));
    hline(80, 1, 90, im);
    EXPECT_THAT(rowOf(im, 1), ElementsAre(0, 0, 0, 0, 0, 252));
    vexaSetDrawColor(7);
    vline(99, 2, 1, im);
    EXPECT_THAT(columnOf(im, 5), ElementsAre(0, 7, 7, 0));
    vline(-99, -5, 1, im);
    EXPECT_THAT(columnOf(im, 0), ElementsAre(7, 7, 0, 252));
    closeImages({im});
}

TEST_F(LiteralDrawing, NegativeDrawColorInverts)
{
    const int32_t im = byteImage(5, 4, [](int32_t x, int32_t y) { return 60 * y + x; });
    vexaSetDrawColor(-1);
    hline(1, 2, 3, im);
    EXPECT_THAT(rowOf(im, 2), ElementsAre(120, 249, 250, 251, 124));
    vline(0, 0, 1, im);
    EXPECT_THAT(columnOf(im, 0), ElementsAre(128, 188, 120, 180));
    hline(1, 2, 3, im);
    EXPECT_THAT(rowOf(im, 2), ElementsAre(120, 121, 122, 123, 124));
    closeImages({im});
}

TEST_F(LiteralDrawing, LinesOnOtherTypes)
{
    const int32_t floats = floatImage(4, 3);
    hline(1, 1, 2, floats);
    EXPECT_THAT(rowOf(floats, 1), ElementsAre(0.0, 252.0, 252.0, 0.0));
    const int32_t colors = image(4, 3, PIX_BGR24);
    vline(2, 0, 2, colors);
    const std::vector<uint8_t> bytes = bytesOf(colors);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        EXPECT_EQ(i / 3 % 4 == 2, bytes[i] != 0) << i;
    closeImages({floats, colors});
}

TEST_F(LiteralDrawing, I_DrawLineUsesItsColorOnSlopedLinesOnly)
{
    const int32_t im = byteImage(12, 12);
    EXPECT_EQ(0, I_DrawLine(im, 5, 5, 5, 5, 10));
    EXPECT_EQ((Points{{5, 5}}), drawn(im));
    EXPECT_EQ(252, pixel(im, 5, 5));
    EXPECT_EQ(2 - 8, I_DrawLine(im, 2, 0, 8, 0, 10));
    EXPECT_EQ(252, pixel(im, 8, 0));
    EXPECT_EQ(9 - 3, I_DrawLine(im, 0, 9, 0, 3, 10));
    EXPECT_EQ(252, pixel(im, 0, 3));
    EXPECT_EQ(3, I_DrawLine(im, 9, 9, 11, 10, 10));
    EXPECT_EQ(10, pixel(im, 9, 9));
    EXPECT_EQ(10, pixel(im, 10, 10)); // 9.5 rounds up
    EXPECT_EQ(10, pixel(im, 11, 10));
    EXPECT_EQ(10, lineColor());
    EXPECT_EQ(252, vexaSetDrawColor(252));
    EXPECT_EQ(0, I_DrawLine(im, 20, 20, 30, 31, 10));
    I_DrawLine(im, 9, 9, 11, 10, -1);
    EXPECT_EQ(10 ^ 128, pixel(im, 9, 9));
    closeImages({im});
}

TEST_F(LiteralDrawing, fdrawlineOnTheFrame)
{
    const int32_t im = byteImage(8, 6);
    I_SetGraphicsFrame(im);
    const VexaPointF start = {1.0F, 1.0F};
    const VexaPointF end = {5.0F, 3.0F};
    EXPECT_EQ(5, fdrawline(&end, &start, 9));
    EXPECT_EQ((Points{{1, 1}, {2, 2}, {3, 2}, {4, 3}, {5, 3}}), drawn(im));
    EXPECT_EQ(9, pixel(im, 1, 1));
    const VexaPointF level = {4.4F, 1.0F};
    EXPECT_EQ(4, fdrawline(&level, &start, 11)); // straight lines in the given colour too
    EXPECT_EQ(11, pixel(im, 4, 1));
    const VexaPointF same = {6.7F, 4.9F};
    EXPECT_EQ(1, fdrawline(&same, &same, 13));
    EXPECT_EQ(13, pixel(im, 6, 4));
    const VexaPointF below = {6.7F, 5.1F}; // the last row's coordinate is 5
    EXPECT_EQ(0, fdrawline(&below, &below, 13));
    EXPECT_EQ(0, fdrawline(nullptr, &start, 9));
    EXPECT_EQ(0, fdrawline(&end, nullptr, 9));
    closeImages({im});
    EXPECT_EQ(0, fdrawline(&end, &start, 9));
}

TEST_F(LiteralDrawing, I_GetLineCoordsVisitsBothEnds)
{
    EXPECT_EQ((Points{{0, 0}, {1, 0}, {2, 1}, {3, 1}, {4, 2}, {5, 2}}), lineCoords(0, {0, 0}, {5, 2}));
    EXPECT_EQ((Points{{5, 2}, {4, 2}, {3, 1}, {2, 1}, {1, 0}, {0, 0}}), lineCoords(0, {5, 2}, {0, 0}));
    EXPECT_EQ((Points{{1, 5}, {1, 4}, {1, 3}}), lineCoords(0, {1, 5}, {1, 3}));
    EXPECT_EQ((Points{{4, 4}}), lineCoords(0, {4, 4}, {4, 4}));
    EXPECT_EQ((Points{{-2, -3}, {-3, -4}, {-3, -5}, {-4, -6}}), lineCoords(0, {-2, -3}, {-4, -6}));
    const int32_t im = byteImage(4, 4);
    EXPECT_EQ((Points{{0, 0}, {1, 1}, {2, 2}, {3, 3}}), lineCoords(im, {-5, -5}, {50, 50}));
    EXPECT_TRUE(lineCoords(im, {5, 5}, {9, 6}).empty());
    const VexaPoint p = {};
    VexaPoint out = {};
    EXPECT_EQ(0, I_GetLineCoords(0, nullptr, &p, &out));
    EXPECT_EQ(0, I_GetLineCoords(0, &p, nullptr, &out));
    EXPECT_EQ(0, I_GetLineCoords(0, &p, &p, nullptr));
    EXPECT_EQ(0, I_GetLineCoords(-200, &p, &p, &out));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    closeImages({im});
}

TEST_F(LiteralDrawing, WalkerGivesTheFractionAcrossTheLine)
{
    std::vector<std::pair<float, float>> exact;
    const auto keep = [&](int32_t, int32_t, float x, float y) { exact.emplace_back(x, y); };
    EXPECT_EQ(3, walkLine(0, {0.0, 0.0}, {2.0, 1.0}, keep));
    EXPECT_THAT(exact, ElementsAre(std::pair(0.0F, 0.5F), std::pair(1.0F, 1.0F), std::pair(2.0F, 1.5F)));
    exact.clear();
    EXPECT_EQ(1, walkLine(0, {1.25, 7.75}, {1.25, 7.75}, keep));
    EXPECT_THAT(exact, ElementsAre(std::pair(1.25F, 7.75F)));
    exact.clear();
    // From trunc(1.75) to the pixel nearest to 3.5; rises from 0.25 by 0.5 / 1.75 per step, in units of 1/2048.
    EXPECT_EQ(4, walkLine(0, {1.75, 0.25}, {3.5, 0.75}, keep));
    EXPECT_EQ(1.0F, exact[0].first);
    EXPECT_EQ(0.75F, exact[0].second);
    EXPECT_EQ(0.75F + 585.0F / 2048.0F, exact[1].second);
    EXPECT_EQ(4.0F, exact[3].first);
}

TEST_F(LiteralDrawing, I_DrawRectDrawsTheFourSides)
{
    const int32_t im = byteImage(7, 6);
    I_SetGraphicsFrame(im);
    EXPECT_EQ(1, I_DrawRect(1, 2, 4, 4, 9));
    EXPECT_EQ((Points{{1, 2}, {2, 2}, {3, 2}, {4, 2}, {1, 3}, {4, 3}, {1, 4}, {2, 4}, {3, 4}, {4, 4}}),
              drawn(im));
    EXPECT_EQ(9, pixel(im, 1, 3));
    EXPECT_EQ(0, I_DrawRect1(1, 2, 4, 4, 9, -200));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    closeImages({im});
    EXPECT_EQ(0, I_DrawRect(1, 2, 4, 4, 9));
}

// The rules for sides outside are the same for the direct way (bytes) and the way over lines (all else).
TEST_F(LiteralDrawing, SidesOutsideAreNotDrawn)
{
    for (const int32_t type : {PIX_BYTE, PIX_FLOAT}) {
        const auto sides = [type](int32_t left, int32_t top, int32_t right, int32_t bottom) {
            const int32_t im = image(5, 5, type);
            EXPECT_EQ(1, I_DrawRect1(left, top, right, bottom, 9, im));
            const Points points = drawn(im);
            I_ImClose(im);
            return points;
        };
        EXPECT_EQ((Points{{1, 1}, {2, 1}, {3, 1}, {4, 1}, {1, 2}, {1, 3}, {2, 3}, {3, 3}, {4, 3}}),
                  sides(1, 1, 5, 3)); // no right side
        EXPECT_EQ((Points{{0, 1}, {1, 1}, {2, 1}, {3, 1}, {3, 2}, {0, 3}, {1, 3}, {2, 3}, {3, 3}}),
                  sides(-1, 1, 3, 3));
        EXPECT_EQ((Points{{1, 0}, {3, 0}, {1, 1}, {2, 1}, {3, 1}}), sides(1, -1, 3, 1));
        EXPECT_EQ((Points{{1, 3}, {2, 3}, {3, 3}, {1, 4}, {3, 4}}), sides(1, 3, 3, 5));
        EXPECT_TRUE(sides(-1, -1, 5, 5).empty());
        EXPECT_EQ((Points{{1, 1}, {2, 1}, {1, 2}, {2, 2}}), sides(2, 2, 1, 1));
    }
    EXPECT_EQ(252, vexaSetDrawColor(252));
}

TEST_F(LiteralDrawing, InvertedRectTwiceIsNothing)
{
    const int32_t im = noiseImage(9, 9, 1);
    const std::vector<uint8_t> before = bytesOf(im);
    EXPECT_EQ(1, I_DrawRect1(2, 2, 7, 7, -1, im));
    EXPECT_NE(before, bytesOf(im));
    EXPECT_EQ(static_cast<uint8_t>(before[2 * 9 + 2]), pixel(im, 2, 2)); // the corner was inverted twice
    EXPECT_EQ(static_cast<uint8_t>(before[2 * 9 + 3] ^ 128), pixel(im, 3, 2));
    EXPECT_EQ(1, I_DrawRect1(2, 2, 7, 7, -1, im));
    EXPECT_EQ(before, bytesOf(im));
    closeImages({im});
}

TEST_F(LiteralDrawing, RectangleHookTakesOver)
{
    static std::vector<int32_t> seen;
    static int32_t answer;
    seen.clear();
    answer = 1;
    const int32_t im = byteImage(5, 5);
    EXPECT_EQ(nullptr,
              setRectangleHook([](int32_t l, int32_t t, int32_t r, int32_t b, int32_t color, int32_t image) {
                  seen = {l, t, r, b, color, image};
                  return answer;
              }));
    EXPECT_EQ(1, I_DrawRect1(-1, 1, 9, 3, 9, im));
    EXPECT_THAT(seen, ElementsAre(0, 1, 4, 3, 9, im));
    EXPECT_TRUE(drawn(im).empty());
    answer = 0;
    EXPECT_EQ(1, I_DrawRect1(1, 1, 3, 3, 9, im));
    EXPECT_EQ(8U, drawn(im).size());
    EXPECT_NE(nullptr, setRectangleHook(nullptr));
    closeImages({im});
}

TEST_F(LiteralDrawing, limitboxCutsAStretch)
{
    const struct {
        int32_t center, length, size, start, kept;
    } cases[] = {
        {50, 21, 100, 40, 21}, {5, 21, 100, 0, 16},  {95, 21, 100, 85, 15},  {0, 1, 100, 0, 1},
        {-20, 21, 100, 0, 0},  {-10, 21, 100, 0, 1}, {120, 21, 100, 99, 1},  {50, 0, 100, 50, 0},
        {50, -5, 100, 52, 0},  {5, 4, 100, 3, 4},    {50, 500, 100, 0, 100},
    };
    for (const auto& c : cases) {
        int32_t start = -1, kept = -1;
        EXPECT_EQ(c.kept, limitbox(c.center, c.length, c.size, &start, &kept)) << c.center << " " << c.length;
        EXPECT_EQ(c.start, start) << c.center << " " << c.length;
        EXPECT_EQ(c.kept, kept);
    }
    EXPECT_EQ(21, limitbox(50, 21, 100, nullptr, nullptr));
}

TEST_F(LiteralDrawing, CursorUpAndDown)
{
    const int32_t im = noiseImage(20, 15, 2);
    const std::vector<uint8_t> before = bytesOf(im);
    I_SetGraphicsFrame(im);
    void* block = I_CursorUp(10, 7, 5, 3, 252);
    ASSERT_NE(nullptr, block);
    int32_t head[8];
    std::memcpy(head, block, sizeof head);
    EXPECT_THAT(head, ElementsAre(5, 3, 10, 7, 8, 6, 1, im));
    const auto* saved = static_cast<uint8_t*>(block) + 32;
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_EQ(before[7 * 20 + 8 + i], saved[i]);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(before[(6 + i) * 20 + 10], saved[5 + i]);
    for (int32_t y = 0; y < 15; ++y)
        for (int32_t x = 0; x < 20; ++x) {
            const bool inCross = (y == 7 && x >= 8 && x <= 12) || (x == 10 && y >= 6 && y <= 8);
            EXPECT_EQ(inCross ? 252 : before[static_cast<std::size_t>(y * 20 + x)], pixel(im, x, y));
        }
    const int32_t other = byteImage(3, 3);
    I_SetGraphicsFrame(other);
    I_CursorDown(block);
    EXPECT_EQ(im, I_GetGraphicsFrame());
    EXPECT_EQ(before, bytesOf(im));
    I_CursorDown(nullptr);
    closeImages({im, other});
}

TEST_F(LiteralDrawing, CursorAtTheBorder)
{
    const int32_t im = byteImage(10, 10);
    I_SetGraphicsFrame(im);
    void* block = I_CursorUp(0, 9, 5, 5, 252);
    EXPECT_EQ((Points{{0, 7}, {0, 8}, {0, 9}, {1, 9}, {2, 9}}), drawn(im));
    I_CursorDown(block);
    EXPECT_TRUE(drawn(im).empty());
    block = I_CursorUp(5, -2, 5, 7, 252); // no horizontal stroke; the vertical one reaches down to row 1
    EXPECT_EQ((Points{{5, 0}, {5, 1}}), drawn(im));
    I_CursorDown(block);
    EXPECT_TRUE(drawn(im).empty());
    EXPECT_EQ(nullptr, I_CursorUp(-20, -20, 5, 5, 252));
    EXPECT_EQ(nullptr, I_CursorUp(5, 5, 0, 0, 252));
    closeImages({im});
    EXPECT_EQ(nullptr, I_CursorUp(5, 5, 5, 5, 252));
}

TEST_F(LiteralDrawing, CursorOnWidePixels)
{
    const int32_t im = floatImage(10, 10, [](int32_t x, int32_t y) { return 0.5 * x + y; });
    const std::vector<uint8_t> before = bytesOf(im);
    I_SetGraphicsFrame(im);
    void* block = I_CursorUp(5, 5, 3, 3, 7);
    EXPECT_EQ(7, bytesOf(im)[static_cast<std::size_t>(4 * (5 * 10 + 4))]);
    I_CursorDown(block);
    EXPECT_EQ(before, bytesOf(im));
    closeImages({im});
}

TEST_F(LiteralDrawing, I_DrawCursorStays)
{
    const int32_t im = byteImage(10, 10);
    I_SetGraphicsFrame(im);
    EXPECT_EQ(1, I_DrawCursor(5, 5, 3, 3, 7));
    EXPECT_EQ((Points{{5, 4}, {4, 5}, {5, 5}, {6, 5}, {5, 6}}), drawn(im));
    EXPECT_EQ(0, I_DrawCursor(-20, -20, 3, 3, 7));
    closeImages({im});
}

TEST_F(LiteralDrawing, CursorHookTakesOver)
{
    static std::vector<int32_t> seen;
    static int32_t answer;
    seen.clear();
    answer = 1;
    setCursorHook([](const CursorSave* save, int32_t color, int32_t up) {
        seen.insert(seen.end(), {save->x, save->y, color, up});
        return answer;
    });
    const int32_t im = byteImage(10, 10);
    I_SetGraphicsFrame(im);
    void* block = I_CursorUp(5, 6, 3, 3, 7);
    EXPECT_NE(nullptr, block);
    EXPECT_TRUE(drawn(im).empty());
    I_CursorDown(block);
    EXPECT_THAT(seen, ElementsAre(5, 6, 7, 1, 5, 6, 0, 0));
    answer = 0;
    block = I_CursorUp(5, 6, 3, 3, 7);
    EXPECT_EQ(5U, drawn(im).size());
    I_CursorDown(block);
    EXPECT_TRUE(drawn(im).empty());
    closeImages({im});
}

TEST_F(LiteralDrawing, I_ClipLineLimitsALine)
{
    const VexaPoint lo = {0, 0};
    const VexaPoint hi = {10, 20};
    const auto clip = [&](VexaPointF a, VexaPointF b) {
        const int32_t left = I_ClipLine(&lo, &hi, &a, &b);
        return std::vector<float>{static_cast<float>(left), a.x, a.y, b.x, b.y};
    };
    EXPECT_THAT(clip({0, 0}, {10, 20}), ElementsAre(1, 0, 0, 10, 20));
    EXPECT_THAT(clip({2.5F, 3.5F}, {7.25F, 1.0F}), ElementsAre(1, 2.5F, 3.5F, 7.25F, 1.0F));
    EXPECT_THAT(clip({-5, 5}, {15, 5}), ElementsAre(1, 0, 5, 10, 5));
    EXPECT_THAT(clip({-10, -10}, {30, 30}), ElementsAre(1, 0, 0, 10, 10));
    EXPECT_THAT(clip({5, 30}, {5, -10}), ElementsAre(1, 5, 20, 5, 0));
    EXPECT_THAT(clip({5, 5}, {5, 40}), ElementsAre(1, 5, 5, 5, 20));
    EXPECT_THAT(clip({20, 30}, {30, 30}), ElementsAre(0, 10, 20, 10, 20));
    EXPECT_THAT(clip({-1, 5}, {-1, 9}), ElementsAre(0, 0, 5, 0, 9));
    EXPECT_THAT(clip({-4, 18}, {4, 26}), ElementsAre(0, 0, 18, 4, 20)); // passes the corner outside
    VexaPointF p = {};
    EXPECT_EQ(0, I_ClipLine(nullptr, &hi, &p, &p));
    EXPECT_EQ(0, I_ClipLine(&lo, nullptr, &p, &p));
    EXPECT_EQ(0, I_ClipLine(&lo, &hi, nullptr, &p));
    EXPECT_EQ(0, I_ClipLine(&lo, &hi, &p, nullptr));
}

TEST_F(LiteralDrawing, I_ClipLineIntRounds)
{
    const VexaPoint lo = {0, 0};
    const VexaPoint hi = {10, 10};
    VexaPoint a = {-1, 0};
    VexaPoint b = {2, 2};
    EXPECT_EQ(1, I_ClipLineInt(&lo, &hi, &a, &b));
    EXPECT_EQ((VexaPoint{0, 1}), a); // 0.667
    EXPECT_EQ((VexaPoint{2, 2}), b);
    a = {-2, 1};
    b = {2, 2};
    EXPECT_EQ(1, I_ClipLineInt(&lo, &hi, &a, &b));
    EXPECT_EQ((VexaPoint{0, 2}), a); // 1.5 rounds up
    a = {20, 3};
    b = {30, 4};
    EXPECT_EQ(0, I_ClipLineInt(&lo, &hi, &a, &b));
    EXPECT_EQ((VexaPoint{10, 3}), a);
    EXPECT_EQ((VexaPoint{10, 4}), b);
    EXPECT_EQ(0, I_ClipLineInt(&lo, &hi, nullptr, &b));
    EXPECT_EQ(0, I_ClipLineInt(nullptr, &hi, &a, &b));
}

TEST_F(LiteralDrawing, drawgammacalBands)
{
    const int32_t im = byteImage(129, 200);
    I_SetGraphicsFrame(im);
    drawgammacal(0, 0, 128, 199);
    for (const int32_t y : {0, 19, 30, 49, 60, 79})
        EXPECT_EQ(y < 80 ? 128 - 40 : 0, pixel(im, 40, y)) << y;
    EXPECT_EQ(128, pixel(im, 0, 0));
    EXPECT_EQ(0, pixel(im, 128, 0));
    EXPECT_EQ(2 * 88, pixel(im, 40, 25)); // stripes of columns
    EXPECT_EQ(0, pixel(im, 41, 25));
    EXPECT_EQ(255, pixel(im, 0, 25));         // 2 * 128
    EXPECT_EQ(88 * 3 / 2, pixel(im, 40, 50)); // stripes of rows
    EXPECT_EQ(0, pixel(im, 40, 51));
    EXPECT_EQ(2 * 88, pixel(im, 40, 52));
    EXPECT_EQ(88 / 2, pixel(im, 40, 59));
    EXPECT_EQ(255 - 2 * 88, pixel(im, 40, 85)); // inverted from row 80 to row 139
    EXPECT_EQ(255 - 88, pixel(im, 40, 139));
    EXPECT_EQ(88, pixel(im, 40, 150 + 10));
    closeImages({im});
}

TEST_F(LiteralDrawing, drawgrayrampBars)
{
    const int32_t im = byteImage(100, 20);
    I_SetGraphicsFrame(im);
    drawgrayramp(0, 0, 99, 19, 0.0, 1.0, 5, 77, 6, 2, "mm");
    EXPECT_THAT(rowOf(im, 0), Each(77));
    EXPECT_THAT(columnOf(im, 99), Each(77));
    EXPECT_EQ(0, pixel(im, 19, 10));
    EXPECT_EQ(63, pixel(im, 20, 10));
    EXPECT_EQ(127, pixel(im, 59, 10));
    EXPECT_EQ(255, pixel(im, 98, 10));
    closeImages({im});
}

// A line by its description: integer ends, one pixel per step.
Points referenceLine(VexaPoint a, VexaPoint b)
{
    const int64_t dx = int64_t{b.x} - a.x;
    const int64_t dy = int64_t{b.y} - a.y;
    const int64_t length = std::max(std::abs(dx), std::abs(dy));
    const bool alongX = std::abs(dx) >= std::abs(dy);
    const int64_t slope = length == 0 ? 0 : (alongX ? dy : dx) * 2048 / length;
    int64_t minor = int64_t{alongX ? a.y : a.x} * 2048 + 1024;
    Points points;
    for (int64_t k = 0; k <= length; ++k, minor += slope) {
        const auto major = static_cast<int32_t>((alongX ? a.x : a.y) + ((alongX ? dx : dy) < 0 ? -k : k));
        const auto across = static_cast<int32_t>(minor >> 11);
        points.push_back(alongX ? VexaPoint{major, across} : VexaPoint{across, major});
    }
    return points;
}

TEST_F(AgainstReferenceDrawing, LinesBetweenIntegers)
{
    std::mt19937 random(1);
    for (int32_t round = 0; round < 3000; ++round) {
        const uint32_t reach = round % 10 == 0 ? 20000 : 60;
        const auto some = [&] {
            return static_cast<int32_t>(random() % reach) - static_cast<int32_t>(reach / 3);
        };
        const VexaPoint a = {some(), some()};
        const VexaPoint b = {some(), some()};
        ASSERT_EQ(referenceLine(a, b), lineCoords(0, a, b)) << a << " to " << b;
    }
}

TEST_F(AgainstReferenceDrawing, LineStepsCanBeHadFromAnywhere)
{
    std::mt19937 random(2);
    for (int32_t round = 0; round < 500; ++round) {
        const auto some = [&] { return static_cast<int32_t>(random() % 200) - 100; };
        const LineSteps line(some(), some(), some(), some());
        const int32_t low = some();
        const int32_t high = low + static_cast<int32_t>(random() % 50);
        const LineSteps::Range range = line.stepsWithinRows(low, high);
        for (int64_t k = 0; k < line.count(); ++k) {
            ASSERT_EQ(line.y(k) >= low && line.y(k) <= high, k >= range.first && k < range.last);
            const int64_t last = line.lastStepOnRow(k);
            ASSERT_EQ(line.y(k), line.y(last));
            ASSERT_TRUE(last + 1 == line.count() || line.y(k) != line.y(last + 1));
        }
    }
}

TEST_F(AgainstReferenceDrawing, ClippedLinesAreThePartInTheBox)
{
    std::mt19937 random(3);
    const VexaPoint lo = {10, 20};
    const VexaPoint hi = {60, 50};
    for (int32_t round = 0; round < 1000; ++round) {
        const auto some = [&] { return static_cast<float>(random() % 1000) / 10.0F - 10.0F; };
        VexaPointF a = {some(), some()};
        VexaPointF b = {some(), some()};
        const double ax = a.x, ay = a.y, dx = b.x - a.x, dy = b.y - a.y;
        double first = 2.0, last = -1.0;
        for (int32_t k = 0; k <= 4000; ++k) {
            const double t = k / 4000.0;
            const double x = ax + t * dx, y = ay + t * dy;
            if (x >= lo.x && x <= hi.x && y >= lo.y && y <= hi.y) {
                first = std::min(first, t);
                last = t;
            }
        }
        const int32_t left = I_ClipLine(&lo, &hi, &a, &b);
        if (last < 0.0)
            continue; // a corner may be cut between two samples
        ASSERT_EQ(1, left);
        ASSERT_NEAR(ax + first * dx, a.x, 0.1);
        ASSERT_NEAR(ay + first * dy, a.y, 0.1);
        ASSERT_NEAR(ax + last * dx, b.x, 0.1);
        ASSERT_NEAR(ay + last * dy, b.y, 0.1);
    }
}

TEST_F(BoundsDrawing, ExtremeCoordinates)
{
    const int32_t im = byteImage(6, 5);
    const int32_t floats = floatImage(6, 5);
    I_SetGraphicsFrame(im);
    for (const int32_t a : kExtremes)
        for (const int32_t b : kExtremes)
            for (const int32_t c : kExtremes) {
                hline(a, b, c, im);
                vline(a, b, c, im);
                I_DrawRect1(a, b, c, a, 9, im);
                I_DrawRect1(a, b, c, a, -1, floats);
                I_DrawLine(im, a, b, c, 2, 9);
                I_CursorDown(I_CursorUp(a, b, c, a, 9));
                graphputpix(a, b, c);
                graphgetpix(a, b);
                limitbox(a, b, c, nullptr, nullptr);
                drawgammacal(a, b, c, a);
                drawgrayramp(a, b, c, a, 0.0, 1.0, a, b, c, a, nullptr);
                VexaPoint p1 = {a, b}, p2 = {c, a};
                const VexaPoint lo = {0, 0}, hi = {5, 4};
                I_ClipLineInt(&lo, &hi, &p1, &p2);
                EXPECT_TRUE(p1.x >= 0 && p1.x <= 5 && p2.y >= 0 && p2.y <= 4);
                EXPECT_LE(lineCoords(im, {a, b}, {c, a}).size(), 6U);
            }
    closeImages({im, floats});
}

TEST_F(BoundsDrawing, FloatsThatAreNoCoordinates)
{
    const int32_t im = byteImage(6, 5);
    I_SetGraphicsFrame(im);
    const float values[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity(), 1e38F, 2.5F};
    const VexaPoint lo = {0, 0}, hi = {5, 4};
    for (const float a : values)
        for (const float b : values)
            for (const float c : values) {
                VexaPointF p1 = {a, b}, p2 = {c, a};
                EXPECT_LE(fdrawline(&p1, &p2, 9), 6);
                I_ClipLine(&lo, &hi, &p1, &p2);
            }
    closeImages({im});
}

TEST_F(BoundsDrawing, DrawingStaysInsideASubimage)
{
    const int32_t im = byteImage(20, 20);
    const int32_t part = I_ImOpenSubimage(5, 6, 4, 3, im);
    hline(-5, -5, 50, part);
    vline(50, -5, 50, part);
    I_DrawRect1(0, 0, 3, 2, 9, part);
    I_DrawLine(part, -10, -9, 20, 22, 9);
    I_SetGraphicsFrame(part);
    I_DrawCursor(2, 1, 100, 100, 9);
    for (const VexaPoint& p : drawn(im))
        EXPECT_TRUE(p.x >= 5 && p.x < 9 && p.y >= 6 && p.y < 9) << p;
    closeImages({part, im});
}

TEST_F(BoundsDrawing, CursorOfAnImageThatIsGone)
{
    const int32_t im = byteImage(20, 20);
    I_SetGraphicsFrame(im);
    void* block = I_CursorUp(10, 10, 9, 9, 252);
    closeImages({im});
    I_CursorDown(block);
    const int32_t again = byteImage(20, 20);
    I_SetGraphicsFrame(again);
    block = I_CursorUp(10, 10, 9, 9, 252);
    ASSERT_EQ(again, I_ImResize(3, 3, PIX_DFLOAT, again));
    I_CursorDown(block);
    EXPECT_THAT(bytesOf(again), Each(0));
    closeImages({again});
}

TEST_F(FailuresDrawing, NoMemoryDrawsNothing)
{
    const int32_t im = floatImage(9, 7);
    I_SetGraphicsFrame(im);
    const auto expectTag = [&](const std::string& tag) {
        return [&im, tag](int64_t) {
            EXPECT_THAT(errorText(), HasSubstr(tag));
            EXPECT_EQ(2, I_GetError(nullptr, 0));
            EXPECT_TRUE(drawn(im).empty());
        };
    };
    failAllocation(1, true);
    hline(1, 2, 4, im);
    expectTag("hline(4 cols, 4 bytes, im " + std::to_string(im) + ")")(0);
    vline(1, 2, 4, im);
    expectTag("vline(3 cols, 4 bytes im " + std::to_string(im) + ")")(0);
    EXPECT_EQ(nullptr, I_CursorUp(4, 4, 3, 3, 9));
    expectTag("I_CursorUp")(0);
    EXPECT_EQ(0, I_DrawCursor(4, 4, 3, 3, 9));
    expectTag("I_CursorUp")(0);
    drawgammacal(0, 0, 8, 6);
    expectTag("drawgammacal")(0);
    failAllocation(2, false); // the line that the strokes are drawn with
    EXPECT_EQ(nullptr, I_CursorUp(4, 4, 3, 3, 9));
    failAllocation(0, false);
    expectTag("I_CursorUp")(0);
    closeImages({im});
}

TEST_F(FailuresDrawing, ImageThatIsNotOpen)
{
    const int32_t im = byteImage(2, 2); // without any image there is no table to look into
    hline(0, 0, 3, -200);
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    vline(0, 0, 3, 5);
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_DrawLine(-200, 0, 0, 3, 2, 9));
    EXPECT_EQ(0, I_DrawLine(0, 0, 0, 3, 2, 9));
    EXPECT_EQ(-3, I_DrawLine(-200, 0, 0, 3, 0, 9));
    closeImages({im});
}

} // namespace
} // namespace vexa::test
