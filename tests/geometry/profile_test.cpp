#include "vexalib/profile.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/vexalib.h"

using namespace vexa::test;
using testing::ElementsAre;

namespace
{

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kOld = -77.0F; // what stood in the buffer before

struct Profile {
    int32_t result;
    std::vector<float> values; // as many as the buffer holds
};

Profile profile(int32_t im, VexaPointF a, VexaPointF b, float step, int32_t most = 64,
                int32_t type = PIX_FLOAT)
{
    Profile p{0, std::vector<float>(static_cast<std::size_t>(std::max(most, 0)) + 1, kOld)};
    p.result = I_GetProfileType(a.x, a.y, b.x, b.y, step, p.values.data(), most, im, type);
    EXPECT_EQ(kOld, p.values.back());
    p.values.pop_back();
    return p;
}
std::vector<float> taken(const Profile& p)
{
    return {p.values.begin(), p.values.begin() + std::max(p.result, 0)};
}

// The four pixels around a position in 32nds, in plain arithmetic; what lies behind the image has no weight.
double bilinear(int32_t cols, int32_t rows, int64_t x32, int64_t y32, bool whole, const PixelFunction& pixel)
{
    const int64_t i = x32 / 32, j = y32 / 32, fx = x32 % 32, fy = y32 % 32;
    const auto at = [&](int64_t x, int64_t y) {
        return pixel(static_cast<int32_t>(std::min<int64_t>(x, cols - 1)),
                     static_cast<int32_t>(std::min<int64_t>(y, rows - 1)));
    };
    const double sum =
        (at(i, j) * static_cast<double>(32 - fx) + at(i + 1, j) * static_cast<double>(fx)) *
            static_cast<double>(32 - fy) +
        (at(i, j + 1) * static_cast<double>(32 - fx) + at(i + 1, j + 1) * static_cast<double>(fx)) *
            static_cast<double>(fy);
    return whole ? std::floor(sum / 1024) : sum / 1024;
}

// The general walk in plain loops on top of what the buffer holds.
int32_t plainProfile(std::vector<float>& values, int32_t cols, int32_t rows, VexaPointF a, VexaPointF b,
                     float step, int32_t most, bool whole, bool gapsStay, const PixelFunction& pixel)
{
    const double dx = double{b.x} - a.x, dy = double{b.y} - a.y;
    const auto n = static_cast<int32_t>(std::hypot(dx, dy) / std::abs(double{step}) + 1);
    int32_t take = std::min(n, most);
    double x = double{a.x}, y = double{a.y};
    std::vector<float> read = gapsStay ? values : std::vector<float>(values.size(), 0.0F);
    for (int32_t i = 0; i < take; ++i, x += dx / std::max(n - 1, 1), y += dy / std::max(n - 1, 1)) {
        const auto x32 = static_cast<int64_t>(x * 32), y32 = static_cast<int64_t>(y * 32);
        if (x32 < 0 || y32 < 0)
            continue;
        if (x32 > (cols - 1) * 32 || y32 > (rows - 1) * 32) {
            take = i - 1;
            break;
        }
        read[static_cast<std::size_t>(i)] = static_cast<float>(bilinear(cols, rows, x32, y32, whole, pixel));
    }
    for (int32_t i = 0; i < (gapsStay ? most : take); ++i)
        values[static_cast<std::size_t>(i)] = read[static_cast<std::size_t>(i)];
    return take;
}

double ramp(int32_t x, int32_t y)
{
    return 10 * y + x;
}

class LineSamples : public testing::Test
{
protected:
    void TearDown() override
    {
        I_ImCloseAll();
        clearError();
    }
};
using LiteralProfile = LineSamples;
using AgainstReferenceProfile = LineSamples;
using BoundsProfile = LineSamples;
using FailuresProfile = LineSamples;

TEST_F(LiteralProfile, NumberOfSamples)
{
    const auto count = [](float length, float step) {
        return I_GetProfileType(5, 5, 5 + length, 5, step, nullptr, 100, -250, PIX_BYTE);
    };
    EXPECT_EQ(6, count(10, 2));
    EXPECT_EQ(6, count(10, -2));
    EXPECT_EQ(1, count(0, 1));
    EXPECT_EQ(4, count(10, 3));
    EXPECT_EQ(21, count(10, 0.5F));
    EXPECT_EQ(0, count(10, 0));
    EXPECT_EQ(0, count(kNaN, 1));
    EXPECT_EQ(0, count(10, kNaN));
    EXPECT_EQ(0, count(kInfinity, 1));
    EXPECT_EQ(6, I_GetProfileType(0, 0, 3, 4, 1, nullptr, -5, 0, 4)) << "a question whatever the maximum";
    float one = 0;
    EXPECT_EQ(6, I_GetProfileType(0, 0, 3, 4, 1, &one, 0, 0, 4));
    EXPECT_EQ(0, I_GetProfileType(0, 0, 3, 4, 1, &one, -1, 0, 4));
    EXPECT_EQ(0, I_GetError(nullptr, 0)) << "no image is looked at";
}

TEST_F(LiteralProfile, StraightLinesRunUpwardFromTheSmallerCoordinate)
{
    const int32_t im = byteImage(20, 10, ramp);
    EXPECT_THAT(taken(profile(im, {3, 4}, {6, 4}, 1)), ElementsAre(43, 44, 45, 46));
    EXPECT_THAT(taken(profile(im, {3.7F, 4}, {3.7F, 6}, 1)), ElementsAre(43, 53, 63)) << "the column is cut";
    EXPECT_THAT(taken(profile(im, {3, 4.7F}, {6, 4.7F}, 1)), ElementsAre(43, 44, 45, 46));
    EXPECT_THAT(taken(profile(im, {3, 4}, {5.9F, 4}, 1)), ElementsAre(43, 44, 45));
    EXPECT_THAT(taken(profile(im, {-3.5F, 7}, {-3.5F, 8}, 1)), ElementsAre(70, 80)) << "column 0 stands in";
    EXPECT_THAT(taken(profile(im, {3, -2}, {5, -2}, 1)), ElementsAre(3, 4, 5));
    // The image's end limits the number, and nothing is lost.
    EXPECT_THAT(taken(profile(im, {17, 4}, {30, 4}, 1)), ElementsAre(57, 58, 59));
    EXPECT_THAT(taken(profile(im, {2, 8}, {2, 30}, 1)), ElementsAre(82, 92));
    EXPECT_EQ(0, profile(im, {20, 4}, {30, 4}, 1).result);
    EXPECT_EQ(0, profile(im, {2, 10}, {2, 30}, 1).result);
    EXPECT_EQ(0, profile(im, {25, 3}, {25, 5}, 1).result);
    EXPECT_EQ(0, profile(im, {3, 25}, {5, 25}, 1).result);
    EXPECT_THAT(taken(profile(im, {3, 4}, {9, 4}, 1, 2)), ElementsAre(43, 44));
    EXPECT_THAT(taken(profile(im, {3, 4}, {3, 4}, 1)), ElementsAre(43)) << "length 0";
}

TEST_F(LiteralProfile, OtherLinesKeepTheirDirection)
{
    const int32_t im = byteImage(20, 10, ramp);
    EXPECT_THAT(taken(profile(im, {6, 4}, {3, 4}, 1)), ElementsAre(46, 45, 44, 43));
    EXPECT_THAT(taken(profile(im, {6, 4}, {6, 2}, 1)), ElementsAre(46, 36, 26));
    EXPECT_THAT(taken(profile(im, {3, 4}, {6, 4}, 2)), ElementsAre(43, 46)) << "divided evenly";
    EXPECT_THAT(taken(profile(im, {3, 4}, {6, 4}, -1)), ElementsAre(43, 44, 45, 46));
    // 0.5 between 45 and 46 is cut to 45 in bytes.
    EXPECT_THAT(taken(profile(im, {5, 4}, {6, 4}, 0.5F)), ElementsAre(45, 45, 46));
    const int32_t floats = floatImage(20, 10, ramp);
    EXPECT_THAT(taken(profile(floats, {5, 4}, {6, 4}, 0.5F)), ElementsAre(45, 45.5F, 46));
    EXPECT_THAT(taken(profile(floats, {5.25F, 4.5F}, {5.25F, 4.5F}, 1)), ElementsAre(50.25F));
}

TEST_F(LiteralProfile, NegativePositionsLeaveGaps)
{
    const int32_t floats = floatImage(20, 10, ramp);
    EXPECT_THAT(taken(profile(floats, {-2, 4}, {1, 4}, 1)), ElementsAre(kOld, kOld, 40, 41));
    EXPECT_THAT(taken(profile(floats, {1, 4}, {-2, 4}, 1)), ElementsAre(41, 40, kOld, kOld));
    EXPECT_THAT(taken(profile(floats, {-0.02F, 4}, {-0.02F, 4}, 2)), ElementsAre(40)) << "cut to 0";
    const int32_t bytes = byteImage(20, 10, ramp);
    EXPECT_THAT(taken(profile(bytes, {-2, 4}, {1, 4}, 1)), ElementsAre(0, 0, 40, 41))
        << "zeros are converted";
}

TEST_F(LiteralProfile, LineThatLeavesTheImageLosesASample)
{
    const int32_t im = floatImage(20, 10, ramp);
    EXPECT_THAT(taken(profile(im, {16, 4}, {24, 4}, 2)), ElementsAre(56)) << "18 would be the second";
    EXPECT_THAT(taken(profile(im, {17.5F, 4}, {22.5F, 4}, 1)), ElementsAre(57.5F));
    EXPECT_EQ(0, profile(im, {19, 4.5F}, {23, 4.5F}, 2).result);
    EXPECT_EQ(-1, profile(im, {20, 4.5F}, {23, 4.5F}, 2).result);
    EXPECT_EQ(-1, profile(im, {3, 9.5F}, {3, 9.5F}, 2).result);
    EXPECT_EQ(1, profile(im, {19, 9}, {19, 9}, 2).result) << "the last pixel is allowed";
}

TEST_F(LiteralProfile, GetProfileTypeEx)
{
    const int32_t im = floatImage(20, 12, [](int32_t x, int32_t y) { return 100 * y + x; });
    std::vector<float> values(8, kOld);
    const auto wide = [&](float step, int32_t width) {
        values.assign(8, kOld);
        return I_GetProfileTypeEx(5, 6, 8, 6, step, width, values.data(), 8, im, PIX_FLOAT);
    };
    // Along x: the lines lie at (0, -1) times 1 (j = 1, step 1): one row above.
    EXPECT_EQ(4, wide(1, 3));
    EXPECT_THAT(values, ElementsAre(605.0F - 100.0F / 3, 606.0F - 100.0F / 3, 607.0F - 100.0F / 3,
                                    608.0F - 100.0F / 3, kOld, kOld, kOld, kOld));
    // j = 2 at the other side: 2 * (0, -1) * -1, two rows below.
    EXPECT_EQ(4, wide(1, 6));
    EXPECT_FLOAT_EQ(605.0F + 2 * (0 - 100 + 200) / 6.0F, values[0]);
    EXPECT_EQ(4, wide(-1, -3));
    EXPECT_FLOAT_EQ(605.0F + 100.0F / 3, values[0]);
    EXPECT_EQ(7, wide(0.5F, 9)) << "a step below 1 is cut to 0";
    EXPECT_FLOAT_EQ(605.0F, values[0]);
    for (const int32_t width : {-1, 0, 1}) {
        EXPECT_EQ(4, wide(1, width));
        EXPECT_EQ(605.0F, values[0]);
    }
    EXPECT_EQ(4, I_GetProfileTypeEx(5, 6, 8, 6, 1, 5, nullptr, 8, im, PIX_FLOAT));
    EXPECT_EQ(4, I_GetProfileTypeEx(5, 6, 8, 6, 1, 5, values.data(), 0, im, PIX_FLOAT));
    EXPECT_EQ(0, I_GetProfileTypeEx(5, 6, 5, 6, 1, 5, values.data(), 8, im, PIX_FLOAT)) << "length 0";
    EXPECT_EQ(4, wide(1, std::numeric_limits<int32_t>::min())) << "as many lines as there can be";
    uint8_t bytes[4];
    const int32_t grey = byteImage(20, 12, ramp);
    EXPECT_EQ(4, I_GetProfileTypeEx(5, 6, 8, 6, 1, 3, bytes, 4, grey, PIX_BYTE));
    EXPECT_THAT(bytes, ElementsAre(62, 63, 64, 65)) << "65 - 10 / 3 and so on, rounded";
}

TEST_F(LiteralProfile, DupProfileType)
{
    const int32_t im = byteImage(20, 10, ramp);
    int32_t count = -5;
    auto* words = static_cast<int16_t*>(I_DupProfileType(3, 4, 6, 4, 1, &count, im, PIX_WORD));
    ASSERT_NE(nullptr, words);
    EXPECT_EQ(4, count);
    EXPECT_THAT(std::vector<int16_t>(words, words + 6), ElementsAre(43, 44, 45, 46, 0, 0));
    vexaFree(words);
    void* block = I_DupProfileType(3, 4, 6.6F, 4, 1, &count, im, PIX_BYTE);
    EXPECT_EQ(4, count) << "room for Rnd(3.6) + 1 = 5, trunc(4.6) samples";
    vexaFree(block);
    block = I_DupProfileType(3, 4, 6, 4, 1, nullptr, im, PIX_BYTE);
    EXPECT_NE(nullptr, block);
    vexaFree(block);
    block = I_DupProfileType(3, 4, 6, 4, 1, &count, -250, PIX_BYTE);
    EXPECT_NE(nullptr, block) << "the block comes with a count of 0";
    EXPECT_EQ(0, count);
    vexaFree(block);
    EXPECT_EQ(nullptr, I_DupProfileType(3, 4, 6, 4, 0, &count, im, PIX_BYTE));
    EXPECT_EQ(0, count);
    EXPECT_EQ(2, I_GetError(nullptr, 0));
}

TEST_F(AgainstReferenceProfile, RandomLinesOnEveryType)
{
    std::mt19937 random(8);
    const auto draw = [&](float low, float high) {
        const float x = low + (high - low) * static_cast<float>(random() % 10000) / 10000.0F;
        return random() % 3 == 0 ? std::floor(x) : x;
    };
    const auto pixel = [](int32_t x, int32_t y) { return (x * 37 + y * 59) % 120; };
    const int32_t bytes = byteImage(23, 17, pixel), floats = floatImage(23, 17, pixel);
    for (int32_t round = 0; round < 4000; ++round) {
        const VexaPointF a = {draw(-6, 28), draw(-6, 22)}, b = {draw(-6, 28), draw(-6, 22)};
        const float step = draw(0.3F, 3.0F) + 0.01F;
        const int32_t most = 1 + static_cast<int32_t>(random() % 40);
        for (const int32_t im : {bytes, floats}) {
            std::vector<float> expected(static_cast<std::size_t>(most), kOld);
            const int32_t n =
                plainProfile(expected, 23, 17, a, b, step, most, im == bytes, im == floats, pixel);
            const Profile p = profile(im, a, b, step, most);
            ASSERT_EQ(n, p.result) << round;
            for (std::size_t i = 0; i < expected.size(); ++i)
                ASSERT_NEAR(expected[i], p.values[i], 1e-4) << round << ", " << i;
        }
    }
}

TEST_F(BoundsProfile, ColoursAndTypesWithoutMixing)
{
    const int32_t color = I_ImOpen(4, 3, PIX_BGR24);
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 4; ++x) {
            const uint8_t p[] = {static_cast<uint8_t>(10 * x), static_cast<uint8_t>(10 * y), 200};
            I_PutBlockType(x, y, 1, 1, p, color, PIX_BGR24);
        }
    uint8_t out[9] = {};
    EXPECT_EQ(3, I_GetProfileType(1, 1, 2, 2, 0.7F, out, 3, color, PIX_BGR24));
    EXPECT_THAT(out, ElementsAre(10, 10, 200, 15, 15, 200, 20, 20, 200));
    const int32_t words = wordImage(4, 3, [](int32_t x, int32_t) { return 1000 * x; });
    int16_t word[3] = {};
    EXPECT_EQ(3, I_GetProfileType(1.4F, 1, 2.4F, 1, 0.5F, word, 3, words, PIX_WORD));
    EXPECT_THAT(word, ElementsAre(1000, 2000, 2000)) << "the nearest pixel";
    // 5 and 6 bits of each colour are mixed as three bytes.
    const int32_t narrow = I_ImOpen(4, 3, PIX_BGR16);
    const uint8_t grey[] = {80, 80, 80};
    for (int32_t i = 0; i < 12; ++i)
        I_PutBlockType(i % 4, i / 4, 1, 1, grey, narrow, PIX_BGR24);
    uint16_t own[4] = {7, 7, 7, 7}, expected = 0;
    I_GetBlockType(0, 0, 1, 1, &expected, narrow, PIX_BGR16);
    EXPECT_EQ(3, I_GetProfileType(0.5F, 0.5F, 2.5F, 0.5F, -1, own, 3, narrow, PIX_BGR16));
    EXPECT_THAT(own, ElementsAre(expected, expected, expected, 7));
}

TEST_F(BoundsProfile, StraightLinesOnEveryType)
{
    for (const int32_t type : {PIX_BYTE, PIX_WORD, PIX_DWORD, PIX_FLOAT, PIX_DFLOAT, PIX_COMPLEX}) {
        const int32_t im = image(20, 10, type, ramp);
        EXPECT_THAT(taken(profile(im, {3, 4}, {6, 4}, 1)), ElementsAre(43, 44, 45, 46)) << type;
        EXPECT_THAT(taken(profile(im, {6, 4}, {3, 4}, 1)), ElementsAre(46, 45, 44, 43)) << type;
        EXPECT_THAT(taken(profile(im, {3, 4}, {3, 6}, 1)), ElementsAre(43, 53, 63)) << type;
        closeImages({im});
    }
}

TEST_F(FailuresProfile, CoordinatesOutOfAllBounds)
{
    const int32_t im = byteImage(20, 10, ramp);
    for (const float a : {0.0F, -1e30F, 1e30F, kNaN, kInfinity, -1e9F})
        for (const float b : {0.0F, 3.5F, 1e30F, kNaN, -kInfinity, 1e6F})
            for (const float step : {1.0F, 1e-30F, 1e6F}) {
                profile(im, {a, 2}, {b, 2}, step);
                profile(im, {2, a}, {2, b}, step);
                profile(im, {a, b}, {b, a}, step);
                std::vector<float> buffer(8);
                I_GetProfileTypeEx(a, 2, b, 3, step, 5, buffer.data(), 8, im, PIX_FLOAT);
            }
    SUCCEED();
}

TEST_F(FailuresProfile, ImageThatIsNotOpenAndMissingMemory)
{
    EXPECT_EQ(0, profile(-250, {1, 1}, {4, 5}, 1).result);
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    float buffer[8];
    EXPECT_EQ(0, I_GetProfileTypeEx(1, 1, 4, 5, 1, 3, buffer, 8, -250, PIX_FLOAT));
    const int32_t im = byteImage(20, 10, ramp);
    forEachFailingAllocation([&] { return I_GetProfileType(1, 1, 4, 5, 1, buffer, 8, im, PIX_FLOAT); },
                             [](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_EQ(2, I_GetError(nullptr, 0));
                             });
    forEachFailingAllocation([&] { return I_GetProfileTypeEx(1, 1, 4, 5, 1, 3, buffer, 8, im, PIX_FLOAT); },
                             [](int64_t) { EXPECT_EQ(2, I_GetError(nullptr, 0)); });
    forEachFailingAllocation(
        [&] {
            int32_t count = -1;
            void* const block = I_DupProfileType(1, 1, 4, 5, 1, &count, im, PIX_FLOAT);
            vexaFree(block);
            return count;
        },
        [](int64_t result) {
            EXPECT_EQ(0, result);
            EXPECT_EQ(2, I_GetError(nullptr, 0));
        });
}

} // namespace
