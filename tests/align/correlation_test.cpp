#include <random>

#include "support/instruction_set.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/correlation.h"
#include "vexalib/search.h"

namespace vexa::test
{
namespace
{

using testing::ElementsAre;
using testing::FloatNear;

using Bytes = std::vector<uint8_t>;

Bytes randomBytes(std::mt19937& random, int64_t n, int32_t low = 0, int32_t high = 255)
{
    Bytes bytes(static_cast<std::size_t>(n));
    std::uniform_int_distribution<int32_t> value(low, high);
    for (uint8_t& byte : bytes)
        byte = static_cast<uint8_t>(value(random));
    return bytes;
}

// Slow and plain: mean and deviation in doubles, one window at a time.
struct PlainScore {
    int32_t cols, rows;
    const Bytes& pattern;

    double mean(const uint8_t* p, int32_t stride) const
    {
        double sum = 0;
        for (int32_t y = 0; y < rows; ++y)
            for (int32_t x = 0; x < cols; ++x)
                sum += p[y * stride + x];
        return sum / (cols * rows);
    }
    double deviation(const uint8_t* p, int32_t stride) const
    {
        const double m = mean(p, stride);
        double sum = 0;
        for (int32_t y = 0; y < rows; ++y)
            for (int32_t x = 0; x < cols; ++x)
                sum += (p[y * stride + x] - m) * (p[y * stride + x] - m);
        return std::sqrt(sum / (cols * rows - 1));
    }
    double linear(const uint8_t* window, int32_t stride) const
    {
        const double m = mean(pattern.data(), cols);
        double all = 0, differences = 0;
        for (int32_t y = 0; y < rows; ++y) {
            for (int32_t x = 0; x < cols; ++x) {
                const int32_t p = pattern[static_cast<std::size_t>(y * cols + x)];
                all += std::fabs(p - m);
                differences += std::abs(p - window[y * stride + x]);
            }
        }
        return (all - differences) / all;
    }
    double normalised(const uint8_t* window, int32_t stride) const
    {
        const int32_t rounded = static_cast<int32_t>(std::floor(mean(pattern.data(), cols) + 0.5));
        const double deviationHere = deviation(window, stride);
        if (deviationHere < 0.1)
            return 0;
        const auto meanHere = static_cast<int32_t>(mean(window, stride));
        double sum = 0;
        for (int32_t y = 0; y < rows; ++y)
            for (int32_t x = 0; x < cols; ++x)
                sum += (window[y * stride + x] - meanHere) *
                       static_cast<int8_t>(pattern[static_cast<std::size_t>(y * cols + x)] - rounded);
        return sum / deviationHere / (cols * rows * deviation(pattern.data(), cols));
    }
};

class Correlation : public testing::Test
{
protected:
    void SetUp() override
    {
        I_SetLinearCorrelation(1);
        I_SetMultiAlignParams(-0.2F, 0, 1);
        clearError();
    }
    void TearDown() override
    {
        limitInstructionSet(InstructionSet::avx512);
        SetUp();
        I_SetDebug(0);
    }
};
using LiteralCorrelation = Correlation;
using BoundsCorrelation = Correlation;
using FailuresCorrelation = Correlation;

TEST_F(LiteralCorrelation, SettingsGiveTheOldValues)
{
    EXPECT_EQ(1, I_SetLinearCorrelation(0));
    EXPECT_EQ(0, I_SetLinearCorrelation(1));
    EXPECT_EQ(1, I_SetCorrelationMode2(7));
    EXPECT_EQ(7, I_SetCorrelationMode2(1));
    EXPECT_EQ(-0.2F, I_SetMultiAlignParams(0.5F, 1, 0));
    EXPECT_EQ(0.5F, I_SetMultiAlignParams(-0.2F, 0, 1));
    float x = 5, y = 6;
    EXPECT_EQ(0.0F, I_GetAlignPos(&x, &y));
    EXPECT_EQ(0.0F, x);
    EXPECT_EQ(0.0F, y);
    EXPECT_EQ(0.0F, I_GetAlignPos(nullptr, nullptr));
}

TEST_F(LiteralCorrelation, PerfectMatchScoresOneInLinearMode)
{
    Bytes pattern = {10, 20, 30, 40};
    const Bytes image = {0, 10, 20, 9, 30, 40};
    float out[2] = {};
    EXPECT_EQ(4.0, Corr2D(pattern.data(), 2, 2, 2, image.data(), 3, out, 2, 1, nullptr));
    // |p - 25| sums to 40; the first window differs by 10 + 10 + 21 + 10.
    EXPECT_EQ((40.0F - 51.0F) / 40.0F, out[0]);
    EXPECT_EQ(1.0F, out[1]);
}

TEST_F(LiteralCorrelation, NormalisedModeChangesThePatternAtEveryCall)
{
    I_SetLinearCorrelation(0);
    Bytes pattern = {10, 20, 30, 40};
    const Bytes image = pattern;
    float out = 0;
    Corr2D(pattern.data(), 2, 2, 2, image.data(), 2, &out, 1, 1, nullptr);
    EXPECT_THAT(pattern, ElementsAre(241, 251, 5, 15));
    EXPECT_NEAR(3.0 / 4.0, out, 1e-6);
    Corr2D(pattern.data(), 2, 2, 2, image.data(), 2, &out, 1, 1, nullptr);
    EXPECT_THAT(pattern, ElementsAre(113, 123, 133, 143)); // their mean as bytes is 128
}

TEST_F(LiteralCorrelation, WindowOfOneValueScoresZeroInNormalisedMode)
{
    I_SetLinearCorrelation(0);
    Bytes pattern = {10, 20, 30, 40};
    const Bytes image(4, 77);
    float out = 9;
    Corr2D(pattern.data(), 2, 2, 2, image.data(), 2, &out, 1, 1, nullptr);
    EXPECT_EQ(0.0F, out);
}

TEST_F(LiteralCorrelation, OtherStrideIsTracedAndIgnored)
{
    Bytes pattern = {1, 2, 3, 4};
    float out = 0;
    testing::internal::CaptureStderr();
    Corr2D(pattern.data(), 3, 2, 2, pattern.data(), 2, &out, 1, 1, nullptr);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("Cor2D: pstride=3"));
    EXPECT_EQ(1.0F, out);
}

TEST_F(LiteralCorrelation, ScoresAreThePlainOnesOnEveryInstructionSet)
{
    std::mt19937 random(5);
    for (const InstructionSet set : availableInstructionSets()) {
        limitInstructionSet(set);
        for (int32_t round = 0; round < 60; ++round) {
            const int32_t cols = 1 + static_cast<int32_t>(random() % 40),
                          rows = 1 + static_cast<int32_t>(random() % 12);
            const int32_t outCols = 1 + static_cast<int32_t>(random() % 70);
            const int32_t outRows = 1 + static_cast<int32_t>(random() % 9);
            const int32_t stride = cols + outCols - 1;
            const bool isLinear = round % 2 == 0;
            I_SetLinearCorrelation(isLinear);
            Bytes pattern = randomBytes(random, int64_t{cols} * rows);
            const Bytes original = pattern;
            // The last byte of the last window is the last of the block.
            const Bytes image = randomBytes(random, int64_t{stride} * (rows + outRows - 1));
            std::vector<float> out(static_cast<std::size_t>(outCols * outRows));
            Corr2D(pattern.data(), cols, cols, rows, image.data(), stride, out.data(), outCols, outRows,
                   "test");
            if (cols * rows < 2)
                continue;
            const PlainScore plain{cols, rows, original};
            for (int32_t y = 0; y < outRows; ++y) {
                for (int32_t x = 0; x < outCols; ++x) {
                    const uint8_t* window = image.data() + y * stride + x;
                    const double expected =
                        isLinear ? plain.linear(window, stride) : plain.normalised(window, stride);
                    ASSERT_NEAR(expected, out[static_cast<std::size_t>(y * outCols + x)],
                                isLinear ? 2e-5 : 4e-3)
                        << cols << "x" << rows << " at " << x << "," << y;
                }
            }
        }
    }
}

TEST_F(BoundsCorrelation, LongAndHighPatternsDoNotOverflowTheirSums)
{
    for (const InstructionSet set : availableInstructionSets()) {
        limitInstructionSet(set);
        Bytes pattern(1003 * 72, 255);
        for (std::size_t i = 0; i < pattern.size(); i += 4)
            pattern[i] = 0;
        const Bytes image(1040 * 77, 0);
        std::vector<float> out(38 * 6);
        Corr2D(pattern.data(), 1003, 1003, 72, image.data(), 1040, out.data(), 38, 6, nullptr);
        // The distances to the mean sum to half the sum of the pattern.
        for (const float score : out)
            ASSERT_NEAR(-1.0, score, 2e-3); // the distances are summed in floats
    }
}

TEST_F(BoundsCorrelation, NothingToScore)
{
    float out = 3;
    Bytes pattern = {1, 2, 3, 4};
    EXPECT_EQ(4.0, Corr2D(pattern.data(), 2, 2, 2, pattern.data(), 2, &out, 1, 0, nullptr));
    EXPECT_EQ(0.0, Corr2D(pattern.data(), 0, 0, 2, pattern.data(), 2, &out, 1, 1, nullptr));
    EXPECT_EQ(-6.0, Corr2D(nullptr, 2, -3, 2, pattern.data(), 2, &out, 1, 1, nullptr));
    EXPECT_EQ(3.0F, out);
    I_SetLinearCorrelation(0);
    Corr2D(pattern.data(), 2, 2, 2, nullptr, 2, &out, 1, 0, nullptr);
    EXPECT_THAT(pattern, ElementsAre(254, 255, 0, 1)); // the pattern's pass runs all the same
}

// A pyramid of one level with statistics as a learned one has them.
struct OneLevel {
    Bytes pixels;
    PatternPyramid record = {};

    OneLevel(int32_t cols, int32_t rows, Bytes bytes) : pixels(std::move(bytes))
    {
        record.recordSize = 184;
        record.data = pixels.data();
        record.cols = cols;
        record.rows = rows;
        record.levelDeviation[0] = 10;
    }
};

TEST_F(LiteralCorrelation, PatternAsLargeAsTheAreaHasNoPeak)
{
    OneLevel pattern(3, 3, {1, 2, 3, 4, 50, 6, 7, 8, 9}), search = pattern;
    search.record.data = search.pixels.data();
    float x[2] = {5, 5}, y[2] = {5, 5}, quality[2] = {5, 5};
    EXPECT_EQ(1, I_Align2D(&pattern.record, &search.record, 1, x, y, quality, 1));
    EXPECT_EQ(0.0F, x[0]);
    EXPECT_EQ(0.0F, y[0]);
    EXPECT_EQ(-2.0F, quality[0]);
    EXPECT_EQ(2, I_Align2D(&pattern.record, &search.record, 0, x, y, quality, 2));
    EXPECT_THAT(quality, ElementsAre(-2.0F, 0.0F));
}

TEST_F(LiteralCorrelation, PeakOnTheBorderStandsAtAWholePixel)
{
    Bytes area(8 * 8, 100);
    const Bytes spot = {0, 40, 90, 200, 255, 130, 70, 10, 220};
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 3; ++x)
            area[static_cast<std::size_t>((y + 2) * 8 + x)] = spot[static_cast<std::size_t>(y * 3 + x)];
    OneLevel pattern(3, 3, spot), search(8, 8, area);
    float x = 0, y = 0, quality = 0;
    EXPECT_EQ(1, I_Align2D(&pattern.record, &search.record, 1, &x, &y, &quality, 1));
    EXPECT_EQ(0.0F, x);
    EXPECT_EQ(2.0F, y);
    EXPECT_EQ(1.0F, quality);
}

TEST_F(LiteralCorrelation, TwoEqualMaximaSideBySideGiveTheirMiddle)
{
    // A flat pattern but for one column matches at two neighbouring places.
    Bytes area(9 * 7, 50), spot(2 * 3, 50);
    for (int32_t y = 0; y < 3; ++y) {
        spot[static_cast<std::size_t>(y * 2)] = 90;
        area[static_cast<std::size_t>((y + 2) * 9 + 4)] = 90;
        area[static_cast<std::size_t>((y + 2) * 9 + 5)] = 90;
    }
    // Window at 4: 90 90; at 5: 90 50, which is the pattern; so make both alike.
    for (int32_t y = 0; y < 3; ++y)
        area[static_cast<std::size_t>((y + 2) * 9 + 5)] = 70;
    OneLevel pattern(2, 3, spot), search(9, 7, area);
    float x = 0, y = 0, quality = 0;
    EXPECT_EQ(1, I_Align2D(&pattern.record, &search.record, 1, &x, &y, &quality, 1));
    // At 4 the second column differs by 20 a row, at 5 the first one: equal scores of 1 - 60 / 120.
    EXPECT_EQ(4.5F, x);
    EXPECT_EQ(2.0F, y);
}

TEST_F(LiteralCorrelation, ThreePeaksAskedForAreThreeReturned)
{
    Bytes area(12 * 12, 10), spot = {200, 50, 90, 255, 0, 30, 60, 120, 240};
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 3; ++x)
            area[static_cast<std::size_t>((y + 4) * 12 + x + 5)] = spot[static_cast<std::size_t>(y * 3 + x)];
    OneLevel pattern(3, 3, spot), search(12, 12, area);
    float x[3], y[3], quality[3];
    EXPECT_EQ(3, I_Align2D(&pattern.record, &search.record, 1, x, y, quality, 3));
    EXPECT_NEAR(5.0, x[0], 0.2);
    EXPECT_NEAR(4.0, y[0], 0.2);
    EXPECT_GE(quality[0], 1.0F);
    EXPECT_GE(quality[0], quality[1]);
    EXPECT_GE(quality[1], quality[2]);
}

TEST_F(FailuresCorrelation, RecordsThatAreNotComplete)
{
    OneLevel pattern(3, 3, Bytes(9, 1)), search(5, 5, Bytes(25, 1));
    float x = 4, y = 4, quality = 4;
    Messages messages;
    pattern.record.recordSize = 12;
    EXPECT_EQ(0, I_Align2D(&pattern.record, &search.record, 1, &x, &y, &quality, 1));
    ASSERT_EQ(1U, messages.all().size());
    EXPECT_THAT(messages.all()[0], testing::HasSubstr("Align2D 1: null pattern: pat->"));
    EXPECT_THAT(messages.all()[0], testing::HasSubstr(" size=12"));
    EXPECT_EQ(0, I_Align2D(nullptr, nullptr, 1, &x, &y, &quality, 1));
    ASSERT_EQ(2U, messages.all().size());
    EXPECT_THAT(messages.all()[1], testing::HasSubstr("Align2D 1: null pattern: pat->0; srch->0 size=0"));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ(4.0F, x);
}

TEST_F(FailuresCorrelation, FlatPatternAndTooSmallSearch)
{
    OneLevel pattern(5, 4, Bytes(20, 7)), search(4, 9, Bytes(36, 1));
    float x = 4, y = 4, quality = 4;
    pattern.record.levelDeviation[0] = 0.05F;
    EXPECT_EQ(0, I_Align2D(&pattern.record, &search.record, 1, &x, &y, &quality, 1));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    pattern.record.levelDeviation[0] = 10;
    EXPECT_EQ(0, I_Align2D(&pattern.record, &search.record, 9, &x, &y, &quality, 1));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ("Align2D srch smaller than pat. CorrSize=0,6; Level=0 of 1, PatCols=5 4 SrchCols=4 9;  "
              "ScaledCols:5 4; "
              "4 9",
              errorText());
}

TEST_F(FailuresCorrelation, Align2DWithoutMemory)
{
    OneLevel pattern(3, 3, {1, 2, 3, 4, 50, 6, 7, 8, 9}), search(9, 9, Bytes(81, 1));
    float x, y, quality;
    forEachFailingAllocation(
        [&] { return I_Align2D(&pattern.record, &search.record, 1, &x, &y, &quality, 1); },
        [](int64_t result) {
            // the list of peaks goes without a word, and without it there is no result
            EXPECT_TRUE(result == 0 || I_GetError(nullptr, 0) == 2);
        });
}

// A plate of contacts of several sizes, moved by a shift, so that each place looks different.
int32_t scene(double dx, double dy, int32_t cols = 220, int32_t rows = 200)
{
    return byteImage(cols, rows, [=](int32_t px, int32_t py) {
        double value = 40;
        for (int32_t i = 0; i < 14; ++i) {
            const double cx = 20 + (i * 67) % 190 + dx, cy = 15 + (i * 41) % 170 + dy, r = 6 + i % 5;
            const double d = std::hypot(px - cx, py - cy);
            value += 170.0 / (1.0 + std::exp((d - r) * 1.5));
        }
        return std::min(value, 250.0);
    });
}

TEST_F(LiteralCorrelation, IdenticalImagesAndBoxesDoNotMove)
{
    const int32_t im = scene(0, 0);
    float x = 5, y = 5, quality = 5;
    VexaBox pattern = {40, 40, 120, 120}, search = {20, 20, 150, 150};
    for (int32_t levels = 1; levels < 5; ++levels) {
        EXPECT_EQ(1, I_WindowSearch(&pattern, im, &search, im, levels, &x, &y, &quality, 1));
        EXPECT_NEAR(0.0, x, 0.05) << levels;
        EXPECT_NEAR(0.0, y, 0.05) << levels;
        EXPECT_NEAR(1.0, quality, 0.01) << levels;
    }
}

TEST_F(LiteralCorrelation, FindsAShiftInBothModes)
{
    const int32_t before = scene(0, 0), after = scene(5.3, -3.6);
    VexaBox pattern = {50, 40, 130, 120}, search = {30, 20, 150, 140};
    for (const int32_t linear : {1, 0}) {
        I_SetLinearCorrelation(linear);
        for (int32_t levels = 1; levels < 4; ++levels) {
            float x = 0, y = 0, quality = 0;
            EXPECT_EQ(1, I_WindowSearch(&pattern, before, &search, after, levels, &x, &y, &quality, 1));
            EXPECT_NEAR(5.3, x, 0.25) << linear << " " << levels;
            EXPECT_NEAR(-3.6, y, 0.25) << linear << " " << levels;
        }
        VexaPoint rounded[8];
        float quality[8];
        EXPECT_EQ(8, WindowSearch(&pattern, before, &search, after, 1, rounded, quality, 20));
        EXPECT_EQ(5, rounded[0].x);
        EXPECT_EQ(-4, rounded[0].y);
    }
}

TEST_F(LiteralCorrelation, ZerosInABoxBecomeTheImagesEdge)
{
    const int32_t im = scene(0, 0, 60, 50);
    VexaBox pattern = {0, 0, 0, 0}, search = {0, 0, 0, 20};
    float x = 0, y = 0, quality = 0;
    EXPECT_EQ(0, I_WindowSearch(&pattern, im, &search, im, 1, &x, &y, &quality, 1));
    EXPECT_EQ(59, pattern.right);
    EXPECT_EQ(49, pattern.bottom);
    EXPECT_EQ(59, search.right);
    EXPECT_EQ(20, search.bottom);
    // Wider than the image is cut to it.
    VexaBox wide = {-10, -10, 1000, 1000};
    EXPECT_EQ(1, I_WindowSearch(&wide, im, nullptr, im, 1, &x, &y, &quality, 1));
    EXPECT_EQ(-10, wide.left);
    EXPECT_EQ(-2.0F, quality);
}

TEST_F(LiteralCorrelation, BigPatternIsLearnedAgainOnlyForItsUpperHalf)
{
    const int32_t im = scene(0, 0);
    VexaBox pattern = {10, 10, 140, 140}, search = {5, 5, 150, 150};
    float x = 0, y = 0, quality = 0;
    const auto qualityNow = [&] {
        EXPECT_EQ(1, I_WindowSearch(&pattern, im, &search, im, 1, &x, &y, &quality, 1));
        return quality;
    };
    const float kept = qualityNow();
    // Pattern and area both keep what they learned: a change below their middles is not seen.
    I_SetWindowROI(10, 120, 140, 140);
    I_ClearROI(0.0, im);
    I_SetROIType(0);
    EXPECT_EQ(kept, qualityNow());
    I_SetMultiAlignParams(-0.2F, 0, 0);
    qualityNow();
    I_SetMultiAlignParams(-0.2F, 0, 1);
    EXPECT_NEAR(1.0, qualityNow(), 0.02);
}

TEST_F(FailuresCorrelation, WindowSearchOfNoImageAndOfASmallBox)
{
    const int32_t im = scene(0, 0, 120, 110);
    float x = 3, y = 3, quality = 3;
    EXPECT_EQ(0, I_WindowSearch(nullptr, 0, nullptr, im, 1, &x, &y, &quality, 1));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ("I_WindowSearch: Null image: imPattern=0 imSearch=" + std::to_string(im), errorText());
    EXPECT_EQ(0.0F, quality);
    VexaBox narrow = {5, 5, 6, 104};
    EXPECT_EQ(0, I_WindowSearch(&narrow, im, nullptr, im, 1, &x, &y, &quality, 1));
    EXPECT_EQ(12, I_GetError(nullptr, 0));
    EXPECT_EQ("LearnPattern: size= 2 x 100 box=5 5 6 104; imSize=120 110", errorText());
    VexaBox far = {INT32_MAX, INT32_MIN, INT32_MAX, INT32_MAX};
    EXPECT_EQ(0, I_WindowSearch(&far, im, &far, im, 1, nullptr, nullptr, nullptr, 1));
}

TEST_F(FailuresCorrelation, WindowSearchWithoutMemory)
{
    const int32_t im = scene(0, 0, 60, 50);
    I_SetMultiAlignParams(-0.2F, 0, 0);
    forEachFailingAllocation(
        [&] {
            VexaBox pattern = {10, 10, 40, 40};
            float x, y, quality;
            return I_WindowSearch(&pattern, im, nullptr, im, 2, &x, &y, &quality, 1);
        },
        [](int64_t result) {
            // the list of peaks goes without a word, and without it there is no result
            EXPECT_TRUE(result == 0 || I_GetError(nullptr, 0) == 2);
        });
}

} // namespace
} // namespace vexa::test
