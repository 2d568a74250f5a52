#include "vexalib/edges.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "filters/edge_angles.h"
#include "support/buffer.h"
#include "tests/filters/filter_settings.h"
#include "vexalib/rank.h"
#include "vexalib/smoothing.h"

namespace
{

using namespace vexa::test;
using testing::Each;
using testing::ElementsAre;
using testing::StartsWith;

enum { NW, N, NE, W, CTR, E, SW, S, SE };

int32_t plainEdge(int32_t src, int32_t dst, int32_t width, int32_t height)
{
    const int32_t m = std::max(width, 2);
    const int32_t n = std::max(height, 2);
    return runNineBytes(src, dst, m, n, [=](const Nine<uint8_t>& p) {
        int32_t largest = 0;
        for (const std::size_t k : {NW, N, W})
            largest = std::max(largest, std::abs(p[CTR] - p[k]));
        for (std::size_t k = 0; m > 2 && n > 2 && k < 9; ++k)
            largest = std::max(largest, std::abs(p[CTR] - p[k]));
        return static_cast<uint8_t>(largest);
    });
}

int32_t plainSobelBytes(int32_t src, int32_t dst, int32_t width, int32_t height)
{
    return runNineBytes(src, dst, width, height, [](const Nine<uint8_t>& p) {
        const int32_t gx = 2 * p[W] - 2 * p[E] + p[NW] + p[SW] - p[NE] - p[SE];
        const int32_t gy = 2 * p[N] - 2 * p[S] + p[NE] + p[NW] - p[SE] - p[SW];
        return static_cast<uint8_t>(std::min(255, std::abs(gx) + std::abs(gy)));
    });
}

int32_t plainSobel(int32_t src, int32_t dst)
{
    if (widest(src, dst) < 2)
        return plainSobelBytes(src, dst, 3, 3);
    const int32_t type = I_ImGetType(dst);
    const double top = type == PIX_WORD    ? 65535.0
                       : type == PIX_DWORD ? 4294967296.0
                       : type == PIX_FLOAT ? 0.0
                                           : 255.0;
    return runNine<float>(src, dst, 3, 3, PIX_FLOAT, [=](const Nine<float>& p) {
        const std::array<double, 9> d = {p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], p[8]};
        const double gx = 2 * d[W] - 2 * d[E] + d[NW] + d[SW] - d[NE] - d[SE];
        const double gy = 2 * d[N] - 2 * d[S] + d[NE] + d[NW] - d[SE] - d[SW];
        // Truncated as the processor does: what does not fit is the lowest integer, whose magnitude is
        // itself.
        const auto whole = [](double x) {
            const double t = std::trunc(static_cast<double>(static_cast<float>(x)));
            return std::abs(t) < 2147483648.0 ? std::abs(static_cast<int64_t>(t)) : int64_t{INT32_MIN};
        };
        const auto sum = static_cast<int32_t>(static_cast<uint32_t>(whole(gx) + whole(gy)));
        return std::min(static_cast<float>(sum), static_cast<float>(top));
    });
}

int32_t plainContour(int32_t src, int32_t dst, int32_t spacing, int32_t mark)
{
    return runNineBytes(src, dst, 3, 3, [=](const Nine<uint8_t>& p) {
        const int32_t center = p[CTR];
        const int32_t high = std::max({p[N], p[W], p[E], p[S]});
        if (center < high && int64_t{center} % spacing >= int64_t{high} % spacing)
            return static_cast<uint8_t>(mark < 0 ? center ^ 128 : mark);
        return p[CTR];
    });
}

// What the gradient functions leave behind.
struct Gradient {
    float result = 0;
    std::vector<uint32_t> histogram = std::vector<uint32_t>(256, 7);
    std::vector<uint32_t> angles = std::vector<uint32_t>(90, 0);
    int32_t count = -7;
    std::vector<double> out;
    bool operator==(const Gradient&) const = default;
};

// Of a box of numbers, from the description. form 1: I_Gradient, 2: I_Gradient2; the box is w by h.
Gradient plainGradient(const std::vector<double>& p, int32_t w, int32_t h, int32_t form, bool bytes,
                       int32_t step, float threshold)
{
    Gradient g;
    g.histogram.assign(256, 0);
    g.count = 0;
    g.out.assign(p.size(), 0.0);
    if (bytes && form == 1 && threshold < 255.0F)
        g.out = p;
    const int32_t t = static_cast<int32_t>(std::floor(threshold + 0.5F));
    double total = 0;
    for (int32_t y = 0; y < h - step - (bytes && form == 2 ? 2 : 0); ++y) {
        for (int32_t x = 0; x < w - step; ++x) {
            const auto at = [&](int32_t i, int32_t j) { return p[static_cast<std::size_t>(j * w + i)]; };
            double& to = g.out[static_cast<std::size_t>(y * w + x)];
            const double center = at(x, y);
            const double down = center - at(x, y + step);
            const double right = center - at(x + step, y);
            const auto gray = static_cast<std::size_t>(std::clamp(center, 0.0, 255.0));
            if (!bytes) {
                const double v = down * down + right * right;
                if (v > static_cast<double>(threshold) * static_cast<double>(threshold)) {
                    total += v;
                    ++g.count;
                } else {
                    ++g.histogram[gray];
                }
                continue;
            }
            const int32_t m = isqrt(static_cast<int32_t>(down * down + right * right));
            if (form == 1)
                to = m >= t ? 0 : m & 255;
            if (form == 2) {
                const int32_t k =
                    vexa::quickAngle(static_cast<int32_t>(right), static_cast<int32_t>(down), 90);
                if (threshold < static_cast<float>(m)) {
                    g.angles[static_cast<std::size_t>(k)] += static_cast<uint32_t>(m);
                    to = k * 180 / 90 + 70;
                }
            }
            if (m >= t) {
                total += m;
                ++g.count;
            } else {
                ++g.histogram[gray];
            }
        }
    }
    g.result = static_cast<float>(std::sqrt(total / std::max(g.count, 1)));
    for (double& value : g.out)
        value = bytes ? static_cast<double>(static_cast<uint8_t>(value)) : value;
    return g;
}

using LiteralEdges = NeighbourhoodFilters;
using FailuresEdges = NeighbourhoodFilters;

TEST_F(LiteralEdges, EdgeOfFiveByFiveLooksTwoPixelsAway)
{
    const int32_t src = byteImage(9, 9, [](int32_t x, int32_t y) { return x == 4 && y == 4 ? 100 : 30; });
    const int32_t dst = like(src);
    EXPECT_EQ(1, I_Edge(src, dst, 5, 5));
    for (int32_t y = 0; y < 9; ++y)
        for (int32_t x = 0; x < 9; ++x)
            EXPECT_EQ(x % 2 == 0 && y % 2 == 0 && x > 1 && x < 7 && y > 1 && y < 7 ? 70 : 0,
                      pixel(dst, x, y));
}

TEST_F(LiteralEdges, SmallestEdgeComparesThePixelToTheLowerRight)
{
    const int32_t src = byteImage({{10, 20, 30}, {40, 90, 60}, {70, 80, 95}});
    const int32_t dst = like(src);
    for (const int32_t size : {2, 1, 0, -5}) {
        EXPECT_EQ(1, I_Edge(src, dst, size, size));
        // 90 to 40, 10 and 20, found in the output one column to the left.
        EXPECT_EQ(80, pixel(dst, 0, 1));
    }
    EXPECT_EQ(1, I_Edge(src, dst, 2, 3)); // rows y - 1 and y, of three
    EXPECT_EQ(80, pixel(dst, 0, 1));
}

TEST_F(LiteralEdges, SobelOfASteepAndAGentleStep)
{
    const int32_t src = byteImage(8, 4, [](int32_t x, int32_t) { return x < 3 ? 10 : x < 6 ? 30 : 255; });
    const int32_t dst = like(src);
    EXPECT_EQ(1, I_Sobel(src, dst));
    EXPECT_THAT(rowOf(dst, 1), ElementsAre(0, 0, 80, 80, 0, 255, 255, 0));
}

TEST_F(LiteralEdges, SobelOfFloatsIsLimitedByTheDestination)
{
    const int32_t src = floatImage(8, 4, [](int32_t x, int32_t) { return x < 4 ? 0.5 : 20000.9; });
    const int32_t floats = like(src, PIX_FLOAT);
    const int32_t words = like(src, PIX_WORD);
    const int32_t bytes = like(src, PIX_BYTE);
    const int32_t longs = like(src, PIX_DWORD);
    EXPECT_EQ(1, I_Sobel(src, floats));
    EXPECT_THAT(rowOf(floats, 1), Each(0.0));
    EXPECT_EQ(1, I_Sobel(src, words));
    EXPECT_EQ(65535, static_cast<uint16_t>(static_cast<int32_t>(pixel(words, 3, 1))));
    EXPECT_EQ(1, I_Sobel(src, bytes));
    EXPECT_EQ(255, pixel(bytes, 3, 1));
    EXPECT_EQ(1, I_Sobel(src, longs));
    EXPECT_EQ(80001, pixel(longs, 3, 1)); // 4 times 20000.4, truncated
}

TEST_F(LiteralEdges, DirectionalGradientsWrap)
{
    const int32_t rows = byteImage(5, 5, [](int32_t, int32_t y) { return y < 2 ? 0 : 100; });
    const int32_t cols = byteImage(5, 5, [](int32_t x, int32_t) { return x < 2 ? 0 : 100; });
    const int32_t dst = like(rows);
    EXPECT_EQ(1, I_MxN9ptFilt(rows, dst, 3, 3, 8, nullptr));
    EXPECT_EQ(400 - 256, pixel(dst, 2, 2));
    EXPECT_EQ(1, I_MxN9ptFilt(cols, dst, 3, 3, 8, nullptr));
    EXPECT_EQ(0, pixel(dst, 2, 2));
    EXPECT_EQ(1, I_MxN9ptFilt(cols, dst, 3, 3, 9, nullptr));
    EXPECT_EQ(400 - 256, pixel(dst, 2, 2));
    EXPECT_EQ(1, I_MxN9ptFilt(rows, dst, 3, 3, 9, nullptr));
    EXPECT_EQ(0, pixel(dst, 2, 2));
}

TEST_F(LiteralEdges, ContourLiesBelowAMultipleThatIsPassed)
{
    const int32_t src = byteImage({{31, 33}, {31, 33}});
    const int32_t dst = like(src);
    EXPECT_EQ(1, I_Contour(src, dst, 32, 200));
    EXPECT_THAT(rowOf(dst, 0), ElementsAre(200, 33));
    EXPECT_EQ(1, I_Contour(src, dst, -32, -1));
    EXPECT_THAT(rowOf(dst, 0), ElementsAre(31 ^ 128, 33));
    const int32_t below = byteImage({{30, 31}, {30, 31}});
    EXPECT_EQ(1, I_Contour(below, dst, 32, 200));
    EXPECT_THAT(rowOf(dst, 0), ElementsAre(30, 31));
    EXPECT_EQ(1, I_Contour(src, dst, 1, 300)); // every rise; the low byte of the mark
    EXPECT_THAT(rowOf(dst, 0), ElementsAre(44, 33));
    EXPECT_EQ(1, I_Contour(src, dst, 1000, 5)); // no multiple in range
    EXPECT_THAT(rowOf(dst, 0), ElementsAre(31, 33));
    EXPECT_EQ(0, I_Contour(src, dst, 0, 5));
    EXPECT_THAT(rowOf(dst, 0), ElementsAre(31, 33));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
}

TEST(LiteralEdgeAngles, BinsOfHalfATurn)
{
    EXPECT_EQ(0, vexa::quickAngle(0, 0, 90));
    EXPECT_EQ(45, vexa::quickAngle(10, 0, 90));
    EXPECT_EQ(45, vexa::quickAngle(-10, 0, 90));
    EXPECT_EQ(0, vexa::quickAngle(0, 10, 90));
    EXPECT_EQ(22, vexa::quickAngle(10, 10, 90));
    EXPECT_EQ(68, vexa::quickAngle(10, -10, 90)); // -45 / 2 is -22
    EXPECT_EQ(45 - 11, vexa::quickAngle(20, 10, 90));
    EXPECT_EQ(45 + 11, vexa::quickAngle(20, -10, 90));
    EXPECT_EQ(11, vexa::quickAngle(10, 20, 90));
    EXPECT_EQ(90 - 11, vexa::quickAngle(-10, 20, 90));
    for (const int32_t n : {1, 2, 3, 90, 91, 1000})
        for (int32_t dx = -255; dx <= 255; dx += 3)
            for (int32_t dy = -255; dy <= 255; dy += 3) {
                ASSERT_GE(vexa::quickAngle(dx, dy, n), 0);
                ASSERT_LT(vexa::quickAngle(dx, dy, n), n);
            }
}

TEST(LiteralEdgeAngles, AnglesComeBackFromTheirBins)
{
    EXPECT_EQ(0.0F, vexa::angleFromBin(0.0F, 90));
    EXPECT_EQ(90.0F, vexa::angleFromBin(45.0F, 90));
    EXPECT_EQ(180.0F, vexa::angleFromBin(90.0F, 90));
    EXPECT_EQ(0.5F, vexa::angleFromBin(0.25F, 90));
    // In the last bin the steps meet the fall from 180 to 0.
    EXPECT_EQ(356.0F, vexa::angleFromBin(89.0F, 90));
    for (int32_t degrees = 5; degrees < 171; degrees += 5) {
        const double angle = degrees * 3.14159265358979 / 180.0;
        const int32_t bin = vexa::quickAngle(static_cast<int32_t>(std::sin(angle) * 30000.0),
                                             static_cast<int32_t>(std::cos(angle) * 30000.0), 90);
        EXPECT_NEAR(degrees, vexa::angleFromBin(static_cast<float>(bin), 90), 3.5) << degrees;
    }
}

TEST_F(LiteralEdges, GradientOfAFlatImageIsNothing)
{
    const int32_t src = byteImage(9, 7, [](int32_t, int32_t) { return 50; });
    const int32_t dst = like(src);
    std::vector<uint32_t> histogram(256, 3);
    int32_t count = -1;
    EXPECT_EQ(0.0F, I_Gradient(src, dst, 1, 10.0F, histogram.data(), &count));
    EXPECT_EQ(0, count);
    EXPECT_EQ(48U, histogram[50]);
    EXPECT_EQ(0U, histogram[49]);
    EXPECT_THAT(rowOf(dst, 2), ElementsAre(0, 0, 0, 0, 0, 0, 0, 0, 50));
    EXPECT_EQ(0.0F, I_Gradient(src, 0, 1, 10.0F, nullptr, nullptr));
}

TEST_F(LiteralEdges, GradientOfAStep)
{
    const int32_t src = byteImage(4, 4, [](int32_t x, int32_t) { return x < 2 ? 10 : 59; });
    const int32_t dst = like(src);
    int32_t count = -1;
    EXPECT_EQ(7.0F, I_Gradient(src, dst, 1, 20.0F, nullptr, &count)); // the root of 49
    EXPECT_EQ(3, count);
    EXPECT_THAT(rowOf(dst, 0), ElementsAre(0, 0, 0, 59));
    EXPECT_THAT(rowOf(dst, 3), ElementsAre(10, 10, 59, 59));
    EXPECT_EQ(0.0F, I_Gradient(src, dst, 1, 50.0F, nullptr, &count)); // not strong: it remains
    EXPECT_THAT(rowOf(dst, 0), ElementsAre(0, 49, 0, 59));
    EXPECT_EQ(0.0F, I_Gradient(src, dst, 1, 255.0F, nullptr, &count));
    EXPECT_THAT(rowOf(dst, 3), Each(0.0));
    const int32_t floats = floatImage(4, 4, [](int32_t x, int32_t) { return x < 2 ? 10 : 59; });
    const int32_t result = like(src, PIX_FLOAT);
    EXPECT_EQ(49.0F, I_Gradient(floats, result, 0, 48.0F, nullptr, &count));
    EXPECT_EQ(3, count);
    EXPECT_THAT(rowOf(result, 0), Each(0.0));
    EXPECT_EQ(0.0F, I_Gradient2(floats, result, 0, 49.0F, nullptr, &count, nullptr, 90));
    EXPECT_EQ(0, count);
}

TEST_F(LiteralEdges, DirectionsOfAStep)
{
    const int32_t src = byteImage(5, 6, [](int32_t x, int32_t) { return x < 2 ? 10 : 59; });
    const int32_t dst = like(src);
    std::vector<uint32_t> angles(90, 1);
    int32_t count = -1;
    EXPECT_EQ(7.0F, I_Gradient2(src, dst, 1, 20.0F, nullptr, &count, angles.data(), 90));
    EXPECT_EQ(3, count); // rows 0 to 2 of six
    EXPECT_EQ(1U + 3 * 49, angles[45]);
    EXPECT_EQ(1U, angles[44]);
    EXPECT_THAT(rowOf(dst, 2), ElementsAre(0, 45 * 2 + 70, 0, 0, 0));
    EXPECT_THAT(rowOf(dst, 3), Each(0.0));
}

// Only a directly larger threshold keeps a pixel from counting in its direction.
TEST_F(LiteralEdges, ThresholdBetweenWholeNumbers)
{
    const int32_t src = byteImage(5, 6, [](int32_t x, int32_t) { return x < 2 ? 10 : 59; });
    std::vector<uint32_t> angles(90, 0);
    std::vector<uint32_t> histogram(256, 0);
    int32_t count = -1;
    I_Gradient2(src, 0, 1, 49.4F, histogram.data(), &count, angles.data(), 90);
    EXPECT_EQ(3, count); // 49 is not below the rounded threshold
    EXPECT_EQ(0U, angles[45]);
    I_Gradient2(src, 0, 1, 48.6F, histogram.data(), &count, angles.data(), 90);
    EXPECT_EQ(3, count);
    EXPECT_EQ(3U * 49, angles[45]);
}

TEST_F(LiteralEdges, ABinBeyondTheLastEndsTheProcess)
{
    const int32_t src = noiseImage(8, 8, 3);
    uint32_t angles[4] = {};
    EXPECT_EXIT(I_Gradient2(src, 0, 1, 1.0F, nullptr, nullptr, angles, 0), testing::ExitedWithCode(1),
                "a=.* of 0");
    EXPECT_EXIT(I_Gradient2(src, 0, 1, 1.0F, nullptr, nullptr, angles, -3), testing::ExitedWithCode(1),
                "a=.* of -3");
}

TEST_F(LiteralEdges, StepsAsLargeAsTheBox)
{
    const int32_t src = noiseImage(8, 6, 3);
    const int32_t dst = like(src);
    std::vector<uint32_t> histogram(256, 3);
    int32_t count = -1;
    EXPECT_EQ(0.0F, I_Gradient(src, dst, 6, 1.0F, histogram.data(), &count));
    EXPECT_EQ(0.0F, I_Gradient(src, dst, 7, 1.0F, histogram.data(), &count)); // larger than the height alone
    EXPECT_EQ(-1, count);
    EXPECT_EQ(3U, histogram[0]);
    EXPECT_EQ(9, pixel(dst, 0, 0));
    EXPECT_NE(0.0F, I_Gradient(src, dst, 5, 1.0F, histogram.data(), &count));
    // Larger than both: the product is positive, and no pixel has a magnitude.
    EXPECT_EQ(0.0F,
              I_Gradient(src, dst, std::numeric_limits<int32_t>::max(), 1.0F, histogram.data(), &count));
    EXPECT_EQ(0, count);
    EXPECT_EQ(bytesOf(src), bytesOf(dst));
}

TEST(AgainstReferenceEdges, Edge)
{
    for (const auto& [width, height] : {std::pair{1, 1}, {2, 2}, {2, 5}, {4, 2}, {3, 3}, {5, 4}, {9, 8}})
        expectSame([w = width, h = height](int32_t src, int32_t dst) { return I_Edge(src, dst, w, h); },
                   [w = width, h = height](int32_t src, int32_t dst) { return plainEdge(src, dst, w, h); },
                   kAllTypes, 25);
}

TEST(AgainstReferenceEdges, Sobel)
{
    expectSame(I_Sobel, plainSobel, kAllTypes, 120);
    expectSame([](int32_t src, int32_t dst) { return I_MxN9ptFilt(src, dst, 7, 4, 3, nullptr); },
               [](int32_t src, int32_t dst) { return plainSobelBytes(src, dst, 7, 4); });
}

TEST(AgainstReferenceEdges, SobelOfFloatsBeyondEveryInteger)
{
    const float odd[] = {0.0F, std::nanf(""), HUGE_VALF, -HUGE_VALF, 3e9F, -3e9F, 5e8F, 1.5F};
    std::mt19937 random(5);
    const int32_t src =
        floatImage(60, 30, [&](int32_t, int32_t) { return static_cast<double>(odd[random() % 8]); });
    for (const int32_t type : {PIX_FLOAT, PIX_DWORD, PIX_WORD, PIX_BYTE}) {
        const int32_t expected = image(60, 30, type);
        const int32_t dst = image(60, 30, type);
        EXPECT_EQ(1, plainSobel(src, expected));
        EXPECT_EQ(1, I_Sobel(src, dst));
        EXPECT_EQ(bytesOf(expected), bytesOf(dst)) << type;
        closeImages({expected, dst});
    }
    closeImages({src});
}

TEST(AgainstReferenceEdges, DirectionalGradients)
{
    for (const auto& [width, height] : {std::pair{3, 3}, {1, 1}, {5, 2}, {4, 9}}) {
        for (const bool vertical : {true, false}) {
            const auto pixel = [=](const Nine<uint8_t>& p) {
                const int32_t g = vertical ? 2 * (p[N] - p[S]) - p[SE] - p[SW] + p[NE] + p[NW]
                                           : 2 * (p[W] - p[E]) - p[SE] - p[NE] + p[SW] + p[NW];
                return static_cast<uint8_t>(std::abs(g) % 256);
            };
            expectSame(
                [=, w = width, h = height](int32_t src, int32_t dst) {
                    return I_MxN9ptFilt(src, dst, w, h, vertical ? 8 : 9, nullptr);
                },
                [=, w = width, h = height](int32_t src, int32_t dst) {
                    return runNineBytes(src, dst, w, h, pixel);
                },
                kAllTypes, 25);
        }
    }
}

TEST(AgainstReferenceEdges, Contour)
{
    for (const auto& [spacing, mark] :
         {std::pair{32, 0}, {10, -1}, {1, 255}, {2, 7}, {255, 256}, {256, 3}, {-7, -9}})
        expectSame([s = spacing, m = mark](int32_t src, int32_t dst) { return I_Contour(src, dst, s, m); },
                   [s = spacing, m = mark](int32_t src, int32_t dst) { return plainContour(src, dst, s, m); },
                   kAllTypes, 25);
}

// One image holds every pair of a pixel and its right neighbour.
TEST(AgainstReferenceEdges, EverySpacingOfContours)
{
    const int32_t src = byteImage(512, 256, [](int32_t x, int32_t y) { return x % 2 ? y : x / 2; });
    const int32_t expected = byteImage(512, 256);
    const int32_t dst = byteImage(512, 256);
    for (const int32_t spacing : {3, 64, 127, 128, 200, 254, 255, 257}) {
        ASSERT_EQ(1, plainContour(src, expected, spacing, -1));
        for (const vexa::InstructionSet set : vexa::availableInstructionSets()) {
            vexa::limitInstructionSet(set);
            ASSERT_EQ(1, I_Contour(src, dst, spacing, -1));
            ASSERT_TRUE(bytesOf(expected) == bytesOf(dst)) << spacing;
        }
    }
    vexa::limitInstructionSet(vexa::InstructionSet::avx512);
    closeImages({src, expected, dst});
}

TEST(AgainstReferenceEdges, Gradients)
{
    std::mt19937 random(9);
    for (int32_t round = 0; round < 150; ++round) {
        const int32_t w = 2 + static_cast<int32_t>(random() % 30);
        const int32_t h = 2 + static_cast<int32_t>(random() % 20);
        const bool bytes = round % 3 != 0;
        const int32_t step = 1 + static_cast<int32_t>(random() % 3);
        if (w <= step || h <= step)
            continue;
        const auto threshold = static_cast<float>(random() % 3200) / 10.0F;
        const int32_t form = 1 + round % 2;
        const int32_t levels = random() % 2 ? 256 : 12;
        std::vector<double> box;
        const int32_t src = image(w + 4, h + 3, bytes ? PIX_BYTE : PIX_FLOAT, [&](int32_t, int32_t) {
            return static_cast<double>(random() % static_cast<uint32_t>(levels)) - (bytes ? 0 : 40);
        });
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = 0; x < w; ++x)
                box.push_back(pixel(src, x + 3, y + 1));
        const Gradient expected = plainGradient(box, w, h, form, bytes, step, threshold);
        const bool inPlace = round % 5 == 0;
        const int32_t dst = inPlace ? src : image(w + 4, h + 3, bytes ? PIX_BYTE : PIX_FLOAT);
        I_SetWindowROI(3, 1, 2 + w, h);
        Gradient found;
        if (form == 1)
            found.result = I_Gradient(src, dst, step, threshold, found.histogram.data(), &found.count);
        else
            found.result = I_Gradient2(src, dst, step, threshold, found.histogram.data(), &found.count,
                                       found.angles.data(), 90);
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = 0; x < w; ++x)
                found.out.push_back(pixel(dst, x + 3, y + 1));
        EXPECT_EQ(expected.result, found.result) << round;
        EXPECT_EQ(expected.count, found.count) << round;
        EXPECT_EQ(expected.histogram, found.histogram) << round;
        EXPECT_EQ(expected.angles, found.angles) << round;
        EXPECT_EQ(expected.out, found.out) << round;
        I_SetROIType(0);
        I_ImCloseAll();
    }
}

// Two pixels of every pair of differences: magnitudes are isqrt, also where that is an estimate.
TEST(AgainstReferenceEdges, EveryMagnitude)
{
    for (const vexa::InstructionSet set : vexa::availableInstructionSets()) {
        vexa::limitInstructionSet(set);
        for (int32_t right = 0; right < 256; ++right) {
            // Rows of 0 and of every byte, in turn; beside a pixel of 0 stands one of that difference.
            const int32_t src = byteImage(513, 2, [=](int32_t x, int32_t y) {
                return x % 2 ? right : y ? x / 2 : 0;
            });
            const int32_t dst = byteImage(513, 2);
            I_Gradient(src, dst, 1, 254.0F, nullptr, nullptr);
            for (int32_t down = 0; down < 256; ++down) {
                const int32_t size = isqrt(down * down + right * right);
                ASSERT_EQ(size < 254 ? size : 0, pixel(dst, 2 * down, 0)) << right << " " << down;
            }
            int32_t count = 0;
            const float mean = I_Gradient(src, 0, 1, 0.0F, nullptr, &count);
            int64_t total = 0;
            for (int32_t down = 0; down < 256; ++down)
                total += isqrt(down * down + right * right) + isqrt(right * right);
            ASSERT_EQ(512, count);
            ASSERT_EQ(static_cast<float>(std::sqrt(static_cast<double>(total) / 512)), mean);
            closeImages({src, dst});
        }
    }
    vexa::limitInstructionSet(vexa::InstructionSet::avx512);
}

// From the description, after the sums by direction.
float plainPeak(std::vector<uint32_t> angles)
{
    std::vector<int32_t> sums(angles.begin(), angles.end());
    I_SmoothArrayLong(sums.data(), 90, 3);
    int32_t k = 0;
    for (int32_t i = 0; i < 90; ++i)
        k = sums[static_cast<std::size_t>(i)] >= sums[static_cast<std::size_t>(k)] ? i : k;
    const auto at = [&](int32_t i) {
        return static_cast<double>(sums[static_cast<std::size_t>((i + 90) % 90)]);
    };
    double position = 0;
    I_ParabolicPeak(at(k - 1), at(k), at(k + 1), &position, nullptr);
    return vexa::angleFromBin(static_cast<float>(k - 1 + position), 90);
}

TEST(AgainstReferenceEdges, PeakGradient)
{
    std::mt19937 random(4);
    for (int32_t round = 0; round < 40; ++round) {
        const double fx = static_cast<double>(random() % 100) / 70.0;
        const double fy = static_cast<double>(random() % 100) / 70.0;
        const int32_t src =
            byteImage(40, 30, [=](int32_t x, int32_t y) { return 128 + 100 * std::sin(x * fx - y * fy); });
        const int32_t dst = byteImage(40, 30);
        std::vector<uint32_t> angles(90, 0);
        std::vector<uint32_t> expectedHistogram(256, 1);
        std::vector<uint32_t> histogram(256, 2);
        int32_t expectedCount = 0;
        int32_t count = -1;
        I_Gradient2(src, dst, 1, 9.5F, expectedHistogram.data(), &expectedCount, angles.data(), 90);
        const auto expectedPixels = bytesOf(dst);
        EXPECT_EQ(plainPeak(angles), I_PeakGradient(src, dst, 1, 9.5F, histogram.data(), &count));
        EXPECT_EQ(expectedHistogram, histogram);
        EXPECT_EQ(expectedCount, count);
        EXPECT_EQ(expectedPixels, bytesOf(dst));
        I_ImCloseAll();
    }
}

TEST_F(LiteralEdges, DirectionsOfStripes)
{
    const int32_t along[] = {byteImage(40, 40, [](int32_t x, int32_t) { return x / 4 % 2 ? 200 : 20; }),
                             byteImage(40, 40, [](int32_t x, int32_t y) { return (x + y) * 3; }),
                             byteImage(40, 40, [](int32_t, int32_t y) { return y / 4 % 2 ? 200 : 20; })};
    // Smoothing makes bins 44 to 46 equal, of which the last one counts.
    EXPECT_EQ(93.0F, I_PeakGradient(along[0], 0, 1, 5.0F, nullptr, nullptr));
    EXPECT_NEAR(45.0F, I_PeakGradient(along[1], 0, 1, 2.0F, nullptr, nullptr), 2.0F);
    EXPECT_NEAR(0.0F, I_PeakGradient(along[2], 0, 1, 5.0F, nullptr, nullptr), 0.5F);
    // No edges, or no directions: the last bin.
    EXPECT_EQ(356.0F, I_PeakGradient(along[0], 0, 1, 250.0F, nullptr, nullptr));
    EXPECT_EQ(356.0F, I_PeakGradient(floatImage(5, 5), 0, 1, 5.0F, nullptr, nullptr));
}

// A colour image is read as floats.
TEST_F(LiteralEdges, GradientOfOtherTypes)
{
    const int32_t words = wordImage(4, 4, [](int32_t x, int32_t) { return x < 2 ? 100 : 400; });
    const int32_t palette = image(4, 4, PIX_PALETTE, [](int32_t x, int32_t) { return x < 2 ? 10 : 40; });
    std::vector<uint32_t> histogram(256, 3);
    int32_t count = 0;
    EXPECT_EQ(300.0F, I_Gradient(words, 0, 1, 5.0F, histogram.data(), &count));
    EXPECT_EQ(3U, histogram[100]);
    EXPECT_EQ(3U, histogram[255]); // 400 is limited
    EXPECT_EQ(30.0F, I_Gradient2(palette, 0, 1, 5.0F, nullptr, &count, nullptr, 0));
    EXPECT_EQ(3, count);
}

const std::vector<std::pair<std::string, Filter>>& everyFilter()
{
    static const std::vector<std::pair<std::string, Filter>> all = {
        {"edge", [](int32_t src, int32_t dst) { return I_Edge(src, dst, 3, 3); }},
        {"small edge", [](int32_t src, int32_t dst) { return I_Edge(src, dst, 2, 2); }},
        {"sobel", I_Sobel},
        {"contour", [](int32_t src, int32_t dst) { return I_Contour(src, dst, 32, 0); }},
    };
    return all;
}

TEST_F(FailuresEdges, ImagesThatAreNotOpen)
{
    const int32_t open = noiseImage(8, 8, 1);
    const int32_t closed = noiseImage(8, 8, 1);
    closeImages({closed});
    for (const auto& [name, filter] : everyFilter()) {
        EXPECT_EQ(0, filter(closed, open)) << name;
        EXPECT_EQ(20, I_GetError(nullptr, 0)) << name;
        EXPECT_EQ(0, filter(open, 4000)) << name;
        EXPECT_EQ(24, I_GetError(nullptr, 0)) << name;
    }
    clearError();
    int32_t count = -1;
    EXPECT_EQ(0.0F, I_Gradient(closed, open, 1, 1.0F, nullptr, &count));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ(-1, count);
    EXPECT_EQ(0.0F, I_Gradient2(0, open, 1, 1.0F, nullptr, &count, nullptr, 90));
    EXPECT_EQ(-1, count);
    Messages messages;
    EXPECT_EQ(0.0F, I_PeakGradient(closed, open, 1, 1.0F, nullptr, &count));
    EXPECT_EQ(-1, count);
    EXPECT_EQ(0, I_GetError(nullptr, 0)); // presented
    ASSERT_EQ(1U, messages.all().size());
    EXPECT_THAT(messages.all()[0], testing::HasSubstr("I_PeakGradient: 2"));
}

TEST_F(FailuresEdges, WithoutMemory)
{
    const int32_t src = noiseImage(12, 8, 1);
    for (const auto& [name, filter] : everyFilter())
        forEachFailingAllocation([&, &filter = filter] { return filter(src, src); },
                                 [&, &name = name](int64_t result) {
                                     EXPECT_EQ(0, result) << name;
                                     EXPECT_EQ(2, I_GetError(nullptr, 0)) << name;
                                     EXPECT_THAT(errorText(),
                                                 StartsWith("Memory allocation failed: mxnoperator"));
                                 });
    for (const int32_t im : {src, floatImage(12, 8)}) {
        std::vector<uint32_t> histogram(256, 3);
        int32_t count = -1;
        const auto expectFailure = [&](int64_t result) {
            EXPECT_EQ(0, result);
            EXPECT_EQ(2, I_GetError(nullptr, 0));
            EXPECT_THAT(errorText(), StartsWith("Memory allocation failed: I_Gradient2: "));
            EXPECT_EQ(-1, count);
            EXPECT_EQ(0U, histogram[0]);
        };
        forEachFailingAllocation(
            [&] {
                count = -1;
                return static_cast<int64_t>(I_Gradient(im, im, 1, -1.0F, histogram.data(), &count) * 1000);
            },
            expectFailure);
        forEachFailingAllocation(
            [&] {
                count = -1;
                return static_cast<int64_t>(
                    I_Gradient2(im, im, 1, -1.0F, histogram.data(), &count, nullptr, 90) * 1000);
            },
            expectFailure);
    }
}

TEST_F(FailuresEdges, PeakWithoutMemory)
{
    const int32_t src = byteImage(20, 20, [](int32_t x, int32_t) { return x * 10; });
    Messages messages;
    // Without memory to smooth, the directions are as they are.
    forEachFailingAllocation(
        [&] { return static_cast<int64_t>(I_PeakGradient(src, 0, 1, 5.0F, nullptr, nullptr)); },
        [&](int64_t result) { EXPECT_THAT(result, testing::AnyOf(0, 90, 93)); });
    vexa::failAllocation(1, false);
    EXPECT_EQ(0.0F, I_PeakGradient(src, 0, 1, 5.0F, nullptr, nullptr));
    vexa::failAllocation(0, false);
    EXPECT_THAT(errorText(), StartsWith("Memory allocation failed: I_PeakGradient: "));
}

} // namespace
