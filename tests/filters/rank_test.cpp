#include "vexalib/rank.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "support/buffer.h"
#include "tests/filters/filter_settings.h"

namespace
{

using namespace vexa::test;
using testing::ElementsAre;
using testing::StartsWith;

// The described selection: each sample goes in before the first larger one, the fifth is the median.
template <typename Pixel>
Pixel plainMedian(const Nine<Pixel>& nine)
{
    std::vector<Pixel> sorted;
    for (const Pixel sample : nine)
        sorted.insert(std::find_if(sorted.begin(), sorted.end(), [&](Pixel p) { return p > sample; }),
                      sample);
    return sorted[4];
}

// A filter on nine samples in both forms, of which a type that is not PIX_BYTE takes the float one.
template <typename Function>
int32_t runTyped(int32_t src, int32_t dst, int32_t width, int32_t height, int32_t type, Function pixel)
{
    if (type == PIX_BYTE)
        return runNine<uint8_t>(src, dst, width, height, PIX_BYTE, pixel);
    return runNine<float>(src, dst, width, height, PIX_FLOAT, pixel);
}

uint8_t plainBlend(uint8_t center, uint8_t extreme, float step)
{
    const auto weight = static_cast<int32_t>(step * 128);
    return static_cast<uint8_t>(center + (((extreme - center) * weight + 64) >> 7));
}
float plainBlend(float center, float extreme, float step)
{
    return step == 1.0F ? extreme : center + (extreme - center) * step;
}

int32_t plainSteps(int32_t src, int32_t dst, float steps, bool largest)
{
    const int32_t type = narrowest(src, dst);
    float remaining = steps;
    do {
        const float step = remaining < 1.0F ? remaining : 1.0F;
        const auto pixel = [=](const auto& nine) {
            const auto extreme = largest ? *std::max_element(nine.begin(), nine.end())
                                         : *std::min_element(nine.begin(), nine.end());
            return plainBlend(nine[4], extreme, step);
        };
        if (!runTyped(src, dst, 3, 3, type, pixel))
            return 0;
        remaining -= step;
        src = dst;
    } while (remaining > 0.0F);
    return 1;
}

uint8_t grown(const Nine<uint8_t>& nine)
{
    for (const std::size_t k : {4U, 1U, 3U, 5U, 7U, 0U, 2U, 6U, 8U})
        if (nine[k] != 0)
            return nine[k];
    return 0;
}
uint8_t shrunk(const Nine<uint8_t>& nine)
{
    return std::count(nine.begin(), nine.end(), 0) > 0 ? uint8_t{0} : nine[4];
}

int32_t plainBinary(int32_t src, int32_t dst, int32_t steps)
{
    for (int32_t pass = 0; pass < std::max(1, std::abs(steps)); ++pass) {
        if (!runNineBytes(src, dst, 3, 3, steps < 0 ? shrunk : grown))
            return 0;
        src = dst;
    }
    return 1;
}

int32_t plainThinning(int32_t, int32_t, int32_t, int32_t, void** rows, void* outRow, void* prevRow,
                      int32_t count, void* user)
{
    auto* out = static_cast<uint8_t*>(outRow);
    const auto* prev = static_cast<const uint8_t*>(prevRow);
    for (int32_t i = 0; i < count; ++i) {
        const Nine<uint8_t> p = nineAt<uint8_t>(rows, 3, 3, i);
        out[i] = p[4];
        if (p[4] == 0)
            continue;
        int32_t n = 0;
        for (std::size_t k = 0; k < 9; ++k)
            n += k != 4 && p[k] != 0;
        const int32_t a[] = {i > 0 ? prev[i - 1] : 0, prev[i], prev[i + 1], p[5], p[8], p[7], p[6],
                             i > 0 ? out[i - 1] : 0};
        int32_t t = 0;
        for (int32_t k = 0; k < 8; ++k)
            t += a[k] > a[(k + 1) % 8];
        const bool first = n >= 3 && n < 6 && t < 2;
        const bool second = t == 2 && n < 5 && ((a[0] == 0 && a[1] && a[7]) || (a[2] == 0 && a[1] && a[3]));
        if (first || second) {
            out[i] = 0;
            ++*static_cast<int32_t*>(user);
        }
    }
    return 1;
}

int32_t plainSkeleton(int32_t src, int32_t dst)
{
    for (int32_t pass = 1; pass <= 11; ++pass) {
        int32_t removed = 0;
        if (!I_MxNOperator(src, dst, 3, 3, &removed, plainThinning) || removed < 4)
            break;
        src = dst;
    }
    return 1;
}

template <typename Pixel>
int32_t plainFields(int32_t, int32_t y, int32_t, int32_t, void** rows, void* out, void*, int32_t count,
                    void* user)
{
    const int32_t mode = *static_cast<const int32_t*>(user);
    for (int32_t i = 0; i < count; ++i) {
        const Pixel above = static_cast<const Pixel*>(rows[0])[i];
        const Pixel own = static_cast<const Pixel*>(rows[1])[i];
        Pixel& to = static_cast<Pixel*>(out)[i];
        if (mode != -1)
            to = (y & 1) != mode ? own : above;
        else if constexpr (std::is_same_v<Pixel, float>)
            to = (above + own) * 0.5F;
        else
            to = static_cast<Pixel>((above + own) >> 1);
    }
    return 1;
}

int32_t plainDeflicker(int32_t src, int32_t dst, int32_t mode)
{
    if (narrowest(src, dst) < 2)
        return I_MxNOperatorType(src, dst, 1, 2, &mode, plainFields<uint8_t>, PIX_BYTE);
    return I_MxNOperatorType(src, dst, 1, 2, &mode, plainFields<float>, PIX_FLOAT);
}

using LiteralRank = NeighbourhoodFilters;
using BoundsRank = NeighbourhoodFilters;
using FailuresRank = NeighbourhoodFilters;

TEST_F(LiteralRank, MedianOfNine)
{
    const int32_t src = byteImage({{9, 1, 8}, {2, 7, 3}, {6, 4, 5}});
    const int32_t dst = like(src);
    EXPECT_EQ(1, I_Median(src, dst));
    EXPECT_EQ(5, pixel(dst, 1, 1));
    EXPECT_EQ(7, pixel(dst, 0, 0)); // 9 9 1 9 9 1 2 2 7 at the corner
}

TEST_F(LiteralRank, CodesThatDoNothing)
{
    const int32_t src = noiseImage(6, 5, 1);
    const int32_t dst = like(src);
    for (const int32_t op : {2, 13, 14, -1, 1000}) {
        EXPECT_EQ(0, I_MxN9ptFilt(src, dst, 3, 3, op, nullptr));
        EXPECT_EQ(0, I_GetError(nullptr, 0));
        EXPECT_EQ(9, pixel(dst, 2, 2));
    }
}

TEST_F(LiteralRank, StretchedLatticeReadsNinePoints)
{
    const int32_t src =
        byteImage(7, 7, [](int32_t x, int32_t y) { return x % 3 == 0 && y % 3 == 0 ? 50 : 200; });
    const int32_t dst = like(src);
    EXPECT_EQ(1, I_MxN9ptFilt(src, dst, 7, 7, 6, nullptr));
    EXPECT_EQ(50, pixel(dst, 3, 3)); // columns and rows 0, 3 and 6
}

TEST_F(LiteralRank, ErosionByTwoAndAHalfSteps)
{
    const int32_t src = byteImage(11, 11, [](int32_t x, int32_t y) { return x == 5 && y == 5 ? 0 : 101; });
    const int32_t dst = like(src);
    BreakHook hook(0);
    EXPECT_EQ(1, I_Erode(src, dst, 2.5F));
    EXPECT_EQ(3, breakCalls);
    // 101 + ((0 - 101) * 64 + 64 >> 7) = 101 - 50
    EXPECT_THAT(rowOf(dst, 5), ElementsAre(101, 101, 51, 0, 0, 0, 0, 0, 51, 101, 101));
    EXPECT_EQ(51, pixel(dst, 2, 2));
    EXPECT_EQ(101, pixel(dst, 1, 1));
}

TEST_F(LiteralRank, NegativeStepsAreTheOtherOperation)
{
    const int32_t src = noiseImage(12, 9, 4);
    const int32_t a = like(src);
    const int32_t b = like(src);
    I_Erode(src, a, -1.25F);
    I_Dilate(src, b, 1.25F);
    EXPECT_EQ(bytesOf(b), bytesOf(a));
    I_Dilate(src, a, -1.25F);
    I_Erode(src, b, 1.25F);
    EXPECT_EQ(bytesOf(b), bytesOf(a));
}

TEST_F(LiteralRank, NoStepsCopyInOnePass)
{
    const int32_t src = noiseImage(12, 9, 4);
    for (const float steps : {0.0F, -0.0F}) {
        const int32_t a = like(src);
        const int32_t b = like(src);
        BreakHook hook(0);
        EXPECT_EQ(1, I_Erode(src, a, steps));
        EXPECT_EQ(1, I_Dilate(src, b, steps));
        EXPECT_EQ(2, breakCalls);
        EXPECT_EQ(bytesOf(src), bytesOf(a));
        EXPECT_EQ(bytesOf(src), bytesOf(b));
    }
}

TEST_F(LiteralRank, WholeFloatStepsGiveTheExtremeItself)
{
    const int32_t src = floatImage(3, 3, [](int32_t x, int32_t) { return x == 0 ? 0.1 : 1e9; });
    const int32_t dst = like(src, PIX_FLOAT);
    EXPECT_EQ(1, I_Erode(src, dst, 1.0F));
    EXPECT_EQ(static_cast<double>(0.1F), pixel(dst, 1, 1));
}

TEST_F(LiteralRank, EndlessStepsEnd)
{
    const int32_t src = noiseImage(20, 10, 3);
    const auto bytes = bytesOf(src);
    const int32_t dst = like(src);
    for (const float steps : {1e9F, std::numeric_limits<float>::infinity()}) {
        EXPECT_EQ(1, I_Erode(src, dst, steps));
        EXPECT_EQ(*std::min_element(bytes.begin(), bytes.end()), pixel(dst, 19, 0));
        EXPECT_EQ(1, I_Dilate(src, dst, steps));
        EXPECT_EQ(*std::max_element(bytes.begin(), bytes.end()), pixel(dst, 19, 0));
    }
    EXPECT_EQ(1, I_Erode(src, dst, std::numeric_limits<float>::quiet_NaN()));
    EXPECT_EQ(1, I_BinaryDilate(src, dst, std::numeric_limits<int32_t>::max()));
    EXPECT_EQ(1, I_BinaryDilate(src, dst, std::numeric_limits<int32_t>::min()));
}

TEST_F(LiteralRank, PeaksAndPits)
{
    const int32_t src = byteImage({{0, 10, 0}, {20, 50, 30}, {0, 40, 0}});
    const int32_t dst = like(src);
    EXPECT_EQ(1, I_MinPeak(src, dst, 3, 3, 1));
    EXPECT_EQ(10, pixel(dst, 1, 1));
    EXPECT_EQ(0, pixel(dst, 0, 0));
    EXPECT_EQ(1, I_MinPeak(src, dst, 3, 3, 0));
    EXPECT_EQ(0, pixel(dst, 1, 1));
    const int32_t pit = byteImage({{0, 40, 0}, {20, 5, 30}, {0, 40, 0}});
    EXPECT_EQ(1, I_MinPeak(pit, dst, 3, 3, 0));
    EXPECT_EQ(15, pixel(dst, 1, 1));
}

TEST_F(LiteralRank, LabelsGrowInTheDescribedOrder)
{
    const std::pair<int32_t, int32_t> order[] = {{1, 0}, {0, 1}, {2, 1}, {1, 2},
                                                 {0, 0}, {2, 0}, {0, 2}, {2, 2}};
    // The first k neighbours are 0: the next one is taken.
    for (std::size_t first = 0; first < 8; ++first) {
        const int32_t src = byteImage(3, 3);
        for (std::size_t k = first; k < 8; ++k)
            I_PutPixByte(order[k].first, order[k].second, static_cast<int32_t>(10 + k), src);
        EXPECT_EQ(1, I_MxN9ptFilt(src, src, 3, 3, 12, nullptr));
        EXPECT_EQ(static_cast<int32_t>(10 + first), pixel(src, 1, 1));
    }
}

TEST_F(LiteralRank, TouchingLabelsStayAsTheyAre)
{
    const int32_t src = byteImage({{0, 0, 0, 0}, {0, 3, 7, 0}, {0, 0, 0, 0}});
    EXPECT_EQ(1, I_BinaryDilate(src, src, 0));
    EXPECT_THAT(rowOf(src, 0), ElementsAre(3, 3, 7, 7));
    EXPECT_THAT(rowOf(src, 1), ElementsAre(3, 3, 7, 7));
    EXPECT_THAT(rowOf(src, 2), ElementsAre(3, 3, 7, 7));
}

// What the scans of a row's ends would not see.
TEST_F(LiteralRank, ALoneLastColumnGrows)
{
    const int32_t src = byteImage(20, 3);
    I_PutPixByte(19, 0, 5, src);
    EXPECT_EQ(1, I_BinaryDilate(src, src, 1));
    EXPECT_EQ(5, pixel(src, 19, 1));
    EXPECT_EQ(5, pixel(src, 18, 1));
    EXPECT_EQ(0, pixel(src, 17, 1));
    EXPECT_EQ(0, pixel(src, 19, 2));
}

TEST_F(LiteralRank, ShrinkingKeepsLabels)
{
    const int32_t src =
        byteImage(7, 7, [](int32_t x, int32_t y) { return x > 1 && y > 0 && x < 6 && y < 6 ? x : 0; });
    EXPECT_EQ(1, I_BinaryDilate(src, src, -1));
    EXPECT_THAT(rowOf(src, 3), ElementsAre(0, 0, 0, 3, 4, 0, 0));
    EXPECT_THAT(rowOf(src, 1), ElementsAre(0, 0, 0, 0, 0, 0, 0));
}

TEST_F(LiteralRank, SkeletonOfNothingTakesOnePass)
{
    const int32_t src = byteImage(9, 9);
    const int32_t dst = like(src);
    BreakHook hook(0);
    EXPECT_EQ(1, I_Skeleton(src, dst));
    EXPECT_EQ(1, breakCalls);
    EXPECT_EQ(bytesOf(src), bytesOf(dst));
}

TEST_F(LiteralRank, SkeletonTakesAtMostElevenPasses)
{
    const int32_t src = byteImage(90, 60, [](int32_t, int32_t) { return 1; });
    I_SetBorderMode(0, nullptr, 0);
    BreakHook hook(0);
    EXPECT_EQ(1, I_Skeleton(src, src));
    EXPECT_EQ(11, breakCalls);
}

TEST_F(LiteralRank, SkeletonKeepsLinesAndThinsBars)
{
    // A line one pixel wide stays; a bar of three gets thinner, but stays in one piece.
    const int32_t line =
        byteImage(12, 5, [](int32_t x, int32_t y) { return y == 2 && x > 1 && x < 10 ? 1 : 0; });
    const int32_t bar =
        byteImage(20, 9, [](int32_t x, int32_t y) { return y > 2 && y < 6 && x > 1 && x < 18 ? 255 : 0; });
    const int32_t dst = like(line);
    const int32_t thin = like(bar);
    EXPECT_EQ(1, I_Skeleton(line, dst));
    EXPECT_EQ(bytesOf(line), bytesOf(dst));
    EXPECT_EQ(1, I_Skeleton(bar, thin));
    for (int32_t x = 6; x < 14; ++x)
        EXPECT_EQ(255, pixel(thin, x, 3) + pixel(thin, x, 4) + pixel(thin, x, 5)) << x;
}

// The described output pair, in plain memory: two rows one image width apart, zeros at first.
TEST_F(LiteralRank, SkeletonReadsTheOutputPairAsDescribed)
{
    constexpr int32_t kCols = 23;
    constexpr int32_t kRows = 17;
    const int32_t src =
        byteImage(kCols, kRows, [](int32_t x, int32_t y) { return (x * 7 + y * 5) % 11 > 2 ? 1 : 0; });
    const int32_t dst = like(src);
    std::vector<std::vector<int32_t>> from(kRows, std::vector<int32_t>(kCols));
    for (int32_t y = 0; y < kRows; ++y)
        for (int32_t x = 0; x < kCols; ++x)
            from[y][x] = static_cast<int32_t>(pixel(src, x, y));
    for (int32_t pass = 1; pass <= 11; ++pass) {
        auto to = from;
        std::vector<int32_t> pair(2 * (kCols + 3), 0);
        int32_t* out = pair.data();
        int32_t* prev = out + kCols;
        int32_t removed = 0;
        for (int32_t y = 0; y < kRows; ++y) {
            const auto at = [&](int32_t x, int32_t line) {
                return from[std::clamp(line, 0, kRows - 1)][std::clamp(x, 0, kCols - 1)];
            };
            for (int32_t x = 0; x < kCols; ++x) {
                out[x] = at(x, y);
                if (out[x] == 0)
                    continue;
                int32_t n = -1;
                for (int32_t dy = -1; dy <= 1; ++dy)
                    for (int32_t dx = -1; dx <= 1; ++dx)
                        n += at(x + dx, y + dy) != 0;
                const int32_t a[] = {x ? prev[x - 1] : 0, prev[x],      prev[x + 1],      at(x + 1, y),
                                     at(x + 1, y + 1),    at(x, y + 1), at(x - 1, y + 1), x ? out[x - 1] : 0};
                int32_t t = 0;
                for (int32_t k = 0; k < 8; ++k)
                    t += a[k] > a[(k + 1) % 8];
                if ((n >= 3 && n < 6 && t < 2) ||
                    (t == 2 && n < 5 && ((!a[0] && a[1] && a[7]) || (!a[2] && a[1] && a[3])))) {
                    out[x] = 0;
                    ++removed;
                }
            }
            std::copy_n(out, kCols, to[y].begin());
            std::swap(out, prev);
        }
        from = to;
        if (removed < 4)
            break;
    }
    EXPECT_EQ(1, I_Skeleton(src, dst));
    for (int32_t y = 0; y < kRows; ++y)
        EXPECT_EQ(std::vector<double>(from[y].begin(), from[y].end()), rowOf(dst, y)) << y;
}

TEST_F(LiteralRank, FieldsReplaceEachOther)
{
    const int32_t src = byteImage({{10, 10}, {21, 21}, {30, 30}, {41, 41}});
    const int32_t dst = like(src);
    const auto column = [&] {
        return std::vector<double>{pixel(dst, 0, 0), pixel(dst, 0, 1), pixel(dst, 0, 2), pixel(dst, 0, 3)};
    };
    EXPECT_EQ(1, I_Deflicker(src, dst, 0));
    EXPECT_THAT(column(), ElementsAre(10, 21, 21, 41));
    EXPECT_EQ(1, I_Deflicker(src, dst, 1));
    EXPECT_THAT(column(), ElementsAre(10, 10, 30, 30));
    EXPECT_EQ(1, I_Deflicker(src, dst, -1));
    EXPECT_THAT(column(), ElementsAre(10, 15, 25, 35));
    EXPECT_EQ(1, I_Deflicker(src, dst, 2));
    EXPECT_EQ(bytesOf(src), bytesOf(dst));
}

TEST_F(LiteralRank, ContourDefaultsAndSpacingsOfNothing)
{
    const int32_t src = byteImage({{31, 33}, {31, 33}});
    const int32_t dst = like(src);
    for (const std::vector<float>& param : {std::vector<float>{0.0F, 5.0F}, {1.0F, 5.0F}, {-1.0F, 5.0F}}) {
        EXPECT_EQ(1, I_MxN9ptFilt(src, dst, 3, 3, 4, param.data()));
        EXPECT_THAT(rowOf(dst, 0), ElementsAre(0, 33));
    }
    const float both[] = {32.9F, 5.9F};
    EXPECT_EQ(1, I_MxN9ptFilt(src, dst, 3, 3, 4, both));
    EXPECT_THAT(rowOf(dst, 0), ElementsAre(5, 33));
    const float none[] = {0.5F, 5.0F};
    EXPECT_EQ(0, I_MxN9ptFilt(src, dst, 3, 3, 4, none));
    EXPECT_THAT(rowOf(dst, 0), ElementsAre(5, 33));
}

TEST(AgainstReferenceRank, Median)
{
    const auto median = [](const auto& nine) { return plainMedian(nine); };
    expectSame(I_Median,
               [=](int32_t src, int32_t dst) { return runTyped(src, dst, 3, 3, widest(src, dst), median); });
}

TEST(AgainstReferenceRank, ExtremesAndMediansInEveryNeighbourhood)
{
    for (const auto& [width, height] :
         {std::pair{1, 1}, {1, 4}, {2, 2}, {3, 5}, {4, 3}, {5, 9}, {9, 1}, {8, 7}}) {
        for (const int32_t op : {5, 6, 7}) {
            const auto pixel = [=](auto nine) {
                std::sort(nine.begin(), nine.end());
                return nine[op == 5 ? 0U : op == 6 ? 8U : 4U];
            };
            expectSame(
                [=](int32_t src, int32_t dst) { return I_MxN9ptFilt(src, dst, width, height, op, nullptr); },
                [=](int32_t src, int32_t dst) {
                    return runTyped(src, dst, width, height, widest(src, dst), pixel);
                },
                kAllTypes, 12);
        }
    }
}

// Numbers that are none stop samples from passing, and zeros of either sign keep their order.
TEST(AgainstReferenceRank, MedianOfOddFloats)
{
    const float odd[] = {0.0F, -0.0F, std::nanf(""), -std::nanf(""), HUGE_VALF, -HUGE_VALF, 1.0F, -1.0F};
    std::mt19937 random(5);
    for (const int32_t share : {1, 20, 400}) {
        const int32_t cols = 1100;
        const int32_t src = floatImage(cols, 6, [&](int32_t x, int32_t) {
            return random() % static_cast<uint32_t>(share) == 0 ? static_cast<double>(odd[random() % 8])
                                                                : x % 10 - 4.5;
        });
        const int32_t expected = floatImage(cols, 6);
        const int32_t dst = floatImage(cols, 6);
        runNine<float>(src, expected, 3, 3, PIX_FLOAT, plainMedian<float>);
        for (const vexa::InstructionSet set : vexa::availableInstructionSets()) {
            vexa::limitInstructionSet(set);
            I_ImClear(dst, 0.0);
            EXPECT_EQ(1, I_Median(src, dst));
            EXPECT_EQ(bytesOf(expected), bytesOf(dst)) << share;
        }
        vexa::limitInstructionSet(vexa::InstructionSet::avx512);
        closeImages({src, expected, dst});
    }
}

TEST(AgainstReferenceRank, ErodeAndDilate)
{
    for (const float steps : {0.0F, 0.3F, 1.0F, 2.5F}) {
        expectSame([=](int32_t src, int32_t dst) { return I_Erode(src, dst, steps); },
                   [=](int32_t src, int32_t dst) { return plainSteps(src, dst, steps, false); }, kAllTypes,
                   40);
        expectSame([=](int32_t src, int32_t dst) { return I_Dilate(src, dst, steps); },
                   [=](int32_t src, int32_t dst) { return plainSteps(src, dst, steps, true); }, kAllTypes,
                   40);
    }
}

// One image holds every pair of a centre and a smaller or larger neighbour.
TEST(AgainstReferenceRank, EveryBlendOfBytes)
{
    const int32_t src = byteImage(512, 256, [](int32_t x, int32_t y) { return x % 2 ? y : x / 2; });
    const int32_t dst = byteImage(512, 256);
    I_SetWindowROI(0, 0, 511, 255);
    for (const float step : {0.25F, 0.99F}) {
        ASSERT_EQ(1, I_Erode(src, dst, step));
        for (int32_t y = 1; y < 255; ++y) {
            for (int32_t x = 1; x < 510; ++x) {
                int32_t low = 255;
                for (int32_t dy = -1; dy <= 1; ++dy)
                    for (int32_t dx = -1; dx <= 1; ++dx)
                        low = std::min(low, (x + dx) % 2 ? y + dy : (x + dx) / 2);
                const int32_t center = x % 2 ? y : x / 2;
                ASSERT_EQ(plainBlend(static_cast<uint8_t>(center), static_cast<uint8_t>(low), step),
                          pixel(dst, x, y));
            }
        }
    }
    I_SetROIType(0);
    closeImages({src, dst});
}

TEST(AgainstReferenceRank, MinPeak)
{
    for (const auto& [width, height] : {std::pair{3, 3}, {1, 2}, {5, 4}, {9, 7}}) {
        for (const int32_t peaks : {0, 1, -5}) {
            const auto pixel = [=](const Nine<uint8_t>& p) {
                const int32_t low = std::min({p[1], p[3], p[5], p[7]});
                const int32_t high = std::max({p[1], p[3], p[5], p[7]});
                return static_cast<uint8_t>(peaks ? std::max(0, p[4] - high) : std::max(0, low - p[4]));
            };
            expectSame([=](int32_t src, int32_t dst) { return I_MinPeak(src, dst, width, height, peaks); },
                       [=](int32_t src, int32_t dst) { return runNineBytes(src, dst, width, height, pixel); },
                       kAllTypes, 25);
        }
    }
}

TEST(AgainstReferenceRank, BinaryDilate)
{
    for (const int32_t steps : {0, 1, 3, -1, -2})
        expectSame([=](int32_t src, int32_t dst) { return I_BinaryDilate(src, dst, steps); },
                   [=](int32_t src, int32_t dst) { return plainBinary(src, dst, steps); }, kAllTypes, 40);
    for (const int32_t op : {11, 12})
        expectSame(
            [=](int32_t src, int32_t dst) { return I_MxN9ptFilt(src, dst, 5, 4, op, nullptr); },
            [=](int32_t src, int32_t dst) { return runNineBytes(src, dst, 5, 4, op == 11 ? shrunk : grown); },
            kAllTypes, 40);
}

TEST(AgainstReferenceRank, Skeleton)
{
    expectSame(I_Skeleton, plainSkeleton, {PIX_BYTE, PIX_BYTE, PIX_WORD, PIX_BGR24}, 120);
}

TEST(AgainstReferenceRank, Deflicker)
{
    for (const int32_t mode : {-2, -1, 0, 1, 2})
        expectSame([=](int32_t src, int32_t dst) { return I_Deflicker(src, dst, mode); },
                   [=](int32_t src, int32_t dst) { return plainDeflicker(src, dst, mode); }, kAllTypes, 40);
}

// The sharpening codes: 8 CTR - the other eight, times the strength in 128ths.
TEST(AgainstReferenceRank, SharpeningCodes)
{
    const float none[] = {0.0F};
    const float half[] = {0.5F};
    const float negative[] = {-3.3F};
    const std::pair<const float*, int32_t> strengths[] = {
        {nullptr, 0}, {none, 0}, {half, 8}, {negative, -52}};
    for (const int32_t op : {0, 10}) {
        for (const auto& [param, given] : strengths) {
            const int32_t strength = given != 0 ? given : op == 0 ? 40 : 16;
            const auto pixel = [=](const auto& p) {
                using Pixel = std::decay_t<decltype(p[0])>;
                const auto sum = std::accumulate(p.begin(), p.end(), 0.0) - static_cast<double>(p[4]);
                const double t = (8.0 * p[4] - sum) * strength / 128.0;
                const double center = op == 0 ? static_cast<double>(p[4]) : 0.0;
                if constexpr (std::is_same_v<Pixel, uint8_t>)
                    return static_cast<uint8_t>(std::clamp(std::trunc(t) + center, 0.0, 255.0));
                else
                    return static_cast<float>(t + center);
            };
            expectSame([=, param = param](int32_t src,
                                          int32_t dst) { return I_MxN9ptFilt(src, dst, 3, 3, op, param); },
                       [=](int32_t src, int32_t dst) { return runTyped(src, dst, 3, 3, PIX_BYTE, pixel); },
                       {PIX_BYTE, PIX_BGR24, PIX_PALETTE}, 25);
        }
    }
}

TEST(AgainstReferenceRank, MeanCode)
{
    const auto bytes = [](const Nine<uint8_t>& p) {
        return static_cast<uint8_t>((std::accumulate(p.begin(), p.end(), 0) + 4) / 9);
    };
    const auto floats = [](const Nine<float>& p) {
        return static_cast<float>(std::accumulate(p.begin(), p.end(), 0.0) / 9.0);
    };
    for (const auto& [width, height] : {std::pair{3, 3}, {5, 2}, {8, 9}})
        expectSame([w = width, h = height](int32_t src,
                                           int32_t dst) { return I_MxN9ptFilt(src, dst, w, h, 1, nullptr); },
                   [=, w = width, h = height](int32_t src, int32_t dst) {
                       return widest(src, dst) == PIX_BYTE
                                  ? runNineBytes(src, dst, w, h, bytes)
                                  : runNine<float>(src, dst, w, h, PIX_FLOAT, floats);
                   },
                   kAllTypes, 25);
}

// Pixels of an application stand at any address, and nothing around them is written.
TEST_F(BoundsRank, ImagesOfFloatsAtAnyAddress)
{
    const int32_t src = floatImage(70, 5, [](int32_t x, int32_t y) { return (x * 31 + y * 17) % 50 / 4.0; });
    const int32_t expected = like(src, PIX_FLOAT);
    for (const auto& [name, filter] : std::vector<std::pair<std::string, Filter>>{
             {"median", I_Median},
             {"erode", [](int32_t from, int32_t to) { return I_Erode(from, to, 1.5F); }},
             {"fields", [](int32_t from, int32_t to) { return I_Deflicker(from, to, -1); }},
             {"sharpen",
              [](int32_t from, int32_t to) { return I_MxN9ptFilt(from, to, 3, 3, 0, nullptr); }}}) {
        ASSERT_EQ(1, filter(src, expected));
        for (int32_t shift = 0; shift < 4; ++shift) {
            const int32_t stride = 70 * 4 + shift;
            std::vector<uint8_t> memory(static_cast<std::size_t>(stride * 5 + 16), uint8_t{0xA5});
            const int32_t dst = I_ImOpenPtr(70, 5, stride, PIX_FLOAT, memory.data() + shift);
            ASSERT_EQ(1, filter(src, dst));
            EXPECT_EQ(bytesOf(expected), bytesOf(dst)) << name << " " << shift;
            for (int32_t y = 0; y < 5; ++y)
                for (int32_t i = 0; i < shift; ++i)
                    EXPECT_EQ(0xA5, memory[static_cast<std::size_t>(y * stride + i)]) << name;
            closeImages({dst});
        }
    }
}

// Every width around the vectors: the canaries behind each row stay.
TEST_F(BoundsRank, WidthsAroundTheVectors)
{
    for (const vexa::InstructionSet set : vexa::availableInstructionSets()) {
        vexa::limitInstructionSet(set);
        for (int32_t cols = 2; cols < 140; ++cols) {
            const int32_t src = noiseImage(cols, 3, static_cast<uint32_t>(cols));
            std::vector<uint8_t> memory(static_cast<std::size_t>((cols + 3) * 3), uint8_t{0xA5});
            const int32_t dst = I_ImOpenPtr(cols, 3, cols + 3, PIX_BYTE, memory.data());
            const int32_t expected = like(src);
            runNineBytes(src, expected, 3, 3, plainMedian<uint8_t>);
            ASSERT_EQ(1, I_Median(src, dst));
            ASSERT_EQ(bytesOf(expected), bytesOf(dst)) << cols;
            runNineBytes(src, expected, 3, 3, shrunk);
            ASSERT_EQ(1, I_BinaryDilate(src, dst, -1));
            ASSERT_EQ(bytesOf(expected), bytesOf(dst)) << cols;
            for (int32_t y = 0; y < 3; ++y)
                for (int32_t i = cols; i < cols + 3; ++i)
                    ASSERT_EQ(0xA5, memory[static_cast<std::size_t>(y * (cols + 3) + i)]) << cols;
            closeImages({src, dst, expected});
        }
    }
    vexa::limitInstructionSet(vexa::InstructionSet::avx512);
}

// Every function of the family.
const std::vector<std::pair<std::string, Filter>>& everyFilter()
{
    static const std::vector<std::pair<std::string, Filter>> all = {
        {"median", I_Median},
        {"erode", [](int32_t src, int32_t dst) { return I_Erode(src, dst, 1.5F); }},
        {"dilate", [](int32_t src, int32_t dst) { return I_Dilate(src, dst, 1.5F); }},
        {"peak", [](int32_t src, int32_t dst) { return I_MinPeak(src, dst, 3, 3, 1); }},
        {"binary", [](int32_t src, int32_t dst) { return I_BinaryDilate(src, dst, 2); }},
        {"fields", [](int32_t src, int32_t dst) { return I_Deflicker(src, dst, 1); }},
        {"contour", [](int32_t src, int32_t dst) { return I_MxN9ptFilt(src, dst, 3, 3, 4, nullptr); }},
    };
    return all;
}

TEST_F(FailuresRank, ImagesThatAreNotOpen)
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
    EXPECT_EQ(1, I_Skeleton(closed, open));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
}

TEST_F(FailuresRank, BreakEndsThePassesAndKeepsWhatIsStored)
{
    const int32_t src = noiseImage(8, 8, 1);
    for (const auto& [name, filter] : everyFilter()) {
        BreakHook hook(1);
        EXPECT_EQ(0, filter(src, src)) << name;
        EXPECT_EQ(6, I_GetError(nullptr, 0)) << name;
        EXPECT_EQ(1, breakCalls) << name;
        clearError();
    }
    BreakHook hook(2);
    EXPECT_EQ(0, I_Dilate(src, src, 3.0F));
    EXPECT_EQ(2, breakCalls);
    const int32_t full = byteImage(30, 30, [](int32_t, int32_t) { return 1; });
    I_SetBorderMode(0, nullptr, 0);
    BreakHook second(2);
    EXPECT_EQ(1, I_Skeleton(full, full));
    EXPECT_EQ(2, breakCalls);
    EXPECT_EQ(6, I_GetError(nullptr, 0));
}

TEST_F(FailuresRank, WithoutMemoryForTheFrame)
{
    const int32_t src = noiseImage(12, 8, 1);
    for (const auto& [name, filter] : everyFilter()) {
        if (name == "median")
            continue;
        forEachFailingAllocation([&, &filter = filter] { return filter(src, src); },
                                 [&, &name = name](int64_t result) {
                                     EXPECT_EQ(0, result) << name;
                                     EXPECT_EQ(2, I_GetError(nullptr, 0)) << name;
                                     EXPECT_THAT(errorText(),
                                                 StartsWith("Memory allocation failed: mxnoperator"));
                                 });
    }
    forEachFailingAllocation([&] { return I_Skeleton(src, src); },
                             [&](int64_t result) {
                                 EXPECT_EQ(1, result);
                                 EXPECT_EQ(2, I_GetError(nullptr, 0));
                             });
}

// A line without memory is left as it was, and the others are done.
TEST_F(FailuresRank, MedianWithoutMemoryForLines)
{
    const int32_t src = noiseImage(12, 8, 1);
    const int32_t dst = like(src);
    const int32_t full = like(src);
    I_Median(src, full); // also makes what lasts
    vexa::failAllocation(0, false);
    I_Median(src, full);
    const int64_t firstLine = vexa::allocationState().attempts;
    for (const bool persistent : {false, true}) {
        I_ImClear(dst, 9.0);
        clearError();
        vexa::failAllocation(firstLine, persistent);
        EXPECT_EQ(1, I_Median(src, dst));
        EXPECT_EQ(2, I_GetError(nullptr, 0));
        EXPECT_THAT(errorText(), StartsWith("Memory allocation failed: I_Median: 36: "));
        vexa::failAllocation(0, false);
        for (int32_t y = 0; y < 8; ++y)
            EXPECT_EQ(y == 0 || persistent ? std::vector<double>(12, 9.0) : rowOf(full, y), rowOf(dst, y));
    }
    forEachFailingAllocation([&] { return I_Median(src, dst); },
                             [](int64_t) { EXPECT_EQ(2, I_GetError(nullptr, 0)); });
}

TEST_F(FailuresRank, RegionsOfOneColumnOrLineAreRefused)
{
    const int32_t src = noiseImage(12, 8, 1);
    I_SetWindowROI(3, 0, 3, 7);
    for (const auto& [name, filter] : everyFilter())
        EXPECT_EQ(0, filter(src, src)) << name;
    I_SetWindowROI(0, 4, 11, 4);
    for (const auto& [name, filter] : everyFilter())
        EXPECT_EQ(0, filter(src, src)) << name;
    EXPECT_EQ(0, I_GetError(nullptr, 0));
}

} // namespace
