#include "tests/support/test_images.h"

#include <array>
#include <limits>
#include <random>

#include "support/buffer.h"
#include "support/instruction_set.h"
#include "tests/support/test_failures.h"

using namespace vexa::test;

namespace
{

class BlockClear : public testing::Test
{
protected:
    void SetUp() override { clearError(); }
    void TearDown() override { I_ImCloseAll(); }
};
using BlockInvertRows = BlockClear;

class BlockRange : public testing::TestWithParam<vexa::InstructionSet>
{
protected:
    void SetUp() override
    {
        clearError();
        vexa::limitInstructionSet(GetParam());
    }
    void TearDown() override
    {
        vexa::limitInstructionSet(vexa::availableInstructionSets().back());
        I_ImCloseAll();
    }
};
INSTANTIATE_TEST_SUITE_P(EverySet, BlockRange, testing::ValuesIn(vexa::availableInstructionSets()));

struct Extremes {
    double low;
    double high;
};

Extremes rangeOf(int32_t im, int32_t expectedCount)
{
    Extremes range = {-1.0, -1.0};
    EXPECT_EQ(expectedCount, I_ImGetRange(&range.low, &range.high, im));
    return range;
}

bool sameBits(float a, double b)
{
    const auto c = static_cast<float>(b);
    return (std::isnan(a) && std::isnan(c)) || std::memcmp(&a, &c, sizeof a) == 0;
}

} // namespace

TEST_F(BlockClear, LiteralWholeImageInItsOwnType)
{
    for (const int32_t type :
         {PIX_BYTE, PIX_WORD, PIX_DWORD, PIX_FLOAT, PIX_DFLOAT, PIX_COMPLEX, PIX_DCOMPLEX}) {
        const int32_t im = I_ImOpen(9, 700, type);
        EXPECT_EQ(1, I_ImClear(im, 3.0)) << type;
        for (const int32_t y : {0, 350, 699})
            EXPECT_THAT(rowOf(im, y), testing::Each(3.0)) << type;
    }
    const int32_t one = I_ImOpen(1, 1, PIX_DFLOAT);
    EXPECT_EQ(1, I_ImClear(one, 0.0));
    const int32_t color = I_ImOpen(5, 2, PIX_BGR24);
    EXPECT_EQ(1, I_ImClear(color, 200.0));
    EXPECT_THAT(bytesOf(color), testing::Each(200));
    const uint16_t word = 1000;
    const int32_t words = I_ImOpen(5, 2, PIX_WORD);
    EXPECT_EQ(1, I_ImClearType(words, &word, PIX_WORD));
    EXPECT_EQ(1000.0, pixel(words, 4, 1));
    EXPECT_EQ(1, I_ImClearType(words, nullptr, PIX_WORD));
    EXPECT_EQ(0.0, pixel(words, 4, 1));
    I_ImClear(words, 7.0);
    EXPECT_EQ(1, I_ImClearType(words, &word, 0)); // no type: zeros
    EXPECT_EQ(0.0, pixel(words, 4, 1));
}

TEST_F(BlockClear, LiteralSizesBelowOneAreRelativeToTheEdge)
{
    const auto cleared = [](int32_t x, int32_t y, int32_t width, int32_t height, int32_t expected) {
        const int32_t im = byteImage(5, 4, [](int32_t, int32_t) { return 1; });
        EXPECT_EQ(expected, I_ImClearBlockType(x, y, width, height, nullptr, im, 0));
        std::string picture;
        for (int32_t row = 0; row < 4; ++row)
            for (const double value : rowOf(im, row))
                picture += value == 0.0 ? '.' : '#';
        I_ImClose(im);
        return picture;
    };
    EXPECT_EQ("....#"
              "....#"
              "....#"
              "#####",
              cleared(0, 0, -1, -1, 1));
    EXPECT_EQ("#####"
              "##..."
              "##..."
              "##...",
              cleared(2, 1, 0, 0, 1));
    EXPECT_EQ("..###" // a part outside is cut away
              "#####"
              "#####"
              "#####",
              cleared(-1, -1, 3, 2, 1));
    EXPECT_EQ("#####"
              "#####"
              "#####"
              "####.",
              cleared(4, 3, 100, 100, 1));
    const std::string untouched(20, '#');
    EXPECT_EQ(untouched, cleared(5, 0, 1, 1, 0));
    EXPECT_EQ(untouched, cleared(0, 4, 1, 1, 0));
    EXPECT_EQ(untouched, cleared(-3, 0, 3, 1, 0));
    EXPECT_EQ(untouched, cleared(0, 0, -5, 1, 0));
}

TEST_F(BlockClear, LiteralRectTakesCornersInAnyOrder)
{
    for (const auto& [x1, y1, x2, y2] :
         std::vector<std::array<int32_t, 4>>{{1, 1, 2, 3}, {2, 3, 1, 1}, {2, 1, 1, 3}, {1, 3, 2, 1}}) {
        const int32_t im = byteImage(4, 5);
        EXPECT_EQ(1, I_ClearRect(x1, y1, x2, y2, 300, im)); // the low byte
        for (int32_t y = 0; y < 5; ++y)
            for (int32_t x = 0; x < 4; ++x)
                EXPECT_EQ(x >= 1 && x <= 2 && y >= 1 && y <= 3 ? 44.0 : 0.0, pixel(im, x, y));
    }
    const int32_t im = byteImage(4, 5);
    EXPECT_EQ(1, I_ClearRect(INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX, 9, im));
    EXPECT_THAT(bytesOf(im), testing::Each(9));
}

TEST_F(BlockClear, FailuresOfMemoryLeaveTheImage)
{
    const int32_t im = byteImage(5, 4, [](int32_t, int32_t) { return 1; });
    forEachFailingAllocation([&] { return I_ImClearBlockType(1, 1, 2, 2, nullptr, im, 0); },
                             [](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_EQ(2, I_GetError(nullptr, 0));
                                 EXPECT_NE(std::string::npos, errorText().find("bufrows=2048 buflen=4096"));
                             });
    EXPECT_EQ(0, I_ImClear(0, 1.0));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
}

TEST_F(BlockInvertRows, LiteralTwiceRestoresStorageAndFlag)
{
    for (const int32_t rows : {1, 2, 5, 6}) {
        const int32_t im = byteImage(3, rows, [](int32_t x, int32_t y) { return 10 * y + x; });
        const std::vector<uint8_t> before = bytesOf(im);
        int32_t inverted = 0;
        EXPECT_EQ(1, I_ImInvertRows(im));
        I_ImGetParam(&inverted, 0, 19, im);
        EXPECT_EQ(1, inverted);
        EXPECT_EQ(10.0 * (rows - 1), pixel(im, 0, 0));
        void** const table = I_ImGet2DPtr(nullptr, nullptr, im, 0);
        EXPECT_EQ(0, *static_cast<uint8_t*>(table[0])); // the picture is the same
        EXPECT_EQ(1, I_ImInvertRows(im));
        I_ImGetParam(&inverted, 0, 19, im);
        EXPECT_EQ(0, inverted);
        EXPECT_EQ(before, bytesOf(im));
    }
}

TEST_F(BlockInvertRows, BoundsASubimageTurnsItsOwnPixelsOnly)
{
    const int32_t im = byteImage(4, 3, [](int32_t x, int32_t y) { return 10 * y + x; });
    const int32_t sub = I_ImOpenSubimage(1, 0, 2, 3, im);
    EXPECT_EQ(1, I_ImInvertRows(sub));
    EXPECT_THAT(rowOf(im, 0), testing::ElementsAre(0, 21, 22, 3));
    EXPECT_THAT(rowOf(im, 2), testing::ElementsAre(20, 1, 2, 23));
}

TEST_P(BlockRange, LiteralUpdatesTheImageAndCounts)
{
    const int32_t im = byteImage(10, 3, [](int32_t x, int32_t y) { return 20 + x * y; });
    const Extremes range = rangeOf(im, 30);
    EXPECT_EQ(20.0, range.low);
    EXPECT_EQ(38.0, range.high);
    double low = 0.0;
    double high = 0.0;
    I_GetPixValueRange(&low, &high, im);
    EXPECT_EQ(20.0, low);
    EXPECT_EQ(38.0, high);
    EXPECT_EQ(0, I_ImGetRange(&low, &high, 0));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ(38.0, high);
    const int32_t words = wordImage(2, 2, [](int32_t, int32_t) { return -1; });
    EXPECT_EQ(4, I_ComputePixelRange(5, words));
    I_GetPixValueRange(&low, nullptr, words);
    EXPECT_EQ(65535.0, low); // unsigned
}

TEST_P(BlockRange, LiteralEachType)
{
    const int32_t dwords = image(3, 1, PIX_DWORD, [](int32_t x, int32_t) { return x == 1 ? -2 : 5 + x; });
    Extremes range = rangeOf(dwords, 3);
    EXPECT_EQ(5.0, range.low);
    EXPECT_EQ(4294967294.0, range.high);
    const int32_t doubles = image(3, 1, PIX_DFLOAT, [](int32_t x, int32_t) { return 0.1 * x - 0.1; });
    range = rangeOf(doubles, 3);
    EXPECT_EQ(double{-0.1F}, range.low);
    EXPECT_EQ(double{0.1F}, range.high);
    const int32_t complexes = image(2, 1, PIX_COMPLEX, [](int32_t x, int32_t) { return x == 0 ? -3 : 2; });
    range = rangeOf(complexes, 2);
    EXPECT_EQ(2.0, range.low); // magnitudes
    EXPECT_EQ(3.0, range.high);
    // Colours of three bytes: the bands together.
    const int32_t color = I_ImOpen(2, 2, PIX_BGR24);
    const uint8_t pixels[12] = {9, 8, 7, 6, 5, 4, 90, 80, 70, 60, 50, 40};
    I_PutBlockType(0, 0, 2, 2, pixels, color, PIX_BGR24);
    range = rangeOf(color, 4);
    EXPECT_EQ(4.0, range.low);
    EXPECT_EQ(90.0, range.high);
    // Of four bytes: as grey.
    const int32_t wide = I_ImOpen(1, 1, PIX_BGR32);
    const uint8_t pixel[4] = {30, 60, 90, 255};
    I_PutBlockType(0, 0, 1, 1, pixel, wide, PIX_BGR32);
    EXPECT_EQ(60.0, rangeOf(wide, 1).high);
}

template <typename Pixel>
void checkAgainstLoop(int32_t type, const std::function<Pixel(std::mt19937&)>& draw)
{
    std::mt19937 random(5);
    for (const int32_t cols : {1, 2, 3, 7, 15, 16, 17, 31, 33, 63, 64, 65, 127, 129, 255, 257, 600}) {
        // One long row, padded rows, and rows at addresses that the type does not have.
        for (const int32_t padding : {0, 3}) {
            const int32_t rows = 3;
            const int32_t pitch = cols * static_cast<int32_t>(sizeof(Pixel)) + padding;
            std::vector<uint8_t> memory(static_cast<std::size_t>(pitch * rows + 1), 0);
            Pixel low{};
            Pixel high{};
            for (int32_t y = 0; y < rows; ++y)
                for (int32_t x = 0; x < cols; ++x) {
                    const Pixel value = draw(random);
                    const auto at =
                        static_cast<std::size_t>(1 + y * pitch) + static_cast<std::size_t>(x) * sizeof value;
                    std::memcpy(&memory[at], &value, sizeof value);
                    if (x == 0 && y == 0)
                        low = high = value;
                    if (value < low)
                        low = value;
                    if (value > high)
                        high = value;
                }
            const int32_t im = I_ImOpenPtr(cols, rows, pitch, type, memory.data() + 1);
            const Extremes range = rangeOf(im, cols * rows);
            if constexpr (std::is_same_v<Pixel, float>) {
                ASSERT_TRUE(sameBits(low, range.low)) << cols << ": " << low << " " << range.low;
                ASSERT_TRUE(sameBits(high, range.high)) << cols << ": " << high << " " << range.high;
            } else {
                ASSERT_EQ(static_cast<double>(low), range.low) << cols;
                ASSERT_EQ(static_cast<double>(high), range.high) << cols;
            }
            I_ImClose(im);
        }
    }
}

TEST_P(BlockRange, AgainstReferenceIntegers)
{
    checkAgainstLoop<uint8_t>(PIX_BYTE,
                              [](std::mt19937& random) { return static_cast<uint8_t>(random() % 200 + 20); });
    checkAgainstLoop<uint16_t>(PIX_WORD,
                               [](std::mt19937& random) { return static_cast<uint16_t>(random()); });
    checkAgainstLoop<uint32_t>(PIX_DWORD,
                               [](std::mt19937& random) { return static_cast<uint32_t>(random()); });
}

TEST_P(BlockRange, AgainstReferenceFloats)
{
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
    checkAgainstLoop<float>(PIX_FLOAT,
                            [](std::mt19937& random) { return static_cast<float>(random()) - 2e9F; });
    // Values that compare in special ways, of either sign.
    const std::vector<float> special = {0.0F, -0.0F, kNone, 1.0F, 1e-40F};
    const std::vector<float> extreme = {kInfinity, -kInfinity, kNone, 0.0F, 3.0F};
    for (int32_t sign = 0; sign < 2; ++sign) {
        checkAgainstLoop<float>(PIX_FLOAT, [&](std::mt19937& random) {
            const float value = special[random() % special.size()];
            return sign ? -value : value;
        });
        checkAgainstLoop<float>(PIX_FLOAT,
                                [&](std::mt19937& random) { return extreme[random() % extreme.size()]; });
    }
}

TEST_P(BlockRange, LiteralTheFirstPixelOfThePictureStarts)
{
    // Nothing compares with a first pixel that is no number.
    const float none = std::numeric_limits<float>::quiet_NaN();
    const int32_t im =
        floatImage(2, 3, [&](int32_t x, int32_t y) { return x == 0 && y == 2 ? none : x + y; });
    Extremes range = rangeOf(im, 6);
    EXPECT_EQ(0.0, range.low);
    EXPECT_EQ(3.0, range.high);
    const int32_t one = 1;
    I_ImSetParam(&one, 0, 19, im); // now the last storage row is the top one
    range = rangeOf(im, 6);
    EXPECT_TRUE(std::isnan(range.low));
    EXPECT_TRUE(std::isnan(range.high));
}

TEST_P(BlockRange, FailuresOfMemoryKeepTheRange)
{
    const int32_t im = image(20, 20, PIX_DFLOAT);
    I_SetPixValueRange(1.0, 2.0, im);
    vexa::failAllocation(1, false);
    EXPECT_EQ(0, I_ImGetRange(nullptr, nullptr, im));
    vexa::failAllocation(0, false);
    EXPECT_EQ(2, I_GetError(nullptr, 0));
    double high = 0.0;
    I_GetPixValueRange(nullptr, &high, im);
    EXPECT_EQ(2.0, high);
}
