#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "tests/support/test_failures.h"
#include "vexalib/smoothing.h"

namespace
{

using namespace vexa::test;
using testing::ElementsAre;

TEST(LiteralSmoothArray, FloatsBySixAndFiveWeighByOneTwoOne)
{
    float a[] = {4, 8, 16, 32, 64, 128};
    EXPECT_EQ(1, I_SmoothArrayFloat(a, 6, 5));
    EXPECT_THAT(a, ElementsAre(6, 9, 18, 36, 72, 96));
}

TEST(LiteralSmoothArray, FloatsAreAveragedWithTheirEndsRepeated)
{
    float a[] = {0, 0, 0, 30, 0, 0, 0, 0, 0, 90};
    EXPECT_EQ(1, I_SmoothArrayFloat(a, 10, 3));
    EXPECT_THAT(a, ElementsAre(0, 0, 10, 10, 10, 0, 0, 0, 30, 60));
    float even[] = {0, 0, 0, 0, 40, 0, 0, 0, 0, 0};
    EXPECT_EQ(1, I_SmoothArrayFloat(even, 10, 4)); // two elements before, one behind
    EXPECT_THAT(even, ElementsAre(0, 0, 0, 10, 10, 10, 10, 0, 0, 0));
}

TEST(LiteralSmoothArray, LongsCarryTheirRounding)
{
    int32_t a[] = {1, 1, 1, 1, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(1, I_SmoothArrayLong(a, 10, 3));
    // Sums 3 3 3 2 1 0 0 0 0 0; (carry + sum + 1) / 3 with the rest carried on: 2 makes 1 with -1, then 1 makes 0 ...
    EXPECT_THAT(a, ElementsAre(1, 1, 1, 1, 0, 0, 0, 0, 0, 0));
    int32_t two[] = {10, 20, 40, 41, 2, 3};
    EXPECT_EQ(1, I_SmoothArrayLong(two, 6, 2));
    EXPECT_THAT(two, ElementsAre(12, 23, 36, 31, 12, 2));
}

TEST(LiteralSmoothArray, TooWideAWindowKeepsItsReach)
{
    // 8 elements limit a width of 9 to 3; the window still has 9 elements.
    int32_t longs[] = {0, 0, 0, 0, 0, 0, 0, 27};
    EXPECT_EQ(1, I_SmoothArrayLong(longs, 8, 9));
    // Sums 0 0 0 27 54 81 108 135. The rounding adds 9 / 2 = 4, which the first element takes ahead: 3 are owed from then on.
    EXPECT_THAT(longs, ElementsAre(1, 0, 0, 9, 18, 27, 36, 45));
    int16_t shorts[] = {0, 0, 0, 0, 0, 0, 0, 27};
    EXPECT_EQ(1, I_SmoothArrayShort(shorts, 8, 9)); // its reach is that of the limited width
    EXPECT_THAT(shorts, ElementsAre(0, 0, 0, 0, 0, 0, 9, 18));
    uint8_t bytes[] = {0, 0, 0, 0, 0, 0, 0, 27};
    EXPECT_EQ(1, I_SmoothArrayByte(bytes, 8, 9));
    EXPECT_THAT(bytes, ElementsAre(1, 0, 0, 9, 18, 27, 36, 45));
}

TEST(LiteralSmoothArray, WidthsOfLessThanOneLeaveTheArray)
{
    float a[] = {4, 8, 16};
    EXPECT_EQ(1, I_SmoothArrayFloat(a, 3, 3));
    EXPECT_EQ(1, I_SmoothArrayFloat(a, 3, 0));
    EXPECT_EQ(1, I_SmoothArrayFloat(a, 0, 3));
    EXPECT_EQ(1, I_SmoothArrayFloat(a, -3, 3));
    EXPECT_THAT(a, ElementsAre(4, 8, 16));
    int32_t b[] = {4, 8, 16, 3, 3, 3};
    EXPECT_EQ(1, I_SmoothArrayLong(b, 6, -2));
    EXPECT_EQ(1, I_SmoothArrayLong(b, 6, INT32_MIN));
    EXPECT_EQ(1, I_SmoothArrayLong(b, 3, INT32_MAX));
    EXPECT_THAT(b, ElementsAre(4, 8, 16, 3, 3, 3));
}

int64_t clampedAt(const std::vector<int32_t>& a, int64_t i)
{
    return a[static_cast<std::size_t>(std::clamp<int64_t>(i, 0, static_cast<int64_t>(a.size()) - 1))];
}

std::vector<int32_t> plainLongs(const std::vector<int32_t>& a, int32_t given)
{
    const auto count = static_cast<int64_t>(a.size());
    const int64_t width = std::min<int64_t>(given, count / 2 - 1);
    if (width < 1)
        return a;
    std::vector<int32_t> out;
    int64_t carry = 0;
    for (int64_t i = 0; i < count; ++i) {
        if (width == 2) {
            const int64_t t = (clampedAt(a, i - 1) + clampedAt(a, i + 1) + 1) / 2;
            const int64_t next = i == 0 ? clampedAt(a, 1) : clampedAt(a, i - 1);
            const bool end = i == 0 || i == count - 1;
            out.push_back(
                static_cast<int32_t>(end ? (3 * clampedAt(a, i) + next) / 4 : (t + clampedAt(a, i) + 1) / 2));
            continue;
        }
        const int64_t h = given / 2;
        int64_t sum = 0;
        for (int64_t k = i - h; k <= i + given - h - 1; ++k)
            sum += clampedAt(a, k);
        out.push_back(static_cast<int32_t>((carry + sum + h) / width));
        carry += sum - out.back() * width;
    }
    return out;
}

TEST(AgainstReferenceSmoothArray, RandomArrays)
{
    std::mt19937 random(7);
    for (int32_t round = 0; round < 600; ++round) {
        const int32_t count = 1 + static_cast<int32_t>(random() % 40);
        const int32_t width = 1 + static_cast<int32_t>(random() % 30);
        std::vector<int32_t> longs(static_cast<std::size_t>(count));
        std::generate(longs.begin(), longs.end(),
                      [&] { return static_cast<int32_t>(random() % 2000) - 1000; });
        std::vector<int32_t> smoothed = longs;
        ASSERT_EQ(1, I_SmoothArrayLong(smoothed.data(), count, width));
        ASSERT_EQ(plainLongs(longs, width), smoothed) << count << ' ' << width;

        std::vector<int16_t> shorts(longs.begin(), longs.end());
        ASSERT_EQ(1, I_SmoothArrayShort(shorts.data(), count, width));
        ASSERT_EQ(plainLongs(longs, std::min(width, count / 2 - 1)),
                  std::vector<int32_t>(shorts.begin(), shorts.end()));

        std::vector<uint8_t> bytes(longs.begin(), longs.end());
        const std::vector<int32_t> wide = plainLongs({bytes.begin(), bytes.end()}, width);
        ASSERT_EQ(1, I_SmoothArrayByte(bytes.data(), count, width));
        ASSERT_EQ(std::vector<uint8_t>(wide.begin(), wide.end()), bytes);

        std::vector<float> floats(longs.begin(), longs.end());
        ASSERT_EQ(1, I_SmoothArrayFloat(floats.data(), count, width));
        const int32_t limited = std::min(width, count / 2 - 1);
        for (int32_t i = 0; limited >= 1 && limited != 2 && i < count; ++i) {
            double sum = 0.0;
            for (int32_t k = i - limited / 2; k < i - limited / 2 + limited; ++k)
                sum += static_cast<double>(clampedAt(longs, k));
            ASSERT_EQ(static_cast<float>(sum) / static_cast<float>(limited),
                      floats[static_cast<std::size_t>(i)]);
        }
    }
}

TEST(FailuresSmoothArray, NullAndNoMemory)
{
    EXPECT_EQ(0, I_SmoothArrayFloat(nullptr, 9, 3));
    EXPECT_EQ(0, I_SmoothArrayLong(nullptr, 9, 3));
    EXPECT_EQ(0, I_SmoothArrayShort(nullptr, 9, 3));
    EXPECT_EQ(0, I_SmoothArrayByte(nullptr, 9, 3));
    float floats[9] = {1, 5};
    int32_t longs[9] = {1, 5};
    int16_t shorts[9] = {1, 5};
    uint8_t bytes[9] = {1, 5};
    const auto failed = [](int64_t result) {
        EXPECT_EQ(0, result);
        EXPECT_EQ(2, I_GetError(nullptr, 0));
        EXPECT_THAT(errorText(), testing::StartsWith("Memory allocation failed: "));
    };
    forEachFailingAllocation([&] { return I_SmoothArrayFloat(floats, 9, 3); },
                             [&](int64_t result) {
                                 failed(result);
                                 EXPECT_THAT(errorText(), testing::HasSubstr(": arraysmooth: "));
                             });
    forEachFailingAllocation([&] { return I_SmoothArrayLong(longs, 9, 3); }, failed);
    forEachFailingAllocation([&] { return I_SmoothArrayShort(shorts, 9, 3); }, failed);
    forEachFailingAllocation([&] { return I_SmoothArrayByte(bytes, 9, 3); }, failed);
}

} // namespace
