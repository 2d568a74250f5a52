#include "tests/operators/display_test.h"

#include <limits>

#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;

namespace
{

class FalseColor : public DisplayTest
{
protected:
    Table red_{};
    Table green_{};
    Table blue_{};
    int32_t build(int32_t low, int32_t high, int32_t wrap, int32_t smooth)
    {
        return I_FalseColorLUT(low, high, red_.data(), green_.data(), blue_.data(), wrap, smooth);
    }
    Rgb color(std::size_t i) const { return {red_[i], green_[i], blue_[i]}; }
};

TEST_F(FalseColor, LiteralSmooth)
{
    I_SetColorMode(0);
    EXPECT_EQ(5, build(0, 256, 0, 1)); // bands of 64
    EXPECT_EQ((Rgb{0, 0, 255}), color(0));
    EXPECT_EQ((Rgb{0, 127, 255}), color(32));
    EXPECT_EQ((Rgb{0, 255, 255}), color(64));
    EXPECT_EQ((Rgb{0, 255, 127}), color(96));
    EXPECT_EQ((Rgb{0, 255, 0}), color(128));
    EXPECT_EQ((Rgb{255, 255, 0}), color(192));
    EXPECT_EQ((Rgb{255, 3, 0}), color(255)); // 126 of 128 parts towards red
}

TEST_F(FalseColor, LiteralSmoothGoesOnAboveTheRangeOnlyIfItWraps)
{
    I_SetColorMode(0);
    build(100, 140, 1, 1); // bands of 10
    EXPECT_EQ((Rgb{0, 0, 0}), color(99));
    EXPECT_EQ((Rgb{0, 0, 255}), color(100));
    EXPECT_EQ((Rgb{255, 0, 0}), color(140));
    EXPECT_EQ((Rgb{255, 0, 255}), color(150));
    EXPECT_EQ((Rgb{127, 0, 255}), color(155)); // from the last step back to the first
    EXPECT_EQ((Rgb{0, 0, 255}), color(160));
    build(100, 140, 0, 1);
    EXPECT_EQ((Rgb{255, 0, 0}), color(140));
    EXPECT_EQ((Rgb{255, 0, 0}), color(141));
    EXPECT_EQ((Rgb{255, 0, 0}), color(255));
}

TEST_F(FalseColor, LiteralStepped)
{
    I_SetColorMode(0);
    EXPECT_EQ(5, build(0, 250, 0, 0));
    EXPECT_EQ((Rgb{0, 0, 255}), color(49));
    EXPECT_EQ((Rgb{0, 255, 255}), color(50));
    EXPECT_EQ((Rgb{0, 255, 0}), color(100));
    EXPECT_EQ((Rgb{255, 255, 0}), color(150));
    EXPECT_EQ((Rgb{255, 0, 0}), color(249));
    EXPECT_EQ((Rgb{0, 0, 255}), color(250)) << "the sixth colour is not used";
    EXPECT_EQ((Rgb{255, 0, 0}), color(251));
    build(10, 12, 1, 0); // a range below 6 counts as 5
    EXPECT_EQ((Rgb{0, 0, 255}), color(10));
    EXPECT_EQ((Rgb{0, 255, 0}), color(12));
    EXPECT_EQ((Rgb{255, 255, 0}), color(13));
    EXPECT_EQ((Rgb{0, 0, 255}), color(15));
}

TEST_F(FalseColor, LiteralLowIsAtMost254)
{
    I_SetColorMode(0);
    EXPECT_EQ(5, build(300, 400, 1, 1)); // bands of (400 - 254) / 4
    EXPECT_EQ((Rgb{0, 0, 0}), color(253));
    EXPECT_EQ((Rgb{0, 0, 255}), color(254));
    EXPECT_EQ((Rgb{0, 5, 255}), color(255));
}

TEST_F(FalseColor, LiteralReservedEntriesInAColorMode)
{
    EXPECT_EQ(5, build(0, 256, 0, 1));
    EXPECT_EQ((Rgb{255, 0, 0}), color(252));
    EXPECT_EQ((Rgb{0, 255, 0}), color(253));
    EXPECT_EQ((Rgb{0, 0, 255}), color(254)) << "cyan in the display palette, blue here";
    EXPECT_EQ((Rgb{255, 255, 255}), color(255));
}

TEST_F(FalseColor, BoundsOfTheRange)
{
    constexpr int32_t least = std::numeric_limits<int32_t>::min();
    constexpr int32_t most = std::numeric_limits<int32_t>::max();
    for (const int32_t smooth : {0, 1})
        for (const int32_t wrap : {0, 1}) {
            EXPECT_EQ(5, build(least, most, wrap, smooth));
            EXPECT_EQ(5, build(least, least + 1, wrap, smooth));
            EXPECT_EQ(5, build(most - 1, most, wrap, smooth));
        }
}

TEST_F(FalseColor, FailuresOfTheRangeAndOfNullTables)
{
    clearError();
    EXPECT_EQ(0, build(10, 5, 0, 0));
    EXPECT_EQ(12, I_GetError(nullptr, 0));
    EXPECT_EQ("falsecolor", errorText());
    EXPECT_EQ(0, build(5, 5, 0, 0));
    EXPECT_EQ(Table{}, red_);
    clearError();
    EXPECT_EQ(0, I_FalseColorLUT(0, 9, nullptr, green_.data(), blue_.data(), 0, 0));
    EXPECT_EQ(0, I_FalseColorLUT(0, 9, red_.data(), nullptr, blue_.data(), 0, 0));
    EXPECT_EQ(0, I_FalseColorLUT(0, 9, red_.data(), green_.data(), nullptr, 0, 0));
    EXPECT_EQ(12, I_GetError(nullptr, 0));
}

// An image whose pixels are the colours of some indices of the smooth scale.
int32_t scaleImage(const std::vector<std::size_t>& indices, int32_t type)
{
    Table red{};
    Table green{};
    Table blue{};
    I_FalseColorLUT(0, 256, red.data(), green.data(), blue.data(), 0, 1);
    const int32_t im = I_ImOpen(static_cast<int32_t>(indices.size()), 1, type);
    for (std::size_t x = 0; x < indices.size(); ++x) {
        const uint8_t bgr[] = {blue[indices[x]], green[indices[x]], red[indices[x]]};
        I_PutBlockType(static_cast<int32_t>(x), 0, 1, 1, bgr, im, PIX_BGR24);
    }
    return im;
}

TEST_F(FalseColor, LiteralToGrayFindsThePlaceOnTheScale)
{
    I_SetColorMode(0);
    const std::vector<std::size_t> indices = {2, 40, 64, 100, 128, 150, 192, 230, 250};
    for (const int32_t type : {PIX_BGR24, PIX_RGB32}) {
        const int32_t im = scaleImage(indices, type);
        const int32_t gray = I_FalseColorToGray(im);
        ASSERT_NE(0, gray);
        EXPECT_EQ(PIX_BYTE, I_ImGetType(gray));
        for (std::size_t x = 0; x < indices.size(); ++x)
            EXPECT_NEAR(static_cast<double>(indices[x]), pixel(gray, static_cast<int32_t>(x), 0), 2.0);
        closeImages({im, gray});
    }
}

TEST_F(FalseColor, LiteralToGrayOfGrayIsACopy)
{
    const int32_t im = noiseImage(9, 7, 3);
    const int32_t gray = I_FalseColorToGray(im);
    EXPECT_NE(im, gray);
    EXPECT_EQ(bytesOf(im), bytesOf(gray));
    closeImages({im, gray});
}

TEST_F(FalseColor, FailuresToGray)
{
    clearError();
    EXPECT_EQ(0, I_FalseColorToGray(-77));
    EXPECT_NE(0, I_GetError(nullptr, 0));
    const Messages quiet;
    const int32_t im = scaleImage({1, 2, 3}, PIX_BGR24);
    const int32_t images = I_ImCount();
    bool met = true;
    for (int64_t n = 1; met; ++n) {
        vexa::failAllocation(n, true);
        const int32_t gray = I_FalseColorToGray(im);
        met = vexa::allocationState().failed > 0;
        vexa::failAllocation(0, false);
        I_ImClose(gray);
        EXPECT_EQ(images, I_ImCount());
        EXPECT_TRUE(n > 2 || gray == 0) << "there was no record or no pixels";
    }
    closeImages({im});
}

} // namespace
