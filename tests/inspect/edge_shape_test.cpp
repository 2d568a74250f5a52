#include "vexalib/edge_shape.h"

#include <limits>

#include "tests/core/platform_in_place.h"
#include "tests/support/test_failures.h"
#include "vexalib/edge_location.h"
#include "vexalib/vexalib.h"

using namespace vexa::test;
using testing::ElementsAre;

namespace
{

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

struct Three {
    float result, e1, e2, e3;
};
Three edges(const std::vector<float>& data, int32_t start, float width, float level)
{
    Three three{0, -7, -7, -7};
    three.result = I_GetEdges(data.data(), static_cast<int32_t>(data.size()), start, width, level, &three.e1,
                              &three.e2, &three.e3);
    return three;
}
void expectThree(const Three& expected, const Three& three)
{
    EXPECT_FLOAT_EQ(expected.result, three.result);
    EXPECT_EQ(expected.e1, three.e1);
    EXPECT_EQ(expected.e2, three.e2);
    EXPECT_EQ(expected.e3, three.e3);
}

struct Five {
    float result;
    std::vector<float> at;
};
Five five(const std::vector<float>& data, int32_t start, float level)
{
    Five f{0, std::vector<float>(5, -7.0F)};
    f.result = I_GetEdges5(data.data(), static_cast<int32_t>(data.size()), start, level, f.at.data());
    return f;
}

TEST(LiteralEdgeShape, GetEdgesFindsTheThreeAroundAPosition)
{
    const std::vector<float> bars = {0, 0, 10, 10, 10, 0, 0, 0, 10, 10, 10, 0, 0};
    expectThree({10, 1.5F, 4.5F, 7.5F}, edges(bars, 3, 1.0F, 5.0F));
    expectThree({10, 4.5F, 7.5F, 10.5F}, edges(bars, 5, 1.0F, 5.0F));
    // To the right of 10 the walk may not start; the search goes left.
    expectThree({10, 4.5F, 7.5F, 10.5F},
                edges({0, 0, 10, 10, 10, 0, 0, 0, 10, 10, 10, 0, 0, 0}, 7, 1.0F, 5.0F));
    expectThree({10, -1, 1.5F, -1}, edges({0, 0, 10, 10, 10, 10, 10}, 4, 1.0F, 5.0F));
}

TEST(LiteralEdgeShape, GetEdgesLimitsTheStart)
{
    // Width 1: from 1 for a start of 0; width 6: from 3 for starts below 3.
    const std::vector<float> data = {10, 0, 0, 10, 10, 10, 0, 0, 0, 0};
    expectThree({10, 0.5F, 2.5F, 5.5F}, edges(data, 0, 1.0F, 5.0F));
    expectThree({10, 2.5F, 5.5F, -1}, edges(data, 0, 6.0F, 5.0F));
    // Beyond the end: from trunc(10 - 1 / 3 - 2) = 7 on, where there is nothing, so to the left.
    expectThree({10, 2.5F, 5.5F, -1}, edges(data, 50, 1.0F, 5.0F));
}

TEST(LiteralEdgeShape, GetEdgesCrossingOnASample)
{
    const std::vector<float> data = {0, 0, 0, 0, 2, 5, 9, 9, 9, 9};
    expectThree({4, -1, 5.0F, -1}, edges(data, 2, 1.0F, 5.0F)); // |data[5] - data[6]|
    const std::vector<float> last = {0, 0, 0, 0, 0, 5};
    expectThree({0, -1, 5.0F, -1},
                edges(last, 2, 1.0F, 5.0F)); // the last sample stands in for the one behind
}

TEST(LiteralEdgeShape, GetEdgesWithoutACrossing)
{
    expectThree({0, -1, -1, -1}, edges({1, 1, 1, 1, 1, 1}, 2, 1.0F, 5.0F));
    expectThree({0, -7, -7, -7}, edges({0, 0, 9, 9, 9, 9}, -1, 1.0F, 5.0F));
    EXPECT_EQ(9.0F,
              I_GetEdges(std::vector<float>{0, 0, 9, 9, 9, 9}.data(), 6, 1, 1, 5, nullptr, nullptr, nullptr));
    float e2 = 3.0F;
    EXPECT_EQ(0.0F, I_GetEdges(nullptr, 6, 1, 1.0F, 5.0F, nullptr, &e2, nullptr));
    EXPECT_EQ(-1.0F, e2);
}

TEST(LiteralEdgeShape, GetEdgesShowsItsWorkUnderDebug)
{
    const PlatformInPlace platform;
    I_SetDebug(1);
    edges({0, 0, 10, 10, 10, 10, 10}, 4, 1.0F, 5.0F);
    I_SetDebug(0);
    edges({0, 0, 10, 10, 10, 10, 10}, 4, 1.0F, 5.0F);
    ASSERT_EQ(2U, platform->boxes.size());
    EXPECT_EQ("e2 looking left e2=1.5", platform->boxes[0].text);
    EXPECT_EQ("Done: e1=-1.0 e2=1.5 e3=-1.0 ctr2=1 ctr3=2", platform->boxes[1].text);
}

TEST(LiteralEdgeShape, GetEdges5)
{
    const std::vector<float> bars = {1, 1, 9, 9, 1, 1, 9, 9, 1, 1, 9, 9, 1, 1};
    Five f = five(bars, 6, 5.0F);
    EXPECT_THAT(f.at, ElementsAre(3.5F, 5.5F, 7.5F, 9.5F, 11.5F));
    EXPECT_EQ(0.5F, f.result);
    // Zeros at the ends are left out; positions count from the first sample all the same.
    const std::vector<float> framed = {0, 0, 1, 1, 9, 9, 1, 1, 9, 9, 1, 1, 0, 0, 0};
    f = five(framed, 8, 5.0F);
    EXPECT_THAT(f.at, ElementsAre(5.5F, 7.5F, 9.5F, -1.0F, -1.0F));
    EXPECT_EQ(0.5F, f.result);
}

TEST(LiteralEdgeShape, GetEdges5SearchesLeftFromTheIndexAsGiven)
{
    // No crossing right of the start. Three zeros are cut off: the sample at start 7 has index 4 of the rest,
    // but the search to the left begins at 7 of the rest, sample 10.
    const std::vector<float> data = {0, 0, 0, 1, 1, 9, 9, 9, 9, 9, 9, 9, 9};
    const Five f = five(data, 7, 5.0F);
    EXPECT_THAT(f.at, ElementsAre(-1.0F, 4.5F, -1.0F, -1.0F, -1.0F));
    EXPECT_EQ(2.5F, f.result);
    // Beyond the rest there is nothing to search from.
    EXPECT_THAT(five({0, 0, 0, 1, 1, 9, 9, 9}, 6, 5.0F).at, ElementsAre(-1.0F, -1.0F, -1.0F, -1.0F, -1.0F));
}

TEST(LiteralEdgeShape, GetEdges5WithoutEdges)
{
    const std::vector<float> zeros(10, 0.0F);
    for (const int32_t start : {kLowest, -1, 0, 4, 10, kHighest}) {
        const Five f = five(zeros, start, 5.0F);
        EXPECT_THAT(f.at, ElementsAre(-1.0F, -1.0F, -1.0F, -1.0F, -1.0F)) << start;
        EXPECT_EQ(10.0F, f.result) << start;
    }
    EXPECT_EQ(10.0F, five({1, 1, 9, 9, 1, 1, 9, 9, 9, 9}, 0, 5.0F).result);
    float at[5];
    EXPECT_EQ(6.0F, I_GetEdges5(nullptr, 6, 2, 5.0F, at));
    EXPECT_EQ(-1.0F, at[2]);
    EXPECT_EQ(10.0F, I_GetEdges5(zeros.data(), 10, 2, 5.0F, nullptr));
}

TEST(LiteralEdgeShape, AdjustStartEdge)
{
    const std::vector<float> a = {1, 1, 1, 1, 1, 9, 9, 9, 9, 9, 9, 9};
    const std::vector<float> b = {1, 1, 1, 1, 1, 1, 1, 9, 9, 9, 9, 9};
    const auto adjust = [&](int32_t start, int32_t range) {
        return I_AdjustStartEdge(a.data(), b.data(), 12, start, 5.0F, range);
    };
    EXPECT_EQ(4, adjust(5, 4))
        << "both sides are one away from it: the sample at 6 is on the same side, left first";
    EXPECT_EQ(7, adjust(6, 4));
    EXPECT_EQ(4, adjust(4, 4)) << "where both agree it stays";
    EXPECT_EQ(5, adjust(5, 0));
    EXPECT_EQ(5, adjust(5, 1)) << "the range holds no crossing";
    EXPECT_EQ(0, adjust(12, 4));
    EXPECT_EQ(0, adjust(kHighest, 4));
    EXPECT_EQ(-5, adjust(-5, 2));
    EXPECT_EQ(kLowest, adjust(kLowest, kHighest));
    EXPECT_EQ(4, adjust(5, kHighest));
    EXPECT_EQ(5, I_AdjustStartEdge(nullptr, b.data(), 12, 5, 5.0F, 4));
}

TEST(LiteralEdgeShape, AdjustStartEdgeTurnsAwayFromTheFarSide)
{
    // From 5 the sample of a at 6 lies across the level: t is -1, and 6 is tried before 4.
    const std::vector<float> a = {9, 9, 9, 9, 9, 9, 1, 1, 1, 1, 1, 1};
    const std::vector<float> b = {9, 9, 9, 9, 9, 1, 1, 1, 1, 1, 1, 1};
    EXPECT_EQ(6, I_AdjustStartEdge(a.data(), b.data(), 12, 5, 5.0F, 4));
}

} // namespace
