#include "vexalib/smoothing.h"

#include <cmath>

#include "support/instruction_set.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

namespace
{

using namespace vexa::test;

class LiteralSmoothing : public testing::TestWithParam<vexa::InstructionSet>
{
protected:
    void SetUp() override { vexa::limitInstructionSet(GetParam()); }
    void TearDown() override
    {
        I_SetBorderMode(-1, nullptr, 0);
        I_SetROIType(0);
        I_SetClipMode(1);
        I_ImCloseAll();
        clearError();
    }
};
INSTANTIATE_TEST_SUITE_P(EverySet, LiteralSmoothing, testing::ValuesIn(vexa::availableInstructionSets()));

using Row = std::vector<double>;

TEST_P(LiteralSmoothing, I_SmoothRoundsByFourNinths)
{
    const int32_t src = byteImage({{1, 2, 3}, {4, 5, 6}, {7, 8, 100}});
    const int32_t dest = byteImage(3, 3);
    EXPECT_EQ(1, I_Smooth(src, dest));
    EXPECT_EQ((Row{2, 3, 4}), rowOf(dest, 0));   // 21, 27 and 33 with the edge repeated
    EXPECT_EQ((Row{4, 15, 26}), rowOf(dest, 1)); // 39 + 4, 136 + 4, 233 + 4 by 9
    const int32_t floats =
        floatImage(3, 3, [](int32_t x, int32_t y) { return x == 1 && y == 1 ? 9.0 : 0.0; });
    EXPECT_EQ(1, I_Smooth(floats, floats));
    EXPECT_EQ((Row{1, 1, 1}), rowOf(floats, 0));
}

TEST_P(LiteralSmoothing, I_SharpenAddsTheDifferenceToTheMean)
{
    const int32_t src = byteImage(5, 5, [](int32_t x, int32_t y) { return x == 2 && y == 2 ? 108 : 100; });
    const int32_t dest = byteImage(5, 5);
    EXPECT_EQ(1, I_Sharpen(src, dest, 16, 1, 0));
    EXPECT_EQ((Row{100, 99, 116, 99, 100}), rowOf(dest, 2)); // 8 * 16 / 128 = 1 either way, 64 * 16 / 128 = 8
    EXPECT_EQ(1, I_Sharpen(src, dest, 16, 2, 0));
    EXPECT_EQ((Row{99, 100, 116, 100, 99}), rowOf(dest, 2));
    I_SetClipMode(0);
    EXPECT_EQ(1, I_Sharpen(src, dest, 15, 1, 1));
    EXPECT_EQ((Row{0, 0, 7, 0, 0}), rowOf(dest, 2)); // -120 / 128 truncates to 0, 960 / 128 to 7
    EXPECT_EQ(0, I_Sharpen(src, dest, 16, 0, 0));
    EXPECT_EQ("I_Sharpen: width=0", errorText());
}

TEST_P(LiteralSmoothing, I_MxNSmoothWeighsTheEnds)
{
    const int32_t src = floatImage(7, 2, [](int32_t x, int32_t) { return x == 3 ? 60.0 : 0.0; });
    const int32_t dest = floatImage(7, 2);
    EXPECT_EQ(1, I_MxNSmooth(src, dest, 3.0F, 1.0F));
    EXPECT_EQ((Row{0, 0, 20, 20, 20, 0, 0}), rowOf(dest, 0));
    EXPECT_EQ(1, I_MxNSmooth(src, dest, 2.0F, 0.5F));
    EXPECT_EQ((Row{0, 0, 15, 30, 15, 0, 0}), rowOf(dest, 0));
    EXPECT_EQ(1, I_MxNSmooth(src, dest, 1.5F, 1.0F));
    EXPECT_EQ((Row{0, 0, 10, 40, 10, 0, 0}), rowOf(dest, 1));
    EXPECT_EQ(1, I_MxNSmooth(src, dest, 1.0F, 1.0F));
    EXPECT_EQ((Row{0, 0, 0, 60, 0, 0, 0}), rowOf(dest, 1));
}

TEST_P(LiteralSmoothing, I_MxNSmoothOfWhiteByThirteenIsBlack)
{
    const int32_t white = byteImage(40, 3, [](int32_t, int32_t) { return 255; });
    const int32_t dest = byteImage(40, 3);
    EXPECT_EQ(1, I_MxNSmooth(white, dest, 13.0F, 1.0F)); // (13 * 255 * 79 + 512) >> 10 = 256
    EXPECT_EQ(Row(40, 0.0), rowOf(dest, 1));
    EXPECT_EQ(1, I_MxNSmooth(white, dest, 1.0F, 13.0F));
    EXPECT_EQ(Row(40, 0.0), rowOf(dest, 1));
    EXPECT_EQ(1, I_MxNSmooth(white, dest, 15.0F, 1.0F)); // (15 * 255 * 68 + 512) >> 10 = 254
    EXPECT_EQ(Row(40, 254.0), rowOf(dest, 1));
}

TEST(LiteralSmoothArray, I_SmoothArrayFloatOfSixByFiveWeighsByOneTwoOne)
{
    float a[] = {4, 8, 16, 32, 64, 128};
    EXPECT_EQ(1, I_SmoothArrayFloat(a, 6, 5));
    EXPECT_THAT(a, testing::ElementsAre(6, 9, 18, 36, 72, 96));
}

TEST_P(LiteralSmoothing, I_ShiftSharpenByAlmostNothingCopies)
{
    const int32_t src = byteImage({{10, 20, 30, 40}, {50, 60, 70, 80}});
    const int32_t dest = byteImage(4, 2);
    EXPECT_EQ(1, I_ShiftSharpen(src, dest, 0.005F, 0.0F, 1.0F));
    EXPECT_EQ((Row{10, 20, 30, 40}), rowOf(dest, 0));
    I_ImClear(dest, 0.0);
    EXPECT_EQ(1, I_ShiftSharpen(src, dest, 0.995F, 0.0F, 1.0F));
    EXPECT_EQ((Row{10, 20, 30, 40}), rowOf(dest, 0));
    EXPECT_EQ(1, I_ShiftSharpen(src, dest, 0.5F, 0.0F, 0.0F));
    EXPECT_EQ((Row{15, 25, 35, 40}), rowOf(dest, 0)); // the last column has no source and keeps what it had
}

} // namespace
