#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

namespace vexa::test
{
namespace
{

using testing::ElementsAre;

struct Listed {
    std::vector<VexaPoint> at;
    std::vector<VexaBox> boxes;
    std::vector<double> values;
};

std::vector<int32_t> sides(const VexaBox& box)
{
    return {box.left, box.top, box.right, box.bottom};
}

class CarefulDefects : public testing::Test
{
protected:
    void SetUp() override
    {
        I_SetROIType(0);
        I_SetClipMode(0);
        clearError();
    }
    void TearDown() override
    {
        SetUp();
        I_SetDebug(0);
    }

    // An empty difference of 100 by 80.
    int32_t difference(int32_t zero = 0, int32_t type = PIX_BYTE)
    {
        return image(100, 80, type, [zero](int32_t, int32_t) { return zero; });
    }
    static void spot(int32_t im, int32_t left, int32_t top, int32_t right, int32_t bottom, int32_t value)
    {
        I_ClearRect(left, top, right, bottom, value, im);
    }
    static Listed list(int32_t im, float threshold, float minSize, int32_t sortMode, int32_t mergeRange,
                       int32_t most = 50)
    {
        Listed listed = {std::vector<VexaPoint>(50), std::vector<VexaBox>(50), std::vector<double>(50)};
        const int32_t n =
            I_ListDefects3(0, 0, im, listed.at.data(), listed.boxes.data(), listed.values.data(), most, 0,
                           threshold, minSize, sortMode, 0, mergeRange);
        listed.at.resize(static_cast<std::size_t>(n));
        listed.boxes.resize(static_cast<std::size_t>(n));
        listed.values.resize(static_cast<std::size_t>(n));
        return listed;
    }
};
using LiteralCarefulDefects = CarefulDefects;
using FailuresCarefulDefects = CarefulDefects;

TEST_F(LiteralCarefulDefects, SpotHasItsPlaceBoxAndEnergy)
{
    const int32_t im = difference();
    spot(im, 40, 30, 44, 33, 90);
    const Listed listed = list(im, 20, 0, 0, 3);
    ASSERT_EQ(1U, listed.at.size());
    EXPECT_EQ(41, listed.at[0].x); // moved by 1
    EXPECT_EQ(31, listed.at[0].y);
    EXPECT_THAT(sides(listed.boxes[0]), ElementsAre(40, 30, 44, 33));
    EXPECT_NEAR(std::sqrt(20 * 90 / 180.0), listed.values[0], 1e-6);
}

TEST_F(LiteralCarefulDefects, BothSidesOfNoDifferenceCount)
{
    for (const int32_t mode : {3, 4}) {
        I_SetClipMode(mode);
        const int32_t im = difference(128);
        const int32_t threshold = mode == 4 ? 10 : 20; // of 20 given
        spot(im, 10, 10, 14, 14, 128 + threshold);
        spot(im, 50, 10, 54, 14, 128 - threshold);
        spot(im, 10, 60, 14, 64, 128 + threshold - 1);
        spot(im, 50, 60, 54, 64, 128 - threshold + 1);
        const Listed listed = list(im, 20, 0, 0, 3);
        ASSERT_EQ(2U, listed.at.size()) << mode;
        EXPECT_EQ(11, listed.at[0].x);
        EXPECT_EQ(51, listed.at[1].x);
        EXPECT_NEAR(std::sqrt(25 * threshold / 180.0), listed.values[0], 1e-6);
        I_ImClose(im);
    }
}

TEST_F(LiteralCarefulDefects, NeighboursMergeWithinTheRange)
{
    // A mergeRange of 3 joins boxes that are in line at most 6 apart; 7 pixels of gap are one too many.
    for (const int32_t edge : {50, 51}) {
        const int32_t im = difference();
        spot(im, 40, 30, 44, 33, 90);
        spot(im, edge, 30, edge + 3, 33, 60);
        const Listed listed = list(im, 20, 0, 1, 3);
        if (edge == 50) {
            ASSERT_EQ(1U, listed.at.size());
            EXPECT_THAT(sides(listed.boxes[0]), ElementsAre(40, 30, 53, 33));
        } else {
            ASSERT_EQ(2U, listed.at.size());
        }
        I_ImClose(im);
    }
}

TEST_F(LiteralCarefulDefects, BoxesNeitherOverlappingNorInLineStayApart)
{
    const int32_t im = difference();
    spot(im, 20, 20, 39, 39, 90);
    spot(im, 28, 42, 31, 44, 60); // below: in line on y, inside on x: its edges are 8 from those of the other
    ASSERT_EQ(2U, list(im, 20, 0, 0, 3).at.size());
}

TEST_F(LiteralCarefulDefects, GrownSpotsGiveTheirBoxesWithoutTheGrowth)
{
    const int32_t im = difference();
    spot(im, 40, 30, 44, 33, 90);
    const Listed listed = list(im, 20, 0, 0, 4); // grows by 1
    ASSERT_EQ(1U, listed.at.size());
    EXPECT_THAT(sides(listed.boxes[0]), ElementsAre(40, 30, 44, 33));
    // The grown spot begins a pixel before, and the place moves by 2; the first pixel is a corner or beside one.
    EXPECT_EQ(31, listed.at[0].y);
}

TEST_F(LiteralCarefulDefects, SmallSpotsAreLeftOutBySize)
{
    const int32_t im = difference();
    spot(im, 10, 10, 18, 18, 90); // 81 pixels
    spot(im, 50, 10, 57, 19, 90); // 80 pixels
    Listed listed = list(im, 20, -9, 0, 3);
    ASSERT_EQ(1U, listed.at.size());
    EXPECT_EQ(11, listed.at[0].x);
    // By energy: 81 * 90 / 180 is 40.5, 80 * 90 / 180 is 40; the value is that of the spot measured last.
    listed = list(im, 20, 6.35F, 0, 3);
    ASSERT_EQ(1U, listed.at.size());
    EXPECT_NEAR(std::sqrt(40.0), listed.values[0], 1e-6);
}

TEST_F(LiteralCarefulDefects, SortsByPeakOrAreaAndKeepsTheOrderOtherwise)
{
    const int32_t im = difference();
    spot(im, 5, 5, 7, 7, 100);
    spot(im, 40, 20, 49, 29, 60);
    spot(im, 5, 60, 9, 64, 200);
    const auto places = [&](int32_t sortMode, int32_t most) {
        std::vector<int32_t> xs;
        for (const VexaPoint& at : list(im, 20, 0, sortMode, 3, most).at)
            xs.push_back(at.y);
        return xs;
    };
    EXPECT_THAT(places(0, 50), ElementsAre(6, 21, 61));
    EXPECT_THAT(places(1, 50), ElementsAre(21, 61, 6));
    EXPECT_THAT(places(2, 50), ElementsAre(61, 6, 21));
    EXPECT_THAT(places(2, 2), ElementsAre(61, 6));
    EXPECT_THAT(places(2, 0), ElementsAre());
}

TEST_F(LiteralCarefulDefects, LargeDefectsStayAloneAndAreListed)
{
    const int32_t im = difference();
    spot(im, 10, 10, 60, 12, 90); // 51 of 100 columns
    spot(im, 62, 10, 64, 12, 90);
    const Listed listed = list(im, 20, 0, 0, 3);
    ASSERT_EQ(2U, listed.at.size());
    EXPECT_THAT(sides(listed.boxes[0]), ElementsAre(10, 10, 60, 12));
}

// Soft squares, moved by a shift, with a dot.
int32_t scene(double shift, bool withDot)
{
    const auto step = [](double d) { return 1.0 / (1.0 + std::exp(-1.5 * d)); };
    return byteImage(160, 140, [=](int32_t x, int32_t y) {
        double value =
            40 + 150 * step(x - shift - 40) * step(110 + shift - x) * step(y - 30.0) * step(100.0 - y);
        if (withDot && std::hypot(x - 75, y - 65) < 4)
            value -= 120;
        return value;
    });
}

TEST_F(LiteralCarefulDefects, LocalAlignmentRemovesEdges)
{
    const auto moved = [](bool withDot) {
        const auto step = [](double d) { return 1.0 / (1.0 + std::exp(-1.5 * d)); };
        return byteImage(160, 140, [=](int32_t x, int32_t y) {
            double value = 40 + 150 * step(x - 41.0) * step(111.0 - x) * step(y - 30.0) * step(100.0 - y);
            if (withDot && std::hypot(x - 76, y - 65) < 4)
                value -= 120;
            return value;
        });
    };
    I_SetClipMode(3);
    const int32_t def = moved(true), ref = scene(0, false), diff = byteImage(160, 140);
    const auto entries = [&](int32_t alignRange) {
        I_Subtract(def, ref, diff, 0, 0);
        std::vector<VexaPoint> at(20);
        at.resize(static_cast<std::size_t>(
            I_ListDefects1(def, ref, diff, at.data(), nullptr, 20, 0, 40, 1, 1, alignRange)));
        return at;
    };
    EXPECT_GT(entries(0).size(), 1U); // the edges count
    const auto aligned = entries(6);
    ASSERT_EQ(1U, aligned.size());
    EXPECT_NEAR(76, aligned[0].x, 5);
    EXPECT_NEAR(62, aligned[0].y, 5);
}

TEST_F(LiteralCarefulDefects, RegionAndShorterFormsAreRespected)
{
    const int32_t im = difference();
    spot(im, 10, 10, 14, 14, 90);
    spot(im, 60, 50, 64, 54, 90);
    I_SetWindowROI(30, 30, 90, 70);
    VexaPoint at[5];
    double values[5];
    for (const int32_t mergeRange : {3, 4}) {
        EXPECT_EQ(1, I_ListDefects2(0, 0, im, at, values, 5, 77, 20, 0, 0, 0, mergeRange));
        EXPECT_EQ(51, at[0].y);
    }
    EXPECT_EQ(1, I_ListDefects1(0, 0, im, at, values, 5, 77, 20, 0, 0, 0));
    EXPECT_EQ(1, I_GetROIType());
    int32_t left, top, right, bottom;
    I_GetWindowROI(&left, &top, &right, &bottom);
    EXPECT_EQ(30, left);
    EXPECT_EQ(70, bottom);
}

TEST_F(LiteralCarefulDefects, DebugPostsTheList)
{
    const int32_t im = difference();
    spot(im, 10, 10, 14, 14, 90);
    I_SetDebug(1);
    Messages messages;
    list(im, 20, 0, 0, 3);
    ASSERT_GE(messages.all().size(), 2U);
    EXPECT_THAT(messages.all()[0], testing::HasSubstr("Blobcnt=1, nDefects=1\nx  y  area intensity\n"));
    EXPECT_THAT(messages.all()[1], testing::HasSubstr("11.000000 11.000000 25.000000 90.000000"));
}

TEST_F(FailuresCarefulDefects, NoImageAndNoSpot)
{
    VexaPoint at[2];
    EXPECT_EQ(0, I_ListDefects3(0, 0, 0, at, nullptr, nullptr, 2, 0, 10, 0, 0, 0, 3));
    EXPECT_NE(0, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_ListDefects3(0, 0, difference(), at, nullptr, nullptr, 2, 0, 10, 0, 0, 0, 4));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
}

TEST_F(FailuresCarefulDefects, WithoutMemory)
{
    const int32_t im = difference();
    spot(im, 10, 10, 14, 14, 90);
    for (const int32_t mergeRange : {3, 8})
        forEachFailingAllocation(
            [&] { return static_cast<int64_t>(list(im, 20, 0, 1, mergeRange).at.size()); },
            [](int64_t result) { EXPECT_LE(result, 1) << "a spot that is not there"; });
}

TEST_F(LiteralCarefulDefects, EmbossedDotsArePaintedOver)
{
    const int32_t im = image(200, 160, PIX_BYTE, [](int32_t x, int32_t y) {
        const int32_t dx = x % 40 - 20, dy = y % 40 - 20;
        return dx * dx + dy * dy < 60 ? 220 : 60;
    });
    I_SetClipMode(1);
    const double before = pixel(im, 60, 60);
    const int32_t painted = I_BlackenBraille(im, 16, 0, 100);
    EXPECT_GE(painted, 12);
    EXPECT_LE(painted, 24);
    EXPECT_EQ(220.0, before);
    EXPECT_EQ(0.0, pixel(im, 60, 60));
    EXPECT_EQ(60.0, pixel(im, 40, 40));
}

TEST_F(LiteralCarefulDefects, FlatImageHasNoDots)
{
    const int32_t im = image(80, 60, PIX_BYTE, [](int32_t, int32_t) { return 90; });
    I_SetWindowROI(10, 10, 60, 50);
    EXPECT_EQ(0, I_BlackenBraille(im, 12, 1, 30));
    EXPECT_EQ(1, I_GetROIType());
    EXPECT_EQ(0, I_BlackenBraille(0, 12, 1, 30));
    forEachFailingAllocation([&] { return I_BlackenBraille(im, 12, 1, 30); },
                             [](int64_t painted) { EXPECT_EQ(0, painted); });
}

} // namespace
} // namespace vexa::test
