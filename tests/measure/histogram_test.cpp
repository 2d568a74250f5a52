#include "support/instruction_set.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

#include <array>
#include <limits>

using namespace vexa::test;

namespace
{

using Histogram = std::array<uint32_t, 256>;

uint32_t total(const Histogram& histogram)
{
    uint32_t sum = 0;
    for (const uint32_t bin : histogram)
        sum += bin;
    return sum;
}

class Counting : public testing::TestWithParam<vexa::InstructionSet>
{
protected:
    void SetUp() override { vexa::limitInstructionSet(GetParam()); }
    void TearDown() override
    {
        vexa::limitInstructionSet(vexa::InstructionSet::avx512);
        I_SetROIType(0);
        I_SetColorProcMode(3);
        I_SetColorBand(-1);
    }
    Histogram histogram_ = [] {
        Histogram dirty{};
        dirty.fill(99);
        return dirty;
    }();
    uint32_t* bins() { return histogram_.data(); }
};
INSTANTIATE_TEST_SUITE_P(EverySet, Counting, testing::ValuesIn(vexa::availableInstructionSets()));

TEST_P(Counting, AgainstReferenceManyWidthsOfNoise)
{
    for (const int32_t cols : {1, 2, 7, 8, 9, 15, 63, 64, 65, 127, 128, 129, 500, 2049}) {
        const int32_t im = noiseImage(cols, 5, static_cast<uint32_t>(cols));
        Histogram expected{};
        for (const uint8_t byte : bytesOf(im))
            ++expected[byte];
        EXPECT_EQ(cols * 5, I_CalcHist(bins(), im));
        ASSERT_EQ(expected, histogram_) << cols;
        closeImages({im});
    }
}

// Large images of every make: flat parts among noise, all values in one quarter, rows that fill no vector.
TEST_P(Counting, AgainstReferenceLargeImages)
{
    const std::function<int32_t(int32_t, int32_t)> makes[] = {
        [](int32_t x, int32_t y) { return x % 300 < 200 ? y & 255 : (x * 7919 + y * 104729) % 251; },
        [](int32_t x, int32_t y) { return 64 + ((x * 31 + y * 17) & 63); },
        [](int32_t x, int32_t y) { return (x * x + y * 3) & 255; },
        [](int32_t, int32_t) { return 200; },
    };
    for (const auto& make : makes)
        for (const int32_t cols : {97, 256, 1000, 3001}) {
            const int32_t rows = 70000 / cols + 1;
            const int32_t im = byteImage(cols, rows, make);
            Histogram expected{};
            for (const uint8_t byte : bytesOf(im))
                ++expected[byte];
            EXPECT_EQ(cols * rows, I_CalcHist(bins(), im));
            ASSERT_EQ(expected, histogram_) << cols;
            closeImages({im});
        }
}

TEST_P(Counting, BoundsNothingBesideTheRegionOfALargeImage)
{
    const int32_t im =
        byteImage(700, 300, [](int32_t x, int32_t y) { return x >= 3 && x <= 690 && y >= 5 ? 7 : 9; });
    I_SetWindowROI(3, 5, 690, 299);
    EXPECT_EQ(688 * 295, I_CalcHist(bins(), im));
    EXPECT_EQ(688U * 295U, histogram_[7]);
    EXPECT_EQ(688U * 295U, total(histogram_));
    closeImages({im});
}

TEST_P(Counting, LiteralConstantImage)
{
    for (const int32_t value : {0, 128, 255}) {
        const int32_t im = byteImage(333, 10, [=](int32_t, int32_t) { return value; });
        EXPECT_EQ(3330, I_CalcHist(bins(), im));
        Histogram expected{};
        expected[static_cast<std::size_t>(value)] = 3330;
        EXPECT_EQ(expected, histogram_);
        closeImages({im});
    }
}

TEST_P(Counting, LiteralOnlyTheRegionCounts)
{
    const int32_t im = byteImage(100, 10, [](int32_t x, int32_t y) { return x + 100 * (y > 4); });
    I_SetWindowROI(10, 3, 19, 6);
    EXPECT_EQ(40, I_CalcHist(bins(), im));
    EXPECT_EQ(2U, histogram_[10]);
    EXPECT_EQ(2U, histogram_[119]);
    EXPECT_EQ(0U, histogram_[20]);
    const VexaPoint runs[] = {{5, 0}, {7, 0}, {90, 9}, {99, 9}};
    I_SetScanlistROI(runs, 4);
    EXPECT_EQ(13, I_CalcHist(bins(), im));
    EXPECT_EQ(1U, histogram_[6]);
    EXPECT_EQ(1U, histogram_[199]);
    closeImages({im});
}

TEST_P(Counting, LiteralColorCountsPixelsByTheirGray)
{
    const int32_t im = I_ImOpen(70, 2, PIX_BGR24);
    const uint8_t bgr[] = {10, 20, 60};
    for (int32_t x = 0; x < 70; ++x)
        I_PutBlockType(x, 1, 1, 1, bgr, im, PIX_BGR24);
    EXPECT_EQ(140, I_CalcHist(bins(), im));
    EXPECT_EQ(70U, histogram_[0]);
    EXPECT_EQ(70U, histogram_[30]) << "the mean of the three";
    I_SetStatsProcMode(0);
    EXPECT_EQ(140, I_CalcHist(bins(), im));
    EXPECT_EQ(70U, histogram_[60]) << "red";
    I_ResetColorProcMode();
    I_SetColorBand(2);
    I_CalcHist(bins(), im);
    EXPECT_EQ(70U, histogram_[10]) << "blue";
    EXPECT_EQ(2, I_GetColorBand()) << "a statistic leaves the band selected";
    closeImages({im});
}

TEST_P(Counting, LiteralOtherTypesCountAsBytes)
{
    const int32_t im = floatImage(300, 1, [](int32_t x, int32_t) { return x; });
    EXPECT_EQ(300, I_CalcHist(bins(), im));
    EXPECT_EQ(1U, histogram_[254]);
    EXPECT_EQ(45U, histogram_[255]);
    closeImages({im});
}

TEST_P(Counting, LiteralBufferAddsUnlessItClears)
{
    for (const int32_t length : {5, 2000, 100001}) {
        std::vector<uint8_t> buffer(static_cast<std::size_t>(length), 7);
        EXPECT_EQ(length, I_HistBuf(buffer.data(), length, bins(), 1));
        EXPECT_EQ(static_cast<uint32_t>(length), histogram_[7]);
        EXPECT_EQ(static_cast<uint32_t>(length), total(histogram_));
        EXPECT_EQ(length, I_HistBuf(buffer.data(), length, bins(), 0));
        EXPECT_EQ(static_cast<uint32_t>(2 * length), histogram_[7]);
    }
    const uint8_t none = 0;
    EXPECT_EQ(0, I_HistBuf(&none, 0, bins(), 1));
    EXPECT_EQ(0U, total(histogram_));
}

TEST_P(Counting, FailuresOfImagesAndNulls)
{
    const int32_t im = byteImage({{1}});
    clearError();
    EXPECT_EQ(0, I_CalcHist(bins(), -290));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ(0U, total(histogram_)) << "cleared first";
    EXPECT_EQ(0, I_CalcHist(nullptr, im));
    EXPECT_EQ(0, I_CalcHist(bins(), 0));
    const uint8_t byte = 3;
    EXPECT_EQ(0, I_HistBuf(nullptr, 5, bins(), 1));
    EXPECT_EQ(0, I_HistBuf(&byte, 1, nullptr, 1));
    EXPECT_EQ(0, I_HistBuf(&byte, -1, bins(), 0));
    closeImages({im});
}

TEST_P(Counting, FailuresOfMemory)
{
    const int32_t im = floatImage(40, 30);
    const auto check = [](int64_t result) {
        EXPECT_EQ(0, result);
        EXPECT_EQ(2, I_GetError(nullptr, 0));
    };
    forEachFailingAllocation([&] { return I_CalcHist(bins(), im); }, check);
    const int32_t mask = byteImage(40, 30);
    forEachFailingAllocation([&] { return I_CalcHistMasked(bins(), im, mask, nullptr) == 0 ? 0 : 1; },
                             [](int64_t result) { EXPECT_EQ(0, result); });
    closeImages({im, mask});
}

class Masked : public Counting
{
};
INSTANTIATE_TEST_SUITE_P(EverySet, Masked, testing::ValuesIn(vexa::availableInstructionSets()));

TEST_P(Masked, LiteralNullTableTakesAllButZero)
{
    const int32_t im = byteImage({{1, 2, 3}, {4, 5, 6}});
    const int32_t mask = byteImage({{0, 1, 255}, {7, 0, 0}});
    EXPECT_EQ(3, I_CalcHistMasked(bins(), im, mask, nullptr));
    EXPECT_EQ(3U, total(histogram_));
    EXPECT_EQ(1U, histogram_[2] & histogram_[3] & histogram_[4]);
    uint8_t table[256] = {};
    table[0] = 1;
    EXPECT_EQ(3, I_CalcHistMasked(bins(), im, mask, table));
    EXPECT_EQ(1U, histogram_[1] & histogram_[5] & histogram_[6]);
    closeImages({im, mask});
}

TEST_P(Masked, LiteralPolygonCountsItsBox)
{
    const int32_t im = byteImage(50, 50);
    const VexaPoint triangle[] = {{10, 10}, {29, 10}, {10, 39}};
    I_SetPolygonROI(triangle, 3);
    const int32_t mask = byteImage(50, 50, [](int32_t, int32_t) { return 1; });
    EXPECT_EQ(20 * 30, I_CalcHistMasked(bins(), im, mask, nullptr));
    EXPECT_LT(I_CalcHist(bins(), im), 20 * 30);
    closeImages({im, mask});
}

TEST_P(Masked, LiteralSmallerOfTwoImagesAndOtherTypes)
{
    const int32_t im = floatImage(8, 9, [](int32_t x, int32_t) { return x; });
    const int32_t mask = wordImage(5, 6, [](int32_t x, int32_t) { return x == 2; });
    EXPECT_EQ(6, I_CalcHistMasked(bins(), im, mask, nullptr));
    EXPECT_EQ(6U, histogram_[2]);
    closeImages({im, mask});
}

// A block of an inverted image is its storage rows turned round.
TEST_P(Masked, LiteralInvertedImage)
{
    const int32_t im = byteImage({{1}, {2}, {3}, {4}});
    const int32_t mask = byteImage({{0}, {1}, {0}, {0}});
    const int32_t inverted = 1;
    I_ImSetParam(&inverted, sizeof inverted, 19, im);
    EXPECT_EQ(1, I_CalcHistMasked(bins(), im, mask, nullptr));
    EXPECT_EQ(1U, histogram_[3]);
    I_SetWindowROI(0, 0, 0, 1);
    EXPECT_EQ(1, I_CalcHistMasked(bins(), im, mask, nullptr));
    EXPECT_EQ(1U, histogram_[1]) << "rows 2, 1 under a mask of 0, 1";
    closeImages({im, mask});
}

TEST_P(Masked, FailuresOfImages)
{
    const int32_t im = byteImage({{1}});
    EXPECT_EQ(0, I_CalcHistMasked(bins(), im, -290, nullptr));
    EXPECT_EQ(0, I_CalcHistMasked(bins(), -290, im, nullptr));
    EXPECT_EQ(0U, total(histogram_));
    EXPECT_EQ(0, I_CalcHistMasked(nullptr, im, im, nullptr));
    closeImages({im});
}

// The range search keeps what it found for the life of the process, and these run in one process too: each
// uses its own offset and width, or values that later tests only extend.
TEST(FloatHistogram, LiteralBinsAndTheirEnds)
{
    const int32_t im = floatImage(6, 1, [](int32_t x, int32_t) {
        const double values[] = {-5, 1, 1.9, 2, 4.99, 50};
        return values[x];
    });
    uint32_t bins[4] = {9, 9, 9, 9};
    double offset = 1.0;
    double width = 1.0;
    EXPECT_EQ(6, I_CalcHistFloat(im, bins, 4, &offset, &width));
    EXPECT_THAT(bins, testing::ElementsAre(3, 1, 0, 2));
    EXPECT_EQ(1.0, offset);
    EXPECT_EQ(1.0, width);
    EXPECT_EQ(6, I_CalcHistFloat(im, bins, -4, &offset, &width));
    EXPECT_THAT(bins, testing::ElementsAre(6, 2, 0, 4));
    EXPECT_EQ(0, I_CalcHistFloat(im, bins, 0, &offset, &width));
    EXPECT_THAT(bins, testing::ElementsAre(6, 2, 0, 4));
    closeImages({im});
}

TEST(FloatHistogram, LiteralRangeSearchKeepsOffsetAndContainsZero)
{
    const int32_t im = floatImage(3, 1, [](int32_t x, int32_t) { return 1000.0 * x + 2000.0; });
    uint32_t bins[8] = {};
    double offset = 0.0;
    double width = 0.0;
    EXPECT_EQ(3, I_CalcHistFloat(im, bins, 8, &offset, &width));
    EXPECT_EQ(0.0, offset);
    EXPECT_EQ(500.0, width) << "from 0 to 4000";
    EXPECT_THAT(bins, testing::ElementsAre(0, 0, 0, 0, 1, 0, 1, 1));
    EXPECT_EQ(3, I_CalcHistFloat(im, bins, 8, nullptr, nullptr));
    EXPECT_THAT(bins, testing::ElementsAre(0, 0, 0, 0, 1, 0, 1, 1));
    const int32_t smaller = floatImage(1, 1, [](int32_t, int32_t) { return -4000.0; });
    width = -3.0;
    EXPECT_EQ(1, I_CalcHistFloat(smaller, bins, 8, &offset, &width));
    EXPECT_EQ(1000.0, width) << "the range that earlier searches found is only extended";
    EXPECT_THAT(bins, testing::ElementsAre(1, 0, 0, 0, 0, 0, 0, 0));
    width = 250.0;
    EXPECT_EQ(3, I_CalcHistFloat(im, bins, 8, &offset, &width));
    EXPECT_EQ(250.0, width) << "a width that is given stays";
    EXPECT_THAT(bins, testing::ElementsAre(0, 0, 0, 0, 0, 0, 0, 3));
    closeImages({im, smaller});
}

TEST(FloatHistogram, BoundsOfNoNumbers)
{
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float values[] = {nan, inf, -inf, 3.0F};
    const int32_t im = I_ImOpen(4, 1, PIX_FLOAT);
    I_PutBlockType(0, 0, 4, 1, values, im, PIX_FLOAT);
    uint32_t bins[4] = {};
    double offset = 1.0;
    double width = 1.0;
    EXPECT_EQ(4, I_CalcHistFloat(im, bins, 4, &offset, &width));
    EXPECT_THAT(bins, testing::ElementsAre(2, 0, 1, 1)) << "what is no number counts in bin 0";
    for (double o : {static_cast<double>(nan), static_cast<double>(inf), -1.0})
        for (double w : {static_cast<double>(nan), static_cast<double>(inf), 1e-300})
            EXPECT_EQ(4, I_CalcHistFloat(im, bins, 4, &o, &w));
    closeImages({im});
}

TEST(FloatHistogram, FailuresOfImages)
{
    uint32_t bins[4] = {9, 9, 9, 9};
    double offset = 2.0;
    double width = 1.0;
    EXPECT_EQ(0, I_CalcHistFloat(-290, bins, 4, &offset, &width));
    EXPECT_THAT(bins, testing::Each(0));
    EXPECT_EQ(0, I_CalcHistFloat(-290, nullptr, 4, &offset, &width));
    const int32_t im = byteImage(40, 30);
    forEachFailingAllocation([&] { return I_CalcHistFloat(im, bins, 4, &offset, &width); },
                             [](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_EQ(2, I_GetError(nullptr, 0));
                             });
    closeImages({im});
}

TEST(HistogramReading, LiteralSum)
{
    const uint32_t bins[] = {1, 2, 0xFFFFFFFF, 4};
    EXPECT_EQ(3, I_SumHist(bins, 2));
    EXPECT_EQ(6, I_SumHist(bins, 4)) << "modulo 2 to the 32";
    EXPECT_EQ(0, I_SumHist(bins, 0));
    EXPECT_EQ(0, I_SumHist(bins, -1));
    EXPECT_EQ(0, I_SumHist(nullptr, 4));
}

TEST(HistogramReading, LiteralMinMax)
{
    Histogram histogram{};
    int32_t low = 5;
    int32_t high = 5;
    HistogramMinMax(&low, &high, histogram.data());
    EXPECT_EQ(256, low);
    EXPECT_EQ(0, high);
    histogram[0] = 1;
    HistogramMinMax(&low, &high, histogram.data());
    EXPECT_EQ(0, low);
    EXPECT_EQ(0, high);
    histogram = {};
    histogram[17] = histogram[255] = 1;
    HistogramMinMax(&low, nullptr, histogram.data());
    HistogramMinMax(nullptr, &high, histogram.data());
    EXPECT_EQ(17, low);
    EXPECT_EQ(255, high);
    HistogramMinMax(&low, &high, nullptr);
    EXPECT_EQ(17, low);
}

TEST(HistogramReading, LiteralGetStatsOfNothing)
{
    const Histogram histogram{};
    double count = 9;
    double mean = 9;
    double deviation = 9;
    EXPECT_EQ(1, I_GetHistStats(histogram.data(), &count, &mean, nullptr));
    EXPECT_EQ(0.0, count);
    EXPECT_EQ(0.0, mean);
    EXPECT_EQ(2, I_GetHistStats(histogram.data(), nullptr, nullptr, &deviation));
    EXPECT_EQ(9.0, deviation) << "left as it was";
    EXPECT_EQ(0, I_GetHistStats(nullptr, &count, &mean, &deviation));
}

TEST(HistogramReading, LiteralGetStats)
{
    Histogram histogram{};
    histogram[10] = 1;
    double count = 0;
    double mean = 0;
    double deviation = 9;
    EXPECT_EQ(2, I_GetHistStats(histogram.data(), &count, &mean, &deviation));
    EXPECT_EQ(1.0, count);
    EXPECT_EQ(10.0, mean);
    EXPECT_EQ(9.0, deviation) << "one pixel does not vary";
    histogram[14] = 3;
    EXPECT_EQ(4, I_GetHistStats(histogram.data(), &count, &mean, &deviation));
    EXPECT_EQ(4.0, count);
    EXPECT_EQ(13.0, mean);
    EXPECT_DOUBLE_EQ(2.0, deviation); // sqrt((9 + 3) / 3)
    histogram[255] = 0xF0000000;
    EXPECT_EQ(static_cast<int32_t>(0xF0000004), I_GetHistStats(histogram.data(), &count, &mean, nullptr));
    EXPECT_EQ(4026531844.0, count);
    EXPECT_NEAR(255.0, mean, 1e-6);
}

TEST(HistogramReading, LiteralHistStatsOfAnEmptyRange)
{
    const Histogram histogram{};
    int32_t low = 5;
    int32_t high = 5;
    float mean = 5;
    float deviation = 5;
    EXPECT_EQ(2, I_HistStats(histogram.data(), 10, 20, &low, &high, &mean, &deviation));
    EXPECT_EQ(9, low);
    EXPECT_EQ(9, high);
    EXPECT_EQ(0.0F, mean);
    EXPECT_EQ(0.0F, deviation);
    EXPECT_EQ(1, I_HistStats(histogram.data(), 20, 10, &low, &high, nullptr, nullptr));
    EXPECT_EQ(19, low);
    EXPECT_EQ(19, high);
}

TEST(HistogramReading, LiteralHistStatsOfBins)
{
    Histogram histogram{};
    histogram[10] = 1;
    histogram[14] = 3;
    histogram[200] = 50;
    int32_t low = 0;
    int32_t high = 0;
    float mean = 0;
    float deviation = 0;
    EXPECT_EQ(4, I_HistStats(histogram.data(), 10, 199, &low, &high, &mean, &deviation));
    EXPECT_EQ(10, low);
    EXPECT_EQ(14, high);
    EXPECT_EQ(13.0F, mean);
    EXPECT_FLOAT_EQ(2.0F, deviation);
    EXPECT_EQ(2, I_HistStats(histogram.data(), 0, 10, &low, &high, &mean, &deviation));
    EXPECT_EQ(10, low);
    EXPECT_EQ(10, high);
    EXPECT_EQ(10.0F, mean);
    EXPECT_EQ(0.0F, deviation);
    EXPECT_EQ(0, I_HistStats(nullptr, 0, 10, &low, &high, &mean, &deviation));
}

TEST(HistogramReading, LiteralHistStatsIndexesFromItsPointer)
{
    uint32_t bins[] = {2, 0, 1, 1};
    int32_t low = 0;
    int32_t high = 0;
    float mean = 0;
    EXPECT_EQ(4, I_HistStats(bins + 2, -2, 1, &low, &high, &mean, nullptr));
    EXPECT_EQ(-2, low);
    EXPECT_EQ(1, high);
    EXPECT_EQ(-0.75F, mean);
}

// The sum of values is 32-bit and wraps: 9 million pixels of 255 give 2295000000 - 2 to the 32.
TEST(HistogramReading, LiteralHistStatsWrapsItsSums)
{
    Histogram histogram{};
    histogram[255] = 9000000;
    float mean = 0;
    float deviation = 0;
    EXPECT_EQ(9000000, I_HistStats(histogram.data(), 0, 255, nullptr, nullptr, &mean, &deviation));
    const double sum = 2295000000.0 - 4294967296.0;
    const double variation = sum * 255 - sum * sum / 9000000;
    EXPECT_EQ(static_cast<float>(sum / 9000000), mean);
    EXPECT_LT(variation, 0.0);
    EXPECT_EQ(0.0F, deviation);
    histogram = {};
    histogram[200] = 8000000; // no product wraps, but their sum does
    histogram[100] = 8000000;
    I_HistStats(histogram.data(), 0, 255, nullptr, nullptr, &mean, &deviation);
    const double wrapped = 2400000000.0 - 4294967296.0;
    EXPECT_EQ(static_cast<float>(wrapped / 16000000), mean);
    const double v = 8e6 * 40000 + 8e6 * 10000 - wrapped * wrapped / 16e6;
    EXPECT_FLOAT_EQ(static_cast<float>(std::sqrt(v / 15999999.0)), deviation);
}

TEST(HistogramReading, LiteralNormCutsPerMille)
{
    Histogram histogram{};
    std::fill(histogram.begin() + 100, histogram.begin() + 200, 10U); // 1000 pixels
    int32_t low = 0;
    int32_t high = 0;
    I_NormHist(histogram.data(), 10, 10, 1, &low, &high); // 10 pixels off each end
    EXPECT_EQ(101, low);
    EXPECT_EQ(198, high);
    I_NormHist(histogram.data(), -10, 9, 1, &low, &high);
    EXPECT_EQ(101, low);
    EXPECT_EQ(199, high);
    I_NormHist(histogram.data(), 0, 0, 1, &low, &high);
    EXPECT_EQ(100, low);
    EXPECT_EQ(199, high);
    I_NormHist(histogram.data(), 1000, 1000, 1, &low, &high);
    EXPECT_EQ(256, low);
    EXPECT_EQ(-1, high);
    histogram = {};
    I_NormHist(histogram.data(), 10, 10, 1, &low, &high);
    EXPECT_EQ(0, low);
    EXPECT_EQ(255, high);
}

TEST(HistogramReading, LiteralNormCutsCounts)
{
    Histogram histogram{};
    histogram[50] = 10;
    histogram[60] = 10;
    histogram[70] = 10;
    int32_t low = 0;
    int32_t high = 0;
    I_NormHist(histogram.data(), 9, 10, 0, &low, &high);
    EXPECT_EQ(50, low);
    EXPECT_EQ(60, high);
    I_NormHist(histogram.data(), 10, -30, 0, &low, &high);
    EXPECT_EQ(60, low);
    EXPECT_EQ(-1, high);
    I_NormHist(histogram.data(), 0, 5, 0, &low, &high);
    EXPECT_EQ(0, low);
    EXPECT_EQ(255, high);
    I_NormHist(histogram.data(), -10, 10, 0, &low, &high);
    EXPECT_EQ(0, low) << "the sign is tested, not the count";
    EXPECT_EQ(255, high);
    I_NormHist(histogram.data(), 10, 10, 0, nullptr, nullptr);
    I_NormHist(nullptr, 10, 10, 0, &low, &high);
    EXPECT_EQ(255, high);
}

TEST(HistogramReading, BoundsNormWrapsItsProducts)
{
    Histogram histogram{};
    histogram[5] = 500000000;
    int32_t low = 9;
    int32_t high = 9;
    I_NormHist(histogram.data(), 10, 2, 1, &low, &high); // 5000000000 wraps to 705032704, 1000000000 does not
    EXPECT_EQ(5, low);
    EXPECT_EQ(5, high);
    constexpr int32_t least = std::numeric_limits<int32_t>::min();
    I_NormHist(histogram.data(), least, least, 1, &low, &high);
    I_NormHist(histogram.data(), least, least, 0, &low, &high);
    EXPECT_EQ(0, low);
}

} // namespace
