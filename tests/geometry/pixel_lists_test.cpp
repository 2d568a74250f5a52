#include <limits>

#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/profile.h"
#include "vexalib/vexalib.h"

using namespace vexa::test;
using testing::ElementsAre;

namespace
{

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

double ramp(int32_t x, int32_t y)
{
    return 10 * y + x;
}

class PixelLists : public testing::Test
{
protected:
    void TearDown() override
    {
        I_ImCloseAll();
        clearError();
    }
};
using LiteralPixelLists = PixelLists;
using AgainstReferencePixelLists = PixelLists;
using FailuresPixelLists = PixelLists;

TEST_F(LiteralPixelLists, GetPixelsInList)
{
    const VexaPointF points[] = {{3, 4},     {3.5F, 4}, {3, 4.5F},  {3.25F, 4.75F}, {-5, 4},
                                 {100, 100}, {19, 9},   {1e30F, 4}, {kNaN, 4}};
    float values[9] = {};
    const int32_t floats = floatImage(20, 10, ramp);
    EXPECT_EQ(9, I_GetPixelsInList(points, values, 9, floats, PIX_FLOAT));
    // Positions that 32 bits do not hold count as 0.
    EXPECT_THAT(values, ElementsAre(43, 43.5F, 48, 50.75F, 40, 109, 109, 40, 40));
    const int32_t bytes = byteImage(20, 10, ramp);
    EXPECT_EQ(9, I_GetPixelsInList(points, values, 9, bytes, PIX_FLOAT));
    EXPECT_THAT(values, ElementsAre(43, 43, 48, 50, 40, 109, 109, 40, 40)) << "cut in bytes, then converted";
    // Rounded to 32nds, half upward: 0.0156 (0.4992 / 32) is 0, 0.0157 is 1 / 32.
    const VexaPointF near[] = {{3.0156F, 4}, {3.0157F, 4}};
    EXPECT_EQ(2, I_GetPixelsInList(near, values, 2, floats, PIX_FLOAT));
    EXPECT_EQ(43.0F, values[0]);
    EXPECT_EQ(43.03125F, values[1]);
}

TEST_F(LiteralPixelLists, CountsThatReadAndWriteNothing)
{
    const int32_t im = byteImage(4, 4);
    const VexaPointF point = {1, 1};
    uint8_t value = 9;
    EXPECT_EQ(5, I_GetPixelsInList(&point, nullptr, 5, -250, PIX_BYTE));
    EXPECT_EQ(-3, I_GetPixelsInList(&point, &value, -3, -250, PIX_BYTE));
    EXPECT_EQ(0, I_GetPixelsInList(nullptr, &value, 5, im, PIX_BYTE));
    EXPECT_EQ(5, I_PutPixelsInList(&point, nullptr, 5, -250, PIX_BYTE));
    EXPECT_EQ(-3, I_PutPixelsInList(&point, &value, -3, -250, PIX_BYTE));
    EXPECT_EQ(0, I_PutPixelsInList(nullptr, &value, 5, im, PIX_BYTE));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
}

TEST_F(LiteralPixelLists, PutSpreadsAByteOverFourPixels)
{
    const int32_t im = byteImage(5, 4, [](int32_t, int32_t) { return 100; });
    const VexaPointF point = {1.5F, 2.25F};
    const uint8_t value = 200;
    EXPECT_EQ(1, I_PutPixelsInList(&point, &value, 1, im, PIX_BYTE));
    // Weights 384, 384, 128, 128 of 1024.
    EXPECT_THAT(rowOf(im, 1), ElementsAre(100, 100, 100, 100, 100));
    EXPECT_THAT(rowOf(im, 2), ElementsAre(100, 137, 137, 100, 100));
    EXPECT_THAT(rowOf(im, 3), ElementsAre(100, 112, 112, 100, 100));
    // On the last pixel, and from outside; the neighbours beyond do not exist.
    const VexaPointF corners[] = {{4, 3}, {-7, 50}};
    const float values[] = {250.0F, 7.0F};
    EXPECT_EQ(2, I_PutPixelsInList(corners, values, 2, im, PIX_FLOAT));
    EXPECT_EQ(250, pixel(im, 4, 3));
    EXPECT_EQ(7, pixel(im, 0, 3));
}

TEST_F(LiteralPixelLists, PutOverwritesTheNearestOfOtherTypes)
{
    const VexaPointF points[] = {{1.4F, 1.5F}, {2.6F, 0.4F}, {9, 9}};
    const float values[] = {11.5F, 12.5F, 13.5F};
    const int32_t floats = floatImage(4, 3);
    EXPECT_EQ(3, I_PutPixelsInList(points, values, 3, floats, PIX_FLOAT));
    EXPECT_THAT(rowOf(floats, 0), ElementsAre(0, 0, 0, 12.5));
    EXPECT_THAT(rowOf(floats, 1), ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(rowOf(floats, 2), ElementsAre(0, 11.5, 0, 13.5));
    const int32_t words = wordImage(4, 3);
    EXPECT_EQ(3, I_PutPixelsInList(points, values, 3, words, PIX_FLOAT));
    EXPECT_THAT(rowOf(words, 2), ElementsAre(0, 11, 0, 13));
}

TEST_F(LiteralPixelLists, PutOnColours)
{
    const int32_t im = I_ImOpen(3, 1, PIX_BGR24);
    const VexaPointF points[] = {{0.5F, 0}};
    const uint8_t value[] = {100, 50, 10};
    EXPECT_EQ(1, I_PutPixelsInList(points, value, 1, im, PIX_BGR24));
    EXPECT_THAT(bytesOf(im), ElementsAre(50, 25, 5, 50, 25, 5, 0, 0, 0));
    // Two bytes a pixel are mixed in a copy, which is dropped.
    const int32_t narrow = I_ImOpen(3, 1, PIX_BGR16);
    EXPECT_EQ(1, I_PutPixelsInList(points, value, 1, narrow, PIX_BGR24));
    EXPECT_THAT(bytesOf(narrow), testing::Each(0));
}

TEST_F(AgainstReferencePixelLists, RandomSplats)
{
    std::mt19937 random(2);
    const int32_t im = byteImage(9, 7, ramp);
    std::vector<int32_t> plain(63);
    for (int32_t i = 0; i < 63; ++i)
        plain[static_cast<std::size_t>(i)] = static_cast<int32_t>(ramp(i % 9, i / 9));
    for (int32_t round = 0; round < 500; ++round) {
        const VexaPointF p = {static_cast<float>(random() % 3000) / 250.0F - 1,
                              static_cast<float>(random() % 3000) / 300.0F - 1};
        const auto v = static_cast<uint8_t>(random());
        ASSERT_EQ(1, I_PutPixelsInList(&p, &v, 1, im, PIX_BYTE));
        const int32_t x = std::clamp(Rnd(p.x * 32), 0, 8 * 32), y = std::clamp(Rnd(p.y * 32), 0, 6 * 32);
        for (int32_t j = y / 32; j <= std::min(y / 32 + 1, 6); ++j)
            for (int32_t i = x / 32; i <= std::min(x / 32 + 1, 8); ++i) {
                const int32_t w = (32 - std::abs(32 * i - x)) * (32 - std::abs(32 * j - y));
                int32_t& old = plain[static_cast<std::size_t>(9 * j + i)];
                old = (old * (1024 - w) + v * w) >> 10;
            }
        for (int32_t i = 0; i < 63; ++i)
            ASSERT_EQ(plain[static_cast<std::size_t>(i)], pixel(im, i % 9, i / 9)) << round;
    }
}

TEST_F(FailuresPixelLists, BadImageAndMissingMemory)
{
    const VexaPointF point = {1, 1};
    float value = 5;
    EXPECT_EQ(0, I_GetPixelsInList(&point, &value, 1, -250, PIX_FLOAT));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    clearError();
    EXPECT_EQ(0, I_PutPixelsInList(&point, &value, 1, -250, PIX_FLOAT));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    const int32_t im = byteImage(6, 6);
    const int32_t narrow = I_ImOpen(3, 1, PIX_BGR16);
    for (const int32_t image : {im, narrow})
        for (const bool get : {false, true})
            forEachFailingAllocation(
                [&] {
                    return get ? I_GetPixelsInList(&point, &value, 1, image, PIX_FLOAT)
                               : I_PutPixelsInList(&point, &value, 1, image, PIX_FLOAT);
                },
                [](int64_t) { EXPECT_EQ(2, I_GetError(nullptr, 0)); });
}

} // namespace
