#include "vexalib/roi_store.h"

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "core/display_state.h"
#include "core/roi.h"
#include "core/roi_slots.h"
#include "core/roi_state.h"
#include "support/buffer.h"
#include "tests/core/roi_lists.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

namespace vexa::test
{
namespace
{

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using Pixels = std::set<std::pair<int32_t, int32_t>>;

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

// The region as pixels of an image.
Pixels pixelsOf(int32_t im)
{
    Pixels pixels;
    int32_t x = 0, y = 0, width = 0;
    for (int32_t first = 1; I_GetNextLine(&x, &y, &width, im, &first) != 0;)
        for (int32_t i = 0; i < width; ++i)
            pixels.emplace(x + i, y);
    return pixels;
}

class RoiStore : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(ensureScanList());
        while (I_PopROI() > 0) {
        }
        for (int32_t i = 0; i < kRoiSlots; ++i)
            roiSlot(i).type = roiSlot(i).count = 0;
        I_SetWindowROI(50, 50, 500, 430);
        I_SetROIType(0);
        clearError();
    }
    void TearDown() override { I_SetROIType(0); }
};
class LiteralRoiStore : public RoiStore
{
};
class AgainstReferenceRoiStore : public RoiStore
{
};
class BoundsRoiStore : public RoiStore
{
};
class FailuresRoiStore : public RoiStore
{
};

TEST_F(LiteralRoiStore, FullFrameLeavesWindowAndPolygon)
{
    EXPECT_EQ(1, I_SaveROI(3));
    setPolygon({{1, 1}, {5, 1}, {5, 5}});
    I_SetWindowROI(1, 2, 3, 4);
    EXPECT_EQ(1, I_RecallROI(3));
    EXPECT_EQ(0, I_GetROIType());
    EXPECT_THAT(window(), ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(3, I_GetPolygonROI(nullptr, 0));
}

TEST_F(LiteralRoiStore, EachTypeComesBack)
{
    I_SetWindowROI(1, 2, -3, 0);
    I_SaveROI(0);
    setPolygon({{1, 1}, {5, 1}, {5, 5}});
    I_SaveROI(1);
    const Points runs = {{1, 1}, {2, 1}};
    I_SetScanlistROI(runs.data(), 2);
    I_SaveROI(2);
    I_SetWindowROI(9, 9, 9, 9);
    const Points other = {{7, 7}};
    setPolygon(other);
    I_SetScanlistROI(nullptr, 0);

    EXPECT_EQ(1, I_RecallROI(0));
    EXPECT_EQ(1, I_GetROIType());
    EXPECT_THAT(window(), ElementsAre(1, 2, -3, 0));
    EXPECT_EQ(1, I_RecallROI(1));
    EXPECT_EQ(2, I_GetROIType());
    Points polygon(3);
    EXPECT_EQ(3, I_GetPolygonROI(polygon.data(), 3));
    EXPECT_EQ((Points{{1, 1}, {5, 1}, {5, 5}}), polygon);
    EXPECT_EQ(1, I_RecallROI(2));
    EXPECT_EQ(3, I_GetROIType());
    EXPECT_EQ(runs, scanlist(0));
    EXPECT_EQ(1, I_RecallROI(15)); // never set
    EXPECT_EQ(0, I_GetROIType());
}

TEST_F(LiteralRoiStore, EmptyListComesBackEmpty)
{
    I_SetScanlistROI(nullptr, 0);
    I_SaveROI(4);
    const Points runs = {{1, 1}, {2, 1}};
    I_SetScanlistROI(runs.data(), 2);
    I_RecallROI(4);
    EXPECT_EQ(3, I_GetROIType());
    EXPECT_TRUE(scanlist(0).empty());
}

TEST_F(LiteralRoiStore, getroidataByType)
{
    int32_t type = -1, count = -1;
    EXPECT_EQ(nullptr, getroidata(&type, &count));
    EXPECT_EQ(0, type);
    EXPECT_EQ(0, count);
    I_SetWindowROI(1, 2, 3, 4);
    const VexaPoint* corners = getroidata(&type, &count);
    EXPECT_EQ(1, type);
    EXPECT_EQ(2, count);
    EXPECT_EQ((VexaPoint{1, 2}), corners[0]);
    EXPECT_EQ((VexaPoint{3, 4}), corners[1]);
    setPolygon({{1, 1}, {5, 1}, {5, 5}});
    EXPECT_EQ((VexaPoint{5, 5}), getroidata(&type, &count)[2]);
    EXPECT_EQ(2, type);
    EXPECT_EQ(3, count);
    I_SetScanlistROI(nullptr, 0);
    getroidata(&type, &count);
    EXPECT_EQ(3, type);
    EXPECT_EQ(0, count);
    getroidata(nullptr, nullptr);
}

TEST_F(LiteralRoiStore, setroidataGivesThePreviousType)
{
    const Points corners = {{-5, 7}, {3, 2}};
    EXPECT_EQ(0, setroidata(1, 2, corners.data()));
    EXPECT_THAT(window(), ElementsAre(-5, 7, 3, 2));
    EXPECT_EQ(1, setroidata(2, 2, corners.data()));
    EXPECT_EQ(2, I_GetPolygonROI(nullptr, 0));
    EXPECT_EQ(2, setroidata(3, 0, corners.data()));
    EXPECT_EQ(3, setroidata(0, 0, nullptr));
    EXPECT_EQ(0, setroidata(4, 2, corners.data()));
    EXPECT_EQ(12, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_GetROIType());
}

TEST_F(LiteralRoiStore, StackOfSeventeenLevels)
{
    for (int32_t level = 1; level <= 17; ++level) {
        I_SetWindowROI(level, level, 100, 100);
        EXPECT_EQ(level, I_PushROI());
    }
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    I_SetWindowROI(18, 18, 100, 100);
    EXPECT_EQ(17, I_PushROI());
    EXPECT_THAT(errorText(), HasSubstr("PushROI overflow. Index=17"));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ(16, I_PopROI());
    EXPECT_THAT(window(), ElementsAre(18, 18, 100, 100));
    for (int32_t level = 16; level >= 1; --level) {
        EXPECT_EQ(level - 1, I_PopROI());
        EXPECT_THAT(window(), ElementsAre(level, level, 100, 100));
    }
}

TEST_F(LiteralRoiStore, EmptyStackGivesSlot17)
{
    I_SetWindowROI(1, 2, 3, 4);
    I_SaveROI(17);
    I_SetROIType(0);
    EXPECT_EQ(0, I_PopROI());
    EXPECT_EQ(1, I_GetROIType());
    EXPECT_THAT(window(), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(errorText(), HasSubstr("PopROI underflow. Index=0"));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
}

TEST_F(LiteralRoiStore, I_PushWindowROISetsAWindowOrFullFrame)
{
    EXPECT_EQ(1, I_PushWindowROI(1, 2, 3, 4));
    EXPECT_EQ(1, I_GetROIType());
    EXPECT_THAT(window(), ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(2, I_PushWindowROI(0, 0, 0, 0));
    EXPECT_EQ(0, I_GetROIType());
    EXPECT_EQ(3, I_PushWindowROI(0, 0, -1, 0));
    EXPECT_EQ(1, I_GetROIType());
    EXPECT_EQ(2, I_PopROI());
    EXPECT_EQ(0, I_GetROIType());
    EXPECT_EQ(1, I_PopROI());
    EXPECT_THAT(window(), ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(0, I_PopROI());
    EXPECT_EQ(0, I_GetROIType());
}

TEST_F(LiteralRoiStore, GuardsRestore)
{
    I_SetWindowROI(1, 2, 3, 4);
    {
        const RoiGuard guard;
        I_SetWindowROI(5, 6, 7, 8);
    }
    EXPECT_THAT(window(), ElementsAre(1, 2, 3, 4));
    {
        const RoiTypeGuard guard(0);
        EXPECT_EQ(0, I_GetROIType());
    }
    EXPECT_EQ(1, I_GetROIType());
}

TEST_F(LiteralRoiStore, RegionWithItselfIsEmpty)
{
    const int32_t im = byteImage(20, 20);
    setPolygon({{2, 2}, {12, 12}, {18, 2}, {18, 18}, {2, 18}});
    I_SaveROI(0);
    I_CombineROIs(0, 0, 5, im);
    EXPECT_EQ(3, I_GetROIType());
    EXPECT_TRUE(scanlist(im).empty());
    I_SetROIType(0);
    I_RecallROI(5);
    EXPECT_EQ(3, I_GetROIType());
    EXPECT_TRUE(scanlist(im).empty());
    closeImages({im});
}

TEST_F(LiteralRoiStore, ComplementOfAHoleHasTwoRunsPerRow)
{
    const int32_t im = byteImage(10, 5);
    I_SetWindowROI(3, 1, 6, 2);
    I_SaveROI(0);
    I_SetROIType(0);
    I_SaveROI(1);
    I_CombineROIs(0, 1, 2, im);
    EXPECT_EQ((Points{{0, 0},
                      {9, 0},
                      {0, 1},
                      {2, 1},
                      {7, 1},
                      {9, 1},
                      {0, 2},
                      {2, 2},
                      {7, 2},
                      {9, 2},
                      {0, 3},
                      {9, 3},
                      {0, 4},
                      {9, 4}}),
              scanlist(im));
    closeImages({im});
}

TEST_F(LiteralRoiStore, RunsThatTouchBecomeOne)
{
    const int32_t im = byteImage(10, 2);
    VexaBox a = {1, 0, 3, 1};
    VexaBox b = {4, 0, 6, 1};
    EXPECT_EQ(1, I_CombineRectROIs(&a, &b, im));
    EXPECT_EQ((Points{{1, 0}, {6, 0}, {1, 1}, {6, 1}}), scanlist(im));
    closeImages({im});
}

TEST_F(LiteralRoiStore, I_CombineRectROIsFillsFarSidesOfZero)
{
    const int32_t im = byteImage(10, 4);
    VexaBox a = {0, 0, 0, 0};
    VexaBox b = {2, 1, 0, 2};
    EXPECT_EQ(1, I_CombineRectROIs(&a, &b, im));
    EXPECT_EQ(9, a.right);
    EXPECT_EQ(3, a.bottom);
    EXPECT_EQ(9, b.right);
    EXPECT_EQ(2, b.bottom);
    EXPECT_EQ((Points{{0, 0}, {9, 0}, {0, 1}, {1, 1}, {0, 2}, {1, 2}, {0, 3}, {9, 3}}), scanlist(im));
    I_SetROIType(0);
    I_RecallROI(17);
    EXPECT_EQ(8U, scanlist(im).size());
    EXPECT_EQ(0, I_CombineRectROIs(nullptr, &b, im));
    EXPECT_EQ(0, I_CombineRectROIs(&a, nullptr, im));
    EXPECT_EQ(0, I_CombineRectROIs(&a, &b, -200));
    closeImages({im});
}

TEST_F(LiteralRoiStore, I_ReverseROIOfAnImage)
{
    const int32_t im = byteImage(6, 3);
    I_SetWindowROI(1, 1, 2, 1);
    EXPECT_EQ(1, I_ReverseROI(im));
    EXPECT_EQ(3, I_GetROIType());
    EXPECT_EQ((Points{{0, 0}, {5, 0}, {0, 1}, {0, 1}, {3, 1}, {5, 1}, {0, 2}, {5, 2}}), scanlist(im));
    EXPECT_EQ(1, I_ReverseROI(im));
    EXPECT_EQ((Points{{1, 1}, {2, 1}}), scanlist(im));
    I_RecallROI(19);
    EXPECT_EQ(8U, scanlist(im).size());
    EXPECT_EQ(0, I_ReverseROI(-200));
    closeImages({im});
}

TEST_F(LiteralRoiStore, I_ReverseROIWithoutAnImage)
{
    I_SetWindowROI(10, 20, 30, 40);
    EXPECT_EQ(1, I_ReverseROI(0));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    const Points list = scanlist(0);
    EXPECT_EQ(131070U + 2 * 21, list.size());
    EXPECT_EQ((VexaPoint{65534, 65534}), list.back());
    EXPECT_EQ((VexaPoint{9, 20}), list[41]);
    EXPECT_EQ((VexaPoint{31, 20}), list[42]);
    dropList();
}

TEST_F(LiteralRoiStore, I_ClearROIWritesTheRuns)
{
    const int32_t im = byteImage(6, 3, [](int32_t, int32_t) { return 7; });
    I_SetWindowROI(1, 1, 3, 1);
    EXPECT_EQ(1, I_ClearROI(200 + 256, im));
    EXPECT_THAT(rowOf(im, 0), Each(7));
    EXPECT_THAT(rowOf(im, 1), ElementsAre(7, 200, 200, 200, 7, 7));
    EXPECT_THAT(rowOf(im, 2), Each(7));
    const int32_t floats = floatImage(3, 1);
    I_SetROIType(0);
    EXPECT_EQ(1, I_ClearROI(9, floats));
    EXPECT_THAT(rowOf(floats, 0), Each(9.0));
    EXPECT_EQ(0, I_ClearROI(9, 0));
    EXPECT_EQ(0, I_ClearROI(9, -200));
    closeImages({im, floats});
}

TEST_F(LiteralRoiStore, I_ClearOutsideROIKeepsTheRegion)
{
    const int32_t im = byteImage(6, 3, [](int32_t, int32_t) { return 7; });
    I_SetWindowROI(1, 1, 3, 1);
    EXPECT_EQ(1, I_ClearOutsideROI(9, im));
    EXPECT_THAT(rowOf(im, 0), Each(9));
    EXPECT_THAT(rowOf(im, 1), ElementsAre(9, 7, 7, 7, 9, 9));
    EXPECT_THAT(rowOf(im, 2), Each(9));
    EXPECT_EQ(1, I_GetROIType());
    EXPECT_THAT(window(), ElementsAre(1, 1, 3, 1));
    I_SetROIType(0);
    EXPECT_EQ(1, I_ClearOutsideROI(1, im));
    EXPECT_THAT(rowOf(im, 0), Each(9));
    EXPECT_EQ(0, I_ClearOutsideROI(1, -200));
    EXPECT_EQ(0, I_GetROIType());
    closeImages({im});
}

TEST_F(LiteralRoiStore, windowdupAndWindowpaste)
{
    const int32_t im = byteImage(10, 8, [](int32_t x, int32_t y) { return 10 * y + x; });
    setPolygon({{1, 1}, {5, 1}, {5, 5}});
    const int32_t copy = windowdup(2, 3, 5, 4, im, 0);
    ASSERT_NE(0, copy);
    EXPECT_THAT(rowOf(copy, 0), ElementsAre(32, 33, 34, 35));
    EXPECT_THAT(rowOf(copy, 1), ElementsAre(42, 43, 44, 45));
    EXPECT_EQ(2, I_GetROIType());
    char text[100] = {};
    EXPECT_EQ(1, I_ImGetParam(text, sizeof text, 15, copy));
    EXPECT_STREQ("1  2 2 3 5 4 ", text);

    const int32_t dest = byteImage(10, 8);
    EXPECT_EQ(1, windowpaste(1, -2, dest, copy));
    EXPECT_EQ(2, I_GetROIType());
    EXPECT_THAT(rowOf(dest, 0), Each(0));
    EXPECT_THAT(rowOf(dest, 1), ElementsAre(0, 0, 0, 32, 33, 34, 35, 0, 0, 0));
    EXPECT_THAT(rowOf(dest, 2), ElementsAre(0, 0, 0, 42, 43, 44, 45, 0, 0, 0));
    EXPECT_THAT(rowOf(dest, 3), Each(0));
    EXPECT_EQ(0, windowpaste(0, 0, -200, copy));
    closeImages({im, copy, dest});
}

TEST_F(LiteralRoiStore, windowdupReusesAnImageThatFits)
{
    const int32_t im = byteImage(10, 8, [](int32_t x, int32_t y) { return 10 * y + x; });
    const int32_t fits = byteImage(4, 2);
    const int32_t type = floatImage(4, 2);
    const int32_t small = byteImage(3, 2);
    EXPECT_EQ(fits, windowdup(2, 3, 5, 4, im, fits));
    EXPECT_EQ(45, pixel(fits, 3, 1));
    for (const int32_t other : {type, small}) {
        const int32_t open = I_ImCount();
        const int32_t copy = windowdup(2, 3, 5, 4, im, other);
        EXPECT_EQ(open, I_ImCount()); // the one that does not fit is closed
        EXPECT_EQ(PIX_BYTE, I_ImGetType(copy));
        EXPECT_EQ(45, pixel(copy, 3, 1));
        closeImages({copy});
    }
    const int32_t copy = windowdup(2, 3, 5, 4, im, -200);
    EXPECT_EQ(45, pixel(copy, 3, 1));
    EXPECT_EQ(0, windowdup(2, 3, 5, 4, -200, 0));
    closeImages({im, fits, copy});
}

TEST_F(LiteralRoiStore, I_ROIDupKeepsTheTrueRegion)
{
    const int32_t im = byteImage(10, 8, [](int32_t x, int32_t y) { return 10 * y + x; });
    setPolygon({{1, 2}, {5, 2}, {5, 6}});
    const int32_t copy = I_ROIDup(im);
    int32_t cols = 0, rows = 0;
    I_ImGetSize(&cols, &rows, nullptr, copy);
    EXPECT_EQ(5, cols);
    EXPECT_EQ(5, rows);
    EXPECT_EQ(21, pixel(copy, 0, 0));
    EXPECT_EQ(65, pixel(copy, 4, 4));
    char text[100] = {};
    I_ImGetParam(text, sizeof text, 15, copy);
    EXPECT_STREQ("2  3 1 2 5 2 5 6 ", text);
    EXPECT_EQ(2, I_GetROIType());
    I_SetROIType(0);
    const int32_t whole = I_ROIDup(im);
    I_ImGetParam(text, sizeof text, 15, whole);
    EXPECT_STREQ("0  0 ", text);
    I_SetROIType(2);
    recallRoiOfImage(whole);
    EXPECT_EQ(0, I_GetROIType());
    recallRoiOfImage(copy);
    EXPECT_EQ(2, I_GetROIType());
    EXPECT_EQ(0, I_ROIDup(-200));
    closeImages({im, copy, whole});
}

TEST_F(LiteralRoiStore, I_MakePolyCirclePoints)
{
    EXPECT_EQ(1, I_MakePolyCircle(10.6, 20.6, 5.0, 2.0, 4));
    EXPECT_EQ(2, I_GetROIType());
    Points points(4);
    EXPECT_EQ(4, I_GetPolygonROI(points.data(), 4));
    EXPECT_EQ((Points{{20, 20}, {10, 25}, {0, 20}, {10, 15}}), points);
    displayState().pixelAspect = 0.5;
    EXPECT_EQ(1, I_MakePolyCircle(10.6, 20.6, 5.0, 2.0, 4));
    displayState().pixelAspect = 1.0;
    I_GetPolygonROI(points.data(), 4);
    EXPECT_EQ((Points{{15, 20}, {10, 25}, {5, 20}, {10, 15}}), points);
    EXPECT_EQ(1, I_MakePolyCircle(0.0, 0.0, 5.0, 1.0, 200));
    EXPECT_EQ(99, I_GetPolygonROI(nullptr, 0));
    EXPECT_EQ(0, I_MakePolyCircle(0.0, 0.0, 5.0, 1.0, 0));
    EXPECT_EQ(99, I_GetPolygonROI(nullptr, 0));
    EXPECT_EQ(1, I_MakePolyCircle(std::nan(""), 1e300, 5.0, 1.0, 3));
}

TEST_F(LiteralRoiStore, I_MakeCircleListPoints)
{
    int32_t n = -1;
    VexaPointF* list = I_MakeCircleList(10.0F, 20.0F, 4.0F, 0.5F, &n);
    ASSERT_EQ(25, n); // 25.13 + 0.5
    EXPECT_FLOAT_EQ(10.0F, list[0].x);
    EXPECT_FLOAT_EQ(24.0F, list[0].y);
    for (int32_t i = 0; i < n; ++i) {
        const double a = i * 2.0 * M_PI / 25.0;
        EXPECT_NEAR(std::sin(a) * 2.0 + 10.0, list[i].x, 1e-5);
        EXPECT_NEAR(std::cos(a) * 4.0 + 20.0, list[i].y, 1e-5);
    }
    EXPECT_EQ(list[0].x, list[25].x);
    EXPECT_EQ(list[0].y, list[25].y);
    std::free(list);
    list = I_MakeCircleList(0.0F, 0.0F, 2.0F, -1.0F, &n);
    EXPECT_EQ(13, n);
    EXPECT_NEAR(1.94, list[3].x, 0.1);
    std::free(list);
    list = I_MakeCircleList(1.0F, 2.0F, 0.0F, 1.0F, &n);
    EXPECT_EQ(0, n);
    EXPECT_EQ(1.0F, list[0].x);
    EXPECT_EQ(2.0F, list[0].y);
    std::free(list);
    for (const float radius : {-3.0F, std::numeric_limits<float>::quiet_NaN(), 1e30F}) {
        EXPECT_EQ(nullptr, I_MakeCircleList(0.0F, 0.0F, radius, 1.0F, &n));
        EXPECT_EQ(0, n);
    }
    std::free(I_MakeCircleList(0.0F, 0.0F, 1.0F, 1.0F, nullptr));
}

void setRandomRegion(std::mt19937& random)
{
    const auto some = [&](uint32_t n) { return static_cast<int32_t>(random() % n); };
    if (random() % 3 == 0) {
        I_SetWindowROI(some(20), some(20), some(30) - 10, some(30) - 10);
        return;
    }
    Points polygon(3 + random() % 5);
    for (VexaPoint& point : polygon)
        point = {some(22), some(22)};
    setPolygon(polygon);
}

bool runsAreDisjoint(int32_t im)
{
    const Points list = scanlist(im);
    for (std::size_t i = 2; i < list.size(); i += 2)
        if (list[i].y == list[i - 1].y && list[i].x <= list[i - 1].x)
            return false;
    return true;
}

TEST_F(AgainstReferenceRoiStore, CombinationIsTheExclusiveOr)
{
    std::mt19937 random(4);
    const int32_t im = byteImage(25, 20);
    int32_t compared = 0;
    for (int32_t round = 0; round < 300; ++round) {
        setRandomRegion(random);
        I_SaveROI(0);
        const Pixels a = pixelsOf(im);
        // Where outlines cross, two runs of a row may share their end pixel; such a list is no set of pixels.
        bool disjoint = runsAreDisjoint(im);
        setRandomRegion(random);
        disjoint = disjoint && runsAreDisjoint(im);
        I_SaveROI(1);
        const Pixels b = pixelsOf(im);
        Pixels expected;
        std::set_symmetric_difference(a.begin(), a.end(), b.begin(), b.end(),
                                      std::inserter(expected, expected.end()));
        I_CombineROIs(0, 1, 2, im);
        if (!disjoint)
            continue;
        ++compared;
        ASSERT_EQ(expected, pixelsOf(im)) << "round " << round;
    }
    EXPECT_GT(compared, 100);
    closeImages({im});
}

TEST_F(BoundsRoiStore, SlotsOutsideTheStore)
{
    for (const int32_t slot : {20, 21, -1, kHighest, kLowest}) {
        clearError();
        EXPECT_EQ(0, I_SaveROI(slot));
        EXPECT_THAT(errorText(), HasSubstr("I_SaveROI n=" + std::to_string(slot)));
        EXPECT_EQ(12, I_GetError(nullptr, 0));
        EXPECT_EQ(0, I_RecallROI(slot));
        EXPECT_THAT(errorText(), HasSubstr("I_RecallROI n=" + std::to_string(slot)));
        EXPECT_EQ(12, I_GetError(nullptr, 0));
        I_CombineROIs(slot, 0, 1, 0);
        I_CombineROIs(0, slot, 1, 0);
    }
}

TEST_F(BoundsRoiStore, RunsLeftOfTheImageAreClearedInsideIt)
{
    const int32_t im = byteImage(4, 2);
    const Points runs = {{-1000, 0}, {1, 0}, {-1000, 1}, {kHighest, 1}};
    ASSERT_EQ(1, I_SetScanlistROI(runs.data(), 4));
    EXPECT_EQ(1, I_ClearROI(5, im));
    EXPECT_THAT(rowOf(im, 0), ElementsAre(5, 5, 0, 0));
    EXPECT_THAT(rowOf(im, 1), Each(5));
    EXPECT_EQ(1, I_ReverseROI(im));
    closeImages({im});
}

TEST_F(BoundsRoiStore, ExtremeRectangles)
{
    const int32_t im = byteImage(4, 2);
    for (const int32_t a : {kLowest, -1, 0, kHighest})
        for (const int32_t b : {kLowest, -1, 0, kHighest}) {
            I_ImClose(windowdup(a, a, b, b, im, 0));
            VexaBox box1 = {a, b, b, a};
            VexaBox box2 = {b, a, a, b};
            EXPECT_EQ(1, I_CombineRectROIs(&box1, &box2, im));
            const int32_t copy = windowdup(0, 0, 1, 1, im, 0);
            EXPECT_EQ(1, windowpaste(a, b, im, copy));
            closeImages({copy});
        }
    closeImages({im});
}

TEST_F(FailuresRoiStore, NoMemoryForASlot)
{
    I_SetWindowROI(1, 2, 3, 4);
    failAllocation(1, false);
    EXPECT_EQ(0, I_SaveROI(5));
    failAllocation(0, false);
    EXPECT_EQ(1, roiSlot(5).type);
    EXPECT_EQ(0, roiSlot(5).count);
    EXPECT_THAT(errorText(), HasSubstr("I_SaveROI()"));
    EXPECT_EQ(2, I_GetError(nullptr, 0));
}

// Slots keep what they hold, so only the last error and the results are looked at.
template <typename Call, typename Check>
void forEachFailure(Call call, Check check)
{
    for (const bool persistent : {false, true})
        for (int64_t n = 1;; ++n) {
            clearError();
            failAllocation(n, persistent);
            const int32_t result = call();
            const bool met = allocationState().failed > 0;
            failAllocation(0, false);
            if (!met)
                break;
            ASSERT_LT(n, 100);
            check(result);
        }
}

TEST_F(FailuresRoiStore, NoMemoryWhileCombining)
{
    const int32_t im = byteImage(6, 3, [](int32_t, int32_t) { return 7; });
    std::set<std::string> tags;
    I_SetWindowROI(1, 1, 2, 1);
    const auto collectTag = [&](int32_t result) {
        EXPECT_EQ(0, result);
        const std::string text = errorText();
        EXPECT_EQ(2, I_GetError(nullptr, 0));
        const std::string head = "Memory allocation failed: ";
        tags.insert(text.substr(head.size(), text.find(':', head.size()) - head.size()));
    };
    forEachFailure([&] { return I_ReverseROI(im); }, collectTag);
    EXPECT_THAT(tags, ElementsAre("CombineROIs1", "CombineROIs2", "CombineROIs3", "I_SaveROI()"));
    I_SetWindowROI(1, 1, 2, 1);
    forEachFailure(
        [&] {
            I_SetWindowROI(1, 1, 2, 1);
            return I_ClearOutsideROI(9, im);
        },
        [&](int32_t result) {
            EXPECT_EQ(0, result);
            EXPECT_EQ(2, I_GetError(nullptr, 0));
            EXPECT_EQ(7, pixel(im, 1, 1)) << "the region itself is never cleared";
        });
    I_SetROIType(0);
    forEachFailingAllocation([&] { return I_ClearROI(5, im); },
                             [&](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_THAT(errorText(), HasSubstr("I_ClearROI:"));
                             });
    closeImages({im});
}

TEST_F(FailuresRoiStore, NoMemoryForACircle)
{
    int32_t n = 0;
    failAllocation(1, false);
    EXPECT_EQ(nullptr, I_MakeCircleList(0.0F, 0.0F, 3.0F, 1.0F, &n));
    failAllocation(0, false);
    EXPECT_EQ(2, I_GetError(nullptr, 0));
}

TEST_F(FailuresRoiStore, NoMemoryForACopy)
{
    const int32_t im = byteImage(6, 3);
    const int32_t open = I_ImCount();
    I_SetWindowROI(1, 1, 2, 1);
    forEachFailure(
        [&] {
            const int32_t copy = I_ROIDup(im);
            EXPECT_EQ(1, I_GetROIType());
            I_ImClose(copy);
            return copy;
        },
        [&](int32_t) { EXPECT_EQ(open, I_ImCount()); });
    closeImages({im});
}

} // namespace
} // namespace vexa::test
