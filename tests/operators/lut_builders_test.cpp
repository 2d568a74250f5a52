#include "tests/operators/display_test.h"

#include <limits>

#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;

namespace
{

class LutBuilder : public DisplayTest
{
protected:
    Table table_{};
    uint8_t* table() { return table_.data(); }
};

TEST_F(LutBuilder, LiteralGamma)
{
    for (const double none : {0.05, 10.5, -1.0, 1.0, std::numeric_limits<double>::quiet_NaN()}) {
        I_MakeGammaLUT(table(), none);
        EXPECT_EQ(identity(), table_) << none;
    }
    I_MakeGammaLUT(table(), 2.0); // 255 * sqrt(i / 255)
    EXPECT_EQ(0, table_[0]);
    EXPECT_EQ(15, table_[1]);
    EXPECT_EQ(127, table_[64]);
    EXPECT_EQ(159, table_[100]);
    EXPECT_EQ(255, table_[255]);
    I_MakeGammaLUT(table(), 0.5); // 255 * (i / 255)^2
    EXPECT_EQ(0, table_[15]);
    EXPECT_EQ(1, table_[16]);
    EXPECT_EQ(39, table_[100]);
    EXPECT_EQ(253, table_[254]);
    I_MakeGammaLUT(table(), 0.1); // still within the range
    EXPECT_EQ(0, table_[128]);
    I_MakeGammaLUT(table(), 10.0);
    EXPECT_EQ(146, table_[1]);
}

TEST_F(LutBuilder, LiteralStretchFromNothingToEverything)
{
    I_StretchLUT(0, 255, table());
    EXPECT_EQ(identity(), table_);
}

TEST_F(LutBuilder, LiteralStretchTopsAt251InAColorMode)
{
    I_SetColorMode(1);
    I_StretchLUT(0, 255, table());
    EXPECT_EQ(251, table_[255]);
    EXPECT_EQ(251, *std::max_element(table_.begin(), table_.end()));
    EXPECT_EQ((100 * ((251 << 8) / 255) + 128) >> 8, table_[100]);
}

TEST_F(LutBuilder, LiteralStretchOfEqualEnds)
{
    I_StretchLUT(100, 100, table());
    const Table equal = table_;
    I_StretchLUT(99, 100, table());
    EXPECT_EQ(table_, equal);
    EXPECT_EQ(tableOf([](int32_t i) { return i < 100 ? 0 : 255; }), equal);
}

TEST_F(LutBuilder, LiteralStretchUpAndDown)
{
    I_StretchLUT(100, 200, table()); // slope 652 / 256
    EXPECT_EQ(0, table_[100]);
    EXPECT_EQ(3, table_[101]);
    EXPECT_EQ(127, table_[150]);
    EXPECT_EQ(252, table_[199]);
    EXPECT_EQ(255, table_[200]);
    I_StretchLUT(200, 100, table()); // slope -652 / 256
    EXPECT_EQ(255, table_[99]);
    EXPECT_EQ(255, table_[100]);
    EXPECT_EQ(252, table_[101]);
    EXPECT_EQ(128, table_[150]);
    EXPECT_EQ(3, table_[199]);
    EXPECT_EQ(0, table_[200]);
    EXPECT_EQ(0, table_[255]);
}

int32_t expectedStretch(int64_t low, int64_t high, int64_t i, int64_t top)
{
    if (low == high)
        --low;
    const int64_t slope = top * 256 / (high - low);
    const auto shifted = [](int64_t x) {
        return static_cast<int64_t>(std::floor(static_cast<double>(x) / 256.0));
    };
    int64_t entry = 0;
    if (low < high)
        entry = i <= low ? 0 : i < high ? shifted((i - low) * slope + 128) : top;
    else
        entry = i < high ? top : i < low ? shifted((i - high) * slope + 128) + top : 0;
    return static_cast<int32_t>(std::min(entry, top));
}

TEST_F(LutBuilder, AgainstReferenceStretchOfManyRanges)
{
    for (const int32_t mode : {0, 1}) {
        I_SetColorMode(mode);
        const int64_t top = mode ? 251 : 255;
        for (int32_t low = -40; low < 300; low += 7)
            for (int32_t high = -41; high < 301; high += 3) {
                I_StretchLUT(low, high, table());
                ASSERT_EQ(tableOf([=](int32_t i) { return expectedStretch(low, high, i, top); }), table_)
                    << low << " to " << high;
            }
    }
}

TEST_F(LutBuilder, BoundsStretchOverAllIntegers)
{
    constexpr int32_t least = std::numeric_limits<int32_t>::min();
    constexpr int32_t most = std::numeric_limits<int32_t>::max();
    I_StretchLUT(least, most, table());
    EXPECT_EQ(Table{}, table_) << "a slope of 0";
    I_StretchLUT(most, least, table());
    EXPECT_EQ(255, table_[0]);
    EXPECT_EQ(255, table_[255]);
    I_StretchLUT(least, least, table());
    EXPECT_EQ(255, table_[0]);
    I_StretchLUT(most, most, table());
    EXPECT_EQ(0, table_[255]);
}

TEST_F(LutBuilder, LiteralStretchInDoubles)
{
    EXPECT_EQ(256, I_StretchLUT1(100.0, 200.0, table())); // slope 2.55
    EXPECT_EQ(0, table_[100]);
    EXPECT_EQ(3, table_[101]);
    EXPECT_EQ(127, table_[150]) << "50 * 2.55 is a little less than 127.5 in doubles";
    EXPECT_EQ(252, table_[199]);
    EXPECT_EQ(255, table_[200]);
    EXPECT_EQ(256, I_StretchLUT1(200.0, 100.0, table())); // slope -2.55
    EXPECT_EQ(255, table_[99]);
    EXPECT_EQ(255, table_[100]);
    EXPECT_EQ(252, table_[101]);
    EXPECT_EQ(128, table_[150]);
    EXPECT_EQ(3, table_[199]);
    EXPECT_EQ(0, table_[200]);
    EXPECT_EQ(256, I_StretchLUT1(10.5, 20.5, table())); // slope 25.5
    EXPECT_EQ(0, table_[10]);
    EXPECT_EQ(13, table_[11]);
    EXPECT_EQ(242, table_[20]);
    EXPECT_EQ(255, table_[21]);
    EXPECT_EQ(256, I_StretchLUT1(50.0, 50.0, table()));
    EXPECT_EQ(tableOf([](int32_t i) { return i < 50 ? 0 : 255; }), table_);
    EXPECT_EQ(256, I_StretchLUT1(-0.5, 9.5, table()));
    EXPECT_EQ(0, table_[0]) << "the zero range goes through trunc(-0.5)";
    EXPECT_EQ(38, table_[1]);
}

TEST_F(LutBuilder, LiteralStretchInDoublesInAColorMode)
{
    I_SetColorMode(1);
    I_StretchLUT1(0.0, 255.0, table());
    EXPECT_EQ(251, table_[255]);
    EXPECT_EQ(98, table_[100]); // 100 * 251 / 255 + 0.5 = 98.9
    I_StretchLUT1(300.0, 400.0, table());
    EXPECT_EQ(Table{}, table_);
}

TEST_F(LutBuilder, BoundsStretchInDoublesOfNoNumbers)
{
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double low : {nan, inf, -inf, 1e300, 0.0})
        for (const double high : {nan, inf, -inf, -1e300, 9.0})
            EXPECT_EQ(256, I_StretchLUT1(low, high, table()));
}

TEST_F(LutBuilder, LiteralLog)
{
    LogLUT(0, 255, table()); // scale 255 / ln 255 = 46.0190
    EXPECT_EQ(0, table_[0]);
    EXPECT_EQ(0, table_[1]);
    EXPECT_EQ(31, table_[2]);
    EXPECT_EQ(105, table_[10]);
    EXPECT_EQ(211, table_[100]);
    EXPECT_EQ(254, table_[254]);
    EXPECT_EQ(255, table_[255]);
    LogLUT(10, 100, table()); // scale 110.7451, ln 10 * scale + 0.5 = 255.5
    EXPECT_EQ(0, table_[10]);
    EXPECT_EQ(10, table_[11]);
    EXPECT_EQ(178, table_[50]);
    EXPECT_EQ(253, table_[99]);
    EXPECT_EQ(255, table_[100]);
    EXPECT_EQ(255, table_[255]);
    const Table forward = table_;
    LogLUT(100, 10, table());
    EXPECT_EQ(forward, table_);
    LogLUT(50, 50, table()); // high becomes 51
    EXPECT_EQ(tableOf([](int32_t i) { return i <= 50 ? 0 : 255; }), table_);
    LogLUT(-9, 255, table());
    EXPECT_EQ(31, table_[2]);
    LogLUT(0, 0, table());
    EXPECT_EQ(tableOf([](int32_t i) { return i == 0 ? 0 : 255; }), table_);
    LogLUT(std::numeric_limits<int32_t>::max(), std::numeric_limits<int32_t>::max(), table());
    EXPECT_EQ(Table{}, table_);
    LogLUT(100, std::numeric_limits<int32_t>::max(), table());
    EXPECT_EQ(0, table_[101]) << "the rounded start lies above the next truncated value";
    EXPECT_EQ(13, table_[255]);
}

TEST_F(LutBuilder, LiteralEqualize)
{
    uint32_t histogram[256] = {};
    histogram[10] = 10;
    histogram[20] = 30;
    histogram[30] = 60;
    HistEqualizeLUT(1000, histogram, table()); // no cut: 100 * 10 + 2
    EXPECT_EQ(0, table_[9]);
    EXPECT_EQ(0, table_[10]) << "the lowest occupied bin";
    EXPECT_EQ((255 * 10 + 50) / 100, table_[11]);
    EXPECT_EQ((255 * 40 + 50) / 100, table_[20]);
    EXPECT_EQ((255 * 40 + 50) / 100, table_[29]);
    EXPECT_EQ(255, table_[30]);
    EXPECT_EQ(255, table_[255]);
    HistEqualizeLUT(20, histogram, table()); // the level is 100 * 20 / 100 + 2
    EXPECT_EQ(10U, histogram[10]);
    EXPECT_EQ(22U, histogram[20]);
    EXPECT_EQ(22U, histogram[30]);
    EXPECT_EQ((255 * 32 + 27) / 54, table_[20]);
}

TEST_F(LutBuilder, LiteralEqualizeInAColorMode)
{
    I_SetColorMode(1);
    uint32_t histogram[256] = {};
    histogram[100] = 5;
    histogram[251] = 5;
    histogram[252] = 1000;
    histogram[255] = 1;
    HistEqualizeLUT(100, histogram, table());
    EXPECT_EQ(0U, histogram[252]);
    EXPECT_EQ(0U, histogram[255]);
    EXPECT_EQ((251 * 5 + 5) / 10, table_[101]);
    EXPECT_EQ(251, table_[251]);
    EXPECT_EQ(252, table_[252]);
    EXPECT_EQ(255, table_[255]);
}

TEST_F(LutBuilder, LiteralEqualizeCountsALimitBelowOneAsOne)
{
    for (const int32_t limit : {1, 0, -50}) {
        uint32_t histogram[256] = {};
        histogram[1] = 1000;
        HistEqualizeLUT(limit, histogram, table());
        EXPECT_EQ(12U, histogram[1]);
    }
}

TEST_F(LutBuilder, BoundsEqualizeOfNothingAndOfAlmostEverything)
{
    uint32_t histogram[256] = {};
    HistEqualizeLUT(5, histogram, table());
    EXPECT_EQ(Table{}, table_);
    std::fill(std::begin(histogram), std::end(histogram), 0xFFFFFFFFU);
    HistEqualizeLUT(std::numeric_limits<int32_t>::max(), histogram, table());
    EXPECT_EQ(0, table_[0]);
    EXPECT_EQ((255 * 129 + 128) / 256, table_[128]);
    EXPECT_EQ(255, table_[255]);
}

TEST_F(LutBuilder, LiteralEqualizeOfTheGraphicsImage)
{
    const int32_t im = byteImage({{10, 10}, {20, 30}});
    I_SetGraphicsFrame(im);
    I_EqualizeLUT(100, table());
    EXPECT_EQ(0, table_[10]);
    EXPECT_EQ((255 * 2 + 2) / 4, table_[19]);
    EXPECT_EQ((255 * 3 + 2) / 4, table_[20]);
    EXPECT_EQ(255, table_[30]);
    closeImages({im});
    I_EqualizeLUT(100, table());
    EXPECT_EQ(Table{}, table_) << "no image, no counts";
}

TEST_F(LutBuilder, LiteralInvert)
{
    EXPECT_EQ(256, I_InvertLUT(table()));
    EXPECT_EQ(tableOf([](int32_t i) { return 255 - i; }), table_);
    I_SetColorMode(1);
    table_.fill(77);
    EXPECT_EQ(252, I_InvertLUT(table()));
    EXPECT_EQ(tableOf([](int32_t i) { return i < 252 ? 251 - i : 77; }), table_);
    EXPECT_EQ(0, I_InvertLUT(nullptr));
}

TEST_F(LutBuilder, LiteralNormCutsPercentagesOffBothEnds)
{
    // 100 pixels from 50 to 149: 10 per cent off each end leave 60 and 139.
    const int32_t im = byteImage(10, 10, [](int32_t x, int32_t y) { return 50 + x + 10 * y; });
    I_NormLUT(10, 10, 123, table(), im);
    Table expected{};
    I_StretchLUT(60, 139, expected.data());
    EXPECT_EQ(expected, table_);
    I_NormLUT(0, 0, 0, table(), im);
    I_StretchLUT(50, 149, expected.data());
    EXPECT_EQ(expected, table_);
    closeImages({im});
    I_NormLUT(10, 10, 0, table(), im);
    I_StretchLUT(0, 255, expected.data());
    EXPECT_EQ(expected, table_) << "no image, no counts";
}

TEST_F(LutBuilder, LiteralStepped)
{
    I_SteppedLUT(0.0, 10.0, table());
    EXPECT_EQ(0, table_[10]);
    EXPECT_EQ(10, table_[11]);
    EXPECT_EQ(10, table_[20]);
    EXPECT_EQ(20, table_[21]);
    EXPECT_EQ(240, table_[250]);
    EXPECT_EQ(250, table_[255]);
    I_SteppedLUT(100.0, 50.0, table());
    EXPECT_EQ(tableOf([](int32_t i) {
                  return i < 100 ? 0 : i <= 150 ? 100 : i <= 200 ? 150 : i <= 250 ? 200 : 250;
              }),
              table_);
    I_SteppedLUT(20.7, 2.5, table()); // levels 20.7, 23.2, 25.7, ...
    EXPECT_EQ(0, table_[19]);
    EXPECT_EQ(20, table_[20]);
    EXPECT_EQ(20, table_[23]);
    EXPECT_EQ(23, table_[24]);
    EXPECT_EQ(23, table_[25]);
    EXPECT_EQ(25, table_[26]);
    I_SteppedLUT(-25.0, 10.0, table()); // levels -5, 5, 15, ...
    EXPECT_EQ(0, table_[5]);
    EXPECT_EQ(5, table_[6]);
    EXPECT_EQ(5, table_[15]);
    EXPECT_EQ(15, table_[16]);
}

TEST_F(LutBuilder, LiteralSteppedInAColorModeEndsBelowTheReservedEntries)
{
    I_SetColorMode(1);
    I_SteppedLUT(0.0, 1.0, table());
    EXPECT_EQ(249, table_[250]);
    EXPECT_EQ(0, table_[251]);
    EXPECT_EQ(0, table_[255]);
}

TEST_F(LutBuilder, BoundsSteppedAlwaysEnds)
{
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double start : {0.0, 7.5, -1e300, 1e300, -1e9, inf, -inf, nan})
        for (const double step : {0.0, -1.0, 1e-300, 1e-9, 1e300, inf, -inf, nan})
            I_SteppedLUT(start, step, table());
    I_SteppedLUT(7.5, 1e-9, table());
    EXPECT_EQ(7, table_[7]);
    EXPECT_EQ(7, table_[8]);
    EXPECT_EQ(8, table_[9]);
}

TEST_F(LutBuilder, LiteralThresh)
{
    I_ThreshLUT(100, table());
    EXPECT_EQ(tableOf([](int32_t i) { return i < 100 ? 0 : 255; }), table_);
    I_ThreshLUT(300, table());
    EXPECT_EQ(tableOf([](int32_t i) { return i < 255 ? 0 : 255; }), table_);
    I_ThreshLUT(-5, table());
    EXPECT_EQ(tableOf([](int32_t) { return 255; }), table_);
}

TEST_F(LutBuilder, LiteralDualThreshOfTwoHundredAndOneHundred)
{
    I_DualThreshLUT(200, 100, table());
    EXPECT_EQ(255, table_[100]);
    EXPECT_EQ(0, table_[101]);
    EXPECT_EQ(0, table_[199]);
    EXPECT_EQ(255, table_[200]);
}

TEST_F(LutBuilder, AgainstReferenceDualThreshOfAllPairs)
{
    for (int32_t low = -1; low <= 256; ++low)
        for (int32_t high = -1; high <= 256; ++high) {
            I_DualThreshLUT(low, high, table());
            const int32_t l = std::clamp(low, 0, 255);
            const int32_t h = std::clamp(high, 0, 255);
            ASSERT_EQ(tableOf([=](int32_t i) {
                          const bool outside = l <= h ? i < l || i > h : i > h && i < l;
                          return outside ? 0 : 255;
                      }),
                      table_);
        }
}

TEST_F(LutBuilder, LiteralDualLinThresh)
{
    I_DualLinThreshLUT(50, 60, table());
    EXPECT_EQ(tableOf([](int32_t i) { return i < 50 ? 0 : i < 60 ? i : 255; }), table_);
    I_DualLinThreshLUT(60, 50, table());
    EXPECT_EQ(tableOf([](int32_t i) { return i < 60 ? 0 : 255; }), table_);
    I_DualLinThreshLUT(-10, 1000, table());
    EXPECT_EQ(identity(), table_);
}

TEST_F(LutBuilder, FailuresOfNullTablesChangeNothing)
{
    clearError();
    uint32_t histogram[256] = {};
    I_MakeGammaLUT(nullptr, 1.0);
    LogLUT(0, 1, nullptr);
    I_StretchLUT(0, 1, nullptr);
    EXPECT_EQ(0, I_StretchLUT1(0.0, 1.0, nullptr));
    HistEqualizeLUT(1, nullptr, table());
    HistEqualizeLUT(1, histogram, nullptr);
    I_EqualizeLUT(1, nullptr);
    I_SteppedLUT(0.0, 1.0, nullptr);
    I_ThreshLUT(1, nullptr);
    I_DualThreshLUT(1, 2, nullptr);
    I_DualLinThreshLUT(1, 2, nullptr);
    EXPECT_EQ(Table{}, table_);
}

} // namespace
