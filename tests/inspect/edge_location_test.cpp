#include "vexalib/edge_location.h"

#include <limits>

#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/edge_shape.h"
#include "vexalib/vexalib.h"

using namespace vexa::test;

namespace
{

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

template <typename Sample>
float find(const std::vector<Sample>& data, int32_t start, int32_t step, float level, int32_t type)
{
    return I_FindEdgeType(data.data(), static_cast<int32_t>(data.size()), start, step, level, type);
}
float findBytes(const std::vector<uint8_t>& data, int32_t start, int32_t step, float level)
{
    return find(data, start, step, level, PIX_BYTE);
}
float findFloats(const std::vector<float>& data, int32_t start, int32_t step, float level)
{
    return find(data, start, step, level, PIX_FLOAT);
}

// The described walk in wide arithmetic; whole differences are cut to integers.
template <typename Sample>
float expectedEdge(const std::vector<Sample>& data, int64_t start, int64_t step, float level, bool whole)
{
    const auto n = static_cast<int64_t>(data.size());
    const int64_t low = step > 0 ? 0 : -step;
    const int64_t high = step > 0 ? n - 1 - step : n - 1;
    if (start >= high || start < low)
        return -1.0F;
    const auto difference = [&](int64_t i) {
        const double d = static_cast<double>(data[static_cast<std::size_t>(i)]) - static_cast<double>(level);
        return whole ? std::trunc(d) : static_cast<double>(static_cast<float>(d));
    };
    for (int64_t i = start; i >= low && i <= high; i += step) {
        const double p = difference(i);
        const double q = difference(i + step);
        if (p * q <= 0.0)
            return static_cast<float>(static_cast<double>(i) +
                                      static_cast<double>(step) *
                                          (p == q ? 0.0F : static_cast<float>(p / (p - q))));
    }
    return -1.0F;
}

class EdgeLocation : public testing::Test
{
protected:
    void TearDown() override
    {
        I_ImCloseAll();
        I_SetROIType(0);
        clearError();
    }
};
using LiteralEdgeLocation = EdgeLocation;
using AgainstReferenceEdgeLocation = EdgeLocation;
using BoundsEdgeLocation = EdgeLocation;
using FailuresEdgeLocation = EdgeLocation;

TEST_F(LiteralEdgeLocation, FindEdgeTypeOnBytes)
{
    EXPECT_EQ(1.5F, findBytes({10, 10, 20}, 0, 1, 15.0F));
    EXPECT_EQ(1.0F, findBytes({10, 19, 30}, 0, 1, 19.5F));
    EXPECT_EQ(-1.0F, findBytes({10, 10, 20}, 1, 1, 15.0F)) << "a start at n - 2";
    EXPECT_EQ(-1.0F, findBytes({10, 10, 20}, 0, -1, 15.0F));
    EXPECT_EQ(-1.0F, findBytes({20, 10, 10}, 2, -1, 15.0F)) << "a start at n - 1";
    EXPECT_EQ(0.5F, findBytes({20, 10, 10, 10}, 2, -1, 15.0F));
    EXPECT_EQ(2.0F, findBytes({0, 0, 50, 90, 90}, 0, 1, 50.0F)) << "a sample at the level";
    EXPECT_EQ(2.0F, findBytes({0, 0, 50, 90, 90}, 3, -1, 50.0F)) << "from the other side";
    EXPECT_EQ(1.0F, findBytes({0, 7, 7, 7}, 1, 1, 7.0F)) << "two zero differences";
    EXPECT_EQ(-1.0F, findBytes({10, 10, 10, 10, 10}, 0, 1, 15.0F));
}

TEST_F(LiteralEdgeLocation, FindEdgeTypeOnFloats)
{
    EXPECT_EQ(1.0F + 0.5F / 11.0F, findFloats({10, 19, 30, 30}, 0, 1, 19.5F));
    EXPECT_EQ(1.5F, findFloats({10, 10, 20}, 0, 1, 15.0F));
    EXPECT_EQ(3.0F, findFloats({0, kNaN, 0, 5, 9, 9}, 0, 1, 5.0F)) << "no number does not stop the walk";
    EXPECT_EQ(-1.0F, findFloats({1, 1, 9, 9}, 0, 1, kNaN));
}

TEST_F(LiteralEdgeLocation, FindEdgeTypeConvertsOtherTypes)
{
    EXPECT_EQ(1.0F + 0.5F / 11.0F, find(std::vector<int16_t>{10, 19, 30, 30}, 0, 1, 19.5F, PIX_WORD));
    EXPECT_EQ(0.5F, find(std::vector<int16_t>{-10, 10, 10}, 0, 1, 0.0F, PIX_WORD)) << "words are signed";
    EXPECT_EQ(1.25F, find(std::vector<double>{0, 1, 5, 5}, 0, 1, 2.0F, PIX_DFLOAT));
}

TEST_F(LiteralEdgeLocation, FindEdgeTypeProductOfIntegersWraps)
{
    // 65536 * 65536 is 0 modulo 2 to the 32; 65536 * 32768 is negative.
    EXPECT_EQ(0.0F, find(std::vector<int32_t>{65536, 65536, 0}, 0, 1, 0.0F, PIX_DWORD));
    EXPECT_EQ(2.0F, find(std::vector<int32_t>{65536, 32768, 1}, 0, 1, 0.0F, PIX_DWORD));
    EXPECT_EQ(0.5F, find(std::vector<int32_t>{-40000, 40000, 40000}, 0, 1, 0.0F, PIX_DWORD));
}

TEST_F(AgainstReferenceEdgeLocation, FindEdgeTypeOnRandomProfiles)
{
    std::mt19937 random(5);
    for (int32_t round = 0; round < 4000; ++round) {
        const auto n = static_cast<std::size_t>(1 + random() % 12);
        std::vector<uint8_t> bytes(n);
        std::vector<int32_t> words(n);
        std::vector<float> floats(n);
        for (std::size_t i = 0; i < n; ++i) {
            bytes[i] = static_cast<uint8_t>(random() % 40);
            words[i] = static_cast<int32_t>(random() % 40) - 20;
            floats[i] = static_cast<float>(random() % 400) / 10.0F;
        }
        const int32_t start = static_cast<int32_t>(random() % 15) - 2;
        const int32_t step = static_cast<int32_t>(random() % 7) - 3;
        if (step == 0)
            continue;
        const float level = static_cast<float>(random() % 100) / 4.0F;
        SCOPED_TRACE(round);
        ASSERT_EQ(expectedEdge(bytes, start, step, level, true), find(bytes, start, step, level, PIX_BYTE));
        ASSERT_EQ(expectedEdge(words, start, step, level - 15.0F, true),
                  find(words, start, step, level - 15.0F, PIX_DWORD));
        ASSERT_EQ(expectedEdge(floats, start, step, level, false),
                  find(floats, start, step, level, PIX_FLOAT));
    }
}

TEST_F(FailuresEdgeLocation, FindEdgeType)
{
    EXPECT_EQ(0.0F, I_FindEdgeType(nullptr, 10, 20, 1, 5.0F, PIX_BYTE));
    EXPECT_EQ(-1.0F, findBytes({1, 9, 9, 9}, 0, 0, 5.0F)) << "a step of 0";
    const std::vector<uint8_t> data(40, 1);
    for (const int32_t n : {kLowest, -1, 0, 1, 2, 3})
        for (const int32_t start : {kLowest, -1, 0, 1, 2, kHighest})
            for (const int32_t step : {kLowest, -1, 1, kHighest})
                EXPECT_EQ(-1.0F, I_FindEdgeType(data.data(), n, start, step, 5.0F, PIX_BYTE));
    const std::vector<int16_t> words = {0, 0, 9, 9};
    forEachFailingAllocation(
        [&] { return static_cast<int64_t>(10 * I_FindEdgeType(words.data(), 4, 0, 1, 4.5F, PIX_WORD)); },
        [](int64_t result) {
            EXPECT_EQ(-10, result);
            EXPECT_EQ(0, I_GetError(nullptr, 0));
        });
}

// A bright block from (20, 10) to (39, 19) on 10.
int32_t blockImage(int32_t type = PIX_BYTE)
{
    return image(60, 40, type,
                 [](int32_t x, int32_t y) { return x >= 20 && x < 40 && y >= 10 && y < 20 ? 200 : 10; });
}

struct Found {
    int32_t result, x, y;
};
Found findEdge(int32_t im, int32_t x, int32_t y, int32_t dx, int32_t dy, int32_t level, int32_t above,
               int32_t steps, int32_t halfWidth)
{
    Found found{-9, -9, -9};
    found.result = I_FindEdge(x, y, dx, dy, level, above, steps, &found.x, &found.y, halfWidth, im);
    return found;
}
void expectFound(const Found& expected, const Found& found)
{
    EXPECT_EQ(expected.result, found.result);
    EXPECT_EQ(expected.x, found.x);
    EXPECT_EQ(expected.y, found.y);
}

TEST_F(LiteralEdgeLocation, FindEdge)
{
    const int32_t im = blockImage();
    expectFound({15, 20, 15}, findEdge(im, 5, 15, 1, 0, 100, 1, 30, 0));
    expectFound({5, 19, 15}, findEdge(im, 24, 15, -1, 0, 100, 0, 30, 0));
    expectFound({0, 25, 15}, findEdge(im, 25, 15, 1, 0, 100, 1, 30, 0));
    expectFound({0, 15, 15}, findEdge(im, 5, 15, 1, 0, 100, 1, 10, 0));
    expectFound({0, 5, 15}, findEdge(im, 5, 15, 1, 0, 100, 1, 0, 0));
    expectFound({0, 5, 15}, findEdge(im, 5, 15, 1, 0, 100, 1, -3, 0));
    expectFound({0, 35, 15}, findEdge(im, 5, 15, 1, 0, 200, 1, 30, 0));
}

TEST_F(LiteralEdgeLocation, FindEdgeLooksToOneSide)
{
    // Walking right, the line across runs upward: (dy, -dx) is (0, -1). 5 pixels, more than 2 of them must
    // count.
    const int32_t im = blockImage();
    expectFound({15, 20, 21}, findEdge(im, 5, 21, 1, 0, 100, 1, 30, 2)); // rows 17 to 21: three are bright
    expectFound({0, 35, 22}, findEdge(im, 5, 22, 1, 0, 100, 1, 30, 2));  // rows 18 to 22: two
    expectFound({0, 35, 11}, findEdge(im, 5, 11, 1, 0, 100, 1, 30, 2));  // rows 7 to 11: two
    expectFound({15, 20, 12}, findEdge(im, 5, 12, 1, 0, 100, 1, 30, 2));
}

TEST_F(AgainstReferenceEdgeLocation, FindEdge)
{
    const int32_t im = byteImage(20, 15, [](int32_t x, int32_t y) { return (x * 37 + y * 91) % 101; });
    std::mt19937 random(3);
    for (int32_t round = 0; round < 3000; ++round) {
        const auto draw = [&](int32_t low, int32_t high) {
            return low + static_cast<int32_t>(random() % static_cast<uint32_t>(high - low + 1));
        };
        const int32_t x = draw(-10, 30), y = draw(-10, 25), dx = draw(-3, 3), dy = draw(-3, 3);
        const int32_t level = draw(-5, 100), above = draw(0, 1), steps = draw(0, 30), half = draw(0, 4);
        Found expected{0, x + steps * dx, y + steps * dy};
        for (int32_t k = 0; k < steps; ++k) {
            int32_t count = 0;
            for (int32_t j = 0; j < 2 * half + 1; ++j) {
                const int32_t px = x + k * dx + j * dy, py = y + k * dy - j * dx;
                const bool inside = px >= 0 && py >= 0 && px < 20 && py < 15;
                const int32_t value = inside ? (px * 37 + py * 91) % 101 : 0;
                count += above != 0 ? value > level : value < level;
            }
            if (count > half) {
                expected = {k, x + k * dx, y + k * dy};
                break;
            }
        }
        SCOPED_TRACE(round);
        expectFound(expected, findEdge(im, x, y, dx, dy, level, above, steps, half));
    }
}

TEST_F(FailuresEdgeLocation, FindEdgeEndsWhateverItIsGiven)
{
    const int32_t im = blockImage(PIX_FLOAT);
    expectFound({0, 7, 7}, findEdge(im, 7, 7, 1, 1, 100, 1, 50, -1));
    for (const int32_t big : {kLowest, -65536, 65536, kHighest})
        for (const int32_t above : {0, 1})
            for (const int32_t half : {0, kHighest}) {
                findEdge(im, big, 5, 1, 0, 100, above, kHighest, half);
                findEdge(im, 5, 5, big, big, 100, above, kHighest, half);
                findEdge(im, big, big, big, big, 100, above, kHighest, half);
                findEdge(im, 5, 5, 0, 0, 100, above, kHighest, half);
            }
    EXPECT_EQ(0, I_FindEdge(5, 15, 1, 0, 100, 1, 10, nullptr, nullptr, 0, im));
    expectFound({0, 15, 15}, findEdge(-250, 5, 15, 1, 0, 100, 1, 10, 0));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
}

TEST_F(LiteralEdgeLocation, GetFWHM)
{
    const float peak[] = {0, 0, 0, 50, 100, 50, 0, 0, 0};
    EXPECT_EQ(2.0F, I_GetFWHM(peak, 9, 0.5F));
    EXPECT_EQ(2.0F, I_GetFWHM(peak, 9, 0.0F)) << "half height";
    EXPECT_EQ(2.0F, I_GetFWHM(peak, 9, -3.0F));
    const float dip[] = {90, 100, 100, 50, 0, 50, 100, 100, 100};
    EXPECT_EQ(2.0F, I_GetFWHM(dip, 9, 0.5F));
    const float half[] = {100, 80, 60, 40, 20, 0, 0};
    EXPECT_EQ(5.0F, I_GetFWHM(half, 7, 0.5F)) << "2.5 from the peak, doubled";
    EXPECT_EQ(0.0F, I_GetFWHM(peak, 4, 0.5F));
    const float flat[] = {7, 7, 7, 7, 7, 7};
    EXPECT_EQ(-2.0F, I_GetFWHM(flat, 6, 0.5F));
    EXPECT_EQ(0.0F, I_GetFWHM(nullptr, 6, 0.5F));
}

// A band of columns of one value per row at the left of a brighter picture.
double banded(int32_t x, int32_t y, double offset)
{
    return x < 12 ? offset : 60 + (x * 7 + y * 3) % 100;
}

TEST_F(LiteralEdgeLocation, SubtractRowAverageOfAnEvenBand)
{
    const int32_t im = byteImage(30, 40, [](int32_t x, int32_t y) { return banded(x, y, 10); });
    I_SubtractRowAverage(im, 8);
    for (int32_t y = 0; y < 40; ++y)
        for (int32_t x = 0; x < 30; ++x)
            ASSERT_EQ(banded(x, y, 10) - (y < 4 ? 0 : 8), pixel(im, x, y)) << x << ", " << y;
}

TEST_F(LiteralEdgeLocation, SubtractRowAverageSpreadsQuarters)
{
    // 10 and 11 in turn: a mean of 10.5, so a is 10 and f is 2.
    const int32_t im =
        byteImage(30, 40, [](int32_t x, int32_t y) { return x < 12 ? 10 + x % 2 : banded(x, y, 0); });
    const std::vector<uint8_t> before = bytesOf(im);
    I_SubtractRowAverage(im, 8);
    for (int32_t y = 4; y < 40; ++y)
        for (int32_t x = 0; x < 30; ++x) {
            const int32_t odd = y % 2 != 0 && x % 2 == 1 ? 1 : 0; // f | y is odd on odd rows
            const int32_t pair = x % 2 == 1 - (y / 2) % 2 ? 1 : 0;
            ASSERT_EQ(before[static_cast<std::size_t>(30 * y + x)] - 8 - odd - pair, pixel(im, x, y))
                << x << ", " << y;
        }
}

TEST_F(LiteralEdgeLocation, SubtractRowAverageOfADarkBandWraps)
{
    const int32_t im = byteImage(20, 10, [](int32_t, int32_t) { return 0; });
    I_SubtractRowAverage(im, 8);
    EXPECT_EQ(0, pixel(im, 3, 3));
    EXPECT_EQ(2, pixel(im, 3, 4)) << "0 - (0 - 2)";
}

TEST_F(LiteralEdgeLocation, SubtractRowAverageNarrowsTheBandOnRow8)
{
    // The picture begins at column 6: the band ends at 4, two columns in front of it. With all 12 columns the
    // mean would exceed 30.
    const int32_t im = byteImage(30, 40, [](int32_t x, int32_t) { return x < 6 ? 12 : 100; });
    I_SubtractRowAverage(im, 12);
    EXPECT_EQ(2, pixel(im, 0, 10));
    EXPECT_EQ(90, pixel(im, 20, 10));
    // With 8 rows there is no row 8 to look at.
    const int32_t low = byteImage(30, 8, [](int32_t x, int32_t) { return x < 6 ? 12 : 100; });
    const std::vector<uint8_t> before = bytesOf(low);
    I_SubtractRowAverage(low, 12);
    EXPECT_EQ(before, bytesOf(low));
    I_SubtractRowAverage(low, 6);
    EXPECT_EQ(2, pixel(low, 0, 5));
}

TEST_F(LiteralEdgeLocation, SubtractRowAverageDeclines)
{
    const int32_t bright = byteImage(30, 40, [](int32_t x, int32_t y) { return x < 12 && y != 0 ? 10 : 31; });
    const int32_t low = byteImage(30, 4, [](int32_t, int32_t) { return 10; });
    const int32_t lowWords = wordImage(30, 4, [](int32_t, int32_t) { return 10; });
    const int32_t dark = byteImage(30, 40, [](int32_t, int32_t) { return 10; });
    for (const int32_t im : {bright, low, lowWords}) {
        const std::vector<uint8_t> before = bytesOf(im);
        I_SubtractRowAverage(im, 8);
        EXPECT_EQ(before, bytesOf(im));
    }
    const std::vector<uint8_t> before = bytesOf(dark);
    for (const int32_t columns : {kLowest, -1, 0, 1})
        I_SubtractRowAverage(dark, columns);
    EXPECT_EQ(before, bytesOf(dark));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    I_SubtractRowAverage(-250, 8);
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    for (const int32_t cols : {1, 2, 3})
        for (const int32_t rows : {9, 10})
            I_SubtractRowAverage(byteImage(cols, rows), kHighest);
}

TEST_F(LiteralEdgeLocation, SubtractRowAverageWritesTheBytesOfWords)
{
    const int32_t im = wordImage(20, 12, [](int32_t x, int32_t) { return x < 10 ? 10 : 1000; });
    I_SubtractRowAverage(im, 8);
    // Words 10 and 1000, from row 4 on 2 and 992, read as bytes: row 2 of the image is row 1 of the words.
    for (int32_t x = 0; x < 20; ++x) {
        EXPECT_EQ(x % 2 == 0 ? 10 : 0, pixel(im, x, 2));
        EXPECT_EQ(x % 2 == 0 ? 1000 % 256 : 1000 / 256, pixel(im, x, 3));
        EXPECT_EQ(x % 2 == 0 ? 2 : 0, pixel(im, x, 8));
        EXPECT_EQ(x % 2 == 0 ? 992 % 256 : 992 / 256, pixel(im, x, 9));
    }
}

TEST_F(FailuresEdgeLocation, SubtractRowAverageWithoutMemory)
{
    const int32_t im = byteImage(30, 40, [](int32_t, int32_t) { return 2; });
    const std::vector<uint8_t> before = bytesOf(im);
    forEachFailingAllocation(
        [&] {
            I_SubtractRowAverage(im, 8);
            return 0;
        },
        [&](int64_t) {
            EXPECT_EQ(before, bytesOf(im));
            EXPECT_EQ(2, I_GetError(nullptr, 0));
        });
}

} // namespace
