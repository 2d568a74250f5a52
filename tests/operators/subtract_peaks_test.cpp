#include "support/buffer.h"
#include "tests/operators/arithmetic_reference.h"
#include "vexalib/smoothing.h"

namespace
{

using namespace vexa::test;
using testing::ElementsAre;
using testing::StartsWith;

class LiteralSubtractPeaks : public ArithmeticSuite
{
};
class AgainstReferenceSubtractPeaks : public ArithmeticSuite
{
};
class FailuresSubtractPeaks : public ArithmeticSuite
{
};
INSTANTIATE_TEST_SUITE_P(EverySet, LiteralSubtractPeaks, everySet(), setName);
INSTANTIATE_TEST_SUITE_P(EverySet, AgainstReferenceSubtractPeaks, everySet(), setName);
INSTANTIATE_TEST_SUITE_P(EverySet, FailuresSubtractPeaks, everySet(), setName);

struct Spot {
    int32_t x, y, value;
};

// Black but for some spots.
int32_t spots(std::initializer_list<Spot> list, int32_t cols = 60, int32_t rows = 50)
{
    const int32_t im = byteImage(cols, rows);
    for (const Spot& s : list)
        *static_cast<uint8_t*>(I_ImGetPtr(s.x, s.y, nullptr, nullptr, im)) = static_cast<uint8_t>(s.value);
    return im;
}

TEST_P(LiteralSubtractPeaks, ExUsesTheModeForTheCallOnly)
{
    const int32_t a = byteImage({{10}});
    const int32_t b = byteImage({{20}});
    const int32_t dest = byteImage({{0}});
    I_SetClipMode(0);
    const int32_t expected[] = {246, 0, 10, 118, 123, 246, 251, 100};
    for (int32_t mode = 0; mode < 8; ++mode) {
        EXPECT_EQ(1, I_SubtractEx(a, b, dest, 0, 0, mode));
        EXPECT_EQ(expected[mode], pixel(dest, 0, 0)) << mode;
        EXPECT_EQ(0, I_GetClipMode());
    }
    I_SetClipMode(3);
    EXPECT_EQ(1, I_SubtractEx(a, b, dest, 0, 0, 8));
    EXPECT_EQ(118, pixel(dest, 0, 0));
    EXPECT_EQ(12, I_GetError(nullptr, 0));
    EXPECT_EQ(3, I_GetClipMode());
    EXPECT_EQ(0, I_SubtractEx(-90, b, dest, 0, 0, 5));
    EXPECT_EQ(3, I_GetClipMode());
}

TEST_P(LiteralSubtractPeaks, WholeOffsetsOf1ExAreThoseOfSubtract)
{
    const int32_t a = noiseImage(30, 20, 1);
    const int32_t b = noiseImage(30, 20, 2);
    const int32_t expected = byteImage(30, 20);
    const int32_t dest = byteImage(30, 20);
    uint32_t histogram[256];
    EXPECT_EQ(1, I_SubtractEx(a, b, expected, -2, 3, 2));
    EXPECT_EQ(1, I_Subtract1Ex(a, b, dest, -2.0F, 3.0F, 2, 1.0F, histogram));
    EXPECT_EQ(bytesOf(expected), bytesOf(dest));
    EXPECT_EQ(1, I_GetClipMode());
    std::vector<uint32_t> counts(256);
    for (const uint8_t p : bytesOf(dest))
        ++counts[p];
    EXPECT_THAT(histogram, testing::ElementsAreArray(counts));
}

TEST_P(LiteralSubtractPeaks, SubtractOf1ExWithoutDestinationFillsTheHistogramOnly)
{
    const int32_t a = byteImage({{9, 9, 9}});
    const int32_t b = byteImage({{4, 4, 9}});
    const int32_t open = I_ImCount();
    uint32_t histogram[256];
    EXPECT_EQ(1, I_Subtract1Ex(a, b, 0, 0.0F, 0.0F, 1, 1.0F, histogram));
    EXPECT_EQ(2U, histogram[5]);
    EXPECT_EQ(1U, histogram[0]);
    EXPECT_EQ(open, I_ImCount());
    EXPECT_THAT(rowOf(b, 0), ElementsAre(4, 4, 9));
    EXPECT_EQ(1, I_Subtract1Ex(a, b, 0, 0.0F, 0.0F, 1, 1.0F, nullptr));
}

TEST_P(LiteralSubtractPeaks, FractionsOfAPixelMoveACopy)
{
    const int32_t a = noiseImage(30, 20, 1);
    const int32_t b = noiseImage(30, 20, 2);
    const int32_t dest = byteImage(30, 20);
    const int32_t expected = byteImage(30, 20);
    const std::vector<uint8_t> before = bytesOf(b);
    for (const float sharpness : {0.0F, 1.0F}) {
        const int32_t moved = I_CloneImage(b, 0, 1);
        I_ShiftSharpen(b, moved, 0.3F, -1.6F, sharpness);
        EXPECT_EQ(1, I_SubtractEx(a, moved, expected, 0, 0, 2));
        I_ImClose(moved);
        EXPECT_EQ(1, I_Subtract1Ex(a, b, dest, 0.3F, -1.6F, 2, sharpness, nullptr));
        EXPECT_EQ(bytesOf(expected), bytesOf(dest));
    }
    EXPECT_EQ(before, bytesOf(b));
    EXPECT_EQ(4, I_ImCount());
    EXPECT_EQ(1, I_GetClipMode());
    // No offset at all: nothing is moved.
    EXPECT_EQ(1, I_Subtract1Ex(b, b, dest, static_cast<float>(NAN), 0.0F, 2, 1.0F, nullptr));
    EXPECT_EQ(std::vector<uint8_t>(600), bytesOf(dest));
}

TEST_P(LiteralSubtractPeaks, PendingErrorsAreShownAtTheStagesOf1Ex)
{
    const int32_t a = byteImage({{9}});
    const int32_t dest = byteImage({{0}});
    const Messages messages;
    I_SetError(16, "an earlier failure");
    EXPECT_EQ(1, I_Subtract1Ex(a, a, dest, 0.0F, 0.0F, 1, 1.0F, nullptr));
    EXPECT_EQ(0, I_Subtract1Ex(-90, a, dest, 0.0F, 0.0F, 1, 1.0F, nullptr));
    ASSERT_EQ(2U, messages.all().size());
    EXPECT_THAT(messages.all()[0], StartsWith("S1E-3 <"));
    EXPECT_THAT(messages.all()[1], StartsWith("S1E-5 <"));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
}

TEST_P(LiteralSubtractPeaks, MaximumOfIdenticalImagesIsNothing)
{
    const int32_t im = noiseImage(30, 20, 1);
    VexaPoint point = {-1, -1};
    EXPECT_EQ(0.0, I_SubtractMax(im, im, 0, 0, 0, &point));
    EXPECT_EQ(0, point.x);
    EXPECT_EQ(0, point.y);
}

TEST_P(LiteralSubtractPeaks, MaximumIsTheFirstOfEquals)
{
    const int32_t a = spots({{40, 7, 90}, {5, 30, 90}, {6, 7, 80}});
    const int32_t b = spots({{50, 7, 90}, {2, 2, 3}});
    const int32_t dest = byteImage(60, 50);
    VexaPoint point = {-1, -1};
    EXPECT_EQ(90.0, I_SubtractMax(a, b, dest, 0, 0, &point));
    EXPECT_EQ(40, point.x);
    EXPECT_EQ(7, point.y);
    EXPECT_EQ(90, pixel(dest, 5, 30));
    EXPECT_EQ(0, pixel(dest, 50, 7));
    EXPECT_EQ(90.0, I_SubtractMax(a, b, dest, 0, 0, nullptr));
    // The result may take the place of a source.
    EXPECT_EQ(90.0, I_SubtractMax(a, b, a, 0, 0, &point));
    EXPECT_EQ(40, point.x);
    EXPECT_EQ(bytesOf(dest), bytesOf(a));
}

TEST_P(LiteralSubtractPeaks, MaximumOfColourCountsThreeBytesToAPixel)
{
    const int32_t a = image(20, 10, PIX_BGR24);
    const int32_t b = image(20, 10, PIX_BGR24);
    static_cast<uint8_t*>(I_ImGetPtr(13, 4, nullptr, nullptr, a))[2] = 50;
    VexaPoint point = {};
    EXPECT_EQ(50.0, I_SubtractMax(a, b, 0, 0, 0, &point));
    EXPECT_EQ(13, point.x);
    EXPECT_EQ(4, point.y);
    // Four bytes to a pixel are counted by threes as well: byte 42 of the row.
    const int32_t wideA = image(20, 10, PIX_BGR32);
    const int32_t wideB = image(20, 10, PIX_BGR32);
    static_cast<uint8_t*>(I_ImGetPtr(10, 4, nullptr, nullptr, wideA))[2] = 50;
    EXPECT_EQ(50.0, I_SubtractMax(wideA, wideB, wideB, 0, 0, &point));
    EXPECT_EQ(14, point.x);
    EXPECT_EQ(4, point.y);
}

TEST_P(LiteralSubtractPeaks, PeaksThatLieApart)
{
    const int32_t a = spots({{10, 10, 100}, {12, 11, 90}, {30, 20, 120}, {50, 40, 60}});
    const int32_t b = byteImage(60, 50);
    const int32_t dest = byteImage(60, 50);
    VexaPoint points[4];
    double values[4];
    EXPECT_EQ(3, I_SubtractNMax(a, b, dest, 0, 0, points, values, 4, 5, 10.0));
    EXPECT_THAT(values, ElementsAre(120.0, 100.0, 60.0, 0.0));
    EXPECT_EQ(30, points[0].x);
    EXPECT_EQ(20, points[0].y);
    EXPECT_EQ(10, points[1].x);
    EXPECT_EQ(50, points[2].x);
    EXPECT_EQ(0, points[3].x);
    EXPECT_EQ(bytesOf(a), bytesOf(dest));
    // One of them, two closer than the separation, and the threshold.
    EXPECT_EQ(1, I_SubtractNMax(a, b, dest, 0, 0, points, values, 1, 5, 10.0));
    EXPECT_EQ(120.0, values[0]);
    const int32_t two = spots({{10, 10, 100}, {15, 14, 110}});
    EXPECT_EQ(1, I_SubtractNMax(two, b, dest, 0, 0, points, values, 4, 5, 10.0));
    EXPECT_EQ(110.0, values[0]);
    EXPECT_EQ(2, I_SubtractNMax(two, b, dest, 0, 0, points, values, 4, 4, 10.0));
    EXPECT_EQ(1, I_SubtractNMax(two, b, dest, 0, 0, points, values, 4, 4, 100.9));
    EXPECT_EQ(0, I_SubtractNMax(two, b, dest, 0, 0, points, values, 4, 4, 110.0));
    EXPECT_EQ(2, I_SubtractNMax(two, b, dest, 0, 0, nullptr, nullptr, 4, 4, 10.0));
}

TEST_P(LiteralSubtractPeaks, APeakInTheColumnOfTheOneBeforeDoesNotCount)
{
    const int32_t b = byteImage(60, 50);
    const int32_t dest = byteImage(60, 50);
    const int32_t column = spots({{10, 10, 100}, {10, 40, 50}});
    EXPECT_EQ(1, I_SubtractNMax(column, b, dest, 0, 0, nullptr, nullptr, 4, 5, 10.0));
    const int32_t third = spots({{10, 10, 100}, {10, 40, 50}, {30, 30, 40}});
    EXPECT_EQ(3, I_SubtractNMax(third, b, dest, 0, 0, nullptr, nullptr, 4, 5, 10.0));
}

TEST_P(LiteralSubtractPeaks, NothingWithoutImagesOrCount)
{
    const int32_t im = byteImage(5, 5, [](int32_t, int32_t) { return 9; });
    VexaPoint points[2] = {{7, 7}, {7, 7}};
    EXPECT_EQ(0, I_SubtractNMax(0, im, im, 0, 0, points, nullptr, 2, 1, 0.0));
    EXPECT_EQ(0, I_SubtractNMax(im, 0, im, 0, 0, points, nullptr, 2, 1, 0.0));
    EXPECT_EQ(0, I_SubtractNMax(im, im, 0, 0, 0, points, nullptr, 2, 1, 0.0));
    EXPECT_EQ(0, I_SubtractNMax(im, im, im, 0, 0, points, nullptr, 0, 1, 0.0));
    EXPECT_EQ(0, I_SubtractNMax(im, im, im, 0, 0, points, nullptr, -5, 1, 0.0));
    EXPECT_EQ(7, points[0].x);
    EXPECT_EQ(0, I_SubtractNMax(im, im, im, 0, 0, points, nullptr, 2, 1, -5.0));
    EXPECT_EQ(0, points[1].x);
}

TEST_P(AgainstReferenceSubtractPeaks, MaximumOfNoiseAtEveryOffset)
{
    const int32_t a = noiseImage(137, 40, 5);
    const int32_t b = noiseImage(137, 40, 6);
    for (const int32_t dx : {0, 5, -70})
        for (const int32_t dy : {0, -3}) {
            int32_t best = 0;
            VexaPoint at = {0, 0};
            for (int32_t y = 0; y < 40; ++y)
                for (int32_t x = 0; x < 137; ++x) {
                    if (x + dx < 0 || x + dx >= 137 || y + dy < 0 || y + dy >= 40)
                        continue;
                    const auto d = static_cast<int32_t>(std::fabs(pixel(a, x, y) - pixel(b, x + dx, y + dy)));
                    if (d > best) {
                        best = d;
                        at = {x, y};
                    }
                }
            VexaPoint point = {};
            EXPECT_EQ(best, I_SubtractMax(a, b, 0, dx, dy, &point));
            EXPECT_EQ(at.x, point.x);
            EXPECT_EQ(at.y, point.y);
        }
}

// The described list, step by step and in arrays.
struct ReferencePeaks {
    int32_t n, separation, threshold, bound;
    std::vector<int32_t> values, xs, ys;

    bool near(int32_t i, int32_t x, int32_t y) const
    {
        return std::abs(xs[i] - x) <= separation && std::abs(ys[i] - y) <= separation;
    }
    void see(int32_t d, int32_t x, int32_t y)
    {
        if (d <= bound)
            return;
        for (int32_t j = 0; j < n; ++j) {
            if (d <= values[j])
                continue;
            for (int32_t k = 0; k < j; ++k)
                if (near(k, x, y))
                    return;
            for (int32_t i = n - 1; i > j; --i)
                set(i, values[i - 1], xs[i - 1], ys[i - 1]);
            set(j, d, x, y);
            bound = std::max(threshold, values[n - 1]);
            for (int32_t i = j + 1; i < n - 1; ++i)
                while (values[i] > 0 && near(i, x, y)) {
                    for (int32_t m = i; m < n - 1; ++m)
                        set(m, values[m + 1], xs[m + 1], ys[m + 1]);
                    set(n - 1, 0, 0, 0);
                }
            return;
        }
    }
    void set(int32_t i, int32_t value, int32_t x, int32_t y)
    {
        values[i] = value;
        xs[i] = x;
        ys[i] = y;
    }
};

TEST_P(AgainstReferenceSubtractPeaks, PeaksOfNoise)
{
    const int32_t a = noiseImage(90, 70, 7);
    const int32_t b = noiseImage(90, 70, 8);
    const int32_t dest = byteImage(90, 70);
    for (const int32_t n : {1, 2, 5, 40})
        for (const int32_t separation : {0, 3, 12, -1})
            for (const int32_t threshold : {0, 100, 250}) {
                ReferencePeaks reference = {n, separation, threshold, threshold, {}, {}, {}};
                reference.values.assign(static_cast<std::size_t>(n), 0);
                reference.xs = reference.ys = reference.values;
                for (int32_t y = 0; y < 70; ++y)
                    for (int32_t x = 0; x < 90; ++x)
                        reference.see(static_cast<int32_t>(std::fabs(pixel(a, x, y) - pixel(b, x, y))), x, y);
                std::vector<VexaPoint> points(static_cast<std::size_t>(n));
                std::vector<double> values(static_cast<std::size_t>(n));
                I_SubtractNMax(a, b, dest, 0, 0, points.data(), values.data(), n, separation,
                               threshold + 0.5);
                for (std::size_t i = 0; i < points.size(); ++i) {
                    ASSERT_EQ(reference.values[i], values[i]) << n << ' ' << separation << ' ' << threshold;
                    ASSERT_EQ(reference.xs[i], points[i].x);
                    ASSERT_EQ(reference.ys[i], points[i].y);
                }
            }
}

TEST_P(FailuresSubtractPeaks, NoMemoryForTheList)
{
    const int32_t im = noiseImage(9, 9, 1);
    VexaPoint points[3] = {{7, 7}, {7, 7}, {7, 7}};
    forEachFailingAllocation([&] { return I_SubtractNMax(im, im, im, 0, 0, points, nullptr, 3, 1, 0.0); },
                             [](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_THAT(errorText(),
                                             StartsWith("Memory allocation failed: I_SubtractNMax: 3: "));
                             });
    EXPECT_EQ(0, points[2].x);
}

TEST_P(FailuresSubtractPeaks, NoMemoryForTheWorkingDestination)
{
    const int32_t im = noiseImage(9, 9, 1);
    const Messages messages;
    const int32_t open = I_ImCount();
    for (int64_t n = 1; n < 14; ++n)
        for (const bool persistent : {false, true}) {
            vexa::failAllocation(n, persistent);
            I_Subtract1Ex(im, im, 0, n % 2 ? 0.0F : 0.5F, 0.0F, 1, 1.0F, nullptr);
            vexa::failAllocation(0, false);
            EXPECT_EQ(open, I_ImCount());
        }
}

TEST_P(FailuresSubtractPeaks, ImagesThatAreNotOpen)
{
    const int32_t im = byteImage(4, 4);
    VexaPoint point = {7, 7};
    EXPECT_EQ(0.0, I_SubtractMax(-90, im, im, 0, 0, &point));
    EXPECT_EQ(0, point.x);
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_SubtractNMax(im, im, -90, 0, 0, nullptr, nullptr, 3, 1, 0.0));
    EXPECT_EQ(0, I_Subtract1Ex(im, 0, 0, 0.0F, 0.0F, 1, 1.0F, nullptr));
}

} // namespace
