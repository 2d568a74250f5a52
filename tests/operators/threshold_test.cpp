#include "support/instruction_set.h"
#include "tests/operators/display_test.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

#include <limits>

using namespace vexa::test;

namespace
{

class Threshold : public testing::TestWithParam<vexa::InstructionSet>
{
protected:
    void SetUp() override { vexa::limitInstructionSet(GetParam()); }
    void TearDown() override
    {
        vexa::limitInstructionSet(vexa::InstructionSet::avx512);
        I_SetROIType(0);
    }
};
INSTANTIATE_TEST_SUITE_P(EverySet, Threshold, testing::ValuesIn(vexa::availableInstructionSets()));

class Normalize : public DisplayTest
{
protected:
    ~Normalize() override
    {
        I_SetROIType(0);
        I_SetColorProcMode(3);
    }
};

int32_t allBytes()
{
    return byteImage(256, 1, [](int32_t x, int32_t) { return x; });
}

TEST_P(Threshold, LiteralBandInvertedBandAndNothingBetween)
{
    const int32_t src = allBytes();
    const int32_t dest = byteImage(256, 1);
    const struct {
        float low;
        float high;
        std::function<bool(int32_t)> white;
    } cases[] = {
        {100.0F, 200.0F, [](int32_t i) { return i >= 100 && i <= 200; }},
        {200.0F, 100.0F, [](int32_t i) { return i <= 100 || i >= 200; }},
        {100.0F, 99.0F, [](int32_t) { return true; }},
        {99.5F, 100.4F, [](int32_t i) { return i == 100; }}, // both round to 100
        {99.4F, 1000.0F, [](int32_t i) { return i >= 99; }},
        {-50.0F, -1.0F, [](int32_t i) { return i == 0; }},
        {300.0F, 400.0F, [](int32_t i) { return i == 255; }},
    };
    for (const auto& c : cases) {
        ASSERT_EQ(1, I_Threshold(src, dest, c.low, c.high));
        for (int32_t x = 0; x < 256; ++x)
            ASSERT_EQ(c.white(x) ? 255 : 0, pixel(dest, x, 0)) << c.low << " to " << c.high << " at " << x;
    }
    closeImages({src, dest});
}

TEST_P(Threshold, BoundsOfAnyFloat)
{
    const int32_t im = allBytes();
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const float low : {nan, inf, -inf, 1e30F})
        for (const float high : {nan, inf, -inf, -1e30F})
            EXPECT_EQ(1, I_Threshold(im, im, low, high));
    closeImages({im});
}

TEST_P(Threshold, LiteralGammaMap)
{
    const int32_t src = allBytes();
    const int32_t dest = byteImage(256, 1);
    Table table{};
    I_MakeGammaLUT(table.data(), 2.0);
    ASSERT_EQ(1, I_GammaMap(src, dest, 2.0F));
    EXPECT_EQ(std::vector<uint8_t>(table.begin(), table.end()), bytesOf(dest));
    ASSERT_EQ(1, I_GammaMap(src, dest, 0.05F));
    EXPECT_EQ(bytesOf(src), bytesOf(dest)) << "a gamma out of range changes nothing";
    closeImages({src, dest});
}

TEST_P(Threshold, FailuresOfImages)
{
    clearError();
    EXPECT_EQ(0, I_Threshold(5, 5, 1.0F, 2.0F));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_GammaMap(0, 0, 1.0F));
}

TEST_F(Normalize, LiteralConstantImageGoesToTheMiddle)
{
    I_SetColorMode(0);
    const int32_t src = byteImage(8, 8, [](int32_t, int32_t) { return 100; });
    const int32_t dest = byteImage(8, 8);
    EXPECT_EQ(64, I_NormalizeROI(src, dest));
    EXPECT_THAT(rowOf(dest, 3), testing::Each(127)) << "100 + trunc(127.5 - 100)";
    float low = 0;
    float high = 0;
    float mean = 0;
    float deviation = 9;
    EXPECT_EQ(0.0F, I_GetNormalizeRange(&low, &high, &mean, &deviation));
    EXPECT_EQ(100.0F, low);
    EXPECT_EQ(100.0F, high);
    EXPECT_EQ(100.0F, mean);
    EXPECT_EQ(0.0F, deviation);
    closeImages({src, dest});
}

TEST_F(Normalize, LiteralGainIsAtMost85OnBytes)
{
    I_SetColorMode(0);
    const int32_t src = byteImage({{100, 101, 102}});
    const int32_t dest = byteImage({{0, 0, 0}});
    EXPECT_EQ(3, I_NormalizeROI(src, dest));
    EXPECT_THAT(rowOf(dest, 0), testing::ElementsAre(0, 85, 170));
    float low = 0;
    float mean = 0;
    EXPECT_EQ(2.0F, I_GetNormalizeRange(&low, nullptr, &mean, nullptr));
    EXPECT_EQ(100.0F, low);
    EXPECT_EQ(101.0F, mean);
    closeImages({src, dest});
}

TEST_F(Normalize, LiteralGainIsNotLimitedOnFloats)
{
    I_SetColorMode(0);
    const int32_t src = floatImage(3, 1, [](int32_t x, int32_t) { return 100 + x; });
    const int32_t dest = floatImage(3, 1);
    EXPECT_EQ(3, I_NormalizeROI(src, dest));
    EXPECT_THAT(rowOf(dest, 0), testing::ElementsAre(0, 127.5, 255));
    closeImages({src, dest});
}

TEST_F(Normalize, LiteralTopIs251InAColorMode)
{
    I_SetColorMode(1);
    const int32_t src = byteImage({{50, 100, 250}});
    const int32_t dest = byteImage({{0, 0, 0}});
    EXPECT_EQ(3, I_NormalizeROI(src, dest));
    EXPECT_THAT(rowOf(dest, 0), testing::ElementsAre(0, 63, 251)); // 50 * 1.255 + 0.5
    closeImages({src, dest});
}

TEST_F(Normalize, LiteralRangeWithoutLimitAndReversed)
{
    const int32_t src = byteImage({{100, 101, 102}});
    const int32_t dest = byteImage({{0, 0, 0}});
    EXPECT_EQ(3, I_NormalizeRange(src, dest, 10.0F, 210.0F, 0.0F, 0));
    EXPECT_THAT(rowOf(dest, 0), testing::ElementsAre(10, 110, 210));
    EXPECT_EQ(3, I_NormalizeRange(src, dest, 200.0F, 0.0F, 85.0F, 0));
    EXPECT_THAT(rowOf(dest, 0), testing::ElementsAre(200, 100, 0)) << "a negative gain is below any limit";
    closeImages({src, dest});
}

TEST_F(Normalize, LiteralWholeImageIsMappedByTheRangeOfTheRegion)
{
    const int32_t src = byteImage(6, 1, [](int32_t x, int32_t) { return 10 * x; });
    const int32_t dest = byteImage(6, 1, [](int32_t, int32_t) { return 77; });
    I_SetWindowROI(2, 0, 4, 0); // 20 to 40
    EXPECT_EQ(3, I_NormalizeRange(src, dest, 0.0F, 100.0F, 0.0F, 0));
    EXPECT_THAT(rowOf(dest, 0), testing::ElementsAre(77, 77, 0, 50, 100, 77));
    EXPECT_EQ(3, I_NormalizeRange(src, dest, 0.0F, 100.0F, 0.0F, 1));
    EXPECT_THAT(rowOf(dest, 0), testing::ElementsAre(0, 0, 0, 50, 100, 150));
    EXPECT_EQ(1, I_GetROIType()) << "the region is as it was";
    int32_t left = 0;
    int32_t right = 0;
    I_GetWindowROI(&left, nullptr, &right, nullptr);
    EXPECT_EQ(2, left);
    EXPECT_EQ(4, right);
    closeImages({src, dest});
}

TEST_F(Normalize, FailuresOfImagesKeepTheRegionAndTheLastRange)
{
    const int32_t im = byteImage({{10, 20}});
    ASSERT_EQ(2, I_NormalizeRange(im, im, 0.0F, 100.0F, 0.0F, 0));
    I_SetWindowROI(0, 0, 1, 0);
    EXPECT_EQ(0, I_NormalizeRange(0, im, 0.0F, 1.0F, 0.0F, 0));
    EXPECT_EQ(0, I_NormalizeRange(im, 0, 0.0F, 1.0F, 0.0F, 0));
    clearError();
    EXPECT_EQ(0, I_NormalizeRange(-290, im, 0.0F, 1.0F, 0.0F, 1));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ(1, I_GetROIType());
    EXPECT_EQ(10.0F, I_GetNormalizeRange(nullptr, nullptr, nullptr, nullptr));
    EXPECT_THAT(rowOf(im, 0), testing::ElementsAre(0, 100));
    closeImages({im});
}

TEST_F(Normalize, LiteralEmptyRegionMapsNothing)
{
    const VexaPoint below[] = {{0, 50}, {3, 50}};
    for (const int32_t im :
         {byteImage({{10, 20}}), floatImage(2, 1, [](int32_t x, int32_t) { return 10 + 10 * x; })}) {
        I_SetScanlistROI(below, 2);
        EXPECT_EQ(0, I_NormalizeRange(im, im, 0.0F, 100.0F, 0.0F, 1));
        EXPECT_THAT(rowOf(im, 0), testing::ElementsAre(10, 20));
        EXPECT_EQ(3, I_GetROIType());
        closeImages({im});
    }
}

TEST_F(Normalize, LiteralLimitedWidensTheRangeAroundItsCenter)
{
    I_SetColorMode(0);
    const int32_t src = byteImage(256, 1, [](int32_t x, int32_t) { return 100 + x % 11; });
    const int32_t dest = byteImage(256, 1);
    EXPECT_EQ(63, I_NormalizeLimited(src, dest, 4.0F)); // 74 to 137
    Table table{};
    I_StretchLUT(74, 137, table.data());
    for (int32_t x = 0; x < 256; ++x)
        ASSERT_EQ(table[static_cast<std::size_t>(100 + x % 11)], pixel(dest, x, 0));
    EXPECT_EQ(10, I_NormalizeLimited(src, dest, 0.0F));
    EXPECT_EQ(0, pixel(dest, 0, 0));
    EXPECT_EQ(255, pixel(dest, 10, 0));
    EXPECT_EQ(10, I_NormalizeLimited(src, dest, 25.5F)) << "a width of 10 is wide enough";
    const int32_t dark = byteImage({{3, 5}});
    EXPECT_EQ(63, I_NormalizeLimited(dark, dark, 4.0F)) << "0 to 63";
    EXPECT_THAT(rowOf(dark, 0), testing::ElementsAre(12, 20)); // 1036 / 256 per step
    closeImages({src, dest, dark});
}

TEST_F(Normalize, BoundsLimitedByAnyGain)
{
    const int32_t im = byteImage({{3, 5}});
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const float gain : {1e-30F, 1e-7F, 1e30F, -1.0F, nan})
        I_NormalizeLimited(im, im, gain);
    EXPECT_EQ(-256, I_NormalizeLimited(0, 0, 0.0F)) << "no counts: 256 to 0";
    closeImages({im});
}

// The described steps on a plain array of pixels of any size.
std::vector<uint8_t> expectedBorder(std::vector<uint8_t> a, int64_t bytes, int64_t stride, int64_t rows,
                                    VexaBox box)
{
    const int64_t cols = stride / bytes;
    const auto at = [&](int64_t x, int64_t y) { return a.begin() + y * stride + x * bytes; };
    for (int64_t y = 0; y < rows; ++y)
        for (int64_t x = 0; x < cols; ++x) {
            const int64_t fromX = std::min<int64_t>(std::max<int64_t>(x, box.left), box.right);
            const int64_t fromY = std::min<int64_t>(std::max<int64_t>(y, box.top), box.bottom);
            if (fromX != x || fromY != y)
                std::copy_n(at(fromX, fromY), bytes, at(x, y));
        }
    return a;
}

TEST(CopyBorder, LiteralColumnTwoGoesIntoColumnsOneAndZero)
{
    uint8_t pixels[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    EXPECT_EQ(1, I_CopyBorder(pixels, 1, 5, 2, 2, 0, 4, 1));
    EXPECT_THAT(pixels, testing::ElementsAre(3, 3, 3, 4, 5, 8, 8, 8, 9, 10));
}

TEST(CopyBorder, AgainstReferenceOfAllPixelSizes)
{
    std::mt19937 random(7);
    for (const int32_t bytes : {1, 2, 3, 4, 8, 16})
        for (const VexaBox box :
             {VexaBox{2, 1, 5, 4}, VexaBox{0, 0, 7, 6}, VexaBox{3, 3, 4, 4}, VexaBox{-2, -1, 6, 2}}) {
            const int32_t stride = 8 * bytes;
            std::vector<uint8_t> a(static_cast<std::size_t>(stride * 7));
            for (uint8_t& byte : a)
                byte = static_cast<uint8_t>(random());
            const std::vector<uint8_t> expected = expectedBorder(a, bytes, stride, 7, box);
            ASSERT_EQ(1, I_CopyBorder(a.data(), bytes, stride, 7, box.left, box.top, box.right, box.bottom));
            ASSERT_EQ(expected, a) << bytes;
        }
}

TEST(CopyBorder, LiteralRectanglesThatDoNotFit)
{
    std::vector<uint8_t> a(6 * 5, 1);
    const auto copy = [&](int32_t left, int32_t top, int32_t right, int32_t bottom) {
        return I_CopyBorder(a.data(), 1, 6, 5, left, top, right, bottom);
    };
    EXPECT_EQ(0, copy(1, 5, 4, 9)) << "top at the rows";
    EXPECT_EQ(0, copy(1, 2, 4, 2)) << "bottom not beyond top";
    EXPECT_EQ(0, copy(1, -3, 4, 0)) << "bottom not beyond 0";
    EXPECT_EQ(0, copy(6, 1, 9, 3)) << "left at the columns";
    EXPECT_EQ(0, copy(2, 1, 2, 3)) << "right not beyond left";
    EXPECT_EQ(0, copy(-2, 1, 0, 3)) << "right not beyond 0";
    EXPECT_EQ(1, copy(1, 1, 90, 90)) << "right and bottom may lie beyond the array";
    EXPECT_EQ(0, I_CopyBorder(nullptr, 1, 6, 5, 1, 1, 4, 3));
    EXPECT_EQ(0, I_CopyBorder(a.data(), 1, 0, 5, 0, 0, 4, 3));
    EXPECT_EQ(0, I_CopyBorder(a.data(), 1, -6, 5, -9, 0, 4, 3));
    EXPECT_EQ(0, I_CopyBorder(a.data(), 1, 6, 0, 0, -1, 4, 3));
    EXPECT_EQ(1, I_CopyBorder(a.data(), -3, 6, 5, 1, 1, 4, 3)) << "a pixel has at least one byte";
    constexpr int32_t least = std::numeric_limits<int32_t>::min();
    constexpr int32_t most = std::numeric_limits<int32_t>::max();
    EXPECT_EQ(1, copy(least, least, most, most));
    EXPECT_EQ(0, copy(most, most, least, least));
}

TEST(CopyBorder, LiteralImage)
{
    const int32_t im = byteImage({{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}, {13, 14, 15, 16}});
    EXPECT_EQ(1, I_ImCopyBorder(im, 1, 1, -1, -1)); // right and bottom 2
    EXPECT_THAT(rowOf(im, 0), testing::ElementsAre(6, 6, 7, 7));
    EXPECT_THAT(rowOf(im, 1), testing::ElementsAre(6, 6, 7, 7));
    EXPECT_THAT(rowOf(im, 3), testing::ElementsAre(10, 10, 11, 11));
    EXPECT_EQ(1, I_ImCopyBorder(im, 2, 0, 0, 0)) << "0 is the last column and row";
    EXPECT_THAT(rowOf(im, 3), testing::ElementsAre(11, 11, 11, 11));
    EXPECT_EQ(0, I_ImCopyBorder(im, 4, 0, 0, 0));
    closeImages({im});
}

TEST(CopyBorder, BoundsOfASubimageAreNotLeft)
{
    const int32_t im = byteImage(10, 6, [](int32_t x, int32_t y) { return x + 10 * y; });
    const int32_t sub = I_ImOpenSubimage(4, 2, 5, 3, im);
    ASSERT_EQ(1, I_ImCopyBorder(sub, 1, 1, 2, 2));
    EXPECT_THAT(rowOf(im, 2), testing::ElementsAre(20, 21, 22, 23, 35, 35, 36, 36, 36, 29));
    EXPECT_THAT(rowOf(im, 4), testing::ElementsAre(40, 41, 42, 43, 45, 45, 46, 46, 46, 49));
    EXPECT_THAT(rowOf(im, 5), testing::ElementsAre(50, 51, 52, 53, 54, 55, 56, 57, 58, 59));
    closeImages({sub, im});
}

TEST(CopyBorder, FailuresOfImages)
{
    const int32_t im = byteImage({{1}});
    clearError();
    EXPECT_EQ(0, I_ImCopyBorder(0, 1, 1, 0, 0));
    EXPECT_EQ(0, I_ImCopyBorder(-290, 1, 1, 0, 0));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    closeImages({im});
}

} // namespace
