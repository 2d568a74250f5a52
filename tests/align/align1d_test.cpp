#include <random>

#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/align1d.h"
#include "vexalib/correlation.h"
#include "vexalib/smart_align.h"

namespace vexa::test
{
namespace
{

using Array = std::vector<int32_t>;

class Align1D : public testing::Test
{
protected:
    void SetUp() override
    {
        I_SetLinearCorrelation(1);
        I_SetStrict1DConvolve(0);
        I_SetROIType(0);
        clearError();
    }
    void TearDown() override { SetUp(); }
};
using LiteralAlign1D = Align1D;
using BoundsAlign1D = Align1D;
using FailuresAlign1D = Align1D;

// A smooth hill of 100 grey levels at a place.
Array hill(int32_t length, double at, double width = 4.0)
{
    Array array;
    for (int32_t i = 0; i < length; ++i)
        array.push_back(static_cast<int32_t>(
            std::lround(100 + 1000 * std::exp(-(i - at) * (i - at) / (2 * width * width)))));
    return array;
}

float correlate(Array a, Array b, int32_t range, float* quality)
{
    return I_CrossCorrelateArray(a.data(), static_cast<int32_t>(a.size()), b.data(),
                                 static_cast<int32_t>(b.size()), range, quality);
}

TEST_F(LiteralAlign1D, EqualArraysHaveOffsetZeroAndQualityOne)
{
    float quality = 0;
    EXPECT_EQ(0.0F, correlate(hill(60, 30), hill(60, 30), 10, &quality));
    EXPECT_EQ(1.0F, quality);
}

TEST_F(LiteralAlign1D, OffsetIsTheAmountByWhichTheSecondIsReadOn)
{
    for (const int32_t linear : {1, 0}) {
        I_SetLinearCorrelation(linear);
        for (const int32_t strict : {0, 1}) {
            EXPECT_EQ(strict, I_SetStrict1DConvolve(strict));
            float quality = 0;
            EXPECT_NEAR(5.0, correlate(hill(60, 30), hill(60, 35), 10, &quality), 0.4) << linear << strict;
            EXPECT_GT(quality, 0.8F);
            EXPECT_NEAR(-4.0, correlate(hill(60, 30), hill(60, 26), 10, &quality), 0.4) << linear << strict;
        }
    }
}

TEST_F(LiteralAlign1D, SpanOfTwoGreyLevelsIsFlat)
{
    Array low(20, 7);
    for (std::size_t i = 0; i < low.size(); i += 2)
        low[i] = 9;
    float quality = 5;
    EXPECT_EQ(0.0F, correlate(low, hill(20, 9), 5, &quality));
    EXPECT_EQ(0.0F, quality);
    low[0] = 10;
    correlate(low, hill(20, 9), 5, &quality);
    EXPECT_NE(0.0F, quality);
}

TEST_F(LiteralAlign1D, BothArraysAreBroughtToACommonLevel)
{
    Array a = {0, 10, 20, 30}, b = {100, 120, 140, 160};
    float quality = 0;
    I_CrossCorrelateArray(a.data(), 4, b.data(), 4, 1, &quality);
    EXPECT_THAT(a, testing::ElementsAre(-15, -5, 5, 15));
    EXPECT_THAT(b, testing::ElementsAre(-15, -5, 5, 15)); // distances of 20 brought to those of 10
    I_SetLinearCorrelation(0);
    a = {0, 10, 20, 30};
    b = {100, 120, 140, 160};
    I_CrossCorrelateArray(a.data(), 4, b.data(), 4, 1, &quality);
    // The deviation of a is 12.9099, that of b twice as much.
    EXPECT_THAT(a, testing::ElementsAre(-1161, -387, 387, 1161));
    EXPECT_THAT(b, testing::ElementsAre(-1161, -387, 387, 1161));
}

TEST_F(LiteralAlign1D, PeriodicArrayResolvesToTheRepeatNearestToZero)
{
    Array wave;
    for (int32_t i = 0; i < 80; ++i)
        wave.push_back(static_cast<int32_t>(std::lround(500 + 300 * std::sin(i * 6.28318530718 / 10))));
    float quality = 0;
    const float offset = correlate(wave, wave, 25, &quality);
    EXPECT_NEAR(0.0, offset, 2.6); // ties raise it by half their number
    EXPECT_GT(quality, 0.95F);
}

TEST_F(BoundsAlign1D, ShortArraysAndRanges)
{
    float quality = 3;
    EXPECT_EQ(0.0F, correlate({1, 50}, hill(20, 5), 3, &quality));
    EXPECT_EQ(0.0F, quality);
    EXPECT_EQ(0.0F, correlate({1, 50, 9}, {1, 50, 9}, 0, &quality));
    EXPECT_EQ(0.0F, correlate({1, 50, 9}, {1, 50, 9}, INT32_MIN, &quality));
    EXPECT_EQ(0.0F, I_CrossCorrelateArray(nullptr, 9, nullptr, 9, 3, nullptr));
    const float offset = correlate({1, 50, 9}, {1, 50, 9}, INT32_MAX, &quality); // limited to 1
    EXPECT_LE(std::fabs(offset), 1.5F);
}

TEST_F(LiteralAlign1D, AutocorrelationFindsThePeriod)
{
    for (const double period : {7.0, 9.2, 16.0, 23.3}) {
        Array wave;
        for (int32_t i = 0; i < 140; ++i)
            wave.push_back(
                static_cast<int32_t>(std::lround(5000 + 3000 * std::sin(i * 6.28318530718 / period))));
        float quality = 0;
        std::vector<float> work(71);
        EXPECT_NEAR(period, I_AutoCorrelate1DType(wave.data(), 140, PIX_DWORD, work.data(), 70, &quality),
                    0.5)
            << period;
        EXPECT_EQ(1.0F, work[0]);
        EXPECT_GT(quality, 0.8F);
        std::vector<uint8_t> bytes;
        for (const int32_t value : wave)
            bytes.push_back(static_cast<uint8_t>(value / 40));
        EXPECT_NEAR(period, I_AutoCorrelate1DType(bytes.data(), 140, PIX_BYTE, nullptr, 70, &quality), 0.5)
            << period;
    }
}

TEST_F(BoundsAlign1D, AutocorrelationOfNothing)
{
    float quality = 4;
    const Array flat(40, 9);
    EXPECT_EQ(0.0F, I_AutoCorrelate1DType(flat.data(), 40, PIX_DWORD, nullptr, 20, &quality));
    EXPECT_EQ(0.0F, quality);
    EXPECT_EQ(0.0F, I_AutoCorrelate1DType(flat.data(), 3, PIX_DWORD, nullptr, 20, &quality));
    EXPECT_EQ(0.0F, I_AutoCorrelate1DType(flat.data(), 40, PIX_DWORD, nullptr, 1, &quality));
    EXPECT_EQ(0.0F, I_AutoCorrelate1DType(nullptr, 40, PIX_DWORD, nullptr, 9, nullptr));
    for (int32_t length = 4; length < 30; ++length)
        I_AutoCorrelate1DType(hill(length, 3, 1).data(), length, PIX_DWORD, nullptr, INT32_MAX, &quality);
}

TEST_F(LiteralAlign1D, IntegerAutocorrelation)
{
    std::vector<uint8_t> bytes;
    for (int32_t i = 0; i < 40; ++i)
        bytes.push_back(i % 6 < 3 ? 100 : 20);
    int32_t out[20] = {};
    EXPECT_EQ(6, AutoCorrelate1D(bytes.data(), out, 40, 20));
    // The mean is 62 (21 of 100, 19 of 20), and the divisor 40 / 8.
    EXPECT_EQ((21 * 38 * 38 + 19 * 42 * 42) / 5, out[0]);
    const uint8_t rising[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    EXPECT_EQ(6, AutoCorrelate1D(rising, out, 10, 8));
    EXPECT_EQ(1, AutoCorrelate1D(rising, out, 10, 2));
    EXPECT_EQ(1, AutoCorrelate1D(nullptr, nullptr, 0, 0));
}

TEST_F(LiteralAlign1D, SwitchOfSettings)
{
    EXPECT_EQ(3, Setup1DCorrelate(0, 3));
    EXPECT_EQ(0, Setup1DCorrelate(4, 11));
    EXPECT_EQ(11, Setup1DCorrelate(4, 12));
    EXPECT_EQ(0, Setup1DCorrelate(5, 21));
    EXPECT_EQ(12, Setup1DCorrelate(6, 99));
    EXPECT_EQ(21, Setup1DCorrelate(7, 99));
    EXPECT_EQ(99, Setup1DCorrelate(8, 99));
    EXPECT_EQ(12, Setup1DCorrelate(4, 0));
    EXPECT_EQ(21, Setup1DCorrelate(5, 0));
}

// Soft squares, moved by a shift.
int32_t squares(double dx, double dy, int32_t cols = 200, int32_t rows = 180)
{
    const auto step = [](double d) { return 1.0 / (1.0 + std::exp(-d)); };
    return byteImage(cols, rows, [=](int32_t x, int32_t y) {
        double value = 30;
        const double corners[][3] = {{60, 50, 38}, {120, 70, 25}, {85, 110, 30}};
        for (const auto& [cx, cy, side] : corners)
            value += 60 * step(x - dx - cx) * step(cx + side - x + dx) * step(y - dy - cy) *
                     step(cy + side - y + dy);
        return value;
    });
}

TEST_F(LiteralAlign1D, ImagesAreAlignedToAFractionOfAPixel)
{
    const int32_t reference = squares(0, 0);
    for (const double shift : {0.0, 0.3, 2.0, -3.4, 6.6}) {
        const int32_t moved = squares(shift, -shift / 2);
        float dx = 0, dy = 0, qualX = 0, qualY = 0;
        EXPECT_EQ(1, I_ImageAlign1D(reference, moved, 30, 30, 130, 120, 10, 10, &dx, &dy, &qualX, &qualY));
        EXPECT_NEAR(shift, dx, 0.12) << shift;
        EXPECT_NEAR(-shift / 2, dy, 0.12) << shift;
        EXPECT_GT(qualX, 0.8F);
        EXPECT_GT(qualY, 0.8F);
        I_ImClose(moved);
    }
}

TEST_F(LiteralAlign1D, FlatBoxKeepsTheOffset)
{
    const int32_t flat = byteImage(80, 70, [](int32_t, int32_t) { return 90; });
    float dx = 1.5F, dy = -2.5F, qualX = 9, qualY = 9;
    EXPECT_EQ(1, I_ImageAlign1D(flat, flat, 10, 10, 40, 40, 5, 5, &dx, &dy, &qualX, &qualY));
    EXPECT_EQ(1.5F, dx);
    EXPECT_EQ(-2.5F, dy);
    EXPECT_EQ(0.0F, qualX);
    EXPECT_EQ(0.0F, qualY);
}

TEST_F(LiteralAlign1D, RangeOfZeroLeavesItsAxisAlone)
{
    const int32_t a = squares(0, 0), b = squares(3, 3);
    float dx = 0.25F, dy = 0, qualX = 9, qualY = 9;
    EXPECT_EQ(1, I_ImageAlign1D(a, b, 30, 30, 130, 120, 0, 8, &dx, &dy, &qualX, &qualY));
    EXPECT_EQ(0.25F, dx);
    EXPECT_EQ(0.0F, qualX);
    EXPECT_NEAR(3.0, dy, 0.2);
}

TEST_F(LiteralAlign1D, PropertiesOfAGrating)
{
    // Stripes of 200 on 50, 12 pixels apart, in columns only.
    const int32_t im = byteImage(120, 60, [](int32_t x, int32_t) { return x % 12 < 5 ? 200 : 50; });
    float dx = 0, dy = 0, qualX = 0, qualY = 0;
    EXPECT_EQ(1, I_ImageAlign1D(im, im, 6, 6, 96, 40, 4, 4, &dx, &dy, &qualX, &qualY));
    float repeatX, repeatY, repeatQualityX, repeatQualityY, contrastX, contrastY, stepX, stepY;
    EXPECT_EQ(1.0F, I_GetAlign1DParams(&repeatX, &repeatY, &repeatQualityX, &repeatQualityY, &contrastX,
                                       &contrastY, &stepX, &stepY));
    EXPECT_NEAR(12.0, repeatX, 0.3);
    EXPECT_GT(repeatQualityX, 0.9F);
    EXPECT_EQ(0.0F, repeatY);
    EXPECT_EQ(0.0F, repeatQualityY);
    EXPECT_NEAR(150.0 / 255.0, contrastX, 1e-3);
    EXPECT_NEAR(150.0 / 255.0, stepX, 1e-3);
    EXPECT_EQ(0.0F, stepY);
    float x = 0, y = 1;
    EXPECT_EQ(1.0F, I_GetAlign1DRepeat(&x, &y));
    EXPECT_EQ(repeatX, x);
    EXPECT_EQ(0.0F, y);
    EXPECT_EQ(1.0F,
              I_GetAlign1DParams(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
}

TEST_F(FailuresAlign1D, UninitialisedOffset)
{
    const int32_t im = squares(0, 0);
    Messages messages;
    float dx = 1e6F, dy = 0, qualX = 9, qualY = 9;
    EXPECT_EQ(0, I_ImageAlign1D(im, im, 0, 0, 50, 50, 5, 5, &dx, &dy, &qualX, &qualY));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ("ImageAlign1D unintialized initial offset: 1000000.0 0.0", errorText());
    ASSERT_EQ(1U, messages.all().size());
    EXPECT_THAT(messages.all()[0],
                testing::HasSubstr("ImageAlign1D unintialized initial offset: 1000000.0 0.0"));
    EXPECT_EQ(9.0F, qualX);
}

TEST_F(FailuresAlign1D, BoxesThatCannotBeCompared)
{
    const int32_t im = squares(0, 0);
    float dx = 0, dy = 0, qualX = 9, qualY = 9;
    EXPECT_EQ(0, I_ImageAlign1D(im, im, 198, 178, 40, 40, 5, 5, &dx, &dy, &qualX, &qualY));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ("ImageAlign1D: box too small after cropping=2 x 2. xy=198,178; imSize=200,180", errorText());
    EXPECT_EQ(0.0F, qualX);
    clearError();
    dx = 195;
    EXPECT_EQ(0, I_ImageAlign1D(im, im, 0, 0, 40, 40, 5, 5, &dx, &dy, &qualX, &qualY));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    dx = 0;
    EXPECT_EQ(0, I_ImageAlign1D(im, im, INT32_MAX, INT32_MIN, INT32_MAX, INT32_MAX, 5, 5, &dx, &dy, &qualX,
                                &qualY));
    EXPECT_EQ(0, I_ImageAlign1D(im, 0, 0, 0, 40, 40, 5, 5, nullptr, nullptr, nullptr, nullptr));
}

TEST_F(FailuresAlign1D, WithoutMemory)
{
    const int32_t a = squares(0, 0), b = squares(2.4, 1.7);
    forEachFailingAllocation(
        [&] {
            float dx = 0, dy = 0, qualX, qualY;
            return I_ImageAlign1D(a, b, 30, 30, 130, 120, 10, 10, &dx, &dy, &qualX, &qualY);
        },
        [](int64_t) { EXPECT_EQ(2, I_GetError(nullptr, 0)); });
}

TEST_F(LiteralAlign1D, ClosestEdgeIsACleanOneNearTheMiddle)
{
    // One vertical edge right of column 50, one horizontal edge below row 40 of the left part.
    const int32_t im = byteImage(100, 80, [](int32_t x, int32_t y) {
        return x > 50 ? 200 : y > 40 ? 90 : 30;
    });
    VexaPoint xPeak = {-7, -7}, yPeak = {-7, -7};
    int32_t xSlope = 0, ySlope = 0;
    EXPECT_EQ(60, FindClosestEdge(im, nullptr, 13, &xPeak, &yPeak, &xSlope, &ySlope));
    EXPECT_EQ(50, xPeak.x);
    EXPECT_EQ(170, xSlope); // above row 40
    EXPECT_EQ(40, yPeak.y);
    EXPECT_EQ(60, ySlope);
    EXPECT_LT(yPeak.x, 50);
}

TEST_F(LiteralAlign1D, EdgesInsideTheGivenBoxDoNotCount)
{
    const int32_t im = byteImage(100, 80, [](int32_t x, int32_t) {
        return x > 80 ? 200 : x > 50 ? 120 : 30;
    });
    VexaBox box = {40, 0, 60, 79};
    VexaPoint xPeak = {}, yPeak = {};
    int32_t xSlope = 0, ySlope = 0;
    EXPECT_EQ(0, FindClosestEdge(im, &box, 13, &xPeak, &yPeak, &xSlope, &ySlope));
    EXPECT_EQ(80, xPeak.x);
    EXPECT_EQ(80, xSlope);
    EXPECT_EQ(0, ySlope);
}

TEST_F(LiteralAlign1D, SmartAlignFindsAShift)
{
    const int32_t reference = squares(0, 0);
    for (const double shift : {0.0, 1.3, -4.0, 7.4}) {
        const int32_t moved = squares(shift, -shift);
        float dx = 0, dy = 0, qualX = 0, qualY = 0;
        VexaBox used = {-5, -5, -5, -5};
        EXPECT_EQ(1, I_SmartAlign(reference, moved, nullptr, &used, 10, &dx, &dy, &qualX, &qualY));
        EXPECT_NEAR(shift, dx, 0.5) << shift;
        EXPECT_NEAR(-shift, dy, 0.5) << shift;
        EXPECT_GT(used.right, used.left);
        I_ImClose(moved);
    }
}

TEST_F(LiteralAlign1D, BlankImagesStayWhereTheyWere)
{
    const int32_t flat = byteImage(80, 70, [](int32_t, int32_t) { return 90; });
    float dx = 1.5F, dy = -2.5F, qualX = 9, qualY = 9;
    VexaBox used = {-5, -5, -5, -5};
    EXPECT_EQ(1, I_SmartAlign(flat, flat, nullptr, &used, 5, &dx, &dy, &qualX, &qualY));
    EXPECT_EQ(1.5F, dx);
    EXPECT_EQ(-2.5F, dy);
    EXPECT_EQ(0.0F, qualX);
    EXPECT_EQ(0.0F, qualY);
    EXPECT_EQ(-5, used.left);
}

TEST_F(LiteralAlign1D, SmallestShiftIsOne)
{
    const int32_t im = squares(0, 0);
    Messages messages;
    float dx = 0, dy = 0, qualX = 0, qualY = 0;
    EXPECT_EQ(1, I_SmartAlign(im, im, nullptr, nullptr, -3, &dx, &dy, &qualX, &qualY));
    ASSERT_EQ(1U, messages.all().size());
    EXPECT_THAT(messages.all()[0], testing::HasSubstr("I_SmartAlign: maxshift=-3; setting it to 1."));
    EXPECT_NEAR(0.0, dx, 0.6);
}

TEST_F(LiteralAlign1D, LinesInOneDirectionAreMeasuredInOneDirection)
{
    const auto lines = [](double shift) {
        return byteImage(160, 120, [=](int32_t x, int32_t) {
            return 40 + 150 * std::exp(-(x - 70 - shift) * (x - 70 - shift) / 6);
        });
    };
    float dx = 0, dy = 0.75F, qualX = 0, qualY = 0;
    VexaBox used = {};
    EXPECT_EQ(1, I_SmartAlign(lines(0), lines(2.0), nullptr, &used, 6, &dx, &dy, &qualX, &qualY));
    EXPECT_NEAR(2.0, dx, 0.2);
    EXPECT_EQ(0.75F, dy);
    EXPECT_EQ(0.0F, qualY);
    EXPECT_GT(qualX, 0.85F);
    // Wide and low: span 20, a quarter high.
    EXPECT_EQ(20, used.right - used.left);
    EXPECT_EQ(5, used.bottom - used.top);
}

TEST_F(FailuresAlign1D, SmartAlignOfNoImages)
{
    Messages messages;
    float dx = 1, dy = 2, qualX = 9, qualY = 9;
    EXPECT_EQ(1, I_SmartAlign(0, 0, nullptr, nullptr, 5, &dx, &dy, &qualX, &qualY));
    EXPECT_EQ(1.0F, dx);
    EXPECT_EQ(0.0F, qualX);
    EXPECT_EQ(2U, messages.all().size()); // the size of imRef, then that of imDef
    EXPECT_EQ(1, I_SmartAlign(0, 0, nullptr, nullptr, 5, nullptr, nullptr, nullptr, nullptr));
}

} // namespace
} // namespace vexa::test
