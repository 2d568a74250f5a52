#include "tests/core/platform_in_place.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/edge_shape.h"
#include "vexalib/vexalib.h"

using namespace vexa::test;

namespace
{

struct Outline {
    float result = -7;
    int32_t edges = -7;
    float minsep = -7, width = -7, direction = -7, angle = -7, turn = -7;
    int32_t closedPoints = -7;
};

Outline shape(int32_t im, int32_t threshold, VexaBox box, int32_t margin)
{
    Outline o;
    o.result = I_EdgeShape(im, threshold, &box, margin, &o.edges, &o.minsep, &o.width, &o.direction, &o.angle,
                           &o.turn, &o.closedPoints);
    return o;
}

class EdgeOutlines : public testing::Test
{
protected:
    void TearDown() override
    {
        I_SetDebug(0);
        I_SetROIType(0);
        I_ImCloseAll();
        clearError();
    }
    const PlatformInPlace platform_;
};
using LiteralEdgeOutlines = EdgeOutlines;
using FailuresEdgeOutlines = EdgeOutlines;

constexpr VexaBox kMiddle = {46, 46, 54, 54};

TEST_F(LiteralEdgeOutlines, UniformImageHasNoBoundary)
{
    for (const int32_t value : {10, 200}) {
        const int32_t im = byteImage(100, 100, [=](int32_t, int32_t) { return value; });
        const Outline o = shape(im, 100, kMiddle, 10);
        EXPECT_EQ(-1.0F, o.result);
        EXPECT_EQ(0, o.edges);
        EXPECT_EQ(0.0F, o.minsep);
        EXPECT_EQ(-7.0F, o.width) << "not written";
    }
}

TEST_F(LiteralEdgeOutlines, OneStraightEdge)
{
    // Bright to the right of 52: one rise on the circle, which runs from below the centre to the right and
    // up.
    const int32_t im =
        byteImage(100, 100, [](int32_t x, int32_t) { return std::clamp(100 + 50 * (x - 52), 0, 200); });
    const Outline o = shape(im, 100, kMiddle, 10);
    EXPECT_EQ(2.0F, o.result) << "the contour lies at 52, the centre at 50";
    EXPECT_EQ(1, o.edges);
    EXPECT_EQ(99999.0F, o.minsep);
    EXPECT_NEAR(180.0F, o.angle, 1.0F) << "both directions are told in the sense of the walk";
    EXPECT_NEAR(90.0F, o.direction, 1.0F);
    EXPECT_NEAR(0.0F, o.turn, 1.0F);
    EXPECT_EQ(0, o.closedPoints);
    const VexaBox small = {49, 49, 52, 52};
    EXPECT_NEAR(0.0F, shape(im, 100, small, 10).turn, 1.0F);
}

TEST_F(LiteralEdgeOutlines, TwoBoundariesSideBySide)
{
    // A bright line of 6 pixels across the middle, dark on both sides: its edges run in parallel.
    const int32_t bright =
        byteImage(100, 100, [](int32_t x, int32_t) { return x >= 47 && x <= 52 ? 200 : 20; });
    Outline o = shape(bright, 110, kMiddle, 10);
    EXPECT_EQ(-2, o.edges);
    EXPECT_EQ(2.0F, o.result);
    EXPECT_NEAR(6.0F, o.minsep, 0.01F) << "from 46.5 to 52.5 pixels, bright between";
    EXPECT_NEAR(180.0F, o.angle, 0.5F);
    // A gap above twice the margin: the other one is no neighbour, and the count is 1, not -1.
    o = shape(bright, 110, {40, 40, 60, 60}, 2);
    EXPECT_EQ(1, o.edges);
    EXPECT_NEAR(6.0F, o.minsep, 0.01F);
    // Around a dark line the boundaries run against each other: the difference of their directions is -180,
    // which does not count as parallel.
    const int32_t dark =
        byteImage(100, 100, [](int32_t x, int32_t) { return x >= 47 && x <= 52 ? 20 : 200; });
    o = shape(dark, 110, kMiddle, 10);
    EXPECT_EQ(2, o.edges);
    EXPECT_NEAR(-6.0F, o.minsep, 0.01F) << "dark between";
}

TEST_F(LiteralEdgeOutlines, DarkContactInsideTheCircle)
{
    const int32_t im = byteImage(100, 100, [](int32_t x, int32_t y) {
        return std::clamp(120 + 60 * (std::hypot(x - 50.0, y - 50.0) - 6), 20.0, 220.0);
    });
    const Outline o = shape(im, 120, kMiddle, 12);
    EXPECT_GT(0, o.closedPoints) << "the inside is dark";
    EXPECT_NEAR(-12.0F, o.width, 0.3F) << "the large diameter";
    EXPECT_NEAR(-8.5F, o.minsep, 0.2F) << "the small one: a quarter of the way round, 12 / sqrt(2)";
    EXPECT_EQ(5.0F, o.result) << "just below 6, cut";
}

TEST_F(LiteralEdgeOutlines, RegionAndPendingErrors)
{
    const int32_t im = byteImage(100, 100, [](int32_t x, int32_t) { return x < 52 ? 0 : 200; });
    I_SetWindowROI(3, 4, 5, 6);
    const Messages messages;
    I_SetError(12, "left over by something else");
    shape(im, 100, kMiddle, 10);
    int32_t left = 0, top = 0, right = 0, bottom = 0;
    I_GetWindowROI(&left, &top, &right, &bottom);
    EXPECT_EQ(1, I_GetROIType());
    EXPECT_EQ(3, left);
    EXPECT_EQ(6, bottom);
    ASSERT_EQ(1U, messages.all().size());
    EXPECT_EQ("EdgeShape 4 <ILLEGAL PARAMETER> left over by something else", messages.all()[0]);
    EXPECT_EQ(0, I_GetError(nullptr, 0));
}

TEST_F(LiteralEdgeOutlines, ShowsItsWorkUnderDebug)
{
    const int32_t im = byteImage(100, 100, [](int32_t x, int32_t) { return x >= 47 && x <= 52 ? 20 : 200; });
    I_SetDebug(1);
    shape(im, 110, kMiddle, 10);
    ASSERT_EQ(1U, platform_->boxes.size());
    EXPECT_EQ("Edges=2 iThresh=110, minsep= 6.0, 99999.0 bDarkLine=1 1 iclose=0 iMinSep=1",
              platform_->boxes[0].text);
}

TEST_F(LiteralEdgeOutlines, AllOutputsMayBeNull)
{
    const int32_t im = byteImage(100, 100, [](int32_t x, int32_t) { return x < 52 ? 0 : 200; });
    EXPECT_EQ(1.0F, I_EdgeShape(im, 100, &kMiddle, 10, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                nullptr));
}

TEST_F(FailuresEdgeOutlines, BadImageNullBoxAndMissingMemory)
{
    const int32_t im = byteImage(60, 60, [](int32_t x, int32_t) { return x < 30 ? 0 : 200; });
    Outline o = shape(-250, 100, kMiddle, 10);
    EXPECT_EQ(0.0F, o.result);
    EXPECT_EQ(0, o.edges);
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ(0.0F, I_EdgeShape(im, 100, nullptr, 10, &o.edges, &o.minsep, nullptr, nullptr, nullptr, nullptr,
                                nullptr));
    EXPECT_EQ(-1.0F, shape(im, 100, {30, 30, 20, 20}, -50).result) << "no circle";
    const VexaBox box = {25, 25, 35, 35};
    const Messages messages; // pending errors are presented on the way
    forEachFailingAllocation(
        [&] {
            return static_cast<int64_t>(
                I_EdgeShape(im, 100, &box, 5, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
        },
        [](int64_t result) { EXPECT_LE(result, 0); });
}

} // namespace
